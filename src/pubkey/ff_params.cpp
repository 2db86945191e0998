// The search for p, q and g. Candidates follow the standard one by one; those with a small factor are
// thrown out before p is even computed, so nearly all that reach the Miller-Rabin test are worth it.
#include "pubkey/ff_params.h"

#include "bigint/mod_exp.h"
#include "bigint/record.h"
#include "bigint/residue.h"
#include "bigint/scope.h"
#include "bigint/small_primes.h"
#include "foundation/bytes.h"
#include "pubkey/signature.h"
#include "talvern/module.h"
#include "talvern/prime.h"
#include "talvern/random.h"

#include <algorithm>
#include <cstring>

namespace vrq::ff {

namespace {

using small_primes::Group;
using small_primes::kCount;
using small_primes::kGroups;
using small_primes::kPrimes;
using small_primes::remainder;

u64 reduce(const Limb* a, std::size_t n, const Group& group) {
    u64 rest = 0;
    while (n-- != 0) rest = small_primes::reduce(rest, a[n], group);
    return rest;
}

// Calls visit(k, a mod prime k) for every small prime; false as soon as it gives false.
template <class Visit>
bool for_each_residue(const Limb* a, std::size_t n, Visit visit) {
    for (std::size_t i = 0; i < kGroups.count; ++i) {
        const Group& group = kGroups.all[i];
        const u64 rest = reduce(a, n, group);
        for (std::size_t k = group.first; k < std::size_t{group.first} + group.count; ++k) {
            if (!visit(k, remainder(rest, k))) return false;
        }
    }
    return true;
}

// Throws out candidates with a small factor: J at first, then q and p = 2Jq + 1 of one J.
class SmallFactors {
  public:
    // False when J has one.
    bool take(const VRQ_BIGINT& j) {
        Limb limbs[kMostLimbs];
        const std::size_t n = load(limbs, j);
        return for_each_residue(limbs, n, [this](std::size_t k, u32 residue) {
            twice_j_[k] = static_cast<small_primes::u16>(2 * residue % kPrimes[k]);
            return residue != 0;
        });
    }

    // False when q or p has one.
    bool admits(const VRQ_BIGINT& q) const {
        Limb limbs[kMostLimbs];
        const std::size_t n = load(limbs, q);
        return for_each_residue(limbs, n, [this](std::size_t k, u32 residue) {
            return residue != 0 && remainder(u64{residue} * twice_j_[k] + 1, k) != 0;
        });
    }

  private:
    static constexpr std::size_t kMostLimbs = 32; // J and q are shorter than p

    static std::size_t load(Limb* limbs, const VRQ_BIGINT& a) {
        const std::size_t n = std::min(value_limbs(a), kMostLimbs);
        load_value(limbs, n, a);
        return n;
    }

    small_primes::u16 twice_j_[kCount];
};

// One run of the search for one set of lengths.
class Search {
  public:
    Search(const Domain& domain, const Plan& plan)
        : d_(domain), plan_(plan), seed_length_(plan.lengths.q_bits / 8) {}

    u32 run(bool& exhausted) {
        Scratch<2> scratch(d_.pool);
        if (!scratch.open()) return fail(VRQ_ERR_START_BIGINT_POOL_FAIL);
        p_ = scratch.take();
        q_ = scratch.take();
        if (p_ == nullptr || q_ == nullptr) return fail(VRQ_ERR_NULL_INPUT);

        for (;;) {
            bool found = false;
            if (const u32 s = find_j(); s != 0) return s;
            if (const u32 s = find_q_and_p(found); s != 0) return s;
            if (found) break;
            exhausted = !plan_.new_seed;
            if (exhausted) return 0;
        }
        if (const u32 s = find_generator(); s != 0) return s;
        if (VRQ_Copy_BIGINT(d_.p, p_) != 0 || VRQ_Copy_BIGINT(d_.q, q_) != 0)
            return fail(VRQ_ERR_NULL_INPUT);
        return 0;
    }

  private:
    u32 fail(u32 reason) const { return plan_.fail(reason); }

    // A number of so many bits from the expansion of the seed, with the top bit of the length and the
    // lowest one set.
    u32 expand(VRQ_BIGINT& r, u32 seed_length, u32 bits, u32 length) {
        u8 bytes[kMostBytes];
        if (expander_.expand(bytes, bits, d_.seed, seed_length) != 0)
            return fail(VRQ_ERR_SUB_OPERATION_FAILURE);
        if (VRQ_Binary_To_BIGINT(bytes, static_cast<i32>((bits + 7) / 8), &r) == nullptr)
            return fail(VRQ_ERR_BINARY_TO_BIGINT_FAIL);
        if (VRQ_Set_BIGINT_Bit(&r, static_cast<i32>(length) - 1) != 0 ||
            VRQ_Set_BIGINT_Bit(&r, 0) != 0)
            return fail(VRQ_ERR_SUB_OPERATION_FAILURE);
        return 0;
    }

