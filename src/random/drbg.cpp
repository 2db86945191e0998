// Hash_DRBG units: life cycle, parameters, instantiate, reseed, generate.
#include "foundation/bytes.h"
#include "foundation/scope.h"
#include "foundation/unit.h"
#include "random/drbg_hash.h"
#include "talvern/digest.h"
#include "talvern/module.h"
#include "talvern/random.h"

#include <algorithm>
#include <cstring>

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_DRBG, function, reason); }

// The records are part of the interface.
static_assert(sizeof(VRQ_DRBG_ENTROPY_INPUT) == 48 &&
              offsetof(VRQ_DRBG_ENTROPY_INPUT, personalization_length) == 16 &&
              offsetof(VRQ_DRBG_ENTROPY_INPUT, entropy) == 24 &&
              offsetof(VRQ_DRBG_ENTROPY_INPUT, personalization) == 40);
static_assert(sizeof(VRQ_DRBG_UNIT) == 200 && offsetof(VRQ_DRBG_UNIT, strength) == 40 &&
              offsetof(VRQ_DRBG_UNIT, v) == 48 && offsetof(VRQ_DRBG_UNIT, c) == 56 &&
              offsetof(VRQ_DRBG_UNIT, seed_length) == 64 &&
              offsetof(VRQ_DRBG_UNIT, additional_length) == 80 &&
              offsetof(VRQ_DRBG_UNIT, output_length) == 96 &&
              offsetof(VRQ_DRBG_UNIT, prediction) == 112 &&
              offsetof(VRQ_DRBG_UNIT, last_block) == 120 &&
              offsetof(VRQ_DRBG_UNIT, last_block_length) == 184 &&
              offsetof(VRQ_DRBG_UNIT, input) == 192);

void drop(u8*& buffer, std::size_t length) {
    wipe_and_release(buffer, length);
    buffer = nullptr;
}

void drop(u8*& buffer, u32& length) {
    drop(buffer, std::size_t{length});
    length = 0;
}

void drop_additional(VRQ_DRBG_UNIT& unit) {
    drop(unit.additional, static_cast<std::size_t>(unit.additional_length));
    unit.additional_length = 0;
}

void drop_output(VRQ_DRBG_UNIT& unit) {
    drop(unit.output, static_cast<std::size_t>(unit.output_length));
}

// Replaces a buffer by a copy of data, if there is any. Only the low byte of the length counts.
// False when there is no memory; the old buffer stays then.
template <class Length>
[[nodiscard]] bool replace(u8*& buffer, Length& length, const u8* data, u32 data_length) {
    if (data == nullptr) return true;
    const u32 taken = data_length % 256;
    auto* copy = static_cast<u8*>(allocate_zeroed(std::max<u32>(taken, 1)));
    if (copy == nullptr) return false;
    std::memcpy(copy, data, taken);
    drop(buffer, static_cast<std::size_t>(length));
    buffer = copy;
    length = static_cast<Length>(taken);
    return true;
}

// V and C have room for the longest seed, whatever the hash: a unit may be bound anew.
[[nodiscard]] bool make_seed_buffer(u8*& buffer) {
    if (buffer == nullptr) buffer = static_cast<u8*>(allocate_zeroed(drbg::kMaxSeedLength));
    return buffer != nullptr;
}

bool has_seed_length(const VRQ_DRBG_UNIT& unit) {
    const drbg::HashRow* row = drbg::find_hash(unit.hash);
    return row != nullptr && row->seed_length == unit.seed_length;
}

// V from the seed material, C from V; counter 1. The reason of a failure, or 0. A unit that fails here is
// as before: one that was never seeded gets no V, which would let it generate from zeros.
u32 seed(VRQ_DRBG_UNIT& unit, const u8* material, std::size_t length) {
    if (length > static_cast<std::size_t>(drbg::kMaxInput)) return VRQ_ERR_HASH_DF_FAIL;
    SecretBytes<1 + drbg::kMaxSeedLength> prefixed;
    SecretBytes<drbg::kMaxSeedLength> c;
    u8* const v = prefixed.data() + 1;
    const auto seed_length = static_cast<std::size_t>(unit.seed_length);
    if (Hash_df(&unit, material, static_cast<u32>(length), v) != 0) return VRQ_ERR_HASH_DF_FAIL;
    prefixed[0] = 0x00;
    if (Hash_df(&unit, prefixed.data(), 1 + static_cast<u32>(seed_length), c.data()) != 0 ||
        !make_seed_buffer(unit.c) || !make_seed_buffer(unit.v))
        return VRQ_ERR_HASH_DF_FAIL;

    std::memcpy(unit.v, v, seed_length);
    std::memcpy(unit.c, c.data(), seed_length);
    unit.reseed_counter = 1;
    unit.instantiated = 1;
    return 0;
}

} // namespace

