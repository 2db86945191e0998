// KCDSA signatures (TTAK.KO-12.0001).
//
//   sign    W = g^k mod p, r = H(W), e = (r xor H(z || M)) mod q, s = x (k - e) mod q
//   verify  W' = y^s g^e mod p, H(W') = r
#include "pubkey/kcdsa_sign.h"
#include "bigint/mod_exp.h"
#include "bigint/residue.h"
#include "bigint/scope.h"
#include "foundation/ct.h"
#include "foundation/scope.h"
#include "pubkey/ff_params.h"
#include "pubkey/signature.h"
#include "talvern/kcdsa.h"
#include "talvern/module.h"

#include <algorithm>
#include <span>

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_KCDSA, function, reason); }

// Least key lengths in proven mode, in bits.
constexpr std::size_t kProvenX = 209;
constexpr std::size_t kProvenY = 2033;

using kcdsa::Digest;

// a >= 2^(bits - 1). Of a private key the time tells its words alone.
bool is_as_long_as(const VRQ_BIGINT& a, std::size_t bits) {
    const std::size_t first = (bits - 1) / 32;
    u32 above = 0;
    for (std::size_t i = first; i < word_count(a); ++i)
        above |= i == first ? a.data[i] >> (bits - 1) % 32 : a.data[i];
    return above != 0;
}

bool too_short_in_proven_mode(const VRQ_KCDSA_UNIT& unit, bool signs) {
    if (VRQ_Is_Proven() != 1) return false;
    const VRQ_BIGINT* const key = signs ? unit.x : unit.y;
    return key != nullptr && !is_as_long_as(*key, signs ? kProvenX : kProvenY);
}

// Binds the digest and begins a message.
u32 init(VRQ_KCDSA_UNIT& unit, i32 direction, u32 digest, u32 function) {
    drop(unit.z);
    if (unit.digest == nullptr) unit.digest = VRQ_New_DIGEST_Unit();
    if (unit.digest == nullptr) return fail(function, VRQ_ERR_MEM_ALLOC);
    if (VRQ_Init_DIGEST(unit.digest, digest) != 0) {
        drop(unit.digest);
        return fail(function, VRQ_ERR_INIT_DIGEST_FAIL);
    }
    if (unit.pool == nullptr) unit.pool = VRQ_New_BIGINT_Pool();
    if (unit.pool == nullptr) return fail(function, VRQ_ERR_MEM_ALLOC);
    unit.direction = direction;
    return 0;
}

// z = y mod 2^(8 B) for the B bytes of the digest's block.
[[nodiscard]] bool set_z(VRQ_KCDSA_UNIT& unit, std::size_t block) {
    const std::size_t words = std::min(word_count(*unit.y), block / 4);
    if (!make(unit.z) || !grow(*unit.z, words)) return false;
    std::copy_n(unit.y->data, words, unit.z->data);
    set_used(*unit.z, words);
    return true;
}

// The digest takes z before anything of the message. Nothing to do when it has.
u32 begin_message(VRQ_KCDSA_UNIT& unit, u32 function) {
    if (unit.z != nullptr) return 0;
    if (unit.y == nullptr) return fail(function, VRQ_ERR_SUB_OPERATION_FAILURE);
    u8 block[VRQ_MAX_DIGEST_BLOCK_LENGTH];
    const u32 length = unit.digest->block_length;
    if (length > sizeof block) return fail(function, VRQ_ERR_SUB_OPERATION_FAILURE);
    u32 reason = 0;
    if (!set_z(unit, length)) {
        reason = VRQ_ERR_MALLOC;
    } else if (!write_padded(block, length, *unit.z)) {
        reason = VRQ_ERR_SUB_OPERATION_FAILURE;
    } else if (VRQ_Update_DIGEST(unit.digest, block, static_cast<i32>(length)) != 0) {
        reason = VRQ_ERR_UPDATE_DIGEST_FAIL;
    }
    if (reason == 0) return 0;
    drop(unit.z);
    return fail(function, reason);
}

// v = H(z || M). The unit is ready for the next message.
u32 end_message(VRQ_KCDSA_UNIT& unit, Digest& v, u32 function) {
    if (const u32 s = begin_message(unit, function); s != 0) return s;
    drop(unit.z);
    return VRQ_Final_DIGEST(unit.digest, v, nullptr) == 0
               ? 0
               : fail(function, VRQ_ERR_FINAL_DIGEST_FAIL);
}

// r = H(W), W without leading zero bytes.
u32 hash_w(VRQ_KCDSA_UNIT& unit, Digest& r, const VRQ_BIGINT& w, u32 function) {
    const std::size_t length = byte_length(&w);
    SecretHeap bytes(length + 1);
    if (!bytes || !write_padded(bytes.data(), length, w))
        return fail(function, VRQ_ERR_UPDATE_DIGEST_FAIL);
    if (VRQ_Update_DIGEST(unit.digest, bytes.data(), static_cast<i32>(length)) != 0)
        return fail(function, VRQ_ERR_UPDATE_DIGEST_FAIL);
    return VRQ_Final_DIGEST(unit.digest, r, nullptr) == 0
               ? 0
               : fail(function, VRQ_ERR_FINAL_DIGEST_FAIL);
}

