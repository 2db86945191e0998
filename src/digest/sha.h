// The SHA hashes as traits of the staged block hash.
#pragma once

#include "digest/block_hash.h"
#include "talvern/digest.h"

namespace vrq {

struct Sha1 {
    using Context = VRQ_SHA1_CTX;
    using Word = u32;
    static constexpr std::size_t kBlock = 64;
    static constexpr std::size_t kLengthField = 8;
    static constexpr std::endian kByteOrder = std::endian::big;
    static constexpr Word kInitial[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476,
                                         0xC3D2E1F0};
    static Word* state(Context& c) { return c.hash; }
    static void compress(Word* state, const u8* data, std::size_t blocks);
};

struct Sha256 {
    using Context = VRQ_SHA256_CTX;
    using Word = u32;
    static constexpr std::size_t kBlock = 64;
    static constexpr std::size_t kLengthField = 8;
    static constexpr std::endian kByteOrder = std::endian::big;
    static Word* state(Context& c) { return c.hash; }
    static void compress(Word* state, const u8* data, std::size_t blocks);
};

struct Sha512 {
    using Context = VRQ_SHA512_CTX;
    using Word = u64;
    static constexpr std::size_t kBlock = 128;
    static constexpr std::size_t kLengthField = 16;
    static constexpr std::endian kByteOrder = std::endian::big;
    static Word* state(Context& c) { return c.hash; }
    static void compress(Word* state, const u8* data, std::size_t blocks);
};

} // namespace vrq