VRQ_DRBG_ENTROPY_INPUT* vrq_New_DRBG_ENTROPY_Input() { return new_unit<VRQ_DRBG_ENTROPY_INPUT>(); }

void vrq_Clean_DRBG_ENTROPY_Input(VRQ_DRBG_ENTROPY_INPUT* input) {
    if (input == nullptr) return;
    drop(input->entropy, input->entropy_length);
    drop(input->nonce, input->nonce_length);
    drop(input->personalization, input->personalization_length);
    clear_record(*input);
}

void vrq_Free_DRBG_ENTROPY_Input(VRQ_DRBG_ENTROPY_INPUT* input) {
    if (input == nullptr) return;
    vrq_Clean_DRBG_ENTROPY_Input(input);
    release(input);
}

VRQ_DRBG_UNIT* vrq_New_DRBG_Unit() {
    auto* unit = new_unit<VRQ_DRBG_UNIT>();
    if (unit == nullptr) return nullptr;
    unit->input = vrq_New_DRBG_ENTROPY_Input();
    if (unit->input != nullptr) return unit;
    release(unit);
    return nullptr;
}

void vrq_Clean_DRBG_Unit(VRQ_DRBG_UNIT* unit) {
    if (unit == nullptr) return;
    drop(unit->v, drbg::kMaxSeedLength);
    drop(unit->c, drbg::kMaxSeedLength);
    release(unit->reserved);
    drop_additional(*unit);
    drop_output(*unit);
    vrq_Free_DRBG_ENTROPY_Input(unit->input);
    clear_record(*unit);
}

void vrq_Free_DRBG_Unit(VRQ_DRBG_UNIT* unit) {
    if (unit == nullptr) return;
    vrq_Clean_DRBG_Unit(unit);
    release(unit);
}

u32 vrq_Init_DRBG(VRQ_DRBG_UNIT* unit, u32 hash, u32 type, u32 prediction, i32 level) {
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (unit == nullptr) return fail(VRQ_F_INIT_DRBG, VRQ_ERR_NULL_INPUT);
    unit->hash = hash;
    unit->type = type;
    unit->prediction = prediction;
    if (type != 0) return fail(VRQ_F_INIT_DRBG, VRQ_ERR_NOT_SUPPORTED);
    if (const u32 s = vrq_Init_HashDRBG(unit); s != 0) return s;
    unit->input->level = level;
    return 0;
}

u32 vrq_Init_HashDRBG(VRQ_DRBG_UNIT* unit) {
    constexpr u32 kFunction = VRQ_F_INIT_HASHDRBG;
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    const drbg::HashRow* row = drbg::find_hash(unit->hash);
    if (VRQ_Is_Proven() == 1 && (row == nullptr || !row->is_approved))
        return fail(kFunction, VRQ_ERR_NOT_PROVEN_ALGORITHM);
    if (row == nullptr) return fail(kFunction, VRQ_ERR_NOT_SUPPORTED);

    if (unit->input == nullptr) unit->input = vrq_New_DRBG_ENTROPY_Input();
    if (unit->input == nullptr) return fail(kFunction, VRQ_ERR_MEM_ALLOC);
    // No length while the self tests fail.
    if (VRQ_Get_DIGEST_Length(unit->hash) == 0)
        return fail(VRQ_F_RAND_BYTES_DRBG, VRQ_ERR_NULL_INPUT);

    drop_output(*unit); // its length is about to change
    unit->strength = row->strength;
    unit->seed_length = row->seed_length;
    unit->digest_length = row->digest_length;
    unit->output_length = row->digest_length;
    unit->last_block_length = static_cast<u32>(row->digest_length);
    unit->min_entropy_length = row->strength;
    unit->max_entropy_length = drbg::kMaxInput;
    unit->min_nonce_length = row->strength / 2;
    unit->max_nonce_length = drbg::kMaxInput;
    unit->max_personalization_length = drbg::kMaxInput;
    unit->max_additional_length = drbg::kMaxInput;
    return 0;
}

