// Random big integers, the Miller-Rabin test, prime generation. Plain and _Ex functions share one body
// each; what differs is where random bytes come from and under which code a failure is reported.
#include "bigint/prime_sieve.h"
#include "bigint/record.h"
#include "bigint/scope.h"
#include "foundation/scope.h"
#include "talvern/digest.h"
#include "talvern/prime.h"
#include "talvern/random.h"

#include <algorithm>

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_BIGINT, function, reason); }

// Where random bytes come from.
struct Source {
    u32 function;
    u32 hash;                                                          // older generator only
    u32 (*draw)(u8* out, u32 length, VRQ_BIGINT_POOL* pool, u32 hash); // 0 or the reason
};

u32 draw_legacy(u8* out, u32 length, VRQ_BIGINT_POOL* pool, u32 hash) {
    const Owned<VRQ_PRNG_UNIT, VRQ_Free_PRNG_Unit> unit(VRQ_New_PRNG_Unit());
    if (!unit) return VRQ_ERR_MEM_ALLOC;
    const u32 algorithm = hash == 0 ? u32{VRQ_ID_SHA1} : hash;
    if (VRQ_Init_PRNG(unit.get(), algorithm, nullptr, 0, nullptr, 0, pool) != 0)
        return VRQ_ERR_INIT_PRNG_FAIL;
    return VRQ_Get_Rand(unit.get(), out, length) == 0 ? 0 : VRQ_ERR_GET_RAND_FAIL;
}

u32 draw_drbg(u8* out, u32 length, VRQ_BIGINT_POOL*, u32) {
    return VRQ_Rand_Bytes(out, static_cast<i32>(length)) == 0 ? 0 : VRQ_ERR_GET_RAND_FAIL;
}

constexpr Source legacy(u32 hash) { return {VRQ_F_RAND_BIGINT, hash, draw_legacy}; }
constexpr Source kDrbg{VRQ_F_RAND_BIGINT_EX, 0, draw_drbg};

u32 rand_bigint(VRQ_BIGINT* r, u32 bits, i32 top, i32 bottom, VRQ_BIGINT_POOL* pool,
                const Source& source) {
    if (r == nullptr) return fail(source.function, VRQ_ERR_NULL_INPUT);
    if (bits == 0) {
        r->used = 0;
        return 0;
    }

    const u32 length = (bits - 1) / 8 + 1;
    SecretHeap bytes(length + 1); // the two top bits may lie in two bytes
    if (!bytes) return fail(source.function, VRQ_ERR_MEM_ALLOC);
    u8* out = bytes.data();
    if (const u32 reason = source.draw(out, length, pool, source.hash); reason != 0)
        return fail(source.function, reason);

    const u32 top_bit = (bits - 1) % 8; // of the first byte
    if (top == 1 && top_bit == 0) {
        out[0] = 1;
        out[1] |= 0x80;
    } else if (top == 0 || top == 1) {
        out[0] |= static_cast<u8>((top == 0 ? 0x80U : 0xC0U) >> (7 - top_bit));
    }
    out[0] &= static_cast<u8>(0xFFU >> (7 - top_bit));
    if (bottom != 0) out[length - 1] |= 1;
    if (VRQ_Binary_To_BIGINT(out, static_cast<i32>(length), r) == nullptr)
        return fail(source.function, VRQ_ERR_BINARY_TO_BIGINT_FAIL);
    return 0;
}

// The scratch pool of a caller, or one for the call.
class PoolOf {
  public:
    explicit PoolOf(VRQ_BIGINT_POOL* pool)
        : pool_(pool != nullptr ? pool : VRQ_New_BIGINT_Pool()), is_own_(pool == nullptr) {}
    ~PoolOf() {
        if (is_own_ && pool_ != nullptr) VRQ_Free_BIGINT_Pool(pool_);
    }
    PoolOf(const PoolOf&) = delete;
    PoolOf& operator=(const PoolOf&) = delete;
    VRQ_BIGINT_POOL* get() const { return pool_; }

  private:
    VRQ_BIGINT_POOL* pool_;
    bool is_own_;
};

