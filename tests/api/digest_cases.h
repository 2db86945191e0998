// The digests as the tests know them, and helpers that drive units.
#pragma once

#include "harness/owned.h"
#include "harness/vectors.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>

namespace test {

struct DigestCase {
    const char* vector_name; // in the known-answer files
    uint32_t id;
    const char* name;
    uint32_t length;
    uint32_t block;
    int32_t context_size;
    bool approved;
    bool takes_empty_update;
    const char* oracle; // name in libcrypto, or null
};

inline constexpr DigestCase kDigestCases[] = {
    {"SHA-1", 0x05000100, "SHA1", 20, 64, 168, false, true, "SHA1"},
    {"SHA-224", 0x05000200, "SHA224", 28, 64, 176, true, true, "SHA224"},
    {"SHA-256", 0x05000300, "SHA256", 32, 64, 176, true, true, "SHA256"},
    {"SHA-384", 0x05000400, "SHA384", 48, 128, 344, true, true, "SHA384"},
    {"SHA-512", 0x05000500, "SHA512", 64, 128, 344, true, true, "SHA512"},
    {"MD5", 0x06000100, "MD5", 16, 64, 160, false, false, "MD5"},
    {"HAS-160", 0x07000100, "HAS160", 20, 64, 92, false, false, nullptr},
    {"MDC-2", 0x08000100, "MDC2", 16, 8, 32, false, true, nullptr},
};

inline const DigestCase& digest_case(const std::string& vector_name) {
    for (const DigestCase& row : kDigestCases) {
        if (vector_name == row.vector_name) return row;
    }
    ADD_FAILURE() << "no digest named " << vector_name;
    return kDigestCases[0];
}

using DigestUnit = Owned<VRQ_DIGEST_UNIT>;
using HmacUnit = Owned<VRQ_HMAC_UNIT>;

inline DigestUnit digest_unit(uint32_t id) {
    DigestUnit unit(VRQ_New_DIGEST_Unit());
    EXPECT_EQ(0U, VRQ_Init_DIGEST(unit.get(), id));
    return unit;
}

inline Bytes final_digest(VRQ_DIGEST_UNIT* unit) {
    Bytes out(VRQ_MAX_DIGEST_LENGTH);
    uint32_t length = 0;
    EXPECT_EQ(0U, VRQ_Final_DIGEST(unit, out.data(), &length));
    out.resize(length);
    return out;
}

// Hashes through a unit; works for the empty message under every digest.
inline Bytes digest_of(uint32_t id, const Bytes& message) {
    const DigestUnit unit = digest_unit(id);
    if (!message.empty()) {
        EXPECT_EQ(0U, VRQ_Update_DIGEST(unit.get(), message.data(),
                                        static_cast<int32_t>(message.size())));
    }
    return final_digest(unit.get());
}

inline Bytes random_bytes(std::mt19937& random, std::size_t size) {
    Bytes out(size);
    for (uint8_t& byte : out) byte = static_cast<uint8_t>(random());
    return out;
}

// Feeds the message in pieces of random length, none of them empty.
template <class Update>
void feed_in_pieces(std::mt19937& random, const Bytes& message, std::size_t longest,
                    Update update) {
    for (std::size_t at = 0; at < message.size();) {
        const std::size_t piece = std::min(1 + random() % longest, message.size() - at);
        ASSERT_EQ(0U, update(message.data() + at, static_cast<int32_t>(piece)));
        at += piece;
    }
}

// The same with the unit's own update.
inline void feed_unit(std::mt19937& random, VRQ_DIGEST_UNIT* unit, const Bytes& message,
                      std::size_t longest) {
    feed_in_pieces(random, message, longest, [&](const uint8_t* data, int32_t n) {
        return VRQ_Update_DIGEST(unit, data, n);
    });
}

inline void feed_unit(std::mt19937& random, VRQ_HMAC_UNIT* unit, const Bytes& message,
                      std::size_t longest) {
    feed_in_pieces(random, message, longest,
                   [&](const uint8_t* data, int32_t n) { return VRQ_Update_HMAC(unit, data, n); });
}

// Every byte of the record, padding included.
template <class Record>
bool is_all_zero(const Record& record) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&record);
    return std::all_of(bytes, bytes + sizeof record, [](uint8_t byte) { return byte == 0; });
}

} // namespace test
