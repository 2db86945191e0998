// RSA units: life cycle, loading of keys, length of the modulus.
#include "talvern/rsa.h"

#include "bigint/record.h"
#include "foundation/scope.h"
#include "foundation/status.h"
#include "foundation/unit.h"
#include "pubkey/rsa_encoding.h"
#include "pubkey/rsa_key.h"
#include "pubkey/signature.h"
#include "talvern/module.h"

#include <cstddef>
#include <utility>

using namespace vrq;

static_assert(sizeof(VRQ_RSA_UNIT) == 120);
static_assert(offsetof(VRQ_RSA_UNIT, mode) == 0 && offsetof(VRQ_RSA_UNIT, key_flags) == 4);
static_assert(offsetof(VRQ_RSA_UNIT, digest) == 8 && offsetof(VRQ_RSA_UNIT, e) == 16);
static_assert(offsetof(VRQ_RSA_UNIT, d) == 24 && offsetof(VRQ_RSA_UNIT, n) == 32);
static_assert(offsetof(VRQ_RSA_UNIT, p) == 40 && offsetof(VRQ_RSA_UNIT, dP) == 48);
static_assert(offsetof(VRQ_RSA_UNIT, q) == 56 && offsetof(VRQ_RSA_UNIT, dQ) == 64);
static_assert(offsetof(VRQ_RSA_UNIT, qInv) == 72 && offsetof(VRQ_RSA_UNIT, direction) == 80);
static_assert(offsetof(VRQ_RSA_UNIT, pool) == 88 && offsetof(VRQ_RSA_UNIT, use_crt) == 96);
static_assert(offsetof(VRQ_RSA_UNIT, pss_salt_length) == 100);
static_assert(offsetof(VRQ_RSA_UNIT, blind_A) == 104 && offsetof(VRQ_RSA_UNIT, blind_Ai) == 112);

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_RSA, function, reason); }

using OwnedUnit = Owned<VRQ_RSA_UNIT, VRQ_Free_RSA>;

using KeyField = VRQ_BIGINT* VRQ_RSA_UNIT::*;

// Copies of the parts of a key on their way into a unit.
template <std::size_t N>
class Copies {
  public:
    explicit Copies(const VRQ_BIGINT* const (&parts)[N]) {
        for (std::size_t i = 0; i < N; ++i) {
            if (parts[i] == nullptr) continue;
            copies_[i] = VRQ_Dup_BIGINT(parts[i]);
            if (copies_[i] == nullptr) {
                is_complete_ = false;
            } else {
                set_used(*copies_[i], word_count(*copies_[i])); // hex texts keep leading zeros
            }
        }
    }
    ~Copies() {
        for (VRQ_BIGINT*& copy : copies_) drop(copy);
    }
    Copies(const Copies&) = delete;
    Copies& operator=(const Copies&) = delete;

    // False when a part that was given could not be copied.
    bool is_complete() const { return is_complete_; }
    bool has(std::size_t i) const { return copies_[i] != nullptr; }

    // Hands a copy over; the field is empty, or loses what it held.
    void move_to(VRQ_BIGINT*& field, std::size_t i) {
        drop(field);
        field = std::exchange(copies_[i], nullptr);
    }

  private:
    VRQ_BIGINT* copies_[N] = {};
    bool is_complete_ = true;
};

// Callers rely on the bits of earlier keys to survive, except for a word that is the lone bit of a
// part which is missing now.
void set_part(VRQ_RSA_UNIT& unit, i32 bit, bool is_given) {
    if (is_given) {
        unit.key_flags |= bit;
    } else if (unit.key_flags == bit) {
        unit.key_flags = 0;
    }
}

[[nodiscard]] bool dup_part(VRQ_RSA_UNIT& to, const VRQ_RSA_UNIT& from, KeyField part) {
    if (from.*part == nullptr) return true;
    to.*part = VRQ_Dup_BIGINT(from.*part);
    return to.*part != nullptr;
}

} // namespace

VRQ_RSA_UNIT* VRQ_New_RSA() {
    OwnedUnit unit(new_unit<VRQ_RSA_UNIT>());
    if (unit == nullptr) return nullptr;
    unit->pool = VRQ_New_BIGINT_Pool();
    if (unit->pool == nullptr) return nullptr;
    unit->use_crt = 1;
    return unit.release();
}

void VRQ_Clean_RSA(VRQ_RSA_UNIT* unit) {
    if (unit == nullptr) return;
    drop(unit->n);
    drop(unit->e);
    drop(unit->d);
    drop(unit->dP);
    drop(unit->dQ);
    drop(unit->p);
    drop(unit->q);
    drop(unit->qInv);
    rsa::drop_blinding(*unit);
    drop(unit->digest);
    rsa::wipe_idle_words(unit->pool);
}

void VRQ_Free_RSA(VRQ_RSA_UNIT* unit) {
    if (unit == nullptr) return;
    drop(unit->pool);
    VRQ_Clean_RSA(unit);
    wipe_and_release(unit, sizeof *unit);
}

VRQ_RSA_UNIT* VRQ_Dup_RSA(const VRQ_RSA_UNIT* unit) {
    if (unit == nullptr) return nullptr;
    OwnedUnit copy(VRQ_New_RSA());
    if (copy == nullptr) return nullptr;
    copy->mode = unit->mode;
    copy->key_flags = unit->key_flags;
    copy->direction = unit->direction;
    copy->use_crt = unit->use_crt;
    constexpr KeyField kParts[] = {&VRQ_RSA_UNIT::e,  &VRQ_RSA_UNIT::d,   &VRQ_RSA_UNIT::n,
                                   &VRQ_RSA_UNIT::p,  &VRQ_RSA_UNIT::dP,  &VRQ_RSA_UNIT::q,
                                   &VRQ_RSA_UNIT::dQ, &VRQ_RSA_UNIT::qInv};
    for (const KeyField part : kParts) {
        if (!dup_part(*copy, *unit, part)) return nullptr;
    }
    return copy.release();
}

