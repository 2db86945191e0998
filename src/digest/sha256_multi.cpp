// Choice and portable form of the many-message SHA-256.
#include "digest/sha256_multi.h"

#include "digest/sha.h"
#include "foundation/wipe.h"

namespace vrq {

void sha256_multi_portable(const u32* initial, u8* out, const u8* blocks, std::size_t count) {
    u32 state[8];
    for (; count != 0; --count, out += 32, blocks += 64) {
        std::memcpy(state, initial, sizeof state);
        Sha256::compress(state, blocks, 1);
        BlockHash<Sha256>::put_digest(state, out, 32);
    }
    wipe_object(state);
}

void sha256_multi(const u32* initial, u8* out, const u8* blocks, std::size_t count) {
    static constinit std::atomic<const Sha256MultiKernel*> cache{nullptr};
    cpu::pick(kSha256MultiKernels, cache).digest(initial, out, blocks, count);
}

} // namespace vrq