    // 1 prime, -1 composite, 0 not to be decided.
    i32 test(const VRQ_BIGINT& n, i32 test_rounds) const {
        return VRQ_Is_BIGINT_Prime_Ex(&n, test_rounds, d_.pool);
    }

    // A seed whose J is prime.
    u32 find_j() {
        const u32 bits = plan_.lengths.p_bits - plan_.lengths.q_bits;
        for (;;) {
            if (plan_.draw_seed(plan_.source, d_.seed, seed_length_) != 0)
                return fail(VRQ_ERR_RANDOM_GEN_FAILURE);
            if (!is_bound_) {
                if (expander_.init(plan_.digest) != 0) return fail(VRQ_ERR_SUB_OPERATION_FAILURE);
                is_bound_ = true;
            }
            if (const u32 s = expand(*d_.j, seed_length_, bits - 4, bits); s != 0) return s;
            if (!small_.take(*d_.j)) continue;
            const i32 verdict = test(*d_.j, rounds(plan_.lengths.p_bits));
            if (verdict == 0) return fail(VRQ_ERR_IS_BIGINT_PRIME);
            if (verdict == 1) return 0;
        }
    }

    u32 find_q_and_p(bool& found) {
        for (*d_.count = 1; *d_.count <= plan_.limit; ++*d_.count) {
            store_be<u32>(d_.seed + seed_length_, *d_.count);
            const u32 bits = plan_.lengths.q_bits;
            if (const u32 s = expand(*q_, seed_length_ + kCounterBytes, bits, bits); s != 0)
                return s;
            if (!small_.admits(*q_)) continue;
            if (const u32 s = compute_p(); s != 0) return s;
            if (VRQ_Get_BIGINT_Bits_Length(p_) != plan_.lengths.p_bits) continue;
            const i32 verdict = test_both();
            if (verdict == 0) return fail(VRQ_ERR_IS_BIGINT_PRIME);
            found = verdict == 1;
            if (found) return 0;
        }
        return 0;
    }

    // p = 2Jq + 1.
    u32 compute_p() const {
        if (VRQ_Mtp_BIGINT(p_, d_.j, q_, d_.pool) != 0) return fail(VRQ_ERR_MTP_BIGINT_FAIL);
        if (vrq_Left_Shift_BIGINT(p_, p_, 1) != 0) return fail(VRQ_ERR_LEFT_SHIFT_BIGINT_FAIL);
        return VRQ_Add_BIGINT_Word(p_, 1) == 0 ? 0 : fail(VRQ_ERR_SUB_OPERATION_FAILURE);
    }

    // One witness each turns away nearly all that are not both prime.
    i32 test_both() const {
        for (const i32 test_rounds : {2, rounds(plan_.lengths.p_bits)}) {
            for (const VRQ_BIGINT* n : {q_, p_}) {
                if (const i32 verdict = test(*n, test_rounds); verdict != 1) return verdict;
            }
        }
        return 1;
    }

    // g = h^(2J) of order q.
    u32 find_generator() {
        Scratch<2> scratch(d_.pool);
        VRQ_BIGINT* const exponent = scratch.take();
        VRQ_BIGINT* const power = scratch.take();
        if (exponent == nullptr || power == nullptr ||
            vrq_Left_Shift_BIGINT(exponent, d_.j, 1) != 0)
            return fail(VRQ_ERR_LEFT_SHIFT_BIGINT_FAIL);
        for (int i = 0; i < kMostDraws; ++i) {
            if (draw_below(*d_.h, plan_.digest, *p_, false) != 0)
                return fail(VRQ_ERR_GET_RAND_FAIL);
            if (mod_exp_mont_var(d_.g, d_.h, exponent, p_, d_.pool) != 0 ||
                mod_exp_mont_var(power, d_.g, q_, p_, d_.pool) != 0)
                return fail(VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL);
            if (VRQ_Get_BIGINT_Word(d_.g) != 1 && VRQ_Get_BIGINT_Word(power) == 1) return 0;
        }
        return fail(VRQ_ERR_IS_BIGINT_PRIME);
    }

    static constexpr u32 kMostBytes = 2048 / 8;
    static constexpr int kMostDraws = 64; // of h, one of which suffices when p and q are prime

