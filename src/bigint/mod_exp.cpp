// Modular exponentiation: fixed windows with whole-table reads for secret exponents, sliding windows
// for public ones (A. Menezes, P. van Oorschot, S. Vanstone, Handbook of Applied Cryptography,
// algorithms 14.82 and 14.85), over Montgomery products or over products with division.
#include "bigint/mod_exp.h"

#include "bigint/limb_div.h"
#include "foundation/cpu.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace vrq {

namespace {

// Windows of secret exponents: the table costs 2^w products, the exponent one every w bits.
constexpr unsigned fixed_window(std::size_t bits) {
    if (bits >= 3072) return 6;
    if (bits >= 256) return 5;
    if (bits >= 96) return 4;
    return bits > 2 ? 3 : 1;
}

// Windows of public exponents.
constexpr unsigned sliding_window(std::size_t bits) {
    if (bits >= 672) return 6;
    if (bits >= 240) return 5;
    if (bits >= 80) return 4;
    return bits >= 24 ? 3 : 1;
}

constexpr std::size_t table_entries(const ModExp& job) {
    return job.is_public ? std::size_t{1} << (sliding_window(job.exponent_bits) - 1)
                         : std::size_t{1} << fixed_window(job.exponent_bits);
}

u64 exponent_bit(const ModExp& job, std::size_t i) {
    return job.exponent[i / kLimbBits] >> (i % kLimbBits) & 1;
}

// Bits [low, low + count) of the exponent.
u64 exponent_window(const ModExp& job, std::size_t low, unsigned count) {
    const std::size_t limb = low / kLimbBits;
    const unsigned shift = low % kLimbBits;
    u64 bits = job.exponent[limb] >> shift;
    if (shift + count > kLimbBits) bits |= job.exponent[limb + 1] << (kLimbBits - shift);
    return bits & ((u64{1} << count) - 1);
}

// Residues in Montgomery form, R = 2^(64 len).
class Montgomery {
  public:
    static constexpr std::size_t scratch(std::size_t len) { return 4 * len + 1; }

    Montgomery(const LimbKernel& kernel, const ModExp& job, Limb* area)
        : kernel_(kernel),
          n_(job.modulus),
          len_(job.len),
          k0_(negated_inverse(job.modulus[0])),
          rr_(area),
          digit_(area + len_),
          t_(area + 2 * len_) {
        if (job.is_public) {
            set_rr_var();
        } else {
            set_rr(job.modulus_bits);
        }
    }

    void mul(Limb* r, const Limb* a, const Limb* b) {
        kernel_.mul(t_, a, len_, b, len_);
        reduce(r);
    }

    void sqr(Limb* r, const Limb* a) {
        kernel_.sqr(t_, a, len_);
        reduce(r);
    }

    void one(Limb* r) {
        limbs_copy(t_, rr_, len_);
        limbs_clear(t_ + len_, len_);
        reduce(r);
    }

    // Horner's rule over digits of len limbs. A product of anything below R and R^2 mod n is reduced,
    // so the base needs no division.
    void from_base(Limb* r, const Limb* base, std::size_t base_len) {
        const std::size_t digits = (base_len + len_ - 1) / len_;
        load_digit(base, base_len, digits - 1);
        mul(r, digit_, rr_);
        for (std::size_t i = digits - 1; i-- > 0;) {
            mul(r, r, rr_);
            load_digit(base, base_len, i);
            mul(digit_, digit_, rr_);
            const u64 carry = limbs_add(r, r, digit_, len_);
            kernel_.reduce_once(r, r, n_, len_, carry);
        }
    }

    void to_result(Limb* r, const Limb* a) {
        limbs_copy(t_, a, len_);
        limbs_clear(t_ + len_, len_);
        reduce(r);
    }

    void gather(Limb* r, const Limb* table, std::size_t entries, u64 index) {
        kernel_.gather(r, table, entries, len_, index);
    }

