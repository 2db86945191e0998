// What the kinds of stream share.
#pragma once

#include "foundation/fatal.h"
#include "foundation/status.h"
#include "talvern/stream.h"

namespace vrq {

// Result of a transfer that failed.
constexpr u32 kTransferFailed = UINT32_MAX;

// Notes how a transfer ended and returns its result.
inline u32 finish(VRQ_STREAM& stream, u32 error, u32 result) {
    stream.error = error;
    return result;
}

// Leaves a closed stream that refuses transfers behind an opening that failed, and returns the
// reason.
u32 refuse_opening(VRQ_STREAM& stream, u32 reason);

// A null buffer with a length is a programming error. Reading and writing have texts of their own.
inline void require_source(const u8* buf, u32 length, const char* source) {
    require(length == 0 || buf != nullptr, "length == 0 || buf != ((void *)0)", source);
}

inline void require_destination(const u8* buf, u32 length, const char* source) {
    require(buf != nullptr || length == 0, "buf != ((void *)0) || length == 0", source);
}

} // namespace vrq
