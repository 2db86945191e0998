// The block cipher unit: binding by identifier, buffering of partial blocks, block padding
// (PKCS #7, RFC 5652 section 6.3), and the hand-over of whole runs to the engine's mode routine.
#include "cipher/blockcipher_table.h"
#include "cipher/modes.h"
#include "foundation/ct.h"
#include "foundation/scope.h"
#include "foundation/unit.h"
#include "talvern/module.h"

#include <cstddef>

using namespace vrq;

static_assert(offsetof(VRQ_BLOCK_CIPHER_UNIT, rc2_key_bits) == 16);
static_assert(offsetof(VRQ_BLOCK_CIPHER_UNIT, no_padding) == 25);
static_assert(offsetof(VRQ_BLOCK_CIPHER_UNIT, key_setup) == 32);
static_assert(offsetof(VRQ_BLOCK_CIPHER_UNIT, initial_iv) == 52);
static_assert(offsetof(VRQ_BLOCK_CIPHER_UNIT, working_iv) == 68);
static_assert(offsetof(VRQ_BLOCK_CIPHER_UNIT, pending) == 84);
static_assert(offsetof(VRQ_BLOCK_CIPHER_UNIT, keystream) == 116);
static_assert(offsetof(VRQ_BLOCK_CIPHER_UNIT, schedule) == 160);
static_assert(offsetof(VRQ_BLOCK_CIPHER_UNIT, held_back) == 180);
static_assert(offsetof(VRQ_BLOCK_CIPHER_UNIT, init_marker) == 212);
static_assert(sizeof(VRQ_BLOCK_CIPHER_UNIT) == 224);

