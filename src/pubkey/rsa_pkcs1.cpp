// EME-PKCS1-v1_5 and EMSA-PKCS1-v1_5 (RFC 8017, sections 7.2 and 9.2).
#include "foundation/scope.h"
#include "pubkey/rsa_encoding.h"
#include "talvern/digest.h"
#include "talvern/random.h"

#include <cstring>
#include <span>

using namespace vrq;

namespace {

constexpr u32 fail(u32 reason) {
    return make_status(VRQ_L_RSA, VRQ_F_CHECK_PKCS1_v1_5_ENCODE, reason);
}

constexpr std::size_t kMinPadding = 8;
constexpr std::size_t kOverhead = kMinPadding + 3; // two bytes before the padding, one behind
constexpr u8 kPrivateType = 0x01;
constexpr u8 kPublicType = 0x02;

// DigestInfo without the hash: RFC 8017 section 9.2, note 1.
constexpr u8 SHA1_T[] = {0x30, 0x21, 0x30, 0x09, 0x06, 0x05, 0x2b, 0x0e,
                         0x03, 0x02, 0x1a, 0x05, 0x00, 0x04, 0x14};
constexpr u8 SHA256_T[] = {0x30, 0x31, 0x30, 0x0d, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01,
                           0x65, 0x03, 0x04, 0x02, 0x01, 0x05, 0x00, 0x04, 0x20};
constexpr u8 SHA384_T[] = {0x30, 0x41, 0x30, 0x0d, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01,
                           0x65, 0x03, 0x04, 0x02, 0x02, 0x05, 0x00, 0x04, 0x30};
constexpr u8 SHA512_T[] = {0x30, 0x51, 0x30, 0x0d, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01,
                           0x65, 0x03, 0x04, 0x02, 0x03, 0x05, 0x00, 0x04, 0x40};
constexpr u8 MD5_T[] = {0x30, 0x20, 0x30, 0x0c, 0x06, 0x08, 0x2a, 0x86, 0x48,
                        0x86, 0xf7, 0x0d, 0x02, 0x05, 0x05, 0x00, 0x04, 0x10};

// Empty for a digest without a prefix.
std::span<const u8> prefix_of(u32 digest) {
    switch (digest) {
    case VRQ_ID_SHA1:
        return SHA1_T;
    case VRQ_ID_SHA256:
        return SHA256_T;
    case VRQ_ID_SHA384:
        return SHA384_T;
    case VRQ_ID_SHA512:
        return SHA512_T;
    case VRQ_ID_MD5:
        return MD5_T;
    default:
        return {};
    }
}

// The encoders report a plain number, not a status.
constexpr u32 kUnknownDigest = 0xFFFFFFFF;
constexpr u32 kInvalidInput = VRQ_ERR_INVALID_INPUT;

// Random bytes, none of them zero.
bool random_padding(u8* out, std::size_t length) {
    if (VRQ_Rand_Bytes(out, static_cast<i32>(length)) != 0) return false;
    for (std::size_t i = 0; i < length; ++i) {
        while (out[i] == 0) {
            if (VRQ_Rand_Bytes(out + i, 1) != 0) return false;
        }
    }
    return true;
}

} // namespace

i32 VRQ_Encode_RSAES_PKCS1_PADDING(const VRQ_RSA_UNIT* unit, const u8* message, i32 message_length,
                                   u8* out, i32 k) {
    if (unit == nullptr || out == nullptr || (message == nullptr && message_length != 0)) return 0;
    if (message_length < 0 || k < static_cast<i32>(kOverhead)) return 0;
    if (message_length > k - static_cast<i32>(kOverhead)) return 0;

    const auto length = static_cast<std::size_t>(message_length);
    const std::size_t padding = static_cast<std::size_t>(k) - 3 - length;
    out[0] = 0;
    if (unit->direction == 1) {
        out[1] = kPrivateType;
        std::memset(out + 2, 0xFF, padding);
    } else {
        out[1] = kPublicType;
        if (!random_padding(out + 2, padding)) return 0;
    }
    out[2 + padding] = 0;
    if (length != 0) std::memcpy(out + 3 + padding, message, length);
    return k;
}

