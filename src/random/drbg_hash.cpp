// Hash_DRBG of NIST SP 800-90A, 10.1.1, with the continuous test of its output blocks.
//
// Every output block is the hash of V + i. V is as long as fills one block of the hash with its
// padding, so each takes exactly one compression, and none depends on another: SHA-256 and SHA-224
// hash several at once, together with the first half of the update hash of 0x03 and V.
#include "random/drbg_hash.h"

#include "digest/digest_table.h"
#include "digest/sha.h"
#include "digest/sha256_multi.h"
#include "digest/sha_constants.h"
#include "foundation/scope.h"
#include "foundation/unit.h"
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

  private:
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
    ManyAtOnce(u32 hash, const u8* v)
        : initial_(hash == VRQ_ID_SHA256 ? kInitial.sha256 : kInitial.sha224) {
        pad(next_, v, kSeed);
        // 0x03 and V, the first of two blocks.
        update_[0] = 0x03;
        std::memcpy(update_ + 1, v, kSeed);
        update_[kSeed + 1] = 0x80;
        std::memset(update_ + kSeed + 2, 0, kBlock - kSeed - 2);
    }
    ~ManyAtOnce() {
        wipe_object(next_);
        wipe_object(update_);
        wipe(blocks_, used_ * kBlock);
        wipe(digests_, used_ * kDigest);
    }
    ManyAtOnce(const ManyAtOnce&) = delete;
    ManyAtOnce& operator=(const ManyAtOnce&) = delete;

    [[nodiscard]] Outcome output(Output& output) {
        for (std::size_t left = output.blocks_left(); left != 0;) {
            const std::size_t taken = std::min(left, kMany - 1);
            left -= taken;
            hash(taken, left == 0);
            for (std::size_t i = 0; i < taken; ++i) {
                if (!output.take(digests_ + i * kDigest)) return Outcome::kRepeatedBlock;
            }
        }
        return Outcome::kDone;
    }

    // The hash of 0x03 and V, after the output. The second block is all padding.
    [[nodiscard]] Outcome update(u8* digest) {
        u8 padding[kBlock] = {};
        store_be(padding + kBlock - 8, u64{(kSeed + 1) * 8});
        Sha256::compress(update_state_, padding, 1);
        BlockHash<Sha256>::put_digest(update_state_, digest, kDigest);
        wipe_object(update_state_);
        return Outcome::kDone;
    }

  private:
    static constexpr std::size_t kSeed = 55;
    static constexpr std::size_t kBlock = 64;
    static constexpr std::size_t kDigest = 32;
    static constexpr std::size_t kMany = 16;

    static void pad(u8* block, const u8* message, std::size_t length) {
        std::memcpy(block, message, length);
        block[length] = 0x80;
        store_be(block + kBlock - 8, u64{length * 8});
    }

    // Hashes the next blocks, behind the last of them also the first half of the update hash.
    void hash(std::size_t count, bool is_last) {
        for (std::size_t i = 0; i < count; ++i) {
            std::memcpy(blocks_ + i * kBlock, next_, kBlock);
            increment(next_, kSeed);
        }
        if (is_last) std::memcpy(blocks_ + count * kBlock, update_, kBlock);
        const std::size_t all = count + (is_last ? 1 : 0);
        used_ = std::max(used_, all);
        sha256_multi(initial_, digests_, blocks_, all);
        if (!is_last) return;
        for (std::size_t i = 0; i < 8; ++i)
            update_state_[i] = load_be<u32>(digests_ + count * kDigest + 4 * i);
    }

    const u32* initial_;
    std::size_t used_ = 0;
    u32 update_state_[8];
    alignas(64) u8 next_[kBlock];
    alignas(64) u8 update_[kBlock];
    alignas(64) u8 blocks_[kMany * kBlock];
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
Outcome generate_with(Hasher& hasher, const drbg::State& state, u8* out, std::size_t length) {
    const drbg::HashRow& row = *state.row;
    Output output(state.last_block, digest_length(row), out, length);
    SecretBytes<drbg::kMaxDigestLength> h;
    Outcome outcome = hasher.output(output);
    if (outcome == Outcome::kDone) outcome = hasher.update(h.data());
    if (outcome != Outcome::kDone) {
        wipe(out, length);
        return outcome;
    }

    drbg::SeedSum sum(state.v, seed_length(row));
    sum.add_digest(h.data(), digest_length(row));
    sum.add(state.c);
    sum.add_number(static_cast<u64>(*state.reseed_counter));
    sum.store(state.v);
    ++*state.reseed_counter;
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
    if (hash == VRQ_ID_SHA256 || hash == VRQ_ID_SHA224) {
        ManyAtOnce hasher(hash, state.v);
        return generate_with(hasher, state, out, length);
    }
    OneByOne hasher(*state.row, state.v);
    return generate_with(hasher, state, out, length);
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
    if (VRQ_Final_DIGEST(unit.get(), w.data(), nullptr) != 0)
        return fail(kFunction, VRQ_ERR_FINAL_DIGEST_FAIL);

    SeedSum sum(v, seed_length(row));
    sum.add_digest(w.data(), digest_length(row));
    sum.store(v);
    return 0;
}

} // namespace vrq::drbg
