// Known answers as big integers.
#pragma once

#include "foundation/scope.h"
#include "selftest/kat.h"
#include "talvern/bigint.h"

#include <cstddef>

namespace vrq::kat {

using Integer = Owned<VRQ_BIGINT, VRQ_Free_BIGINT>;

// Null without memory.
template <std::size_t N>
Integer integer(const Hex<N>& bytes) {
    return Integer(VRQ_Binary_To_BIGINT(bytes.data, bytes.signed_length(), nullptr));
}

} // namespace vrq::kat
