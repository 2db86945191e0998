// The modes of operation (SP 800-38A), written once over the engine traits of engine.h.
//
// CFB, OFB and CTR are byte streams: the unit's stream position is the index of the next unused
// byte of the current block (of the register in CFB and OFB, of the key-stream buffer in CTR), and
// 0 means that the next byte needs a fresh block. A call therefore finishes the block that an
// earlier call began, runs whole blocks through the kernel, and begins the last block. ECB, CBC
// decryption, CFB decryption and CTR run in batches, so that kernels get many blocks at once.
#pragma once

#include "cipher/counter.h"
#include "cipher/engine.h"
#include "foundation/scope.h"
#include "talvern/cipher.h"

#include <algorithm>

namespace vrq {

// out = a XOR b; out may be a or b.
inline void xor_bytes(u8* out, const u8* a, const u8* b, std::size_t size) {
    using Lane [[gnu::vector_size(16)]] = u8;
    for (; size >= sizeof(Lane); size -= sizeof(Lane)) {
        Lane x;
        Lane y;
        std::memcpy(&x, a, sizeof x);
        std::memcpy(&y, b, sizeof y);
        x ^= y;
        std::memcpy(out, &x, sizeof x);
        out += sizeof x;
        a += sizeof x;
        b += sizeof x;
    }
    for (std::size_t i = 0; i < size; ++i) out[i] = static_cast<u8>(a[i] ^ b[i]);
}

// Intermediate blocks of a batch. As many bytes are wiped as were asked for: a short message does
// not pay for the whole buffer. The size gives the widest kernels (512 blocks of 8 bytes) full
// batches.
class Batch {
  public:
    static constexpr std::size_t kBytes = 4096;

    Batch() = default;
    ~Batch() { wipe(bytes_, used_); }
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

    u8* take(std::size_t size) {
        used_ = std::max(used_, size);
        return bytes_;
    }

  private:
    alignas(64) u8 bytes_[kBytes];
    std::size_t used_ = 0;
};

template <class E>
struct Modes {
    using Key = typename E::Key;
    using Kernel = BlockKernel<Key>;
    using Unit = VRQ_BLOCK_CIPHER_UNIT;
    static constexpr std::size_t kBlock = E::kBlock;
    static constexpr std::size_t kBatchBlocks = Batch::kBytes / kBlock;
    static constexpr u32 kMaxSegmentBits = 128;

    static u32 ecb(Unit* unit, u8* out, const u8* in, u32 length) {
        if (!usable(unit, out, in)) return fail(E::kCodes.ecb);
        const auto run = encrypting(*unit) ? E::kernel().encrypt : E::kernel().decrypt;
        if (length >= kBlock) run(key(*unit), out, in, length / kBlock);
        return 0;
    }

    static u32 cbc(Unit* unit, u8* out, const u8* in, u32 length) {
        if (!usable(unit, out, in)) return fail(E::kCodes.cbc);
        const Kernel& kernel = E::kernel();
        const std::size_t blocks = length / kBlock;
        u8* chain = unit->working_iv;
        if (!encrypting(*unit)) {
            if (blocks != 0) cbc_decrypt(kernel, key(*unit), chain, out, in, blocks);
            return 0;
        }

        if (blocks != 0) kernel.cbc_encrypt(key(*unit), chain, out, in, blocks);
        const std::size_t rest = length % kBlock;
        if (rest == 0) return 0;
        const std::size_t done = blocks * kBlock;
        xor_bytes(chain, chain, in + done, rest);
        kernel.encrypt(key(*unit), chain, chain, 1);
        std::memcpy(out + done, chain, kBlock);
        return 0;
    }

    static u32 cfb(Unit* unit, u8* out, const u8* in, u32 length) {
        if (!usable(unit, out, in)) return fail(E::kCodes.cfb);
        const Kernel& kernel = E::kernel();
        const bool encrypt = encrypting(*unit);
        u8* reg = unit->working_iv;
        const Cut cut = cut_stream(*unit, length);

        feed_back(encrypt, reg + cut.position, out, in, cut.head);
        out += cut.head;
        in += cut.head;
        if (cut.blocks != 0 && encrypt) kernel.cfb_encrypt(key(*unit), reg, out, in, cut.blocks);
        if (cut.blocks != 0 && !encrypt) cfb_decrypt(kernel, key(*unit), reg, out, in, cut.blocks);
        if (cut.tail != 0) {
            kernel.encrypt(key(*unit), reg, reg, 1);
            const std::size_t done = cut.blocks * kBlock;
            feed_back(encrypt, reg, out + done, in + done, cut.tail);
        }
        unit->position = cut.next;
        return 0;
    }

