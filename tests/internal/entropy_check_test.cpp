// The entropy test of the power-up sequence over sources that repeat themselves or fail.
#include "selftest/entropy_check.h"

#include "foundation/alloc.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

constexpr uint32_t kEntropyFailed = 0x1A040014;
constexpr uint32_t kSourceFailed = 0x1F060014;

// What the source gives from draw to draw.
struct Behaviour {
    bool same_entropy;
    bool same_nonce;
    int failing_draw; // 0: none
    int draws;
};

Behaviour g_source;

uint8_t* bytes(uint32_t length, bool is_same) {
    auto* out = static_cast<uint8_t*>(vrq::allocate(length));
    std::memset(out, is_same ? 1 : g_source.draws, length);
    return out;
}

uint32_t draw(uint8_t** entropy, uint32_t* entropy_length, uint8_t** nonce, uint32_t* nonce_length,
              int32_t strength, int32_t level) {
    EXPECT_EQ(16, strength);
    EXPECT_EQ(3, level);
    if (++g_source.draws == g_source.failing_draw) return kSourceFailed;
    *entropy = bytes(*entropy_length = 32, g_source.same_entropy);
    *nonce = bytes(*nonce_length = 16, g_source.same_nonce);
    return 0;
}

TEST(EntropyCheck, JudgesTwoDraws) {
    const struct {
        Behaviour source;
        uint32_t expected;
        int draws;
    } cases[] = {
        {{false, false, 0, 0}, 0, 2},
        {{true, false, 0, 0}, kEntropyFailed, 2},
        {{false, true, 0, 0}, kEntropyFailed, 2},
        {{false, false, 1, 0}, kSourceFailed, 1},
        {{false, false, 2, 0}, kSourceFailed, 2},
    };
    for (const auto& c : cases) {
        g_source = c.source;
        EXPECT_EQ(c.expected, vrq::check_entropy(draw));
        EXPECT_EQ(c.draws, g_source.draws);
    }
}

} // namespace
