// Hash_DRBG of NIST SP 800-90A, 10.1.1, with the continuous test of its output blocks.
//
// Every output block is the hash of V + i. V is as long as fills one block of the hash with its
// padding, so each takes exactly one compression, and none depends on another: SHA-256 and SHA-224
// hash several at once, or a single one together with the first half of the update hash of 0x03 and V.
#include "random/drbg_hash.h"

#include "digest/digest_table.h"
#include "digest/sha.h"
#include "digest/sha256_multi.h"
#include "digest/sha_constants.h"
#include "foundation/scope.h"
#include "foundation/unit.h"
#include "random/hashgen_kernels.h"
#include "random/seed_sum.h"
#include "talvern/module.h"

#include <algorithm>
#include <cstring>

using namespace vrq;
using drbg::Outcome;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_DRBG, function, reason); }

constexpr drbg::HashRow kHashes[] = {
    {VRQ_ID_SHA256, 16, 55, 32, true},  {VRQ_ID_SHA224, 14, 55, 28, true},
    {VRQ_ID_SHA384, 24, 111, 48, true}, {VRQ_ID_SHA512, 32, 111, 64, true},
    {VRQ_ID_SHA1, 10, 55, 20, false},   {VRQ_ID_HAS160, 10, 55, 20, false},
};

constexpr sha_constants::InitialValues kInitial = sha_constants::initial_values();

std::size_t seed_length(const drbg::HashRow& row) {
    return static_cast<std::size_t>(row.seed_length);
}
std::size_t digest_length(const drbg::HashRow& row) {
    return static_cast<std::size_t>(row.digest_length);
}

// Both regions are a multiple of four bytes long.
bool are_equal(const u8* a, const u8* b, std::size_t size) {
    u64 difference = 0;
    std::size_t i = 0;
    for (; i + 8 <= size; i += 8) difference |= load_le<u64>(a + i) ^ load_le<u64>(b + i);
    if (i < size) difference |= load_le<u32>(a + i) ^ load_le<u32>(b + i);
    return difference == 0;
}

bool is_zero(const u8* data, std::size_t size) {
    u64 bits = 0;
    std::size_t i = 0;
    for (; i + 8 <= size; i += 8) bits |= load_le<u64>(data + i);
    if (i < size) bits |= load_le<u32>(data + i);
    return bits == 0;
}

// Takes the output blocks one after another: the continuous test, and the bytes asked for.
class Output {
  public:
    Output(u8* last_block, std::size_t block, u8* out, std::size_t length)
        : last_(last_block),
          block_(block),
          out_(out),
          left_(length),
          keeps_back_(is_zero(last_block, block)) {}

    // Blocks still to come.
    std::size_t blocks_left() const {
        return (left_ + block_ - 1) / block_ + (keeps_back_ ? 1 : 0);
    }

    // False when the block equals the one before.
    [[nodiscard]] bool take(const u8* block) {
        if (keeps_back_) {
            keeps_back_ = false;
        } else {
            if (are_equal(block, last_, block_)) return false;
            const std::size_t taken = std::min(block_, left_);
            std::memcpy(out_, block, taken);
            out_ += taken;
            left_ -= taken;
        }
        std::memcpy(last_, block, block_);
        return true;
    }

    // Where the next blocks may be written at once: they are 32 bytes and wanted whole. Or null.
    u8* room(std::size_t blocks) const {
        return !keeps_back_ && block_ == kWide && left_ >= blocks * kWide ? out_ : nullptr;
    }

    // Takes blocks that stand there.
    [[nodiscard]] bool take_in_place(std::size_t blocks) {
        const u8* before = last_;
        for (std::size_t i = 0; i < blocks; ++i) {
            if (are_equal(out_, before, kWide)) return false;
            before = out_;
            out_ += kWide;
        }
        std::memcpy(last_, before, kWide);
        left_ -= blocks * kWide;
        return true;
    }

  private:
    static constexpr std::size_t kWide = 32;

    u8* last_;
    std::size_t block_;
    u8* out_;
    std::size_t left_;
    bool keeps_back_;
};

// Adds one to a big-endian number of more than eight bytes.
void increment(u8* number, std::size_t length) {
    std::size_t at = length;
    do {
        at -= 8;
        const u64 limb = load_be<u64>(number + at) + 1;
        store_be(number + at, limb);
        if (limb != 0) return;
    } while (at >= 8);
    while (at != 0 && ++number[--at] == 0) {}
}

