// Run under valgrind memcheck: the private key counts as undefined through a KCDSA signature and a
// Diffie-Hellman secret, the scalar through the multiple of a point. What is computed must be the same
// as without.
#include "ctime/hidden_number.h"
#include "pubkey/ec_multiply.h"
#include "pubkey/kcdsa_sign.h"
#include "pubkey/kcdsa_stored_params.h"
#include "talvern.h"

#include <cstdio>
#include <cstring>
#include <initializer_list>

namespace {

using namespace vrq;
using memcheck::hide;
using memcheck::show;

template <std::size_t Words>
VRQ_BIGINT* number(const u32 (&words)[Words]) {
    u8 bytes[4 * Words];
    for (std::size_t i = 0; i < sizeof bytes; ++i)
        bytes[i] = static_cast<u8>(words[i / 4] >> (24 - 8 * (i % 4)));
    return VRQ_Binary_To_BIGINT(bytes, sizeof bytes, nullptr);
}

const kcdsa::StoredDomain<2048, 256>& domain() { return kcdsa::kStored2048[0]; }

VRQ_BIGINT* secret() {
    return VRQ_HEX_To_BIGINT("5C6A7B8897A6B5C4D3E2F10012233445566778899AABBCCDDEEFF01123456789");
}

// s of one message under one secret number.
bool sign(VRQ_KCDSA_UNIT& unit, VRQ_BIGINT& s) {
    const kcdsa::Digest v = {1, 2, 3};
    kcdsa::Digest r;
    VRQ_BIGINT* const k = VRQ_HEX_To_BIGINT("123456789ABCDEF0FEDCBA9876543210");
    const bool good = kcdsa::sign_with(unit, *k, v, r, s) == 0;
    VRQ_Free_BIGINT(k);
    return good;
}

bool kcdsa_agrees() {
    VRQ_KCDSA_UNIT* const unit = VRQ_New_KCDSA();
    VRQ_BIGINT* const p = number(domain().p);
    VRQ_BIGINT* const q = number(domain().q);
    VRQ_BIGINT* const g = number(domain().g);
    VRQ_BIGINT* const x = secret();
    VRQ_BIGINT* const open = VRQ_New_BIGINT();
    VRQ_BIGINT* const hidden = VRQ_New_BIGINT();
    bool good = VRQ_Set_KCDSA_Params(unit, p, q, g, x, nullptr) == 0 &&
                VRQ_Init_KCDSA_Ex(unit, 1, VRQ_ID_SHA256) == 0 && sign(*unit, *open);
    if (good) {
        hide(unit->x);
        good = sign(*unit, *hidden);
        show(unit->x);
        show(hidden);
        good = good && VRQ_Cmp_BIGINT(open, hidden) == 0;
    }
    for (VRQ_BIGINT* const a : {p, q, g, x, open, hidden}) VRQ_Free_BIGINT(a);
    VRQ_Free_KCDSA(unit);
    return good;
}

bool dh_agrees() {
    VRQ_DH_PARAMS* const params = VRQ_New_DH_Params();
    VRQ_DH_UNIT* const unit = VRQ_New_DH();
    VRQ_BIGINT* const p = number(domain().p);
    VRQ_BIGINT* const q = number(domain().q);
    VRQ_BIGINT* const g = number(domain().g);
    VRQ_BIGINT* const x = secret();
    u8 open[256];
    u8 hidden[256];
    u32 open_length = 0;
    u32 hidden_length = 0;
    bool good = VRQ_Init_DH_Params(params, p, q, g) == 0 && VRQ_Init_DH(unit, x, g, params) == 0 &&
                VRQ_Compute_Key(unit, g, open, &open_length) == 0;
    if (good) {
        hide(unit->x);
        good = VRQ_Compute_Key(unit, g, hidden, &hidden_length) == 0;
        show(unit->x);
        show(unit->secret);
        VALGRIND_MAKE_MEM_DEFINED(&hidden_length, sizeof hidden_length);
        VALGRIND_MAKE_MEM_DEFINED(hidden, sizeof hidden);
        good = good && open_length == hidden_length && std::memcmp(open, hidden, open_length) == 0;
    }
    for (VRQ_BIGINT* const a : {p, q, g, x}) VRQ_Free_BIGINT(a);
    VRQ_Free_DH(unit);
    VRQ_Free_DH_Params(params);
    return good;
}

// On a curve through (2, 3).
bool multiple_agrees(const char* prime) {
    VRQ_ECURVE* const curve = VRQ_New_ECURVE();
    VRQ_ECPOINT* const base = VRQ_New_ECPOINT();
    VRQ_ECPOINT* const open = VRQ_New_ECPOINT();
    VRQ_ECPOINT* const hidden = VRQ_New_ECPOINT();
    VRQ_BIGINT* const p = VRQ_HEX_To_BIGINT(prime);
    VRQ_BIGINT* const a = VRQ_HEX_To_BIGINT("5");
    VRQ_BIGINT* const k = secret();
    base->x = VRQ_HEX_To_BIGINT("2");
    base->y = VRQ_HEX_To_BIGINT("3");
    constexpr std::size_t kBits = 256;
    bool good = VRQ_Set_ECURVE_Params(curve, 0, nullptr, a, nullptr, p, nullptr, nullptr) == 0 &&
                ec_multiply(*open, *curve, *base, *k, kBits, nullptr);
    if (good) {
        hide(k);
        good = ec_multiply(*hidden, *curve, *base, *k, kBits, nullptr);
        show(k);
        show(hidden->x);
        show(hidden->y);
        good = good && VRQ_Cmp_BIGINT(open->x, hidden->x) == 0 &&
               VRQ_Cmp_BIGINT(open->y, hidden->y) == 0;
    }
    for (VRQ_BIGINT* const number : {p, a, k}) VRQ_Free_BIGINT(number);
    for (VRQ_ECPOINT* const point : {base, open, hidden}) VRQ_Free_ECPOINT(point);
    VRQ_Free_ECURVE(curve);
    return good;
}

} // namespace

int main() {
    if (VRQ_Change_Non_Proven_Mode() != 0) return 1;
    bool good = kcdsa_agrees() && dh_agrees();
    for (const char* prime : {"FFFFFFFF00000001000000000000000000000000FFFFFFFFFFFFFFFFFFFFFFFF",
                              "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEFFFF"
                              "FFFF0000000000000000FF"
                              "FFFFFF"})
        good = good && multiple_agrees(prime);
    std::printf("private operations %s\n", good ? "agree" : "FAILED");
    return good ? 0 : 1;
}