namespace {

constexpr u32 fail(u32 function, u32 reason) {
    return make_status(VRQ_L_BLOCK_CIPHER, function, reason);
}

using Unit = VRQ_BLOCK_CIPHER_UNIT;

constexpr u32 kInitMarker = 0xFFFFFFFF;
constexpr i32 kMaxBlock = sizeof(Unit::pending); // what the buffers of the record could hold

bool encrypting(const Unit& unit) { return unit.encrypt == 1; }
bool is_padded(const Unit& unit) { return unit.no_padding == 0; }
bool is_block_mode(const Unit& unit) {
    return unit.mode == VRQ_MODE_ECB || unit.mode == VRQ_MODE_CBC;
}

// The mode routine; a unit that is not bound has none. Returns whether it ran.
bool run_mode(Unit& unit, u8* out, const u8* in, i32 length) {
    if (unit.mode_routine == nullptr) return false;
    return unit.mode_routine(&unit, out, in, static_cast<u32>(length)) == 0;
}

VRQ_MODE_ROUTINE* select_routine(const CipherRow& row, u8 mode) {
    switch (mode) {
    case VRQ_MODE_ECB:
        return row.modes->ecb;
    case VRQ_MODE_CBC:
        return row.modes->cbc;
    case VRQ_MODE_CFB:
        return row.modes->cfb;
    case VRQ_MODE_OFB:
        return row.modes->ofb;
    case VRQ_MODE_CTR:
        return row.modes->ctr;
    default:
        return nullptr;
    }
}

// CFB128 is another name of CFB where the block has 128 bits; there is no other partial feedback.
u8 effective_mode(const CipherRow& row, u32 identifier) {
    const u8 mode = mode_of(identifier);
    return mode == VRQ_MODE_CFB128 && row.block_length == 16 ? u8{VRQ_MODE_CFB} : mode;
}

u32 bind_algorithm(Unit& unit, u32 identifier) {
    constexpr u32 kUnknown = fail(VRQ_F_INIT_ALGORITHM, VRQ_ERR_INVALID_ALGORITHM_ID);
    unit.algorithm = 0;
    const CipherRow* row = find_cipher(identifier);
    if (row == nullptr) return kUnknown;

    const u8 mode = effective_mode(*row, identifier);
    if (mode >= VRQ_MODE_CFB1 && mode <= VRQ_MODE_CFB64) return kUnknown;
    if (VRQ_Is_Proven() == 1 && !row->is_approved)
        return fail(VRQ_F_INIT_ALGORITHM, VRQ_ERR_NOT_PROVEN_ALGORITHM);
    VRQ_MODE_ROUTINE* routine = select_routine(*row, mode);
    if (routine == nullptr) return kUnknown;

    unit.algorithm = row->id;
    unit.block_length = row->block_length;
    unit.key_length = row->key_length;
    unit.iv_length = row->block_length;
    unit.rc2_key_bits = row->rc2_key_bits;
    unit.mode = mode;
    unit.key_setup = row->key_setup;
    unit.mode_routine = routine;
    unit.schedule = nullptr;
    unit.schedule_size = static_cast<i32>(row->schedule_size);
    return 0;
}

u32 check_mode(Unit& unit, const u8* iv) {
    constexpr u32 kFunction = VRQ_F_INIT_BLOCKCIPHER;
    switch (unit.mode) {
    case VRQ_MODE_ECB:
        return 0;
    case VRQ_MODE_CBC:
        if (unit.iv_length > VRQ_MAX_BLOCK_LENGTH)
            return fail(kFunction, VRQ_ERR_INVALID_IV_LENGTH);
        if (iv == nullptr) return fail(kFunction, VRQ_ERR_NULL_IV_VALUE);
        return 0; // the key set-up copies the IV
    case VRQ_MODE_CFB:
    case VRQ_MODE_OFB:
        if (iv == nullptr) return fail(kFunction, VRQ_ERR_NULL_IV_VALUE);
        unit.position = 0;
        return 0;
    case VRQ_MODE_CTR:
        if (VRQ_Is_Proven() == 1) return fail(kFunction, VRQ_ERR_NOT_PROVEN_ALGORITHM);
        return 0;
    default:
        return fail(kFunction, VRQ_ERR_INVALID_OPERATION_MASK);
    }
}

// A piece of the message for a unit that holds nothing back: whole blocks go through the mode
// routine, the rest waits. Also decrypts, since the routine knows the direction.
u32 update_blocks(Unit& unit, u8* out, u32& out_length, const u8* in, i32 length) {
    constexpr u32 kFunction = VRQ_F_UPDATE_ENCRYPTION;
    out_length = 0;
    if (length < 1) return fail(kFunction, VRQ_ERR_INVALID_INPUT);
    if (unit.pending_count == 0 && (length & unit.block_mask) == 0) {
        if (!run_mode(unit, out, in, length)) return fail(kFunction, VRQ_ERR_OPERATE_FUNCTION);
        out_length = static_cast<u32>(length);
        return 0;
    }

    const i32 block = unit.block_length;
    if (block > kMaxBlock) return fail(kFunction, VRQ_ERR_CIPHER_ENCRYPT_FAILURE);
    if (in == nullptr) return fail(kFunction, VRQ_ERR_OPERATE_FUNCTION);
    u32 written = 0;
    if (unit.pending_count > 0) {
        const i32 missing = block - unit.pending_count;
        const i32 taken = length < missing ? length : missing;
        std::memcpy(unit.pending + unit.pending_count, in, static_cast<std::size_t>(taken));
        if (length < missing) {
            unit.pending_count += length;
            return 0;
        }
        if (!run_mode(unit, out, unit.pending, block))
            return fail(kFunction, VRQ_ERR_OPERATE_FUNCTION);
        in += missing;
        length -= missing;
        out += block;
        written = static_cast<u32>(block);
    }

    const i32 rest = length & unit.block_mask;
    const i32 whole = length - rest;
    if (whole != 0) {
        if (!run_mode(unit, out, in, whole)) return fail(kFunction, VRQ_ERR_OPERATE_FUNCTION);
        written += static_cast<u32>(whole);
    }
    std::memcpy(unit.pending, in + whole, static_cast<std::size_t>(rest));
    unit.pending_count = rest;
    out_length = written;
    return 0;
}

// Decryption with padding: the last whole block waits, since it may be padding.
u32 update_decryption(Unit& unit, u8* out, u32& out_length, const u8* in, i32 length) {
    constexpr u32 kFailed = fail(VRQ_F_UPDATE_DECRYPTION, VRQ_ERR_UPDATE_FAILURE);
    out_length = 0;
    const i32 block = unit.block_length;
    if (block > kMaxBlock) return fail(VRQ_F_UPDATE_DECRYPTION, VRQ_ERR_CIPHER_DECRYPT_FAILURE);

    const bool released = unit.has_held_back != 0;
    const auto size = static_cast<std::size_t>(block);
    if (released) {
        if (out == nullptr || in == nullptr) return kFailed;
        std::memcpy(out, unit.held_back, size);
        out += size;
    }
    u32 written = 0;
    if (update_blocks(unit, out, written, in, length) != 0) return kFailed;

    unit.has_held_back = 0;
    if (block > 1 && unit.pending_count == 0) {
        written -= static_cast<u32>(block);
        std::memcpy(unit.held_back, out + written, size);
        unit.has_held_back = 1;
    }
    out_length = written + (released ? static_cast<u32>(block) : 0);
    return 0;
}

// Ends a byte stream: what waits is processed as part of one whole block, which leaves the stream
// position where the message found it. The rest of the block is dropped.
u32 final_stream(Unit& unit, u8* out, u32& out_length, u32 function) {
    const bool decrypts = function == VRQ_F_FINAL_DECRYPTION;
    if (decrypts && is_padded(unit)) return fail(function, VRQ_ERR_INVALID_PADDING);
    // With nothing waiting, at a block boundary, nothing of the run would remain.
    if (unit.pending_count == 0 && (decrypts || unit.position == 0)) return 0;

    const u32 failure = decrypts ? VRQ_ERR_CIPHER_DECRYPT_FAILURE : VRQ_ERR_CIPHER_ENCRYPT_FAILURE;
    SecretBytes<kMaxBlock> last;
    if (!run_mode(unit, last.data(), unit.pending, unit.block_length))
        return fail(function, failure);
    if (unit.pending_count > VRQ_MAX_BLOCK_LENGTH)
        return fail(function, decrypts ? u32{VRQ_ERR_OPERATE_FUNCTION} : failure);
    if (unit.pending_count == 0) return 0;
    if (out == nullptr) return fail(function, failure);
    std::memcpy(out, last.data(), static_cast<std::size_t>(unit.pending_count));
    out_length = static_cast<u32>(unit.pending_count);
    return 0;
}

u32 final_encryption(Unit& unit, u8* out, u32& out_length) {
    constexpr u32 kFunction = VRQ_F_FINAL_ENCRYPTION;
    constexpr u32 kFailed = fail(kFunction, VRQ_ERR_CIPHER_ENCRYPT_FAILURE);
    const i32 block = unit.block_length;
    if (block > kMaxBlock) return kFailed;
    if (block < 2) return 0;
    if (!is_block_mode(unit)) return final_stream(unit, out, out_length, kFunction);
    if (!is_padded(unit)) {
        return unit.pending_count == 0 ? 0 : fail(kFunction, VRQ_ERR_INVALID_PADDING);
    }

    const i32 padding = block - unit.pending_count;
    std::memset(unit.pending + unit.pending_count, padding, static_cast<std::size_t>(padding));
    SecretBytes<kMaxBlock> last;
    if (out == nullptr || !run_mode(unit, last.data(), unit.pending, block)) return kFailed;
    if (block > VRQ_MAX_BLOCK_LENGTH) return kFailed;
    std::memcpy(out, last.data(), static_cast<std::size_t>(block));
    out_length = static_cast<u32>(block);
    return 0;
}

// The length of the padding of a block, or 0 where it is malformed. Time tells nothing about the
// bytes: the status does, but only that.
u32 padding_length(const u8* data, u32 block) {
    const u32 length = data[block - 1];
    u32 wrong = ct::is_zero(length) | (block - length) >> 31;
    for (u32 i = 0; i < block; ++i) {
        const u32 is_padding = 0 - ((block - length - 1 - i) >> 31);
        wrong |= is_padding & (data[i] ^ length);
    }
    return ct::select(ct::is_zero(wrong), length, 0);
}

u32 final_decryption(Unit& unit, u8* out, u32& out_length) {
    constexpr u32 kFunction = VRQ_F_FINAL_DECRYPTION;
    constexpr u32 kFailed = fail(kFunction, VRQ_ERR_CIPHER_DECRYPT_FAILURE);
    if (!is_block_mode(unit)) return final_stream(unit, out, out_length, kFunction);
    if (!is_padded(unit)) return unit.pending_count == 0 ? 0 : kFailed;

    if (unit.block_length < 2) return 0;
    if (unit.pending_count != 0) return kFailed;
    if (unit.has_held_back == 0 || unit.block_length > kMaxBlock) return kFailed;
    const u32 block = static_cast<u32>(unit.block_length);
    const u32 padding = padding_length(unit.held_back, block);
    if (padding == 0) return kFailed;
    if (padding == block) return 0;
    if (out == nullptr) return kFailed;
    std::memcpy(out, unit.held_back, block - padding);
    out_length = block - padding;
    return 0;
}

} // namespace

