// The digest unit: one record over eight hash engines, bound by identifier.
#include "digest/digest_table.h"
#include "foundation/scope.h"
#include "foundation/unit.h"
#include "talvern/module.h"

#include <cctype>

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_DIGEST, function, reason); }

// The record is part of the interface.
static_assert(sizeof(VRQ_DIGEST_UNIT) == 64 && offsetof(VRQ_DIGEST_UNIT, block_length) == 4 &&
              offsetof(VRQ_DIGEST_UNIT, digest_length) == 8 &&
              offsetof(VRQ_DIGEST_UNIT, context) == 16 &&
              offsetof(VRQ_DIGEST_UNIT, context_size) == 24 &&
              offsetof(VRQ_DIGEST_UNIT, init) == 32 && offsetof(VRQ_DIGEST_UNIT, update) == 40 &&
              offsetof(VRQ_DIGEST_UNIT, final) == 48 &&
              offsetof(VRQ_DIGEST_UNIT, init_marker) == 56 &&
              offsetof(VRQ_DIGEST_UNIT, restricted) == 60);

// Room for the context of any engine.
union AnyContext {
    VRQ_SHA512_CTX sha512;
    VRQ_SHA256_CTX sha256;
    VRQ_SHA1_CTX sha1;
    VRQ_MD5_CTX md5;
    VRQ_HAS160_CTX has160;
    VRQ_MDC2_CTX mdc2;
};

constexpr std::size_t kNameSize = 16;

} // namespace

VRQ_DIGEST_UNIT* VRQ_New_DIGEST_Unit() { return new_unit<VRQ_DIGEST_UNIT>(); }

VRQ_DIGEST_UNIT* vrq_New_DIGEST_Unit_Ex(i32 restricted) {
    VRQ_DIGEST_UNIT* unit = VRQ_New_DIGEST_Unit();
    if (unit != nullptr) unit->restricted = restricted;
    return unit;
}

u32 vrq_Init_DIGEST_Alg(VRQ_DIGEST_UNIT* unit, u32 algorithm) {
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (unit == nullptr) return fail(VRQ_F_INIT_DIGEST_ALG, VRQ_ERR_NULL_INPUT);

    unit->algorithm = algorithm;
    const DigestRow* row = find_digest(algorithm);
    if (row != nullptr && !row->is_approved && VRQ_Is_Proven() == 1)
        return fail(VRQ_F_INIT_DIGEST_ALG, VRQ_ERR_NOT_PROVEN_ALGORITHM);
    if (row == nullptr || (algorithm == VRQ_ID_MDC2 && unit->restricted != 0)) {
        unit->algorithm = 0;
        return fail(VRQ_F_INIT_DIGEST_ALG, VRQ_ERR_INVALID_ALGORITHM_ID);
    }

    unit->digest_length = row->digest_length;
    unit->block_length = row->block_length;
    unit->context_size = row->context_size;
    unit->context = nullptr;
    unit->init = row->init;
    unit->update = row->update;
    unit->final = row->final;
    return 0;
}

u32 VRQ_Init_DIGEST(VRQ_DIGEST_UNIT* unit, u32 algorithm) {
    if (unit == nullptr) return fail(VRQ_F_INIT_DIGEST, VRQ_ERR_NULL_INPUT);
    VRQ_Clean_DIGEST_Unit(unit);
    unit->init_marker = kInitialized;
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    // Callers rely on this status for a refused algorithm too.
    if (vrq_Init_DIGEST_Alg(unit, algorithm) != 0)
        return fail(VRQ_F_INIT_DIGEST, VRQ_ERR_SUB_OPERATION_FAILURE);

    unit->context = allocate_zeroed(static_cast<std::size_t>(unit->context_size));
    if (unit->context == nullptr || unit->init(unit->context) != 0)
        return fail(VRQ_F_INIT_DIGEST, VRQ_ERR_INIT_DIGEST_FAIL);
    return 0;
}

