// Power-up tests of RSA (RFC 8017): OAEP there and back, PSS signatures made and verified. Both are
// randomised, so nothing stored is compared; the keys are checked by the private operation.
#include "foundation/scope.h"
#include "selftest/kat_integer.h"
#include "talvern/bigint.h"
#include "talvern/digest.h"
#include "talvern/random.h"
#include "talvern/rsa.h"
#include "talvern/selftest.h"

#include <cstring>

using namespace vrq;

namespace {

constexpr u32 kKeyLength = 256; // bytes

struct RsaKey {
    kat::Hex<kKeyLength> n;
    kat::Hex<3> e;
    kat::Hex<kKeyLength> d;
    kat::Hex<kKeyLength / 2> p;
    kat::Hex<kKeyLength / 2> q;
    kat::Hex<kKeyLength / 2> dp;
    kat::Hex<kKeyLength / 2> dq;
    kat::Hex<kKeyLength / 2> qinv;
};

constexpr RsaKey kRsaesKeys[] = {
#include "selftest/vectors/rsaes_key.inc"
};

constexpr RsaKey kRsassaKeys[] = {
#include "selftest/vectors/rsassa_key.inc"
};

constexpr char kMessage[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
constexpr u32 kMessageLength = sizeof kMessage - 1;
static_assert(kMessageLength == 62);

constexpr kat::Hex<128> kSignedMessage =
#include "selftest/vectors/rsassa_message.inc"
    ;

struct Scheme {
    u32 digest;
    u32 mode;
};

constexpr Scheme kOaep[] = {
    {VRQ_ID_SHA224, u32{VRQ_ID_SHA224} | VRQ_RSAES_OAEP_WITH_ZERO},
    {VRQ_ID_SHA256, u32{VRQ_ID_SHA256} | VRQ_RSAES_OAEP_WITH_ZERO},
};

// The salt, as long as the digest, stands in bits 16 to 23.
constexpr Scheme kPss[] = {
    {VRQ_ID_SHA224, u32{VRQ_ID_SHA224} | 28 << 16 | VRQ_RSASSA_PSS},
    {VRQ_ID_SHA256, u32{VRQ_ID_SHA256} | 32 << 16 | VRQ_RSASSA_PSS},
};

using Unit = Owned<VRQ_RSA_UNIT, VRQ_Free_RSA>;

bool load(VRQ_RSA_UNIT* unit, const RsaKey& key) {
    const kat::Integer n = kat::integer(key.n);
    const kat::Integer e = kat::integer(key.e);
    const kat::Integer d = kat::integer(key.d);
    const kat::Integer p = kat::integer(key.p);
    const kat::Integer q = kat::integer(key.q);
    const kat::Integer dp = kat::integer(key.dp);
    const kat::Integer dq = kat::integer(key.dq);
    const kat::Integer qinv = kat::integer(key.qinv);
    if (!n || !e || !d || !p || !q || !dp || !dq || !qinv) return false;
    return VRQ_Set_RSA_Params(unit, n.get(), e.get(), d.get(), p.get(), q.get(), dp.get(), dq.get(),
                              qinv.get()) == 0;
}

bool decrypts_what_it_encrypts(VRQ_RSA_UNIT* unit, const Scheme& scheme) {
    const auto* message = reinterpret_cast<const u8*>(kMessage);
    u8 encrypted[kKeyLength];
    u8 decrypted[kKeyLength];
    u32 length = 0;
    return VRQ_Init_RSAES(unit, scheme.mode, VRQ_RSA_PUBLIC, scheme.digest) == 0 &&
           VRQ_Encrypt_RSAES(unit, encrypted, &length, message, kMessageLength) == 0 &&
           VRQ_Init_RSAES(unit, scheme.mode, VRQ_RSA_PRIVATE, scheme.digest) == 0 &&
           VRQ_Decrypt_RSAES(unit, decrypted, &length, encrypted, kKeyLength) == 0 &&
           length == kMessageLength && std::memcmp(decrypted, message, kMessageLength) == 0;
}

bool verifies_what_it_signs(VRQ_RSA_UNIT* unit, const Scheme& scheme) {
    u8 signature[kKeyLength];
    u32 length = 0;
    for (const u32 direction : {VRQ_RSA_PRIVATE, VRQ_RSA_PUBLIC}) {
        if (VRQ_Init_RSASSA(unit, scheme.digest, scheme.mode, direction) != 0 ||
            VRQ_Update_RSASSA(unit, kSignedMessage.data, kSignedMessage.signed_length()) != 0 ||
            VRQ_Final_RSASSA(unit, signature, &length) != 0)
            return false;
    }
    return true;
}

// The status of a check that the random generator may have failed in: a failed draw keeps it
// locked, and the next run of the tests would wait for it.
u32 result(bool passed, u32 function) {
    if (passed) return 0;
    VRQ_Uninstantiate_DRBG();
    return kat::failure(function);
}

bool rsaes_passes() {
    const Unit unit(VRQ_New_RSA());
    if (!unit || !load(unit.get(), kRsaesKeys[0])) return false;
    for (const Scheme& scheme : kOaep) {
        if (!decrypts_what_it_encrypts(unit.get(), scheme)) return false;
    }
    return true;
}

bool rsassa_passes() {
    const Unit unit(VRQ_New_RSA());
    if (!unit || !load(unit.get(), kRsassaKeys[0])) return false;
    for (const Scheme& scheme : kPss) {
        if (!verifies_what_it_signs(unit.get(), scheme)) return false;
    }
    return true;
}

// d_rule 1: d modulo (p - 1)(q - 1).
bool new_key_signs() {
    constexpr u32 kPublicExponent = 65537;
    const Unit unit(VRQ_New_RSA());
    const kat::Integer e(VRQ_New_BIGINT());
    return unit && e && VRQ_Set_BIGINT_Word(e.get(), kPublicExponent) == 0 &&
           VRQ_Generate_RSA_Params_Ex(unit.get(), e.get(), kKeyLength * 8, 1) == 0 &&
           verifies_what_it_signs(unit.get(), kPss[1]);
}

} // namespace

u32 vrq_RSAES_Check() { return result(rsaes_passes(), VRQ_F_RSAES_OAEP_CHECK); }

u32 vrq_RSASSA_Check() { return result(rsassa_passes(), VRQ_F_RSASSA_CHECK); }

u32 vrq_Asym_Key_Check() { return result(new_key_signs(), VRQ_F_ASYMMETIC_KEY_CHECK); }
