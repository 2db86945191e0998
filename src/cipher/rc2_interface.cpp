// RC2 behind the block cipher unit: key set-up and mode routines.
#include "cipher/key_setup.h"
#include "cipher/mode_exports.h"
#include "cipher/rc2_engine.h"
#include "foundation/wipe.h"

using namespace vrq;

namespace {

constexpr std::size_t kBlock = Rc2Engine::kBlock;

constexpr u32 fail(u32 function, u32 reason) {
    return make_status(VRQ_L_RC2_INTERFACE, function, reason);
}

constexpr u32 kFailure = fail(VRQ_F_INIT_RC2_KEY, VRQ_ERR_INIT_KEY_FAILURE);

// One schedule serves both directions.
u32 set_key(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, i32 /*encrypt*/) {
    return vrq_Init_RC2_Key(unit, key);
}

constexpr KeySetup kPolicy = {
    .null_key = NullKey::kRefuse,
    .on_failure = KeyFailure::kPass,
    .direction = Direction::kBeforeKey,
    .failure = kFailure,
    .set_key = set_key,
};

const VRQ_RC2_KEY* schedule_of(const VRQ_BLOCK_CIPHER_UNIT* unit) {
    return unit == nullptr ? nullptr : static_cast<const VRQ_RC2_KEY*>(unit->schedule);
}

} // namespace

u32 vrq_Init_RC2_Key(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key) {
    if (unit == nullptr) return kFailure;
    auto* record = static_cast<VRQ_RC2_KEY*>(unit->schedule);
    const u32 status = vrq_Init_Encrypt_RC2_Key(unit->rc2_key_bits, key, unit->key_length, record);
    return status == 0 ? 0 : kFailure;
}

u32 vrq_Init_RC2(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, const u8* iv, i32 encrypt) {
    return set_up_key(kPolicy, unit, key, iv, encrypt);
}

void RC2_Encrypt(const VRQ_BLOCK_CIPHER_UNIT* unit, const u8* in, u8* out) {
    const VRQ_RC2_KEY* key = schedule_of(unit);
    if (key == nullptr || in == nullptr || out == nullptr) return;
    Rc2Engine::kernel().encrypt(*key, out, in, 1);
}

void RC2_Decrypt(const VRQ_BLOCK_CIPHER_UNIT* unit, const u8* in, u8* out) {
    const VRQ_RC2_KEY* key = schedule_of(unit);
    if (key == nullptr || in == nullptr || out == nullptr) return;
    Rc2Engine::kernel().decrypt(*key, out, in, 1);
}

VRQ_EXPORT_MODES_BASIC(RC2, Rc2Engine)

// Callers rely on every call starting from the same key stream. A trailing partial group takes the
// next key-stream block; what lies behind the given length is not touched.
u32 vrq_Do_RC2_OFB(VRQ_BLOCK_CIPHER_UNIT* unit, u8* out, const u8* in, u32 length) {
    const VRQ_RC2_KEY* key = schedule_of(unit);
    if (key == nullptr || out == nullptr || in == nullptr)
        return fail(Rc2Engine::kCodes.ofb, VRQ_ERR_INVALID_INPUT);

    SecretBytes<kBlock> reg;
    std::memcpy(reg.data(), unit->working_iv, kBlock);
    const auto& kernel = Rc2Engine::kernel();
    const std::size_t whole = length - length % kBlock;
    kernel.ofb(*key, reg.data(), out, in, whole / kBlock);
    wipe_stack(); // clang spills the register
    if (whole == length) return 0;

    kernel.encrypt(*key, reg.data(), reg.data(), 1);
    xor_bytes(out + whole, in + whole, reg.data(), length - whole);
    return 0;
}

void BXOR(u8* out, const u8* a, const u8* b, u32 length) {
    if (out == nullptr || a == nullptr || b == nullptr) return;
    for (u32 i = 0; i < length; ++i) out[i] = static_cast<u8>(a[i] ^ b[i]);
}
