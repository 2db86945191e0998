// Random bytes and primes.
#include "talvern.h"

#include <benchmark/benchmark.h>
#include <cryptopp/drbg.h>
#include <cryptopp/sha.h>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>
#include <openssl/rand.h>

#include <string>
#include <vector>

namespace {

using benchmark::State;

template <class Draw>
void draw(State& state, std::size_t size, Draw one) {
    std::vector<unsigned char> out(size);
    for (auto _ : state) {
        if (!one(out.data(), out.size())) state.SkipWithError("draw failed");
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
}

EVP_RAND_CTX* hash_drbg() {
    EVP_RAND* algorithm = EVP_RAND_fetch(nullptr, "HASH-DRBG", nullptr);
    EVP_RAND_CTX* context = EVP_RAND_CTX_new(algorithm, nullptr);
    char digest[] = "SHA256";
    const OSSL_PARAM parameters[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_DRBG_PARAM_DIGEST, digest, 0), OSSL_PARAM_END};
    EVP_RAND_instantiate(context, 128, 0, nullptr, 0, parameters);
    return context;
}

void add_draws(const char* label, std::size_t size) {
    const std::string row = std::string("Hash_DRBG SHA-256/") + label + "/";
    benchmark::RegisterBenchmark((row + "talvern").c_str(), [size](State& state) {
        VRQ_Change_Test_Mode();
        draw(state, size, [](unsigned char* out, std::size_t n) {
            return VRQ_Rand_Bytes(out, static_cast<int32_t>(n)) == 0;
        });
    });
    benchmark::RegisterBenchmark((row + "openssl").c_str(), [size](State& state) {
        static EVP_RAND_CTX* const context = hash_drbg();
        draw(state, size, [](unsigned char* out, std::size_t n) {
            return EVP_RAND_generate(context, out, n, 128, 0, nullptr, 0) == 1;
        });
    });
    benchmark::RegisterBenchmark((row + "openssl-rand").c_str(), [size](State& state) {
        draw(state, size, [](unsigned char* out, std::size_t n) {
            return RAND_bytes(out, static_cast<int>(n)) == 1;
        });
    });
    benchmark::RegisterBenchmark((row + "cryptopp").c_str(), [size](State& state) {
        const std::vector<unsigned char> entropy(32, 1);
        CryptoPP::Hash_DRBG<CryptoPP::SHA256, 128 / 8, 440 / 8> drbg(entropy.data(), 32,
                                                                     entropy.data(), 16);
        draw(state, size, [&drbg](unsigned char* out, std::size_t n) {
            drbg.GenerateBlock(out, n);
            return true;
        });
    });
}

void add_primes(int bits) {
    const std::string row = "prime/" + std::to_string(bits) + "/";
    benchmark::RegisterBenchmark((row + "talvern").c_str(), [bits](State& state) {
        VRQ_BIGINT* p = VRQ_New_BIGINT();
        VRQ_BIGINT_POOL* pool = VRQ_New_BIGINT_Pool();
        for (auto _ : state) VRQ_Generate_BIGINT_Prime_Ex(p, static_cast<uint32_t>(bits), pool);
        VRQ_Free_BIGINT(p);
        VRQ_Free_BIGINT_Pool(pool);
    });
    benchmark::RegisterBenchmark((row + "openssl").c_str(), [bits](State& state) {
        BIGNUM* p = BN_new();
        for (auto _ : state) BN_generate_prime_ex(p, bits, 0, nullptr, nullptr, nullptr);
        BN_free(p);
    });
}

// One round on a prime: a random witness, an exponentiation, no early end.
void add_miller_rabin() {
    static BIGNUM* const prime = BN_get_rfc2409_prime_1024(nullptr);
    benchmark::RegisterBenchmark("Miller-Rabin round/1024/talvern", [](State& state) {
        std::vector<unsigned char> bytes(128);
        BN_bn2bin(prime, bytes.data());
        VRQ_BIGINT* n = VRQ_Binary_To_BIGINT(bytes.data(), 128, nullptr);
        VRQ_BIGINT_POOL* pool = VRQ_New_BIGINT_Pool();
        for (auto _ : state) {
            if (VRQ_Is_BIGINT_Prime_Ex(n, 2, pool) != 1) state.SkipWithError("not prime");
        }
        VRQ_Free_BIGINT(n);
        VRQ_Free_BIGINT_Pool(pool);
    });
    benchmark::RegisterBenchmark("Miller-Rabin round/1024/openssl", [](State& state) {
        BN_CTX* context = BN_CTX_new();
        BN_MONT_CTX* mont = BN_MONT_CTX_new();
        BIGNUM* a = BN_new();
        BIGNUM* y = BN_new();
        BIGNUM* d = BN_new();
        BN_rshift1(d, prime);
        for (auto _ : state) {
            BN_rand_range(a, prime);
            BN_MONT_CTX_set(mont, prime, context);
            BN_mod_exp_mont(y, a, d, prime, context, mont);
        }
        BN_free(a);
        BN_free(y);
        BN_free(d);
        BN_MONT_CTX_free(mont);
        BN_CTX_free(context);
    });
}

const bool registered = [] {
    add_draws("32", 32);
    add_draws("256", 256);
    add_draws("16K", 16384);
    add_primes(512);
    add_primes(1024);
    add_miller_rabin();
    return true;
}();

} // namespace
