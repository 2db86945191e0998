// Temporaries of one operation: a frame of the caller's pool, or records of its own without one.
#pragma once

#include "bigint/record.h"
#include "talvern/bigint.h"

#include <cstddef>

namespace vrq {

// False when the pool would refuse a frame; for operations that need no temporary after all.
inline bool frame_available(const VRQ_BIGINT_POOL* pool) {
    return pool == nullptr || (pool->depth >= -1 && pool->depth < VRQ_BIGINT_POOL_FRAMES - 1);
}

// At most N records. With a pool they live in a frame that closes with the scope; with a null pool
// they are the guard's own, wiped and released with it.
template <std::size_t N>
class Scratch {
  public:
    explicit Scratch(VRQ_BIGINT_POOL* pool)
        : pool_(pool), open_(pool == nullptr || VRQ_Start_BIGINT_Pool(pool) == 0) {}

    ~Scratch() {
        if (pool_ == nullptr) {
            for (VRQ_BIGINT& record : own_) VRQ_Clear_BIGINT(&record);
        } else if (open_) {
            VRQ_Finish_BIGINT_Pool(pool_);
        }
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    // False when the pool refused a frame.
    bool open() const { return open_; }

    // A record of value 0, or null.
    VRQ_BIGINT* take() {
        if (!open_) return nullptr;
        if (pool_ != nullptr) return VRQ_Get_BIGINT_Pool(pool_);
        return taken_ < N ? &own_[taken_++] : nullptr;
    }

    // An area of limbs with any content, or null. It outlives the scope in the pool, as all words of
    // a pool do: whoever puts private exponents there wipes them.
    Limb* take_limbs(std::size_t limbs) {
        VRQ_BIGINT* const record = take();
        if (record == nullptr || !grow_scratch(*record, limbs)) return nullptr;
        return limbs_of(record->data);
    }

  private:
    VRQ_BIGINT_POOL* pool_;
    bool open_;
    std::size_t taken_ = 0;
    VRQ_BIGINT own_[N] = {};
};

} // namespace vrq
