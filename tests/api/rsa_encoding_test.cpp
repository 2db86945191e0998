// The encodings of RSA on their own: MGF1, padding of messages, encoding of hashes.
#include "harness/rsa_cases.h"

namespace {

using namespace test;

constexpr uint32_t kDigests[] = {VRQ_ID_SHA1,   VRQ_ID_SHA224, VRQ_ID_SHA256, VRQ_ID_SHA384,
                                 VRQ_ID_SHA512, VRQ_ID_MD5,    VRQ_ID_HAS160, VRQ_ID_MDC2};

int32_t size_of(const Bytes& bytes) { return static_cast<int32_t>(bytes.size()); }

// A unit whose digest and mode word name one digest.
RsaUnit encoder(std::size_t bits, uint32_t digest) {
    RsaUnit unit = rsa_key(bits).load(Parts::kPublic);
    EXPECT_EQ(0U, VRQ_Init_RSAES(unit.get(), 8, 0, digest));
    return unit;
}

TEST(RsaEncoding, Mgf1) {
    for (const uint32_t digest : kDigests) {
        for (const std::size_t seed_length : {0, 1, 20, 64}) {
            const Bytes seed(seed_length + 4, 0x3C);
            Bytes stream;
            for (uint32_t counter = 0; stream.size() < 3000; ++counter) {
                Bytes input = seed;
                for (std::size_t i = 0; i < 4; ++i)
                    input[seed_length + i] = static_cast<uint8_t>(counter >> (24 - 8 * i));
                Bytes block(64);
                uint32_t length = 0;
                ASSERT_EQ(0U, VRQ_DIGEST(digest, input.data(), static_cast<uint32_t>(input.size()),
                                         block.data(), &length));
                stream.insert(stream.end(), block.begin(), block.begin() + length);
            }
            for (const std::size_t length : {1, 16, 20, 21, 64, 65, 255, 3000}) {
                Bytes out(length);
                EXPECT_EQ(0U, PKCS1_MGF1(out.data(), size_of(out), seed.data(),
                                         static_cast<int32_t>(seed_length), digest));
                EXPECT_EQ(Bytes(stream.begin(), stream.begin() + static_cast<long>(length)), out);
            }
        }
    }
    const Bytes seed(8);
    Bytes known(50);
    Bytes unknown(50);
    EXPECT_EQ(0U, PKCS1_MGF1(known.data(), 50, seed.data(), 8, VRQ_ID_SHA1));
    EXPECT_EQ(0U, PKCS1_MGF1(unknown.data(), 50, seed.data(), 8, 0x12345600));
    EXPECT_EQ(known, unknown) << "an unknown digest is taken for SHA-1";
    EXPECT_EQ(0U, PKCS1_MGF1(nullptr, 0, nullptr, 0, 0));
    EXPECT_EQ(0U, PKCS1_MGF1(nullptr, -1, nullptr, 0, 0));
    EXPECT_EQ(0x180E0049U, PKCS1_MGF1(nullptr, 1, seed.data(), 8, VRQ_ID_SHA1));
    EXPECT_EQ(0x180E0049U, PKCS1_MGF1(known.data(), 1, nullptr, 8, VRQ_ID_SHA1));
    EXPECT_EQ(0x180E002BU, PKCS1_MGF1(known.data(), 1, seed.data(), -1, VRQ_ID_SHA1));
}

TEST(RsaEncoding, Pkcs1OfMessages) {
    const RsaUnit unit(VRQ_New_RSA());
    const Bytes message(100, 0);
    for (const uint32_t direction : {0U, 1U}) {
        unit->direction = direction;
        for (int32_t k = 11; k < 100; ++k) {
            Bytes out(static_cast<std::size_t>(k) + 1, 0xA5);
            const int32_t longest = k - 11;
            ASSERT_EQ(k, VRQ_Encode_RSAES_PKCS1_PADDING(unit.get(), message.data(), longest,
                                                        out.data(), k));
            EXPECT_EQ(0xA5, out.back());
            EXPECT_EQ((Bytes{0, static_cast<uint8_t>(2 - direction)}),
                      Bytes(out.begin(), out.begin() + 2));
            for (std::size_t i = 2; i < 10; ++i)
                EXPECT_TRUE(direction == 1 ? out[i] == 0xFF : out[i] != 0);
            EXPECT_EQ(Bytes(message.begin(), message.begin() + longest + 1),
                      Bytes(out.begin() + 10, out.end() - 1));
            EXPECT_EQ(0, VRQ_Encode_RSAES_PKCS1_PADDING(unit.get(), message.data(), longest + 1,
                                                        out.data(), k));
        }
        for (const int32_t k : {-1, 0, 10, INT32_MIN})
            EXPECT_EQ(0, VRQ_Encode_RSAES_PKCS1_PADDING(unit.get(), message.data(), 0, nullptr, k));
    }
    Bytes out(4096);
    unit->direction = 0;
    ASSERT_EQ(4096, VRQ_Encode_RSAES_PKCS1_PADDING(unit.get(), nullptr, 0, out.data(), 4096));
    EXPECT_EQ(out.end() - 1, std::find(out.begin() + 1, out.end(), 0)) << "no zero in the padding";
    EXPECT_EQ(0, VRQ_Encode_RSAES_PKCS1_PADDING(nullptr, message.data(), 1, out.data(), 64));
    EXPECT_EQ(0, VRQ_Encode_RSAES_PKCS1_PADDING(unit.get(), nullptr, 1, out.data(), 64));
    EXPECT_EQ(0, VRQ_Encode_RSAES_PKCS1_PADDING(unit.get(), message.data(), -1, out.data(), 64));
    EXPECT_EQ(0, VRQ_Encode_RSAES_PKCS1_PADDING(unit.get(), message.data(), 1, nullptr, 64));
}

TEST(RsaEncoding, Pkcs1Decoding) {
    const RsaUnit unit(VRQ_New_RSA());
    Bytes out(64);
    const auto decode = [&](const Bytes& block, int32_t capacity) {
        return VRQ_Decode_RSAES_PKCS1_PADDING(unit.get(), block.data(), size_of(block), out.data(),
                                              capacity);
    };
    const Bytes block = {2, 1, 2, 3, 4, 5, 6, 7, 8, 0, 0xAA, 0, 0xBB};
    EXPECT_EQ(3, decode(block, 3));
    EXPECT_EQ((Bytes{0xAA, 0, 0xBB}), Bytes(out.begin(), out.begin() + 3));
    EXPECT_EQ(0, decode(block, 2)) << "longer than the output";
    EXPECT_EQ(0, decode(block, 0));
    EXPECT_EQ(0, decode(block, -1));
    for (std::size_t length = 1; length < 11; ++length)
        EXPECT_EQ(0, decode(Bytes(block.begin(), block.begin() + static_cast<long>(length)), 64))
            << length;
    EXPECT_EQ(1, decode({1, 1, 2, 3, 4, 5, 6, 7, 8, 0, 9}, 64))
        << "type 1, padding that is not 0xFF";
    EXPECT_EQ(0, decode({2, 1, 2, 3, 4, 5, 6, 7, 0, 9, 9}, 64)) << "seven bytes of padding";
    EXPECT_EQ(0, decode({0, 2, 1, 2, 3, 4, 5, 6, 7, 8, 0, 9}, 64)) << "a leading zero byte";
    EXPECT_EQ(0, VRQ_Decode_RSAES_PKCS1_PADDING(nullptr, block.data(), 13, out.data(), 64));
    EXPECT_EQ(0, VRQ_Decode_RSAES_PKCS1_PADDING(unit.get(), nullptr, 13, out.data(), 64));
    EXPECT_EQ(0, VRQ_Decode_RSAES_PKCS1_PADDING(unit.get(), block.data(), 13, nullptr, 64));
    EXPECT_EQ(0, VRQ_Decode_RSAES_PKCS1_PADDING(unit.get(), block.data(), -1, out.data(), 64));
}

TEST(RsaEncoding, OaepWithLabels) {
    for (const uint32_t digest : kDigests) {
        const RsaUnit unit = encoder(2041, digest);
        const auto hash = static_cast<int32_t>(VRQ_Get_DIGEST_Length(digest));
        for (const int32_t lead : {0, 1}) {
            const int32_t size = 255 + lead;
            const Bytes message(static_cast<std::size_t>(256 - 2 * hash - 2), 0x42);
            const Bytes label = {'l', 'a', 'b'};
            Bytes block(static_cast<std::size_t>(size) + 1, 0xA5);
            Bytes out(300);
            ASSERT_EQ(size,
                      VRQ_Encode_RSAES_OAEP_PADDING(unit.get(), message.data(), size_of(message),
                                                    block.data(), size, label.data(), 3, lead));
            EXPECT_EQ(0xA5, block.back());
            const auto decode = [&](int32_t capacity, int32_t label_length) {
                return VRQ_Decode_RSAES_OAEP_PADDING(unit.get(), block.data(), size, out.data(),
                                                     capacity, label.data(), label_length, lead);
            };
            EXPECT_EQ(size_of(message), decode(300, 3));
            EXPECT_EQ(message, Bytes(out.begin(), out.begin() + size_of(message)));
            EXPECT_EQ(0, decode(300, 2)) << "another label";
            EXPECT_EQ(0, decode(300, 0));
            EXPECT_EQ(size_of(message), decode(size_of(message), 3));
            EXPECT_EQ(0, decode(size_of(message) - 1, 3)) << "nothing beyond the output";
            EXPECT_EQ(0, VRQ_Encode_RSAES_OAEP_PADDING(unit.get(), message.data(),
                                                       size_of(message) + 1, block.data(), size,
                                                       nullptr, 0, lead));
            EXPECT_EQ(-1, VRQ_Encode_RSAES_OAEP_PADDING(unit.get(), message.data(), 1, block.data(),
                                                        size - 1, nullptr, 0, lead));
        }
    }
}

TEST(RsaEncoding, OaepArguments) {
    const RsaUnit unit = encoder(1024, VRQ_ID_SHA1);
    const RsaUnit bare = rsa_key(1024).load(Parts::kPublic);
    const Bytes in(200, 1);
    Bytes out(200);
    EXPECT_EQ(-1,
              VRQ_Encode_RSAES_OAEP_PADDING(nullptr, in.data(), 1, out.data(), 128, nullptr, 0, 0));
    EXPECT_EQ(
        -1, VRQ_Encode_RSAES_OAEP_PADDING(unit.get(), nullptr, 1, out.data(), 128, nullptr, 0, 0));
    EXPECT_EQ(-1, VRQ_Encode_RSAES_OAEP_PADDING(unit.get(), in.data(), -1, out.data(), 128, nullptr,
                                                0, 0));
    EXPECT_EQ(-1,
              VRQ_Encode_RSAES_OAEP_PADDING(unit.get(), in.data(), 1, nullptr, 128, nullptr, 0, 0));
    EXPECT_EQ(
        -1, VRQ_Encode_RSAES_OAEP_PADDING(unit.get(), in.data(), 1, out.data(), -1, nullptr, 0, 0));
    EXPECT_EQ(-1, VRQ_Encode_RSAES_OAEP_PADDING(unit.get(), in.data(), 1, out.data(), 128, nullptr,
                                                1, 0));
    EXPECT_EQ(-1, VRQ_Encode_RSAES_OAEP_PADDING(unit.get(), in.data(), 1, out.data(), 128,
                                                in.data(), -1, 0));
    EXPECT_EQ(
        -1, VRQ_Encode_RSAES_OAEP_PADDING(bare.get(), in.data(), 1, out.data(), 128, nullptr, 0, 0))
        << "no digest";
    const RsaUnit small = encoder(512, VRQ_ID_SHA256); // k - 1 = 63 < 65
    EXPECT_EQ(-1, VRQ_Encode_RSAES_OAEP_PADDING(small.get(), in.data(), 0, out.data(), 64, nullptr,
                                                0, 0));
    EXPECT_EQ(0, VRQ_Decode_RSAES_OAEP_PADDING(small.get(), in.data(), 63, out.data(), 64, nullptr,
                                               0, 0));
    EXPECT_EQ(0, VRQ_Decode_RSAES_OAEP_PADDING(bare.get(), in.data(), 127, out.data(), 200, nullptr,
                                               0, 0));
    for (const int32_t length : {-1, 0, 1, 127, 128, 129, 200}) {
        for (const int32_t lead : {0, 1})
            EXPECT_EQ(0, VRQ_Decode_RSAES_OAEP_PADDING(unit.get(), in.data(), length, out.data(),
                                                       200, nullptr, 0, lead));
    }
    EXPECT_EQ(
        0, VRQ_Decode_RSAES_OAEP_PADDING(nullptr, in.data(), 127, out.data(), 200, nullptr, 0, 0));
    EXPECT_EQ(
        0, VRQ_Decode_RSAES_OAEP_PADDING(unit.get(), nullptr, 127, out.data(), 200, nullptr, 0, 0));
    EXPECT_EQ(
        0, VRQ_Decode_RSAES_OAEP_PADDING(unit.get(), in.data(), 127, nullptr, 200, nullptr, 0, 0));
    EXPECT_EQ(0, VRQ_Decode_RSAES_OAEP_PADDING(unit.get(), in.data(), 127, out.data(), -1, nullptr,
                                               0, 0));
}

// A block that begins with zeros reaches the decoder without them.
TEST(RsaEncoding, BlocksThatLostLeadingZeros) {
    const RsaUnit unit = encoder(512, VRQ_ID_SHA1);
    const Bytes message = {1, 2, 3};
    Bytes block(63, 0xFF);
    while (block[0] != 0)
        ASSERT_EQ(63, VRQ_Encode_RSAES_OAEP_PADDING(unit.get(), message.data(), 3, block.data(), 63,
                                                    nullptr, 0, 0));
    Bytes out(63);
    EXPECT_EQ(3, VRQ_Decode_RSAES_OAEP_PADDING(unit.get(), block.data() + 1, 62, out.data(), 63,
                                               nullptr, 0, 0));
    EXPECT_EQ(3, VRQ_Decode_RSAES_OAEP_PADDING(unit.get(), block.data() + 1, 62, out.data(), 63,
                                               nullptr, 0, 1));
    Bytes longer = block;
    longer.insert(longer.begin(), 0);
    EXPECT_EQ(0, VRQ_Decode_RSAES_OAEP_PADDING(unit.get(), longer.data(), 64, out.data(), 63,
                                               nullptr, 0, 0));
    EXPECT_EQ(3, VRQ_Decode_RSAES_OAEP_PADDING(unit.get(), longer.data(), 64, out.data(), 63,
                                               nullptr, 0, 1));

    const Bytes hash(20, 0x11);
    Bytes em(64, 0xFF);
    while (em[0] != 0)
        ASSERT_EQ(0U, VRQ_Add_RSASSA_PKCS1_PSS_Encode(unit.get(), em.data(), 64, hash.data(), 20,
                                                      20, unit->digest));
    const auto check = [&](const Bytes& bytes, std::size_t skip) {
        return VRQ_Check_RSASSA_PKCS1_PSS_Encode(unit.get(), bytes.data() + skip,
                                                 size_of(bytes) - static_cast<int32_t>(skip),
                                                 hash.data(), 20, 20, unit->digest);
    };
    EXPECT_EQ(0U, check(em, 0));
    EXPECT_EQ(0U, check(em, 1));
    EXPECT_EQ(0x1810005EU, check(em, 2 + static_cast<std::size_t>(em[1] == 0)));
    em.insert(em.begin(), 0);
    EXPECT_EQ(0x1810005EU, check(em, 0)) << "longer than the layout";
}

TEST(RsaEncoding, Pkcs1OfHashes) {
    struct Row {
        uint32_t digest;
        int32_t prefix;
        int32_t shortest;
    };
    const Bytes hash(64, 0x99);
    for (const Row& row :
         {Row{VRQ_ID_SHA1, 15, 26}, Row{VRQ_ID_SHA256, 19, 30}, Row{VRQ_ID_SHA384, 19, 30},
          Row{VRQ_ID_SHA512, 19, 30}, Row{VRQ_ID_MD5, 18, 29}}) {
        const auto length = static_cast<int32_t>(VRQ_Get_DIGEST_Length(row.digest));
        const int32_t fixed = 3 + row.prefix;
        for (int32_t size = row.shortest - 2; size < 130; ++size) {
            Bytes out(static_cast<std::size_t>(size) + 1, 0xA5);
            const uint32_t result =
                VRQ_Add_EMSA_PKCS1_v1_5_Encode(out.data(), size, hash.data(), length, row.digest);
            EXPECT_EQ(size < row.shortest || size < fixed + length ? 43U : 0U, result) << size;
            EXPECT_EQ(0xA5, out.back());
            if (result != 0) continue;
            out.pop_back();
            const auto check = [&](int32_t block_length) {
                return VRQ_Check_EMSA_PKCS1_v1_5_Encode(out.data() + 1, block_length, size,
                                                        hash.data(), length, row.digest);
            };
            EXPECT_EQ(0U, check(size - 1));
            EXPECT_EQ(0x180D000CU, check(1)) << "the value 1";
            EXPECT_EQ(0x180D000CU, check(size - 2)) << "all but the last byte";
            EXPECT_EQ(1U, check(0));
            EXPECT_EQ(1U, check(-1));
        }
        EXPECT_EQ(0U, VRQ_Add_EMSA_PKCS1_v1_5_Encode(Bytes(64).data(), row.shortest, hash.data(), 8,
                                                     row.digest))
            << "the bound leaves the hash out";
        EXPECT_EQ(43U,
                  VRQ_Add_EMSA_PKCS1_v1_5_Encode(nullptr, 100, hash.data(), length, row.digest));
        EXPECT_EQ(43U, VRQ_Add_EMSA_PKCS1_v1_5_Encode(Bytes(100).data(), 100, nullptr, length,
                                                      row.digest));
        EXPECT_EQ(43U, VRQ_Add_EMSA_PKCS1_v1_5_Encode(Bytes(100).data(), 100, hash.data(), -1,
                                                      row.digest));
        EXPECT_EQ(43U, VRQ_Add_EMSA_PKCS1_v1_5_Encode(nullptr, INT32_MIN, hash.data(), length,
                                                      row.digest));
    }
    for (const uint32_t digest : {0x05000200U, 0x07000100U, 0x08000100U, 0U}) {
        EXPECT_EQ(0xFFFFFFFFU,
                  VRQ_Add_EMSA_PKCS1_v1_5_Encode(Bytes(100).data(), 100, hash.data(), 20, digest));
        EXPECT_EQ(0x180D0012U,
                  VRQ_Check_EMSA_PKCS1_v1_5_Encode(hash.data(), 10, 100, hash.data(), 20, digest));
    }
    EXPECT_EQ(1U, VRQ_Check_EMSA_PKCS1_v1_5_Encode(nullptr, 10, 100, hash.data(), 20, VRQ_ID_SHA1));
    EXPECT_EQ(0x180D0012U,
              VRQ_Check_EMSA_PKCS1_v1_5_Encode(hash.data(), 10, -5, hash.data(), 20, VRQ_ID_SHA1));
    EXPECT_EQ(0x180D0012U,
              VRQ_Check_EMSA_PKCS1_v1_5_Encode(hash.data(), 10, 100, nullptr, 20, VRQ_ID_SHA1));
}

TEST(RsaEncoding, PssLayoutsAndArguments) {
    const Bytes hash(32, 0x77);
    for (const std::size_t bits : {2041, 2047, 2048, 2049}) {
        const RsaUnit unit = encoder(bits, VRQ_ID_SHA256);
        const auto k = static_cast<int32_t>((bits + 7) / 8);
        const bool has_zero_byte = (bits - 1) % 8 == 0;
        const int32_t longest = k - 34 - (has_zero_byte ? 1 : 0);
        const auto encode = [&](Bytes& out, int32_t hash_length, int32_t salt) {
            out.assign(static_cast<std::size_t>(k) + 1, 0xA5);
            return VRQ_Add_RSASSA_PKCS1_PSS_Encode(unit.get(), out.data(), k, hash.data(),
                                                   hash_length, salt, unit->digest);
        };
        const auto check = [&](const Bytes& em, int32_t hash_length, int32_t salt) {
            return VRQ_Check_RSASSA_PKCS1_PSS_Encode(unit.get(), em.data(), k, hash.data(),
                                                     hash_length, salt, unit->digest);
        };
        Bytes out;
        for (const int32_t salt : {0, 1, 20, longest}) {
            for (int again = 0; again < 8; ++again) {
                ASSERT_EQ(0U, encode(out, 32, salt));
                EXPECT_EQ(0xA5, out.back());
                EXPECT_EQ(0xBC, out[static_cast<std::size_t>(k) - 1]);
                EXPECT_EQ(0, has_zero_byte
                                 ? out[0]
                                 : out[0] >> (8 - (8 * static_cast<std::size_t>(k) - bits + 1)));
                EXPECT_EQ(0U, check(out, 32, salt));
            }
            EXPECT_EQ(0x1810005EU, check(out, 32, salt + 1));
        }
        for (const int32_t salt : {longest + 1, longest + 2, INT32_MAX, -1}) {
            EXPECT_EQ(0x180F002BU, encode(out, 32, salt));
            EXPECT_EQ(0x1810005EU, check(out, 32, salt));
        }
        for (const int32_t wrong : {-1, 0, 31, 33}) {
            EXPECT_EQ(0x180F002BU, encode(out, wrong, 20)) << "not the length of the digest";
            EXPECT_EQ(0x1810005EU, check(out, wrong, 20));
        }
    }
    const RsaUnit unit = encoder(1024, VRQ_ID_SHA256);
    VRQ_DIGEST_UNIT* const digest = unit->digest;
    Bytes out(128);
    const RsaUnit bare(VRQ_New_RSA());
    EXPECT_EQ(0x180F002BU, VRQ_Add_RSASSA_PKCS1_PSS_Encode(nullptr, out.data(), 128, hash.data(),
                                                           32, 20, digest));
    EXPECT_EQ(0x180F002BU, VRQ_Add_RSASSA_PKCS1_PSS_Encode(bare.get(), out.data(), 128, hash.data(),
                                                           32, 20, digest));
    EXPECT_EQ(0x180F002BU, VRQ_Add_RSASSA_PKCS1_PSS_Encode(unit.get(), nullptr, 128, hash.data(),
                                                           32, 20, digest));
    EXPECT_EQ(0x180F002BU, VRQ_Add_RSASSA_PKCS1_PSS_Encode(unit.get(), out.data(), -1, hash.data(),
                                                           32, 20, digest));
    EXPECT_EQ(0x180F002BU, VRQ_Add_RSASSA_PKCS1_PSS_Encode(unit.get(), out.data(), 128, nullptr, 32,
                                                           20, digest));
    EXPECT_EQ(0x180F002BU, VRQ_Add_RSASSA_PKCS1_PSS_Encode(unit.get(), out.data(), 128, hash.data(),
                                                           32, 20, nullptr));
    EXPECT_EQ(0x1810005EU, VRQ_Check_RSASSA_PKCS1_PSS_Encode(nullptr, out.data(), 128, hash.data(),
                                                             32, 20, digest));
    EXPECT_EQ(0x1810005EU, VRQ_Check_RSASSA_PKCS1_PSS_Encode(bare.get(), out.data(), 128,
                                                             hash.data(), 32, 20, digest));
    EXPECT_EQ(0x1810005EU, VRQ_Check_RSASSA_PKCS1_PSS_Encode(unit.get(), nullptr, 128, hash.data(),
                                                             32, 20, digest));
    EXPECT_EQ(0x1810005EU, VRQ_Check_RSASSA_PKCS1_PSS_Encode(unit.get(), out.data(), -1,
                                                             hash.data(), 32, 20, digest));
    EXPECT_EQ(0x1810005EU, VRQ_Check_RSASSA_PKCS1_PSS_Encode(unit.get(), out.data(), 128, nullptr,
                                                             32, 20, digest));
    EXPECT_EQ(0x1810005EU, VRQ_Check_RSASSA_PKCS1_PSS_Encode(unit.get(), out.data(), 128,
                                                             hash.data(), 32, 20, nullptr));
}

} // namespace
