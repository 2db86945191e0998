// DES-MAC over the block cipher unit, in the manner of FIPS 113.
#include "foundation/scope.h"
#include "talvern/blockmac.h"
#include "talvern/module.h"

#include <algorithm>
#include <cstring>

using namespace vrq;

namespace {

constexpr u32 fail(u32 reason) { return make_status(VRQ_L_DES_MAC, VRQ_F_DES_MAC, reason); }

constexpr std::size_t kBlock = 8;

// One block under a zero IV. With padding the cipher gives a second block, which is dropped.
u32 encrypt_block(VRQ_BLOCK_CIPHER_UNIT* cipher, u8* block) {
    SecretBytes<2 * kBlock> out;
    u32 updated = 0;
    u32 finished = 0;
    if (VRQ_Update_BLOCK_CIPHER(cipher, out.data(), &updated, block, kBlock) != 0)
        return fail(VRQ_ERR_UPDATE_BLOCKCIPHER_FAIL);
    if (VRQ_Final_BLOCK_CIPHER(cipher, out.data() + updated, &finished) != 0)
        return fail(VRQ_ERR_FINAL_BLOCKCIPHER_FAIL);
    std::memcpy(block, out.data(), kBlock);
    return 0;
}

} // namespace

u32 VRQ_DES_MAC(const u8* key, const u8* data, i32 length, u8* out) {
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    using Unit = VRQ_BLOCK_CIPHER_UNIT;
    const Owned<Unit, VRQ_Free_BLOCK_CIPHER_Unit> cipher(VRQ_New_BLOCK_CIPHER_Unit());
    if (cipher == nullptr) return fail(VRQ_ERR_MEMORY_ALLOC);
    if (VRQ_Is_Proven() == 1) return fail(VRQ_ERR_NOT_PROVEN_ALGORITHM);
    if (data == nullptr || length < 1 || key == nullptr || out == nullptr)
        return fail(VRQ_ERR_NULL_INPUT);

    const u8 zero_iv[kBlock] = {};
    if (VRQ_Init_BLOCK_CIPHER(cipher.get(), VRQ_ID_DES | VRQ_MODE_CBC, key, zero_iv, 1) != 0)
        return fail(VRQ_ERR_INIT_BLOCKCIPHER_FAIL);

    const auto size = static_cast<std::size_t>(length);
    SecretBytes<kBlock> block;
    std::memset(block.data(), 0, kBlock);
    for (std::size_t at = 0; at <= size; at += kBlock) {
        const std::size_t piece = std::min(size - at, kBlock);
        for (std::size_t i = 0; i < piece; ++i) block[i] = static_cast<u8>(block[i] ^ data[at + i]);
        if (const u32 s = encrypt_block(cipher.get(), block.data()); s != 0) return s;
    }
    std::memcpy(out, block.data(), kBlock);
    return 0;
}
