// Scalar multiplication: signed windows of fixed width and whole-table reads for secret scalars,
// interleaved signed sliding windows for two public ones (D. Hankerson, A. Menezes, S. Vanstone, Guide
// to Elliptic Curve Cryptography, algorithms 3.41 and 3.51), in Jacobian coordinates.
//
// What that cannot do goes the affine way: even moduli and those above 576 bits, coordinates that are
// not reduced, b = 0 (where a point of the curve looks like infinity), and the composite moduli that
// show in the last inversion.
#include "pubkey/ec_multiply.h"

#include "bigint/inverse.h"
#include "bigint/record.h"
#include "bigint/scope.h"
#include "foundation/scope.h"
#include "pubkey/ec_affine.h"
#include "pubkey/ec_jacobian.h"
#include "pubkey/ec_records.h"

#include <algorithm>

using namespace vrq;

namespace {

enum class Outcome { kDone, kNoMemory, kNotHere };

constexpr unsigned kWindow = 5;
constexpr std::size_t kEntries = (std::size_t{1} << (kWindow - 1)) + 1; // 0 to 16
constexpr std::size_t kOddEntries = 8;                                  // 1, 3, ..., 15

// Bits [low, low + count) of a number that has any length; bits below 0 are zero. Which words are read
// depends on low alone.
u32 bits_at(const VRQ_BIGINT& k, std::ptrdiff_t low, unsigned count) {
    const std::size_t words = word_count(k);
    const std::size_t from = low < 0 ? 0 : static_cast<std::size_t>(low);
    const std::size_t word = from / 32;
    u64 two = word < words ? k.data[word] : 0;
    if (word + 1 < words) two |= static_cast<u64>(k.data[word + 1]) << 32;
    two >>= from % 32;
    if (low < 0) two <<= static_cast<unsigned>(-low);
    return static_cast<u32>(two) & ((u32{1} << count) - 1);
}

// Digit i of k to the base 32, in -16 to 16: the overlap with the digit below tells its sign.
struct SignedDigit {
    u64 size;
    u64 negative; // mask

    SignedDigit(const VRQ_BIGINT& k, std::size_t i) {
        const auto low = static_cast<std::ptrdiff_t>(i * kWindow) - 1;
        const u64 window = bits_at(k, low, kWindow + 1);
        negative = hidden(u64{0} - (window >> kWindow));
        const u64 distance = window ^ (negative & ((u64{2} << kWindow) - 1));
        size = (distance >> 1) + (distance & 1);
    }
};

constexpr std::size_t num_digits(std::size_t bits) { return bits / kWindow + 1; }

// The curve and one point, ready for Jacobian coordinates.
template <std::size_t N>
class Arithmetic {
  public:
    using F = Field<N>;
    using E = Element<N>;
    using Point = Jacobian<N>;
    using Entry = TablePoint<N>;

    Arithmetic(const E& modulus, std::size_t bits, const E& a)
        : bits_(bits), field_(modulus.v, bits), group_(field_, to_field(field_, a)) {}

    const Group<N>& group() const { return group_; }

    // False when a coordinate is not reduced, or the b of the curve through the point is 0.
    bool load(Point& r, const VRQ_ECPOINT& point) {
        E x;
        E y;
        if (!read(x, *point.x) || !read(y, *point.y)) return false;
        if (!field_.is_reduced(x) || !field_.is_reduced(y)) return false;
        field_.to_montgomery(r.x, x);
        field_.to_montgomery(r.y, y);
        r.z = field_.one();
        return F::zero_mask(b_through(r)) == 0;
    }

    // y^2 - x^3 - a x of an affine point.
    E b_through(const Point& p) const {
        E t;
        E b;
        field_.sqr(t, p.x);
        field_.add(t, t, group_.a());
        field_.mul(t, t, p.x);
        field_.sqr(b, p.y);
        field_.sub(b, b, t);
        return b;
    }

    // table[i] = i * P.
    void fill(Entry (&table)[kEntries], const Point& p) const {
        table[0] = {};
        group_.make_entry(table[1], p);
        for (std::size_t i = 2; i < kEntries; ++i) {
            Point next = table[i % 2 == 0 ? i / 2 : i - 1].point;
            if (i % 2 == 0) {
                group_.double_times(next, 1);
            } else {
                group_.add(next, table[1], 0);
            }
            group_.make_entry(table[i], next);
        }
    }

