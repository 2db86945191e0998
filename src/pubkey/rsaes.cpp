// RSA encryption and decryption: RSAES-OAEP, RSAES-PKCS1-v1_5 (RFC 8017, section 7) and the raw
// primitive.
//
// Blocks are kept in k bytes with their leading zero byte, and decoded in a time that does not tell
// a bad padding from another one.
#include "bigint/scope.h"
#include "foundation/scope.h"
#include "pubkey/rsa_encoding.h"
#include "pubkey/rsa_key.h"
#include "talvern/digest.h"
#include "talvern/module.h"

#include <algorithm>
#include <cstring>

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_RSA, function, reason); }

constexpr i32 kHasPublic = VRQ_RSA_HAS_MODULUS | VRQ_RSA_HAS_PUBLIC_EXPONENT;
constexpr i32 kHasPrivate = VRQ_RSA_HAS_MODULUS | VRQ_RSA_HAS_PRIVATE_EXPONENT;

u32 encoding_mode(u32 mode) { return mode & rsa::kModeMask; }

bool is_oaep(u32 mode) { return mode == VRQ_RSAES_OAEP || mode == VRQ_RSAES_OAEP_WITH_ZERO; }

bool is_refused(u32 mode) {
    return VRQ_Is_Proven() == 1 && (mode == VRQ_RSA_RAW || mode == VRQ_RSAES_PKCS1_V1_5);
}

// A block of k bytes, never empty.
std::size_t block_size(const VRQ_RSA_UNIT& unit) {
    return std::max<std::size_t>(rsa::modulus_bytes(unit), 1);
}

// The encoded message in k bytes.
u32 encode(const VRQ_RSA_UNIT& unit, u8* em, const u8* in, i32 in_length) {
    constexpr u32 kFunction = VRQ_F_ENCRYPT_RSAES;
    const u32 mode = encoding_mode(unit.mode);
    const auto k = static_cast<i32>(rsa::modulus_bytes(unit));
    if (is_refused(mode)) return fail(kFunction, VRQ_ERR_NOT_PROVEN_ALGORITHM);

    i32 encoded = 0;
    switch (mode) {
    case VRQ_RSA_RAW:
        if (in_length > k) return fail(kFunction, VRQ_ERR_INVALID_INPUT);
        std::memcpy(em + k - in_length, in, static_cast<std::size_t>(in_length));
        encoded = in_length;
        break;
    case VRQ_RSAES_OAEP:
        encoded = VRQ_Encode_RSAES_OAEP_PADDING(&unit, in, in_length, em + 1, k - 1, nullptr, 0, 0);
        break;
    case VRQ_RSAES_OAEP_WITH_ZERO:
        encoded = VRQ_Encode_RSAES_OAEP_PADDING(&unit, in, in_length, em, k, nullptr, 0, 1);
        break;
    case VRQ_RSAES_PKCS1_V1_5:
        encoded = VRQ_Encode_RSAES_PKCS1_PADDING(&unit, in, in_length, em, k);
        break;
    default:
        return fail(kFunction, VRQ_ERR_INVALID_RSA_ENCODING);
    }
    if (in_length > k) return fail(kFunction, VRQ_ERR_INVALID_INPUT);
    if (encoded < 1) return fail(kFunction, VRQ_ERR_ENCODING_FAILURE);
    return 0;
}

// The private side takes the plain path: d as it is, without blinding or primes.
u32 encrypt_block(VRQ_RSA_UNIT& unit, u8* out, const u8* em) {
    constexpr u32 kFunction = VRQ_F_ENCRYPT_RSAES;
    Scratch<2> scratch(unit.pool);
    VRQ_BIGINT* const m = scratch.take();
    VRQ_BIGINT* const c = scratch.take();
    const std::size_t k = rsa::modulus_bytes(unit);
    if (m == nullptr || c == nullptr || VRQ_Binary_To_BIGINT(em, static_cast<i32>(k), m) == nullptr)
        return fail(kFunction, VRQ_ERR_SUB_OPERATION_FAILURE);
    if (!rsa::is_below_modulus(unit, *m)) return fail(kFunction, VRQ_ERR_MESSAGE_TOO_LONG);

    const u32 s = unit.direction == VRQ_RSA_PRIVATE
                      ? VRQ_Mod_Exp_BIGINT(c, m, unit.d, unit.n, unit.pool)
                      : rsa::raise_public(unit, c, m);
    if (s != 0) return fail(kFunction, VRQ_ERR_SUB_OPERATION_FAILURE);
    rsa::to_octets(out, k, *c);
    return 0;
}