u32 VRQ_Update_DIGEST(VRQ_DIGEST_UNIT* unit, const u8* data, i32 length) {
    if (unit == nullptr || data == nullptr || unit->update == nullptr)
        return fail(VRQ_F_UPDATE_DIGEST, VRQ_ERR_NULL_INPUT);
    if (length < 0) return fail(VRQ_F_UPDATE_DIGEST, VRQ_ERR_INVALID_INPUT);
    if (unit->update(unit->context, data, static_cast<u32>(length)) != 0)
        return fail(VRQ_F_UPDATE_DIGEST, VRQ_ERR_UPDATE_DIGEST_FAIL);
    return 0;
}

u32 VRQ_Final_DIGEST(VRQ_DIGEST_UNIT* unit, u8* out, u32* out_length) {
    if (unit == nullptr || out == nullptr || unit->final == nullptr)
        return fail(VRQ_F_FINAL_DIGEST, VRQ_ERR_NULL_INPUT);
    if (unit->final(unit->context, out) != 0)
        return fail(VRQ_F_FINAL_DIGEST, VRQ_ERR_FINAL_DIGEST_FAIL);
    unit->init(unit->context);
    if (out_length != nullptr) *out_length = unit->digest_length;
    return 0;
}

void VRQ_Clean_DIGEST_Unit(VRQ_DIGEST_UNIT* unit) {
    if (unit == nullptr || unit->init_marker != kInitialized) return;
    if (unit->context_size != 0)
        wipe_and_release(unit->context, static_cast<std::size_t>(unit->context_size));
    clear_record(*unit);
}

void VRQ_Free_DIGEST_Unit(VRQ_DIGEST_UNIT* unit) {
    if (unit == nullptr) return;
    VRQ_Clean_DIGEST_Unit(unit);
    release(unit);
}

u32 VRQ_DIGEST(u32 algorithm, const u8* data, u32 length, u8* out, u32* out_length) {
    if (data == nullptr) return fail(VRQ_F_DIGEST, VRQ_ERR_NULL_INPUT);
    // Unit and context of a short message cost more on the heap than the message itself.
    VRQ_DIGEST_UNIT unit{};
    if (vrq_Init_DIGEST_Alg(&unit, algorithm) != 0)
        return fail(VRQ_F_DIGEST, VRQ_ERR_INIT_DIGEST_FAIL);
    AnyContext context{};
    const WipeOnExit wiped(context);
    unit.context = &context;
    if (unit.init(unit.context) != 0) return fail(VRQ_F_DIGEST, VRQ_ERR_INIT_DIGEST_FAIL);
    if (VRQ_Update_DIGEST(&unit, data, static_cast<i32>(length)) != 0)
        return fail(VRQ_F_DIGEST, VRQ_ERR_UPDATE_DIGEST_FAIL);
    // The engine's own Final: no next message follows that VRQ_Final_DIGEST would have to start.
    if (out == nullptr || unit.final(unit.context, out) != 0)
        return fail(VRQ_F_DIGEST, VRQ_ERR_FINAL_DIGEST_FAIL);
    if (out_length != nullptr) *out_length = unit.digest_length;
    return 0;
}

u32 VRQ_Get_DIGEST_Length(u32 algorithm) {
    if (VRQ_Crypto_Initialize() != 0) return 0;
    const DigestRow* row = find_digest(algorithm);
    return row == nullptr ? 0 : row->digest_length;
}

const char* VRQ_Get_DIGEST_Alg_Name(u32 algorithm) {
    if (VRQ_Crypto_Initialize() != 0) return nullptr;
    const DigestRow* row = find_digest(algorithm);
    return row == nullptr ? nullptr : row->name;
}

u32 VRQ_Get_DIGEST_Alg_ID(const VRQ_DIGEST_UNIT* unit) {
    if (VRQ_Crypto_Initialize() != 0 || unit == nullptr) return 0;
    return unit->algorithm;
}

u32 VRQ_Get_DIGEST_Alg_ID_By_Name(const char* name) {
    if (VRQ_Crypto_Initialize() != 0 || name == nullptr) return 0;
    char upper[kNameSize] = {};
    for (std::size_t i = 0; i < kNameSize && name[i] != '\0'; ++i)
        upper[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[i])));
    for (const DigestRow& row : kDigests) {
        if (std::strncmp(upper, row.name, kNameSize) == 0) return row.algorithm;
    }
    return 0;
}
