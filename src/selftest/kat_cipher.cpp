// Power-up tests of SEED (RFC 4269) and ARIA (RFC 5794) in ECB, CBC, CFB128 and OFB, one block in
// each direction.
#include "foundation/scope.h"
#include "selftest/kat.h"
#include "talvern/cipher.h"
#include "talvern/selftest.h"

using namespace vrq;

namespace {

constexpr u32 kBlock = 16;

struct CipherVector {
    u32 identifier; // algorithm and mode
    kat::Hex<32> key;
    kat::Hex<kBlock> iv; // empty in ECB
    kat::Hex<kBlock> plaintext;
    kat::Hex<kBlock> ciphertext;
};

constexpr CipherVector kCipherVectors[] = {
#include "selftest/vectors/cipher.inc"
};

// One block without padding. The count of bytes written, 0 after a failure.
u32 process(VRQ_BLOCK_CIPHER_UNIT* unit, const CipherVector& row, i32 encrypt, const u8* in,
            u8* out) {
    const u8* iv = row.iv.length != 0 ? row.iv.data : nullptr;
    u32 updated = 0;
    u32 finished = 0;
    if (VRQ_Init_BLOCK_CIPHER(unit, row.identifier | VRQ_NO_PADDING, row.key.data, iv, encrypt) !=
            0 ||
        VRQ_Update_BLOCK_CIPHER(unit, out, &updated, in, kBlock) != 0 ||
        VRQ_Final_BLOCK_CIPHER(unit, out + updated, &finished) != 0)
        return 0;
    return updated + finished;
}

bool passes(VRQ_BLOCK_CIPHER_UNIT* unit, const CipherVector& row) {
    u8 encrypted[2 * kBlock];
    u8 decrypted[2 * kBlock];
    return row.ciphertext.is(encrypted, process(unit, row, 1, row.plaintext.data, encrypted)) &&
           row.plaintext.is(decrypted, process(unit, row, 0, encrypted, decrypted));
}

} // namespace

u32 vrq_Sym_Check() {
    constexpr u32 kFailure = kat::failure(VRQ_F_SYMMETIC_ALGORITHM_CHECK);
    const Owned<VRQ_BLOCK_CIPHER_UNIT, VRQ_Free_BLOCK_CIPHER_Unit> unit(
        VRQ_New_BLOCK_CIPHER_Unit());
    if (!unit) return kFailure;
    for (const CipherVector& row : kCipherVectors) {
        if (!passes(unit.get(), row)) return kFailure;
    }
    return 0;
}