// e = (r xor v) mod q.
u32 make_e(VRQ_BIGINT& e, const VRQ_KCDSA_UNIT& unit, const u8* r, const u8* v, u32 function) {
    u8 mixed[VRQ_MAX_DIGEST_LENGTH];
    const u32 length = unit.digest->digest_length;
    for (u32 i = 0; i < length; ++i) mixed[i] = r[i] ^ v[i];
    if (!read_number(e, mixed, length)) return fail(function, VRQ_ERR_BINARY_TO_BIGINT_FAIL);
    return VRQ_Div_BIGINT(nullptr, &e, &e, unit.q, unit.pool) == 0
               ? 0
               : fail(function, VRQ_ERR_MOD_MTP_BIGINT_FAIL);
}

u32 sign(VRQ_KCDSA_UNIT& unit, u8* r, u32* r_length, u8* s, u32* s_length) {
    constexpr u32 kFunction = VRQ_F_SIGN_KCDSA;
    constexpr int kMostSecrets = 64; // s is 0 for one k of q
    if (!frame_available(unit.pool)) return fail(kFunction, VRQ_ERR_GET_BIGINT_POOL_FAIL);
    Digest v;
    Digest hash;
    if (const u32 status = end_message(unit, v, kFunction); status != 0) return status;
    Scratch<2> own(nullptr);
    VRQ_BIGINT* const k = own.take();
    VRQ_BIGINT* const s_value = own.take();
    for (int i = 0; i < kMostSecrets; ++i) {
        if (ff::draw_below(*k, unit.digest->algorithm, *unit.q, false) != 0)
            return fail(kFunction, VRQ_ERR_GET_RAND_FAIL);
        if (const u32 status = kcdsa::sign_with(unit, *k, v, hash, *s_value); status != 0)
            return status;
        if (is_zero(*s_value)) continue;
        const std::size_t length = byte_length(unit.q);
        if (!write_padded(s, length, *s_value))
            return fail(kFunction, VRQ_ERR_BINARY_TO_BIGINT_FAIL);
        *s_length = static_cast<u32>(length);
        std::memcpy(r, hash, unit.digest->digest_length);
        *r_length = unit.digest->digest_length;
        return 0;
    }
    return fail(kFunction, VRQ_ERR_GET_RAND_FAIL);
}

// s as a number with 0 < s < q, r as long as the digest. False when they cannot belong to a signature.
bool read_signature(VRQ_BIGINT& s, Digest& r, const VRQ_KCDSA_UNIT& unit, std::span<const u8> r_in,
                    std::span<const u8> s_in) {
    const std::size_t length = unit.digest->digest_length;
    if (r_in.empty() || r_in.size() > length) return false;
    if (s_in.empty() || s_in.size() > byte_length(unit.q)) return false;
    const std::size_t above = length - r_in.size();
    std::memset(r, 0, above);
    std::memcpy(r + above, r_in.data(), r_in.size());
    return read_number(s, s_in.data(), static_cast<u32>(s_in.size())) && !is_zero(s) &&
           is_below_var(s, *unit.q);
}

u32 verify(VRQ_KCDSA_UNIT& unit, std::span<const u8> r_in, std::span<const u8> s_in) {
    constexpr u32 kFunction = VRQ_F_VERIFY_KCDSA;
    Digest v;
    if (!frame_available(unit.pool)) return fail(kFunction, VRQ_ERR_GET_BIGINT_POOL_FAIL);
    if (const u32 status = end_message(unit, v, kFunction); status != 0) return status;
    Scratch<3> scratch(unit.pool);
    VRQ_BIGINT* const s = scratch.take();
    VRQ_BIGINT* const e = scratch.take();
    VRQ_BIGINT* const w = scratch.take();
    if (s == nullptr || e == nullptr || w == nullptr)
        return fail(kFunction, VRQ_ERR_GET_BIGINT_POOL_FAIL);

    Digest r;
    if (!read_signature(*s, r, unit, r_in, s_in) || !is_in_key_range(*unit.y, *unit.p))
        return fail(kFunction, VRQ_ERR_VERIFY_FAILURE);
    if (const u32 status = make_e(*e, unit, r, v, kFunction); status != 0) return status;
    if (mod_exp2_mont_var(w, unit.y, s, unit.g, e, unit.p, unit.pool) != 0)
        return fail(kFunction, VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL);
    Digest hash;
    if (const u32 status = hash_w(unit, hash, *w, kFunction); status != 0) return status;
    return ct::equal(hash, r, unit.digest->digest_length) ? 0
                                                          : fail(kFunction, VRQ_ERR_VERIFY_FAILURE);
}

} // namespace

