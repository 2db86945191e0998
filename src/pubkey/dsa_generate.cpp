// DSA domain parameters after FIPS 186-2, appendix 2.2 (p and q) and 2.1 (g): q of 160 bits, SHA-1.
#include "bigint/record.h"
#include "bigint/scope.h"
#include "foundation/scope.h"
#include "pubkey/signature.h"
#include "talvern/dsa.h"
#include "talvern/module.h"
#include "talvern/prime.h"

#include <cstring>

using namespace vrq;

namespace {

constexpr u32 fail(u32 reason) { return make_status(VRQ_L_DSA, VRQ_F_GENERATE_DSA_PARAMS, reason); }

constexpr u32 kDigest = 20;
constexpr u32 kMinBits = 512;
constexpr u32 kMaxBits = 16384;
constexpr u32 kCandidates = 4096;

// Witnesses of Miller-Rabin: the standard wants an error of at most 2^-80 for any number.
constexpr i32 kWitnesses = 40;

// The small primes by which candidates for p are divided first.
constexpr u32 kLargestDivisor = 2000;

// A search fails for want of memory or of a primality test, or because the seed leads nowhere.
struct Found {
    u32 reason = 0;
    bool yes = false;
};

constexpr u32 round_bits(u32 bits) { return bits < kMinBits ? kMinBits : (bits + 63) / 64 * 64; }

// SHA-1 of the seed plus a growing number, modulo 2^(8 length).
class SeedCounter {
  public:
    SeedCounter(const u8* seed, u32 length) : bytes_(length), length_(length) {
        if (bytes_) std::memcpy(bytes_.data(), seed, length);
    }

    explicit operator bool() const { return static_cast<bool>(bytes_); }

    // The digest of the number as it stands, which then grows by one.
    [[nodiscard]] bool next(u8* out) {
        if (VRQ_DIGEST(VRQ_ID_SHA1, bytes_.data(), length_, out, nullptr) != 0) return false;
        for (std::size_t i = length_; i-- > 0;) {
            if (++bytes_.data()[i] != 0) break;
        }
        return true;
    }

  private:
    SecretHeap bytes_;
    u32 length_;
};

Found test_prime(const VRQ_BIGINT* n, VRQ_BIGINT_POOL* pool) {
    // A composite number rarely gets beyond its first witness.
    for (const i32 witnesses : {1, kWitnesses}) {
        const i32 verdict = VRQ_Is_BIGINT_Prime(n, witnesses + 1, pool, 0);
        if (verdict == 0) return {VRQ_ERR_GET_RAND_FAIL, false};
        if (verdict < 0) return {};
    }
    return {0, true};
}

bool has_small_factor(const VRQ_BIGINT* n) {
    for (u32 divisor = 3; divisor < kLargestDivisor; divisor += 2) {
        if (VRQ_Mod_BIGINT_Word(n, divisor) == 0) return true;
    }
    return false;
}

class Search {
  public:
    Search(u32 bits, VRQ_BIGINT_POOL* pool)
        : bits_(bits),
          pool_(pool),
          scratch_(pool),
          p_(scratch_.take()),
          q_(scratch_.take()),
          g_(scratch_.take()),
          x_(scratch_.take()),
          t_(scratch_.take()),
          blocks_(std::size_t{(bits - 1) / (8 * kDigest) + 1} * kDigest) {}

    bool ok() const {
        return p_ != nullptr && q_ != nullptr && g_ != nullptr && x_ != nullptr && t_ != nullptr &&
               blocks_;
    }
    u32 counter() const { return counter_; }

    // q and p from the seed.
    Found from_seed(const u8* seed, u32 length) {
        SeedCounter hash(seed, length);
        if (!hash) return {VRQ_ERR_MEM_ALLOC, false};
        const Found q = make_q(hash);
        if (!q.yes) return q;
        for (counter_ = 0; counter_ < kCandidates; ++counter_) {
            if (const u32 reason = make_candidate(hash); reason != 0) return {reason, false};
            if (value_bits(*p_) != bits_ || has_small_factor(p_)) continue;
            if (const Found p = test_prime(p_, pool_); p.yes || p.reason != 0) return p;
        }
        return {};
    }

    // The first h^((p - 1) / q) mod p that is not 1, for h = 2, 3, ...
    [[nodiscard]] bool make_g() {
        if (VRQ_Copy_BIGINT(t_, p_) != 0 || VRQ_Sub_BIGINT_Word(t_, 1) != 0) return false;
        if (VRQ_Div_BIGINT(t_, x_, t_, q_, pool_) != 0) return false;
        for (u32 h = 2;; ++h) {
            if (VRQ_Set_BIGINT_Word(x_, h) != 0) return false;
            if (VRQ_Mod_Exp_Mont_BIGINT(g_, x_, t_, p_, pool_) != 0) return false;
            if (VRQ_Cmp_BIGINT(g_, VRQ_Value_One_BIGINT()) != 0) return true;
        }
    }

