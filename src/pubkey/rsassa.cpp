// RSA signatures over a message that is hashed in pieces: RSASSA-PSS, RSASSA-PKCS1-v1_5 (RFC 8017,
// section 8) and the raw digest.
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

constexpr u32 kUnitDigestMask = 0x0FFFFFFF; // drops the mark of HMAC identifiers
constexpr i32 kDefaultSalt = 20;

u32 encoding_mode(const VRQ_RSA_UNIT& unit) { return unit.mode & rsa::kModeMask; }

// From the mode word alone; pss_salt_length is not consulted.
i32 salt_length(const VRQ_RSA_UNIT& unit) {
    const auto length = static_cast<i32>(unit.mode >> 16 & 0xFF);
    return length != 0 ? length : kDefaultSalt;
}

bool is_digest_refused(u32 digest) {
    return VRQ_Is_Proven() == 1 && digest != VRQ_ID_SHA224 && digest != VRQ_ID_SHA256;
}

// The digest of the message fed.
class MessageHash {
  public:
    [[nodiscard]] bool finish(VRQ_DIGEST_UNIT* digest) {
        return VRQ_Final_DIGEST(digest, bytes_.data(), &length_) == 0;
    }
    const u8* data() const { return bytes_.data(); }
    i32 length() const { return static_cast<i32>(length_); }

  private:
    SecretBytes<VRQ_MAX_DIGEST_LENGTH> bytes_;
    u32 length_ = 0;
};

// What proven mode asks of a unit beyond its mode; the key may have come after Init.
u32 check_limits(const VRQ_RSA_UNIT& unit, u32 function) {
    if (rsa::is_modulus_refused(unit)) return fail(function, VRQ_ERR_NOT_SUPPORTED);
    if (unit.digest != nullptr && is_digest_refused(unit.digest->algorithm))
        return fail(function, VRQ_ERR_NOT_PROVEN_ALGORITHM);
    return 0;
}

// The integer to be signed.
u32 encode(const VRQ_RSA_UNIT& unit, VRQ_BIGINT* m, const MessageHash& hash, u8* em) {
    constexpr u32 kFunction = VRQ_F_SIGN_RSASSA;
    const u32 mode = encoding_mode(unit);
    if (VRQ_Is_Proven() == 1 && (mode == VRQ_RSA_RAW || mode == VRQ_RSASSA_PKCS1_V1_5))
        return fail(kFunction, VRQ_ERR_NOT_PROVEN_ALGORITHM);

    const u8* block = em;
    auto length = static_cast<i32>(rsa::modulus_bytes(unit));
    u32 s = 0;
    switch (mode) {
    case VRQ_RSA_RAW:
        block = hash.data();
        length = hash.length();
        break;
    case VRQ_RSASSA_PKCS1_V1_5:
        s = VRQ_Add_EMSA_PKCS1_v1_5_Encode(em, length, hash.data(), hash.length(),
                                           unit.digest->algorithm);
        break;
    case VRQ_RSASSA_PSS:
        s = VRQ_Add_RSASSA_PKCS1_PSS_Encode(&unit, em, length, hash.data(), hash.length(),
                                            salt_length(unit), unit.digest);
        break;
    default:
        return fail(kFunction, VRQ_ERR_INVALID_ENCODE_MODE);
    }
    if (s != 0) return fail(kFunction, VRQ_ERR_ENCODING_FAILURE);
    if (VRQ_Binary_To_BIGINT(block, length, m) == nullptr)
        return fail(kFunction, VRQ_ERR_BINARY_TO_BIGINT_FAIL);
    return 0;
}

// s = m^d mod n. Callers rely on the key being checked behind the blinding here.
u32 sign_value(VRQ_RSA_UNIT& unit, VRQ_BIGINT* s, VRQ_BIGINT* m) {
    constexpr u32 kFunction = VRQ_F_SIGN_RSASSA;
    const u32 failure = fail(kFunction, VRQ_ERR_SUB_OPERATION_FAILURE);
    if (!rsa::is_below_modulus(unit, *m)) return fail(kFunction, VRQ_ERR_MESSAGE_TOO_LONG);
    if (rsa::blind(unit, m) != 0) return failure;
    if (!rsa::key_passes(unit)) return fail(kFunction, VRQ_ERR_INVALID_KEY_PAIR);
    if (rsa::raise_private(unit, s, m) != 0 || rsa::unblind(unit, s) != 0) return failure;
    if (is_zero(*s)) return fail(kFunction, VRQ_ERR_SIGN_FAILURE);
    return 0;
}

