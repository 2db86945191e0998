// Entropy units: the pool, its conditioning with SHA-2, entropy inputs and nonces for the Hash_DRBG.
#include "foundation/alloc.h"
#include "foundation/scope.h"
#include "foundation/unit.h"
#include "talvern/digest.h"
#include "talvern/random.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include <malloc.h>

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) {
    return make_status(VRQ_L_ENTROPY, function, reason);
}

// The record is part of the interface.
static_assert(sizeof(VRQ_ENTROPY_UNIT) == 40 && offsetof(VRQ_ENTROPY_UNIT, digest) == 8 &&
              offsetof(VRQ_ENTROPY_UNIT, digest_length) == 16 &&
              offsetof(VRQ_ENTROPY_UNIT, credit) == 20 &&
              offsetof(VRQ_ENTROPY_UNIT, pool_length) == 24 &&
              offsetof(VRQ_ENTROPY_UNIT, pool_capacity) == 28 &&
              offsetof(VRQ_ENTROPY_UNIT, pool) == 32);

constexpr u32 kSpare = 128; // bytes a pool grows by beyond what it needs

using Unit = Owned<VRQ_ENTROPY_UNIT, vrq_Free_ENTROPY_Unit>;

// Appends the data, which may be the unit's own. False when the pool cannot grow; nothing changes then.
bool append(VRQ_ENTROPY_UNIT& unit, const u8* data, u32 length) {
    if (length <= unit.pool_capacity - unit.pool_length) {
        std::memmove(unit.pool + unit.pool_length, data, length);
        unit.pool_length += length;
        return true;
    }

    const u64 capacity = u64{unit.pool_capacity} + length + kSpare;
    if (capacity > std::numeric_limits<u32>::max()) return false;
    auto* grown = static_cast<u8*>(allocate(capacity));
    if (grown == nullptr) return false;

    if (unit.pool_capacity != 0) std::memcpy(grown, unit.pool, unit.pool_length);
    std::memcpy(grown + unit.pool_length, data, length);
    wipe_and_release(unit.pool, unit.pool_capacity);
    unit.pool = grown;
    unit.pool_capacity = static_cast<u32>(capacity);
    unit.pool_length += length;
    return true;
}

void drop_digest(VRQ_ENTROPY_UNIT& unit) {
    wipe_and_release(unit.digest, unit.digest_length);
    unit.digest = nullptr;
    unit.digest_length = 0;
}

// Releases a buffer of a caller, whose size only the allocator knows.
void drop_unsized(u8*& buffer) {
    if (buffer != nullptr) wipe_and_release(buffer, malloc_usable_size(buffer));
    buffer = nullptr;
}

// The conditioning digest of a strength in bytes; 0 when there is none.
u32 digest_of_strength(i32 strength) {
    if (strength <= 14) return VRQ_ID_SHA224;
    if (strength <= 16) return VRQ_ID_SHA256;
    if (strength <= 24) return VRQ_ID_SHA384;
    return strength <= 32 ? VRQ_ID_SHA512 : 0;
}

// Rounds of collection, each of which gives up to one digest, until out is full. The unit holds the
// last round afterwards. A failed round ends with its status in `status`; the count filled returns.
u32 fill(VRQ_ENTROPY_UNIT& unit, u8* out, u32 length, i32 level, u32 hash, u32& status) {
    u32 filled = 0;
    while (filled < length) {
        vrq_Clean_ENTROPY_Unit(&unit);
        status = get_entropy_digest(&unit, level, hash);
        if (status != 0) break;
        const u32 taken = std::min(length - filled, unit.digest_length);
        std::memcpy(out + filled, unit.digest, taken);
        filled += taken;
    }
    return filled;
}

} // namespace

VRQ_ENTROPY_UNIT* vrq_New_ENTROPY_Unit() { return new_unit<VRQ_ENTROPY_UNIT>(); }

void vrq_Clean_ENTROPY_Unit(VRQ_ENTROPY_UNIT* unit) {
    if (unit == nullptr) return;
    wipe_and_release(unit->pool, unit->pool_capacity);
    wipe_and_release(unit->digest, unit->digest_length);
    clear_record(*unit);
}

void vrq_Free_ENTROPY_Unit(VRQ_ENTROPY_UNIT* unit) {
    if (unit == nullptr) return;
    vrq_Clean_ENTROPY_Unit(unit);
    release(unit);
}

u32 vrq_Add_ENTROPY(VRQ_ENTROPY_UNIT* unit, const u8* data, u32 length, u32 credit) {
    if (unit == nullptr || data == nullptr || length == 0 || credit == 0 ||
        !append(*unit, data, length))
        return fail(VRQ_F_ADD_ENTROPY, VRQ_ERR_INVALID_INPUT);
    unit->credit += credit;
    return 0;
}

u32 get_collection_entropy(VRQ_ENTROPY_UNIT* unit, i32 level) {
    if (unit != nullptr) unit->level = level >= 1 && level <= 3 ? level : 2;
    if (vrq_Collect_ENTROPY(unit) != 0) return fail(VRQ_F_COLLECT_ENTROPY, VRQ_ERR_INVALID_INPUT);
    return 0;
}