  private:
    void reduce(Limb* r) {
        const u64 carry = kernel_.redc(t_, n_, len_, len_, k0_);
        kernel_.reduce_once(r, t_ + len_, n_, len_, carry);
    }

    void load_digit(const Limb* base, std::size_t base_len, std::size_t i) {
        const std::size_t begin = i * len_;
        const std::size_t count = base_len - begin < len_ ? base_len - begin : len_;
        limbs_copy(digit_, base + begin, count);
        limbs_clear(digit_ + count, len_ - count);
    }

    // R^2 mod n without a division: 2^bits - n is 2^bits mod n; doubling it gives R * 2^k for a
    // small k, and Montgomery squarings double k until it is that of R.
    void set_rr(std::size_t bits) {
        limbs_clear(rr_, len_);
        limbs_sub(rr_, rr_, n_, len_);
        for (std::size_t i = bits / kLimbBits; i < len_; ++i) {
            const unsigned kept = i == bits / kLimbBits ? bits % kLimbBits : 0;
            rr_[i] &= (u64{1} << kept) - 1;
        }
        const std::size_t r_bits = kLimbBits * len_;
        std::size_t k = r_bits;
        while (k % 2 == 0 && k > 8) k /= 2;
        for (std::size_t i = bits; i < r_bits + k; ++i) {
            const u64 carry = limbs_shl(rr_, rr_, len_, 1);
            kernel_.reduce_once(rr_, rr_, n_, len_, carry);
        }
        for (; k < r_bits; k *= 2) sqr(rr_, rr_);
    }

    void set_rr_var() {
        std::size_t n_len = len_;
        while (n_[n_len - 1] == 0) --n_len;
        const auto shift = static_cast<unsigned>(std::countl_zero(static_cast<u64>(n_[n_len - 1])));
        limbs_shl(digit_, n_, n_len, shift);
        limbs_clear(t_, 2 * len_);
        t_[2 * len_] = u64{1} << shift;
        limbs_divide_normalized(nullptr, t_, 2 * len_ + 1, digit_, n_len);
        limbs_shr(rr_, t_, n_len, shift);
        limbs_clear(rr_ + n_len, len_ - n_len);
    }

    const LimbKernel& kernel_;
    const Limb* n_;
    std::size_t len_;
    u64 k0_;
    Limb* rr_;
    Limb* digit_;
    Limb* t_; // 2 len + 1
};

// Residues as they are, for moduli without a Montgomery form.
class Plain {
  public:
    static std::size_t scratch(std::size_t len) {
        // a product of len + 1 limbs while the base is read
        return 2 * len + limbs_mod_scratch(2 * len, len) + limbs_mul_scratch(len, len);
    }

    Plain(const ModExp& job, Limb* area)
        : n_(job.modulus),
          len_(job.len),
          product_(area),
          divide_(area + 2 * len_),
          split_(divide_ + limbs_mod_scratch(2 * len_, len_)) {}

    void mul(Limb* r, const Limb* a, const Limb* b) {
        limbs_mul(product_, a, len_, b, len_, split_);
        reduce(r, product_, 2 * len_);
    }

    void sqr(Limb* r, const Limb* a) {
        limbs_sqr(product_, a, len_, split_);
        reduce(r, product_, 2 * len_);
    }

    void one(Limb* r) {
        limbs_clear(r, len_);
        r[0] = 1;
    }

    // Horner's rule over single limbs keeps the area for division at its size.
    void from_base(Limb* r, const Limb* base, std::size_t base_len) {
        limbs_clear(r, len_);
        for (std::size_t i = base_len; i-- > 0;) {
            product_[0] = base[i];
            limbs_copy(product_ + 1, r, len_);
            reduce(r, product_, len_ + 1);
        }
    }

    void to_result(Limb* r, const Limb* a) { limbs_copy(r, a, len_); }

