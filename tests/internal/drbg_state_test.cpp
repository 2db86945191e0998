// Hash_DRBG: kernels, the saved state, allocation faults, wiping.
#include "digest/sha256_multi.h"
#include "foundation/test_hooks.h"
#include "harness/faults.h"
#include "harness/hash_drbg_model.h"
#include "harness/stack_residue.h"
#include "random/drbg_state.h"
#include "random/hashgen_kernels.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include <ucontext.h>

namespace {

using test::Bytes;
using test::HashDrbgModel;
using vrq::drbg::saved_state;

TEST(Sha256Multi, KernelsAgreeWithThePortableOne) {
    Bytes blocks(1 + 64 * 50);
    for (std::size_t i = 0; i < blocks.size(); ++i)
        blocks[i] = static_cast<uint8_t>(i * 151 + (i >> 6) * 7);
    const uint32_t initial[8] = {1, 0xFFFFFFFF, 3, 0x80000000, 5, 6, 0x7FFFFFFF, 0};
    for (const vrq::Sha256MultiKernel& row : vrq::kSha256MultiKernels) {
        if (!vrq::cpu::has(row.needs)) continue;
        for (std::size_t count = 0; count <= 50; ++count) {
            Bytes expected(1 + 32 * 51, 0x77);
            Bytes out = expected;
            vrq::sha256_multi_portable(initial, expected.data() + 1, blocks.data() + 1, count);
            row.digest(initial, out.data() + 1, blocks.data() + 1, count);
            ASSERT_EQ(expected, out) << row.name << " " << count;
        }
    }
}

TEST(Hashgen, KernelsAgreeWithOneBlockAtATime) {
    Bytes block(64, 0);
    for (std::size_t i = 0; i < 55; ++i) block[i] = static_cast<uint8_t>(200 + i * 3);
    block[55] = 0x80;
    block[62] = 0x01;
    block[63] = 0xB8;
    const uint32_t initial[8] = {1, 0xFFFFFFFF, 3, 0x80000000, 5, 6, 0x7FFFFFFF, 0};
    Bytes expected;
    for (uint32_t i = 0; i < 70; ++i) {
        Bytes digest(32);
        Bytes one = block;
        const uint32_t low = (block[52] << 16 | block[53] << 8 | block[54]) + i;
        for (int n = 0; n < 3; ++n) one[52 + n] = static_cast<uint8_t>(low >> (16 - 8 * n));
        vrq::sha256_multi_portable(initial, digest.data(), one.data(), 1);
        expected.insert(expected.end(), digest.begin(), digest.end());
    }
    for (const vrq::HashgenKernel& row : vrq::kHashgenKernels) {
        if (!vrq::cpu::has(row.needs)) continue;
        for (std::size_t count = 0; count <= 70; ++count) {
            Bytes out(32 * 70 + 1, 0x77);
            row.digest(initial, out.data() + 1, block.data(), count);
            ASSERT_EQ(Bytes(expected.begin(), expected.begin() + 32 * count),
                      Bytes(out.begin() + 1, out.begin() + 1 + 32 * count))
                << row.name << " " << count;
            ASSERT_EQ(Bytes(32 * (70 - count), 0x77),
                      Bytes(out.begin() + 1 + 32 * count, out.end()));
        }
    }
}

HashDrbgModel model_of_saved_state() {
    const auto& saved = saved_state();
    HashDrbgModel model(VRQ_ID_SHA256, Bytes(saved.v, saved.v + 55), Bytes(saved.c, saved.c + 55),
                        static_cast<uint32_t>(saved.reseed_counter));
    model.last = Bytes(saved.last_block, saved.last_block + 32);
    return model;
}

TEST(RandBytesState, RepeatedBlockFailsAndLeavesTheStateAlone) {
    uint8_t out[100];
    ASSERT_EQ(0U, VRQ_Rand_Bytes(out, 32));
    const Bytes next = model_of_saved_state().generate(32);
    std::memcpy(saved_state().last_block, next.data(), 32);
    const Bytes v(saved_state().v, saved_state().v + 55);
    const int32_t counter = saved_state().reseed_counter;

    std::memset(out, 0xAA, sizeof out);
    EXPECT_EQ(0x0B050067U, VRQ_Rand_Bytes(out, 100));
    EXPECT_EQ(Bytes(100, 0), Bytes(out, out + 100));
    EXPECT_EQ(v, Bytes(saved_state().v, saved_state().v + 55));
    EXPECT_EQ(counter, saved_state().reseed_counter);
    EXPECT_EQ(next, Bytes(saved_state().last_block, saved_state().last_block + 32));
    EXPECT_EQ(1U, saved_state().is_valid);

    VRQ_Uninstantiate_DRBG();
    const vrq::drbg::SavedState zero{};
    EXPECT_EQ(0, std::memcmp(&zero, &saved_state(), sizeof zero));
    EXPECT_EQ(0U, VRQ_Rand_Bytes(out, 100));
}

TEST(RandBytesState, ReseedsWhenDueAndOnDemand) {
    uint8_t out[32];
    ASSERT_EQ(0U, VRQ_Rand_Bytes(out, 32));
    saved_state().reseed_counter = 100000000;
    HashDrbgModel model = model_of_saved_state();
    ASSERT_EQ(0U, VRQ_Rand_Bytes(out, 32));
    EXPECT_EQ(model.generate(32), Bytes(out, out + 32));
    EXPECT_EQ(100000001, saved_state().reseed_counter);
    ASSERT_EQ(0U, VRQ_Rand_Bytes(out, 32));
    EXPECT_NE(model.generate(32), Bytes(out, out + 32));
    EXPECT_EQ(2, saved_state().reseed_counter);
    ASSERT_EQ(0U, VRQ_Rand_Bytes_DRBG(out, 32, 0, VRQ_ID_SHA256, 1));
    EXPECT_EQ(2, saved_state().reseed_counter);
}

// With SHA-1 at hand the change of hash has marked the state, whatever follows.
TEST(RandBytesState, ChangeOfHashInvalidatesEvenWhenTheDrawFails) {
    uint8_t out[32];
    ASSERT_EQ(0U, VRQ_Rand_Bytes(out, 32));
    EXPECT_EQ(0x0B050063U, VRQ_Rand_Bytes_DRBG(out, 32, 0, VRQ_ID_MD5, 0));
    EXPECT_EQ(0U, saved_state().is_valid);
    EXPECT_EQ(static_cast<uint32_t>(VRQ_ID_SHA256), saved_state().hash);
    VRQ_Uninstantiate_DRBG();
}

TEST(RandBytesState, UsualDrawAllocatesNothing) {
    uint8_t out[1000];
    ASSERT_EQ(0U, VRQ_Rand_Bytes(out, 32));
    vrq::testing::fail_allocation(1);
    EXPECT_EQ(0U, VRQ_Rand_Bytes(out, 1000));
    EXPECT_EQ(0U, vrq::testing::allocation_count());
    vrq::testing::fail_allocation(0);
}

TEST(RandBytesState, AllocationFaultsOfTheFirstDraw) {
    test::for_each_allocation_fault([](std::size_t number) {
        VRQ_Uninstantiate_DRBG();
        uint8_t out[32];
        const uint32_t status = VRQ_Rand_Bytes(out, 32);
        const bool is_known = status == 0 || status == 0x0B05003B || status == 0x0B050064;
        EXPECT_TRUE(is_known) << std::hex << status;
        if (number == 0) {
            EXPECT_EQ(0U, status);
        }
        if (number == 1) {
            EXPECT_EQ(0x0B05003BU, status);
        }
    });
    VRQ_Uninstantiate_DRBG();
}

TEST(Drbg, AllocationFaults) {
    const Bytes entropy(32, 0x21);
    const Bytes more(100, 0x22);
    test::for_each_allocation_fault([&](std::size_t number) {
        VRQ_DRBG_UNIT* unit = vrq_New_DRBG_Unit();
        if (unit == nullptr) return;
        uint8_t out[64];
        const uint32_t statuses[] = {
            vrq_Init_DRBG(unit, VRQ_ID_SHA512, 0, 0, 1),
            vrq_Set_Instantiate_DRBG_Param(unit, entropy.data(), 32, entropy.data(), 32,
                                           more.data(), 100),
            vrq_Instantiate_DRBG(unit, 0),
            vrq_Set_Reseed_DRBG_Param(unit, more.data(), 100, entropy.data(), 32),
            vrq_Reseed_DRBG(unit),
            vrq_Set_Generate_DRBG_Param(unit, more.data(), 100, nullptr, 0),
            vrq_Generate_DRBG(unit, out, 64),
            vrq_Generate_HashDRBG(unit),
        };
        const std::vector<uint32_t> allowed[] = {
            {},
            {0x0B02003B},
            {0x0B08001E, 0x1C060014},
            {0x0B03003B},
            {0x0B09001E, 0x0B090049, 0x0B030059},
            {0x0B04003B},
            {0x0B0A003A, 0x0B0A0022, 0x0B0A001F},
            {0x0B0A003A, 0x0B0A001F},
        };
        for (std::size_t i = 0; i < std::size(statuses); ++i) {
            const auto& list = allowed[i];
            const bool is_allowed =
                statuses[i] == 0 || std::find(list.begin(), list.end(), statuses[i]) != list.end();
            EXPECT_TRUE(is_allowed) << i << " " << std::hex << statuses[i];
            if (number == 0) {
                EXPECT_EQ(0U, statuses[i]);
            }
        }
        vrq_Free_DRBG_Unit(unit);
    });
}

// It would generate from zeros if a failed seeding left it V and C.
TEST(Drbg, UnitWhoseSeedingFailedGeneratesNothing) {
    const Bytes entropy(40, 0x21);
    for (const uint32_t hash : {int{VRQ_ID_SHA256}, int{VRQ_ID_SHA512}}) {
        test::for_each_allocation_fault([&](std::size_t) {
            VRQ_DRBG_UNIT* unit = vrq_New_DRBG_Unit();
            if (unit == nullptr) return;
            const bool is_ready =
                vrq_Init_DRBG(unit, hash, 0, 0, 1) == 0 &&
                vrq_Set_Instantiate_DRBG_Param(unit, entropy.data(), 40, entropy.data(), 20,
                                               nullptr, 0) == 0;
            if (is_ready && vrq_Instantiate_DRBG(unit, 0) != 0) {
                uint8_t out[32];
                EXPECT_EQ(0x0B0A001FU, vrq_Generate_DRBG(unit, out, 32));
                EXPECT_EQ(0, unit->instantiated);
            }
            vrq_Free_DRBG_Unit(unit);
        });
    }
}

// The bytes of a number as a vector register holds its 32-bit words.
Bytes swapped(const Bytes& number, std::size_t words) {
    Bytes out;
    for (std::size_t i = 0; i < 4 * words; ++i) out.push_back(number[i / 4 * 4 + 3 - i % 4]);
    return out;
}

void run_on_stack(Bytes& stack, void (*body)()) {
    static ucontext_t caller;
    static ucontext_t called;
    ASSERT_EQ(0, getcontext(&called));
    called.uc_stack.ss_sp = stack.data();
    called.uc_stack.ss_size = stack.size();
    called.uc_link = &caller;
    makecontext(&called, body, 0);
    ASSERT_EQ(0, swapcontext(&caller, &called));
}

// Whoever finds V on the stack can tell the output.
TEST(Drbg, StackHoldsNoSeed) {
    static VRQ_DRBG_UNIT* unit;
    static int32_t length;
    static uint8_t out[5000];
    for (const uint32_t hash : {int{VRQ_ID_SHA256}, int{VRQ_ID_SHA224}, int{VRQ_ID_SHA512}}) {
        unit = vrq_New_DRBG_Unit();
        ASSERT_EQ(0U, vrq_Init_DRBG(unit, hash, 0, 0, 1));
        ASSERT_EQ(0U, vrq_Instantiate_DRBG(unit, 0));
        for (const int32_t each : {1, 1, 33, 100, 200, 320, 600, 5000}) {
            length = each;
            const Bytes v(unit->v, unit->v + 16);
            Bytes stack(1 << 16);
            run_on_stack(stack, [] { vrq_Generate_DRBG(unit, out, length); });
            for (const Bytes& secret : {v, swapped(v, 4)}) {
                EXPECT_EQ(stack.end(),
                          std::search(stack.begin(), stack.end(), secret.begin(), secret.end()))
                    << std::hex << hash << std::dec << " " << length;
            }
        }
        vrq_Free_DRBG_Unit(unit);
    }
}

TEST(RandBytesState, StackHoldsNothingThatDependsOnTheState) {
    if (!test::kFramesAreAsShipped) GTEST_SKIP();
    for (const uint32_t hash : {VRQ_ID_SHA256, VRQ_ID_SHA512, VRQ_ID_SHA1}) {
        Bytes out(5000);
        ASSERT_EQ(0U, VRQ_Rand_Bytes_DRBG(out.data(), 32, 0, hash, 0));
        const vrq::drbg::SavedState start = saved_state();
        for (const int32_t length : {16, 100, 5000}) {
            auto stacks = std::make_unique<test::Stacks>();
            for (std::size_t i = 0; i < 4; ++i) {
                saved_state() = start;
                for (std::size_t at = 0; at < sizeof start.v; ++at) {
                    saved_state().v[at] = static_cast<uint8_t>(start.v[at] ^ (i / 2 * 0x5A));
                    saved_state().c[at] = static_cast<uint8_t>(start.c[at] ^ (i / 2 * 0xA5));
                }
                (*stacks)[i] =
                    test::stack_after([&] { VRQ_Rand_Bytes_DRBG(out.data(), length, 0, hash, 0); });
            }
            EXPECT_EQ(0U, test::places_that_depend_on_the_secret(*stacks))
                << std::hex << hash << std::dec << " " << length;
        }
    }
    VRQ_Uninstantiate_DRBG();
}

// Looks for each secret of a unit in what the library frees while it works and is freed.
TEST(Drbg, SecretsAreWiped) {
    const Bytes entropy =
        test::from_hex("a1b2c3d4e5f60718293a4b5c6d7e8f90a1b2c3d4e5f60718293a4b5c6d7e8f90");
    const Bytes additional = test::from_hex("0102030405060708090a0b0c0d0e0f10");
    const auto run = [&](VRQ_DRBG_UNIT* unit, Bytes& v, Bytes& c, Bytes& output) {
        ASSERT_EQ(0U, vrq_Init_DRBG(unit, VRQ_ID_SHA256, 0, 0, 1));
        ASSERT_EQ(0U, vrq_Set_Instantiate_DRBG_Param(unit, entropy.data(), 32, entropy.data(), 16,
                                                     nullptr, 0));
        ASSERT_EQ(0U, vrq_Instantiate_DRBG(unit, 0));
        ASSERT_EQ(0U, vrq_Set_Generate_DRBG_Param(unit, additional.data(), 16, nullptr, 0));
        ASSERT_EQ(0U, vrq_Generate_HashDRBG(unit));
        v.assign(unit->v + 8, unit->v + 40);
        c.assign(unit->c + 8, unit->c + 40);
        output.assign(unit->output, unit->output + 32);
        vrq_Free_DRBG_Unit(unit);
    };
    Bytes v;
    Bytes c;
    Bytes output;
    run(vrq_New_DRBG_Unit(), v, c, output);
    for (const Bytes& secret : {entropy, additional, v, c, output}) {
        test::FreedMemoryWatch watch(secret);
        Bytes again[3];
        run(vrq_New_DRBG_Unit(), again[0], again[1], again[2]);
        EXPECT_EQ(v, again[0]);
        EXPECT_GT(watch.frees(), 5U);
        EXPECT_FALSE(watch.found()) << test::to_hex(secret);
    }
}

TEST(Prng, UnitWhoseInitFailedDrawsNothing) {
    const Bytes key(30, 0x21);
    const Bytes seed(20, 0x22);
    for (const uint32_t algorithm : {int{VRQ_ID_SHA1}, int{VRQ_ID_ARIA_192}}) {
        test::for_each_allocation_fault([&](std::size_t number) {
            VRQ_PRNG_UNIT* unit = VRQ_New_PRNG_Unit();
            if (unit == nullptr) return;
            const uint32_t status =
                VRQ_Init_PRNG(unit, algorithm, key.data(), 30, seed.data(), 20, nullptr);
            uint8_t out[50];
            const uint32_t drawn = VRQ_Get_Rand(unit, out, 50);
            if (status != 0) {
                EXPECT_EQ(0x1401003BU, status);
                EXPECT_EQ(0x1404004EU, drawn);
            }
            if (number == 0) {
                EXPECT_EQ(0U, status);
                EXPECT_EQ(0U, drawn);
            }
            VRQ_Free_PRNG_Unit(unit);
        });
    }
}

} // namespace
