// EME-OAEP (RFC 8017, section 7.1) in two layouts: maskedSeed || maskedDB in k - 1 bytes, or the
// same behind a zero byte. The label is hashed by the digest unit, MGF1 takes the digest of the
// mode word.
#include "foundation/scope.h"
#include "pubkey/rsa_encoding.h"
#include "talvern/digest.h"
#include "talvern/random.h"

#include <cstring>

using namespace vrq;

namespace {

constexpr i32 kTooLong = 0;
constexpr i32 kFailed = -1;

using rsa::OaepLabel;

u32 hash_label(VRQ_DIGEST_UNIT* digest, OaepLabel label, u8* out) {
    if (label.length != 0) {
        const u32 s = VRQ_Update_DIGEST(digest, label.data, static_cast<i32>(label.length));
        if (s != 0) return s;
    }
    return VRQ_Final_DIGEST(digest, out, nullptr);
}

// The body of k - 1 bytes must hold the seed, the label hash and the byte 0x01.
bool fits(std::size_t body_length, std::size_t hash_length) {
    return hash_length != 0 && body_length >= 2 * hash_length + 1;
}

bool valid_label(const u8* label, i32 length) {
    return length == 0 || (label != nullptr && length > 0);
}

// seed || lHash || zeros || 0x01 || message, still to be masked.
bool lay_out(VRQ_DIGEST_UNIT* digest, u8* body, std::size_t body_length, const u8* message,
             std::size_t message_length, OaepLabel label) {
    const std::size_t hash = rsa::hash_length(digest);
    u8* const db = body + hash;
    std::memset(db, 0, body_length - hash);
    if (hash_label(digest, label, db) != 0) return false;
    u8* const end = body + body_length;
    end[-1 - static_cast<std::ptrdiff_t>(message_length)] = 0x01;
    if (message_length != 0) std::memcpy(end - message_length, message, message_length);
    return VRQ_Rand_Bytes(body, static_cast<i32>(hash)) == 0;
}

} // namespace

rsa::Unpadded rsa::unpad_oaep(const u8* db, std::size_t length, const u8* label_hash,
                              std::size_t hash_length) {
    u32 refuse = 0;
    for (std::size_t i = 0; i < hash_length; ++i) refuse |= ~ct::is_equal(db[i], label_hash[i]);
    u32 seen = 0;
    u32 index = 0;
    for (std::size_t i = hash_length; i < length; ++i) {
        const u32 is_one = ct::is_equal(db[i], 1);
        index = ct::select(is_one & ~seen, static_cast<u32>(i), index);
        refuse |= ~seen & ~is_one & ~ct::is_zero(db[i]);
        seen |= is_one;
    }
    return {refuse | ~seen, index + 1};
}

i32 rsa::decode_oaep(const VRQ_RSA_UNIT& unit, u8* body, std::size_t body_length, u8* out,
                     std::size_t capacity, OaepLabel label, u32 refuse) {
    const std::size_t hash = hash_length(unit.digest);
    if (!fits(body_length, hash)) return 0;
    u8* const db = body + hash;
    const std::size_t db_length = body_length - hash;
    if (mgf1_xor(body, hash, db, db_length, mode_digest(unit)) != 0) return 0;
    if (mgf1_xor(db, db_length, body, hash, mode_digest(unit)) != 0) return 0;

    u8 label_hash[VRQ_MAX_DIGEST_LENGTH];
    if (hash_label(unit.digest, label, label_hash) != 0) return 0;
    const Unpadded found = unpad_oaep(db, db_length, label_hash, hash);
    const std::size_t length = db_length - found.start;
    refuse |= found.refuse | ct::less(static_cast<u32>(capacity), static_cast<u32>(length));
    if (refuse != 0) return 0;
    std::memcpy(out, db + found.start, length);
    return static_cast<i32>(length);
}

i32 VRQ_Encode_RSAES_OAEP_PADDING(const VRQ_RSA_UNIT* unit, const u8* message, i32 message_length,
                                  u8* out, i32 out_length, const u8* label, i32 label_length,
                                  i32 with_zero_byte) {
    if (unit == nullptr || out == nullptr || (message == nullptr && message_length != 0))
        return kFailed;
    if (message_length < 0 || !valid_label(label, label_length)) return kFailed;
    const std::size_t k = rsa::modulus_bytes(*unit);
    const std::size_t hash = rsa::hash_length(unit->digest);
    const std::size_t lead = with_zero_byte != 0 ? 1 : 0;
    if (k == 0 || !fits(k - 1, hash)) return kFailed;

    const std::size_t body_length = k - 1;
    const auto length = static_cast<std::size_t>(message_length);
    if (length > body_length - 2 * hash - 1) return kTooLong;
    if (out_length < 0 || static_cast<std::size_t>(out_length) < lead + body_length) return kFailed;

    u8* const body = out + lead;
    u8* const db = body + hash;
    const std::size_t db_length = body_length - hash;
    if (lead != 0) out[0] = 0;
    const OaepLabel label_bytes{label, static_cast<std::size_t>(label_length)};
    if (!lay_out(unit->digest, body, body_length, message, length, label_bytes) ||
        rsa::mgf1_xor(db, db_length, body, hash, rsa::mode_digest(*unit)) != 0 ||
        rsa::mgf1_xor(body, hash, db, db_length, rsa::mode_digest(*unit)) != 0) {
        wipe(out, lead + body_length);
        return kFailed;
    }
    return static_cast<i32>(lead + body_length);
}

i32 VRQ_Decode_RSAES_OAEP_PADDING(const VRQ_RSA_UNIT* unit, const u8* block, i32 block_length,
                                  u8* out, i32 out_capacity, const u8* label, i32 label_length,
                                  i32 with_zero_byte) {
    if (unit == nullptr || block == nullptr || out == nullptr) return 0;
    if (block_length < 0 || out_capacity < 0 || !valid_label(label, label_length)) return 0;
    const std::size_t k = rsa::modulus_bytes(*unit);
    const std::size_t lead = with_zero_byte != 0 ? 1 : 0;
    const auto length = static_cast<std::size_t>(block_length);
    if (k == 0 || length > k - 1 + lead) return 0;

    SecretHeap em(k);
    if (!em) return 0;
    std::memset(em.data(), 0, k);
    std::memcpy(em.data() + k - length, block, length);
    return rsa::decode_oaep(*unit, em.data() + 1, k - 1, out,
                            static_cast<std::size_t>(out_capacity),
                            {label, static_cast<std::size_t>(label_length)}, 0);
}
