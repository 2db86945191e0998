// Stored KCDSA domains, most significant word first; kcdsa_stored_params.cpp is made by
// tools/make_kcdsa_params.
#pragma once

#include "foundation/status.h"

namespace vrq::kcdsa {

constexpr u32 kStoredDomains = 100;

template <u32 PBits, u32 QBits>
struct StoredDomain {
    u32 p[PBits / 32];
    u32 q[QBits / 32];
    u32 g[PBits / 32];
};

extern const StoredDomain<1024, 160> kStored1024[kStoredDomains];
extern const StoredDomain<2048, 256> kStored2048[kStoredDomains];

} // namespace vrq::kcdsa
