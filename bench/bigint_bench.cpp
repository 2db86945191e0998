// Big integers beside libcrypto.
#include "talvern.h"

#include <benchmark/benchmark.h>
#include <openssl/bn.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes random_bytes(int bits, unsigned seed) {
    std::mt19937 random(seed + static_cast<unsigned>(bits));
    Bytes out(static_cast<std::size_t>(bits) / 8);
    for (std::uint8_t& byte : out) byte = static_cast<std::uint8_t>(random());
    out.front() |= 0x80;
    return out;
}

// The same numbers on both sides; a and b are below the odd modulus m.
struct Numbers {
    explicit Numbers(int bits) : bytes(random_bytes(bits, 1)) {
        Bytes second = random_bytes(bits, 2);
        Bytes modulus = random_bytes(bits, 3);
        bytes.front() &= 0x7F;
        second.front() &= 0x7F;
        modulus.back() |= 1;
        const Bytes exponent = random_bytes(bits, 4);
        const Bytes half = random_bytes(bits / 2, 5);
        const Bytes f4 = {1, 0, 1};
        const Bytes* const values[] = {&bytes, &second, &modulus, &exponent, &half, &f4};
        VRQ_BIGINT** const ours[] = {&a, &b, &m, &e, &d, &e65537};
        BIGNUM** const theirs[] = {&bn_a, &bn_b, &bn_m, &bn_e, &bn_d, &bn_e65537};
        for (int i = 0; i < 6; ++i) {
            const int length = static_cast<int>(values[i]->size());
            *ours[i] = VRQ_Binary_To_BIGINT(values[i]->data(), length, nullptr);
            *theirs[i] = BN_bin2bn(values[i]->data(), length, nullptr);
        }
        vrq_Set_BIGINT_MONT(mont, m, pool);
        BN_MONT_CTX_set(bn_mont, bn_m, ctx);
        hex = VRQ_BIGINT_To_HEX(a);
    }

    Bytes bytes;
    Bytes out = Bytes(bytes.size() + 1);
    VRQ_BIGINT_POOL* pool = VRQ_New_BIGINT_Pool();
    VRQ_BIGINT_MONT* mont = vrq_New_BIGINT_MONT();
    VRQ_BIGINT *a, *b, *m, *e, *d, *e65537;
    VRQ_BIGINT* r = VRQ_New_BIGINT();
    VRQ_BIGINT* q = VRQ_New_BIGINT();
    BN_CTX* ctx = BN_CTX_new();
    BN_MONT_CTX* bn_mont = BN_MONT_CTX_new();
    BIGNUM *bn_a, *bn_b, *bn_m, *bn_e, *bn_d, *bn_e65537;
    BIGNUM* bn_r = BN_new();
    BIGNUM* bn_q = BN_new();
    char* hex;
};

using Call = void (*)(Numbers& n);

void add(const std::string& name, int bits, Call talvern, Call libcrypto) {
    auto* const numbers = new Numbers(bits); // lives as long as the program
    const auto add_peer = [&](const char* peer, Call call) {
        benchmark::RegisterBenchmark((name + "/" + std::to_string(bits) + "/" + peer).c_str(),
                                     [=](benchmark::State& state) {
                                         for (auto _ : state) call(*numbers);
                                     });
    };
    add_peer("talvern", talvern);
    add_peer("libcrypto", libcrypto);
}

void free_text(char* text) { VRQ_Free(text, __FILE__, __LINE__); }

void add_arithmetic(int bits) {
    add(
        "bigint_mul", bits, [](Numbers& n) { VRQ_Mtp_BIGINT(n.r, n.a, n.b, n.pool); },
        [](Numbers& n) { BN_mul(n.bn_r, n.bn_a, n.bn_b, n.ctx); });
    add(
        "bigint_sqr", bits, [](Numbers& n) { VRQ_Sqr_BIGINT(n.r, n.a, n.pool); },
        [](Numbers& n) { BN_sqr(n.bn_r, n.bn_a, n.ctx); });
}

void add_exponentiation(int bits) {
    add(
        "bigint_modexp_secret", bits,
        [](Numbers& n) { VRQ_Mod_Exp_Mont_BIGINT(n.r, n.a, n.e, n.m, n.pool); },
        [](Numbers& n) {
            BN_mod_exp_mont_consttime(n.bn_r, n.bn_a, n.bn_e, n.bn_m, n.ctx, nullptr);
        });
    add(
        "bigint_modexp_65537", bits,
        [](Numbers& n) { VRQ_Mod_Exp_Mont_BIGINT(n.r, n.a, n.e65537, n.m, n.pool); },
        [](Numbers& n) {
            BN_mod_exp_mont_consttime(n.bn_r, n.bn_a, n.bn_e65537, n.bn_m, n.ctx, nullptr);
        });
}

void add_conversions(int bits) {
    add(
        "bigint_from_bytes", bits,
        [](Numbers& n) {
            VRQ_Binary_To_BIGINT(n.bytes.data(), static_cast<int32_t>(n.bytes.size()), n.r);
        },
        [](Numbers& n) { BN_bin2bn(n.bytes.data(), static_cast<int>(n.bytes.size()), n.bn_r); });
    add(
        "bigint_to_bytes", bits,
        [](Numbers& n) { VRQ_BIGINT_To_Binary_Unsigned(n.a, n.out.data()); },
        [](Numbers& n) { BN_bn2bin(n.bn_a, n.out.data()); });
    add(
        "bigint_to_hex", bits, [](Numbers& n) { free_text(VRQ_BIGINT_To_HEX(n.a)); },
        [](Numbers& n) { OPENSSL_free(BN_bn2hex(n.bn_a)); });
    add(
        "bigint_from_hex", bits, [](Numbers& n) { VRQ_Free_BIGINT(VRQ_HEX_To_BIGINT(n.hex)); },
        [](Numbers& n) {
            BIGNUM* fresh = nullptr;
            BN_hex2bn(&fresh, n.hex);
            BN_free(fresh);
        });
    add(
        "bigint_to_dec", bits, [](Numbers& n) { free_text(VRQ_BIGINT_To_DEC(n.a)); },
        [](Numbers& n) { OPENSSL_free(BN_bn2dec(n.bn_a)); });
}

const bool kRegistered = [] {
    for (const int bits : {256, 512, 1024, 2048, 4096}) add_arithmetic(bits);
    add(
        "bigint_div_by_half", 2048, [](Numbers& n) { VRQ_Div_BIGINT(n.q, n.r, n.a, n.d, n.pool); },
        [](Numbers& n) { BN_div(n.bn_q, n.bn_r, n.bn_a, n.bn_d, n.ctx); });
    for (const int bits : {1024, 2048}) {
        add(
            "bigint_montgomery", bits,
            [](Numbers& n) { vrq_Mod_Mul_BIGINT_Montgomery(n.r, n.a, n.b, n.mont, n.pool); },
            [](Numbers& n) { BN_mod_mul_montgomery(n.bn_r, n.bn_a, n.bn_b, n.bn_mont, n.ctx); });
    }
    for (const int bits : {512, 1024, 1536, 2048, 4096}) add_exponentiation(bits);
    for (const int bits : {256, 1024, 2048}) {
        add(
            "bigint_inverse", bits,
            [](Numbers& n) { VRQ_Mod_Inverse_BIGINT(n.r, n.a, n.m, n.pool); },
            [](Numbers& n) { BN_mod_inverse(n.bn_r, n.bn_a, n.bn_m, n.ctx); });
    }
    for (const int bits : {2048, 8192}) add_conversions(bits);
    return true;
}();

} // namespace
