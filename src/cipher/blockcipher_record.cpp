// The flat form of an initialised unit, 896 bytes, and the calls that run a message from it. It
// holds an expanded key and code addresses, so it is of use within one process only.
#include "foundation/scope.h"
#include "talvern/cipher.h"

#include <cstddef>
#include <cstring>

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) {
    return make_status(VRQ_L_BLOCK_CIPHER, function, reason);
}

using Unit = VRQ_BLOCK_CIPHER_UNIT;

struct BinaryKey {
    u32 algorithm;
    i32 block_length;
    i32 key_length;
    i32 iv_length;
    std::int64_t rc2_key_bits;
    u8 mode;
    u8 no_padding;
    u8 unused[6];
    VRQ_KEY_SETUP* key_setup;
    VRQ_MODE_ROUTINE* mode_routine;
    i32 encrypt;
    u8 initial_iv[16];
    u8 working_iv[16];
    u8 schedule[788];
    i32 schedule_size;
    i32 has_held_back;
    i32 block_mask;
    u32 init_marker;
    i32 proven;
    u8 unused_at_end[4];
};

static_assert(offsetof(BinaryKey, rc2_key_bits) == 16 && offsetof(BinaryKey, mode) == 24);
static_assert(offsetof(BinaryKey, key_setup) == 32 && offsetof(BinaryKey, encrypt) == 48);
static_assert(offsetof(BinaryKey, initial_iv) == 52 && offsetof(BinaryKey, working_iv) == 68);
static_assert(offsetof(BinaryKey, schedule) == 84 && offsetof(BinaryKey, schedule_size) == 872);
static_assert(offsetof(BinaryKey, proven) == 888);
static_assert(sizeof(BinaryKey) == VRQ_BINARY_KEY_LENGTH);

// The part in front of the schedule has the layout of the unit.
constexpr std::size_t kCommon = offsetof(BinaryKey, schedule);
static_assert(kCommon == offsetof(Unit, pending));

bool fits(i32 schedule_size) {
    return schedule_size >= 0 &&
           static_cast<std::size_t>(schedule_size) <= sizeof(BinaryKey::schedule);
}

void drop_schedule(Unit& unit) {
    if (unit.schedule_size >= 0)
        wipe_and_release(unit.schedule, static_cast<std::size_t>(unit.schedule_size));
    unit.schedule = nullptr;
}

// A unit of a scope, whatever its marker says.
struct LocalUnit : Unit {
    LocalUnit() : Unit{} {}
    ~LocalUnit() {
        drop_schedule(*this);
        wipe(static_cast<Unit*>(this), sizeof(Unit));
    }
    LocalUnit(const LocalUnit&) = delete;
    LocalUnit& operator=(const LocalUnit&) = delete;
};

} // namespace

u32 blockcipher_Unit_to_BinaryKey(const Unit* unit, u8* binary_key, i32* length) {
    if (unit == nullptr || binary_key == nullptr) return 1;
    if (!fits(unit->schedule_size)) return 1; // Blowfish

    BinaryKey record{};
    const WipeOnExit wiped(record);
    std::memcpy(&record, unit, kCommon);
    if (unit->schedule != nullptr)
        std::memcpy(record.schedule, unit->schedule, static_cast<std::size_t>(unit->schedule_size));
    record.schedule_size = unit->schedule_size;
    record.has_held_back = unit->has_held_back;
    record.block_mask = unit->block_mask;
    record.init_marker = unit->init_marker;
    record.proven = unit->proven;
    std::memcpy(binary_key, &record, sizeof record);
    if (length != nullptr) *length = VRQ_BINARY_KEY_LENGTH;
    return 0;
}

u32 blockcipher_BinaryKey_to_Unit(const u8* binary_key, u32, Unit* unit) {
    if (binary_key == nullptr || unit == nullptr) return 1;

    BinaryKey record;
    const WipeOnExit wiped(record);
    std::memcpy(&record, binary_key, sizeof record);
    if (!fits(record.schedule_size)) return 1;
    const auto size = static_cast<std::size_t>(record.schedule_size);

    // A schedule of another size would be overrun, or later wiped in part.
    if (unit->schedule != nullptr && unit->schedule_size != record.schedule_size)
        drop_schedule(*unit);
    if (unit->schedule == nullptr && size != 0) unit->schedule = allocate_zeroed(size);
    if (unit->schedule == nullptr && size != 0) return 1;

    std::memcpy(unit, &record, kCommon);
    if (size != 0) std::memcpy(unit->schedule, record.schedule, size);
    unit->schedule_size = record.schedule_size;
    unit->has_held_back = record.has_held_back;
    unit->block_mask = record.block_mask;
    unit->init_marker = record.init_marker;
    unit->proven = record.proven;
    return 0;
}

u32 VRQ_Init_Advanced_BLOCK_CIPHER(u32 identifier, const u8* key, const u8* iv, i32 encrypt,
                                   u8* binary_key, i32* binary_key_length) {
    constexpr u32 kFunction = VRQ_F_INIT_ADVANCED_BLOCKCIPHER;
    if (key == nullptr || binary_key == nullptr || binary_key_length == nullptr)
        return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if ((identifier & 0xFFFFFF00) == VRQ_ID_BLOWFISH) return fail(kFunction, VRQ_ERR_NOT_SUPPORTED);
    if (*binary_key_length < VRQ_BINARY_KEY_LENGTH) return fail(kFunction, VRQ_ERR_BUF_TOO_SMALL);

    LocalUnit unit;
    if (VRQ_Init_BLOCK_CIPHER(&unit, identifier, key, iv, encrypt) != 0)
        return fail(kFunction, VRQ_ERR_INIT_BLOCKCIPHER_FAIL);
    if (blockcipher_Unit_to_BinaryKey(&unit, binary_key, binary_key_length) != 0)
        return fail(kFunction, VRQ_ERR_SUB_OPERATION_FAILURE);
    return 0;
}

u32 VRQ_DoFinal_Advanced_BLOCK_CIPHER(const u8* binary_key, u32 binary_key_length, const u8* in,
                                      u32 length, u8* out, u32* out_length) {
    constexpr u32 kFunction = VRQ_F_DO_FINAL_ADVANCED_BLOCKCIPHER;
    if (binary_key == nullptr || out == nullptr || out_length == nullptr)
        return fail(kFunction, VRQ_ERR_NULL_INPUT);

    LocalUnit unit;
    if (blockcipher_BinaryKey_to_Unit(binary_key, binary_key_length, &unit) != 0)
        return fail(kFunction, VRQ_ERR_SUB_OPERATION_FAILURE);
    u32 updated = 0;
    u32 finished = 0;
    // A length above what Update counts becomes negative there and is refused.
    if (VRQ_Update_BLOCK_CIPHER(&unit, out, &updated, in, static_cast<i32>(length)) != 0)
        return fail(kFunction, VRQ_ERR_UPDATE_BLOCKCIPHER_FAIL);
    if (VRQ_Final_BLOCK_CIPHER(&unit, out + updated, &finished) != 0)
        return fail(kFunction, VRQ_ERR_FINAL_BLOCKCIPHER_FAIL);
    *out_length = updated + finished;
    return 0;
}
