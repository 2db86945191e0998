// The kernel functions of ciphers with 64-bit blocks, on general registers: the register of the
// serial modes stays in them from block to block, and where blocks do not depend on each other
// several are in flight.
//
// Block supplies
//   using Key; using State;                 State has operator^
//   static constexpr std::size_t kInFlight;
//   static State load(u64 block);           a block as the little-endian load of its 8 bytes
//   static u64 store(const State& state);
//   template <std::size_t N> static void encrypt(const Key& key, State (&states)[N]);
//   template <std::size_t N> static void decrypt(const Key& key, State (&states)[N]);
// The loops over the blocks in flight are written out, so that the states stay in registers. load
// and store are linear over exclusive or, so that a permutation of the block at either end (as in
// DES) drops out of the serial modes.
#pragma once

#include "cipher/engine.h"
#include "foundation/bytes.h"

namespace vrq {

template <class Block>
struct Block64 {
    using Key = typename Block::Key;
    using State = typename Block::State;
    static constexpr std::size_t kBlock = 8;

    static void encrypt(const Key& key, u8* out, const u8* in, std::size_t blocks) {
        independent<false>(key, out, in, blocks);
    }

    static void decrypt(const Key& key, u8* out, const u8* in, std::size_t blocks) {
        independent<true>(key, out, in, blocks);
    }

    static void cbc_encrypt(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
        State x[1] = {get(chain)};
        for (; blocks != 0; --blocks, in += kBlock, out += kBlock) {
            x[0] = x[0] ^ get(in);
            Block::encrypt(key, x);
            put(out, x[0]);
        }
        put(chain, x[0]);
    }

    static void cfb_encrypt(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
        State x[1] = {get(chain)};
        for (; blocks != 0; --blocks, in += kBlock, out += kBlock) {
            Block::encrypt(key, x);
            x[0] = x[0] ^ get(in);
            put(out, x[0]);
        }
        put(chain, x[0]);
    }

    static void ofb(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
        State x[1] = {get(chain)};
        for (; blocks != 0; --blocks, in += kBlock, out += kBlock) {
            Block::encrypt(key, x);
            store_le(out, Block::store(x[0]) ^ load_le<u64>(in));
        }
        put(chain, x[0]);
    }

    static void cbc_decrypt(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
        constexpr std::size_t N = Block::kInFlight;
        for (; blocks >= N; blocks -= N, in += N * kBlock, out += N * kBlock)
            cbc_decrypt_group<N>(key, chain, out, in);
        for (; blocks != 0; --blocks, in += kBlock, out += kBlock)
            cbc_decrypt_group<1>(key, chain, out, in);
    }

    static void cfb_decrypt(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
        constexpr std::size_t N = Block::kInFlight;
        for (; blocks >= N; blocks -= N, in += N * kBlock, out += N * kBlock)
            cfb_decrypt_group<N>(key, chain, out, in);
        for (; blocks != 0; --blocks, in += kBlock, out += kBlock)
            cfb_decrypt_group<1>(key, chain, out, in);
    }

    static void ctr(const Key& key, u8* counter, u8* out, const u8* in, std::size_t blocks) {
        constexpr std::size_t N = Block::kInFlight;
        u64 count = load_be<u64>(counter);
        for (; blocks >= N; blocks -= N, count += N, in += N * kBlock, out += N * kBlock)
            ctr_group<N>(key, count, out, in);
        for (; blocks != 0; --blocks, ++count, in += kBlock, out += kBlock)
            ctr_group<1>(key, count, out, in);
        store_be(counter, count);
    }

  private:
    static State get(const u8* in) { return Block::load(load_le<u64>(in)); }
    static void put(u8* out, const State& state) { store_le(out, Block::store(state)); }

    template <bool kInverse>
    static void independent(const Key& key, u8* out, const u8* in, std::size_t blocks) {
        constexpr std::size_t N = Block::kInFlight;
        for (; blocks >= N; blocks -= N, in += N * kBlock, out += N * kBlock)
            group<kInverse, N>(key, out, in);
        for (; blocks != 0; --blocks, in += kBlock, out += kBlock) group<kInverse, 1>(key, out, in);
    }

    template <bool kInverse, std::size_t N>
    static void group(const Key& key, u8* out, const u8* in) {
        State x[N];
#pragma GCC unroll 8
        for (std::size_t i = 0; i < N; ++i) x[i] = get(in + i * kBlock);
        if constexpr (kInverse)
            Block::decrypt(key, x);
        else
            Block::encrypt(key, x);
#pragma GCC unroll 8
        for (std::size_t i = 0; i < N; ++i) put(out + i * kBlock, x[i]);
    }

    // Backwards through the group: in place, a ciphertext block is read before it is overwritten.
    template <std::size_t N>
    static void cbc_decrypt_group(const Key& key, u8* chain, u8* out, const u8* in) {
        State x[N];
#pragma GCC unroll 8
        for (std::size_t i = 0; i < N; ++i) x[i] = get(in + i * kBlock);
        Block::decrypt(key, x);
        const u64 next = load_le<u64>(in + (N - 1) * kBlock);
#pragma GCC unroll 8
        for (std::size_t i = 0; i < N; ++i) {
            const std::size_t n = N - 1 - i;
            const u8* before = n == 0 ? chain : in + (n - 1) * kBlock;
            store_le(out + n * kBlock, Block::store(x[n]) ^ load_le<u64>(before));
        }
        store_le(chain, next);
    }

    template <std::size_t N>
    static void cfb_decrypt_group(const Key& key, u8* chain, u8* out, const u8* in) {
        State x[N];
#pragma GCC unroll 8
        for (std::size_t i = 0; i < N; ++i) x[i] = get(i == 0 ? chain : in + (i - 1) * kBlock);
        Block::encrypt(key, x);
        const u64 next = load_le<u64>(in + (N - 1) * kBlock);
#pragma GCC unroll 8
        for (std::size_t i = 0; i < N; ++i) {
            store_le(out + i * kBlock, Block::store(x[i]) ^ load_le<u64>(in + i * kBlock));
        }
        store_le(chain, next);
    }

    template <std::size_t N>
    static void ctr_group(const Key& key, u64 count, u8* out, const u8* in) {
        State x[N];
#pragma GCC unroll 8
        for (std::size_t i = 0; i < N; ++i) x[i] = Block::load(byte_swap(count + i));
        Block::encrypt(key, x);
#pragma GCC unroll 8
        for (std::size_t i = 0; i < N; ++i) {
            store_le(out + i * kBlock, Block::store(x[i]) ^ load_le<u64>(in + i * kBlock));
        }
    }
};

} // namespace vrq
