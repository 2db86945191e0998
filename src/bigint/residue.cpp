// Products, sums and differences of secret residues, on limbs.
#include "bigint/residue.h"

#include "bigint/limb_div.h"
#include "foundation/scope.h"

#include <algorithm>

namespace vrq {

namespace {

// Both operands and the modulus in limbs, with room for a product and for divisions; wiped.
class Area {
  public:
    Area(const VRQ_BIGINT& a, const VRQ_BIGINT& b, const VRQ_BIGINT& m)
        : n_(value_limbs(m)),
          longest_(std::max({limbs_for(word_count(a)), limbs_for(word_count(b)), 2 * n_ + 1})),
          heap_((4 * n_ + longest_ + limbs_mod_scratch(longest_, n_)) * sizeof(Limb)) {
        if (!heap_ || !is_odd(m)) return;
        usable_ = true;
        m_ = reinterpret_cast<Limb*>(heap_.data());
        a_ = m_ + n_;
        b_ = a_ + n_;
        rr_ = b_ + n_;
        t_ = rr_ + n_;
        load_value(m_, n_, m);
        load(a_, a);
        load(b_, b);
    }

    explicit operator bool() const { return usable_; }

    bool mul(VRQ_BIGINT& r) {
        limbs_clear(t_, 2 * n_);
        t_[2 * n_] = 1;
        limbs_mod(rr_, t_, 2 * n_ + 1, m_, n_, t_ + longest_);
        multiply(a_, b_);
        multiply(a_, rr_);
        return store(r);
    }

    bool add(VRQ_BIGINT& r) {
        const u64 carry = limbs_add(a_, a_, b_, n_);
        limb_kernel().reduce_once(a_, a_, m_, n_, carry);
        return store(r);
    }

    bool sub(VRQ_BIGINT& r) {
        const u64 borrow = limbs_sub(a_, a_, b_, n_);
        limbs_add(t_, a_, m_, n_);
        limbs_move_if(a_, t_, n_, 0 - borrow);
        return store(r);
    }

  private:
    void load(Limb* out, const VRQ_BIGINT& value) {
        const std::size_t words = word_count(value);
        const std::size_t limbs = limbs_for(words);
        words_to_limbs(t_, std::max(limbs, n_), value.data, words);
        if (limbs > n_ || limbs_less(t_, m_, n_) == 0) {
            limbs_mod(out, t_, std::max(limbs, n_), m_, n_, t_ + longest_);
        } else {
            limbs_copy(out, t_, n_);
        }
    }

    // a = a * b / 2^(64 n) mod m.
    void multiply(Limb* a, const Limb* b) {
        const LimbKernel& kernel = limb_kernel();
        kernel.mul(t_, a, n_, b, n_);
        const u64 carry = kernel.redc(t_, m_, n_, n_, negated_inverse(m_[0]));
        kernel.reduce_once(a, t_ + n_, m_, n_, carry);
    }

    bool store(VRQ_BIGINT& r) { return store_value(r, a_, n_); }

    std::size_t n_;
    std::size_t longest_;
    SecretHeap heap_;
    bool usable_ = false;
    Limb* m_ = nullptr;
    Limb* a_ = nullptr;
    Limb* b_ = nullptr;
    Limb* rr_ = nullptr;
    Limb* t_ = nullptr; // longest_ limbs and what division by m needs
};

} // namespace

bool residue_mul(VRQ_BIGINT& r, const VRQ_BIGINT& a, const VRQ_BIGINT& b, const VRQ_BIGINT& m) {
    Area area(a, b, m);
    return area && area.mul(r);
}

bool residue_add(VRQ_BIGINT& r, const VRQ_BIGINT& a, const VRQ_BIGINT& b, const VRQ_BIGINT& m) {
    Area area(a, b, m);
    return area && area.add(r);
}

bool residue_sub(VRQ_BIGINT& r, const VRQ_BIGINT& a, const VRQ_BIGINT& b, const VRQ_BIGINT& m) {
    Area area(a, b, m);
    return area && area.sub(r);
}

bool pad_residue(VRQ_BIGINT& a, const VRQ_BIGINT& m) {
    const std::size_t words = value_words(m);
    const std::size_t used = word_count(a);
    if (used >= words) return true;
    if (!grow(a, words)) return false;
    for (std::size_t i = used; i < words; ++i) a.data[i] = 0;
    a.used = static_cast<i32>(words);
    return true;
}

} // namespace vrq