// m = c^d or c^e mod n
u32 decrypt_value(VRQ_RSA_UNIT& unit, VRQ_BIGINT* m, VRQ_BIGINT* c) {
    const u32 failure = fail(VRQ_F_DECRYPT_RSAES, VRQ_ERR_SUB_OPERATION_FAILURE);
    if (unit.direction != VRQ_RSA_PRIVATE) return rsa::raise_public(unit, m, c) == 0 ? 0 : failure;

    if (!rsa::key_passes(unit)) return fail(VRQ_F_DECRYPT_RSAES, VRQ_ERR_INVALID_KEY_PAIR);
    if (rsa::blind(unit, c) != 0 || rsa::raise_private(unit, m, c) != 0) return failure;
    // Callers compare this one with the code of signing.
    if (rsa::unblind(unit, m) != 0) return fail(VRQ_F_SIGN_RSASSA, VRQ_ERR_SUB_OPERATION_FAILURE);
    return 0;
}

// The bytes of the value without leading zeros.
i32 copy_value(const VRQ_BIGINT& m, u8* out, i32 capacity) {
    if ((value_bits(m) + 7) / 8 > static_cast<std::size_t>(capacity)) return 0;
    return static_cast<i32>(VRQ_BIGINT_To_Binary_Unsigned(&m, out));
}

// Strips the encoding in em, k bytes; *out_length is set on success only.
u32 decode(const VRQ_RSA_UNIT& unit, u8* em, const VRQ_BIGINT& m, u8* out, i32 capacity,
           u32* out_length) {
    constexpr u32 kFunction = VRQ_F_DECRYPT_RSAES;
    const u32 mode = encoding_mode(unit.mode);
    if (is_refused(mode)) return fail(kFunction, VRQ_ERR_NOT_PROVEN_ALGORITHM);

    const std::size_t k = rsa::modulus_bytes(unit);
    rsa::to_octets(em, k, m);
    const auto room = static_cast<std::size_t>(capacity);
    // The layout with a zero byte skips that byte, the others have no place for it.
    const u32 refuse = mode == VRQ_RSAES_OAEP_WITH_ZERO ? 0 : ~ct::is_zero(em[0]);
    i32 length = 0;
    if (mode == VRQ_RSA_RAW) {
        length = copy_value(m, out, capacity);
    } else if (is_oaep(mode)) {
        length = rsa::decode_oaep(unit, em + 1, k - 1, out, room, {nullptr, 0}, refuse);
    } else if (mode == VRQ_RSAES_PKCS1_V1_5) {
        length = rsa::decode_pkcs1(em + 1, k - 1, out, room, refuse);
    } else {
        return fail(kFunction, VRQ_ERR_INVALID_RSA_ENCODING);
    }
    if (length < 1) return fail(kFunction, VRQ_ERR_DECODING_FAILURE);
    *out_length = static_cast<u32>(length);
    return 0;
}