u32 vrq_Set_Instantiate_DRBG_Param(VRQ_DRBG_UNIT* unit, const u8* entropy, u32 entropy_length,
                                   const u8* nonce, u32 nonce_length, const u8* personalization,
                                   u32 personalization_length) {
    if (unit == nullptr || unit->input == nullptr) return 1;
    VRQ_DRBG_ENTROPY_INPUT& input = *unit->input;
    if (!replace(input.entropy, input.entropy_length, entropy, entropy_length) ||
        !replace(input.nonce, input.nonce_length, nonce, nonce_length) ||
        !replace(input.personalization, input.personalization_length, personalization,
                 personalization_length))
        return fail(VRQ_F_INSTANTIATE_DRBG, VRQ_ERR_MEM_ALLOC);
    return 0;
}

u32 vrq_Set_Reseed_DRBG_Param(VRQ_DRBG_UNIT* unit, const u8* additional, u32 additional_length,
                              const u8* entropy, u32 entropy_length) {
    if (unit == nullptr || unit->input == nullptr) return 1;
    if (!replace(unit->additional, unit->additional_length, additional, additional_length) ||
        !replace(unit->input->entropy, unit->input->entropy_length, entropy, entropy_length))
        return fail(VRQ_F_RESEED_DRBG, VRQ_ERR_MEM_ALLOC);
    return 0;
}

u32 vrq_Set_Generate_DRBG_Param(VRQ_DRBG_UNIT* unit, const u8* additional, u32 additional_length,
                                const u8* entropy, u32 entropy_length) {
    if (unit == nullptr || unit->input == nullptr) return 1;
    if (!replace(unit->additional, unit->additional_length, additional, additional_length) ||
        !replace(unit->input->entropy, unit->input->entropy_length, entropy, entropy_length))
        return fail(VRQ_F_GENERATE_DRBG, VRQ_ERR_MEM_ALLOC);
    return 0;
}

