// Hash_DRBG units and the process-wide generator.
#include "harness/hash_drbg_model.h"
#include "harness/owned.h"
#include "harness/vectors.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cmath>
#include <csignal>
#include <cstring>
#include <memory>
#include <set>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using test::Bytes;
using test::HashDrbgModel;

using Unit = test::Owned<VRQ_DRBG_UNIT>;

struct Row {
    uint32_t hash;
    const char* name;
    int32_t strength;
    int32_t seed_length;
    int32_t digest_length;
};
constexpr Row kRows[] = {
    {VRQ_ID_SHA1, "SHA-1", 10, 55, 20},      {VRQ_ID_SHA224, "SHA-224", 14, 55, 28},
    {VRQ_ID_SHA256, "SHA-256", 16, 55, 32},  {VRQ_ID_SHA384, "SHA-384", 24, 111, 48},
    {VRQ_ID_SHA512, "SHA-512", 32, 111, 64}, {VRQ_ID_HAS160, "HAS-160", 10, 55, 20}};

uint32_t size(const Bytes& bytes) { return static_cast<uint32_t>(bytes.size()); }

Unit unit_of(uint32_t hash, uint32_t prediction = 0) {
    Unit unit(vrq_New_DRBG_Unit());
    EXPECT_EQ(0U, vrq_Init_DRBG(unit.get(), hash, 0, prediction, 1));
    return unit;
}

Unit seeded_unit(uint32_t hash, const Bytes& entropy, const Bytes& nonce,
                 const Bytes& personalization, uint32_t prediction = 0) {
    Unit unit = unit_of(hash, prediction);
    EXPECT_EQ(0U, vrq_Set_Instantiate_DRBG_Param(unit.get(), entropy.data(), size(entropy),
                                                 nonce.data(), size(nonce), personalization.data(),
                                                 size(personalization)));
    EXPECT_EQ(0U, vrq_Instantiate_DRBG(unit.get(), 0));
    return unit;
}

Bytes draw(VRQ_DRBG_UNIT* unit, int32_t length) {
    Bytes out(static_cast<std::size_t>(length), 0xAA);
    EXPECT_EQ(0U, vrq_Generate_DRBG(unit, out.data(), length));
    return out;
}

// Every record of a hash, with its reseeding.
TEST(Drbg, KnownAnswers) {
    std::set<std::string> seen;
    for (const test::Record& record : test::load_vectors("drbg/hash_drbg.vec")) {
        SCOPED_TRACE(record.where);
        const std::string rest = record.name.substr(std::strlen("HASH-DRBG-"));
        const Row* row = nullptr;
        for (const Row& each : kRows) {
            if (rest.rfind(std::string(each.name) + "-", 0) == 0) row = &each;
        }
        ASSERT_NE(nullptr, row);
        const std::string kind = rest.substr(std::strlen(row->name) + 1);
        seen.insert(rest);

        const Unit unit = seeded_unit(row->hash, record.bytes("entropy"), record.bytes("nonce"),
                                      record.bytes("personalization"), kind == "PR" ? 1 : 0);
        if (kind == "RESEED") {
            const Bytes entropy = record.bytes("entropy_reseed");
            const Bytes additional = record.bytes("additional_reseed");
            ASSERT_EQ(0U, vrq_Set_Reseed_DRBG_Param(unit.get(), additional.data(), size(additional),
                                                    entropy.data(), size(entropy)));
            ASSERT_EQ(0U, vrq_Reseed_DRBG(unit.get()));
        }
        const auto length = static_cast<int32_t>(record.number("output_bytes"));
        Bytes output;
        for (const char* call : {"1", "2"}) {
            const Bytes additional = record.bytes(std::string("additional_") + call);
            const Bytes entropy =
                kind == "PR" ? record.bytes(std::string("entropy_pr_") + call) : Bytes{};
            ASSERT_EQ(0U, vrq_Set_Generate_DRBG_Param(
                              unit.get(), additional.data(), size(additional),
                              entropy.empty() ? nullptr : entropy.data(), size(entropy)));
            output = draw(unit.get(), length);
        }
        EXPECT_EQ(record.text("output_2"), test::to_hex(output));
    }
    EXPECT_EQ(15U, seen.size()) << "five hashes with published answers, three kinds each";
}

