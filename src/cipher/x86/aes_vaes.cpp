// AES (FIPS 197) on 512-bit vectors of four blocks: the functions that work on many blocks at once.
// Eight vectors in flight hide the latency of a round; what is left goes vector by vector, the last
// one masked.
#include "cipher/aes_engine.h"

#include "cipher/x86/target.h"
#include "foundation/bytes.h"
#include "foundation/wipe.h"

#include <immintrin.h>

#define VAES TALVERN_TARGET("vaes,aes,avx512f,avx512bw,avx512dq,avx512vl")
#define VAES_INLINE TALVERN_INLINE_TARGET("vaes,aes,avx512f,avx512bw,avx512dq,avx512vl")

namespace vrq::aes {

namespace {

using Vector = __m512i;

constexpr std::size_t kLanes = 4; // blocks of a vector
constexpr std::size_t kWide = 8;  // vectors in flight
constexpr std::size_t kStep = kWide * kLanes;
constexpr __mmask8 kAll = 0xFF;

VAES_INLINE Vector load(const u8* in, __mmask8 mask) { return _mm512_maskz_loadu_epi64(mask, in); }
VAES_INLINE void store(u8* out, __mmask8 mask, Vector x) { _mm512_mask_storeu_epi64(out, mask, x); }
VAES_INLINE __m128i load_block(const u8* in) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
}

// One block in every lane. (The forms without a mask draw false warnings from g++ 12.)
VAES_INLINE Vector repeat(__m128i x) { return _mm512_maskz_broadcast_i32x4(0xFFFF, x); }

// Round keys in byte order in every lane.
struct Schedule {
    Vector k[15];
    u32 rounds;

    VAES explicit Schedule(const VRQ_AES_KEY& key) : rounds(aes::rounds(key)) {
        const __m128i swap = _mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203);
        for (u32 i = 0; i <= rounds; ++i) {
            const auto* words = reinterpret_cast<const u8*>(key.round_keys + 4 * std::size_t{i});
            k[i] = repeat(_mm_shuffle_epi8(load_block(words), swap));
        }
    }
    ~Schedule() { wipe(k, sizeof k); }
    Schedule(const Schedule&) = delete;
    Schedule& operator=(const Schedule&) = delete;
};

#define EACH(statement)                                                                            \
    _Pragma("GCC unroll 8") for (std::size_t j = 0; j < kWide; ++j) { statement; }

VAES_INLINE void encrypt_wide(const Schedule& s, Vector* x) {
    EACH(x[j] = _mm512_xor_si512(x[j], s.k[0]))
    for (u32 i = 1; i < s.rounds; ++i) {
        EACH(x[j] = _mm512_aesenc_epi128(x[j], s.k[i]))
    }
    EACH(x[j] = _mm512_aesenclast_epi128(x[j], s.k[s.rounds]))
}

VAES_INLINE void decrypt_wide(const Schedule& s, Vector* x) {
    EACH(x[j] = _mm512_xor_si512(x[j], s.k[0]))
    for (u32 i = 1; i < s.rounds; ++i) {
        EACH(x[j] = _mm512_aesdec_epi128(x[j], s.k[i]))
    }
    EACH(x[j] = _mm512_aesdeclast_epi128(x[j], s.k[s.rounds]))
}

VAES_INLINE Vector encrypt_vector(const Schedule& s, Vector x) {
    x = _mm512_xor_si512(x, s.k[0]);
    for (u32 i = 1; i < s.rounds; ++i) x = _mm512_aesenc_epi128(x, s.k[i]);
    return _mm512_aesenclast_epi128(x, s.k[s.rounds]);
}

VAES_INLINE Vector decrypt_vector(const Schedule& s, Vector x) {
    x = _mm512_xor_si512(x, s.k[0]);
    for (u32 i = 1; i < s.rounds; ++i) x = _mm512_aesdec_epi128(x, s.k[i]);
    return _mm512_aesdeclast_epi128(x, s.k[s.rounds]);
}

VAES_INLINE void load_wide(Vector* x, const u8* in){
    EACH(x[j] = load(in + 64 * j, kAll))} VAES_INLINE void store_wide(u8* out, const Vector* x) {
    EACH(store(out + 64 * j, kAll, x[j]))
}

// The next blocks of a tail: as many as a vector holds, or what is left.
struct Piece {
    std::size_t blocks;
    __mmask8 mask; // two bits a block
};

VAES_INLINE Piece take(std::size_t left) {
    const std::size_t blocks = left < kLanes ? left : kLanes;
    return {blocks, static_cast<__mmask8>((1U << (2 * blocks)) - 1)};
}

// Every block replaced by the one before it; the first comes from the end of the vector before.
VAES_INLINE Vector blocks_before(Vector x, Vector before) {
    return _mm512_maskz_alignr_epi64(kAll, x, before, 6);
}

VAES_INLINE Vector in_last_lane(const u8* block) {
    return _mm512_inserti32x4(_mm512_setzero_si512(), load_block(block), 3);
}

// A counter whose low half lies in the low word of each lane, big-endian on the way out.
VAES_INLINE Vector counters_from(u64 high, u64 low) {
    const Vector base =
        repeat(_mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low)));
    return _mm512_add_epi64(base, _mm512_set_epi64(0, 3, 0, 2, 0, 1, 0, 0));
}

VAES_INLINE Vector to_big_endian(Vector x) {
    return _mm512_shuffle_epi8(x, repeat(_mm_set_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F)));
}

} // namespace