u32 vrq_Instantiate_DRBG(VRQ_DRBG_UNIT* unit, i32 strength) {
    constexpr u32 kFunction = VRQ_F_INSTANTIATE_DRBG;
    if (unit == nullptr || unit->input == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    VRQ_DRBG_ENTROPY_INPUT& input = *unit->input;
    if (strength != 0) unit->strength = strength;
    if (input.personalization_length > static_cast<u32>(unit->max_personalization_length))
        return fail(kFunction, VRQ_ERR_COMPARE_FAIL);

    if (input.entropy == nullptr || input.nonce == nullptr) {
        const u32 s = vrq_Get_ENTROPY_Input_With_Nonce_Input(&input.entropy, &input.entropy_length,
                                                             &input.nonce, &input.nonce_length,
                                                             unit->strength, input.level);
        if (s != 0) return s;
    }
    if (input.entropy_length < static_cast<u32>(unit->min_entropy_length) ||
        input.entropy_length > static_cast<u32>(unit->max_entropy_length) ||
        input.nonce_length > static_cast<u32>(unit->max_nonce_length))
        return fail(kFunction, VRQ_ERR_COMPARE_FAIL);
    if (unit->type != 0) return fail(kFunction, VRQ_ERR_NOT_SUPPORTED);

    const u32 status = vrq_Instantiate_HashDRBG(unit);
    drop(input.entropy, input.entropy_length);
    drop(input.nonce, input.nonce_length);
    drop(input.personalization, input.personalization_length);
    return status;
}

u32 vrq_Instantiate_HashDRBG(VRQ_DRBG_UNIT* unit) {
    constexpr u32 kFunction = VRQ_F_INSTANTIATE_HASHDRBG;
    if (unit == nullptr || unit->input == nullptr || unit->input->entropy == nullptr)
        return fail(kFunction, VRQ_ERR_NULL_INPUT);
    const VRQ_DRBG_ENTROPY_INPUT& input = *unit->input;
    if (input.personalization_length > static_cast<u32>(drbg::kMaxInput))
        return fail(kFunction, VRQ_ERR_INPUT_BUF_TOO_BIG);
    if (!has_seed_length(*unit)) return fail(kFunction, VRQ_ERR_HASH_DF_FAIL);

    const std::size_t length =
        std::size_t{input.entropy_length} + input.nonce_length + input.personalization_length;
    SecretHeap material(length);
    if (!material) return fail(kFunction, VRQ_ERR_HASH_DF_FAIL);
    u8* end = material.data();
    const auto append = [&end](const u8* data, u32 size) {
        if (data == nullptr) return;
        std::memcpy(end, data, size);
        end += size;
    };
    append(input.entropy, input.entropy_length);
    append(input.nonce, input.nonce_length);
    append(input.personalization, input.personalization_length);

    const u32 reason =
        seed(*unit, material.data(), static_cast<std::size_t>(end - material.data()));
    return reason == 0 ? 0 : fail(kFunction, reason);
}

u32 vrq_Reseed_DRBG(VRQ_DRBG_UNIT* unit) {
    constexpr u32 kFunction = VRQ_F_RESEED_DRBG;
    if (unit == nullptr || unit->input == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    VRQ_DRBG_ENTROPY_INPUT& input = *unit->input;
    const ScopeExit used([unit, &input] {
        drop(input.entropy, input.entropy_length);
        drop_additional(*unit);
    });
    if (unit->additional_length > unit->max_additional_length)
        return fail(kFunction, VRQ_ERR_COMPARE_FAIL);
    if (input.entropy == nullptr && vrq_Get_ENTROPY_Input(&input.entropy, &input.entropy_length,
                                                          unit->strength, input.level) != 0)
        return fail(kFunction, VRQ_ERR_SUB_OPERATION_FAILURE);
    if (unit->type != 0) return fail(kFunction, VRQ_ERR_NOT_SUPPORTED);
    return vrq_Reseed_HashDRBG(unit);
}

u32 vrq_Reseed_HashDRBG(VRQ_DRBG_UNIT* unit) {
    constexpr u32 kFunction = VRQ_F_RESEED_HASHDRBG;
    if (unit == nullptr || unit->input == nullptr || unit->input->entropy == nullptr ||
        unit->v == nullptr)
        return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (unit->additional_length > drbg::kMaxInput)
        return fail(kFunction, VRQ_ERR_INPUT_BUF_TOO_BIG);
    if (!has_seed_length(*unit)) return fail(kFunction, VRQ_ERR_HASH_DF_FAIL);

    const auto seed_length = static_cast<std::size_t>(unit->seed_length);
    const auto additional_length =
        unit->additional == nullptr ? 0 : static_cast<std::size_t>(unit->additional_length);
    const std::size_t length = 1 + seed_length + unit->input->entropy_length + additional_length;
    SecretHeap material(length);
    if (!material) return fail(kFunction, VRQ_ERR_HASH_DF_FAIL);
    u8* end = material.data();
    *end++ = 0x01;
    std::memcpy(end, unit->v, seed_length);
    end += seed_length;
    std::memcpy(end, unit->input->entropy, unit->input->entropy_length);
    end += unit->input->entropy_length;
    if (additional_length != 0) std::memcpy(end, unit->additional, additional_length);

    const u32 reason = seed(*unit, material.data(), length);
    return reason == 0 ? 0 : fail(kFunction, reason);
}

u32 Hash_df(const VRQ_DRBG_UNIT* unit, const u8* input, u32 length, u8* out) {
    constexpr u32 kFunction = VRQ_F_RAND_BYTES_DRBG; // callers compare this code
    if (unit == nullptr || input == nullptr || out == nullptr)
        return fail(kFunction, VRQ_ERR_NULL_INPUT);
    const Owned<VRQ_DIGEST_UNIT, VRQ_Free_DIGEST_Unit> digest(VRQ_New_DIGEST_Unit());
    if (!digest) return fail(kFunction, VRQ_ERR_MALLOC);
    if (VRQ_Init_DIGEST(digest.get(), unit->hash) != 0)
        return fail(kFunction, VRQ_ERR_INIT_DIGEST_FAIL);

    // A counter byte and the number of bits asked for, then the input.
    u8 prefix[5] = {};
    store_be(prefix + 1, static_cast<u32>(unit->seed_length) * 8);
    SecretBytes<drbg::kMaxDigestLength> block;
    for (i32 filled = 0; filled < unit->seed_length;) {
        ++prefix[0];
        if (VRQ_Update_DIGEST(digest.get(), prefix, sizeof prefix) != 0 ||
            (length != 0 && VRQ_Update_DIGEST(digest.get(), input, static_cast<i32>(length)) != 0))
            return fail(kFunction, VRQ_ERR_UPDATE_DIGEST_FAIL);
        u32 got = 0;
        if (VRQ_Final_DIGEST(digest.get(), block.data(), &got) != 0)
            return fail(kFunction, VRQ_ERR_FINAL_DIGEST_FAIL);
        const i32 taken = std::min(static_cast<i32>(got), unit->seed_length - filled);
        std::memcpy(out + filled, block.data(), static_cast<std::size_t>(taken));
        filled += taken;
    }
    wipe_stack();
    return 0;
}

namespace {

// The mechanism of a unit that has been seeded, into out.
u32 generate_into(VRQ_DRBG_UNIT& unit, u8* out, i32 length) {
    constexpr u32 kFunction = VRQ_F_GENERATE_HASHDRBG;
    if (unit.reseed_counter > drbg::kReseedInterval || unit.additional_length > drbg::kMaxInput)
        return fail(kFunction, VRQ_ERR_INPUT_BUF_TOO_BIG);
    const drbg::HashRow* row = drbg::find_hash(unit.hash);
    const bool is_seeded = unit.v != nullptr && unit.c != nullptr;
    if (is_seeded && row == nullptr && unit.additional_length > 0)
        return fail(kFunction, VRQ_ERR_INIT_DIGEST_FAIL);
    if (!is_seeded || row == nullptr || row->seed_length != unit.seed_length || length < 1)
        return fail(kFunction, VRQ_ERR_HASH_GEN_FAIL);

    // An empty additional input is none (SP 800-90A, 10.1.1.4).
    if (unit.additional_length > 0) {
        const u32 s =
            drbg::add_additional_input(*row, unit.v, unit.additional, unit.additional_length);
        if (s != 0) return s;
    }
    if (unit.last_block_length != static_cast<u32>(row->digest_length))
        return fail(kFunction, VRQ_ERR_CONDITION_TEST_FAIL);
    const drbg::State state{row, unit.v, unit.c, &unit.reseed_counter, unit.last_block};
    switch (drbg::generate(state, out, static_cast<std::size_t>(length))) {
    case drbg::Outcome::kDone:
        return 0;
    case drbg::Outcome::kRepeatedBlock:
        return fail(kFunction, VRQ_ERR_CONDITION_TEST_FAIL);
    default:
        return fail(kFunction, VRQ_ERR_HASH_GEN_FAIL);
    }
}

} // namespace

u32 vrq_Generate_HashDRBG(VRQ_DRBG_UNIT* unit) {
    constexpr u32 kFunction = VRQ_F_GENERATE_HASHDRBG;
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (unit->output_length >= 1 && unit->output == nullptr) {
        unit->output =
            static_cast<u8*>(allocate_zeroed(static_cast<std::size_t>(unit->output_length)));
        if (unit->output == nullptr) return fail(kFunction, VRQ_ERR_MALLOC);
    }
    return generate_into(*unit, unit->output, unit->output_length);
}

u32 vrq_Generate_DRBG(VRQ_DRBG_UNIT* unit, u8* out, i32 length) {
    constexpr u32 kFunction = VRQ_F_GENERATE_DRBG;
    if (unit == nullptr || out == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (length < 1) return fail(kFunction, VRQ_ERR_INVALID_INPUT);
    drop_output(*unit);
    unit->output_length = length;

    const bool is_due = unit->prediction != 0 || unit->reseed_counter > drbg::kReseedInterval;
    if (is_due && vrq_Reseed_DRBG(unit) != 0) return fail(kFunction, VRQ_ERR_SUB_OPERATION_FAILURE);
    if (unit->type != 0) return fail(kFunction, VRQ_ERR_NOT_SUPPORTED);

    // Straight to the caller: the unit's own output buffer serves the mechanism alone.
    const u32 status = generate_into(*unit, out, length);
    drop_additional(*unit);
    if (status != 0) wipe(out, static_cast<std::size_t>(length));
    return status;
}
