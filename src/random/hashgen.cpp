// Successive numbers by way of the kernel for independent blocks, and the choice between kernels.
#include "random/hashgen_kernels.h"

#include "digest/sha256_multi.h"
#include "foundation/wipe.h"

#include <algorithm>

namespace vrq {

namespace {

constexpr std::size_t kBlock = 64;
constexpr std::size_t kCounterAt = 47; // the low eight bytes of the number

} // namespace

void hashgen_portable(const u32* initial, u8* out, const u8* block, std::size_t count) {
    constexpr std::size_t kMany = 8;
    alignas(64) u8 blocks[kMany * kBlock];
    u64 counter = load_be<u64>(block + kCounterAt);
    std::size_t used = 0;
    while (count != 0) {
        const std::size_t taken = std::min(count, kMany);
        for (std::size_t i = 0; i < taken; ++i) {
            std::memcpy(blocks + i * kBlock, block, kBlock);
            store_be(blocks + i * kBlock + kCounterAt, counter++);
        }
        used = std::max(used, taken);
        sha256_multi(initial, out, blocks, taken);
        out += 32 * taken;
        count -= taken;
    }
    wipe(blocks, used * kBlock);
    wipe_stack(); // deeper than callers reach
}

const HashgenKernel& hashgen_kernel(std::size_t blocks) {
    static constinit std::atomic<const HashgenKernel*> cache{nullptr};
    const HashgenKernel& best = cpu::pick(kHashgenKernels, cache);
    return blocks >= best.least ? best : *(std::end(kHashgenKernels) - 1);
}

} // namespace vrq
