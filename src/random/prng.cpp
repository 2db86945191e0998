// The older generator: XKEY, XSEED and the function G of FIPS 186-2, appendix 3.
#include "random/prng.h"

#include "bigint/scope.h"
#include "digest/digest_table.h"
#include "foundation/scope.h"
#include "foundation/unit.h"
#include "random/seed_pool.h"
#include "talvern/aria.h"
#include "talvern/module.h"
#include "talvern/seed.h"

#include <cstdlib>
#include <cstring>
#include <ctime>

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_PRNG, function, reason); }

// The record is part of the interface.
static_assert(sizeof(VRQ_PRNG_UNIT) == 56 && offsetof(VRQ_PRNG_UNIT, algorithm) == 16 &&
              offsetof(VRQ_PRNG_UNIT, engine) == 24 && offsetof(VRQ_PRNG_UNIT, engine_size) == 32 &&
              offsetof(VRQ_PRNG_UNIT, pool) == 40 && offsetof(VRQ_PRNG_UNIT, pool_owned) == 48);

constexpr u32 kMinXkey = 20;
constexpr u32 kMaxXkey = 64;

// The engine of an identifier: the whole record, and the size that the unit states.
struct Engine {
    std::size_t size;
    i32 stated_size;
    const DigestRow* digest; // null for a cipher
};

// Size 0 for an identifier that G has no use for.
Engine engine_of(u32 algorithm) {
    if (algorithm == VRQ_ID_SEED_128) return {sizeof(VRQ_SEED_KEY), 16, nullptr};
    if (is_prng_cipher(algorithm)) return {sizeof(VRQ_ARIA_KEY), 32, nullptr};
    const DigestRow* row = find_digest(algorithm);
    if (row == nullptr || algorithm == VRQ_ID_MD5 || algorithm == VRQ_ID_MDC2)
        return {0, 0, nullptr};
    return {static_cast<std::size_t>(row->context_size), row->context_size, row};
}

// The whole record is wiped: the stated size would leave most of a key schedule.
void drop_engine(VRQ_PRNG_UNIT& unit) {
    wipe_and_release(unit.engine, engine_of(unit.algorithm).size);
    unit.engine = nullptr;
}

u32 make_engine(VRQ_PRNG_UNIT& unit, u32 algorithm) {
    drop_engine(unit);
    const Engine engine = engine_of(algorithm);
    unit.algorithm = engine.size == 0 ? 0 : algorithm;
    if (engine.size == 0) return fail(VRQ_F_INIT_PRNG, VRQ_ERR_INIT_FAILURE);

    unit.engine_size = engine.stated_size;
    unit.engine = allocate_zeroed(engine.size);
    if (unit.engine == nullptr) return fail(VRQ_F_INIT_PRNG, VRQ_ERR_MEM_ALLOC);
    if (engine.digest != nullptr && engine.digest->init(unit.engine) != 0)
        return fail(VRQ_F_INIT_PRNG, VRQ_ERR_INIT_FAILURE);
    return 0;
}

// An XKEY from the clock: 20 to 64 bytes, four at a time from products of the platform generator's
// numbers with the time. The generator's state is our own, so that the host's rand() goes on
// undisturbed.
u32 make_xkey(u8* xkey) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    auto state = static_cast<unsigned>(now.tv_sec ^ now.tv_nsec);
    const auto factor = static_cast<u32>(now.tv_nsec) | 1;
    const auto length = static_cast<u32>(rand_r(&state)) % 45 + kMinXkey;
    for (u32 i = 0; i < length; i += 4) {
        const u32 product = static_cast<u32>(rand_r(&state)) * factor;
        const u8 bytes[4] = {static_cast<u8>(product >> 24), static_cast<u8>(product >> 16),
                             static_cast<u8>(product >> 8), static_cast<u8>(product)};
        std::memcpy(xkey + i, bytes, std::min<u32>(4, length - i));
    }
    return length;
}