Unit* VRQ_New_BLOCK_CIPHER_Unit() { return new_unit<Unit>(); }

Unit* vrq_New_BLOCK_CIPHER_Unit_Ex(i32 proven) {
    Unit* unit = VRQ_New_BLOCK_CIPHER_Unit();
    if (unit != nullptr) unit->proven = proven;
    return unit;
}

void VRQ_Clean_BLOCK_CIPHER_Unit(Unit* unit) {
    if (unit == nullptr || unit->init_marker != kInitMarker) return;
    wipe_and_release(unit->schedule, static_cast<std::size_t>(unit->schedule_size));
    clear_record(*unit);
}

void VRQ_Free_BLOCK_CIPHER_Unit(Unit* unit) {
    if (unit == nullptr) return;
    VRQ_Clean_BLOCK_CIPHER_Unit(unit);
    release(unit);
}

u32 vrq_Init_Block_Alg(Unit* unit, u32 identifier) {
    if (unit == nullptr) return fail(VRQ_F_INIT_ALGORITHM, VRQ_ERR_INVALID_INPUT);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    return bind_algorithm(*unit, identifier);
}

u32 VRQ_Init_BLOCK_CIPHER(Unit* unit, u32 identifier, const u8* key, const u8* iv, i32 encrypt) {
    constexpr u32 kFunction = VRQ_F_INIT_BLOCKCIPHER;
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_INVALID_INPUT);
    VRQ_Clean_BLOCK_CIPHER_Unit(unit);
    unit->init_marker = kInitMarker;
    unit->proven = VRQ_Is_Proven();
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;

    if (bind_algorithm(*unit, identifier) != 0) return fail(kFunction, VRQ_ERR_INIT_FAILURE);
    unit->encrypt = encrypt;
    unit->schedule = allocate_zeroed(static_cast<std::size_t>(unit->schedule_size));
    if (unit->schedule == nullptr) return fail(kFunction, VRQ_ERR_MALLOC);
    unit->no_padding = identifier & VRQ_NO_PADDING;

    if (const u32 s = check_mode(*unit, iv); s != 0) return s;
    if (unit->key_setup(unit, key, iv, encrypt) != 0) return fail(kFunction, VRQ_ERR_INIT_FAILURE);
    unit->pending_count = 0;
    unit->has_held_back = 0;
    unit->block_mask = unit->block_length - 1;
    return 0;
}

