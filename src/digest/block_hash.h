// The staged block hash that SHA-1, SHA-256, SHA-512 and MD5 share: input gathers in the staging buffer
// of the context until a block is full, Final pads in the block buffer. Whole blocks go to the
// compression function straight from the caller's memory, as many as there are in one call; the
// context afterwards is the same as if every byte had passed through the staging buffer.
//
// A hash is a trait:
//   using Context, Word;
//   static constexpr std::size_t kBlock;        block length in bytes
//   static constexpr std::size_t kLengthField;  bytes at the end of the last block for the length
//   static constexpr std::endian kByteOrder;    of words and length
//   static Word* state(Context&);               the hash words
//   static void compress(Word* state, const u8* data, std::size_t blocks);
#pragma once

#include "foundation/bytes.h"
#include "foundation/wipe.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

namespace vrq {

template <class Hash>
struct BlockHash {
    using Context = typename Hash::Context;
    using Word = typename Hash::Word;
    static constexpr std::size_t kBlock = Hash::kBlock;
    static constexpr std::size_t kLengthAt = kBlock - Hash::kLengthField;
    static constexpr u64 kBlockBits = kBlock * 8;

    template <std::size_t N>
    static void init(Context& c, const Word (&initial)[N]) {
        c.bit_count = 0;
        c.block_fill = 0;
        std::memcpy(Hash::state(c), initial, sizeof initial);
        c.staging_fill = 0;
        clear_buffers(c);
    }

    // False when the staging fill is beyond the buffer; nothing changes then.
    [[nodiscard]] static bool update(Context& c, const u8* data, std::size_t length) {
        if (length == 0) return true;
        if (c.staging_fill > kBlock) return false;

        if (c.staging_fill != 0) {
            const std::size_t taken = stage(c, data, length);
            data += taken;
            length -= taken;
            if (c.staging_fill == kBlock) {
                compress(c, c.staging, 1);
                c.staging_fill = 0;
            }
        }
        if (const std::size_t blocks = length / kBlock; blocks != 0) {
            compress(c, data, blocks);
            data += blocks * kBlock;
            length -= blocks * kBlock;
        }
        stage(c, data, length);
        return true;
    }

    // Pads, compresses and empties the buffers; the hash words are then the digest. False when the
    // block buffer is full already or the staging fill is beyond its buffer; nothing changes then.
    [[nodiscard]] static bool finish(Context& c) {
        if (c.block_fill >= kBlock || c.staging_fill > kBlock) return false;

        std::size_t fill = gather(c);
        c.bit_count += fill * 8;
        c.block[fill++] = 0x80;
        if (fill > kLengthAt) {
            std::memset(c.block + fill, 0, kBlock - fill);
            Hash::compress(Hash::state(c), c.block, 1);
            fill = 0;
            c.block_fill = 0;
        }
        std::memset(c.block + fill, 0, kBlock - fill);
        u8* length_at = c.block + kBlock - sizeof c.bit_count;
        if constexpr (Hash::kByteOrder == std::endian::big) {
            store_be(length_at, c.bit_count);
        } else {
            store_le(length_at, c.bit_count);
        }
        Hash::compress(Hash::state(c), c.block, 1);

        c.staging_fill = 0;
        clear_buffers(c);
        return true;
    }

    // Writes the first `size` bytes of the hash words, a whole number of words.
    static void put_digest(const Word* words, u8* out, std::size_t size) {
        for (std::size_t i = 0; i < size / sizeof(Word); ++i) {
            if constexpr (Hash::kByteOrder == std::endian::big) {
                store_be(out + i * sizeof(Word), words[i]);
            } else {
                store_le(out + i * sizeof(Word), words[i]);
            }
        }
    }

  private:
    static void compress(Context& c, const u8* data, std::size_t blocks) {
        Hash::compress(Hash::state(c), data, blocks);
        c.bit_count += blocks * kBlockBits;
    }

    // Moves what fits from data into the staging buffer; returns how much that was.
    static std::size_t stage(Context& c, const u8* data, std::size_t length) {
        const std::size_t taken = std::min(length, kBlock - c.staging_fill);
        if (taken != 0) std::memcpy(c.staging + c.staging_fill, data, taken);
        c.staging_fill += static_cast<u32>(taken);
        return taken;
    }

    // Joins the staged bytes to those in the block buffer, compresses when that fills the block, and
    // returns the fill, which is below a block. Only a caller that writes into the record itself has
    // anything in the block buffer here.
    static std::size_t gather(Context& c) {
        const std::size_t first = std::min<std::size_t>(c.staging_fill, kBlock - c.block_fill);
        std::memcpy(c.block + c.block_fill, c.staging, first);
        c.block_fill += static_cast<u32>(first);
        if (c.block_fill == kBlock) {
            compress(c, c.block, 1);
            c.block_fill = c.staging_fill - static_cast<u32>(first);
            std::memcpy(c.block, c.staging + first, c.block_fill);
        }
        return c.block_fill;
    }

    static void clear_buffers(Context& c) {
        wipe_object(c.block);
        wipe_object(c.staging);
    }
};

} // namespace vrq
