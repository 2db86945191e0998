// The tables of AES from the formulas of FIPS 197: the S-boxes (5.1.1, 5.3.2), MixColumns (5.1.3) and
// InvMixColumns (5.3.3). Lane 0 is the top byte of a word.
#pragma once

#include "cipher/tables/expand.h"
#include "cipher/tables/gf256.h"

namespace vrq::aes_tables {

consteval u32 times(u32 a, u8 b) {
    return gf256::multiply(static_cast<u8>(a), b, gf256::kAesModulus);
}

// A column of MixColumns coefficients times a byte, turned so that the byte comes from this lane.
consteval u32 column(u32 byte, u8 c0, u8 c1, u8 c2, u8 c3, u32 lane) {
    const u32 word =
        times(byte, c0) << 24 | times(byte, c1) << 16 | times(byte, c2) << 8 | times(byte, c3);
    return lane == 0 ? word : word >> (8 * lane) | word << (32 - 8 * lane);
}

template <u32 kLane>
consteval u32 encrypt_entry(u32 byte) {
    return column(gf256::kAesBox[byte], 2, 1, 1, 3, kLane);
}

template <u32 kLane>
consteval u32 encrypt_last_entry(u32 byte) {
    return static_cast<u32>(gf256::kAesBox[byte]) << (24 - 8 * kLane);
}

template <u32 kLane>
consteval u32 inverse_mix_entry(u32 byte) {
    return column(byte, 14, 9, 13, 11, kLane);
}

template <u32 kLane>
consteval u32 decrypt_entry(u32 byte) {
    return inverse_mix_entry<kLane>(gf256::kAesInverseBox[byte]);
}

consteval u32 decrypt_last_entry(u32 byte) { return gf256::kAesInverseBox[byte]; }

static_assert(encrypt_entry<0>(0) == 0xC66363A5 && encrypt_entry<1>(0) == 0xA5C66363);
static_assert(decrypt_entry<0>(0) == 0x51F4A750);

#define AES_TABLE(name, entry) alignas(64) constexpr u32 name[256] = {T256(entry)}

// SubBytes, ShiftRows and MixColumns of a byte.
AES_TABLE(E_Table0, encrypt_entry<0>);
AES_TABLE(E_Table1, encrypt_entry<1>);
AES_TABLE(E_Table2, encrypt_entry<2>);
AES_TABLE(E_Table3, encrypt_entry<3>);

// The S-box value of a byte in its lane.
AES_TABLE(E_Table4_0, encrypt_last_entry<0>);
AES_TABLE(E_Table4_1, encrypt_last_entry<1>);
AES_TABLE(E_Table4_2, encrypt_last_entry<2>);
AES_TABLE(E_Table4_3, encrypt_last_entry<3>);

// The inverse round of a byte, and the inverse S-box.
AES_TABLE(D_Table0, decrypt_entry<0>);
AES_TABLE(D_Table1, decrypt_entry<1>);
AES_TABLE(D_Table2, decrypt_entry<2>);
AES_TABLE(D_Table3, decrypt_entry<3>);
AES_TABLE(D_Table4, decrypt_last_entry);

// InvMixColumns of a byte.
AES_TABLE(K_Sched0, inverse_mix_entry<0>);
AES_TABLE(K_Sched1, inverse_mix_entry<1>);
AES_TABLE(K_Sched2, inverse_mix_entry<2>);
AES_TABLE(K_Sched3, inverse_mix_entry<3>);

#undef AES_TABLE

} // namespace vrq::aes_tables