u32 check_raw(const VRQ_RSA_UNIT& unit, VRQ_BIGINT* expected, const VRQ_BIGINT* m,
              const MessageHash& hash) {
    const u32 different = fail(VRQ_F_VERIFY_RSASSA, VRQ_ERR_DECODING_FAILURE);
    if (VRQ_Is_Proven() == 1 || encoding_mode(unit) != VRQ_RSA_RAW) return different;
    if (VRQ_Binary_To_BIGINT(hash.data(), hash.length(), expected) == nullptr)
        return fail(VRQ_F_VERIFY_RSASSA, VRQ_ERR_MALLOC);
    return VRQ_Cmp_BIGINT(expected, m) == 0 ? 0 : different;
}

// The encoding in em, k bytes, against the digest. em begins with a byte that the encoding of
// PKCS #1 v1.5 does not have: unless it is zero the block is too long.
u32 check_encoding(const VRQ_RSA_UNIT& unit, const u8* em, const MessageHash& hash) {
    const auto k = static_cast<i32>(rsa::modulus_bytes(unit));
    if (encoding_mode(unit) == VRQ_RSASSA_PSS) {
        return VRQ_Check_RSASSA_PKCS1_PSS_Encode(&unit, em, k, hash.data(), hash.length(),
                                                 salt_length(unit), unit.digest);
    }
    if (VRQ_Is_Proven() == 1) return fail(VRQ_F_VERIFY_RSASSA, VRQ_ERR_NOT_PROVEN_ALGORITHM);
    const i32 lead = em[0] == 0 && k > 1 ? 1 : 0;
    return VRQ_Check_EMSA_PKCS1_v1_5_Encode(em + lead, k - lead, k, hash.data(), hash.length(),
                                            unit.digest->algorithm);
}

u32 verify_value(VRQ_RSA_UNIT& unit, const u8* signature, std::size_t length,
                 const MessageHash& hash) {
    constexpr u32 kFunction = VRQ_F_VERIFY_RSASSA;
    const u32 too_long = fail(kFunction, VRQ_ERR_SIGNATURE_TOO_LONG);
    const std::size_t k = rsa::modulus_bytes(unit);
    while (length != 0 && *signature == 0) {
        ++signature;
        --length;
    }
    if (length > k) return too_long;

    Scratch<3> scratch(unit.pool);
    VRQ_BIGINT* const s = scratch.take();
    VRQ_BIGINT* const m = scratch.take();
    VRQ_BIGINT* const expected = scratch.take();
    SecretHeap em(std::max<std::size_t>(k, 1));
    if (!em || s == nullptr || m == nullptr || expected == nullptr)
        return fail(kFunction, VRQ_ERR_MALLOC);
    if (VRQ_Binary_To_BIGINT(signature, static_cast<i32>(length), s) == nullptr)
        return fail(kFunction, VRQ_ERR_MALLOC);
    if (!rsa::is_below_modulus(unit, *s)) return too_long;
    if (rsa::raise_public(unit, m, s) != 0) return fail(kFunction, VRQ_ERR_SUB_OPERATION_FAILURE);

    const u32 mode = encoding_mode(unit);
    if (mode != VRQ_RSASSA_PKCS1_V1_5 && mode != VRQ_RSASSA_PSS)
        return check_raw(unit, expected, m, hash);
    rsa::to_octets(em.data(), k, *m);
    return check_encoding(unit, em.data(), hash);
}

} // namespace