TEST(Drbg, EveryHashAgainstThePlainModel) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        const Bytes entropy(static_cast<std::size_t>(row.strength), 0x31);
        const Bytes nonce(5, 0x32);
        const Bytes personal(7, 0x33);
        const Unit unit = seeded_unit(row.hash, entropy, nonce, personal);
        HashDrbgModel model(row.hash, HashDrbgModel::join({entropy, nonce, personal}));
        EXPECT_EQ(row.strength, unit->strength);
        EXPECT_EQ(row.seed_length, unit->seed_length);
        EXPECT_EQ(row.digest_length, unit->digest_length);
        EXPECT_EQ(row.digest_length, unit->output_length);

        for (const int32_t length :
             {1, 19, 20, 21, 32, 33, 64, 320, 447, 480, 512, 2048, 2050, 5000, 5}) {
            EXPECT_EQ(model.generate(static_cast<std::size_t>(length)), draw(unit.get(), length));
            EXPECT_EQ(model.last, Bytes(unit->last_block, unit->last_block + row.digest_length));
        }
        const Bytes additional(200, 0x44);
        ASSERT_EQ(0U, vrq_Set_Generate_DRBG_Param(unit.get(), additional.data(), 200, nullptr, 0));
        EXPECT_EQ(model.generate(100, additional), draw(unit.get(), 100));
        EXPECT_EQ(nullptr, unit->additional);
        ASSERT_EQ(0U, vrq_Set_Reseed_DRBG_Param(unit.get(), additional.data(), 200, entropy.data(),
                                                size(entropy)));
        ASSERT_EQ(0U, vrq_Reseed_DRBG(unit.get()));
        model.reseed(entropy, additional);
        EXPECT_EQ(model.generate(100), draw(unit.get(), 100));
        EXPECT_EQ(model.v, Bytes(unit->v, unit->v + row.seed_length));
        EXPECT_EQ(2, unit->reseed_counter);
    }
}

// V + i and the sums carry through every byte.
TEST(Drbg, CarriesRunThroughTheWholeSeed) {
    for (const Row& row : kRows) {
        const auto length = static_cast<std::size_t>(row.seed_length);
        for (std::size_t low = 0; low < length; low += 9) {
            const Unit unit = seeded_unit(row.hash, Bytes(32, 1), Bytes(1, 1), {});
            Bytes v(length, 0xFF);
            for (std::size_t i = 0; i < low; ++i) v[i] = 0x80;
            v.back() = 0xFD;
            std::memcpy(unit->v, v.data(), length);
            HashDrbgModel model(row.hash, v, Bytes(unit->c, unit->c + length), 1);
            EXPECT_EQ(model.generate(700), draw(unit.get(), 700)) << row.name << " " << low;
            EXPECT_EQ(model.v, Bytes(unit->v, unit->v + length));
        }
    }
}

TEST(Drbg, FirstBlockIsKeptBackAsReference) {
    const Unit unit = seeded_unit(VRQ_ID_SHA256, Bytes(16, 1), Bytes(8, 2), {});
    Bytes v(unit->v, unit->v + 55);
    Bytes first(32);
    ASSERT_EQ(0U, VRQ_DIGEST(VRQ_ID_SHA256, v.data(), 55, first.data(), nullptr));
    ++v.back();
    ASSERT_NE(0, v.back());
    Bytes second(32);
    ASSERT_EQ(0U, VRQ_DIGEST(VRQ_ID_SHA256, v.data(), 55, second.data(), nullptr));
    EXPECT_NE(first, second);
    EXPECT_EQ(second, draw(unit.get(), 32));
}

TEST(Drbg, MechanismFillsTheUnitsOutput) {
    const Unit unit = seeded_unit(VRQ_ID_SHA512, Bytes(32, 1), Bytes(8, 2), {});
    HashDrbgModel model(VRQ_ID_SHA512, HashDrbgModel::join({Bytes(32, 1), Bytes(8, 2)}));
    ASSERT_EQ(0U, vrq_Generate_HashDRBG(unit.get()));
    EXPECT_EQ(model.generate(64), Bytes(unit->output, unit->output + 64));
    ASSERT_EQ(0U, vrq_Generate_HashDRBG(unit.get()));
    EXPECT_EQ(model.generate(64), Bytes(unit->output, unit->output + 64));

    // Bound to a longer digest the old buffer must not serve.
    const Unit other = seeded_unit(VRQ_ID_SHA1, Bytes(32, 1), Bytes(8, 2), {});
    ASSERT_EQ(0U, vrq_Generate_HashDRBG(other.get()));
    ASSERT_EQ(0U, vrq_Init_DRBG(other.get(), VRQ_ID_SHA512, 0, 0, 1));
    ASSERT_EQ(0U, vrq_Instantiate_DRBG(other.get(), 0));
    ASSERT_EQ(0U, vrq_Generate_HashDRBG(other.get()));
    EXPECT_EQ(64, other->output_length);
}

