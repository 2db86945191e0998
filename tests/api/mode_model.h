// The modes of operation as SP 800-38A writes them down, block by block and bit by bit, over any
// block function: slow, and independent of the library.
#pragma once

#include "harness/vectors.h"

#include <algorithm>
#include <functional>

namespace test {

class ModeModel {
  public:
    using BlockFunction = std::function<Bytes(const Bytes&)>;

    ModeModel(std::size_t block, BlockFunction encrypt, BlockFunction decrypt)
        : block_(block), encrypt_(std::move(encrypt)), decrypt_(std::move(decrypt)) {}

    Bytes ecb(const Bytes& text, bool encrypt) const {
        return blocks(text, [&](const Bytes& x) { return encrypt ? encrypt_(x) : decrypt_(x); });
    }

    Bytes cbc(Bytes iv, const Bytes& text, bool encrypt) const {
        return blocks(text, [&](const Bytes& x) {
            const Bytes out = encrypt ? encrypt_(sum(iv, x)) : sum(iv, decrypt_(x));
            iv = encrypt ? out : x;
            return out;
        });
    }

    Bytes cfb(Bytes reg, const Bytes& text, bool encrypt) const {
        return blocks(text, [&](const Bytes& x) {
            const Bytes out = sum(x, encrypt_(reg));
            reg = encrypt ? out : x;
            return out;
        });
    }

    Bytes ofb(Bytes reg, const Bytes& text) const {
        return blocks(text, [&](const Bytes& x) { return sum(x, reg = encrypt_(reg)); });
    }

    Bytes ctr(Bytes counter, const Bytes& text) const {
        return blocks(text, [&](const Bytes& x) {
            const Bytes out = sum(x, encrypt_(counter));
            for (auto byte = counter.rbegin(); byte != counter.rend() && ++*byte == 0;) ++byte;
            return out;
        });
    }

    // Mode by the mode bits of an identifier.
    Bytes run(uint32_t mode, const Bytes& iv, const Bytes& text, bool encrypt) const {
        switch (mode) {
        case 0x00:
            return ecb(text, encrypt);
        case 0x20:
            return cbc(iv, text, encrypt);
        case 0x40:
            return cfb(iv, text, encrypt);
        case 0x60:
            return ofb(iv, text);
        default:
            return ctr(iv, text);
        }
    }

    // CFB with segments of r bits. A segment takes whole bytes; bits behind the r-th are combined
    // with key stream too, but not fed back. Key stream beyond the block is zero.
    Bytes cfb_r(std::size_t r, const Bytes& iv, const Bytes& text, bool encrypt) const {
        const std::size_t size = (r + 7) / 8;
        Bytes out;
        Bits reg = bits(iv);
        for (std::size_t at = 0; at + size <= text.size(); at += size) {
            const Bits in = bits(Bytes(text.begin() + static_cast<long>(at),
                                       text.begin() + static_cast<long>(at + size)));
            Bits stream = bits(encrypt_(bytes(reg)));
            stream.resize(std::max(stream.size(), 8 * size), false);
            Bits result(in.size());
            for (std::size_t i = 0; i < in.size(); ++i) result[i] = in[i] != stream[i];
            const Bits& cipher = encrypt ? result : in;
            reg.insert(reg.end(), cipher.begin(), cipher.begin() + static_cast<long>(r));
            reg.erase(reg.begin(), reg.begin() + static_cast<long>(r));
            const Bytes bytes_out = bytes(result);
            out.insert(out.end(), bytes_out.begin(), bytes_out.end());
        }
        return out;
    }

  private:
    using Bits = std::vector<bool>;

    static Bits bits(const Bytes& data) {
        Bits out;
        for (const uint8_t byte : data) {
            for (int bit = 7; bit >= 0; --bit) out.push_back((byte >> bit & 1) != 0);
        }
        return out;
    }
    static Bytes bytes(const Bits& data) {
        Bytes out(data.size() / 8);
        for (std::size_t i = 0; i < data.size(); ++i)
            out[i / 8] = static_cast<uint8_t>(out[i / 8] << 1 | (data[i] ? 1 : 0));
        return out;
    }

    // As long as the first; the second may be longer.
    static Bytes sum(Bytes a, const Bytes& b) {
        for (std::size_t i = 0; i < a.size(); ++i) a[i] = static_cast<uint8_t>(a[i] ^ b[i]);
        return a;
    }

    template <class Step>
    Bytes blocks(const Bytes& text, Step step) const {
        Bytes out;
        for (std::size_t at = 0; at < text.size(); at += block_) {
            const std::size_t end = std::min(text.size(), at + block_);
            const Bytes x = step(
                Bytes(text.begin() + static_cast<long>(at), text.begin() + static_cast<long>(end)));
            out.insert(out.end(), x.begin(), x.end());
        }
        return out;
    }

    std::size_t block_;
    BlockFunction encrypt_;
    BlockFunction decrypt_;
};

} // namespace test
