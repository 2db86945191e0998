// Helpers that drive block cipher units.
#pragma once

#include "harness/cipher_table.h"
#include "harness/owned.h"
#include "harness/vectors.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>

namespace test {

using CipherUnit = Owned<VRQ_BLOCK_CIPHER_UNIT>;

inline CipherUnit new_cipher_unit() { return CipherUnit(VRQ_New_BLOCK_CIPHER_Unit()); }

inline CipherUnit cipher_unit(uint32_t id, const Bytes& key, const Bytes& iv, bool encrypt) {
    CipherUnit unit = new_cipher_unit();
    EXPECT_EQ(0U, VRQ_Init_BLOCK_CIPHER(unit.get(), id, key.data(), iv.data(), encrypt ? 1 : 0));
    return unit;
}

class Random {
  public:
    explicit Random(uint32_t seed) : engine_(seed) {}
    uint32_t below(uint32_t bound) { return static_cast<uint32_t>(engine_()) % bound; }
    Bytes bytes(std::size_t size) {
        Bytes out(size);
        for (uint8_t& byte : out) byte = static_cast<uint8_t>(engine_());
        return out;
    }

  private:
    std::mt19937 engine_;
};

// An output buffer of exactly the room that a call may use; what lies behind it must stay.
class GuardedOutput {
  public:
    explicit GuardedOutput(std::size_t room) : room_(room), bytes_(room + kGuard, kFill) {}
    uint8_t* data() { return bytes_.data(); }
    Bytes take(std::size_t size) const {
        EXPECT_LE(size, room_);
        EXPECT_EQ(Bytes(kGuard, kFill), Bytes(bytes_.end() - kGuard, bytes_.end()));
        return {bytes_.begin(), bytes_.begin() + static_cast<long>(size)};
    }

  private:
    static constexpr int kGuard = 48;
    static constexpr uint8_t kFill = 0xA5;
    std::size_t room_;
    Bytes bytes_;
};

inline void append(Bytes& to, const Bytes& more) { to.insert(to.end(), more.begin(), more.end()); }

struct Outcome {
    Bytes data;
    uint32_t final_status;
};

// One message through Update in pieces of the given sizes (the last size repeats) and Final, with
// no more room for output than a call may use.
inline Outcome run_message(VRQ_BLOCK_CIPHER_UNIT* unit, const Bytes& message,
                           const std::vector<std::size_t>& pieces) {
    const auto block = static_cast<std::size_t>(unit->block_length);
    const std::size_t extra = unit->encrypt == 1 ? block - 1 : block;
    Outcome result{};
    std::size_t number = 0;
    for (std::size_t at = 0; at < message.size(); ++number) {
        const std::size_t wanted = pieces[std::min(number, pieces.size() - 1)];
        const std::size_t size = std::min(wanted, message.size() - at);
        GuardedOutput out(size + extra);
        uint32_t length = 0xFFFF;
        EXPECT_EQ(0U, VRQ_Update_BLOCK_CIPHER(unit, out.data(), &length, message.data() + at,
                                              static_cast<int32_t>(size)));
        append(result.data, out.take(length));
        at += size;
    }
    GuardedOutput out(block);
    uint32_t length = 0xFFFF;
    result.final_status = VRQ_Final_BLOCK_CIPHER(unit, out.data(), &length);
    append(result.data, out.take(length));
    return result;
}

inline Bytes run_whole(VRQ_BLOCK_CIPHER_UNIT* unit, const Bytes& message) {
    const Outcome result = run_message(unit, message, {std::max<std::size_t>(1, message.size())});
    EXPECT_EQ(0U, result.final_status);
    return result.data;
}

// A random cut of a message: sizes from 1 to the longest.
inline std::vector<std::size_t> random_cut(Random& random, std::size_t message, uint32_t longest) {
    std::vector<std::size_t> pieces{1};
    for (std::size_t done = 1; done < message; done += pieces.back())
        pieces.push_back(1 + random.below(longest));
    return pieces;
}

} // namespace test
