// RC4, checked against RFC 6229. The state stays 32 bits an entry: it is part of the public record,
// and whole words forward faster from store to load.
#include "talvern/rc4.h"
#include "foundation/bytes.h"
#include "foundation/unit.h"

#include <utility>

using namespace vrq;

static_assert(sizeof(VRQ_RC4_UNIT) == 1032);

namespace {

constexpr u32 kInvalid = make_status(VRQ_L_RC4_INTERFACE, 0, VRQ_ERR_INVALID_INPUT);

} // namespace

VRQ_RC4_UNIT* VRQ_New_RC4_Unit() {
    return static_cast<VRQ_RC4_UNIT*>(allocate(sizeof(VRQ_RC4_UNIT)));
}

u32 VRQ_Init_RC4(VRQ_RC4_UNIT* unit, const u8* key, i32 length) {
    if (unit == nullptr || key == nullptr || length < 1) return kInvalid;
    unit->x = 0;
    unit->y = 0;
    for (u32 i = 0; i < 256; ++i) unit->state[i] = i;

    u32 j = 0;
    i32 at = 0;
    for (u32& entry : unit->state) {
        j = (j + entry + key[at]) & 0xFF;
        if (++at == length) at = 0;
        std::swap(entry, unit->state[j]);
    }
    return 0;
}

u32 VRQ_Do_RC4(VRQ_RC4_UNIT* unit, const u8* in, u32 length, u8* out) {
    if (unit == nullptr || in == nullptr || out == nullptr || length == 0) return kInvalid;
    u32* state = unit->state;
    u32 x = unit->x & 0xFF;
    u32 y = unit->y & 0xFF;
    const auto next = [&]() {
        x = (x + 1) & 0xFF;
        const u32 a = state[x];
        y = (y + a) & 0xFF;
        const u32 b = state[y];
        state[x] = b;
        state[y] = a;
        return state[(a + b) & 0xFF];
    };

    for (; length >= 8; length -= 8, in += 8, out += 8) {
        u64 stream = 0;
#pragma GCC unroll 8
        for (u32 i = 0; i < 64; i += 8) stream |= static_cast<u64>(next()) << i;
        store_le(out, load_le<u64>(in) ^ stream);
    }
    for (; length != 0; --length) *out++ = static_cast<u8>(*in++ ^ next());
    unit->x = x;
    unit->y = y;
    return 0;
}

void VRQ_Clean_RC4_Unit(VRQ_RC4_UNIT* unit) {
    if (unit != nullptr) clear_record(*unit);
}

void VRQ_Free_RC4_Unit(VRQ_RC4_UNIT* unit) {
    if (unit == nullptr) return;
    VRQ_Clean_RC4_Unit(unit);
    release(unit);
}
