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

} // namespace vrq
