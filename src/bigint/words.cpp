// Kernels on arrays of 32-bit words: the exported ones, and what records need besides. The long ones
// run on limbs over the same memory; a last word of an odd length is taken by itself.
#include "bigint/words.h"

#include "foundation/bytes.h"
#include "talvern/bigint.h"

#include <bit>
#include <cstring>

namespace vrq {

namespace {

constexpr std::size_t length(std::int64_t n) { return n > 0 ? static_cast<std::size_t>(n) : 0; }

constexpr u32 low(u64 x) { return static_cast<u32>(x); }
constexpr u32 high(u64 x) { return static_cast<u32>(x >> 32); }

constexpr std::size_t even_limbs(std::size_t words) { return words / 2; }

void clear(u32* r, std::size_t n) {
    if (n != 0) std::memset(r, 0, n * sizeof *r);
}

u32 mul_add_word(u32* r, const u32* a, std::size_t n, u32 w) {
    const std::size_t limbs = even_limbs(n);
    u64 carry = limb_kernel().mul_add(limbs_of(r), limbs_of(a), limbs, w);
    if (n % 2 == 0) return low(carry);
    carry += static_cast<u64>(a[n - 1]) * w + r[n - 1];
    r[n - 1] = low(carry);
    return high(carry);
}

} // namespace

std::size_t significant_words(const u32* a, std::size_t n) {
    while (n != 0 && a[n - 1] == 0) --n;
    return n;
}

void words_to_limbs(Limb* r, std::size_t limbs, const u32* a, std::size_t n) {
    if (limbs == 0) return;
    if (n != 0) std::memcpy(r, a, n * 4);
    std::memset(reinterpret_cast<u8*>(r) + n * 4, 0, limbs * 8 - n * 4);
}

u32 words_add_carry(u32* r, const u32* a, std::size_t n, u32 carry) {
    for (std::size_t i = 0; i < n; ++i) {
        const u64 sum = static_cast<u64>(a[i]) + carry;
        r[i] = low(sum);
        carry = high(sum);
    }
    return carry;
}

u32 words_sub_borrow(u32* r, const u32* a, std::size_t n, u32 borrow) {
    for (std::size_t i = 0; i < n; ++i) {
        const u64 difference = static_cast<u64>(a[i]) - borrow;
        r[i] = low(difference);
        borrow = high(difference) & 1;
    }
    return borrow;
}

void words_mul(u32* r, const u32* a, std::size_t na, const u32* b, std::size_t nb, Limb* scratch) {
    const std::size_t la = even_limbs(na);
    const std::size_t lb = even_limbs(nb);
    if (la != 0 && lb != 0) {
        limbs_mul(limbs_of(r), limbs_of(a), la, limbs_of(b), lb, scratch);
    } else {
        clear(r, 2 * (la + lb));
    }
    if (nb % 2 != 0) r[2 * la + nb - 1] = mul_add_word(r + nb - 1, a, 2 * la, b[nb - 1]);
    if (na % 2 != 0) r[na + nb - 1] = mul_add_word(r + na - 1, b, nb, a[na - 1]);
}

void words_sqr(u32* r, const u32* a, std::size_t n, Limb* scratch) {
    const std::size_t limbs = even_limbs(n);
    if (limbs != 0) limbs_sqr(limbs_of(r), limbs_of(a), limbs, scratch);
    if (n % 2 == 0) return;

    // (low + w * 2^(64 limbs))^2; twice w has 33 bits at most
    const u64 w = a[n - 1];
    u64 carry = limb_kernel().mul_add(limbs_of(r + n - 1), limbs_of(a), limbs, 2 * w);
    carry += w * w;
    r[2 * n - 2] = low(carry);
    r[2 * n - 1] = high(carry);
}

void words_shl(u32* r, const u32* a, std::size_t na, std::size_t bits) {
    const std::size_t words = bits / 32;
    const unsigned shift = bits % 32;
    u32 above = 0;
    for (std::size_t i = na; i-- > 0;) {
        const u64 pair = static_cast<u64>(a[i]) << shift;
        r[i + words + 1] = high(pair) | above;
        above = low(pair);
    }
    r[words] = above;
    clear(r, words);
}

void words_shr(u32* r, const u32* a, std::size_t na, std::size_t bits) {
    const std::size_t words = bits / 32;
    const unsigned shift = bits % 32;
    for (std::size_t i = words; i < na; ++i) {
        const u64 above = i + 1 < na ? a[i + 1] : 0;
        r[i - words] = low((above << 32 | a[i]) >> shift);
    }
}

u32 words_div_word(u32* a, std::size_t n, u32 w) {
    u64 rest = 0;
    for (std::size_t i = n; i-- > 0;) {
        rest = rest << 32 | a[i];
        a[i] = low(rest / w);
        rest %= w;
    }
    return low(rest);
}

u32 words_mod_word(const u32* a, std::size_t n, u32 w) {
    u64 rest = 0;
    for (std::size_t i = n; i-- > 0;) rest = (rest << 32 | a[i]) % w;
    return low(rest);
}

void words_from_bytes(u32* r, const u8* bytes, std::size_t length) {
    std::size_t i = 0;
    for (; length >= 4; length -= 4) r[i++] = load_be<u32>(bytes + length - 4);
    if (length == 0) return;
    u32 word = 0;
    for (std::size_t j = 0; j < length; ++j) word = word << 8 | bytes[j];
    r[i] = word;
}

void words_to_bytes(u8* out, std::size_t count, const u32* a) {
    std::size_t i = 0;
    for (; count >= 4; count -= 4) store_be(out + count - 4, a[i++]);
    if (count == 0) return;
    u32 word = a[i];
    for (; count-- > 0; word >>= 8) out[count] = static_cast<u8>(word);
}

} // namespace vrq