u32 vrq::kcdsa::sign_with(VRQ_KCDSA_UNIT& unit, const VRQ_BIGINT& k, const Digest& v, Digest& r,
                          VRQ_BIGINT& s) {
    constexpr u32 kFunction = VRQ_F_SIGN_KCDSA;
    Scratch<3> own(nullptr);
    VRQ_BIGINT* const exponent = own.take();
    VRQ_BIGINT* const w = own.take();
    VRQ_BIGINT* const e = own.take();
    if (VRQ_Copy_BIGINT(exponent, &k) != 0 || !pad_residue(*exponent, *unit.q) ||
        VRQ_Mod_Exp_Mont_BIGINT(w, unit.g, exponent, unit.p, unit.pool) != 0)
        return fail(kFunction, VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL);
    if (const u32 status = hash_w(unit, r, *w, kFunction); status != 0) return status;
    if (const u32 status = make_e(*e, unit, r, v, kFunction); status != 0) return status;
    if (!is_odd(*unit.q)) return fail(kFunction, VRQ_ERR_MOD_MTP_BIGINT_FAIL);
    if (!residue_sub(s, k, *e, *unit.q)) return fail(kFunction, VRQ_ERR_SUB_BIGINT_FAIL);
    return residue_mul(s, *unit.x, s, *unit.q) ? 0 : fail(kFunction, VRQ_ERR_MOD_MTP_BIGINT_FAIL);
}

u32 VRQ_Init_KCDSA(VRQ_KCDSA_UNIT* unit, i32 direction) {
    constexpr u32 kFunction = VRQ_F_INIT_KCDSA;
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (const u32 s = init(*unit, direction, VRQ_ID_HAS160, kFunction); s != 0) return s;
    if (unit->prng == nullptr) unit->prng = VRQ_New_PRNG_Unit();
    if (unit->prng == nullptr) return fail(kFunction, VRQ_ERR_MEM_ALLOC);
    return VRQ_Init_PRNG(unit->prng, VRQ_ID_HAS160, nullptr, 0, nullptr, 0, nullptr) == 0
               ? 0
               : fail(kFunction, VRQ_ERR_INIT_PRNG_FAIL);
}

u32 VRQ_Init_KCDSA_Ex(VRQ_KCDSA_UNIT* unit, i32 direction, u32 digest) {
    constexpr u32 kFunction = VRQ_F_INIT_KCDSA_EX;
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (too_short_in_proven_mode(*unit, direction != 0))
        return fail(kFunction, VRQ_ERR_NOT_SUPPORTED);
    if (VRQ_Is_Proven() == 1 && digest != VRQ_ID_SHA224 && digest != VRQ_ID_SHA256)
        return fail(kFunction, VRQ_ERR_NOT_PROVEN_ALGORITHM);
    return init(*unit, direction, digest, kFunction);
}

u32 VRQ_Update_KCDSA(VRQ_KCDSA_UNIT* unit, const u8* data, i32 length) {
    constexpr u32 kFunction = VRQ_F_UPDATE_KCDSA;
    if (unit == nullptr || unit->digest == nullptr || data == nullptr || length == 0)
        return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (const u32 s = begin_message(*unit, kFunction); s != 0) return s;
    return VRQ_Update_DIGEST(unit->digest, data, length) == 0
               ? 0
               : fail(kFunction, VRQ_ERR_UPDATE_DIGEST_FAIL);
}

u32 VRQ_Sign_KCDSA(VRQ_KCDSA_UNIT* unit, u8* r, u32* r_length, u8* s, u32* s_length) {
    if (unit == nullptr || unit->digest == nullptr || r == nullptr || r_length == nullptr ||
        s == nullptr || s_length == nullptr || !has_domain(*unit) || unit->x == nullptr)
        return fail(VRQ_F_SIGN_KCDSA, VRQ_ERR_NULL_INPUT);
    const ScopeExit wiping(wipe_spills);
    return sign(*unit, r, r_length, s, s_length);
}

u32 VRQ_Verify_KCDSA(VRQ_KCDSA_UNIT* unit, const u8* r, const u32* r_length, const u8* s,
                     const u32* s_length) {
    if (unit == nullptr || unit->digest == nullptr || r == nullptr || r_length == nullptr ||
        s == nullptr || s_length == nullptr || !has_domain(*unit) || unit->y == nullptr)
        return fail(VRQ_F_VERIFY_KCDSA, VRQ_ERR_NULL_INPUT);
    return verify(*unit, {r, *r_length}, {s, *s_length});
}

u32 VRQ_Final_KCDSA(VRQ_KCDSA_UNIT* unit, u8* r, u32* r_length, u8* s, u32* s_length) {
    constexpr u32 kFunction = VRQ_F_FINAL_KCDSA;
    if (unit == nullptr || r == nullptr || s == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    const bool signs = unit->direction == 1;
    if (too_short_in_proven_mode(*unit, signs)) return fail(kFunction, VRQ_ERR_NOT_SUPPORTED);
    return signs ? VRQ_Sign_KCDSA(unit, r, r_length, s, s_length)
                 : VRQ_Verify_KCDSA(unit, r, r_length, s, s_length);
}