// The pool of the caller, or one of the unit's own; that of an Init before goes, unless it is given
// again. False when there is no memory.
[[nodiscard]] bool bind_pool(VRQ_PRNG_UNIT& unit, VRQ_BIGINT_POOL* pool) {
    if (pool != nullptr && pool == unit.pool) return true;
    if (unit.pool_owned == 1) VRQ_Free_BIGINT_Pool(unit.pool);
    unit.pool = pool == nullptr ? VRQ_New_BIGINT_Pool() : pool;
    unit.pool_owned = pool == nullptr && unit.pool != nullptr ? 1 : 0;
    return unit.pool != nullptr;
}

// Loads big-endian bytes into a record of the unit, made when absent and all is well: a record of 0 would
// let a unit whose Init failed draw.
[[nodiscard]] bool load(VRQ_BIGINT*& record, const u8* bytes, u32 length) {
    if (length > 0x7FFFFFFF) return false;
    VRQ_BIGINT* loaded = VRQ_Binary_To_BIGINT(bytes, static_cast<i32>(length), record);
    if (loaded != nullptr) record = loaded;
    return loaded != nullptr;
}

struct Seed {
    const u8* bytes;
    u32 length;
};

// Sets XKEY and XSEED, which must differ. Null bytes are made here, XSEED also when it equals XKEY.
u32 set_seeds(VRQ_PRNG_UNIT& unit, Seed xkey, Seed xseed) {
    for (;;) {
        SecretBytes<kMaxXkey> made_xkey;
        SecretBytes<kSeedPool> made_xseed;
        const bool has_xkey = xkey.bytes != nullptr;
        const Seed key = has_xkey ? xkey : Seed{made_xkey.data(), make_xkey(made_xkey.data())};
        poll_once();
        Seed seed = xseed;
        if (seed.bytes == nullptr) {
            if (!make_xseed(key.bytes, made_xseed.data()))
                return fail(VRQ_F_INIT_PRNG, VRQ_ERR_DIGEST_FAIL);
            seed = {made_xseed.data(), kSeedPool};
        }
        if (!load(unit.xkey, key.bytes, key.length) || !load(unit.xseed, seed.bytes, seed.length))
            return fail(VRQ_F_INIT_PRNG, VRQ_ERR_MEM_ALLOC);
        if (VRQ_Cmp_BIGINT(unit.xkey, unit.xseed) != 0) return 0;
        if (has_xkey) xseed.bytes = nullptr;
    }
}

// a = a mod 2^bits.
void keep_low_bits(VRQ_BIGINT& a, std::size_t bits) {
    const auto words = static_cast<i32>((bits + 31) / 32);
    if (a.used >= words) {
        a.used = words;
        if (bits % 32 != 0) a.data[words - 1] &= (u32{1} << bits % 32) - 1;
    }
    while (a.used > 0 && a.data[a.used - 1] == 0) --a.used;
}

// The next XKEY, (1 + XKEY + x) mod 2^b, once everything else has succeeded.
[[nodiscard]] bool advance(VRQ_PRNG_UNIT& unit, const VRQ_BIGINT& x, std::size_t bits,
                           VRQ_BIGINT* next) {
    if (next == nullptr || VRQ_Add_BIGINT(next, unit.xkey, &x, unit.pool) != 0 ||
        VRQ_Add_BIGINT_Word(next, 1) != 0)
        return false;
    keep_low_bits(*next, bits);
    return VRQ_Copy_BIGINT(unit.xkey, next) == 0;
}

// x = G((XKEY + XSEED) mod 2^b); null when memory or G fails.
VRQ_BIGINT* apply_g(VRQ_PRNG_UNIT& unit, std::size_t bits, VRQ_BIGINT* v) {
    if (v == nullptr || unit.xseed == nullptr ||
        VRQ_Add_BIGINT(v, unit.xkey, unit.xseed, unit.pool) != 0)
        return nullptr;
    keep_low_bits(*v, bits);
    VRQ_BIGINT* x = is_prng_cipher(unit.algorithm) ? G_Block_Cipher(&unit, v) : G_Digest(&unit, v);
    wipe_stack();
    return x;
}