TEST(Drbg, ParametersCountModulo256AndReplace) {
    const Unit unit = unit_of(VRQ_ID_SHA256);
    const Bytes long_entropy(300, 0x11);
    ASSERT_EQ(0U,
              vrq_Set_Instantiate_DRBG_Param(unit.get(), long_entropy.data(), 300,
                                             long_entropy.data(), 256, long_entropy.data(), 511));
    EXPECT_EQ(44U, unit->input->entropy_length);
    EXPECT_EQ(0U, unit->input->nonce_length);
    EXPECT_NE(nullptr, unit->input->nonce) << "present, if empty";
    EXPECT_EQ(255U, unit->input->personalization_length);
    const Bytes entropy(20, 0x22);
    ASSERT_EQ(
        0U, vrq_Set_Instantiate_DRBG_Param(unit.get(), entropy.data(), 20, nullptr, 7, nullptr, 7));
    EXPECT_EQ(20U, unit->input->entropy_length);
    EXPECT_EQ(255U, unit->input->personalization_length);

    ASSERT_EQ(0U, vrq_Instantiate_DRBG(unit.get(), 0));
    HashDrbgModel model(VRQ_ID_SHA256, HashDrbgModel::join({entropy, Bytes(255, 0x11)}));
    EXPECT_EQ(model.generate(40), draw(unit.get(), 40));
    EXPECT_EQ(nullptr, unit->input->entropy);
    EXPECT_EQ(nullptr, unit->input->personalization);
    EXPECT_EQ(0U, unit->input->personalization_length);
}

TEST(Drbg, SeedsItselfFromTheSystem) {
    const Unit a = unit_of(VRQ_ID_SHA384);
    const Unit b = unit_of(VRQ_ID_SHA384);
    ASSERT_EQ(0U, vrq_Instantiate_DRBG(a.get(), 0));
    ASSERT_EQ(0U, vrq_Instantiate_DRBG(b.get(), 32));
    EXPECT_EQ(24, a->strength);
    EXPECT_EQ(32, b->strength);
    EXPECT_NE(draw(a.get(), 48), draw(b.get(), 48));
    const Bytes v(a->v, a->v + 111);
    ASSERT_EQ(0U, vrq_Reseed_DRBG(a.get()));
    EXPECT_NE(v, Bytes(a->v, a->v + 111));
}

TEST(Drbg, ReseedsWhenDue) {
    const Unit unit = seeded_unit(VRQ_ID_SHA256, Bytes(16, 1), Bytes(8, 2), {});
    unit->reseed_counter = 100000000;
    draw(unit.get(), 32);
    EXPECT_EQ(100000001, unit->reseed_counter);
    EXPECT_EQ(0x0B0A0026U, vrq_Generate_HashDRBG(unit.get()));
    draw(unit.get(), 32);
    EXPECT_EQ(2, unit->reseed_counter);
    unit->prediction = 1;
    draw(unit.get(), 32);
    EXPECT_EQ(2, unit->reseed_counter);
}

TEST(Drbg, ContinuousTest) {
    for (const Row& row : kRows) {
        const auto block = static_cast<std::size_t>(row.digest_length);
        for (std::size_t repeated = 0; repeated < 40; repeated += 13) {
            const Unit unit = seeded_unit(row.hash, Bytes(32, 1), Bytes(8, 2), {});
            draw(unit.get(), 1);
            HashDrbgModel model(row.hash, Bytes(unit->v, unit->v + row.seed_length),
                                Bytes(unit->c, unit->c + row.seed_length), 2);
            model.last = Bytes(block, 1);
            const Bytes expected = model.generate(block);
            std::memcpy(unit->last_block, expected.data(), block);
            Bytes out(300, 0xAA);
            EXPECT_EQ(0x0B0A0067U, vrq_Generate_DRBG(unit.get(), out.data(), 300));
            EXPECT_EQ(Bytes(300, 0), out);
        }
    }
    const Unit unit = seeded_unit(VRQ_ID_SHA256, Bytes(32, 1), Bytes(8, 2), {});
    unit->last_block_length = 31;
    uint8_t byte = 0;
    const Bytes v(unit->v, unit->v + unit->seed_length);
    EXPECT_EQ(0x0B0A0067U, vrq_Generate_DRBG(unit.get(), &byte, 1));
    EXPECT_EQ(v, Bytes(unit->v, unit->v + unit->seed_length));
    vrq_Set_Generate_DRBG_Param(unit.get(), &byte, 1, nullptr, 0);
    EXPECT_EQ(0x0B0A0067U, vrq_Generate_DRBG(unit.get(), &byte, 1));
    EXPECT_NE(v, Bytes(unit->v, unit->v + unit->seed_length)) << "additional input goes in first";
}

