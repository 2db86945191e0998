// Digests and HMAC against libcrypto. Rows "<algorithm>/<size>" are one call a message, "-unit" rows re-use
// the unit or context. A row's peers are compared once before they are timed.
#include "talvern.h"

#include <benchmark/benchmark.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;
using Hash = std::function<void(const Bytes& message, uint8_t* out)>;

struct Algorithm {
    const char* name;
    uint32_t id;
    const char* oracle; // name in libcrypto, or null
};

constexpr Algorithm kAlgorithms[] = {
    {"SHA-1", VRQ_ID_SHA1, "SHA1"},       {"SHA-224", VRQ_ID_SHA224, "SHA224"},
    {"SHA-256", VRQ_ID_SHA256, "SHA256"}, {"SHA-384", VRQ_ID_SHA384, "SHA384"},
    {"SHA-512", VRQ_ID_SHA512, "SHA512"}, {"MD5", VRQ_ID_MD5, "MD5"},
    {"HAS-160", VRQ_ID_HAS160, nullptr},  {"MDC-2", VRQ_ID_MDC2, nullptr},
};

struct Size {
    const char* name;
    std::size_t bytes;
};

constexpr Size kSizes[] = {{"64", 64}, {"1Ki", 1024}, {"16Ki", 16384}, {"1Mi", 1048576}};
constexpr Size kMacSizes[] = {{"16", 16}, {"64", 64}, {"16Ki", 16384}};

// A peer that fails would be timed for doing nothing.
void require(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "%s failed\n", what);
    std::exit(1);
}

Bytes message_of(std::size_t size) {
    Bytes message(size);
    for (std::size_t i = 0; i < size; ++i) message[i] = static_cast<uint8_t>(i * 31 + i / 256);
    return message;
}

void add(const std::string& name, std::size_t size, const Hash& hash) {
    benchmark::RegisterBenchmark(name.c_str(), [size, hash](benchmark::State& state) {
        const Bytes message = message_of(size);
        uint8_t out[EVP_MAX_MD_SIZE];
        for (auto _ : state) {
            hash(message, out);
            benchmark::DoNotOptimize(out);
        }
        state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
    });
}

// Registers a row; theirs may be empty.
void add_row(const std::string& what, const Size& size, const Hash& ours, const Hash& theirs) {
    const std::string row = what + "/" + size.name;
    add(row + "/talvern", size.bytes, ours);
    if (!theirs) return;
    const Bytes message = message_of(size.bytes);
    uint8_t a[EVP_MAX_MD_SIZE] = {};
    uint8_t b[EVP_MAX_MD_SIZE] = {};
    ours(message, a);
    theirs(message, b);
    require(std::memcmp(a, b, sizeof a) == 0, row.c_str());
    add(row + "/libcrypto", size.bytes, theirs);
}

Hash our_digest(uint32_t id) {
    return [id](const Bytes& message, uint8_t* out) {
        require(VRQ_DIGEST(id, message.data(), static_cast<uint32_t>(message.size()), out,
                           nullptr) == 0,
                "VRQ_DIGEST");
    };
}

Hash our_digest_unit(uint32_t id) {
    VRQ_DIGEST_UNIT* unit = VRQ_New_DIGEST_Unit(); // lives as long as the program
    require(VRQ_Init_DIGEST(unit, id) == 0, "VRQ_Init_DIGEST");
    return [unit](const Bytes& message, uint8_t* out) {
        VRQ_Update_DIGEST(unit, message.data(), static_cast<int32_t>(message.size()));
        require(VRQ_Final_DIGEST(unit, out, nullptr) == 0, "VRQ_Final_DIGEST");
    };
}

Hash their_digest(const EVP_MD* md) {
    return [md](const Bytes& message, uint8_t* out) {
        require(EVP_Digest(message.data(), message.size(), out, nullptr, md, nullptr) == 1,
                "EVP_Digest");
    };
}

// A null algorithm keeps the fetched one: the fastest way to start the next message.
Hash their_digest_unit(const EVP_MD* md) {
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    require(EVP_DigestInit_ex2(context, md, nullptr) == 1, "EVP_DigestInit_ex2");
    return [context](const Bytes& message, uint8_t* out) {
        EVP_DigestInit_ex2(context, nullptr, nullptr);
        EVP_DigestUpdate(context, message.data(), message.size());
        require(EVP_DigestFinal_ex(context, out, nullptr) == 1, "EVP_DigestFinal_ex");
    };
}

void add_digests() {
    for (const Algorithm& algorithm : kAlgorithms) {
        const EVP_MD* md = nullptr;
        if (algorithm.oracle != nullptr) {
            md = EVP_MD_fetch(nullptr, algorithm.oracle, nullptr);
            require(md != nullptr, algorithm.oracle);
        }
        const std::string name = algorithm.name;
        for (const Size& size : kSizes)
            add_row(name, size, our_digest(algorithm.id),
                    md == nullptr ? Hash() : their_digest(md));
        add_row(name + "-unit", kSizes[0], our_digest_unit(algorithm.id),
                md == nullptr ? Hash() : their_digest_unit(md));
    }
}

constexpr uint8_t kKey[32] = {1, 2, 3, 4, 5, 6, 7, 8};

Hash our_mac_unit(uint32_t id) {
    VRQ_HMAC_UNIT* unit = VRQ_New_HMAC_Unit();
    require(VRQ_Init_HMAC(unit, id, kKey, sizeof kKey) == 0, "VRQ_Init_HMAC");
    return [unit](const Bytes& message, uint8_t* out) {
        VRQ_Update_HMAC(unit, message.data(), static_cast<int32_t>(message.size()));
        require(VRQ_Final_HMAC(unit, out, nullptr) == 0, "VRQ_Final_HMAC");
    };
}

// A null key keeps the old one and its keyed states.
Hash their_mac_unit(const char* digest) {
    EVP_MAC* mac = EVP_MAC_fetch(nullptr, "HMAC", nullptr);
    EVP_MAC_CTX* context = EVP_MAC_CTX_new(mac);
    const OSSL_PARAM parameters[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, const_cast<char*>(digest), 0),
        OSSL_PARAM_construct_end()};
    require(EVP_MAC_init(context, kKey, sizeof kKey, parameters) == 1, "EVP_MAC_init");
    return [context](const Bytes& message, uint8_t* out) {
        std::size_t length = 0;
        EVP_MAC_init(context, nullptr, 0, nullptr);
        EVP_MAC_update(context, message.data(), message.size());
        require(EVP_MAC_final(context, out, &length, EVP_MAX_MD_SIZE) == 1, "EVP_MAC_final");
    };
}

const int kRegistered = [] {
    VRQ_Change_Non_Proven_Mode();
    add_digests();
    for (const Size& size : kMacSizes)
        add_row("HMAC-SHA-256-unit", size, our_mac_unit(VRQ_ID_SHA256), their_mac_unit("SHA256"));
    return 0;
}();

} // namespace