    // table[i] = (2i + 1) * P.
    void fill_odd(Entry (&table)[kOddEntries], const Point& p) const {
        Point twice = p;
        group_.double_times(twice, 1);
        Entry step;
        group_.make_entry(step, twice);
        Point next = p;
        group_.make_entry(table[0], p);
        for (std::size_t i = 1; i < kOddEntries; ++i) {
            group_.add(next, step, 0);
            group_.make_entry(table[i], next);
        }
    }

    Outcome store(VRQ_ECPOINT& out, const Point& p) const {
        if (F::zero_mask(p.z) != 0) {
            constexpr VRQ_BIGINT kZero = {};
            return assign_point(out, kZero, kZero) ? Outcome::kDone : Outcome::kNoMemory;
        }
        E inverse;
        E square;
        E x;
        E y;
        if (!invert(inverse, p.z)) return Outcome::kNotHere;
        field_.sqr(square, inverse);
        field_.mul(x, p.x, square);
        field_.mul(square, square, inverse);
        field_.mul(y, p.y, square);
        field_.from_montgomery(x, x);
        field_.from_montgomery(y, y);
        return assign_limbs(out, x, y) ? Outcome::kDone : Outcome::kNoMemory;
    }

    static bool read(E& r, const VRQ_BIGINT& a) {
        if (value_limbs(a) > N) return false;
        load_value(r.v, N, a);
        return true;
    }

  private:
    static E to_field(const F& field, const E& a) {
        E r;
        field.to_montgomery(r, a);
        return r;
    }

    bool invert(E& r, const E& a) const {
        u64 scratch[5 * (64 * kMaxFieldLimbs / 62 + 2)];
        const WipeOnExit wiped(scratch);
        field_.from_montgomery(r, a);
        if (limbs_inverse_odd(r.v, r.v, field_.modulus(), N, bits_, scratch) == 0) return false;
        field_.to_montgomery(r, r);
        return true;
    }

    static bool assign_limbs(VRQ_ECPOINT& out, E& x, E& y) {
        VRQ_BIGINT records[2] = {};
        E* const values[2] = {&x, &y};
        for (int i = 0; i < 2; ++i) {
            records[i].data = reinterpret_cast<u32*>(values[i]->v);
            set_used(records[i], 2 * N);
            records[i].allocated = 2 * N;
        }
        return assign_point(out, records[0], records[1]);
    }

    std::size_t bits_;
    F field_;
    Group<N> group_;
};

// The curve in so many limbs; false when it has no place there.
template <std::size_t N>
bool read_curve(const VRQ_ECURVE& curve, Element<N>& modulus, Element<N>& a) {
    return Arithmetic<N>::read(modulus, *curve.prime) && Arithmetic<N>::read(a, *curve.a) &&
           limbs_less(a.v, modulus.v, N) != 0;
}

// r = table[index], negated where the digit is; reads the whole table.
template <std::size_t N>
void look_up(TablePoint<N>& r, const TablePoint<N> (&table)[kEntries], u64 index) {
    constexpr std::size_t kLimbs = sizeof(TablePoint<N>) / sizeof(u64);
    limb_kernel().gather(reinterpret_cast<Limb*>(&r), reinterpret_cast<const Limb*>(table),
                         kEntries, kLimbs, index);
}

template <std::size_t N>
Outcome multiply(VRQ_ECPOINT& out, const VRQ_ECURVE& curve, const VRQ_ECPOINT& P,
                 const VRQ_BIGINT& k, std::size_t bits) {
    struct {
        TablePoint<N> table[kEntries];
        TablePoint<N> entry;
        Jacobian<N> sum;
    } work;
    const WipeOnExit wiped(work);
    Element<N> modulus;
    Element<N> a;
    if (!read_curve<N>(curve, modulus, a)) return Outcome::kNotHere;
    Arithmetic<N> arithmetic(modulus, value_bits(*curve.prime), a);
    if (!arithmetic.load(work.sum, P)) return Outcome::kNotHere;
    arithmetic.fill(work.table, work.sum);

    const Group<N>& group = arithmetic.group();
    std::size_t i = num_digits(bits) - 1;
    look_up(work.entry, work.table, SignedDigit(k, i).size); // the top digit is not negative
    work.sum = work.entry.point;
    while (i-- > 0) {
        const SignedDigit digit(k, i);
        group.double_times(work.sum, kWindow);
        look_up(work.entry, work.table, digit.size);
        group.add(work.sum, work.entry, digit.negative);
    }
    return arithmetic.store(out, work.sum);
}

// The digits of a public number in non-adjacent form of width 5: odd, of at most 15, or 0; at least
// four zeros follow one that is not 0.
class SlidingDigits {
  public:
    explicit SlidingDigits(const VRQ_BIGINT& k) : count_(value_bits(k) + 1) {
        u32 carry = 0;
        for (std::size_t i = 0; i < count_;) {
            const auto low = static_cast<std::ptrdiff_t>(i);
            if (bits_at(k, low, 1) == carry) {
                digits_[i++] = 0;
                continue;
            }
            const auto window = static_cast<i32>(bits_at(k, low, kWindow) + carry);
            carry = window > 16 ? 1 : 0;
            digits_[i++] = static_cast<std::int8_t>(carry != 0 ? window - 32 : window);
            for (unsigned zeros = 1; zeros < kWindow && i < count_; ++zeros) digits_[i++] = 0;
        }
    }

