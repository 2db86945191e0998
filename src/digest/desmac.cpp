// DES-MAC over the block cipher unit, in the manner of FIPS 113.
#include "foundation/scope.h"
#include "talvern/mac.h"
#include "talvern/module.h"

#include <algorithm>
#include <cstring>

using namespace vrq;

namespace {

constexpr u32 fail(u32 reason) { return make_status(VRQ_L_DES_MAC, VRQ_F_DES_MAC, reason); }

constexpr std::size_t kBlock = 8;
constexpr std::size_t kPiece = 4096;

} // namespace

// A pass enciphers a block under a zero IV and adds what follows of the message to the outcome: that is
// CBC encryption of the message, zeros behind it up to the next block boundary, of which the last block
// is kept.
u32 VRQ_DES_MAC(const u8* key, const u8* data, i32 length, u8* out) {
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    using Unit = VRQ_BLOCK_CIPHER_UNIT;
    const Owned<Unit, VRQ_Free_BLOCK_CIPHER_Unit> cipher(VRQ_New_BLOCK_CIPHER_Unit());
    if (cipher == nullptr) return fail(VRQ_ERR_MEMORY_ALLOC);
    if (VRQ_Is_Proven() == 1) return fail(VRQ_ERR_NOT_PROVEN_ALGORITHM);
    if (data == nullptr || length < 1 || key == nullptr || out == nullptr)
        return fail(VRQ_ERR_NULL_INPUT);

    constexpr u32 kCipher = VRQ_ID_DES | VRQ_MODE_CBC | VRQ_NO_PADDING;
    const u8 zero_iv[kBlock] = {};
    if (VRQ_Init_BLOCK_CIPHER(cipher.get(), kCipher, key, zero_iv, 1) != 0)
        return fail(VRQ_ERR_INIT_BLOCKCIPHER_FAIL);

    const auto size = static_cast<std::size_t>(length);
    const std::size_t rest = size % kBlock;
    u8 chain[kPiece];
    const std::size_t used = std::min(std::max(size - rest, kBlock), kPiece);
    const ScopeExit wipe_chain([&chain, used] { wipe(chain, used); });
    u32 written = 0;
    for (std::size_t at = 0, piece; at != size - rest; at += piece) {
        piece = std::min(size - rest - at, kPiece);
        if (VRQ_Update_BLOCK_CIPHER(cipher.get(), chain, &written, data + at,
                                    static_cast<i32>(piece)) != 0)
            return fail(VRQ_ERR_UPDATE_BLOCKCIPHER_FAIL);
    }

    SecretBytes<kBlock> last;
    std::memset(last.data(), 0, kBlock);
    std::memcpy(last.data(), data + size - rest, rest);
    if (VRQ_Update_BLOCK_CIPHER(cipher.get(), chain, &written, last.data(), kBlock) != 0)
        return fail(VRQ_ERR_UPDATE_BLOCKCIPHER_FAIL);
    if (VRQ_Final_BLOCK_CIPHER(cipher.get(), chain + written, &written) != 0)
        return fail(VRQ_ERR_FINAL_BLOCKCIPHER_FAIL);
    std::memcpy(out, chain, kBlock);
    return 0;
}