using namespace vrq;

i32 vrq_Cmp_BIGINT_Words(const u32* a, const u32* b, i32 n) {
    if (a == nullptr || b == nullptr) return 1;
    for (std::size_t i = length(n); i-- > 0;) {
        if (a[i] != b[i]) return a[i] > b[i] ? 1 : -1;
    }
    return 0;
}

i32 vrq_Cmp_Parts(const u32* a, const u32* b, i32 n, i32 difference) {
    if (a == nullptr || b == nullptr) return 1;
    const std::size_t common = length(n);
    if (significant_words(a + common, length(difference)) != 0) return 1;
    if (difference < 0 && significant_words(b + common, length(-std::int64_t{difference})) != 0)
        return -1;
    return vrq_Cmp_BIGINT_Words(a, b, n);
}

u32 vrq_Add_Words(u32* r, const u32* a, const u32* b, i32 n) {
    const std::size_t words = length(n);
    const std::size_t limbs = even_limbs(words);
    const u64 carry = limbs_add(limbs_of(r), limbs_of(a), limbs_of(b), limbs);
    if (words % 2 == 0) return low(carry);
    const u64 sum = carry + a[words - 1] + b[words - 1];
    r[words - 1] = low(sum);
    return high(sum);
}

u32 vrq_Sub_Words(u32* r, const u32* a, const u32* b, i32 n) {
    const std::size_t words = length(n);
    const std::size_t limbs = even_limbs(words);
    const u64 borrow = limbs_sub(limbs_of(r), limbs_of(a), limbs_of(b), limbs);
    if (words % 2 == 0) return low(borrow);
    const u64 difference = static_cast<u64>(a[words - 1]) - b[words - 1] - borrow;
    r[words - 1] = low(difference);
    return high(difference) & 1;
}

u32 vrq_Sub_Part_Words(u32* r, const u32* a, const u32* b, i32 n, i32 difference) {
    const std::size_t common = length(n);
    u32 borrow = vrq_Sub_Words(r, a, b, n);
    if (difference >= 0) {
        return words_sub_borrow(r + common, a + common, length(difference), borrow);
    }
    for (std::size_t i = common; i < common + length(-std::int64_t{difference}); ++i) {
        const u64 rest = static_cast<u64>(0) - b[i] - borrow;
        r[i] = low(rest);
        borrow = high(rest) & 1;
    }
    return borrow;
}

u32 vrq_Mtp_Words(u32* r, const u32* a, i32 n, u32 w) {
    u64 carry = 0;
    for (std::size_t i = 0; i < length(n); ++i) {
        carry += static_cast<u64>(a[i]) * w;
        r[i] = low(carry);
        carry >>= 32;
    }
    return low(carry);
}

u32 vrq_Mtp_Add_Words(u32* r, const u32* a, i32 n, u32 w) {
    return mul_add_word(r, a, length(n), w);
}

void vrq_Sqr_Words(u32* r, const u32* a, i32 n) {
    for (std::size_t i = 0; i < length(n); ++i) {
        const u64 square = static_cast<u64>(a[i]) * a[i];
        r[2 * i] = low(square);
        r[2 * i + 1] = high(square);
    }
}

u32 vrq_Div_Words(u32 high_word, u32 low_word, u32 d) {
    if (d == 0) return 0xFFFFFFFF;
    return low((static_cast<u64>(high_word) << 32 | low_word) / d);
}

// The exported products leave splitting to the recursive ones, which bring the scratch for it.
void vrq_Mtp_Word_Base(u32* r, const u32* a, i32 na, const u32* b, i32 nb) {
    const std::size_t words_a = length(na);
    const std::size_t words_b = length(nb);
    clear(r, words_a);
    for (std::size_t i = 0; i < words_b; ++i)
        r[words_a + i] = mul_add_word(r + i, a, words_a, b[i]);
}

void vrq_Sqr_Word_Base(u32* r, const u32* a, i32 n, u32*) { vrq_Mtp_Word_Base(r, a, n, a, n); }

void vrq_Mtp_Base(u32* r, const u32* a, const u32* b) {
    limb_kernel().mul(limbs_of(r), limbs_of(a), 2, limbs_of(b), 2);
}

void vrq_Sqr_Base(u32* r, const u32* a) { limb_kernel().sqr(limbs_of(r), limbs_of(a), 2); }

void vrq_Mtp_Base_Ex(u32* r, const u32* a, const u32* b) {
    limb_kernel().mul(limbs_of(r), limbs_of(a), 4, limbs_of(b), 4);
}

void vrq_Sqr_Base_Ex(u32* r, const u32* a) { limb_kernel().sqr(limbs_of(r), limbs_of(a), 4); }

void vrq_Mtp_Recursive(u32* r, const u32* a, const u32* b, i32 n, i32 da, i32 db, u32* temp) {
    words_mul(r, a, length(std::int64_t{n} + da), b, length(std::int64_t{n} + db), limbs_of(temp));
}

void vrq_Mtp_Recursive_P(u32* r, const u32* a, const u32* b, i32 n, i32 da, i32 db, u32* temp) {
    words_mul(r, a, length(std::int64_t{n} + da), b, length(std::int64_t{n} + db), limbs_of(temp));
}

void vrq_Sqr_Recursive(u32* r, const u32* a, i32 n, u32* temp) {
    words_sqr(r, a, length(n), limbs_of(temp));
}
