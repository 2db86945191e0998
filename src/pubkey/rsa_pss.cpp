// EMSA-PSS (RFC 8017, section 9.1). The hash is that of the digest unit given, MGF1 takes the
// digest of the mode word.
#include "foundation/scope.h"
#include "pubkey/rsa_encoding.h"
#include "talvern/digest.h"
#include "talvern/random.h"

#include <cstring>

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_RSA, function, reason); }

constexpr u8 kTrailer = 0xBC;

// Sizes of an encoded message of em bytes: maskedDB, then H, then the trailer.
struct Layout {
    std::size_t em;
    std::size_t hash;
    std::size_t salt;
    u8 top_mask; // bits of the first byte that belong to the encoded message

    std::size_t db() const { return em - hash - 1; }
    std::size_t zeros() const { return db() - salt - 1; }
    bool fits() const { return em >= hash + salt + 2; }
};

constexpr u8 top_mask(std::size_t em_bits) {
    return static_cast<u8>(em_bits % 8 == 0 ? 0xFF : 0xFF >> (8 - em_bits % 8));
}

// H = Hash(eight zero bytes || mHash || salt)
u32 hash_salted(VRQ_DIGEST_UNIT* digest, const u8* hash, const u8* salt, const Layout& layout,
                u8* out) {
    static constexpr u8 kZeros[8] = {};
    if (const u32 s = VRQ_Update_DIGEST(digest, kZeros, sizeof kZeros); s != 0) return s;
    if (const u32 s = VRQ_Update_DIGEST(digest, hash, static_cast<i32>(layout.hash)); s != 0)
        return s;
    if (layout.salt != 0) {
        const u32 s = VRQ_Update_DIGEST(digest, salt, static_cast<i32>(layout.salt));
        if (s != 0) return s;
    }
    return VRQ_Final_DIGEST(digest, out, nullptr);
}

u32 encode(const VRQ_RSA_UNIT& unit, u8* em, const u8* hash, const Layout& layout,
           VRQ_DIGEST_UNIT* digest) {
    u8* const salt = em + layout.db() - layout.salt;
    u8* const h = em + layout.db();
    std::memset(em, 0, layout.zeros());
    em[layout.zeros()] = 0x01;
    if (layout.salt != 0) {
        if (const u32 s = VRQ_Rand_Bytes(salt, static_cast<i32>(layout.salt)); s != 0) return s;
    }
    if (const u32 s = hash_salted(digest, hash, salt, layout, h); s != 0) return s;
    const u32 s = rsa::mgf1_xor(em, layout.db(), h, layout.hash, rsa::mode_digest(unit));
    if (s == make_status(VRQ_L_RSA, VRQ_F_PKCS1_MGF1, VRQ_ERR_MALLOC))
        return fail(VRQ_F_ADD_RSASSA_ENCODING, VRQ_ERR_MEM_ALLOC);
    if (s != 0) return s;
    em[0] &= layout.top_mask;
    em[layout.em - 1] = kTrailer;
    return 0;
}

// em is unmasked in place. Everything is compared, whatever differs first.
u32 check(const VRQ_RSA_UNIT& unit, u8* em, const u8* hash, const Layout& layout,
          VRQ_DIGEST_UNIT* digest) {
    constexpr u32 kFunction = VRQ_F_CHECK_RSASSA_PKCS1_PSS_ENCODE;
    const u8* const h = em + layout.db();
    u32 difference = em[layout.em - 1] ^ kTrailer;
    difference |= em[0] & static_cast<u8>(~layout.top_mask);

    if (rsa::mgf1_xor(em, layout.db(), h, layout.hash, rsa::mode_digest(unit)) != 0)
        return fail(kFunction, VRQ_ERR_MEM_ALLOC);
    em[0] &= layout.top_mask;
    for (std::size_t i = 0; i < layout.zeros(); ++i) difference |= em[i];
    difference |= em[layout.zeros()] ^ 0x01;

    SecretBytes<VRQ_MAX_DIGEST_LENGTH> expected;
    const u8* const salt = em + layout.db() - layout.salt;
    if (hash_salted(digest, hash, salt, layout, expected.data()) != 0)
        return fail(kFunction, VRQ_ERR_MEM_ALLOC);
    for (std::size_t i = 0; i < layout.hash; ++i) difference |= h[i] ^ expected[i];
    return difference == 0 ? 0 : fail(kFunction, VRQ_ERR_VERIFY_FAILURE);
}

// The digest unit must make hashes of the length that the layout gives them.
bool valid_lengths(const VRQ_DIGEST_UNIT* digest, i32 hash_length, i32 salt_length) {
    return hash_length > 0 && salt_length >= 0 &&
           rsa::hash_length(digest) == static_cast<std::size_t>(hash_length);
}

} // namespace

u32 VRQ_Add_RSASSA_PKCS1_PSS_Encode(const VRQ_RSA_UNIT* unit, u8* out, i32 em_length,
                                    const u8* hash, i32 hash_length, i32 salt_length,
                                    VRQ_DIGEST_UNIT* digest) {
    const u32 invalid = fail(VRQ_F_ADD_RSASSA_ENCODING, VRQ_ERR_INVALID_INPUT);
    if (unit == nullptr || out == nullptr || hash == nullptr || em_length < 1) return invalid;
    if (!valid_lengths(digest, hash_length, salt_length)) return invalid;
    const std::size_t bits = rsa::modulus_bits(*unit);
    if (bits < 2) return invalid;

    Layout layout{static_cast<std::size_t>(em_length), static_cast<std::size_t>(hash_length),
                  static_cast<std::size_t>(salt_length), top_mask(bits - 1)};
    if (!layout.fits()) return invalid;
    if ((bits - 1) % 8 == 0) {
        *out++ = 0;
        layout.em -= 1;
        if (!layout.fits()) return invalid;
    }
    return encode(*unit, out, hash, layout, digest);
}

u32 VRQ_Check_RSASSA_PKCS1_PSS_Encode(const VRQ_RSA_UNIT* unit, const u8* block, i32 block_length,
                                      const u8* hash, i32 hash_length, i32 salt_length,
                                      VRQ_DIGEST_UNIT* digest) {
    constexpr u32 kFunction = VRQ_F_CHECK_RSASSA_PKCS1_PSS_ENCODE;
    const u32 refused = fail(kFunction, VRQ_ERR_VERIFY_FAILURE);
    if (unit == nullptr || block == nullptr || hash == nullptr || block_length < 0) return refused;
    if (!valid_lengths(digest, hash_length, salt_length)) return refused;
    const std::size_t bits = rsa::modulus_bits(*unit);
    if (bits < 2) return refused;

    const Layout layout{(bits - 1 + 7) / 8, static_cast<std::size_t>(hash_length),
                        static_cast<std::size_t>(salt_length), top_mask(bits - 1)};
    if (!layout.fits()) return refused;
    auto length = static_cast<std::size_t>(block_length);
    // The zero byte that the encoder writes where the encoded message is shorter than the modulus.
    if (length == layout.em + 1 && (bits - 1) % 8 == 0 && block[0] == 0) {
        ++block;
        --length;
    }
    if (length > layout.em) return refused;

    SecretHeap em(layout.em);
    if (!em) return fail(kFunction, VRQ_ERR_MEM_ALLOC);
    std::memset(em.data(), 0, layout.em - length);
    if (length != 0) std::memcpy(em.data() + layout.em - length, block, length);
    return check(*unit, em.data(), hash, layout, digest);
}
