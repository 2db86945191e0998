// Run under valgrind memcheck: decrypted blocks count as undefined while the message in them is
// looked for, well-formed or not, and while a number is written as bytes.
#include "pubkey/rsa_encoding.h"

#include <valgrind/memcheck.h>

#include <array>
#include <cstdio>

namespace {

using vrq::u32;
using vrq::u8;
using vrq::rsa::Unpadded;

constexpr std::size_t kHash = 32;
constexpr std::size_t kLength = 222;
using Block = std::array<u8, kLength>;

template <class Find>
Unpadded hidden(Block block, Find find) {
    VALGRIND_MAKE_MEM_UNDEFINED(block.data(), block.size());
    Unpadded found = find(block.data());
    VALGRIND_MAKE_MEM_DEFINED(&found, sizeof found);
    return found;
}

Unpadded oaep(const Block& block) {
    static constexpr u8 kLabelHash[kHash] = {};
    return hidden(
        block, [](const u8* db) { return vrq::rsa::unpad_oaep(db, kLength, kLabelHash, kHash); });
}

Unpadded pkcs1(const Block& block) {
    return hidden(block, [](const u8* b) { return vrq::rsa::unpad_pkcs1(b, kLength); });
}

bool finds(const Unpadded& found, u32 start) { return found.refuse == 0 && found.start == start; }

Block with(Block block, std::size_t at, u8 value) {
    block[at] = value;
    return block;
}

bool writes_numbers() {
    std::array<u32, 4> words = {0x0F0E0D0C, 0x0B0A0908, 0x07060504, 0x03020100};
    VALGRIND_MAKE_MEM_UNDEFINED(words.data(), sizeof words);
    const VRQ_BIGINT a = {words.data(), 4, 4, 0};
    std::array<u8, 18> out;
    vrq::rsa::to_octets(out.data(), out.size(), a);
    VALGRIND_MAKE_MEM_DEFINED(out.data(), out.size());
    return out[0] == 0 && out[2] == 3 && out[17] == 0x0C;
}

} // namespace

int main() {
    Block db{};
    db[100] = 1;
    Block block;
    block.fill(0x5A);
    block[0] = 2;
    block[50] = 0;
    const bool good =
        finds(oaep(db), 101) && oaep(with(db, 3, 1)).refuse == ~u32{0} &&
        oaep(with(db, 60, 7)).refuse == ~u32{0} && oaep(with(db, 100, 0)).refuse == ~u32{0} &&
        finds(pkcs1(block), 51) && finds(pkcs1(with(block, 0, 1)), 51) &&
        pkcs1(with(block, 0, 3)).refuse == ~u32{0} && pkcs1(with(block, 8, 0)).refuse == ~u32{0} &&
        pkcs1(with(block, 50, 1)).refuse == ~u32{0} && writes_numbers();
    std::printf("blocks %s\n", good ? "read as expected" : "FAILED");
    return good ? 0 : 1;
}
