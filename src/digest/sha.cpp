// SHA-1, SHA-224, SHA-256, SHA-384 and SHA-512 (FIPS 180-4): the engines of the digest unit. SHA-224 and
// SHA-384 are the wider hash with other initial values, cut short.
#include "digest/sha.h"

#include "digest/sha_constants.h"
#include "digest/sha_kernels.h"
#include "foundation/scope.h"
#include "talvern/module.h"

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_SHA, function, reason); }

// The records are part of the interface.
static_assert(sizeof(VRQ_SHA1_CTX) == 168 && offsetof(VRQ_SHA1_CTX, block_fill) == 8 &&
              offsetof(VRQ_SHA1_CTX, hash) == 12 && offsetof(VRQ_SHA1_CTX, block) == 32 &&
              offsetof(VRQ_SHA1_CTX, staging) == 96 && offsetof(VRQ_SHA1_CTX, staging_fill) == 160);
static_assert(sizeof(VRQ_SHA256_CTX) == 176 && offsetof(VRQ_SHA256_CTX, block_fill) == 8 &&
              offsetof(VRQ_SHA256_CTX, hash) == 12 && offsetof(VRQ_SHA256_CTX, block) == 44 &&
              offsetof(VRQ_SHA256_CTX, staging) == 108 &&
              offsetof(VRQ_SHA256_CTX, staging_fill) == 172);
static_assert(sizeof(VRQ_SHA512_CTX) == 344 && offsetof(VRQ_SHA512_CTX, block_fill) == 8 &&
              offsetof(VRQ_SHA512_CTX, hash) == 16 && offsetof(VRQ_SHA512_CTX, block) == 80 &&
              offsetof(VRQ_SHA512_CTX, staging) == 208 &&
              offsetof(VRQ_SHA512_CTX, staging_fill) == 336);

constexpr sha_constants::InitialValues kInitial = sha_constants::initial_values();
static_assert(kInitial.sha224[0] == 0xC1059ED8 && kInitial.sha256[7] == 0x5BE0CD19 &&
              kInitial.sha384[0] == 0xCBBB9D5DC1059ED8 && kInitial.sha512[7] == 0x5BE0CD19137E2179);

template <class Hash, std::size_t N>
u32 init(void* context, const typename Hash::Word (&initial)[N], u32 function) {
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (context == nullptr) return fail(function, VRQ_ERR_NULL_INPUT);
    BlockHash<Hash>::init(*static_cast<typename Hash::Context*>(context), initial);
    return 0;
}

// The shortened hashes end in a copy of the full digest, which is wiped.
template <class Hash, std::size_t kFull, std::size_t kShort>
u32 final_shortened(void* context, u8* out, u32 (*final_full)(void*, u8*)) {
    SecretBytes<kFull> full;
    if (const u32 s = final_full(context, full.data()); s != 0) return s;
    std::memcpy(out, full.data(), kShort);
    return 0;
}

} // namespace

void vrq::Sha1::compress(u32* state, const u8* data, std::size_t blocks) {
    static constinit std::atomic<const HashKernel<u32>*> cache{nullptr};
    cpu::pick(kSha1Kernels, cache).compress(state, data, blocks);
}

void vrq::Sha256::compress(u32* state, const u8* data, std::size_t blocks) {
    static constinit std::atomic<const HashKernel<u32>*> cache{nullptr};
    cpu::pick(kSha256Kernels, cache).compress(state, data, blocks);
}

void vrq::Sha512::compress(u64* state, const u8* data, std::size_t blocks) {
    static constinit std::atomic<const HashKernel<u64>*> cache{nullptr};
    cpu::pick(kSha512Kernels, cache).compress(state, data, blocks);
}

// SHA-1

u32 vrq_Init_SHA1(void* context) { return init<Sha1>(context, Sha1::kInitial, VRQ_F_INIT_SHA1); }

u32 vrq_Update_SHA1(void* context, const u8* data, u32 length) {
    auto* c = static_cast<VRQ_SHA1_CTX*>(context);
    if (c == nullptr || data == nullptr || c->block_fill > Sha1::kBlock)
        return fail(VRQ_F_UPDATE_SHA1, VRQ_ERR_NULL_INPUT);
    if (!BlockHash<Sha1>::update(*c, data, length))
        return fail(VRQ_F_UPDATE_SHA1, VRQ_ERR_SUB_OPERATION_FAILURE);
    return 0;
}

u32 vrq_Final_SHA1(void* context, u8* out) {
    auto* c = static_cast<VRQ_SHA1_CTX*>(context);
    if (c == nullptr || out == nullptr) return fail(VRQ_F_FINAL_SHA1, VRQ_ERR_NULL_INPUT);
    if (c->block_fill >= Sha1::kBlock) return fail(VRQ_F_FINAL_SHA1, VRQ_ERR_BUF_TOO_SMALL);
    if (!BlockHash<Sha1>::finish(*c)) return fail(VRQ_F_FINAL_SHA1, VRQ_ERR_SUB_OPERATION_FAILURE);
    BlockHash<Sha1>::put_digest(c->hash, out, 20);
    return 0;
}

u32 comp_SHA1(VRQ_SHA1_CTX* context, const u8* block) {
    if (context == nullptr || block == nullptr) return fail(VRQ_F_COMP_SHA1, VRQ_ERR_NULL_INPUT);
    Sha1::compress(context->hash, block, 1);
    return 0;
}