u32 VRQ_Update_BLOCK_CIPHER(Unit* unit, u8* out, u32* out_length, const u8* in, i32 length) {
    if (unit == nullptr || out_length == nullptr || length < 1)
        return fail(VRQ_F_UPDATE_BLOCKCIPHER, VRQ_ERR_INVALID_INPUT);
    if (!encrypting(*unit) && is_padded(*unit))
        return update_decryption(*unit, out, *out_length, in, length);
    return update_blocks(*unit, out, *out_length, in, length);
}

u32 VRQ_Final_BLOCK_CIPHER(Unit* unit, u8* out, u32* out_length) {
    constexpr u32 kFunction = VRQ_F_FINAL_BLOCKCIPHER;
    if (unit == nullptr || out_length == nullptr) return fail(kFunction, VRQ_ERR_INVALID_INPUT);

    *out_length = 0;
    u32 status = 0;
    if (encrypting(*unit)) {
        if (final_encryption(*unit, out, *out_length) != 0)
            status = fail(kFunction, VRQ_ERR_CIPHER_ENCRYPT_FAILURE);
    } else if (final_decryption(*unit, out, *out_length) != 0) {
        status = fail(kFunction, VRQ_ERR_CIPHER_DECRYPT_FAILURE);
    }

    unit->pending_count = 0;
    unit->has_held_back = 0;
    if (unit->iv_length != 0)
        std::memcpy(unit->working_iv, unit->initial_iv, sizeof unit->working_iv);
    return status;
}