u32 decrypt_block(VRQ_RSA_UNIT& unit, u8* em, const u8* in, u8* out, i32 capacity,
                  u32* out_length) {
    constexpr u32 kFunction = VRQ_F_DECRYPT_RSAES;
    Scratch<2> scratch(unit.pool);
    VRQ_BIGINT* const c = scratch.take();
    VRQ_BIGINT* const m = scratch.take();
    const auto k = static_cast<i32>(rsa::modulus_bytes(unit));
    if (c == nullptr || m == nullptr || VRQ_Binary_To_BIGINT(in, k, c) == nullptr)
        return fail(kFunction, VRQ_ERR_SUB_OPERATION_FAILURE);
    if (!rsa::is_below_modulus(unit, *c)) return fail(kFunction, VRQ_ERR_MESSAGE_TOO_LONG);
    if (const u32 s = decrypt_value(unit, m, c); s != 0) return s;
    return decode(unit, em, *m, out, capacity, out_length);
}

} // namespace

u32 VRQ_Init_RSAES(VRQ_RSA_UNIT* unit, u32 mode, u32 direction, u32 digest) {
    constexpr u32 kFunction = VRQ_F_INIT_RSAES;
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (rsa::is_modulus_refused(*unit)) return fail(kFunction, VRQ_ERR_NOT_SUPPORTED);
    if (is_refused(encoding_mode(mode))) return fail(kFunction, VRQ_ERR_NOT_PROVEN_ALGORITHM);

    if (digest == 0) digest = VRQ_ID_SHA1;
    if (!rsa::bind_digest(*unit, digest) || !rsa::bind_operation(*unit, mode, direction, digest))
        return fail(kFunction, VRQ_ERR_SUB_OPERATION_FAILURE);
    return 0;
}

u32 VRQ_Encrypt_RSAES(VRQ_RSA_UNIT* unit, u8* out, u32* out_length, const u8* in, i32 in_length) {
    constexpr u32 kFunction = VRQ_F_ENCRYPT_RSAES;
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (in == nullptr || in_length < 0 || out == nullptr || out_length == nullptr)
        return fail(kFunction, VRQ_ERR_INVALID_INPUT);
    if (unit->direction == VRQ_RSA_PRIVATE) {
        if ((unit->key_flags & kHasPrivate) == 0) return fail(kFunction, VRQ_ERR_NO_PRIVATE_VALUE);
    } else if ((unit->key_flags & kHasPublic) == 0) {
        return fail(kFunction, VRQ_ERR_NO_PUBLIC_VALUE);
    }
    if (rsa::is_modulus_refused(*unit)) return fail(kFunction, VRQ_ERR_NOT_SUPPORTED);

    SecretHeap em(block_size(*unit));
    if (!em) return fail(kFunction, VRQ_ERR_MALLOC);
    std::memset(em.data(), 0, em.size());
    u32 s = encode(*unit, em.data(), in, in_length);
    if (s == 0) s = encrypt_block(*unit, out, em.data());
    rsa::forget(*unit);
    if (s == 0) *out_length = static_cast<u32>(rsa::modulus_bytes(*unit));
    return s;
}

u32 VRQ_Decrypt_RSAES(VRQ_RSA_UNIT* unit, u8* out, u32* out_length, const u8* in,
                      i32 out_capacity) {
    constexpr u32 kFunction = VRQ_F_DECRYPT_RSAES;
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (in == nullptr || out == nullptr || out_length == nullptr || out_capacity < 0)
        return fail(kFunction, VRQ_ERR_INVALID_INPUT);
    // Callers rely on each direction testing the parts of the other: any loaded key passes.
    if (unit->direction == VRQ_RSA_PRIVATE) {
        if ((unit->key_flags & kHasPublic) == 0) return fail(kFunction, VRQ_ERR_NO_PUBLIC_VALUE);
    } else if ((unit->key_flags & kHasPrivate) == 0) {
        return fail(kFunction, VRQ_ERR_NO_PRIVATE_VALUE);
    }
    if (rsa::is_modulus_refused(*unit)) return fail(kFunction, VRQ_ERR_NOT_SUPPORTED);

    SecretHeap em(block_size(*unit));
    if (!em) return fail(kFunction, VRQ_ERR_MALLOC);
    const u32 s = decrypt_block(*unit, em.data(), in, out, out_capacity, out_length);
    rsa::forget(*unit);
    return s;
}
