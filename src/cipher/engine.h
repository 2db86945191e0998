// What a block cipher engine supplies to the modes of operation.
//
// An engine is a trait: the key record, the block length, the library code of its statuses, the
// function codes of its modes, and the kernel in use. The modes are written once over it (modes.h).
#pragma once

#include "foundation/cpu.h"
#include "foundation/status.h"

#include <cstddef>
#include <cstring>

namespace vrq {

// One implementation of a cipher. All functions take whole blocks; out and in may be the same
// address, but do not overlap otherwise. A chained function reads and updates the register (one
// block: the CBC chain, the CFB or OFB register, the CTR counter block, counted as one big-endian
// number).
template <class Key>
struct BlockKernel {
    using Blocks = void (*)(const Key& key, u8* out, const u8* in, std::size_t blocks);
    using Chained = void (*)(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks);

    u32 needs;        // cpu feature bits
    const char* name; // for tests and benchmarks
    Blocks encrypt;
    Blocks decrypt;

    // Serial by nature: the register stays in processor registers from block to block.
    Chained cbc_encrypt;
    Chained cfb_encrypt;
    Chained ofb;

    // Parallel by nature; null where the modes' own batches over encrypt and decrypt are as fast.
    Chained cbc_decrypt = nullptr;
    Chained cfb_decrypt = nullptr;
    Chained ctr = nullptr;
};

// The function codes under which an engine's mode routines report.
struct ModeCodes {
    u32 ecb;
    u32 cbc;
    u32 cfb;
    u32 ofb;
    u32 ctr;
};

constexpr ModeCodes kModesFrom3{3, 4, 5, 6, 7}; // AES, ARIA, Blowfish, LEA
constexpr ModeCodes kModesFrom2{2, 3, 4, 5, 6}; // DES, triple DES, RC5, RC2
constexpr ModeCodes kModesOfSeed{5, 3, 4, 6, 7};

// The serial functions of a kernel from the inlined encryption of one block. Block supplies the
// types and constants of its engine:
//   using Key; static constexpr std::size_t kBlock;
//   static void encrypt_block(const Key& key, u8* out, const u8* in);   (in place allowed)
template <class Block>
struct Serial {
    using Key = typename Block::Key;
    static constexpr std::size_t kBlock = Block::kBlock;

    static void xor_block(u8* out, const u8* a, const u8* b) {
        using Lane [[gnu::vector_size(kBlock)]] = u8;
        Lane x;
        Lane y;
        std::memcpy(&x, a, kBlock);
        std::memcpy(&y, b, kBlock);
        x ^= y;
        std::memcpy(out, &x, kBlock);
    }

    static void cbc_encrypt(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
        for (; blocks != 0; --blocks, in += kBlock, out += kBlock) {
            xor_block(chain, chain, in);
            Block::encrypt_block(key, chain, chain);
            std::memcpy(out, chain, kBlock);
        }
    }

    static void cfb_encrypt(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
        for (; blocks != 0; --blocks, in += kBlock, out += kBlock) {
            Block::encrypt_block(key, chain, chain);
            xor_block(chain, chain, in);
            std::memcpy(out, chain, kBlock);
        }
    }

    static void ofb(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
        for (; blocks != 0; --blocks, in += kBlock, out += kBlock) {
            Block::encrypt_block(key, chain, chain);
            xor_block(out, in, chain);
        }
    }
};

} // namespace vrq