    static u32 ofb(Unit* unit, u8* out, const u8* in, u32 length) {
        if (!usable(unit, out, in)) return fail(E::kCodes.ofb);
        const Kernel& kernel = E::kernel();
        u8* reg = unit->working_iv;
        const Cut cut = cut_stream(*unit, length);

        xor_bytes(out, in, reg + cut.position, cut.head);
        out += cut.head;
        in += cut.head;
        if (cut.blocks != 0) kernel.ofb(key(*unit), reg, out, in, cut.blocks);
        if (cut.tail != 0) {
            kernel.encrypt(key(*unit), reg, reg, 1);
            const std::size_t done = cut.blocks * kBlock;
            xor_bytes(out + done, in + done, reg, cut.tail);
        }
        unit->position = cut.next;
        return 0;
    }

    static u32 ctr(Unit* unit, u8* out, const u8* in, u32 length) {
        if (!usable(unit, out, in)) return fail(E::kCodes.ctr);
        const Kernel& kernel = E::kernel();
        u8* counter = unit->working_iv;
        const Cut cut = cut_stream(*unit, length);

        xor_bytes(out, in, unit->keystream + cut.position, cut.head);
        out += cut.head;
        in += cut.head;
        if (cut.blocks != 0) count(kernel, key(*unit), counter, out, in, cut.blocks);
        if (cut.tail != 0) {
            kernel.encrypt(key(*unit), unit->keystream, counter, 1);
            increment_counter<kBlock>(counter);
            const std::size_t done = cut.blocks * kBlock;
            xor_bytes(out + done, in + done, unit->keystream, cut.tail);
        }
        unit->position = cut.next;
        return 0;
    }

    static u32 cfb_r(Unit* unit, u8* out, const u8* in, u32 bits) {
        if (!usable(unit, out, in) || bits == 0 || bits > kMaxSegmentBits)
            return fail(E::kCodes.cfb);
        segment(E::kernel(), *unit, out, in, bits);
        return 0;
    }

    static u32 cfb_1(Unit* unit, u8* out, const u8* in, u32 length) {
        if (!usable(unit, out, in)) return fail(E::kCodes.cfb);
        const Kernel& kernel = E::kernel();
        for (u32 left = length; left != 0; ++in, ++out) {
            const u32 bits = std::min(left, 8U);
            u32 byte = *in;
            u32 result = 0;
            for (u32 bit = 0; bit < bits; ++bit) {
                const u8 top = static_cast<u8>((byte << bit) & 0x80);
                u8 processed;
                segment(kernel, *unit, &processed, &top, 1);
                result |= (processed & 0x80U) >> bit;
            }
            *out = static_cast<u8>(result);
            left -= bits;
        }
        return 0;
    }

    static u32 cfb_8(Unit* unit, u8* out, const u8* in, u32 length) {
        return segments<1>(unit, out, in, length);
    }
    static u32 cfb_16(Unit* unit, u8* out, const u8* in, u32 length) {
        return segments<2>(unit, out, in, length);
    }
    static u32 cfb_32(Unit* unit, u8* out, const u8* in, u32 length) {
        return segments<4>(unit, out, in, length);
    }
    static u32 cfb_64(Unit* unit, u8* out, const u8* in, u32 length) {
        return segments<8>(unit, out, in, length);
    }

  private:
    static constexpr u32 fail(u32 function) {
        return make_status(E::kLibrary, function, VRQ_ERR_INVALID_INPUT);
    }

    static bool usable(const Unit* unit, const u8* out, const u8* in) {
        return unit != nullptr && unit->schedule != nullptr && out != nullptr && in != nullptr;
    }

    static bool encrypting(const Unit& unit) { return unit.encrypt == 1; }
    static const Key& key(const Unit& unit) { return *static_cast<const Key*>(unit.schedule); }

    // A run of a byte stream: head bytes of the block in progress, whole blocks, tail bytes of a
    // new block.
    struct Cut {
        std::size_t position;
        std::size_t head;
        std::size_t blocks;
        std::size_t tail;
        i32 next; // stream position afterwards
    };

    static Cut cut_stream(const Unit& unit, std::size_t length) {
        const std::size_t position = static_cast<u32>(unit.position) % kBlock;
        const std::size_t head = position == 0 ? 0 : std::min(length, kBlock - position);
        const std::size_t rest = length - head;
        return {position, head, rest / kBlock, rest % kBlock,
                static_cast<i32>((position + length) % kBlock)};
    }