TEST(Drbg, Statuses) {
    uint8_t byte = 0;
    EXPECT_EQ(0x0B010049U, vrq_Init_DRBG(nullptr, VRQ_ID_SHA256, 0, 0, 1));
    EXPECT_EQ(0x0B070049U, vrq_Init_HashDRBG(nullptr));
    EXPECT_EQ(0x0B020049U, vrq_Instantiate_DRBG(nullptr, 0));
    EXPECT_EQ(0x0B080049U, vrq_Instantiate_HashDRBG(nullptr));
    EXPECT_EQ(0x0B030049U, vrq_Reseed_DRBG(nullptr));
    EXPECT_EQ(0x0B090049U, vrq_Reseed_HashDRBG(nullptr));
    EXPECT_EQ(0x0B0A0049U, vrq_Generate_HashDRBG(nullptr));
    EXPECT_EQ(0x0B040049U, vrq_Generate_DRBG(nullptr, &byte, 1));
    EXPECT_EQ(1U, vrq_Set_Instantiate_DRBG_Param(nullptr, &byte, 1, &byte, 1, &byte, 1));
    EXPECT_EQ(1U, vrq_Set_Reseed_DRBG_Param(nullptr, &byte, 1, &byte, 1));
    EXPECT_EQ(1U, vrq_Set_Generate_DRBG_Param(nullptr, &byte, 1, &byte, 1));
    vrq_Clean_DRBG_Unit(nullptr);
    vrq_Free_DRBG_Unit(nullptr);
    vrq_Clean_DRBG_ENTROPY_Input(nullptr);
    vrq_Free_DRBG_ENTROPY_Input(nullptr);

    Unit unit = unit_of(VRQ_ID_SHA256);
    EXPECT_EQ(0x0B010048U, vrq_Init_DRBG(unit.get(), VRQ_ID_SHA256, 1, 0, 1));
    EXPECT_EQ(0x0B020048U, (vrq_Set_Instantiate_DRBG_Param(unit.get(), Bytes(16).data(), 16, &byte,
                                                           1, nullptr, 0),
                            vrq_Instantiate_DRBG(unit.get(), 0)));
    EXPECT_EQ(0x0B030048U, vrq_Reseed_DRBG(unit.get()));
    EXPECT_EQ(0x0B040048U, vrq_Generate_DRBG(unit.get(), &byte, 1));
    EXPECT_EQ(0x0B070048U, vrq_Init_DRBG(unit.get(), VRQ_ID_MD5, 0, 0, 1));

    unit = unit_of(VRQ_ID_SHA256);
    EXPECT_EQ(0x0B0A001FU, vrq_Generate_DRBG(unit.get(), &byte, 1)) << "never seeded";
    EXPECT_EQ(0x0B090049U, vrq_Reseed_DRBG(unit.get())) << "never seeded";
    EXPECT_EQ(0x0B080049U, vrq_Instantiate_HashDRBG(unit.get())) << "no entropy";
    EXPECT_EQ(0x0B040049U, vrq_Generate_DRBG(unit.get(), nullptr, 1));
    EXPECT_EQ(0x0B04002BU, vrq_Generate_DRBG(unit.get(), &byte, 0));
    EXPECT_EQ(0x0B04002BU, vrq_Generate_DRBG(unit.get(), &byte, -1));
    ASSERT_EQ(
        0U, vrq_Set_Instantiate_DRBG_Param(unit.get(), Bytes(15).data(), 15, &byte, 1, nullptr, 0));
    EXPECT_EQ(0x0B02000CU, vrq_Instantiate_DRBG(unit.get(), 0)) << "one byte short of the strength";
    unit->max_additional_length = 3;
    ASSERT_EQ(0U, vrq_Set_Reseed_DRBG_Param(unit.get(), Bytes(4).data(), 4, nullptr, 0));
    EXPECT_EQ(0x0B03000CU, vrq_Reseed_DRBG(unit.get()));
    EXPECT_EQ(nullptr, unit->additional);
    EXPECT_EQ(0x1C06002BU,
              (vrq_Clean_DRBG_ENTROPY_Input(unit->input), vrq_Instantiate_DRBG(unit.get(), 33)));
    vrq_Clean_DRBG_Unit(unit.get());
    EXPECT_EQ(0x0B020049U, vrq_Instantiate_DRBG(unit.get(), 0));
    EXPECT_EQ(1U, vrq_Set_Generate_DRBG_Param(unit.get(), &byte, 1, &byte, 1));
    EXPECT_EQ(0x0B0A001FU, vrq_Generate_HashDRBG(unit.get()));
}

