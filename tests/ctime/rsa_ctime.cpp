// Run under valgrind memcheck: the private parts of a key count as undefined through the key
// check, the blinding and the private operation, by the primes and by d. Their lengths are public,
// so that the top word of each stays known, and the lowest bit of the primes, which is set in all
// of them.
#include "ctime/hidden_number.h"
#include "pubkey/rsa_key.h"
#include "talvern.h"

#include <cstdio>

namespace {

using vrq::u32;

constexpr VRQ_BIGINT* VRQ_RSA_UNIT::*kPrivate[] = {&VRQ_RSA_UNIT::d,  &VRQ_RSA_UNIT::p,
                                                   &VRQ_RSA_UNIT::q,  &VRQ_RSA_UNIT::dP,
                                                   &VRQ_RSA_UNIT::dQ, &VRQ_RSA_UNIT::qInv};

// The lowest bit stays known as well.
void hide(const VRQ_BIGINT* a) {
    memcheck::hide(a);
    constexpr u32 kAllButLowest = ~u32{1};
    VALGRIND_SET_VBITS(a->data, &kAllButLowest, sizeof kAllButLowest);
}

bool run(VRQ_RSA_UNIT& unit, VRQ_BIGINT* x) {
    return vrq::rsa::blind(unit, x) == 0 && vrq::rsa::raise_private(unit, x, x) == 0 &&
           vrq::rsa::unblind(unit, x) == 0;
}

// x^(e d) modulo n, with the private parts hidden.
bool gives_back(VRQ_RSA_UNIT& unit, u32 x) {
    VRQ_BIGINT* const m = VRQ_New_BIGINT();
    VRQ_Set_BIGINT_Word(m, x);
    bool good = vrq::rsa::raise_public(unit, m, m) == 0;
    for (const auto part : kPrivate) hide(unit.*part);
    hide(unit.blind_A);
    hide(unit.blind_Ai);
    good = run(unit, m) && good;
    u32 verdict = verify_RSA_KEY(&unit);
    VALGRIND_MAKE_MEM_DEFINED(&verdict, sizeof verdict);
    memcheck::show(m);
    for (const auto part : kPrivate) memcheck::show(unit.*part);
    good = good && verdict == 0 && VRQ_Get_BIGINT_Word(m) == x;
    VRQ_Free_BIGINT(m);
    return good;
}

} // namespace

int main() {
    if (VRQ_Change_Non_Proven_Mode() != 0) return 1;
    VRQ_RSA_UNIT* const unit = VRQ_New_RSA();
    VRQ_BIGINT* const e = VRQ_New_BIGINT();
    VRQ_Set_BIGINT_Word(e, 65537);
    bool good = VRQ_Generate_RSA_Params_Ex(unit, e, 1024, 2) == 0;
    for (const int use_crt : {1, 0}) {
        unit->use_crt = use_crt;
        good = good && gives_back(*unit, 0x01234567);
    }
    std::printf("private operations %s\n", good ? "agree" : "FAILED");
    VRQ_Free_BIGINT(e);
    VRQ_Free_RSA(unit);
    return good ? 0 : 1;
}