    std::size_t count() const { return count_; }
    i32 at(std::size_t i) const { return i < count_ ? digits_[i] : 0; }

    static constexpr std::size_t kMaxBits = 64 * kMaxFieldLimbs + 1;

  private:
    std::size_t count_;
    std::int8_t digits_[kMaxBits + 1];
};

template <std::size_t N>
void add_digit(const Group<N>& group, Jacobian<N>& sum, const TablePoint<N> (&table)[kOddEntries],
               i32 digit) {
    if (digit == 0) return;
    const auto size = static_cast<std::size_t>(digit < 0 ? -digit : digit);
    group.add(sum, table[size / 2], digit < 0 ? ~u64{0} : 0);
}

template <std::size_t N>
Outcome multiply_two_var(VRQ_ECPOINT& out, const VRQ_ECURVE& curve, const VRQ_BIGINT& u,
                         const VRQ_ECPOINT& P, const VRQ_BIGINT& v, const VRQ_ECPOINT& Q) {
    Element<N> modulus;
    Element<N> a;
    if (!read_curve<N>(curve, modulus, a)) return Outcome::kNotHere;
    Arithmetic<N> arithmetic(modulus, value_bits(*curve.prime), a);
    Jacobian<N> p;
    Jacobian<N> q;
    if (!arithmetic.load(p, P) || !arithmetic.load(q, Q)) return Outcome::kNotHere;
    if (!Field<N>::equal(arithmetic.b_through(p), arithmetic.b_through(q)))
        return Outcome::kNotHere;

    TablePoint<N> p_table[kOddEntries];
    TablePoint<N> q_table[kOddEntries];
    arithmetic.fill_odd(p_table, p);
    arithmetic.fill_odd(q_table, q);
    const SlidingDigits p_digits(u);
    const SlidingDigits q_digits(v);
    const Group<N>& group = arithmetic.group();
    Jacobian<N> sum = {};
    unsigned doublings = 0;
    for (std::size_t i = std::max(p_digits.count(), q_digits.count()); i-- > 0;) {
        ++doublings;
        if (p_digits.at(i) == 0 && q_digits.at(i) == 0) continue;
        group.double_times(sum, doublings);
        doublings = 0;
        add_digit(group, sum, p_table, p_digits.at(i));
        add_digit(group, sum, q_table, q_digits.at(i));
    }
    if (doublings != 0) group.double_times(sum, doublings);
    return arithmetic.store(out, sum);
}

std::size_t field_size(const VRQ_BIGINT& prime) {
    if (!is_odd(prime) || value_bits(prime) == 1) return 0;
    for (const std::size_t size : kFieldSizes) {
        if (value_limbs(prime) <= size) return size;
    }
    return 0;
}

Outcome multiply_here(VRQ_ECPOINT& out, const VRQ_ECURVE& curve, const VRQ_ECPOINT& P,
                      const VRQ_BIGINT& k, std::size_t bits) {
    switch (field_size(*curve.prime)) {
    case 4:
        return multiply<4>(out, curve, P, k, bits);
    case 6:
        return multiply<6>(out, curve, P, k, bits);
    case 8:
        return multiply<8>(out, curve, P, k, bits);
    case 9:
        return multiply<9>(out, curve, P, k, bits);
    default:
        return Outcome::kNotHere;
    }
}

Outcome multiply_two_here(VRQ_ECPOINT& out, const VRQ_ECURVE& curve, const VRQ_BIGINT& u,
                          const VRQ_ECPOINT& P, const VRQ_BIGINT& v, const VRQ_ECPOINT& Q) {
    if (std::max(value_bits(u), value_bits(v)) >= SlidingDigits::kMaxBits) return Outcome::kNotHere;
    switch (field_size(*curve.prime)) {
    case 4:
        return multiply_two_var<4>(out, curve, u, P, v, Q);
    case 6:
        return multiply_two_var<6>(out, curve, u, P, v, Q);
    case 8:
        return multiply_two_var<8>(out, curve, u, P, v, Q);
    case 9:
        return multiply_two_var<9>(out, curve, u, P, v, Q);
    default:
        return Outcome::kNotHere;
    }
}

// The affine way; 0 times P is infinity.
bool affine_multiple(VRQ_ECPOINT& out, const VRQ_ECURVE& curve, const VRQ_ECPOINT& P,
                     const VRQ_BIGINT& k, VRQ_BIGINT_POOL* pool) {
    if (!is_zero(k)) return affine_multiply(out, curve, P, k, pool);
    return assign_point(out, k, k);
}

} // namespace