// The bytes of an output: of a cipher's G the first ones.
void put_output(const VRQ_PRNG_UNIT& unit, const VRQ_BIGINT& x, u8* out, u32* length) {
    const bool is_cipher = is_prng_cipher(unit.algorithm);
    const std::size_t full =
        is_cipher ? kPrngCipherOutput : find_digest(unit.algorithm)->digest_length;
    SecretBytes<VRQ_MAX_DIGEST_LENGTH> bytes;
    std::memset(bytes.data(), 0, full);
    const std::size_t used = (VRQ_Get_BIGINT_Bits_Length(&x) + 7) / 8;
    VRQ_BIGINT_To_Binary_Unsigned(&x, bytes.data() + (full - used));

    const std::size_t given = is_cipher ? kPrngCipherBlock : full;
    std::memcpy(out, bytes.data(), given);
    *length = static_cast<u32>(given);
}

using Unit = Owned<VRQ_PRNG_UNIT, VRQ_Free_PRNG_Unit>;

} // namespace

VRQ_PRNG_UNIT* VRQ_New_PRNG_Unit() { return new_unit<VRQ_PRNG_UNIT>(); }

u32 VRQ_Init_PRNG(VRQ_PRNG_UNIT* unit, u32 algorithm, const u8* xkey, u32 xkey_length,
                  const u8* xseed, u32 xseed_length, VRQ_BIGINT_POOL* pool) {
    constexpr u32 kFunction = VRQ_F_INIT_PRNG;
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (VRQ_Is_Proven() == 1) return fail(kFunction, VRQ_ERR_NOT_PROVEN_ALGORITHM);
    if (xkey != nullptr && (xkey_length < kMinXkey || xkey_length > kMaxXkey)) {
        VRQ_Clear_BIGINT(unit->xkey);
        return fail(kFunction, VRQ_ERR_INIT_FAILURE);
    }

    unit->init_marker = kInitialized;
    if (!bind_pool(*unit, pool)) return fail(kFunction, VRQ_ERR_MEM_ALLOC);
    if (VRQ_Crypto_Initialize() != 0) return fail(kFunction, VRQ_ERR_INIT_FAILURE);
    if (const u32 s = make_engine(*unit, algorithm); s != 0) return s;
    return set_seeds(*unit, {xkey, xkey_length}, {xseed, xseed_length});
}

void VRQ_Clean_PRNG_Unit(VRQ_PRNG_UNIT* unit) {
    if (unit == nullptr || unit->init_marker != kInitialized) return;
    if (unit->xkey != nullptr) VRQ_Free_BIGINT(unit->xkey);
    if (unit->xseed != nullptr) VRQ_Free_BIGINT(unit->xseed);
    drop_engine(*unit);
    if (unit->pool_owned == 1) VRQ_Free_BIGINT_Pool(unit->pool);
    clear_record(*unit);
}

void VRQ_Free_PRNG_Unit(VRQ_PRNG_UNIT* unit) {
    if (unit == nullptr) return;
    VRQ_Clean_PRNG_Unit(unit);
    release(unit);
}

u32 get_inner_rand(VRQ_PRNG_UNIT* unit, u8* out, u32* length) {
    constexpr u32 kFunction = VRQ_F_GET_INNER_RAND;
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (unit == nullptr || out == nullptr || length == nullptr)
        return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (unit->xkey == nullptr) return fail(kFunction, VRQ_ERR_NULL_XKEY_VALUE);
    // Callers rely on a SHA-224 unit giving nothing here.
    if (unit->algorithm == VRQ_ID_SHA224) return 0;

    Scratch<2> scratch(unit->pool);
    if (!scratch.open()) return fail(kFunction, VRQ_ERR_START_BIGINT_POOL_FAIL);
    const std::size_t bits = prng_bits(*unit);
    const VRQ_BIGINT* x = apply_g(*unit, bits, scratch.take());
    if (x == nullptr || !advance(*unit, *x, bits, scratch.take()))
        return fail(kFunction, VRQ_ERR_MEM_ALLOC);
    put_output(*unit, *x, out, length);
    return 0;
}

