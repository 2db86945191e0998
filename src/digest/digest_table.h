// The digests that a unit can bind.
#pragma once

#include "foundation/status.h"
#include "talvern/digest.h"

namespace vrq {

struct DigestRow {
    u32 algorithm;
    const char* name;
    u32 digest_length;
    u32 block_length;
    i32 context_size;
    bool is_approved;
    u32 (*init)(void* context);
    u32 (*update)(void* context, const u8* data, u32 length);
    u32 (*final)(void* context, u8* out);
};

// In the order in which names are compared.
inline constexpr DigestRow kDigests[] = {
    {VRQ_ID_MD5, "MD5", 16, 64, sizeof(VRQ_MD5_CTX), false, vrq_Init_MD5, vrq_Update_MD5,
     vrq_Final_MD5},
    {VRQ_ID_SHA1, "SHA1", 20, 64, sizeof(VRQ_SHA1_CTX), false, vrq_Init_SHA1, vrq_Update_SHA1,
     vrq_Final_SHA1},
    {VRQ_ID_SHA224, "SHA224", 28, 64, sizeof(VRQ_SHA256_CTX), true, vrq_Init_SHA224,
     vrq_Update_SHA224, vrq_Final_SHA224},
    {VRQ_ID_SHA256, "SHA256", 32, 64, sizeof(VRQ_SHA256_CTX), true, vrq_Init_SHA256,
     vrq_Update_SHA256, vrq_Final_SHA256},
    {VRQ_ID_SHA384, "SHA384", 48, 128, sizeof(VRQ_SHA512_CTX), true, vrq_Init_SHA384,
     vrq_Update_SHA384, vrq_Final_SHA384},
    {VRQ_ID_SHA512, "SHA512", 64, 128, sizeof(VRQ_SHA512_CTX), true, vrq_Init_SHA512,
     vrq_Update_SHA512, vrq_Final_SHA512},
    {VRQ_ID_HAS160, "HAS160", 20, 64, sizeof(VRQ_HAS160_CTX), false, vrq_Init_HAS160,
     vrq_Update_HAS160, vrq_Final_HAS160},
    {VRQ_ID_MDC2, "MDC2", 16, 8, sizeof(VRQ_MDC2_CTX), false, vrq_Init_MDC2, vrq_Update_MDC2,
     vrq_Final_MDC2},
};

// Null for an unknown identifier.
inline const DigestRow* find_digest(u32 algorithm) {
    for (const DigestRow& row : kDigests) {
        if (row.algorithm == algorithm) return &row;
    }
    return nullptr;
}

} // namespace vrq