u32 VRQ_Set_RSA_Params(VRQ_RSA_UNIT* unit, const VRQ_BIGINT* n, const VRQ_BIGINT* e,
                       const VRQ_BIGINT* d, const VRQ_BIGINT* p, const VRQ_BIGINT* q,
                       const VRQ_BIGINT* dP, const VRQ_BIGINT* dQ, const VRQ_BIGINT* qInv) {
    constexpr u32 kFunction = VRQ_F_SET_RSA_PRAMS;
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_INVALID_INPUT);

    // copied before the unit is cleaned: they may be its own
    const bool has_crt =
        p != nullptr && q != nullptr && dP != nullptr && dQ != nullptr && qInv != nullptr;
    Copies<3> basic({n, e, d});
    Copies<5> crt({has_crt ? p : nullptr, has_crt ? q : nullptr, has_crt ? dP : nullptr,
                   has_crt ? dQ : nullptr, has_crt ? qInv : nullptr});
    VRQ_Clean_RSA(unit);
    if (n == nullptr) return fail(kFunction, VRQ_ERR_INVALID_INPUT);
    if (!basic.is_complete() || !crt.is_complete()) return fail(kFunction, VRQ_ERR_MALLOC);

    if (has_crt) {
        unit->key_flags = VRQ_RSA_HAS_CRT;
        crt.move_to(unit->p, 0);
        crt.move_to(unit->q, 1);
        crt.move_to(unit->dP, 2);
        crt.move_to(unit->dQ, 3);
        crt.move_to(unit->qInv, 4);
    } else {
        set_part(*unit, VRQ_RSA_HAS_CRT, false);
    }
    set_part(*unit, VRQ_RSA_HAS_PRIVATE_EXPONENT, basic.has(2));
    basic.move_to(unit->d, 2);
    set_part(*unit, VRQ_RSA_HAS_PUBLIC_EXPONENT, basic.has(1));
    basic.move_to(unit->e, 1);
    basic.move_to(unit->n, 0);
    unit->key_flags |= VRQ_RSA_HAS_MODULUS;
    if (unit->key_flags < VRQ_RSA_HAS_PRIVATE_EXPONENT || generate_RSA_BLINDING(unit) == 0)
        return 0;
    return fail(kFunction, VRQ_ERR_SUB_OPERATION_FAILURE);
}

u32 VRQ_Set_RSA_Public_Params(VRQ_RSA_UNIT* unit, const VRQ_BIGINT* n, const VRQ_BIGINT* e) {
    constexpr u32 kFunction = VRQ_F_SET_RSA_PUBLIC_PRAMS;
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_INVALID_INPUT);

    Copies<2> key({n, e});
    VRQ_Clean_RSA(unit);
    unit->direction = VRQ_RSA_PUBLIC;
    if (n == nullptr || e == nullptr) return fail(kFunction, VRQ_ERR_INVALID_INPUT);
    if (!key.is_complete()) return fail(kFunction, VRQ_ERR_MALLOC);
    key.move_to(unit->n, 0);
    key.move_to(unit->e, 1);
    unit->key_flags |= VRQ_RSA_HAS_MODULUS | VRQ_RSA_HAS_PUBLIC_EXPONENT;
    return 0;
}

u32 VRQ_Get_RSA_Length(const VRQ_RSA_UNIT* unit) {
    if (VRQ_Crypto_Initialize() != 0 || unit == nullptr) return 0;
    return (VRQ_Get_BIGINT_Bits_Length(unit->n) + 7) / 8;
}

u32 vrq_Set_RSASSA_PKCS1_PSS_SALT_Length(VRQ_RSA_UNIT* unit, i32 length) {
    if (unit == nullptr || length < 0) return 1;
    unit->pss_salt_length = length;
    return 0;
}

bool vrq::rsa::is_modulus_refused(const VRQ_RSA_UNIT& unit) {
    // of the value: a caller's own record may have zeros on top
    return unit.n != nullptr && VRQ_Is_Proven() == 1 && value_bits(*unit.n) < kApprovedBits;
}

bool vrq::rsa::bind_digest(VRQ_RSA_UNIT& unit, u32 digest) {
    const bool is_new = unit.digest == nullptr;
    if (is_new) unit.digest = VRQ_New_DIGEST_Unit();
    if (unit.digest == nullptr) return false;
    if (VRQ_Init_DIGEST(unit.digest, digest) == 0) return true;
    if (is_new) drop(unit.digest);
    return false;
}

bool vrq::rsa::bind_operation(VRQ_RSA_UNIT& unit, u32 mode, u32 direction, u32 digest) {
    if (unit.pool == nullptr) unit.pool = VRQ_New_BIGINT_Pool();
    if (unit.pool == nullptr) return false;
    unit.mode = mode;
    if (VRQ_Get_DIGEST_Length(mode & kDigestMask) == 0) unit.mode ^= digest;
    unit.direction = direction;
    return true;
}

void vrq::rsa::wipe_idle_words(const VRQ_BIGINT_POOL* pool) {
    if (pool == nullptr) return;
    u32 index = 0;
    for (auto* block = pool->first; block != nullptr; block = block->next) {
        for (u32 i = 0; i < VRQ_BIGINT_POOL_BLOCK_RECORDS; ++i, ++index) {
            const VRQ_BIGINT& record = block->records[i];
            if (index < pool->used || record.data == nullptr) continue;
            wipe(record.data, static_cast<std::size_t>(record.allocated) * sizeof(u32));
        }
    }
}
