// The exported mode routines of an engine: vrq_Do_<NAME>_<MODE> over Modes<Engine>. The public
// header of the engine declares them.
#pragma once

#include "cipher/modes.h"

#define VRQ_EXPORT_MODE(NAME, Engine, MODE, routine)                                               \
    vrq::u32 vrq_Do_##NAME##_##MODE(VRQ_BLOCK_CIPHER_UNIT* unit, vrq::u8* out, const vrq::u8* in,  \
                                    vrq::u32 length) {                                             \
        return vrq::Modes<Engine>::routine(unit, out, in, length);                                 \
    }

// ECB, CBC and the CFB family up to CFB32: every engine has them.
#define VRQ_EXPORT_MODES_BASIC(NAME, Engine)                                                       \
    VRQ_EXPORT_MODE(NAME, Engine, ECB, ecb)                                                        \
    VRQ_EXPORT_MODE(NAME, Engine, CBC, cbc)                                                        \
    VRQ_EXPORT_MODE(NAME, Engine, CFB, cfb)                                                        \
    VRQ_EXPORT_MODE(NAME, Engine, CFBR, cfb_r)                                                     \
    VRQ_EXPORT_MODE(NAME, Engine, CFB1, cfb_1)                                                     \
    VRQ_EXPORT_MODE(NAME, Engine, CFB8, cfb_8)                                                     \
    VRQ_EXPORT_MODE(NAME, Engine, CFB16, cfb_16)                                                   \
    VRQ_EXPORT_MODE(NAME, Engine, CFB32, cfb_32)

// 10 routines: DES, triple DES and Blowfish have no CFB64.
#define VRQ_EXPORT_MODES_WITHOUT_CFB64(NAME, Engine)                                               \
    VRQ_EXPORT_MODES_BASIC(NAME, Engine)                                                           \
    VRQ_EXPORT_MODE(NAME, Engine, OFB, ofb)                                                        \
    VRQ_EXPORT_MODE(NAME, Engine, CTR, ctr)

// 11 routines. RC2 takes the basic set and writes its own OFB.
#define VRQ_EXPORT_MODES_FULL(NAME, Engine)                                                        \
    VRQ_EXPORT_MODES_WITHOUT_CFB64(NAME, Engine)                                                   \
    VRQ_EXPORT_MODE(NAME, Engine, CFB64, cfb_64)
