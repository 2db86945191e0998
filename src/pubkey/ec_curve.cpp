// Records of curves and keys: life cycle and copies.
#include "foundation/unit.h"
#include "pubkey/ec_records.h"
#include "talvern/ec.h"

#include <cstddef>
#include <cstring>

using namespace vrq;

namespace {

// The records are part of the interface.
static_assert(sizeof(VRQ_ECURVE) == 80 && offsetof(VRQ_ECURVE, a) == 8 &&
              offsetof(VRQ_ECURVE, b) == 16 && offsetof(VRQ_ECURVE, prime) == 24 &&
              offsetof(VRQ_ECURVE, G) == 32 && offsetof(VRQ_ECURVE, order) == 40 &&
              offsetof(VRQ_ECURVE, name) == 48);
static_assert(sizeof(VRQ_ECC_KEY) == 24 && offsetof(VRQ_ECC_KEY, Q) == 8 &&
              offsetof(VRQ_ECC_KEY, d) == 16);

void set_name(VRQ_ECURVE& curve, const char* name) {
    char text[VRQ_ECURVE_NAME_SIZE] = {};
    for (std::size_t i = 0; i + 1 < sizeof text && name[i] != '\0'; ++i) text[i] = name[i];
    std::memcpy(curve.name, text, sizeof text);
}

[[nodiscard]] bool copy_curve(VRQ_ECURVE& to, const VRQ_ECURVE& from) {
    to.curve_id = from.curve_id;
    std::memcpy(to.name, from.name, sizeof to.name);
    return copy_member(to.a, from.a) && copy_member(to.b, from.b) &&
           copy_member(to.prime, from.prime) && copy_member(to.G, from.G) &&
           copy_member(to.order, from.order);
}

[[nodiscard]] bool copy_curve_member(VRQ_ECURVE*& to, const VRQ_ECURVE* from) {
    if (from == nullptr) {
        VRQ_Free_ECURVE(to);
        to = nullptr;
        return true;
    }
    if (to == nullptr) to = VRQ_New_ECURVE();
    return to != nullptr && copy_curve(*to, *from);
}

} // namespace

VRQ_ECURVE* VRQ_New_ECURVE() { return new_unit<VRQ_ECURVE>(); }

void VRQ_Clean_ECURVE(VRQ_ECURVE* curve) {
    if (curve == nullptr) return;
    drop(curve->a);
    drop(curve->b);
    drop(curve->prime);
    drop(curve->G);
    drop(curve->order);
    clear_record(*curve);
}

void VRQ_Free_ECURVE(VRQ_ECURVE* curve) {
    if (curve == nullptr) return;
    VRQ_Clean_ECURVE(curve);
    release(curve);
}

u32 VRQ_Set_ECURVE_Params(VRQ_ECURVE* curve, u32 curve_id, const char* name, const VRQ_BIGINT* a,
                          const VRQ_BIGINT* b, const VRQ_BIGINT* prime, const VRQ_ECPOINT* G,
                          const VRQ_BIGINT* order) {
    if (curve == nullptr) return 1;
    curve->curve_id = curve_id;
    if (name != nullptr) set_name(*curve, name);
    const bool copied = put_given(curve->a, a) && put_given(curve->b, b) &&
                        put_given(curve->prime, prime) && put_given(curve->G, G) &&
                        put_given(curve->order, order);
    return copied ? 0 : 1;
}

VRQ_ECC_KEY* VRQ_New_ECC_Key() { return new_unit<VRQ_ECC_KEY>(); }

void VRQ_Clean_ECC_Key(VRQ_ECC_KEY* key) {
    if (key == nullptr) return;
    VRQ_Free_ECURVE(key->curve);
    drop(key->Q);
    drop(key->d);
    clear_record(*key);
}

void VRQ_Free_ECC_Key(VRQ_ECC_KEY* key) {
    if (key == nullptr) return;
    VRQ_Clean_ECC_Key(key);
    release(key);
}

u32 vrq_Copy_ECC_Key(VRQ_ECC_KEY* to, const VRQ_ECC_KEY* from) {
    if (to == nullptr || from == nullptr) return 1;
    if (to == from) return 0;
    const bool copied = copy_curve_member(to->curve, from->curve) && copy_member(to->Q, from->Q) &&
                        copy_member(to->d, from->d);
    return copied ? 0 : 1;
}