// SHA-256 and SHA-224, many blocks at once.
class ManyAtOnce {
  public:
    ManyAtOnce(const drbg::HashRow& row, const u8* v)
        : initial_(row.hash == VRQ_ID_SHA256 ? kInitial.sha256 : kInitial.sha224) {
        // V, and 0x03 and V, each with the padding that fits its block.
        std::memcpy(next_, v, kSeed);
        next_[kSeed] = 0x80;
        store_be(next_ + kBlock - 8, u64{kSeed * 8});
        update_[0] = 0x03;
        std::memcpy(update_ + 1, v, kSeed);
        store_be(update_ + kSeed + 1, u64{0x80} << 56);
    }
    ~ManyAtOnce() {
        wipe_object(next_); // and what lies behind it
        wipe(digests_, used_ * kDigest);
    }
    ManyAtOnce(const ManyAtOnce&) = delete;
    ManyAtOnce& operator=(const ManyAtOnce&) = delete;

    [[nodiscard]] Outcome output(Output& output) {
        std::size_t left = output.blocks_left();
        // The usual short draw: one block, along with the first half of the update hash.
        if (left == 1) {
            used_ = 2;
            sha256_multi(initial_, digests_, next_, 2);
            has_update_ = true;
            return output.take(digests_) ? Outcome::kDone : Outcome::kRepeatedBlock;
        }
        while (left != 0) {
            const std::size_t taken = std::min({left, kMany, until_overflow()});
            if (!next(output, taken)) return Outcome::kRepeatedBlock;
            advance(taken);
            left -= taken;
        }
        return Outcome::kDone;
    }

    // The hash of 0x03 and V. Its second block is all padding.
    [[nodiscard]] Outcome update(u8* digest) {
        u32 state[8];
        if (has_update_) {
            for (std::size_t i = 0; i < 8; ++i) state[i] = load_be<u32>(digests_ + kDigest + 4 * i);
        } else {
            std::memcpy(state, initial_, sizeof state);
            Sha256::compress(state, update_, 1);
        }
        Sha256::compress(state, kPadding, 1);
        BlockHash<Sha256>::put_digest(state, digest, kDigest);
        wipe_object(state);
        return Outcome::kDone;
    }

  private:
    static constexpr std::size_t kSeed = 55;
    static constexpr std::size_t kBlock = 64;
    static constexpr std::size_t kDigest = 32;
    static constexpr std::size_t kMany = 64;

    // The second block of the update hash: nothing but the length, 448 bits.
    static constexpr u8 kPadding[kBlock] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                            0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                            0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                            0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0xC0};
    static constexpr std::size_t kLowAt = kSeed - 3;

    // False when a block equals the one before.
    bool next(Output& output, std::size_t count) {
        const auto digest = hashgen_kernel(count).digest;
        if (u8* place = output.room(count); place != nullptr) {
            digest(initial_, place, next_, count);
            return output.take_in_place(count);
        }
        used_ = std::max(used_, count);
        digest(initial_, digests_, next_, count);
        for (std::size_t i = 0; i < count; ++i) {
            if (!output.take(digests_ + i * kDigest)) return false;
        }
        return true;
    }

    // Numbers up to the next whose low 24 bits are zero.
    std::size_t until_overflow() const {
        return (std::size_t{1} << 24) - (load_be<u32>(next_ + kLowAt) >> 8);
    }

    void advance(std::size_t count) {
        const std::size_t low = (load_be<u32>(next_ + kLowAt) >> 8) + count;
        for (std::size_t i = 0; i < 3; ++i)
            next_[kLowAt + i] = static_cast<u8>(low >> (16 - 8 * i));
        if (low >> 24 != 0) increment(next_, kLowAt);
    }

    const u32* initial_;
    std::size_t used_ = 0;
    bool has_update_ = false;
    alignas(64) u8 next_[2 * kBlock]; // the update hash's first block stands behind
    u8* const update_ = next_ + kBlock;
    alignas(64) u8 digests_[kMany * kDigest];
};

// Any hash, one message at a time, in an engine context on the stack.
class OneByOne {
  public:
    OneByOne(const drbg::HashRow& row, const u8* v)
        : engine_(*find_digest(row.hash)), length_(seed_length(row)) {
        std::memcpy(v_, v, length_);
        std::memcpy(next_, v, length_);
    }
    ~OneByOne() {
        wipe_object(context_);
        wipe_object(v_);
        wipe_object(next_);
        wipe_object(digest_);
    }
    OneByOne(const OneByOne&) = delete;
    OneByOne& operator=(const OneByOne&) = delete;

