// What key set-ups and runs of many blocks leave on the stack.
#include "api/cipher_cases.h"
#include "harness/stack_residue.h"

#include <algorithm>
#include <array>

namespace {

using namespace test;

TEST(BlockCipherStack, KeySetUpLeavesNothingThatDependsOnTheKey) {
    if (!kFramesAreAsShipped) GTEST_SKIP();
    Random random(71);
    const std::array<Bytes, 2> keys = {random.bytes(32), random.bytes(32)};
    const Bytes iv(16, 0x22);
    const CipherUnit unit = new_cipher_unit();
    Bytes key(32); // at the same address for both
    for (const CipherCase& cipher : kCipherCases) {
        for (const uint32_t mode : {kEcb, kCfb}) {
            for (const int32_t direction : {1, 0}) {
                SCOPED_TRACE(testing::Message() << cipher.name << " " << mode << " " << direction);
                const auto init = [&] {
                    VRQ_Init_BLOCK_CIPHER(unit.get(), cipher.id | mode, key.data(), iv.data(),
                                          direction);
                };
                // The first rounds settle where the allocator puts the schedule.
                auto stacks = std::make_unique<Stacks>();
                for (std::size_t i = 0; i < 8; ++i) {
                    key = keys[i % 4 / 2];
                    (*stacks)[i % 4] = stack_after(init);
                }
                EXPECT_EQ(0U, places_that_depend_on_the_secret(*stacks));
            }
        }
    }
}

// Whether a word of the secret stands on the stack that a call used.
bool holds_word_of(const Stack& stack, const Bytes& secret) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(stack.data());
    for (std::size_t at = 0; at + 8 <= secret.size(); at += 8) {
        const auto word = secret.begin() + static_cast<long>(at);
        if (std::search(bytes, bytes + sizeof stack, word, word + 8) != bytes + sizeof stack)
            return true;
    }
    return false;
}

TEST(BlockCipherStack, ManyBlocksLeaveNeitherPlaintextNorKeyStream) {
    if (!kFramesAreAsShipped) GTEST_SKIP();
    Random random(72);
    const Bytes key = random.bytes(32);
    const Bytes iv = random.bytes(16);
    for (const CipherCase& cipher : kCipherCases) {
        for (const uint32_t mode : {kEcb, kCbc, kCfb, kOfb, kCtr}) {
            if (!offers(cipher, mode)) continue;
            SCOPED_TRACE(testing::Message() << cipher.name << " " << mode);
            const Bytes in = random.bytes(4096);
            Bytes out(in.size());
            uint32_t length = 0;
            const CipherUnit unit = cipher_unit(cipher.id | mode | kNoPadding, key, iv, false);
            const Stack stack = stack_after(
                [&] { VRQ_Update_BLOCK_CIPHER(unit.get(), out.data(), &length, in.data(), 4096); });
            ASSERT_EQ(4096U, length);
            EXPECT_FALSE(holds_word_of(stack, out));
            Bytes stream = in;
            for (std::size_t i = 0; i < stream.size(); ++i) stream[i] ^= out[i];
            EXPECT_FALSE(holds_word_of(stack, stream));
        }
    }
}

} // namespace