    void gather(Limb* r, const Limb* table, std::size_t entries, u64 index) {
        limb_kernel().gather(r, table, entries, len_, index);
    }

  private:
    void reduce(Limb* r, const Limb* a, std::size_t na) { limbs_mod(r, a, na, n_, len_, divide_); }

    const Limb* n_;
    std::size_t len_;
    Limb* product_; // 2 len
    Limb* divide_;  // limbs_mod_scratch(2 len, len)
    Limb* split_;
};

// Left to right in windows of fixed width; every window costs one product, also a zero one.
template <class Ring>
void power(Ring& ring, const ModExp& job, Limb* x, Limb* factor, Limb* table) {
    const std::size_t len = job.len;
    const unsigned width = fixed_window(job.exponent_bits);
    const std::size_t entries = std::size_t{1} << width;
    ring.one(table);
    ring.from_base(table + len, job.base, job.base_len);
    for (std::size_t i = 2; i < entries; i += 2) {
        ring.sqr(table + i * len, table + i / 2 * len);
        ring.mul(table + (i + 1) * len, table + i * len, table + len);
    }

    const auto first = 1 + static_cast<unsigned>((job.exponent_bits - 1) % width);
    std::size_t low = job.exponent_bits - first;
    ring.gather(x, table, entries, exponent_window(job, low, first));
    while (low != 0) {
        low -= width;
        for (unsigned i = 0; i < width; ++i) ring.sqr(x, x);
        ring.gather(factor, table, entries, exponent_window(job, low, width));
        ring.mul(x, x, factor);
    }
}

// Left to right in windows that begin and end with a set bit; the top bit of the exponent is set.
// The table holds the odd powers.
template <class Ring>
void power_var(Ring& ring, const ModExp& job, Limb* x, Limb* table) {
    const std::size_t len = job.len;
    const unsigned width = sliding_window(job.exponent_bits);
    const std::size_t entries = std::size_t{1} << (width - 1);
    ring.from_base(table, job.base, job.base_len);
    if (entries > 1) ring.sqr(x, table);
    for (std::size_t i = 1; i < entries; ++i) ring.mul(table + i * len, table + (i - 1) * len, x);

    bool started = false;
    for (std::size_t i = job.exponent_bits; i != 0;) {
        if (exponent_bit(job, i - 1) == 0) {
            ring.sqr(x, x);
            --i;
            continue;
        }
        unsigned count = i < width ? static_cast<unsigned>(i) : width;
        while (count > 1 && exponent_bit(job, i - count) == 0) --count;
        i -= count;
        const Limb* const factor = table + (exponent_window(job, i, count) >> 1) * len;
        if (started) {
            for (unsigned k = 0; k < count; ++k) ring.sqr(x, x);
            ring.mul(x, x, factor);
        } else {
            limbs_copy(x, factor, len);
            started = true;
        }
    }
}

std::size_t odd_powers(const ModExp2& job, std::size_t which) {
    return std::size_t{1} << (sliding_window(job.exponent_bits[which]) - 1);
}

// One of two exponents, read from the top in windows as above.
class Windows {
  public:
    Windows(const ModExp2& job, std::size_t which, Limb* table)
        : job_{}, table_(table), width_(sliding_window(job.exponent_bits[which])) {
        job_.base = job.base[which];
        job_.base_len = job.base_len[which];
        job_.exponent = job.exponent[which];
        job_.exponent_bits = job.exponent_bits[which];
        job_.len = job.len;
    }

    // The table of odd powers; x is free room.
    void fill(Montgomery& ring, Limb* x) {
        ring.from_base(table_, job_.base, job_.base_len);
        const std::size_t entries = std::size_t{1} << (width_ - 1);
        if (entries > 1) ring.sqr(x, table_);
        for (std::size_t i = 1; i < entries; ++i)
            ring.mul(table_ + i * job_.len, table_ + (i - 1) * job_.len, x);
    }

