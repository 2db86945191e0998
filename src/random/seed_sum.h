// Sums of big-endian numbers as long as the seed, in 64-bit limbs. V and C are secret: carries run without
// branches.
#pragma once

#include "foundation/bytes.h"
#include "foundation/wipe.h"

#include <cstddef>

namespace vrq::drbg {

// Seeds of 55 and 111 bytes: whole numbers of limbs less one byte, so the top limb holds seven.
template <std::size_t Limbs>
struct SeedSum {
    static constexpr std::size_t kLength = Limbs * 8 - 1;

    // v = (v + c + digest + counter) mod 2^(8 kLength). A null c counts as zero; the digest is no
    // longer than the seed, a multiple of four bytes.
    static void add(u8* v, const u8* c, const u8* digest, std::size_t digest_length, u64 counter) {
        struct {
            u64 v[Limbs];
            u64 c[Limbs] = {};
            u64 digest[Limbs] = {};
        } term;
        load(term.v, v);
        if (c != nullptr) load(term.c, c);
        std::size_t count = 0;
        for (; digest_length >= 8; digest_length -= 8)
            term.digest[count++] = load_be<u64>(digest + digest_length - 8);
        if (digest_length != 0) term.digest[count] = load_be<u32>(digest);

        __extension__ using u128 = unsigned __int128;
        u128 sum = counter;
        for (std::size_t i = 0; i < Limbs; ++i) {
            sum = sum + term.v[i] + term.c[i] + term.digest[i];
            term.v[i] = static_cast<u64>(sum);
            sum >>= 64;
        }
        store(v, term.v);
        wipe_object(term);
    }

  private:
    static void load(u64* limbs, const u8* number) {
        for (std::size_t i = 0; i + 1 < Limbs; ++i)
            limbs[i] = load_be<u64>(number + kLength - 8 * (i + 1));
        limbs[Limbs - 1] = load_be<u64>(number) >> 8;
    }

    static void store(u8* out, const u64* limbs) {
        store_be(out, limbs[Limbs - 1] << 8 | limbs[Limbs - 2] >> 56);
        for (std::size_t i = 0; i + 1 < Limbs; ++i) store_be(out + kLength - 8 * (i + 1), limbs[i]);
    }
};

[[gnu::noinline]] inline void add_to_seed(u8* v, std::size_t length, const u8* c, const u8* digest,
                                          std::size_t digest_length, u64 counter) {
    if (length == SeedSum<7>::kLength) {
        SeedSum<7>::add(v, c, digest, digest_length, counter);
    } else {
        SeedSum<14>::add(v, c, digest, digest_length, counter);
    }
}

} // namespace vrq::drbg
