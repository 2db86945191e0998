// A message gives the same result however it is cut. The first byte chooses the algorithm, the
// second the length of the pieces; the rest is the message (and, for HMAC, its head the key).
#include "talvern.h"

#include <array>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::array<uint32_t, 8> kDigests = {VRQ_ID_SHA1,   VRQ_ID_SHA224, VRQ_ID_SHA256,
                                              VRQ_ID_SHA384, VRQ_ID_SHA512, VRQ_ID_MD5,
                                              VRQ_ID_HAS160, VRQ_ID_MDC2};
constexpr std::size_t kHeader = 2;
constexpr std::size_t kKeyMax = 200;
constexpr std::size_t kHashMax = 64;

using Hash = std::array<uint8_t, kHashMax>;

void require(bool condition) {
    if (!condition) std::abort();
}

// Feeds the message in pieces of the given length, 0 meaning all at once.
template <class Update>
void feed(Update update, const uint8_t* data, std::size_t size, std::size_t piece) {
    if (piece == 0) piece = size;
    for (std::size_t at = 0; at < size; at += piece) {
        const std::size_t length = size - at < piece ? size - at : piece;
        require(update(data + at, static_cast<int32_t>(length)) == 0);
    }
}

Hash digest(uint32_t id, const uint8_t* data, std::size_t size, std::size_t piece) {
    Hash hash{};
    VRQ_DIGEST_UNIT* unit = VRQ_New_DIGEST_Unit();
    require(VRQ_Init_DIGEST(unit, id) == 0);
    feed([&](const uint8_t* in, int32_t n) { return VRQ_Update_DIGEST(unit, in, n); }, data, size,
         piece);
    require(VRQ_Final_DIGEST(unit, hash.data(), nullptr) == 0);
    VRQ_Free_DIGEST_Unit(unit);
    return hash;
}

Hash mac(uint32_t id, const uint8_t* data, std::size_t size, std::size_t piece) {
    Hash hash{};
    const auto key_length = static_cast<uint32_t>(size < kKeyMax ? size : kKeyMax);
    VRQ_HMAC_UNIT* unit = VRQ_New_HMAC_Unit();
    require(VRQ_Init_HMAC(unit, id, data, key_length) == 0);
    feed([&](const uint8_t* in, int32_t n) { return VRQ_Update_HMAC(unit, in, n); }, data, size,
         piece);
    require(VRQ_Final_HMAC(unit, hash.data(), nullptr) == 0);
    VRQ_Free_HMAC_Unit(unit);
    return hash;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    VRQ_Change_Test_Mode();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    if (size <= kHeader) return 0;
    const uint32_t id = kDigests[data[0] % kDigests.size()];
    const std::size_t piece = data[1] == 0 ? 1 : data[1];
    const uint8_t* message = data + kHeader;
    const std::size_t length = size - kHeader;
    require(digest(id, message, length, 0) == digest(id, message, length, piece));
    require(mac(id, message, length, 0) == mac(id, message, length, piece));
    return 0;
}