u32 digest_entropy(VRQ_ENTROPY_UNIT* unit, u32 hash) {
    if (unit == nullptr || unit->credit == 0 || unit->pool_length == 0 || hash == 0)
        return fail(VRQ_F_DIGEST_ENTROPY, VRQ_ERR_INVALID_INPUT);

    drop_digest(*unit);
    // A null digest is refused by the call below, as an unknown identifier is.
    unit->digest = static_cast<u8*>(allocate_zeroed(VRQ_MAX_DIGEST_LENGTH));
    return VRQ_DIGEST(hash, unit->pool, unit->pool_length, unit->digest, &unit->digest_length);
}

u32 get_entropy_digest(VRQ_ENTROPY_UNIT* unit, i32 level, u32 hash) {
    if (const u32 s = get_collection_entropy(unit, level); s != 0) return s;
    return digest_entropy(unit, hash);
}

u32 vrq_Get_ENTROPY(u8* out, u32 length, i32 level, u32 hash) {
    if (out == nullptr || length == 0) return fail(VRQ_F_GET_ENTROPY, VRQ_ERR_NULL_INPUT);

    const Unit unit(vrq_New_ENTROPY_Unit());
    if (!unit) return fail(VRQ_F_GET_ENTROPY, VRQ_ERR_ENTROPY_FAIL);
    u32 status = 0;
    const u32 filled = fill(*unit, out, length, level, hash, status);
    if (status != 0) return fail(VRQ_F_GET_ENTROPY, VRQ_ERR_ENTROPY_FAIL);
    return filled == length ? 0 : fail(VRQ_F_GET_ENTROPY, VRQ_ERR_COMPARE_FAIL);
}

u32 get_entropy_ex(u8* out, u32 length, VRQ_ENTROPY_UNIT** unit_out, i32 level, u32 hash) {
    if (unit_out != nullptr) *unit_out = nullptr;
    if (out == nullptr || length == 0 || unit_out == nullptr)
        return fail(VRQ_F_GET_ENTROPY, VRQ_ERR_NULL_INPUT);

    Unit unit(vrq_New_ENTROPY_Unit());
    if (!unit) return fail(VRQ_F_GET_ENTROPY, VRQ_ERR_ENTROPY_FAIL);
    u32 status = 0;
    const u32 filled = fill(*unit, out, length, level, hash, status);
    if (status != 0) return status;
    if (filled != length) return fail(VRQ_F_GET_ENTROPY, VRQ_ERR_ENTROPY_FAIL);
    *unit_out = unit.release();
    return 0;
}

u32 vrq_Get_ENTROPY_Input(u8** buffer, u32* length, i32 strength, i32 level) {
    constexpr u32 kFunction = VRQ_F_GET_ENTROPY_INPUT;
    if (length == nullptr || buffer == nullptr) return fail(kFunction, VRQ_ERR_INVALID_INPUT);
    const u32 hash = digest_of_strength(strength);
    if (hash == 0) return fail(kFunction, VRQ_ERR_INVALID_INPUT);

    // No length at all while the self tests fail.
    *length = VRQ_Get_DIGEST_Length(hash);
    if (*length == 0 || strength > static_cast<i32>(*length))
        return fail(kFunction, VRQ_ERR_INVALID_INPUT);

    drop_unsized(*buffer);
    auto* bytes = static_cast<u8*>(allocate_zeroed(*length));
    if (vrq_Get_ENTROPY(bytes, *length, level, hash) != 0) {
        wipe_and_release(bytes, *length);
        return fail(kFunction, VRQ_ERR_ENTROPY_FAIL);
    }
    *buffer = bytes;
    return 0;
}

u32 vrq_Get_ENTROPY_Input_With_Nonce_Input(u8** entropy, u32* entropy_length, u8** nonce,
                                           u32* nonce_length, i32 strength, i32 level) {
    constexpr u32 kFunction = VRQ_F_GET_ENTROPY_AND_NONCE_INPUT;
    if (entropy == nullptr || entropy_length == nullptr || nonce == nullptr ||
        nonce_length == nullptr)
        return fail(kFunction, VRQ_ERR_NULL_INPUT);
    const u32 hash = digest_of_strength(strength);
    if (hash == 0) return fail(kFunction, VRQ_ERR_INVALID_INPUT);

    const bool has_entropy = *entropy != nullptr;
    if (!has_entropy) {
        *entropy_length = VRQ_Get_DIGEST_Length(hash);
        if (*entropy_length == 0 || strength > static_cast<i32>(*entropy_length))
            return fail(kFunction, VRQ_ERR_INVALID_INPUT);
    }

    // Released, and wiped, unless it becomes the caller's.
    SecretHeap fresh(*entropy_length);
    VRQ_ENTROPY_UNIT* last = nullptr;
    if (!fresh || get_entropy_ex(fresh.data(), *entropy_length, &last, level, hash) != 0)
        return fail(kFunction, VRQ_ERR_ENTROPY_FAIL);
    const Unit unit(last);

    const u8* source = has_entropy ? *entropy : fresh.data();
    if (*nonce == nullptr) {
        const u32 half = *entropy_length / 2;
        auto* bytes = static_cast<u8*>(allocate_zeroed(std::max<u32>(half, 1)));
        if (bytes == nullptr) return fail(kFunction, VRQ_ERR_ENTROPY_FAIL);
        for (u32 i = 0; i < half; ++i) bytes[i] = source[i] ^ unit->pool[i % unit->pool_length];
        *nonce = bytes;
        *nonce_length = half;
    }
    if (!has_entropy) *entropy = fresh.take();
    return 0;
}
