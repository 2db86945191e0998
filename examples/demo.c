/* What the module does, shown on a file: digests and a MAC of the file, read in pieces, in proven mode,
 * and the refusal of an algorithm that is not approved. Exits with 0 only if every step succeeded. */
#define _POSIX_C_SOURCE 199309L

#include <talvern.h>

#include <stdio.h>
#include <string.h>
#include <time.h>

enum { PIECE = 65536, HASH_MAX = 64 };

static const char kMacKey[] = "demonstration key";

static double seconds(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)now.tv_sec + (double)now.tv_nsec / 1e9;
}

static int failed(const char* step, uint32_t status) {
    char text[1024];
    if (VRQ_Get_Error_String(status, text) != 0) strcpy(text, "no text for this status");
    printf("  %s: status 0x%08X, %s\n", step, (unsigned)status, text);
    return 1;
}

static void print_result(const char* name, const uint8_t* hash, uint32_t length, long bytes,
                         double time) {
    uint32_t i;
    printf("  %-13s ", name);
    for (i = 0; i < length; ++i) printf("%02x", hash[i]);
    printf("\n  %-13s %.3f ms", "", time * 1e3);
    if (time > 0) printf(", %.0f MB/s", (double)bytes / time / 1e6);
    printf("\n");
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
    print_result(name, hash, length, total, time);
    return 0;
}

static int show_digest(uint32_t id, FILE* file) {
    struct sink sink = {NULL, NULL};
    const char* name = VRQ_Get_DIGEST_Alg_Name(id);
    uint32_t status;
    int result;

    sink.digest = VRQ_New_DIGEST_Unit();
    if (sink.digest == NULL || name == NULL) return 1;
    status = VRQ_Init_DIGEST(sink.digest, id);
    result = status == 0 ? run(name, &sink, file) : failed(name, status);
    VRQ_Free_DIGEST_Unit(sink.digest);
    return result;
}

static int show_hmac(uint32_t id, FILE* file) {
    struct sink sink = {NULL, NULL};
    char* name = VRQ_Get_HMAC_Name(id | VRQ_ID_HMAC);
    uint32_t status;
    int result = 1;

    sink.hmac = VRQ_New_HMAC_Unit();
    if (sink.hmac != NULL && name != NULL) {
        status = VRQ_Init_HMAC(sink.hmac, id, (const uint8_t*)kMacKey, sizeof kMacKey - 1);
        result = status == 0 ? run(name, &sink, file) : failed(name, status);
    }
    VRQ_Free_HMAC_Unit(sink.hmac);
    VRQ_Free(name, __FILE__, __LINE__);
    return result;
}

/* Succeeds when the module refuses SHA-1. */
static int show_refusal(void) {
    VRQ_DIGEST_UNIT* unit = VRQ_New_DIGEST_Unit();
    uint32_t status;
    uint32_t cause;

    if (unit == NULL) return 1;
    status = VRQ_Init_DIGEST(unit, VRQ_ID_SHA1);
    cause = vrq_Init_DIGEST_Alg(unit, VRQ_ID_SHA1);
    VRQ_Free_DIGEST_Unit(unit);
    if (status == 0 || cause == 0) {
        printf("  SHA1 was not refused\n");
        return 1;
    }
    failed("SHA1 refused", status);
    failed("the cause   ", cause);
    return 0;
}

int main(int argc, char** argv) {
    static const uint32_t kDigests[] = {VRQ_ID_SHA224, VRQ_ID_SHA256, VRQ_ID_SHA384, VRQ_ID_SHA512};
    FILE* file;
    size_t i;
    int failures = 0;

    if (argc != 2) {
        fprintf(stderr, "usage: %s FILE\n", argv[0]);
        return 2;
    }
    file = fopen(argv[1], "rb");
    if (file == NULL) {
        perror(argv[1]);
        return 2;
    }

    printf("Talvern %s, %s mode\n", VRQ_Get_Crypto_Version(), VRQ_Is_Proven() ? "proven" : "open");
    printf("\nDigests of %s\n", argv[1]);
    for (i = 0; i < sizeof kDigests / sizeof kDigests[0]; ++i)
        failures += show_digest(kDigests[i], file);

    printf("\nMAC of the file under the key \"%s\"\n", kMacKey);
    failures += show_hmac(VRQ_ID_SHA256, file);

    printf("\nNot approved, so not served in proven mode\n");
    failures += show_refusal();

    fclose(file);
    printf("\n%s\n", failures == 0 ? "All steps succeeded." : "A step FAILED.");
    return failures == 0 ? 0 : 1;
}
