// A plain Hash_DRBG to compare with: SP 800-90A, 10.1.1, with the output blocks tested and the first
// one kept back, byte by byte over the one-shot digest.
#pragma once

#include "harness/vectors.h"
#include "talvern.h"

#include <gtest/gtest.h>

namespace test {

class HashDrbgModel {
  public:
    HashDrbgModel(std::uint32_t hash, const Bytes& seed_material)
        : hash_(hash), seed_length_(VRQ_Get_DIGEST_Length(hash) > 32 ? 111 : 55) {
        seed(seed_material);
    }
    HashDrbgModel(std::uint32_t hash, const Bytes& v_now, const Bytes& c_now, std::uint32_t count)
        : v(v_now), c(c_now), counter(count), hash_(hash), seed_length_(v_now.size()) {}

    Bytes v;
    Bytes c;
    std::uint32_t counter = 1;
    Bytes last;

    void reseed(const Bytes& entropy, const Bytes& additional) {
        seed(join({{1}, v, entropy, additional}));
    }

    Bytes generate(std::size_t length, const Bytes& additional = {}) {
        if (!additional.empty()) add(v, digest(join({{2}, v, additional})));
        Bytes out;
        Bytes data = v;
        while (out.size() < length) {
            const Bytes block = digest(data);
            if (!last.empty()) out.insert(out.end(), block.begin(), block.end());
            last = block;
            add(data, {1});
        }
        out.resize(length);
        const Bytes h = digest(join({{3}, v}));
        add(v, h);
        add(v, c);
        add(v, {static_cast<std::uint8_t>(counter >> 24), static_cast<std::uint8_t>(counter >> 16),
                static_cast<std::uint8_t>(counter >> 8), static_cast<std::uint8_t>(counter)});
        ++counter;
        return out;
    }

    static Bytes join(const std::vector<Bytes>& parts) {
        Bytes all;
        for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
        return all;
    }

  private:
    Bytes digest(const Bytes& message) const {
        Bytes out(VRQ_Get_DIGEST_Length(hash_));
        EXPECT_EQ(0U, VRQ_DIGEST(hash_, message.data(), static_cast<std::uint32_t>(message.size()),
                                 out.data(), nullptr));
        return out;
    }

    Bytes derive(const Bytes& input) const {
        Bytes out;
        const auto bits = static_cast<std::uint8_t>(seed_length_ * 8 >> 8);
        for (std::uint8_t i = 1; out.size() < seed_length_; ++i) {
            const Bytes block =
                digest(join({{i, 0, 0, bits, static_cast<std::uint8_t>(seed_length_ * 8)}, input}));
            out.insert(out.end(), block.begin(), block.end());
        }
        out.resize(seed_length_);
        return out;
    }

    void seed(const Bytes& material) {
        v = derive(material);
        c = derive(join({{0}, v}));
        counter = 1;
    }

    static void add(Bytes& number, const Bytes& other) {
        unsigned carry = 0;
        for (std::size_t i = 1; i <= number.size(); ++i) {
            unsigned sum = number[number.size() - i] + carry;
            if (i <= other.size()) sum += other[other.size() - i];
            number[number.size() - i] = static_cast<std::uint8_t>(sum);
            carry = sum >> 8;
        }
    }

    std::uint32_t hash_;
    std::size_t seed_length_;
};

} // namespace test