    // The factor to multiply by at this bit, or null.
    const Limb* at(std::size_t bit) {
        if (bit >= job_.exponent_bits) return nullptr;
        if (factor_ == nullptr && exponent_bit(job_, bit) != 0) {
            unsigned count = bit + 1 < width_ ? static_cast<unsigned>(bit + 1) : width_;
            while (exponent_bit(job_, bit + 1 - count) == 0) --count;
            low_ = bit + 1 - count;
            factor_ = table_ + (exponent_window(job_, low_, count) >> 1) * job_.len;
        }
        return factor_ != nullptr && low_ == bit ? std::exchange(factor_, nullptr) : nullptr;
    }

  private:
    ModExp job_;
    Limb* table_;
    unsigned width_;
    const Limb* factor_ = nullptr; // of the open window
    std::size_t low_ = 0;          // its last bit
};

// Both exponents in one run of squarings (Handbook of Applied Cryptography, 14.88).
void power2_var(Montgomery& ring, const ModExp2& job, Limb* x, Limb* tables) {
    Windows windows[2] = {{job, 0, tables}, {job, 1, tables + odd_powers(job, 0) * job.len}};
    for (Windows& w : windows) w.fill(ring, x);
    ring.one(x);
    bool started = false;
    for (std::size_t bit = std::max(job.exponent_bits[0], job.exponent_bits[1]); bit-- > 0;) {
        if (started) ring.sqr(x, x);
        for (Windows& w : windows) {
            const Limb* const factor = w.at(bit);
            if (factor == nullptr) continue;
            ring.mul(x, x, factor);
            started = true;
        }
    }
}

template <class Ring>
std::size_t scratch_with(const ModExp& job) {
    return (table_entries(job) + 2) * job.len + Ring::scratch(job.len);
}

template <class Ring>
void run_with(Ring& ring, const ModExp& job, Limb* area) {
    Limb* const x = area;
    Limb* const factor = x + job.len;
    Limb* const table = factor + job.len;
    if (job.is_public) {
        power_var(ring, job, x, table);
    } else {
        power(ring, job, x, factor, table);
    }
    ring.to_result(job.r, x);
}

bool takes_all(const ModExp&) { return true; }

void run_limbs(const ModExp& job, Limb* scratch) { mod_exp_with(limb_kernel(), job, scratch); }

constexpr ModExpKernel kKernels[] = {
    {0, "limbs", takes_all, scratch_with<Montgomery>, run_limbs},
};

} // namespace

std::span<const ModExpKernel> mod_exp_kernels() { return kKernels; }

const ModExpKernel& mod_exp_kernel(const ModExp& job) {
    const ModExpKernel* row = kKernels;
    while (!cpu::has(row->needs) || !row->takes(job)) ++row;
    return *row;
}

void mod_exp_with(const LimbKernel& kernel, const ModExp& job, Limb* scratch) {
    Montgomery ring(kernel, job, scratch);
    run_with(ring, job, scratch + Montgomery::scratch(job.len));
}

std::size_t mod_exp2_scratch(const ModExp2& job) {
    return Montgomery::scratch(job.len) + (1 + odd_powers(job, 0) + odd_powers(job, 1)) * job.len;
}

void mod_exp2(const ModExp2& job, Limb* scratch) {
    ModExp setting = {};
    setting.modulus = job.modulus;
    setting.len = job.len;
    setting.is_public = true;
    Montgomery ring(limb_kernel(), setting, scratch);
    Limb* const x = scratch + Montgomery::scratch(job.len);
    power2_var(ring, job, x, x + job.len);
    ring.to_result(job.r, x);
}

std::size_t mod_exp_any_scratch(const ModExp& job) { return scratch_with<Plain>(job); }

void mod_exp_any(const ModExp& job, Limb* scratch) {
    Plain ring(job, scratch);
    run_with(ring, job, scratch + Plain::scratch(job.len));
}

} // namespace vrq