TEST(Drbg, HashChangedAfterSeedingFailsWhereItIsUsed) {
    for (const uint32_t hash : {0U, VRQ_ID_MD5 + 0U, VRQ_ID_SHA512 + 0U}) {
        const bool is_unknown = hash != VRQ_ID_SHA512;
        const Unit unit = seeded_unit(VRQ_ID_SHA256, Bytes(32, 1), Bytes(8, 2), {});
        uint8_t byte = 0;
        unit->hash = hash;
        EXPECT_EQ(0x0B0A001FU, vrq_Generate_DRBG(unit.get(), &byte, 1)) << hash;
        vrq_Set_Generate_DRBG_Param(unit.get(), &byte, 1, nullptr, 0);
        EXPECT_EQ(is_unknown ? 0x0B0A0022U : 0x0B0A001FU, vrq_Generate_DRBG(unit.get(), &byte, 1));
        vrq_Set_Reseed_DRBG_Param(unit.get(), nullptr, 0, Bytes(32).data(), 32);
        EXPECT_EQ(0x0B09001EU, vrq_Reseed_DRBG(unit.get())) << hash;
        vrq_Set_Instantiate_DRBG_Param(unit.get(), Bytes(32).data(), 32, &byte, 1, nullptr, 0);
        EXPECT_EQ(0x0B08001EU, vrq_Instantiate_DRBG(unit.get(), 0)) << hash;
    }
}

TEST(Drbg, DerivationFunctionStatuses) {
    const Unit unit = unit_of(VRQ_ID_SHA256);
    uint8_t out[111] = {};
    EXPECT_EQ(0U, Hash_df(unit.get(), out, 0, out));
    EXPECT_EQ(0x0B050049U, Hash_df(nullptr, out, 1, out));
    EXPECT_EQ(0x0B050049U, Hash_df(unit.get(), nullptr, 1, out));
    EXPECT_EQ(0x0B050049U, Hash_df(unit.get(), out, 1, nullptr));
    unit->hash = 0x05000600;
    EXPECT_EQ(0x0B050022U, Hash_df(unit.get(), out, 1, out));
    unit->hash = VRQ_ID_SHA256;
    EXPECT_EQ(0x0B05005BU, Hash_df(unit.get(), out, 0x80000000, out));
}

// The process-wide generator

Bytes random_bytes(int32_t length) {
    Bytes out(static_cast<std::size_t>(length));
    EXPECT_EQ(0U, VRQ_Rand_Bytes(out.data(), length));
    return out;
}

TEST(RandBytes, DoNotRepeat) {
    std::set<Bytes> seen;
    for (int i = 0; i < 200; ++i) seen.insert(random_bytes(16));
    EXPECT_EQ(200U, seen.size());
}

// Monobit and byte frequencies within five standard deviations.
TEST(RandBytes, LookUniform) {
    const Bytes sample = random_bytes(1 << 20);
    double ones = 0;
    std::array<double, 256> counts{};
    for (const uint8_t byte : sample) {
        ones += __builtin_popcount(byte);
        ++counts[byte];
    }
    const double bits = 8.0 * (1 << 20);
    EXPECT_LT(std::abs(ones - bits / 2), 5 * std::sqrt(bits) / 2);
    double chi_square = 0;
    for (const double count : counts) chi_square += (count - 4096) * (count - 4096) / 4096;
    EXPECT_LT(std::abs(chi_square - 255), 5 * std::sqrt(2.0 * 255));
}