bool vrq::ec_multiply(VRQ_ECPOINT& out, const VRQ_ECURVE& curve, const VRQ_ECPOINT& P,
                      const VRQ_BIGINT& k, std::size_t bits, VRQ_BIGINT_POOL* pool) {
    const ScopeExit wiping(wipe_stack<16384>); // a multiplication uses about 10 KiB
    const Outcome outcome = multiply_here(out, curve, P, k, bits);
    if (outcome != Outcome::kNotHere) return outcome == Outcome::kDone;
    return affine_multiply(out, curve, P, k, pool);
}

bool vrq::ec_multiply_two_var(VRQ_ECPOINT& out, const VRQ_ECURVE& curve, const VRQ_BIGINT& u,
                              const VRQ_ECPOINT& P, const VRQ_BIGINT& v, const VRQ_ECPOINT& Q,
                              VRQ_BIGINT_POOL* pool) {
    const Outcome outcome = multiply_two_here(out, curve, u, P, v, Q);
    if (outcome != Outcome::kNotHere) return outcome == Outcome::kDone;

    Scratch<4> scratch(pool);
    VRQ_ECPOINT p = {scratch.take(), scratch.take()};
    VRQ_ECPOINT q = {scratch.take(), scratch.take()};
    return has_coordinates(p) && has_coordinates(q) && affine_multiple(p, curve, P, u, pool) &&
           affine_multiple(q, curve, Q, v, pool) && affine_add(out, curve, p, q, pool);
}

u32 vrq_Mtp_Fp_ECC(VRQ_ECPOINT* out, const VRQ_ECURVE* curve, const VRQ_ECPOINT* P,
                   const VRQ_BIGINT* k) {
    if (out == nullptr || curve == nullptr || P == nullptr || k == nullptr) return 1;
    if (!has_equation(*curve) || !has_coordinates(*P)) return 1;
    if (is_zero(*k)) return 0;
    if (vrq_Is_ECPOINT_Zero(P) != 0) return assign_point(*out, *P->x, *P->y) ? 0 : 1;

    const Owned<VRQ_BIGINT_POOL, VRQ_Free_BIGINT_Pool> pool(VRQ_New_BIGINT_Pool());
    if (pool == nullptr) return 1;
    return ec_multiply(*out, *curve, *P, *k, 32 * word_count(*k), pool.get()) ? 0 : 1;
}
