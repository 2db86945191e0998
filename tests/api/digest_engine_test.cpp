// The hash engines driven directly: what the records hold, padding, statuses of damaged records, and
// the DES of MDC-2.
#include "api/digest_cases.h"

#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/des.h>

#include <array>
#include <cstring>

namespace {

using namespace test;

using Init = uint32_t (*)(void*);
using Update = uint32_t (*)(void*, const uint8_t*, uint32_t);
using Final = uint32_t (*)(void*, uint8_t*);

// The engines with a staging buffer, and their statuses.
template <class Context>
struct Engine {
    const char* name;
    Init init;
    Update update;
    Final final;
    uint32_t init_null, update_null, update_empty, update_block_fill, update_staging;
    uint32_t final_null, final_block_fill, final_staging;
};

constexpr Engine<VRQ_SHA1_CTX> kSha1 = {
    "SHA-1", vrq_Init_SHA1, vrq_Update_SHA1, vrq_Final_SHA1, 0x1B010049, 0x1B020049,
    0,       0x1B020049,    0x1B020059,      0x1B030049,     0x1B030006, 0x1B030059};
constexpr Engine<VRQ_SHA256_CTX> kSha224 = {
    "SHA-224", vrq_Init_SHA224, vrq_Update_SHA224, vrq_Final_SHA224, 0x1B050049, 0x1B060049,
    0,         0x1B06005C,      0x1B06005C,        0x1B070049,       0x1B070019, 0x1B070019};
constexpr Engine<VRQ_SHA256_CTX> kSha256 = {
    "SHA-256", vrq_Init_SHA256, vrq_Update_SHA256, vrq_Final_SHA256, 0x1B080049, 0x1B090049,
    0,         0x1B090006,      0x1B090059,        0x1B0A0049,       0x1B0A0059, 0x1B0A0059};
constexpr Engine<VRQ_SHA512_CTX> kSha384 = {
    "SHA-384", vrq_Init_SHA384, vrq_Update_SHA384, vrq_Final_SHA384, 0x1B0C0049, 0x1B0D0049,
    0,         0x1B0D005C,      0x1B0D005C,        0x1B0E0049,       0x1B210059, 0x1B210059};
constexpr Engine<VRQ_SHA512_CTX> kSha512 = {
    "SHA-512", vrq_Init_SHA512, vrq_Update_SHA512, vrq_Final_SHA512, 0x1B0F0049, 0x1B200049,
    0,         0x1B200049,      0x1B200059,        0x1B210049,       0x1B210059, 0x1B210059};
constexpr Engine<VRQ_MD5_CTX> kMd5 = {"MD5",      vrq_Init_MD5, vrq_Update_MD5, vrq_Final_MD5,
                                      0x12010049, 0x12020049,   0x1202002B,     0x12020059,
                                      0x12020059, 0x12030049,   0x12030059,     0x12030059};

template <class Check>
void for_each_staged_engine(Check check) {
    check(kSha1);
    check(kSha224);
    check(kSha256);
    check(kSha384);
    check(kSha512);
    check(kMd5);
}

template <class Context>
constexpr std::size_t kBlock = sizeof(Context::staging);
template <class Context>
constexpr std::size_t kLengthAt = kBlock<Context> - kBlock<Context> / 8;

bool all_zero(const uint8_t* bytes, std::size_t size) {
    return std::all_of(bytes, bytes + size, [](uint8_t byte) { return byte == 0; });
}

// After any number of updates the record holds what staging byte by byte would leave.
template <class Context>
void check_record(const Engine<Context>& engine) {
    SCOPED_TRACE(engine.name);
    constexpr std::size_t block = kBlock<Context>;
    std::mt19937 random(41);
    uint8_t out[64];
    for (int round = 0; round < 50; ++round) {
        const Bytes message = random_bytes(random, random() % (5 * block));
        Context context;
        std::memset(&context, 0xEE, sizeof context);
        ASSERT_EQ(0U, engine.init(&context));
        ASSERT_TRUE(all_zero(context.block, block) && all_zero(context.staging, block));
        std::size_t total = 0;
        feed_in_pieces(random, message, 2 * block + 5, [&](const uint8_t* data, int32_t n) {
            const uint32_t status = engine.update(&context, data, static_cast<uint32_t>(n));
            total += static_cast<std::size_t>(n);
            const std::size_t staged = total % block;
            EXPECT_EQ((total - staged) * 8, context.bit_count);
            EXPECT_EQ(staged, context.staging_fill);
            EXPECT_EQ(0U, context.block_fill);
            EXPECT_EQ(0, std::memcmp(context.staging, message.data() + total - staged, staged));
            return status;
        });
        ASSERT_EQ(0U, engine.final(&context, out));
        EXPECT_EQ(total * 8, context.bit_count);
        EXPECT_EQ(0U, context.staging_fill);
        EXPECT_EQ(total % block < kLengthAt<Context> ? total % block : 0, context.block_fill);
        EXPECT_TRUE(all_zero(context.block, block) && all_zero(context.staging, block));
    }
}

TEST(DigestEngine, RecordsAreAsIfEveryByteWasStaged) {
    for_each_staged_engine([](const auto& engine) { check_record(engine); });
}

// Bytes in the block buffer come before the staged ones.
template <class Context>
void check_block_buffer(const Engine<Context>& engine) {
    SCOPED_TRACE(engine.name);
    constexpr uint32_t block = kBlock<Context>;
    std::mt19937 random(42);
    const Bytes message = random_bytes(random, 2 * block);
    for (uint32_t in_block = 0; in_block < block; in_block += 7) {
        for (uint32_t staged = 0; staged < block; staged += 9) {
            Context context;
            uint8_t expected[64] = {};
            uint8_t out[64] = {};
            engine.init(&context);
            if (in_block + staged != 0) engine.update(&context, message.data(), in_block + staged);
            ASSERT_EQ(0U, engine.final(&context, expected));

            engine.init(&context);
            std::memcpy(context.block, message.data(), in_block);
            context.block_fill = in_block;
            std::memcpy(context.staging, message.data() + in_block, staged);
            context.staging_fill = staged;
            ASSERT_EQ(0U, engine.final(&context, out));
            ASSERT_EQ(0, std::memcmp(expected, out, sizeof out)) << in_block << " + " << staged;
        }
    }
}

TEST(DigestEngine, FinalJoinsBothBuffers) {
    for_each_staged_engine([](const auto& engine) { check_block_buffer(engine); });
}

template <class Context>
void check_statuses(const Engine<Context>& engine) {
    SCOPED_TRACE(engine.name);
    constexpr uint32_t block = kBlock<Context>;
    const uint8_t data[8] = {};
    uint8_t out[64];
    Context context;
    EXPECT_EQ(engine.init_null, engine.init(nullptr));
    ASSERT_EQ(0U, engine.init(&context));
    EXPECT_EQ(engine.update_null, engine.update(nullptr, data, 1));
    EXPECT_EQ(engine.update_null, engine.update(&context, nullptr, 0));
    EXPECT_EQ(engine.update_empty, engine.update(&context, data, 0));
    EXPECT_EQ(engine.final_null, engine.final(nullptr, out));
    EXPECT_EQ(engine.final_null, engine.final(&context, nullptr));

    for (const uint32_t fill : {block + 1, 0xFFFFFFFFU}) {
        engine.init(&context);
        context.block_fill = fill;
        EXPECT_EQ(engine.update_block_fill, engine.update(&context, data, 1));
        EXPECT_EQ(engine.final_block_fill, engine.final(&context, out));
        engine.init(&context);
        context.staging_fill = fill;
        EXPECT_EQ(engine.update_staging, engine.update(&context, data, 1));
        EXPECT_EQ(engine.final_staging, engine.final(&context, out));
    }
    engine.init(&context);
    context.block_fill = block;
    EXPECT_EQ(0U, engine.update(&context, data, 1));
    EXPECT_EQ(engine.final_block_fill, engine.final(&context, out));
    // A staging buffer that is exactly full is compressed by the next update.
    engine.init(&context);
    context.staging_fill = block;
    EXPECT_EQ(0U, engine.update(&context, data, 1));
    EXPECT_EQ(block * 8, context.bit_count);
    EXPECT_EQ(1U, context.staging_fill);
}

TEST(DigestEngine, StatusesOfStagedEngines) {
    for_each_staged_engine([](const auto& engine) { check_statuses(engine); });
}

TEST(DigestEngine, StatusesOfTheOthers) {
    const uint8_t data[8] = {};
    uint8_t out[20];
    VRQ_HAS160_CTX has160;
    EXPECT_EQ(0x0E010049U, vrq_Init_HAS160(nullptr));
    ASSERT_EQ(0U, vrq_Init_HAS160(&has160));
    EXPECT_EQ(0x0E020049U, vrq_Update_HAS160(nullptr, data, 1));
    EXPECT_EQ(0x0E02002BU, vrq_Update_HAS160(&has160, nullptr, 0));
    EXPECT_EQ(0x0E020049U, vrq_Update_HAS160(&has160, nullptr, 1));
    EXPECT_EQ(0x0E030049U, vrq_Final_HAS160(nullptr, out));
    EXPECT_EQ(0x0E030049U, vrq_Final_HAS160(&has160, nullptr));

    VRQ_MDC2_CTX mdc2;
    EXPECT_EQ(0x13010049U, vrq_Init_MDC2(nullptr));
    ASSERT_EQ(0U, vrq_Init_MDC2(&mdc2));
    EXPECT_EQ(0x13020049U, vrq_Update_MDC2(nullptr, data, 1));
    EXPECT_EQ(0x13020049U, vrq_Update_MDC2(&mdc2, nullptr, 0));
    EXPECT_EQ(0U, vrq_Update_MDC2(&mdc2, data, 0));
    EXPECT_EQ(0x13030049U, vrq_Final_MDC2(nullptr, out));
    EXPECT_EQ(0x13030049U, vrq_Final_MDC2(&mdc2, nullptr));
    for (const uint32_t fill : {9U, 0xFFFFFFFFU}) {
        for (const uint32_t padding : {1U, 2U}) {
            mdc2.fill = fill;
            mdc2.padding_type = padding;
            EXPECT_EQ(0x13020059U, vrq_Update_MDC2(&mdc2, data, 1));
            EXPECT_EQ(0x13030059U, vrq_Final_MDC2(&mdc2, out));
        }
    }
    mdc2.fill = 8; // no room for the padding bit
    EXPECT_EQ(0x13030059U, vrq_Final_MDC2(&mdc2, out));
    mdc2.padding_type = 1;
    EXPECT_EQ(0U, vrq_Final_MDC2(&mdc2, out));
}

TEST(DigestEngine, CompressionOfOneBlock) {
    std::mt19937 random(43);
    const Bytes block = random_bytes(random, 128);
    VRQ_SHA1_CTX sha1, sha1_whole;
    VRQ_SHA256_CTX sha256, sha256_whole;
    VRQ_SHA512_CTX sha512, sha512_whole;
    VRQ_MD5_CTX md5, md5_whole;
    vrq_Init_SHA1(&sha1), vrq_Init_SHA1(&sha1_whole);
    vrq_Init_SHA256(&sha256), vrq_Init_SHA256(&sha256_whole);
    vrq_Init_SHA512(&sha512), vrq_Init_SHA512(&sha512_whole);
    vrq_Init_MD5(&md5), vrq_Init_MD5(&md5_whole);
    EXPECT_EQ(0U, comp_SHA1(&sha1, block.data()));
    EXPECT_EQ(0U, comp_SHA256(&sha256, block.data()));
    EXPECT_EQ(0U, comp_SHA512(&sha512, block.data()));
    EXPECT_EQ(0U, comp_MD5(&md5, block.data()));
    vrq_Update_SHA1(&sha1_whole, block.data(), 64);
    vrq_Update_SHA256(&sha256_whole, block.data(), 64);
    vrq_Update_SHA512(&sha512_whole, block.data(), 128);
    vrq_Update_MD5(&md5_whole, block.data(), 64);
    EXPECT_EQ(0, std::memcmp(sha1.hash, sha1_whole.hash, sizeof sha1.hash));
    EXPECT_EQ(0, std::memcmp(sha256.hash, sha256_whole.hash, sizeof sha256.hash));
    EXPECT_EQ(0, std::memcmp(sha512.hash, sha512_whole.hash, sizeof sha512.hash));
    EXPECT_EQ(0, std::memcmp(md5.state, md5_whole.state, sizeof md5.state));
    EXPECT_EQ(0U, sha256.bit_count) << "only the hash words change";

    EXPECT_EQ(0x1B040049U, comp_SHA1(nullptr, block.data()));
    EXPECT_EQ(0x1B040049U, comp_SHA1(&sha1, nullptr));
    EXPECT_EQ(0x1B0B0049U, comp_SHA256(nullptr, block.data()));
    EXPECT_EQ(0x1B0B0049U, comp_SHA256(&sha256, nullptr));
    EXPECT_EQ(0x1B200049U, comp_SHA512(&sha512, nullptr));
    EXPECT_EQ(0x12020049U, comp_MD5(nullptr, block.data()));
    EXPECT_EQ(0x0E020049U, comp_HAS160(nullptr, block.data()));
    EXPECT_EQ(0x13020049U, mdc2_comp(nullptr, block.data()));
}

// HAS-160 padding at every length, laid out here and compressed block by block.
TEST(DigestEngine, Has160Padding) {
    std::mt19937 random(44);
    for (std::size_t size = 0; size <= 200; ++size) {
        const Bytes message = random_bytes(random, size);
        Bytes padded = message;
        padded.push_back(0x80);
        while (padded.size() % 64 != 56) padded.push_back(0);
        for (int i = 0; i < 8; ++i) padded.push_back(static_cast<uint8_t>(size * 8 >> 8 * i));
        VRQ_HAS160_CTX context;
        vrq_Init_HAS160(&context);
        for (std::size_t at = 0; at < padded.size(); at += 64)
            ASSERT_EQ(0U, comp_HAS160(&context, padded.data() + at));
        Bytes expected(20);
        std::memcpy(expected.data(), context.state, 20);
        ASSERT_EQ(expected, digest_of(VRQ_ID_HAS160, message)) << size;
    }
}

TEST(DigestEngine, Has160CarriesTheBitCount) {
    VRQ_HAS160_CTX context;
    vrq_Init_HAS160(&context);
    context.bit_count_low = 0xFFFFFE00; // one block short of the carry
    const Bytes block(64);
    ASSERT_EQ(0U, vrq_Update_HAS160(&context, block.data(), 64));
    EXPECT_EQ(0U, context.bit_count_low);
    EXPECT_EQ(1U, context.bit_count_high);
}

void des(const uint8_t* key, const uint8_t* in, uint8_t* out) {
    DES_cblock key_block;
    DES_cblock block;
    std::memcpy(key_block, key, sizeof key_block);
    std::memcpy(block, in, sizeof block);
    DES_key_schedule schedule;
    DES_set_key_unchecked(&key_block, &schedule);
    DES_ecb_encrypt(&block, &block, &schedule, DES_ENCRYPT);
    std::memcpy(out, block, sizeof block);
}

TEST(DigestEngine, DesOfMdc2AgreesWithAnotherLibrary) {
    std::mt19937 random(45);
    for (int i = 0; i < 300; ++i) {
        const Bytes key = random_bytes(random, 8);
        const Bytes block = random_bytes(random, 8);
        Bytes expected(8);
        des(key.data(), block.data(), expected.data());
        VRQ_MDC2_DES_KEY schedule;
        uint32_t words[2];
        init_MDC2_DES_KEY(&schedule, key.data());
        std::memcpy(words, block.data(), 8);
        encrypt_MDC2_DES_Block(words, &schedule);
        ASSERT_EQ(0, std::memcmp(expected.data(), words, 8));
    }
    for (int byte = 0; byte < 256; ++byte) {
        DES_cblock parity = {};
        parity[0] = static_cast<uint8_t>(byte);
        DES_set_odd_parity(&parity);
        EXPECT_EQ(parity[0], MDC2_DES_OddParityBit_Array[byte]);
    }
}

// MDC-2 with either padding, over the other library's DES.
Bytes mdc2_reference(Bytes message, uint32_t padding_type) {
    if (padding_type == 2) message.push_back(0x80);
    while (message.size() % 8 != 0) message.push_back(0);
    std::array<uint8_t, 16> h;
    std::fill_n(h.begin(), 8, 0x52);
    std::fill_n(h.begin() + 8, 8, 0x25);
    for (std::size_t at = 0; at < message.size(); at += 8) {
        std::array<uint8_t, 16> out;
        h[0] = static_cast<uint8_t>((h[0] & 0x9F) | 0x40);
        h[8] = static_cast<uint8_t>((h[8] & 0x9F) | 0x20);
        des(h.data(), message.data() + at, out.data());
        des(h.data() + 8, message.data() + at, out.data() + 8);
        for (std::size_t i = 0; i < 16; ++i) out[i] ^= message[at + i % 8];
        std::swap_ranges(out.begin() + 4, out.begin() + 8, out.begin() + 12);
        h = out;
    }
    return {h.begin(), h.end()};
}

TEST(DigestEngine, Mdc2WithEitherPadding) {
    std::mt19937 random(46);
    for (std::size_t size = 0; size <= 100; ++size) {
        const Bytes message = random_bytes(random, size);
        for (const uint32_t padding_type : {1U, 2U}) {
            VRQ_MDC2_CTX context;
            ASSERT_EQ(0U, vrq_Init_MDC2(&context));
            EXPECT_EQ(1U, context.padding_type);
            feed_in_pieces(random, message, 20, [&](const uint8_t* data, int32_t n) {
                return vrq_Update_MDC2(&context, data, static_cast<uint32_t>(n));
            });
            EXPECT_EQ(size % 8, context.fill);
            context.padding_type = padding_type;
            Bytes out(16);
            ASSERT_EQ(0U, vrq_Final_MDC2(&context, out.data()));
            ASSERT_EQ(mdc2_reference(message, padding_type), out) << size << " " << padding_type;
        }
    }
}

} // namespace
