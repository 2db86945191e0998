// KCDSA in tests: owned units, domains of the known answers, signatures.
#pragma once

#include "harness/bigints.h"
#include "harness/owned.h"
#include "harness/vectors.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace test {

using Kcdsa = Owned<VRQ_KCDSA_UNIT>;

inline Kcdsa new_kcdsa() { return Kcdsa(VRQ_New_KCDSA()); }

struct KcdsaDomain {
    Int p;
    Int q;
    Int g;
};

// The domains of the known answers by name: D1 2048/224, D2 2048/256, D3 1024/160 bits.
inline const KcdsaDomain& kcdsa_domain(const std::string& name) {
    static const std::map<std::string, KcdsaDomain> domains = [] {
        std::map<std::string, KcdsaDomain> all;
        for (const Record& record : load_vectors("pubkey/kcdsa.vec")) {
            if (record.name != "KCDSA-DOMAIN") continue;
            all.emplace(
                record.text("name"),
                KcdsaDomain{Int(record.text("p")), Int(record.text("q")), Int(record.text("g"))});
        }
        return all;
    }();
    return domains.at(name);
}

inline std::string hex_of(const VRQ_BIGINT* a) { return text_of(VRQ_BIGINT_To_HEX, a); }

struct KcdsaSignature {
    Bytes r = Bytes(VRQ_MAX_DIGEST_LENGTH);
    Bytes s = Bytes(VRQ_MAX_DIGEST_LENGTH);
};

inline uint32_t sign(VRQ_KCDSA_UNIT* unit, KcdsaSignature& signature) {
    auto r_length = static_cast<uint32_t>(signature.r.size());
    auto s_length = static_cast<uint32_t>(signature.s.size());
    const uint32_t status =
        VRQ_Final_KCDSA(unit, signature.r.data(), &r_length, signature.s.data(), &s_length);
    signature.r.resize(r_length);
    signature.s.resize(s_length);
    return status;
}

inline uint32_t verify(VRQ_KCDSA_UNIT* unit, KcdsaSignature signature) {
    auto r_length = static_cast<uint32_t>(signature.r.size());
    auto s_length = static_cast<uint32_t>(signature.s.size());
    signature.r.push_back(0); // never null
    signature.s.push_back(0);
    return VRQ_Final_KCDSA(unit, signature.r.data(), &r_length, signature.s.data(), &s_length);
}

inline uint32_t update(VRQ_KCDSA_UNIT* unit, const Bytes& message) {
    return VRQ_Update_KCDSA(unit, message.data(), static_cast<int32_t>(message.size()));
}

} // namespace test
