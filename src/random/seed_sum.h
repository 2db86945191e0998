// Sums of big-endian numbers as long as the seed, 55 or 111 bytes, in 64-bit limbs. Carries run
// without branches: V and C are secret.
#pragma once

#include "foundation/bytes.h"
#include "foundation/wipe.h"

#include <cstddef>

namespace vrq::drbg {

class SeedSum {
  public:
    // The seed lengths are whole numbers of limbs less one byte: the top limb holds seven.
    SeedSum(const u8* number, std::size_t length) : limbs_((length + 1) / 8) {
        load(sum_, number, length);
    }
    ~SeedSum() { wipe_object(sum_); }
    SeedSum(const SeedSum&) = delete;
    SeedSum& operator=(const SeedSum&) = delete;

    // Adds a number of the seed's length.
    void add(const u8* number) {
        u64 other[kLimbs];
        load(other, number, limbs_ * 8 - 1);
        add_limbs(other, limbs_);
        wipe_object(other);
    }

    // Adds a shorter number of a multiple of four bytes: a digest.
    void add_digest(const u8* digest, std::size_t length) {
        u64 other[kLimbs];
        std::size_t count = 0;
        for (; length >= 8; length -= 8) other[count++] = load_be<u64>(digest + length - 8);
        if (length != 0) other[count++] = load_be<u32>(digest);
        add_limbs(other, count);
        wipe_object(other);
    }

    void add_number(u64 number) { add_limbs(&number, 1); }

    // Writes the sum modulo 2^(8 length).
    void store(u8* out) const {
        const std::size_t length = limbs_ * 8 - 1;
        store_be(out, sum_[limbs_ - 1] << 8);
        for (std::size_t i = 0; i + 1 < limbs_; ++i) store_be(out + length - 8 * (i + 1), sum_[i]);
    }

  private:
    static constexpr std::size_t kLimbs = 14;

    static void load(u64* limbs, const u8* number, std::size_t length) {
        const std::size_t count = (length + 1) / 8;
        for (std::size_t i = 0; i + 1 < count; ++i)
            limbs[i] = load_be<u64>(number + length - 8 * (i + 1));
        limbs[count - 1] = load_be<u64>(number) >> 8;
    }

    void add_limbs(const u64* other, std::size_t count) {
        u64 carry = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const u64 partial = sum_[i] + carry;
            carry = partial < carry ? 1 : 0;
            sum_[i] = partial + other[i];
            carry |= sum_[i] < partial ? 1 : 0;
        }
        for (std::size_t i = count; i < limbs_; ++i) {
            sum_[i] += carry;
            carry = sum_[i] < carry ? 1 : 0;
        }
    }

    std::size_t limbs_;
    u64 sum_[kLimbs];
};

} // namespace vrq::drbg