u32 VRQ_BLOCK_CIPHER(u32 identifier, i32 encrypt, const u8* key, const u8* iv, const u8* in,
                     i32 length, u8* out, u32* out_length) {
    constexpr u32 kFunction = VRQ_F_BLOCKCIPHER;
    const Owned<Unit, VRQ_Free_BLOCK_CIPHER_Unit> unit(VRQ_New_BLOCK_CIPHER_Unit());
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_MEM_ALLOC);
    if (VRQ_Init_BLOCK_CIPHER(unit.get(), identifier, key, iv, encrypt) != 0)
        return fail(kFunction, VRQ_ERR_INIT_BLOCKCIPHER_FAIL);

    u32 updated = 0;
    u32 finished = 0;
    if (out_length == nullptr ||
        VRQ_Update_BLOCK_CIPHER(unit.get(), out, &updated, in, length) != 0)
        return fail(kFunction, VRQ_ERR_UPDATE_BLOCKCIPHER_FAIL);
    u8* rest = out == nullptr ? nullptr : out + updated;
    if (VRQ_Final_BLOCK_CIPHER(unit.get(), rest, &finished) != 0)
        return fail(kFunction, VRQ_ERR_FINAL_BLOCKCIPHER_FAIL);
    *out_length = updated + finished;
    return 0;
}

u32 VRQ_Get_Block_Alg_ID(const Unit* unit) {
    if (VRQ_Crypto_Initialize() != 0) return 0;
    return unit == nullptr ? 0 : unit->algorithm;
}

u32 vrq_Get_Mode_Length(const Unit* unit) {
    if (unit == nullptr || VRQ_Crypto_Initialize() != 0) return 0;
    switch (unit->mode) {
    case VRQ_MODE_ECB:
    case VRQ_MODE_CBC:
    case VRQ_MODE_CFB:
    case VRQ_MODE_OFB:
    case VRQ_MODE_CTR:
        return static_cast<u32>(unit->block_length);
    case VRQ_MODE_CFB1:
    case VRQ_MODE_CFB8:
        return 1;
    case VRQ_MODE_CFB16:
        return 2;
    case VRQ_MODE_CFB32:
        return 4;
    case VRQ_MODE_CFB64:
        return 8;
    case VRQ_MODE_CFB128:
        return 16;
    default:
        return 0;
    }
}

void set_RC2KeyLength(Unit* unit, std::int64_t bits) {
    if (unit != nullptr) unit->rc2_key_bits = bits;
}

void vrq_Increase_Counter(u8* block) {
    if (block != nullptr) increment_counter<16>(block);
}
