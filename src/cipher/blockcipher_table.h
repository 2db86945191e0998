// The block cipher algorithms: one row for each identifier.
#pragma once

#include "foundation/status.h"
#include "talvern/cipher.h"

#include <span>

namespace vrq {

// The routines that the unit selects from an engine; null where a mode is not offered.
struct ModeSet {
    VRQ_MODE_ROUTINE* ecb;
    VRQ_MODE_ROUTINE* cbc;
    VRQ_MODE_ROUTINE* cfb;
    VRQ_MODE_ROUTINE* ofb;
    VRQ_MODE_ROUTINE* ctr;
};

struct CipherRow {
    u32 id;
    const char* name;
    i32 key_length;
    i32 block_length; // also the IV length
    std::size_t schedule_size;
    VRQ_KEY_SETUP* key_setup;
    const ModeSet* modes;
    bool is_approved;        // admitted in proven mode
    bool has_lengths = true; // known to the length queries
    std::int64_t rc2_key_bits = 0;
};

// All rows, by identifier.
std::span<const CipherRow> cipher_rows();

// The row of an identifier's algorithm, or null.
const CipherRow* find_cipher(u32 identifier);

constexpr u8 mode_of(u32 identifier) { return identifier & 0xFE; }

} // namespace vrq