    [[nodiscard]] Outcome output(Output& output) {
        for (std::size_t left = output.blocks_left(); left != 0; --left) {
            if (!hash(nullptr, next_, digest_)) return Outcome::kHashFailed;
            if (!output.take(digest_)) return Outcome::kRepeatedBlock;
            increment(next_, length_);
        }
        return Outcome::kDone;
    }

    [[nodiscard]] Outcome update(u8* digest) {
        constexpr u8 kPrefix = 0x03;
        return hash(&kPrefix, v_, digest) ? Outcome::kDone : Outcome::kHashFailed;
    }

  private:
    bool hash(const u8* prefix, const u8* message, u8* digest) {
        if (engine_.init(&context_) != 0) return false;
        if (prefix != nullptr && engine_.update(&context_, prefix, 1) != 0) return false;
        return engine_.update(&context_, message, static_cast<u32>(length_)) == 0 &&
               engine_.final(&context_, digest) == 0;
    }

    const DigestRow& engine_;
    std::size_t length_;
    union {
        VRQ_SHA1_CTX sha1;
        VRQ_SHA512_CTX sha512;
        VRQ_HAS160_CTX has160;
    } context_;
    u8 v_[drbg::kMaxSeedLength];
    u8 next_[drbg::kMaxSeedLength];
    u8 digest_[drbg::kMaxDigestLength];
};

// Output, then V = V + H(0x03 || V) + C + counter.
template <class Hasher>
Outcome generate_with(const drbg::State& state, u8* out, std::size_t length) {
    const drbg::HashRow& row = *state.row;
    Hasher hasher(row, state.v);
    Output output(state.last_block, digest_length(row), out, length);
    SecretBytes<drbg::kMaxDigestLength> h;
    const bool is_short = output.blocks_left() < 10;
    Outcome outcome = hasher.output(output);
    if (outcome == Outcome::kDone) outcome = hasher.update(h.data());
    // The kernels leave V on the stack, from which the output can be told; that of many blocks deep down.
    if (is_short) {
        wipe_stack<1536>();
    } else {
        wipe_stack<3072>();
    }
    if (outcome != Outcome::kDone) {
        wipe(out, length);
        return outcome;
    }

    drbg::add_to_seed(state.v, seed_length(row), state.c, h.data(), digest_length(row),
                      static_cast<u64>(*state.reseed_counter));
    ++*state.reseed_counter;
    wipe_stack(); // hashing and adding spill words of V
    return outcome;
}

} // namespace

namespace vrq::drbg {

const HashRow* find_hash(u32 hash) {
    for (const HashRow& row : kHashes) {
        if (row.hash == hash) return &row;
    }
    return nullptr;
}

Outcome generate(const State& state, u8* out, std::size_t length) {
    const u32 hash = state.row->hash;
    const bool is_wide = hash == VRQ_ID_SHA256 || hash == VRQ_ID_SHA224;
    return is_wide ? generate_with<ManyAtOnce>(state, out, length)
                   : generate_with<OneByOne>(state, out, length);
}

u32 add_additional_input(const HashRow& row, u8* v, const u8* additional, i32 length) {
    constexpr u32 kFunction = VRQ_F_GENERATE_HASHDRBG;
    constexpr u8 kPrefix = 0x02;
    const Owned<VRQ_DIGEST_UNIT, VRQ_Free_DIGEST_Unit> unit(VRQ_New_DIGEST_Unit());
    if (!unit) return fail(kFunction, VRQ_ERR_MALLOC);
    if (VRQ_Init_DIGEST(unit.get(), row.hash) != 0)
        return fail(kFunction, VRQ_ERR_INIT_DIGEST_FAIL);
    if (VRQ_Update_DIGEST(unit.get(), &kPrefix, 1) != 0 ||
        VRQ_Update_DIGEST(unit.get(), v, row.seed_length) != 0 ||
        (length != 0 && VRQ_Update_DIGEST(unit.get(), additional, length) != 0))
        return fail(kFunction, VRQ_ERR_UPDATE_DIGEST_FAIL);
    SecretBytes<kMaxDigestLength> w;
    const u32 status = VRQ_Final_DIGEST(unit.get(), w.data(), nullptr);
    wipe_stack();
    if (status != 0) return fail(kFunction, VRQ_ERR_FINAL_DIGEST_FAIL);

    add_to_seed(v, seed_length(row), nullptr, w.data(), digest_length(row), 0);
    return 0;
}

} // namespace vrq::drbg