// Leading zero words do not count.
bool is_word(const VRQ_BIGINT& a, u32 word) { return value_words(a) == 1 && a.data[0] == word; }

// An odd number under test: n - 1 = 2^s * d.
struct Candidate {
    const VRQ_BIGINT* n;
    VRQ_BIGINT* less_one;
    VRQ_BIGINT* d;
    i32 s;
};

[[nodiscard]] bool split(Candidate& c) {
    if (VRQ_Copy_BIGINT(c.less_one, c.n) != 0 || VRQ_Sub_BIGINT_Word(c.less_one, 1) != 0)
        return false;
    set_used(*c.less_one, word_count(*c.less_one));
    c.s = 1;
    while (VRQ_Is_BIGINT_Bit_Set(c.less_one, c.s) == 0) ++c.s;
    return vrq_Right_Shift_BIGINT(c.d, c.less_one, c.s) == 0;
}

enum class Verdict { kPassed, kComposite, kFailed };

// A witness below n, not 0. False when drawing or reducing failed.
[[nodiscard]] bool draw_witness(const Candidate& c, VRQ_BIGINT* a, VRQ_BIGINT_POOL* pool,
                                const Source& source) {
    do {
        const u32 bits = VRQ_Get_BIGINT_Bits_Length(c.less_one);
        if (rand_bigint(a, bits, 0, 0, pool, source) != 0) return false;
        if (VRQ_Cmp_BIGINT(a, c.less_one) > 0 &&
            VRQ_Div_BIGINT(nullptr, a, a, c.less_one, pool) != 0)
            return false;
    } while (is_zero(*a));
    return true;
}

Verdict try_witness(const Candidate& c, VRQ_BIGINT_POOL* pool, const Source& source) {
    Scratch<2> scratch(pool);
    VRQ_BIGINT* a = scratch.take();
    VRQ_BIGINT* y = scratch.take();
    if (a == nullptr || y == nullptr || !draw_witness(c, a, pool, source) ||
        VRQ_Mod_Exp_Mont_BIGINT(y, a, c.d, c.n, pool) != 0)
        return Verdict::kFailed;
    if (is_word(*y, 1)) return Verdict::kPassed;
    for (i32 j = 0; j < c.s; ++j) {
        if (VRQ_Cmp_BIGINT(y, c.less_one) == 0) return Verdict::kPassed;
        if (j + 1 < c.s && VRQ_Mod_Mtp_BIGINT(y, y, y, c.n, pool) != 0) return Verdict::kFailed;
    }
    return Verdict::kComposite;
}

// 1, -1 or 0, as the exported functions return it.
i32 is_prime(const VRQ_BIGINT* n, i32 rounds, VRQ_BIGINT_POOL* pool_or_null, const Source& source) {
    constexpr i32 kPrime = 1;
    constexpr i32 kComposite = -1;
    constexpr i32 kUntested = 0;
    if (n == nullptr || is_zero(*n)) return kUntested;
    if (!is_odd(*n)) return is_word(*n, 2) ? kPrime : kUntested;
    // Callers rely on one witness less than rounds. The number 1 has no witnesses.
    if (rounds <= 1 || is_word(*n, 1)) return kComposite;

    const PoolOf pool(pool_or_null);
    if (pool.get() == nullptr) return kUntested;
    Scratch<2> scratch(pool.get());
    Candidate c{n, scratch.take(), scratch.take(), 0};
    if (c.less_one == nullptr || c.d == nullptr || !split(c)) return kUntested;
    for (i32 round = 1; round < rounds; ++round) {
        const Verdict verdict = try_witness(c, pool.get(), source);
        if (verdict == Verdict::kFailed) return kUntested;
        if (verdict == Verdict::kComposite) return kComposite;
    }
    return kPrime;
}

// Tests of one witness each that a prime of so many bits passes.
i32 tests_of(u32 bits) {
    struct Row {
        u32 bits;
        i32 tests;
    };
    constexpr Row kRows[] = {{1300, 3}, {850, 4},  {650, 5},  {550, 6},  {450, 7},  {400, 8},
                             {350, 9},  {300, 10}, {250, 13}, {200, 16}, {150, 20}, {0, 38}};
    const Row* row = kRows;
    while (bits < row->bits) ++row;
    return row->tests;
}