TEST(RandBytes, EveryHashAndOption) {
    for (const Row& row : kRows) {
        for (const uint32_t prediction : {0U, 1U}) {
            Bytes a(40);
            Bytes b(40);
            EXPECT_EQ(0U, VRQ_Rand_Bytes_DRBG(a.data(), 40, 0, row.hash, prediction));
            EXPECT_EQ(0U, VRQ_Rand_Bytes_DRBG(b.data(), 40, 0, row.hash, prediction));
            EXPECT_NE(a, b);
        }
    }
}

TEST(RandBytes, SeedsFromTheInputGivenAtTheFirstDraw) {
    VRQ_DRBG_ENTROPY_INPUT* input = vrq_New_DRBG_ENTROPY_Input();
    Bytes entropy(16, 0x51);
    Bytes nonce(8, 0x52);
    input->entropy = entropy.data();
    input->entropy_length = 16;
    input->nonce = nonce.data();
    input->nonce_length = 8;
    HashDrbgModel model(VRQ_ID_SHA256, HashDrbgModel::join({entropy, nonce}));
    VRQ_Uninstantiate_DRBG();
    for (int i = 0; i < 5; ++i) {
        Bytes out(100);
        ASSERT_EQ(0U, vrq_Get_Rand_Bytes_DRBG(out.data(), 100, 0, VRQ_ID_SHA256, 0, input));
        EXPECT_EQ(model.generate(100), out);
    }
    // Another hash, or starting afresh, seeds anew.
    Bytes other(100);
    ASSERT_EQ(0U, VRQ_Rand_Bytes_DRBG(other.data(), 100, 0, VRQ_ID_SHA512, 0));
    EXPECT_NE(model.generate(100), random_bytes(100));
    VRQ_Uninstantiate_DRBG();
    EXPECT_EQ(entropy, Bytes(16, 0x51)) << "the caller's";
    *input = VRQ_DRBG_ENTROPY_INPUT{};
    vrq_Free_DRBG_ENTROPY_Input(input);
}

// A failed draw keeps the lock: the next one, in another thread, waits until the generator is
// forgotten. The waiting thread is that of a child, which is ended.
TEST(RandBytes, FailedDrawKeepsTheLock) {
    struct Case {
        const char* what;
        uint32_t status;
        uint32_t (*draw)(uint8_t* out);
    };
    const Case cases[] = {
        {"type", 0x0B050048,
         [](uint8_t* out) { return VRQ_Rand_Bytes_DRBG(out, 32, 1, VRQ_ID_SHA256, 0); }},
        {"hash", 0x0B050063,
         [](uint8_t* out) { return VRQ_Rand_Bytes_DRBG(out, 32, 0, VRQ_ID_MD5, 0); }},
        {"null", 0x0B050066, [](uint8_t*) { return VRQ_Rand_Bytes(nullptr, 32); }},
        {"length", 0x0B050066, [](uint8_t* out) { return VRQ_Rand_Bytes(out, 0); }},
        {"entropy", 0x0B050064,
         [](uint8_t* out) {
             VRQ_DRBG_ENTROPY_INPUT input{};
             input.entropy = input.nonce = out; // too short
             input.entropy_length = input.nonce_length = 1;
             VRQ_Uninstantiate_DRBG();
             return vrq_Get_Rand_Bytes_DRBG(out, 32, 0, VRQ_ID_SHA256, 0, &input);
         }},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.what);
        int ends[2];
        ASSERT_EQ(0, pipe(ends));
        const pid_t child = fork();
        if (child == 0) {
            uint8_t out[32];
            const uint32_t status = one.draw(out);
            bool is_done = write(ends[1], &status, sizeof status) == sizeof status;
            VRQ_Rand_Bytes(out, 32); // never returns
            is_done = is_done && write(ends[1], "x", 1) == 1;
            _exit(is_done ? 0 : 1);
        }
        uint32_t status = 0;
        ASSERT_EQ(static_cast<ssize_t>(sizeof status), read(ends[0], &status, sizeof status));
        EXPECT_EQ(one.status, status);
        usleep(50000);
        EXPECT_EQ(0, waitpid(child, nullptr, WNOHANG)) << "it waits for the lock";
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        close(ends[0]);
        close(ends[1]);
    }
}