    // Into the unit, whose key belongs to another domain from then on.
    [[nodiscard]] bool store(VRQ_DSA_UNIT& unit) const {
        VRQ_BIGINT* fresh[3] = {};
        if (!put(fresh[0], p_) || !put(fresh[1], q_) || !put(fresh[2], g_)) {
            for (VRQ_BIGINT*& member : fresh) drop(member);
            return false;
        }
        VRQ_BIGINT** const members[3] = {&unit.p, &unit.q, &unit.g};
        for (int i = 0; i < 3; ++i) {
            drop(*members[i]);
            *members[i] = fresh[i];
        }
        drop(unit.x);
        drop(unit.y);
        return true;
    }

  private:
    // q = SHA-1(seed) ^ SHA-1(seed + 1), top and lowest bit set. The counter of the seed goes on.
    Found make_q(SeedCounter& hash) {
        u8 u[kDigest];
        u8 next[kDigest];
        if (!hash.next(u) || !hash.next(next)) return {VRQ_ERR_DIGEST_FAIL, false};
        for (u32 i = 0; i < kDigest; ++i) u[i] ^= next[i];
        u[0] |= 0x80;
        u[kDigest - 1] |= 1;
        if (!read_number(*q_, u, kDigest)) return {VRQ_ERR_MEM_ALLOC, false};
        return test_prime(q_, pool_);
    }

    // p = X - (X mod 2q - 1) for X of the wanted length, its lower bits from as many digests as it
    // takes, the first one lowest. 0 or the reason.
    u32 make_candidate(SeedCounter& hash) {
        for (std::size_t end = blocks_.size(); end != 0; end -= kDigest) {
            if (!hash.next(blocks_.data() + end - kDigest)) return VRQ_ERR_DIGEST_FAIL;
        }
        const std::size_t length = bits_ / 8;
        u8* const x = blocks_.data() + blocks_.size() - length;
        x[0] |= 0x80;
        const bool done = read_number(*x_, x, static_cast<u32>(length)) &&
                          VRQ_Add_BIGINT(t_, q_, q_, pool_) == 0 &&
                          VRQ_Div_BIGINT(nullptr, t_, x_, t_, pool_) == 0 &&
                          VRQ_Add_BIGINT_Word(x_, 1) == 0 && VRQ_Sub_BIGINT(p_, x_, t_, pool_) == 0;
        return done ? 0 : VRQ_ERR_MEM_ALLOC;
    }

    u32 bits_;
    u32 counter_ = 0;
    VRQ_BIGINT_POOL* pool_;
    Scratch<5> scratch_;
    VRQ_BIGINT* p_;
    VRQ_BIGINT* q_;
    VRQ_BIGINT* g_;
    VRQ_BIGINT* x_;
    VRQ_BIGINT* t_;
    SecretHeap blocks_;
};

// Draws seeds until one serves. 0 or the reason.
u32 search_from_drawn_seeds(Search& search) {
    for (;;) {
        SecretBytes<kDigest> seed;
        if (VRQ_Rand_Bytes_PRNG(seed.data(), kDigest) != 0) return VRQ_ERR_GET_RAND_FAIL;
        const Found found = search.from_seed(seed.data(), kDigest);
        if (found.yes || found.reason != 0) return found.reason;
    }
}

u32 search_from(Search& search, const u8* seed, u32 length) {
    const Found found = search.from_seed(seed, length);
    if (!found.yes && found.reason == 0) return VRQ_ERR_NOT_FOUNDED;
    return found.reason;
}

} // namespace

u32 VRQ_Generate_DSA_Params(VRQ_DSA_UNIT* unit, const u8* seed, u32 seed_length, u32 p_bits,
                            u32* counter) {
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (unit == nullptr) return fail(VRQ_ERR_NULL_INPUT);
    if (p_bits > kMaxBits) return fail(VRQ_ERR_INVALID_INPUT);
    if (seed != nullptr && (seed_length < kDigest || seed_length > 0x7FFFFFFF))
        return fail(VRQ_ERR_INVALID_INPUT);
    if (unit->pool == nullptr) unit->pool = VRQ_New_BIGINT_Pool();
    if (unit->pool == nullptr || !frame_available(unit->pool))
        return fail(VRQ_ERR_START_BIGINT_POOL_FAIL);

    Search search(round_bits(p_bits), unit->pool);
    if (!search.ok()) return fail(VRQ_ERR_GET_BIGINT_POOL_FAIL);
    const u32 reason =
        seed == nullptr ? search_from_drawn_seeds(search) : search_from(search, seed, seed_length);
    if (reason != 0) return fail(reason);
    if (!search.make_g() || !search.store(*unit)) return fail(VRQ_ERR_MEM_ALLOC);
    if (counter != nullptr) *counter = search.counter();
    return 0;
}