// A random odd start, moved on to the first number that the sieve leaves. 0 or the reason; sets
// found to false when there is none.
u32 draw_candidate(VRQ_BIGINT* p, u32 bits, VRQ_BIGINT& area, VRQ_BIGINT_POOL* pool,
                   const Source& source, bool& found) {
    if (rand_bigint(p, bits, 0, 1, pool, source) != 0) return VRQ_ERR_RAND_BIGINT_FAIL;
    const std::size_t limbs = std::max<std::size_t>(value_limbs(*p), 1); // 0 has none
    if (!grow_scratch(area, limbs)) return VRQ_ERR_GET_BIGINT_POOL_FAIL;
    Limb* const start = limbs_of(area.data);
    load_value(start, limbs, *p);

    PrimeSieve sieve(start, limbs);
    u32 delta = 0;
    found = sieve.find(delta);
    wipe(start, limbs * sizeof *start);
    return VRQ_Add_BIGINT_Word(p, delta) == 0 ? 0 : VRQ_ERR_ADD_BIGINT_FAIL;
}

u32 generate_prime(VRQ_BIGINT* p, u32 bits, VRQ_BIGINT_POOL* pool_or_null, const Source& source) {
    constexpr u32 kFunction = VRQ_F_GENERATE_BIGINT_PRIME;
    const PoolOf pool(pool_or_null);
    if (pool.get() == nullptr) return fail(kFunction, VRQ_ERR_START_BIGINT_POOL_FAIL);
    Scratch<1> scratch(pool.get());
    if (!scratch.open()) return fail(kFunction, VRQ_ERR_START_BIGINT_POOL_FAIL);
    VRQ_BIGINT* const area = scratch.take();
    if (area == nullptr) return fail(kFunction, VRQ_ERR_GET_BIGINT_POOL_FAIL);

    const i32 tests = tests_of(bits);
    for (;;) {
        bool found = false;
        if (const u32 reason = draw_candidate(p, bits, *area, pool.get(), source, found);
            reason != 0)
            return fail(kFunction, reason);
        if (!found) continue;
        i32 passed = 0;
        i32 verdict = 1;
        while (verdict == 1 && passed < tests) {
            verdict = is_prime(p, 2, pool.get(), source);
            ++passed;
        }
        // Callers rely on 0 for a number that could not be tested, too.
        if (verdict != -1) return 0;
    }
}

} // namespace

u32 VRQ_Rand_BIGINT(VRQ_BIGINT* r, u32 bits, i32 top, i32 bottom, VRQ_BIGINT_POOL* pool, u32 hash) {
    return rand_bigint(r, bits, top, bottom, pool, legacy(hash));
}

u32 VRQ_Rand_BIGINT_Ex(VRQ_BIGINT* r, u32 bits, i32 top, i32 bottom, VRQ_BIGINT_POOL* pool) {
    return rand_bigint(r, bits, top, bottom, pool, kDrbg);
}

i32 VRQ_Is_BIGINT_Prime(const VRQ_BIGINT* n, i32 rounds, VRQ_BIGINT_POOL* pool, u32 hash) {
    return is_prime(n, rounds, pool, legacy(hash));
}

i32 VRQ_Is_BIGINT_Prime_Ex(const VRQ_BIGINT* n, i32 rounds, VRQ_BIGINT_POOL* pool) {
    return is_prime(n, rounds, pool, kDrbg);
}

u32 VRQ_Generate_BIGINT_Prime(VRQ_BIGINT* p, u32 bits, VRQ_BIGINT_POOL* pool, u32 hash) {
    return generate_prime(p, bits, pool, legacy(hash));
}

u32 VRQ_Generate_BIGINT_Prime_Ex(VRQ_BIGINT* p, u32 bits, VRQ_BIGINT_POOL* pool) {
    return generate_prime(p, bits, pool, kDrbg);
}
