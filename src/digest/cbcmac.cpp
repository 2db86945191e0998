// CBC-MAC (ISO/IEC 9797-1, MAC algorithm 1) over the block cipher unit.
#include "cipher/blockcipher_table.h"
#include "foundation/scope.h"
#include "foundation/unit.h"
#include "talvern/mac.h"
#include "talvern/module.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

using namespace vrq;

static_assert(sizeof(VRQ_CBC_MAC_UNIT) == 144 && offsetof(VRQ_CBC_MAC_UNIT, pending_count) == 136);

namespace {

constexpr u32 fail(u32 function, u32 reason) {
    return make_status(VRQ_L_CBC_MAC, function, reason);
}

using Unit = VRQ_CBC_MAC_UNIT;

// Block length of the cipher, or 0 when none is set.
std::size_t block_length(const Unit& unit) {
    if (unit.cipher == nullptr || unit.cipher->mode_routine == nullptr) return 0;
    const i32 block = unit.cipher->block_length;
    return block > 0 && block <= VRQ_MAX_BLOCK_LENGTH ? static_cast<std::size_t>(block) : 0;
}

// Encrypts the pending block. Returns whether the cipher did.
bool encrypt_pending(Unit& unit, u8* out, u32& out_length, std::size_t block) {
    return VRQ_Update_BLOCK_CIPHER(unit.cipher, out, &out_length, unit.pending,
                                   static_cast<i32>(block)) == 0;
}

bool chain_pending(Unit& unit, std::size_t block) {
    u32 length;
    return encrypt_pending(unit, unit.chain, length, block);
}

// Whole blocks: CBC encryption of which only the chain is kept. The engine's routine for that runs
// on a borrowed unit with the schedule of ours, since an encryption schedule serves every mode.
bool chain_blocks(Unit& unit, const u8* data, std::size_t size, std::size_t block) {
    const CipherRow* row = find_cipher(unit.cipher->algorithm);
    // The routine is that of the algorithm field, so the schedule must have been made for it.
    if (row == nullptr || unit.cipher->schedule_size != static_cast<i32>(row->schedule_size) ||
        block != static_cast<std::size_t>(row->block_length))
        return false;
    VRQ_BLOCK_CIPHER_UNIT cbc{};
    const WipeOnExit wiped(cbc);
    cbc.schedule = unit.cipher->schedule;
    cbc.encrypt = 1;
    std::memcpy(cbc.working_iv, unit.chain, block);

    u8 dropped[4096];
    const std::size_t used = std::min(size, sizeof dropped);
    const ScopeExit wipe_dropped([&dropped, used] { wipe(dropped, used); });
    for (std::size_t piece; size != 0; size -= piece, data += piece) {
        piece = std::min(size, used);
        if (row->modes->cbc(&cbc, dropped, data, static_cast<u32>(piece)) != 0) return false;
    }
    std::memcpy(unit.chain, cbc.working_iv, block);
    return true;
}

} // namespace

Unit* VRQ_New_CBC_MAC_Unit() {
    Unit* unit = new_unit<Unit>("cbcmac.c");
    if (unit == nullptr) return nullptr;
    unit->cipher = VRQ_New_BLOCK_CIPHER_Unit();
    if (unit->cipher != nullptr) return unit;
    release(unit);
    return nullptr;
}

