// The Hash_DRBG mechanism (NIST SP 800-90A, 10.1.1) on plain state.
#pragma once

#include "foundation/status.h"
#include "talvern/random.h"

#include <cstddef>

namespace vrq::drbg {

constexpr std::size_t kMaxSeedLength = 111;
constexpr std::size_t kMaxDigestLength = 64;
constexpr i32 kMaxInput = 0x7FFFFFF0;
constexpr i32 kReseedInterval = 100'000'000;

struct HashRow {
    u32 hash;
    i32 strength;
    i32 seed_length;
    i32 digest_length;
    bool is_approved;
};

// Null for a hash that the mechanism does not support.
const HashRow* find_hash(u32 hash);

// What generating reads and changes. V and C are seed_length bytes, the last block digest_length.
struct State {
    const HashRow* row;
    u8* v;
    const u8* c;
    i32* reseed_counter;
    u8* last_block;
};

enum class Outcome {
    kDone,
    kRepeatedBlock, // an output block equals the one before
    kHashFailed,    // the module's self tests fail meanwhile
};

// Generates length bytes and moves the state on. The first block is kept back when there is no last
// one (all zeros). After a failure out holds zeros and the state is as before, but for the last
// block.
[[nodiscard]] Outcome generate(const State& state, u8* out, std::size_t length);

// V = (V + hash of 0x02, V and the additional input); the status of vrq_Generate_HashDRBG.
[[nodiscard]] u32 add_additional_input(const HashRow& row, u8* v, const u8* additional, i32 length);

} // namespace vrq::drbg
