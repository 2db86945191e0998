// The function G of FIPS 186-2, appendices 3.3 and 3.4, over a digest and over a block cipher.
#include "digest/digest_table.h"
#include "digest/sha.h"
#include "foundation/bytes.h"
#include "foundation/scope.h"
#include "random/prng.h"
#include "talvern/aria.h"
#include "talvern/random.h"
#include "talvern/seed.h"

#include <algorithm>
#include <cstring>

using namespace vrq;

namespace {

// t of FIPS 186-2: the initial chaining value of SHA-1.
constexpr const u32 (&kT)[5] = Sha1::kInitial;

// The bytes of a value, filled up in front with zeros. False when it is longer.
[[nodiscard]] bool put_value(const VRQ_BIGINT& value, u8* out, std::size_t size) {
    const std::size_t length = (VRQ_Get_BIGINT_Bits_Length(&value) + 7) / 8;
    if (length > size) return false;
    std::memset(out, 0, size - length);
    VRQ_BIGINT_To_Binary_Unsigned(&value, out + (size - length));
    return true;
}

// The running hash words of the unit's digest, big-endian.
void put_chaining_value(const VRQ_PRNG_UNIT& unit, u8* out, std::size_t length) {
    switch (unit.algorithm) {
    case VRQ_ID_SHA384:
    case VRQ_ID_SHA512: {
        const auto* words = static_cast<const VRQ_SHA512_CTX*>(unit.engine)->hash;
        for (std::size_t i = 0; i < length / 8; ++i) store_be(out + 8 * i, words[i]);
        return;
    }
    default:
        break;
    }
    const u32* words =
        unit.algorithm == VRQ_ID_HAS160 ? static_cast<const VRQ_HAS160_CTX*>(unit.engine)->state
        : unit.algorithm == VRQ_ID_SHA1 ? static_cast<const VRQ_SHA1_CTX*>(unit.engine)->hash
                                        : static_cast<const VRQ_SHA256_CTX*>(unit.engine)->hash;
    for (std::size_t i = 0; i < length / 4; ++i) store_be(out + 4 * i, words[i]);
}

// Five words of the value, as the standard splits its 160-bit c. A longer value is folded: word j is
// the sum modulo 2 of the words j, j + 5, ... counted from the end.
[[nodiscard]] bool split(const VRQ_BIGINT& value, u32 (&c)[5]) {
    constexpr std::size_t kWords = 20; // 640 bits hold the longest XKEY, 512
    SecretBytes<4 * kWords> bytes;
    if (!put_value(value, bytes.data(), bytes.size())) return false;
    std::fill(c, c + 5, 0);
    for (std::size_t i = 0; i < kWords; ++i) c[i % 5] ^= load_be<u32>(bytes.data() + 4 * i);
    return true;
}

// Encrypts a block in place under a key of four bytes times two words, both repeated to the cipher's
// lengths.
[[nodiscard]] bool encrypt(VRQ_PRNG_UNIT& unit, u32 b1, u32 b2, u8* block) {
    SecretBytes<32> key;
    for (std::size_t i = 0; i < key.size(); i += 8) {
        store_be(key.data() + i, b1);
        store_be(key.data() + i + 4, b2);
    }
    if (unit.algorithm == VRQ_ID_SEED_128) {
        auto* schedule = static_cast<VRQ_SEED_KEY*>(unit.engine);
        if (vrq_Init_Encrypt_SEED_Key(key.data(), schedule) != 0) return false;
        vrq_SEED_Encrypt_Block(block, block, schedule);
        return true;
    }
    auto* schedule = static_cast<VRQ_ARIA_KEY*>(unit.engine);
    const i32 key_length = unit.algorithm == VRQ_ID_ARIA_128   ? 16
                           : unit.algorithm == VRQ_ID_ARIA_192 ? 24
                                                               : 32;
    if (vrq_Init_Encrypt_ARIA_Key(key.data(), key_length, schedule) != 0) return false;
    vrq_ARIA_Encrypt_Block(block, block, schedule);
    return true;
}

} // namespace

VRQ_BIGINT* G_Digest(VRQ_PRNG_UNIT* unit, const VRQ_BIGINT* value) {
    if (unit == nullptr || value == nullptr || unit->engine == nullptr) return nullptr;
    const DigestRow* row = find_digest(unit->algorithm);
    if (row == nullptr) return nullptr;

    // As many bytes as XKEY has, in front; zeros behind.
    SecretBytes<64> block;
    std::memset(block.data(), 0, block.size());
    const std::size_t bits =
        std::max(prng_bits(*unit), std::size_t{VRQ_Get_BIGINT_Bits_Length(value)});
    const std::size_t length = (bits + 7) / 8;
    if (length > block.size() || !put_value(*value, block.data(), length)) return nullptr;
    if (row->update(unit->engine, block.data(), static_cast<u32>(block.size())) != 0)
        return nullptr;

    SecretBytes<VRQ_MAX_DIGEST_LENGTH> words;
    put_chaining_value(*unit, words.data(), row->digest_length);
    VRQ_BIGINT* x = VRQ_Get_BIGINT_Pool(unit->pool);
    if (x == nullptr) return nullptr;
    return VRQ_Binary_To_BIGINT(words.data(), static_cast<i32>(row->digest_length), x);
}

// FIPS 186-2, appendix 3.4, with the cipher in place of DES. Indices are the standard's less one.
//   x_i = t_i + c_i (modulo 2)
//   y_i1 || y_i2 = E(key b1 || b2, block a1 || a2), with
//     b1 = c_(i+4), b2 = c_(i+3), a1 = x_i, a2 = x_(i+1) + x_(i+4)
//   z_i = y_i1 + y_(i+2)2 + y_(i+3)1
// Key and block are as long as the cipher wants them: the eight bytes repeated. Of the cipher's
// output the first two words count. The 24-bit cut of b1 belongs to the 56-bit key of DES.
VRQ_BIGINT* G_Block_Cipher(VRQ_PRNG_UNIT* unit, const VRQ_BIGINT* value) {
    if (unit == nullptr || value == nullptr || unit->engine == nullptr) return nullptr;
    if (!is_prng_cipher(unit->algorithm)) return nullptr;
    struct {
        u32 c[5];
        u32 x[5];
        u32 y[5][2];
    } w;
    const WipeOnExit wiped(w);
    if (!split(*value, w.c)) return nullptr;
    for (std::size_t i = 0; i < 5; ++i) w.x[i] = kT[i] ^ w.c[i];

    for (std::size_t i = 0; i < 5; ++i) {
        SecretBytes<16> block;
        for (std::size_t at = 0; at < block.size(); at += 8) {
            store_be(block.data() + at, w.x[i]);
            store_be(block.data() + at + 4, w.x[(i + 1) % 5] ^ w.x[(i + 4) % 5]);
        }
        if (!encrypt(*unit, w.c[(i + 4) % 5], w.c[(i + 3) % 5], block.data())) return nullptr;
        w.y[i][0] = load_be<u32>(block.data());
        w.y[i][1] = load_be<u32>(block.data() + 4);
    }

    SecretBytes<kPrngCipherOutput> z;
    for (std::size_t i = 0; i < 5; ++i)
        store_be(z.data() + 4 * i, w.y[i][0] ^ w.y[(i + 2) % 5][1] ^ w.y[(i + 3) % 5][0]);
    VRQ_BIGINT* result = VRQ_Get_BIGINT_Pool(unit->pool);
    if (result == nullptr) return nullptr;
    return VRQ_Binary_To_BIGINT(z.data(), static_cast<i32>(z.size()), result);
}