    const Domain& d_;
    const Plan& plan_;
    u32 seed_length_;
    bool is_bound_ = false;
    VRQ_BIGINT* p_ = nullptr;
    VRQ_BIGINT* q_ = nullptr;
    Expander expander_;
    SmallFactors small_;
};

// True when a < b, for a with as many words as b.
bool padded_is_below(const VRQ_BIGINT& a, const VRQ_BIGINT& b) {
    u64 borrow = 0;
    for (std::size_t i = 0; i < word_count(a); ++i) {
        const u64 subtrahend = i < word_count(b) ? b.data[i] : 0;
        borrow = (u64{a.data[i]} - subtrahend - borrow) >> 63;
    }
    return borrow != 0;
}

} // namespace

u32 Expander::init(u32 digest) {
    unit_.reset(VRQ_New_DIGEST_Unit());
    return VRQ_Init_DIGEST(unit_.get(), digest);
}

// Blocks lie from the end of out to its start; of the first in memory, the last made, the end is kept.
u32 Expander::expand(u8* out, u32 bits, const u8* seed, u32 seed_length) const {
    SecretBytes<VRQ_MAX_DIGEST_LENGTH> block;
    const u32 digest_length = unit_->digest_length;
    u32 left = bits / 8 + (bits % 8 != 0 ? 1 : 0);
    for (u8 counter = 0; left != 0; ++counter) {
        u32 s = VRQ_Update_DIGEST(unit_.get(), seed, static_cast<i32>(seed_length));
        if (s == 0) s = VRQ_Update_DIGEST(unit_.get(), &counter, 1);
        if (s == 0) s = VRQ_Final_DIGEST(unit_.get(), block.data(), nullptr);
        if (s != 0) return s;
        const u32 take = std::min(left, digest_length);
        left -= take;
        std::memcpy(out + left, block.data() + digest_length - take, take);
    }
    if (bits % 8 != 0) out[0] &= static_cast<u8>(0xFF >> (8 - bits % 8));
    return 0;
}

u32 draw_below(VRQ_BIGINT& r, u32 digest, const VRQ_BIGINT& bound, bool with_zero) {
    constexpr int kMostDraws = 128; // each is below the bound once in two times at least
    constexpr u32 kMostSeed = 64;
    const auto bits = static_cast<u32>(value_bits(bound));
    if (bits == 0) return VRQ_ERR_INVALID_INPUT;
    const u32 length = (bits + 7) / 8;
    const u32 seed_length = std::min(length + 8, kMostSeed);
    SecretBytes<kMostSeed> seed;
    SecretHeap bytes(length);
    if (!bytes) return VRQ_ERR_MEMORY_ALLOC;
    Expander expander;
    if (expander.init(digest) != 0) return VRQ_ERR_SUB_OPERATION_FAILURE;

    for (int i = 0; i < kMostDraws; ++i) {
        if (VRQ_Rand_Bytes(seed.data(), static_cast<i32>(seed_length)) != 0)
            return VRQ_ERR_RANDOM_GEN_FAILURE;
        if (expander.expand(bytes.data(), bits, seed.data(), seed_length) != 0)
            return VRQ_ERR_SUB_OPERATION_FAILURE;
        if (VRQ_Binary_To_BIGINT(bytes.data(), static_cast<i32>(length), &r) == nullptr ||
            !pad_residue(r, bound))
            return VRQ_ERR_BINARY_TO_BIGINT_FAIL;
        const bool taken = padded_is_below(r, bound) && (with_zero || !is_zero(r));
        set_used(r, word_count(r));
        if (taken) return 0;
    }
    r.used = 0;
    return VRQ_ERR_GET_RAND_FAIL;
}

u32 expand(Reporter fail, u32 digest, const u8* seed, u32 seed_length, u8* out, u32 bits) {
    if (seed == nullptr || out == nullptr) return fail(VRQ_ERR_NULL_INPUT);
    Expander expander;
    if (const u32 s = expander.init(digest); s != 0) return s;
    return expander.expand(out, bits, seed, seed_length);
}

u32 draw(Reporter fail, u32 digest, VRQ_BIGINT* out, const VRQ_BIGINT* bound) {
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (out == nullptr || bound == nullptr) return fail(VRQ_ERR_NULL_INPUT);
    Scratch<1> own(nullptr); // out may be the bound
    VRQ_BIGINT* const drawn = own.take();
    const u32 reason = draw_below(*drawn, digest, *bound, true);
    wipe_spills();
    if (reason != 0) return fail(reason);
    return VRQ_Copy_BIGINT(out, drawn) == 0 ? 0 : fail(VRQ_ERR_BINARY_TO_BIGINT_FAIL);
}

bool is_admitted(Lengths lengths) {
    const auto [p, q] = lengths;
    if (p < 1024 || p > 2048 || q < 160 || q > 256) return false;
    if (p == 1024) return q == 160;
    return p != 2048 || q == 224 || q == 256;
}

bool is_proven_length(Lengths lengths) {
    return lengths.p_bits == 2048 && (lengths.q_bits == 224 || lengths.q_bits == 256);
}

u32 search(const Domain& domain, const Plan& plan, bool& exhausted) {
    Search run(domain, plan);
    exhausted = false;
    return run.run(exhausted);
}

u32 draw_random_seed(void*, u8* out, u32 length) {
    return VRQ_Rand_Bytes(out, static_cast<i32>(length));
}

bool make_seed(u8*& seed, u32& seed_length, u32 q_bits) {
    drop_seed(seed, seed_length);
    seed = static_cast<u8*>(allocate_zeroed(q_bits / 8 + kCounterBytes));
    if (seed == nullptr) return false;
    seed_length = q_bits / 8;
    return true;
}

void drop_seed(u8*& seed, u32& seed_length) {
    if (seed != nullptr) wipe_and_release(seed, seed_length + kCounterBytes);
    seed = nullptr;
    seed_length = 0;
}

} // namespace vrq::ff