// SHA-224

u32 vrq_Init_SHA224(void* context) {
    return init<Sha256>(context, kInitial.sha224, VRQ_F_INIT_SHA224);
}

u32 vrq_Update_SHA224(void* context, const u8* data, u32 length) {
    if (context == nullptr || data == nullptr) return fail(VRQ_F_UPDATE_SHA224, VRQ_ERR_NULL_INPUT);
    if (vrq_Update_SHA256(context, data, length) != 0)
        return fail(VRQ_F_UPDATE_SHA224, VRQ_ERR_UPDATE_FAILURE);
    return 0;
}

u32 vrq_Final_SHA224(void* context, u8* out) {
    if (context == nullptr || out == nullptr) return fail(VRQ_F_FINAL_SHA224, VRQ_ERR_NULL_INPUT);
    if (final_shortened<Sha256, 32, 28>(context, out, vrq_Final_SHA256) != 0)
        return fail(VRQ_F_FINAL_SHA224, VRQ_ERR_FINAL_FAILURE);
    return 0;
}

// SHA-256

u32 vrq_Init_SHA256(void* context) {
    return init<Sha256>(context, kInitial.sha256, VRQ_F_INIT_SHA256);
}

u32 vrq_Update_SHA256(void* context, const u8* data, u32 length) {
    auto* c = static_cast<VRQ_SHA256_CTX*>(context);
    if (c == nullptr || data == nullptr) return fail(VRQ_F_UPDATE_SHA256, VRQ_ERR_NULL_INPUT);
    if (c->block_fill > Sha256::kBlock) return fail(VRQ_F_UPDATE_SHA256, VRQ_ERR_BUF_TOO_SMALL);
    if (!BlockHash<Sha256>::update(*c, data, length))
        return fail(VRQ_F_UPDATE_SHA256, VRQ_ERR_SUB_OPERATION_FAILURE);
    return 0;
}

u32 vrq_Final_SHA256(void* context, u8* out) {
    auto* c = static_cast<VRQ_SHA256_CTX*>(context);
    if (c == nullptr || out == nullptr) return fail(VRQ_F_FINAL_SHA256, VRQ_ERR_NULL_INPUT);
    if (!BlockHash<Sha256>::finish(*c))
        return fail(VRQ_F_FINAL_SHA256, VRQ_ERR_SUB_OPERATION_FAILURE);
    BlockHash<Sha256>::put_digest(c->hash, out, 32);
    return 0;
}

u32 comp_SHA256(VRQ_SHA256_CTX* context, const u8* block) {
    if (context == nullptr || block == nullptr) return fail(VRQ_F_COMP_SHA256, VRQ_ERR_NULL_INPUT);
    Sha256::compress(context->hash, block, 1);
    return 0;
}

// SHA-384

u32 vrq_Init_SHA384(void* context) {
    return init<Sha512>(context, kInitial.sha384, VRQ_F_INIT_SHA384);
}

u32 vrq_Update_SHA384(void* context, const u8* data, u32 length) {
    if (context == nullptr || data == nullptr) return fail(VRQ_F_UPDATE_SHA384, VRQ_ERR_NULL_INPUT);
    if (vrq_Update_SHA512(context, data, length) != 0)
        return fail(VRQ_F_UPDATE_SHA384, VRQ_ERR_UPDATE_FAILURE);
    return 0;
}

u32 vrq_Final_SHA384(void* context, u8* out) {
    if (context == nullptr || out == nullptr) return fail(VRQ_F_FINAL_SHA384, VRQ_ERR_NULL_INPUT);
    // Callers rely on the status of SHA-512's Final here, unlike in SHA-224.
    return final_shortened<Sha512, 64, 48>(context, out, vrq_Final_SHA512);
}

// SHA-512

u32 vrq_Init_SHA512(void* context) {
    return init<Sha512>(context, kInitial.sha512, VRQ_F_INIT_SHA512);
}

u32 vrq_Update_SHA512(void* context, const u8* data, u32 length) {
    auto* c = static_cast<VRQ_SHA512_CTX*>(context);
    if (c == nullptr || data == nullptr || c->block_fill > Sha512::kBlock)
        return fail(VRQ_F_UPDATE_SHA512, VRQ_ERR_NULL_INPUT);
    if (!BlockHash<Sha512>::update(*c, data, length))
        return fail(VRQ_F_UPDATE_SHA512, VRQ_ERR_SUB_OPERATION_FAILURE);
    return 0;
}

u32 vrq_Final_SHA512(void* context, u8* out) {
    auto* c = static_cast<VRQ_SHA512_CTX*>(context);
    if (c == nullptr || out == nullptr) return fail(VRQ_F_FINAL_SHA512, VRQ_ERR_NULL_INPUT);
    if (!BlockHash<Sha512>::finish(*c))
        return fail(VRQ_F_FINAL_SHA512, VRQ_ERR_SUB_OPERATION_FAILURE);
    BlockHash<Sha512>::put_digest(c->hash, out, 64);
    return 0;
}

u32 comp_SHA512(VRQ_SHA512_CTX* context, const u8* block) {
    // This function has no code of its own.
    if (context == nullptr || block == nullptr)
        return fail(VRQ_F_UPDATE_SHA512, VRQ_ERR_NULL_INPUT);
    Sha512::compress(context->hash, block, 1);
    return 0;
}