    // CFB over part of a block: the ciphertext replaces the key stream in the register.
    static void feed_back(bool encrypt, u8* reg, u8* out, const u8* in, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            const u8 byte = in[i];
            out[i] = static_cast<u8>(byte ^ reg[i]);
            reg[i] = encrypt ? out[i] : byte;
        }
    }

    static void cbc_decrypt(const Kernel& kernel, const Key& key, u8* chain, u8* out, const u8* in,
                            std::size_t blocks) {
        if (kernel.cbc_decrypt != nullptr) return kernel.cbc_decrypt(key, chain, out, in, blocks);

        Batch batch;
        for (std::size_t n; blocks != 0; blocks -= n, in += n * kBlock, out += n * kBlock) {
            n = std::min(blocks, kBatchBlocks);
            const std::size_t size = n * kBlock;
            u8* plain = batch.take(size);
            kernel.decrypt(key, plain, in, n);
            xor_bytes(plain, plain, chain, kBlock);
            xor_bytes(plain + kBlock, plain + kBlock, in, size - kBlock);
            std::memcpy(chain, in + size - kBlock, kBlock);
            std::memcpy(out, plain, size);
        }
    }

    static void cfb_decrypt(const Kernel& kernel, const Key& key, u8* reg, u8* out, const u8* in,
                            std::size_t blocks) {
        if (kernel.cfb_decrypt != nullptr) return kernel.cfb_decrypt(key, reg, out, in, blocks);

        Batch batch;
        for (std::size_t n; blocks != 0; blocks -= n, in += n * kBlock, out += n * kBlock) {
            n = std::min(blocks, kBatchBlocks);
            const std::size_t size = n * kBlock;
            u8* stream = batch.take(size);
            std::memcpy(stream, reg, kBlock);
            std::memcpy(stream + kBlock, in, size - kBlock);
            std::memcpy(reg, in + size - kBlock, kBlock);
            kernel.encrypt(key, stream, stream, n);
            xor_bytes(out, in, stream, size);
        }
    }

    static void count(const Kernel& kernel, const Key& key, u8* counter, u8* out, const u8* in,
                      std::size_t blocks) {
        if (kernel.ctr != nullptr) return kernel.ctr(key, counter, out, in, blocks);

        Batch batch;
        for (std::size_t n; blocks != 0; blocks -= n, in += n * kBlock, out += n * kBlock) {
            n = std::min(blocks, kBatchBlocks);
            const std::size_t size = n * kBlock;
            u8* stream = batch.take(size);
            fill_counters<kBlock>(counter, stream, n);
            kernel.encrypt(key, stream, stream, n);
            xor_bytes(out, in, stream, size);
        }
    }

    // One CFB segment of r bits (SP 800-38A, 6.3): the new register is what begins r bits into the
    // old register followed by the ciphertext. A segment longer than an 8-byte block takes its key
    // stream from the register field as it stands behind the block.
    static void segment(const Kernel& kernel, Unit& unit, u8* out, const u8* in, u32 bits) {
        SecretBytes<kBlock + kMaxSegmentBits / 8 + 1> shifted;
        u8* reg = unit.working_iv;
        u8* cipher = shifted.data() + kBlock;
        const std::size_t size = (bits + 7) / 8;

        std::memcpy(shifted.data(), reg, kBlock);
        kernel.encrypt(key(unit), reg, reg, 1);
        for (std::size_t i = 0; i < size; ++i) {
            const u8 byte = in[i];
            out[i] = static_cast<u8>(byte ^ reg[i]);
            cipher[i] = encrypting(unit) ? out[i] : byte;
        }
        cipher[size] = 0;

        const u8* from = shifted.data() + bits / 8;
        const u32 shift = bits % 8;
        for (std::size_t i = 0; i < kBlock; ++i)
            reg[i] = static_cast<u8>((from[i] << shift) | (from[i + 1] >> (8 - shift)));
    }

    template <std::size_t kSegment>
    static u32 segments(Unit* unit, u8* out, const u8* in, u32 length) {
        if (!usable(unit, out, in)) return fail(E::kCodes.cfb);
        const Kernel& kernel = E::kernel();
        constexpr u32 kBits = kSegment * 8;
        const std::size_t whole = length - length % kSegment;
        for (std::size_t at = 0; at < whole; at += kSegment)
            segment(kernel, *unit, out + at, in + at, kBits);
        if (whole == length) return 0;

        // Nothing behind the given length is touched: the last segment is completed with zeros.
        SecretBytes<kSegment> last;
        std::memset(last.data(), 0, kSegment);
        std::memcpy(last.data(), in + whole, length - whole);
        segment(kernel, *unit, last.data(), last.data(), kBits);
        std::memcpy(out + whole, last.data(), length - whole);
        return 0;
    }
};

} // namespace vrq
