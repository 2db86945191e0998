// The serial functions of a kernel for ciphers of four 32-bit words a block. The register stays in
// general registers from block to block: stored as words and read back as one vector, it would wait
// for the stores each time.
#pragma once

#include "foundation/bytes.h"

#include <cstddef>

namespace vrq {

struct Words {
    u32 w[4];
};

inline Words operator^(const Words& a, const Words& b) {
    return {{a.w[0] ^ b.w[0], a.w[1] ^ b.w[1], a.w[2] ^ b.w[2], a.w[3] ^ b.w[3]}};
}

// Keeps the words in general registers: without it compilers gather the four into a vector for one
// exclusive or or store, and take it apart again.
inline void keep_apart(Words& x) {
    __asm__("" : "+r"(x.w[0]), "+r"(x.w[1]), "+r"(x.w[2]), "+r"(x.w[3]));
}

inline Words load_words_le(const u8* in) {
    return {{load_le<u32>(in), load_le<u32>(in + 4), load_le<u32>(in + 8), load_le<u32>(in + 12)}};
}

inline void store_words_le(u8* out, const Words& x) {
    store_le(out, x.w[0]);
    store_le(out + 4, x.w[1]);
    store_le(out + 8, x.w[2]);
    store_le(out + 12, x.w[3]);
}

inline Words load_words_be(const u8* in) {
    return {{load_be<u32>(in), load_be<u32>(in + 4), load_be<u32>(in + 8), load_be<u32>(in + 12)}};
}

inline void store_words_be(u8* out, const Words& x) {
    store_be(out, x.w[0]);
    store_be(out + 4, x.w[1]);
    store_be(out + 8, x.w[2]);
    store_be(out + 12, x.w[3]);
}

// Block supplies, on words in the byte order of its choice:
//   using Key;
//   static Words load(const u8* in);
//   static void store(u8* out, const Words& x);
//   static Words encrypt(const Key& key, Words x);
template <class Block>
struct WordSerial {
    using Key = typename Block::Key;

    static void cbc_encrypt(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
        Words x = Block::load(chain);
        for (; blocks != 0; --blocks, in += 16, out += 16) {
            x = x ^ Block::load(in);
            keep_apart(x);
            x = Block::encrypt(key, x);
            keep_apart(x);
            Block::store(out, x);
        }
        Block::store(chain, x);
    }

    static void cfb_encrypt(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
        Words x = Block::load(chain);
        for (; blocks != 0; --blocks, in += 16, out += 16) {
            x = Block::encrypt(key, x);
            keep_apart(x);
            x = x ^ Block::load(in);
            keep_apart(x);
            Block::store(out, x);
        }
        Block::store(chain, x);
    }

    static void ofb(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
        Words x = Block::load(chain);
        for (; blocks != 0; --blocks, in += 16, out += 16) {
            x = Block::encrypt(key, x);
            keep_apart(x);
            Words y = x ^ Block::load(in);
            keep_apart(y);
            Block::store(out, y);
        }
        Block::store(chain, x);
    }
};

} // namespace vrq
