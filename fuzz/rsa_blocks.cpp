// Decoders of RSA blocks. Any block is refused or gives a message that fits; an encoded message comes
// back. The first four bytes choose decoder, digest, key length and room; the rest is the block, or the
// message. Buffers have exactly the lengths stated, so that the address sanitizer sees a byte more.
#include "harness/owned.h"
#include "talvern.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;
using test::Owned;

constexpr std::array<uint32_t, 8> kDigests = {VRQ_ID_SHA1,   VRQ_ID_SHA224, VRQ_ID_SHA256,
                                              VRQ_ID_SHA384, VRQ_ID_SHA512, VRQ_ID_MD5,
                                              VRQ_ID_HAS160, VRQ_ID_MDC2};

struct Choice {
    uint8_t decoder;
    uint32_t digest;
    std::size_t k; // 2 to 257 bytes
    std::size_t room;
};

void require(bool condition) {
    if (!condition) std::abort();
}

int32_t size(const Bytes& bytes) { return static_cast<int32_t>(bytes.size()); }

// A public key of k bytes whose mode word names the digest.
Owned<VRQ_RSA_UNIT> unit_of(const Choice& choice) {
    Owned<VRQ_RSA_UNIT> unit(VRQ_New_RSA());
    const Bytes modulus(choice.k, 0xC5);
    const Owned<VRQ_BIGINT> n(VRQ_Binary_To_BIGINT(modulus.data(), size(modulus), nullptr));
    const Owned<VRQ_BIGINT> e(VRQ_HEX_To_BIGINT("10001"));
    require(VRQ_Set_RSA_Public_Params(unit.get(), n.get(), e.get()) == 0);
    require(VRQ_Init_RSAES(unit.get(), VRQ_RSAES_OAEP, VRQ_RSA_PUBLIC, choice.digest) == 0);
    return unit;
}

void oaep(const Choice& choice, const Bytes& block, int32_t with_zero) {
    const Owned<VRQ_RSA_UNIT> unit = unit_of(choice);
    Bytes out(choice.room);
    const int32_t length = VRQ_Decode_RSAES_OAEP_PADDING(
        unit.get(), block.data(), size(block), out.data(), size(out), nullptr, 0, with_zero);
    require(length >= 0 && length <= size(out));

    Bytes encoded(choice.k - (with_zero != 0 ? 0 : 1));
    const int32_t made =
        VRQ_Encode_RSAES_OAEP_PADDING(unit.get(), block.data(), size(block), encoded.data(),
                                      size(encoded), nullptr, 0, with_zero);
    if (made <= 0 || block.empty()) return;
    Bytes back(block.size());
    require(VRQ_Decode_RSAES_OAEP_PADDING(unit.get(), encoded.data(), made, back.data(), size(back),
                                          nullptr, 0, with_zero) == size(block));
    require(back == block);
}

void pkcs1(const Choice& choice, const Bytes& block) {
    const Owned<VRQ_RSA_UNIT> unit = unit_of(choice);
    Bytes out(choice.room);
    const int32_t length = VRQ_Decode_RSAES_PKCS1_PADDING(unit.get(), block.data(), size(block),
                                                          out.data(), size(out));
    require(length >= 0 && length <= size(out));

    Bytes encoded(choice.k);
    const int32_t k = VRQ_Encode_RSAES_PKCS1_PADDING(unit.get(), block.data(), size(block),
                                                     encoded.data(), size(encoded));
    if (k == 0 || block.empty()) return;
    Bytes back(block.size());
    require(VRQ_Decode_RSAES_PKCS1_PADDING(unit.get(), encoded.data() + 1, k - 1, back.data(),
                                           size(back)) == size(block));
    require(back == block);
}

// The first bytes of the block are the hash.
void signatures(const Choice& choice, const Bytes& block) {
    const Owned<VRQ_RSA_UNIT> unit = unit_of(choice);
    const Owned<VRQ_DIGEST_UNIT> digest(VRQ_New_DIGEST_Unit());
    require(VRQ_Init_DIGEST(digest.get(), choice.digest) == 0);
    Bytes hash(VRQ_Get_DIGEST_Length(choice.digest));
    for (std::size_t i = 0; i < hash.size() && i < block.size(); ++i) hash[i] = block[i];
    const auto salt = static_cast<int32_t>(choice.room);

    VRQ_Check_RSASSA_PKCS1_PSS_Encode(unit.get(), block.data(), size(block), hash.data(),
                                      size(hash), salt, digest.get());
    VRQ_Check_EMSA_PKCS1_v1_5_Encode(block.data(), size(block), static_cast<int32_t>(choice.k),
                                     hash.data(), size(hash), choice.digest);
    Bytes encoded(choice.k);
    if (VRQ_Add_RSASSA_PKCS1_PSS_Encode(unit.get(), encoded.data(), size(encoded), hash.data(),
                                        size(hash), salt, digest.get()) == 0) {
        require(VRQ_Check_RSASSA_PKCS1_PSS_Encode(unit.get(), encoded.data(), size(encoded),
                                                  hash.data(), size(hash), salt,
                                                  digest.get()) == 0);
    }
    if (VRQ_Add_EMSA_PKCS1_v1_5_Encode(encoded.data(), size(encoded), hash.data(), size(hash),
                                       choice.digest) == 0) {
        require(VRQ_Check_EMSA_PKCS1_v1_5_Encode(encoded.data() + 1, size(encoded) - 1,
                                                 size(encoded), hash.data(), size(hash),
                                                 choice.digest) == 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    require(VRQ_Change_Non_Proven_Mode() == 0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    constexpr std::size_t kHeader = 4;
    if (size < kHeader) return 0;
    const Choice choice = {data[0], kDigests[data[1] % kDigests.size()], data[2] + std::size_t{2},
                           data[3]};
    const Bytes block(data + kHeader, data + size);
    switch (choice.decoder % 4) {
    case 0:
        oaep(choice, block, 0);
        break;
    case 1:
        oaep(choice, block, 1);
        break;
    case 2:
        pkcs1(choice, block);
        break;
    default:
        signatures(choice, block);
    }
    return 0;
}