u32 VRQ_Init_RSASSA(VRQ_RSA_UNIT* unit, u32 digest, u32 mode, u32 direction) {
    constexpr u32 kFunction = VRQ_F_INIT_RSASSA;
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    const bool is_pkcs1 = (mode & rsa::kModeMask) == VRQ_RSASSA_PKCS1_V1_5;
    if ((VRQ_Is_Proven() == 1 && is_pkcs1) || is_digest_refused(digest))
        return fail(kFunction, VRQ_ERR_NOT_PROVEN_ALGORITHM);
    if (rsa::is_modulus_refused(*unit)) return fail(kFunction, VRQ_ERR_NOT_SUPPORTED);

    const bool is_new = unit->digest == nullptr;
    if (!rsa::bind_digest(*unit, digest & kUnitDigestMask))
        return fail(kFunction, is_new ? VRQ_ERR_SUB_OPERATION_FAILURE : VRQ_ERR_INIT_FAILURE);
    if (!rsa::bind_operation(*unit, mode, direction, digest))
        return fail(kFunction, VRQ_ERR_SUB_OPERATION_FAILURE);
    return 0;
}

u32 VRQ_Update_RSASSA(VRQ_RSA_UNIT* unit, const u8* data, i32 length) {
    if (unit == nullptr) return fail(VRQ_F_UPDATE_RSASSA, VRQ_ERR_NULL_INPUT);
    if (VRQ_Update_DIGEST(unit->digest, data, length) != 0)
        return fail(VRQ_F_UPDATE_RSASSA, VRQ_ERR_SUB_OPERATION_FAILURE);
    return 0;
}

u32 VRQ_Final_RSASSA(VRQ_RSA_UNIT* unit, u8* signature, u32* length) {
    constexpr u32 kFunction = VRQ_F_FINAL_RSASSA;
    if (unit == nullptr || signature == nullptr || length == nullptr)
        return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (rsa::is_modulus_refused(*unit)) return fail(kFunction, VRQ_ERR_NOT_SUPPORTED);
    if (unit->direction == VRQ_RSA_PRIVATE) {
        if (unit->key_flags <= (VRQ_RSA_HAS_MODULUS | VRQ_RSA_HAS_PUBLIC_EXPONENT))
            return fail(kFunction, VRQ_ERR_NO_PRIVATE_VALUE);
        return VRQ_Sign_RSASSA(unit, signature, length);
    }
    if (unit->key_flags <= VRQ_RSA_HAS_PUBLIC_EXPONENT)
        return fail(kFunction, VRQ_ERR_NO_PUBLIC_VALUE);
    return VRQ_Verify_RSASSA(unit, signature, static_cast<i32>(*length));
}

u32 VRQ_Sign_RSASSA(VRQ_RSA_UNIT* unit, u8* signature, u32* length) {
    constexpr u32 kFunction = VRQ_F_SIGN_RSASSA;
    if (unit == nullptr || signature == nullptr || length == nullptr)
        return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (const u32 s = check_limits(*unit, kFunction); s != 0) return s;

    const std::size_t k = rsa::modulus_bytes(*unit);
    const ScopeExit forgetting([unit] { rsa::forget(*unit); });
    Scratch<2> scratch(unit->pool);
    VRQ_BIGINT* const m = scratch.take();
    VRQ_BIGINT* const s = scratch.take();
    if (m == nullptr || s == nullptr) return fail(kFunction, VRQ_ERR_SUB_OPERATION_FAILURE);
    SecretHeap em(std::max<std::size_t>(k, 1));
    if (!em) return fail(kFunction, VRQ_ERR_MALLOC);
    MessageHash hash;
    if (!hash.finish(unit->digest)) return fail(kFunction, VRQ_ERR_SUB_OPERATION_FAILURE);

    if (const u32 status = encode(*unit, m, hash, em.data()); status != 0) return status;
    if (const u32 status = sign_value(*unit, s, m); status != 0) return status;
    rsa::to_octets(signature, k, *s);
    *length = static_cast<u32>(k);
    return 0;
}

u32 VRQ_Verify_RSASSA(VRQ_RSA_UNIT* unit, const u8* signature, i32 length) {
    constexpr u32 kFunction = VRQ_F_VERIFY_RSASSA;
    if (unit == nullptr || signature == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (length < 0) return fail(kFunction, VRQ_ERR_INVALID_INPUT);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (const u32 s = check_limits(*unit, kFunction); s != 0) return s;

    MessageHash hash;
    if (!hash.finish(unit->digest)) return fail(kFunction, VRQ_ERR_SUB_OPERATION_FAILURE);
    return verify_value(*unit, signature, static_cast<std::size_t>(length), hash);
}