u32 VRQ_Get_Rand(VRQ_PRNG_UNIT* unit, u8* out, u32 n) {
    constexpr u32 kFunction = VRQ_F_GET_RAND;
    constexpr u32 kStepFailed = fail(kFunction, VRQ_ERR_RANDOM_GEN_FAILURE);
    if (unit == nullptr || out == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);

    // Zeros where a step writes nothing: those compare equal.
    SecretBytes<VRQ_MAX_DIGEST_LENGTH> a;
    SecretBytes<VRQ_MAX_DIGEST_LENGTH> b;
    u32 length = 0;
    const auto is_repeated = [&] { return std::memcmp(a.data(), b.data(), length) == 0; };
    if (get_inner_rand(unit, a.data(), &length) != 0) return kStepFailed;

    if (n <= length) {
        if (n == length && get_inner_rand(unit, a.data(), &length) != 0) return kStepFailed;
        if (get_inner_rand(unit, b.data(), &length) != 0) return kStepFailed;
        if (is_repeated()) return fail(kFunction, VRQ_ERR_ENTROPY_FAIL);
        std::memcpy(out, b.data(), n);
        return 0;
    }

    u32 left = n;
    do {
        if (get_inner_rand(unit, b.data(), &length) != 0) return kStepFailed;
        if (is_repeated()) return fail(kFunction, VRQ_ERR_ENTROPY_FAIL);
        std::memcpy(out, b.data(), length);
        out += length;
        left -= length;
    } while (length < left);
    // Callers rely on the last output: it is neither compared nor is its status looked at.
    static_cast<void>(get_inner_rand(unit, b.data(), &length));
    std::memcpy(out, b.data(), left);
    return 0;
}

u32 VRQ_Get_Rand_BIGINT(VRQ_PRNG_UNIT* unit, VRQ_BIGINT* r, u32 bits) {
    constexpr u32 kFunction = VRQ_F_GET_RAND_BIGINT;
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (unit == nullptr || r == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);

    const u32 length = bits / 8 + (bits % 8 != 0 ? 1 : 0);
    SecretHeap bytes(length + 1);
    if (!bytes) return fail(kFunction, VRQ_ERR_MEM_ALLOC);
    // Callers rely on success here: a failed draw leaves r as it was.
    if (VRQ_Get_Rand(unit, bytes.data(), length) != 0) return 0;
    bytes.data()[0] = static_cast<u8>(bytes.data()[0] >> (length * u64{8} - bits));
    static_cast<void>(VRQ_Binary_To_BIGINT(bytes.data(), static_cast<i32>(length), r));
    return 0;
}

u32 VRQ_Get_Rand_DSA_BIGINT(VRQ_PRNG_UNIT* unit, VRQ_BIGINT* r, const VRQ_BIGINT* q) {
    constexpr u32 kFunction = VRQ_F_GET_INNER_RAND;
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (unit == nullptr || r == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (unit->xkey == nullptr) return fail(VRQ_F_GET_RAND, VRQ_ERR_NULL_XKEY_VALUE);

    Scratch<3> scratch(unit->pool);
    if (!scratch.open()) return fail(kFunction, VRQ_ERR_START_BIGINT_POOL_FAIL);
    const std::size_t bits = prng_bits(*unit);
    const VRQ_BIGINT* x = apply_g(*unit, bits, scratch.take());
    VRQ_BIGINT* reduced = scratch.take();
    if (x == nullptr || reduced == nullptr) return fail(kFunction, VRQ_ERR_MEM_ALLOC);
    const u32 status = q == nullptr ? VRQ_Copy_BIGINT(reduced, x)
                                    : VRQ_Div_BIGINT(nullptr, reduced, x, q, unit->pool);
    if (status != 0 || VRQ_Copy_BIGINT(r, reduced) != 0 ||
        !advance(*unit, *reduced, bits, scratch.take()))
        return fail(kFunction, VRQ_ERR_MEM_ALLOC);
    return 0;
}

u32 VRQ_Rand_Bytes_PRNG(u8* out, u32 n) {
    constexpr u32 kFunction = VRQ_F_RAND_BYTES;
    const Unit unit(VRQ_New_PRNG_Unit());
    if (!unit) return fail(kFunction, VRQ_ERR_MEM_ALLOC);
    if (VRQ_Init_PRNG(unit.get(), VRQ_ID_SHA1, nullptr, 0, nullptr, 0, nullptr) != 0)
        return fail(kFunction, VRQ_ERR_INIT_PRNG_FAIL);
    if (VRQ_Get_Rand(unit.get(), out, n) != 0) return fail(kFunction, VRQ_ERR_GET_RAND_FAIL);
    return 0;
}
