// Owned records of the interface.
#pragma once

#include "talvern.h"

#include <memory>

namespace test {

struct Release {
    void operator()(VRQ_BIGINT* number) const { VRQ_Free_BIGINT(number); }
    void operator()(VRQ_BIGINT_POOL* pool) const { VRQ_Free_BIGINT_Pool(pool); }
    void operator()(VRQ_BLOCK_CIPHER_UNIT* unit) const { VRQ_Free_BLOCK_CIPHER_Unit(unit); }
    void operator()(VRQ_CBC_MAC_UNIT* unit) const { VRQ_Free_CBC_MAC_Unit(unit); }
    void operator()(VRQ_DH_PARAMS* params) const { VRQ_Free_DH_Params(params); }
    void operator()(VRQ_DH_UNIT* unit) const { VRQ_Free_DH(unit); }
    void operator()(VRQ_DIGEST_UNIT* unit) const { VRQ_Free_DIGEST_Unit(unit); }
    void operator()(VRQ_DRBG_UNIT* unit) const { vrq_Free_DRBG_Unit(unit); }
    void operator()(VRQ_DSA_UNIT* unit) const { VRQ_Free_DSA(unit); }
    void operator()(VRQ_ECC_KEY* key) const { VRQ_Free_ECC_Key(key); }
    void operator()(VRQ_ECDSA_UNIT* unit) const { VRQ_Free_ECDSA(unit); }
    void operator()(VRQ_HMAC_UNIT* unit) const { VRQ_Free_HMAC_Unit(unit); }
    void operator()(VRQ_KCDSA_UNIT* unit) const { VRQ_Free_KCDSA(unit); }
    void operator()(VRQ_PRNG_UNIT* unit) const { VRQ_Free_PRNG_Unit(unit); }
    void operator()(VRQ_RC4_UNIT* unit) const { VRQ_Free_RC4_Unit(unit); }
    void operator()(VRQ_RSA_UNIT* unit) const { VRQ_Free_RSA(unit); }
};
template <class Record>
using Owned = std::unique_ptr<Record, Release>;

} // namespace test
