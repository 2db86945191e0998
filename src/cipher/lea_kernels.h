// The kernels of LEA by vector width, and what they share.
#pragma once

#include "cipher/engine.h"
#include "talvern/lea.h"

namespace vrq::lea {

using Key = VRQ_LEA_KEY;

// Rounds in use, in turns of four, within the record whatever it says; one that was never set up has
// none.
u32 turns(const Key& key);

// Block by block on general registers.
void encrypt_words(const Key& key, u8* out, const u8* in, std::size_t blocks);
void decrypt_words(const Key& key, u8* out, const u8* in, std::size_t blocks);

void wipe_bytes(u8* data, std::size_t size);

// Wipes what a function that has returned kept on the stack below its caller.
void wipe_below();

// AVX2: 8 lanes. AVX-512: 16 lanes and a rotation in one instruction.
void encrypt_avx2(const Key& key, u8* out, const u8* in, std::size_t blocks);
void decrypt_avx2(const Key& key, u8* out, const u8* in, std::size_t blocks);
void encrypt_avx512(const Key& key, u8* out, const u8* in, std::size_t blocks);
void decrypt_avx512(const Key& key, u8* out, const u8* in, std::size_t blocks);

} // namespace vrq::lea
