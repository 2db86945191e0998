/* Digests and a MAC of a file, each after a published answer. */
#include "demo.h"

#include <string.h>

enum { HASH_MAX = 64 };

/* The digests of "abc": FIPS 180-4 and the examples that belong to it. */
static const struct {
    uint32_t id;
    const char* hex;
} kAnswers[] = {
    {VRQ_ID_SHA1, "a9993e364706816aba3e25717850c26c9cd0d89d"},
    {VRQ_ID_SHA224, "23097d223405d8228642a477bda255b32aadbce4bda0b3f7e36c9da7"},
    {VRQ_ID_SHA256, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {VRQ_ID_SHA384, "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed"
                    "8086072ba1e7cc2358baeca134c825a7"},
    {VRQ_ID_SHA512, "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
                    "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"},
};

/* RFC 4231, test case 2. */
static const char kHmacAnswer[] =
    "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843";

static const char kMacKey[] = "demonstration key";

static void to_hex(const uint8_t* hash, uint32_t length, char* text) {
    uint32_t i;
    for (i = 0; i < length; ++i) sprintf(text + 2 * i, "%02x", hash[i]);
}

static int expect_answer(const char* name, const uint8_t* hash, uint32_t length,
                         const char* answer) {
    char text[2 * HASH_MAX + 1] = "";
    to_hex(hash, length, text);
    if (strcmp(text, answer) == 0) return 0;
    printf("  %s gives %s for the published message\n", name, text);
    return 1;
}

static void print_hash(const char* name, const uint8_t* hash, uint32_t length) {
    char text[2 * HASH_MAX + 1] = "";
    to_hex(hash, length, text);
    printf("  %-15s %s\n", name, text);
}

/* One interface for the two kinds of unit that read the file. */
struct sink {
    VRQ_DIGEST_UNIT* digest;
    VRQ_HMAC_UNIT* hmac;
};

static uint32_t feed(const struct sink* sink, const uint8_t* data, int32_t length) {
    if (sink->digest != NULL) return VRQ_Update_DIGEST(sink->digest, data, length);
    return VRQ_Update_HMAC(sink->hmac, data, length);
}

static uint32_t finish(const struct sink* sink, uint8_t* out, uint32_t* length) {
    if (sink->digest != NULL) return VRQ_Final_DIGEST(sink->digest, out, length);
    return VRQ_Final_HMAC(sink->hmac, out, length);
}

/* Reads the whole file through the unit; the time counts the module's work alone. */
static int run(const char* name, const struct sink* sink, FILE* file) {
    static uint8_t piece[PIECE];
    uint8_t hash[HASH_MAX];
    uint32_t length = 0;
    uint32_t status = 0;
    long total = 0;
    double time = 0;
    size_t got;

    rewind(file);
    while (status == 0 && (got = fread(piece, 1, sizeof piece, file)) > 0) {
        const double start = seconds();
        status = feed(sink, piece, (int32_t)got);
        time += seconds() - start;
        total += (long)got;
    }
    if (ferror(file)) {
        perror("  reading the file");
        return 1;
    }
    if (status == 0) {
        const double start = seconds();
        status = finish(sink, hash, &length);
        time += seconds() - start;
    }
    if (status != 0) return failed(name, status);
    print_hash(name, hash, length);
    print_rate("", time, total, "");
    return 0;
}

static int check_digest(uint32_t id, const char* name) {
    uint8_t hash[HASH_MAX];
    uint32_t length = 0;
    size_t i;
    const uint32_t status = VRQ_DIGEST(id, (const uint8_t*)"abc", 3, hash, &length);

    if (status != 0) return failed(name, status);
    for (i = 0; i < sizeof kAnswers / sizeof kAnswers[0]; ++i) {
        if (kAnswers[i].id == id) return expect_answer(name, hash, length, kAnswers[i].hex);
    }
    return 1;
}

int show_digest(uint32_t id, FILE* file) {
    struct sink sink = {NULL, NULL};
    const char* name = VRQ_Get_DIGEST_Alg_Name(id);
    uint32_t status;
    int result;

    sink.digest = VRQ_New_DIGEST_Unit();
    if (sink.digest == NULL || name == NULL) return 1;
    status = VRQ_Init_DIGEST(sink.digest, id);
    result = status == 0 ? run(name, &sink, file) : failed(name, status);
    VRQ_Free_DIGEST_Unit(sink.digest);
    return result + check_digest(id, name);
}

static int check_hmac(const char* name) {
    static const char kMessage[] = "what do ya want for nothing?";
    uint8_t mac[HASH_MAX];
    uint32_t length = 0;
    const uint32_t status = VRQ_HMAC(VRQ_ID_SHA256, (const uint8_t*)"Jefe", 4,
                                     (const uint8_t*)kMessage, sizeof kMessage - 1, mac, &length);
    if (status != 0) return failed(name, status);
    return expect_answer(name, mac, length, kHmacAnswer);
}

int show_hmac(uint32_t id, FILE* file) {
    struct sink sink = {NULL, NULL};
    char* name = VRQ_Get_HMAC_Name(id | VRQ_ID_HMAC);
    uint32_t status;
    int result = 1;

    sink.hmac = VRQ_New_HMAC_Unit();
    if (sink.hmac != NULL && name != NULL) {
        status = VRQ_Init_HMAC(sink.hmac, id, (const uint8_t*)kMacKey, sizeof kMacKey - 1);
        result = status == 0 ? run(name, &sink, file) : failed(name, status);
        result += check_hmac(name);
    }
    VRQ_Free_HMAC_Unit(sink.hmac);
    VRQ_Free(name, __FILE__, __LINE__);
    return result;
}
