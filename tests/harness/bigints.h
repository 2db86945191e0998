// Big integers in tests: owned records, operands that go wrong easily, and libcrypto as the oracle.
#pragma once

#include "talvern/bigint.h"
#include "talvern/memory.h"

#include <gtest/gtest.h>
#include <openssl/bn.h>

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace test {

// Calls one of the functions that give a text which the caller releases.
template <class Call>
std::string text_of(Call call, const VRQ_BIGINT* a) {
    char* const text = call(a);
    const std::string copy = text == nullptr ? "(null)" : text;
    VRQ_Free(text, __FILE__, __LINE__);
    return copy;
}

// An owned record.
class Int {
  public:
    Int() : record_(VRQ_New_BIGINT()) {}
    explicit Int(const std::string& hex) : record_(VRQ_HEX_To_BIGINT(hex.c_str())) { trim(); }
    explicit Int(const std::vector<std::uint8_t>& bytes)
        : record_(VRQ_Binary_To_BIGINT(bytes.empty() ? &kNoByte : bytes.data(),
                                       static_cast<int32_t>(bytes.size()), nullptr)) {}
    explicit Int(const VRQ_BIGINT* a) : record_(VRQ_Dup_BIGINT(a)) {}
    explicit Int(const BIGNUM* n) : Int(hex_of(n)) {}
    Int(const Int& other) : record_(VRQ_Dup_BIGINT(other.record_)) {}
    Int& operator=(const Int&) = delete;
    ~Int() {
        if (record_ != nullptr) VRQ_Free_BIGINT(record_);
    }

    operator VRQ_BIGINT*() const { return record_; } // NOLINT(google-explicit-constructor)
    VRQ_BIGINT* operator->() const { return record_; }
    std::string hex() const { return text_of(VRQ_BIGINT_To_HEX, record_); }

    static std::string hex_of(const BIGNUM* n) {
        char* const text = BN_bn2hex(n);
        const std::string copy = text;
        OPENSSL_free(text);
        return copy;
    }

  private:
    static constexpr std::uint8_t kNoByte = 0;

    void trim() const {
        while (record_->used > 0 && record_->data[record_->used - 1] == 0) record_->used -= 1;
    }

    VRQ_BIGINT* record_;
};

// The same value with two leading zero words, as a text with leading zeros gives it.
inline void widen(VRQ_BIGINT* a) {
    if (vrq_Expand_BIGINT(a, a->used + 2) == nullptr) return;
    a->data[a->used++] = 0;
    a->data[a->used++] = 0;
}

// The same value with a zero word on top, as VRQ_HEX_To_BIGINT makes it of a text that starts with zeros.
inline Int with_leading_zeros(const VRQ_BIGINT* a) {
    Int out(a);
    EXPECT_NE(nullptr, vrq_Expand_BIGINT(out, a->used + 1));
    out->data[out->used++] = 0;
    return out;
}

struct BnFree {
    void operator()(BIGNUM* n) const { BN_free(n); }
    void operator()(BN_CTX* context) const { BN_CTX_free(context); }
};

// The same number on the other side.
class Bn {
  public:
    Bn() : n_(BN_new()) {}
    explicit Bn(const VRQ_BIGINT* a) : n_(BN_new()) {
        BIGNUM* n = n_.get();
        BN_hex2bn(&n, text_of(VRQ_BIGINT_To_HEX, a).c_str());
    }
    operator BIGNUM*() const { return n_.get(); } // NOLINT(google-explicit-constructor)

    // In the form of VRQ_BIGINT_To_HEX.
    std::string hex() const {
        const std::string text = Int::hex_of(n_.get());
        const std::size_t first = text.find_first_not_of('0');
        return first == std::string::npos ? "0" : text.substr(first);
    }

  private:
    std::unique_ptr<BIGNUM, BnFree> n_;
};

// Words of operands with the carries, borrows and quotient estimates that random ones rarely have.
class Operands {
  public:
    explicit Operands(std::uint64_t seed) : random_(seed) {}

    std::size_t below(std::size_t bound) { return random_() % bound; }

    std::uint64_t limb() {
        switch (random_() % 8) {
        case 0:
            return 0;
        case 1:
            return ~std::uint64_t{0};
        case 2:
            return std::uint64_t{1} << 63;
        case 3:
            return random_() % 3;
        default:
            return random_();
        }
    }

    std::vector<std::uint64_t> limbs(std::size_t n) {
        std::vector<std::uint64_t> out(n);
        const std::size_t shape = random_() % 8;
        for (std::uint64_t& x : out) {
            x = shape == 0 ? ~std::uint64_t{0} : shape == 1 ? 0 : shape < 4 ? random_() : limb();
        }
        if (shape == 1 && n != 0) out[random_() % n] = limb();
        return out;
    }

    std::vector<std::uint32_t> words(std::size_t n) {
        std::vector<std::uint32_t> out;
        for (const std::uint64_t x : limbs(n / 2 + 1)) {
            out.push_back(static_cast<std::uint32_t>(x));
            out.push_back(static_cast<std::uint32_t>(x >> 32));
        }
        out.resize(n);
        return out;
    }

    // A value of at most so many words.
    Int value(std::size_t n) {
        const std::vector<std::uint32_t> data = words(n);
        std::vector<std::uint8_t> bytes;
        for (std::size_t i = n; i-- > 0;) {
            for (unsigned shift = 32; shift != 0; shift -= 8)
                bytes.push_back(static_cast<std::uint8_t>(data[i] >> (shift - 8)));
        }
        return Int(bytes);
    }

    Int odd_value(std::size_t n) {
        Int a = value(n);
        VRQ_Set_BIGINT_Bit(a, 0);
        return a;
    }

  private:
    std::mt19937_64 random_;
};

} // namespace test