u32 VRQ_Init_CBC_MAC(Unit* unit, u32 algorithm, const u8* key) {
    constexpr u32 kFunction = VRQ_F_INIT_CBC_MAC;
    if (VRQ_Is_Proven() == 1) return fail(kFunction, VRQ_ERR_NOT_PROVEN_ALGORITHM);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    VRQ_Clean_CBC_MAC_Unit(unit);
    if (unit == nullptr || key == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (VRQ_Init_BLOCK_CIPHER(unit->cipher, algorithm & 0xFFFFFF00, key, nullptr, 1) != 0)
        return fail(kFunction, VRQ_ERR_INIT_BLOCKCIPHER_FAIL);
    unit->pending_count = 0;
    return 0;
}

u32 VRQ_Update_CBC_MAC(Unit* unit, const u8* data, i32 length) {
    constexpr u32 kFunction = VRQ_F_UPDATE_CBC_MAC;
    constexpr u32 kFailed = fail(kFunction, VRQ_ERR_UPDATE_BLOCKCIPHER_FAIL);
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    const std::size_t block = block_length(*unit);
    if (block == 0) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (length < 1) return 0;
    if (data == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);

    auto size = static_cast<std::size_t>(length);
    const std::size_t held = static_cast<u32>(unit->pending_count) % block;
    if (held != 0 && size < block - held) {
        std::memcpy(unit->pending + held, data, size);
        unit->pending_count = static_cast<i32>(held + size);
        return 0;
    }
    if (held != 0) {
        // What completes a block meets the chain from its first byte on; callers compare such MACs.
        const std::size_t missing = block - held;
        for (std::size_t i = 0; i < missing; ++i)
            unit->pending[held + i] = static_cast<u8>(data[i] ^ unit->chain[i]);
        if (!chain_pending(*unit, block)) return kFailed;
        data += missing;
        size -= missing;
    }

    const std::size_t rest = size % block;
    if (size != rest && !chain_blocks(*unit, data, size - rest, block)) return kFailed;
    std::memcpy(unit->pending, data + size - rest, rest);
    unit->pending_count = static_cast<i32>(rest);
    return 0;
}

u32 VRQ_Final_CBC_MAC(Unit* unit, u8* out, u32* out_length) {
    constexpr u32 kFunction = VRQ_F_FINAL_CBC_MAC;
    if (unit == nullptr || out == nullptr || out_length == nullptr)
        return fail(kFunction, VRQ_ERR_NULL_INPUT);
    const std::size_t block = block_length(*unit);
    if (block == 0) return fail(kFunction, VRQ_ERR_NULL_INPUT);

    const std::size_t held = static_cast<u32>(unit->pending_count) % block;
    if (held == 0) {
        std::memcpy(out, unit->chain, block);
        *out_length = static_cast<u32>(block);
        return 0;
    }
    std::memcpy(unit->pending + held, unit->chain + held, block - held);
    if (!encrypt_pending(*unit, out, *out_length, block))
        return fail(kFunction, VRQ_ERR_UPDATE_BLOCKCIPHER_FAIL);
    return 0;
}

void VRQ_Clean_CBC_MAC_Unit(Unit* unit) {
    if (unit == nullptr) return;
    VRQ_Clean_BLOCK_CIPHER_Unit(unit->cipher);
    wipe_object(unit->chain);
    wipe_object(unit->pending);
    unit->pending_count = 0;
}

void VRQ_Free_CBC_MAC_Unit(Unit* unit) {
    if (unit == nullptr) return;
    VRQ_Clean_CBC_MAC_Unit(unit);
    VRQ_Free_BLOCK_CIPHER_Unit(unit->cipher);
    release(unit);
}

u32 VRQ_CBC_MAC(u32 algorithm, const u8* key, const u8* data, i32 length, u8* out,
                u32* out_length) {
    constexpr u32 kFunction = VRQ_F_CBC_MAC;
    const Owned<Unit, VRQ_Free_CBC_MAC_Unit> unit(VRQ_New_CBC_MAC_Unit());
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_MEM_ALLOC);
    if (VRQ_Init_CBC_MAC(unit.get(), algorithm, key) != 0)
        return fail(kFunction, VRQ_ERR_INIT_FAILURE);
    if (VRQ_Update_CBC_MAC(unit.get(), data, length) != 0)
        return fail(kFunction, VRQ_ERR_UPDATE_FAILURE);
    if (VRQ_Final_CBC_MAC(unit.get(), out, out_length) != 0)
        return fail(kFunction, VRQ_ERR_FINAL_FAILURE);
    return 0;
}