rsa::Unpadded rsa::unpad_pkcs1(const u8* block, std::size_t length) {
    u32 seen = 0;
    u32 index = 0;
    for (std::size_t i = 1; i < length; ++i) {
        const u32 is_zero = ct::is_zero(block[i]);
        index = ct::select(is_zero & ~seen, static_cast<u32>(i), index);
        seen |= is_zero;
    }
    const u32 is_type = ct::is_equal(block[0], kPrivateType) | ct::is_equal(block[0], kPublicType);
    return {~is_type | ~seen | ct::less(index, 1 + kMinPadding), index + 1};
}

i32 rsa::decode_pkcs1(const u8* block, std::size_t length, u8* out, std::size_t capacity,
                      u32 refuse) {
    if (length < kOverhead - 1) return 0;
    const Unpadded found = unpad_pkcs1(block, length);
    const std::size_t message_length = length - found.start;
    refuse |= found.refuse;
    refuse |= ct::less(static_cast<u32>(capacity), static_cast<u32>(message_length));
    if (refuse != 0) return 0;
    std::memcpy(out, block + found.start, message_length);
    return static_cast<i32>(message_length);
}

i32 VRQ_Decode_RSAES_PKCS1_PADDING(const VRQ_RSA_UNIT* unit, const u8* block, i32 block_length,
                                   u8* out, i32 out_capacity) {
    if (unit == nullptr || block == nullptr || out == nullptr) return 0;
    if (block_length < 0 || out_capacity < 0) return 0;
    return rsa::decode_pkcs1(block, static_cast<std::size_t>(block_length), out,
                             static_cast<std::size_t>(out_capacity), 0);
}

u32 VRQ_Add_EMSA_PKCS1_v1_5_Encode(u8* out, i32 em_length, const u8* hash, i32 hash_length,
                                   u32 digest) {
    const std::span<const u8> prefix = prefix_of(digest);
    if (prefix.empty()) return kUnknownDigest;
    if (em_length < static_cast<i32>(prefix.size() + kOverhead)) return kInvalidInput;
    if (out == nullptr || hash == nullptr || hash_length < 0) return kInvalidInput;
    // The bound above leaves the hash out; a hash that does not fit is refused here.
    const auto fixed = static_cast<i32>(prefix.size()) + 3;
    if (hash_length > em_length - fixed) return kInvalidInput;

    const auto hash_size = static_cast<std::size_t>(hash_length);
    const auto padding = static_cast<std::size_t>(em_length - fixed - hash_length);
    *out++ = 0;
    *out++ = kPrivateType;
    std::memset(out, 0xFF, padding);
    out += padding;
    *out++ = 0;
    std::memcpy(out, prefix.data(), prefix.size());
    std::memcpy(out + prefix.size(), hash, hash_size);
    return 0;
}

u32 VRQ_Check_EMSA_PKCS1_v1_5_Encode(const u8* block, i32 block_length, i32 em_length,
                                     const u8* hash, i32 hash_length, u32 digest) {
    if (block == nullptr || block_length < 1) return 1;
    if (em_length < 1) return fail(VRQ_ERR_ENCODING_FAILURE);
    SecretHeap expected(static_cast<std::size_t>(em_length));
    if (!expected) return fail(VRQ_ERR_MALLOC);
    if (VRQ_Add_EMSA_PKCS1_v1_5_Encode(expected.data(), em_length, hash, hash_length, digest) != 0)
        return fail(VRQ_ERR_ENCODING_FAILURE);

    // A shorter block is a value with leading zeros, and differs in its first byte; comparing only
    // the bytes given would let the value 1 pass for every hash.
    if (block_length != em_length - 1) return fail(VRQ_ERR_COMPARE_FAIL);
    if (!ct::equal(block, expected.data() + 1, static_cast<std::size_t>(block_length)))
        return fail(VRQ_ERR_COMPARE_FAIL);
    return 0;
}