VAES void encrypt_vaes(const VRQ_AES_KEY& key, u8* out, const u8* in, std::size_t blocks) {
    if (blocks < kLanes) return encrypt_ni(key, out, in, blocks);
    const Schedule s(key);
    for (; blocks >= kStep; blocks -= kStep, in += 16 * kStep, out += 16 * kStep) {
        Vector x[kWide];
        load_wide(x, in);
        encrypt_wide(s, x);
        store_wide(out, x);
    }
    for (; blocks != 0;) {
        const Piece piece = take(blocks);
        store(out, piece.mask, encrypt_vector(s, load(in, piece.mask)));
        blocks -= piece.blocks;
        in += 16 * piece.blocks;
        out += 16 * piece.blocks;
    }
}

VAES void decrypt_vaes(const VRQ_AES_KEY& key, u8* out, const u8* in, std::size_t blocks) {
    if (blocks < kLanes) return decrypt_ni(key, out, in, blocks);
    const Schedule s(key);
    for (; blocks >= kStep; blocks -= kStep, in += 16 * kStep, out += 16 * kStep) {
        Vector x[kWide];
        load_wide(x, in);
        decrypt_wide(s, x);
        store_wide(out, x);
    }
    for (; blocks != 0;) {
        const Piece piece = take(blocks);
        store(out, piece.mask, decrypt_vector(s, load(in, piece.mask)));
        blocks -= piece.blocks;
        in += 16 * piece.blocks;
        out += 16 * piece.blocks;
    }
}

VAES void cbc_decrypt_vaes(const VRQ_AES_KEY& key, u8* chain, u8* out, const u8* in,
                           std::size_t blocks) {
    if (blocks < kLanes) return cbc_decrypt_ni(key, chain, out, in, blocks);
    const Schedule s(key);
    const __m128i last = load_block(in + 16 * (blocks - 1));
    Vector before = in_last_lane(chain);
    for (; blocks >= kStep; blocks -= kStep, in += 16 * kStep, out += 16 * kStep) {
        Vector x[kWide];
        Vector y[kWide];
        load_wide(x, in);
        EACH(y[j] = blocks_before(x[j], j == 0 ? before : x[j - 1]))
        before = x[kWide - 1];
        decrypt_wide(s, x);
        EACH(x[j] = _mm512_xor_si512(x[j], y[j]))
        store_wide(out, x);
    }
    for (; blocks != 0;) {
        const Piece piece = take(blocks);
        const Vector cipher = load(in, piece.mask);
        const Vector x = decrypt_vector(s, cipher);
        store(out, piece.mask, _mm512_xor_si512(x, blocks_before(cipher, before)));
        before = cipher;
        blocks -= piece.blocks;
        in += 16 * piece.blocks;
        out += 16 * piece.blocks;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(chain), last);
}

VAES void cfb_decrypt_vaes(const VRQ_AES_KEY& key, u8* chain, u8* out, const u8* in,
                           std::size_t blocks) {
    if (blocks < kLanes) return cfb_decrypt_ni(key, chain, out, in, blocks);
    const Schedule s(key);
    const __m128i last = load_block(in + 16 * (blocks - 1));
    Vector before = in_last_lane(chain);
    for (; blocks >= kStep; blocks -= kStep, in += 16 * kStep, out += 16 * kStep) {
        Vector x[kWide];
        Vector y[kWide];
        load_wide(x, in);
        EACH(y[j] = blocks_before(x[j], j == 0 ? before : x[j - 1]))
        before = x[kWide - 1];
        encrypt_wide(s, y);
        EACH(y[j] = _mm512_xor_si512(y[j], x[j]))
        store_wide(out, y);
    }
    for (; blocks != 0;) {
        const Piece piece = take(blocks);
        const Vector cipher = load(in, piece.mask);
        const Vector x = encrypt_vector(s, blocks_before(cipher, before));
        store(out, piece.mask, _mm512_xor_si512(x, cipher));
        before = cipher;
        blocks -= piece.blocks;
        in += 16 * piece.blocks;
        out += 16 * piece.blocks;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(chain), last);
}

VAES void ctr_vaes(const VRQ_AES_KEY& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
    // Vectors count in the low half alone: a run that wraps it, once in 2^64 blocks, goes elsewhere.
    const u64 low = load_be<u64>(chain + 8);
    if (blocks < kLanes || low + blocks < low) return ctr_ni(key, chain, out, in, blocks);

    const Schedule s(key);
    Vector counter = counters_from(load_be<u64>(chain), low);
    const Vector lanes = _mm512_set_epi64(0, kLanes, 0, kLanes, 0, kLanes, 0, kLanes);
    store_be(chain + 8, low + blocks);
    for (; blocks >= kStep; blocks -= kStep, in += 16 * kStep, out += 16 * kStep) {
        Vector x[kWide];
        EACH(x[j] = to_big_endian(counter); counter = _mm512_add_epi64(counter, lanes))
        encrypt_wide(s, x);
        EACH(store(out + 64 * j, kAll, _mm512_xor_si512(x[j], load(in + 64 * j, kAll))))
    }
    for (; blocks != 0;) {
        const Piece piece = take(blocks);
        const Vector x = encrypt_vector(s, to_big_endian(counter));
        counter = _mm512_add_epi64(counter, lanes);
        store(out, piece.mask, _mm512_xor_si512(x, load(in, piece.mask)));
        blocks -= piece.blocks;
        in += 16 * piece.blocks;
        out += 16 * piece.blocks;
    }
}

} // namespace vrq::aes