TEST(RandBytes, RecoversFromAFailedDraw) {
    uint8_t out[32];
    EXPECT_EQ(0x0B050048U, VRQ_Rand_Bytes_DRBG(out, 32, 1, VRQ_ID_SHA256, 0));
    VRQ_Uninstantiate_DRBG();
    EXPECT_EQ(0U, VRQ_Rand_Bytes(out, 32));
}

TEST(RandBytes, WaitingThreadsGoOnAfterRecovery) {
    uint8_t out[32];
    ASSERT_EQ(0x0B050066U, VRQ_Rand_Bytes(out, 0));
    std::atomic<int> done{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&done] {
            random_bytes(32);
            ++done;
        });
    }
    usleep(20000);
    EXPECT_EQ(0, done);
    VRQ_Uninstantiate_DRBG();
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(3, done);
}

Bytes draw_in_child(int depth) {
    int ends[2];
    EXPECT_EQ(0, pipe(ends));
    const pid_t child = fork();
    if (child == 0) {
        const Bytes out = depth > 1 ? draw_in_child(depth - 1) : random_bytes(64);
        _exit(write(ends[1], out.data(), 64) == 64 ? 0 : 1);
    }
    Bytes out(64);
    EXPECT_EQ(64, read(ends[0], out.data(), 64));
    close(ends[0]);
    close(ends[1]);
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    return out;
}

TEST(RandBytes, ForkedChildrenHaveStreamsOfTheirOwn) {
    random_bytes(64);
    std::set<Bytes> seen;
    for (int i = 0; i < 4; ++i) {
        seen.insert(draw_in_child(1));
        seen.insert(draw_in_child(2)); // the child in between draws nothing
    }
    for (int i = 0; i < 8; ++i) seen.insert(random_bytes(64));
    EXPECT_EQ(16U, seen.size());
}

TEST(RandBytes, ChildOfAProcessWhoseLockIsHeldCanDraw) {
    uint8_t out[32];
    ASSERT_EQ(0x0B050066U, VRQ_Rand_Bytes(out, 0));
    EXPECT_NE(Bytes(64, 0), draw_in_child(1));
    VRQ_Uninstantiate_DRBG();
}

// The lock stays with a thread that is cancelled while it reads the noise sources.
TEST(RandBytes, CancelledThreadsLeaveTheLockFree) {
    for (int i = 0; i < 5; ++i) {
        std::atomic<bool> stops{false};
        std::atomic<bool> draws{false};
        std::thread thread([&] {
            uint8_t out[8];
            draws = true;
            while (!stops) VRQ_Rand_Bytes_DRBG(out, 8, 0, VRQ_ID_SHA256, 1);
            pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
        });
        while (!draws) std::this_thread::yield();
        pthread_cancel(thread.native_handle());
        usleep(1000);
        stops = true;
        thread.join();
        random_bytes(32);
    }
}

TEST(RandBytes, ManyThreads) {
    VRQ_Uninstantiate_DRBG();
    std::vector<std::thread> threads;
    std::vector<std::vector<Bytes>> drawn(8);
    for (auto& mine : drawn)
        threads.emplace_back([&mine] {
            for (int i = 0; i < 100; ++i) mine.push_back(random_bytes(16 + i));
        });
    for (std::thread& thread : threads) thread.join();
    std::set<Bytes> seen;
    for (const auto& mine : drawn) {
        for (const Bytes& out : mine) seen.insert(Bytes(out.begin(), out.begin() + 16));
    }
    EXPECT_EQ(800U, seen.size());
}

TEST(ProvenDrbg, OnlyApprovedHashes) {
    for (const Row& row : kRows) {
        const bool is_approved = row.hash != VRQ_ID_SHA1 && row.hash != VRQ_ID_HAS160;
        Unit unit(vrq_New_DRBG_Unit());
        EXPECT_EQ(is_approved ? 0U : 0x0B0700F0U, vrq_Init_DRBG(unit.get(), row.hash, 0, 0, 3));
        Bytes out(32);
        EXPECT_EQ(is_approved ? 0U : 0x0B050063U,
                  VRQ_Rand_Bytes_DRBG(out.data(), 32, 0, row.hash, 0));
        if (!is_approved) VRQ_Uninstantiate_DRBG();
    }
    Unit unit(vrq_New_DRBG_Unit());
    EXPECT_EQ(0x0B0700F0U, vrq_Init_DRBG(unit.get(), VRQ_ID_MD5, 0, 0, 3)) << "unknown as well";
    random_bytes(100);
}

} // namespace
