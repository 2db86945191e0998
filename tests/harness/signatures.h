// Units of DSA and ECDSA in tests.
#pragma once

#include "harness/vectors.h"
#include "talvern/digest.h"

#include <cstdint>
#include <string>

namespace test {

struct Signature {
    Bytes r;
    Bytes s;
};

inline std::uint32_t digest_id(const std::string& name) {
    if (name == "SHA-1") return VRQ_ID_SHA1;
    if (name == "SHA-224") return VRQ_ID_SHA224;
    if (name == "SHA-256") return VRQ_ID_SHA256;
    if (name == "SHA-384") return VRQ_ID_SHA384;
    return VRQ_ID_SHA512;
}

inline Bytes digest_of(std::uint32_t algorithm, const Bytes& message) {
    Bytes out(VRQ_MAX_DIGEST_LENGTH);
    std::uint32_t length = 0;
    VRQ_DIGEST(algorithm, message.data(), static_cast<std::uint32_t>(message.size()), out.data(),
               &length);
    out.resize(length);
    return out;
}

// Final of either scheme; the buffers are as long as the order.
template <auto Final, class Unit>
std::uint32_t sign(Unit* unit, Signature& out, std::size_t order_bytes) {
    out.r.resize(order_bytes);
    out.s.resize(order_bytes);
    std::uint32_t r_length = 0;
    std::uint32_t s_length = 0;
    const std::uint32_t status = Final(unit, out.r.data(), &r_length, out.s.data(), &s_length);
    out.r.resize(r_length);
    out.s.resize(s_length);
    return status;
}

template <auto Final, class Unit>
std::uint32_t verify(Unit* unit, Signature signature) {
    auto r_length = static_cast<std::uint32_t>(signature.r.size());
    auto s_length = static_cast<std::uint32_t>(signature.s.size());
    signature.r.push_back(0); // never null
    signature.s.push_back(0);
    return Final(unit, signature.r.data(), &r_length, signature.s.data(), &s_length);
}

} // namespace test
