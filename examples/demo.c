/* What the module does, shown on a file in proven mode: digests and a MAC of the file, its encryption
 * and decryption, all read in pieces, an RSA key that signs it and wraps a key, and the refusal of
 * algorithms that are not approved. Exits with 0 only if every step succeeded. */
#define _POSIX_C_SOURCE 199309L

#include <talvern.h>

#include <stdio.h>
#include <string.h>
#include <time.h>

enum { PIECE = 65536, HASH_MAX = 64, BLOCK = 16 };

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

/* A file encrypted and decrypted again piece by piece. */
struct round_trip {
    VRQ_BLOCK_CIPHER_UNIT* encryption;
    VRQ_BLOCK_CIPHER_UNIT* decryption;
    FILE* reread; /* the plaintext once more, to compare with */
    double encryption_time;
    double decryption_time;
    long bytes;
};

/* Decrypts a piece of ciphertext, or the end of the message when it is null, and compares what comes
 * out with the file. Returns a status, or 1 when the bytes differ. */
static uint32_t decrypt_and_compare(struct round_trip* trip, const uint8_t* ciphertext,
                                    uint32_t length) {
    static uint8_t plaintext[PIECE + 2 * BLOCK];
    static uint8_t expected[PIECE + 2 * BLOCK];
    uint32_t got = 0;
    uint32_t status;
    const double start = seconds();

    if (ciphertext != NULL) {
        status =
            VRQ_Update_BLOCK_CIPHER(trip->decryption, plaintext, &got, ciphertext, (int32_t)length);
    } else {
        status = VRQ_Final_BLOCK_CIPHER(trip->decryption, plaintext, &got);
    }
    trip->decryption_time += seconds() - start;
    if (status != 0) return status;
    if (fread(expected, 1, got, trip->reread) != got) return 1;
    return memcmp(plaintext, expected, got) == 0 ? 0 : 1;
}

/* Encrypts a piece of the file, or the end of the message when it is null, and hands it on. */
static uint32_t encrypt_and_return(struct round_trip* trip, const uint8_t* plaintext,
                                   uint32_t length) {
    static uint8_t ciphertext[PIECE + BLOCK];
    uint32_t got = 0;
    uint32_t status;
    const double start = seconds();

    if (plaintext != NULL) {
        status =
            VRQ_Update_BLOCK_CIPHER(trip->encryption, ciphertext, &got, plaintext, (int32_t)length);
    } else {
        status = VRQ_Final_BLOCK_CIPHER(trip->encryption, ciphertext, &got);
    }
    trip->encryption_time += seconds() - start;
    trip->bytes += (long)length;
    if (status != 0 || got == 0) return status;
    return decrypt_and_compare(trip, ciphertext, got);
}

static uint32_t run_round_trip(struct round_trip* trip, FILE* file) {
    static uint8_t piece[PIECE];
    uint8_t key[32];
    uint8_t iv[BLOCK];
    uint32_t status;
    size_t got;

    memset(key, 0x2A, sizeof key);
    memset(iv, 0x17, sizeof iv);
    status = VRQ_Init_BLOCK_CIPHER(trip->encryption, VRQ_ID_ARIA_256 | VRQ_MODE_CBC, key, iv, 1);
    if (status == 0)
        status =
            VRQ_Init_BLOCK_CIPHER(trip->decryption, VRQ_ID_ARIA_256 | VRQ_MODE_CBC, key, iv, 0);

    rewind(file);
    while (status == 0 && (got = fread(piece, 1, sizeof piece, file)) > 0)
        status = encrypt_and_return(trip, piece, (uint32_t)got);
    if (status == 0) status = encrypt_and_return(trip, NULL, 0);
    if (status == 0) status = decrypt_and_compare(trip, NULL, 0);
    if (status == 0 && fgetc(trip->reread) != EOF) status = 1;
    return status;
}

static int show_encryption(const char* path, FILE* file) {
    struct round_trip trip = {NULL, NULL, NULL, 0, 0, 0};
    uint32_t status = 1;

    trip.encryption = VRQ_New_BLOCK_CIPHER_Unit();
    trip.decryption = VRQ_New_BLOCK_CIPHER_Unit();
    trip.reread = fopen(path, "rb");
    if (trip.encryption != NULL && trip.decryption != NULL && trip.reread != NULL)
        status = run_round_trip(&trip, file);
    if (trip.reread != NULL) fclose(trip.reread);
    VRQ_Free_BLOCK_CIPHER_Unit(trip.encryption);
    VRQ_Free_BLOCK_CIPHER_Unit(trip.decryption);

    if (status == 1) printf("  the decrypted file differs\n");
    if (status > 1) return failed("ARIA_256 CBC", status);
    if (status != 0) return 1;
    printf("  %-13s %.3f ms, %.0f MB/s\n", "encrypted", trip.encryption_time * 1e3,
           (double)trip.bytes / trip.encryption_time / 1e6);
    printf("  %-13s %.3f ms, %.0f MB/s, equal to the file\n", "decrypted",
           trip.decryption_time * 1e3, (double)trip.bytes / trip.decryption_time / 1e6);
    return 0;
}

enum { RSA_BITS = 2048, RSA_MAX = 512, PSS_SALT = 32, WRAPPED_KEY = 32 };

static void print_time(const char* name, double time, const char* remark) {
    printf("  %-13s %.3f ms%s\n", name, time * 1e3, remark);
}

static uint32_t generate_key(VRQ_RSA_UNIT* key) {
    VRQ_BIGINT* e = VRQ_New_BIGINT();
    uint32_t status = 1;
    const double start = seconds();

    if (e != NULL) status = VRQ_Set_BIGINT_Word(e, 65537);
    if (status == 0) status = VRQ_Generate_RSA_Params_Ex(key, e, RSA_BITS, 2);
    print_time("key generated", seconds() - start, "");
    if (e != NULL) VRQ_Free_BIGINT(e);
    return status;
}

/* Signs the file or verifies its signature, reading it in pieces; with flip one bit of it is changed,
 * of an empty file its length. */
static uint32_t sign_file(VRQ_RSA_UNIT* key, uint32_t direction, int flip, FILE* file,
                          uint8_t* signature, uint32_t* length) {
    static uint8_t piece[PIECE];
    size_t got;
    uint32_t status =
        VRQ_Init_RSASSA(key, VRQ_ID_SHA256, VRQ_RSASSA_PSS | PSS_SALT << 16, direction);

    rewind(file);
    while (status == 0 && (got = fread(piece, 1, sizeof piece, file)) > 0) {
        if (flip) piece[got / 2] ^= 1;
        flip = 0;
        status = VRQ_Update_RSASSA(key, piece, (int32_t)got);
    }
    if (status == 0 && flip) status = VRQ_Update_RSASSA(key, (const uint8_t*)"", 1);
    if (status == 0) status = VRQ_Final_RSASSA(key, signature, length);
    return status;
}

static int show_signature(VRQ_RSA_UNIT* key, FILE* file) {
    uint8_t signature[RSA_MAX];
    uint32_t length = 0;
    uint32_t status;
    double start = seconds();

    status = sign_file(key, VRQ_RSA_PRIVATE, 0, file, signature, &length);
    if (status != 0) return failed("signing", status);
    print_time("file signed", seconds() - start, ", PSS over SHA-256");
    start = seconds();
    status = sign_file(key, VRQ_RSA_PUBLIC, 0, file, signature, &length);
    if (status != 0) return failed("verification", status);
    print_time("verified", seconds() - start, "");

    status = sign_file(key, VRQ_RSA_PUBLIC, 1, file, signature, &length);
    if (status == 0) {
        printf("  a changed file was verified\n");
        return 1;
    }
    failed("one bit of the file flipped", status);
    signature[length / 2] ^= 1;
    status = sign_file(key, VRQ_RSA_PUBLIC, 0, file, signature, &length);
    if (status == 0) {
        printf("  a changed signature was verified\n");
        return 1;
    }
    failed("one bit of the signature flipped", status);
    return 0;
}

static int show_key_wrap(VRQ_RSA_UNIT* key) {
    uint8_t secret[WRAPPED_KEY];
    uint8_t unwrapped[WRAPPED_KEY];
    uint8_t wrapped[RSA_MAX];
    uint32_t length = 0;
    uint32_t status = VRQ_Rand_Bytes(secret, sizeof secret);
    double start = seconds();

    if (status == 0) status = VRQ_Init_RSAES(key, VRQ_RSAES_OAEP, VRQ_RSA_PUBLIC, VRQ_ID_SHA256);
    if (status == 0) status = VRQ_Encrypt_RSAES(key, wrapped, &length, secret, sizeof secret);
    if (status != 0) return failed("wrapping", status);
    print_time("key wrapped", seconds() - start, ", 32 bytes with OAEP over SHA-256");

    start = seconds();
    status = VRQ_Init_RSAES(key, VRQ_RSAES_OAEP, VRQ_RSA_PRIVATE, VRQ_ID_SHA256);
    if (status == 0) status = VRQ_Decrypt_RSAES(key, unwrapped, &length, wrapped, sizeof unwrapped);
    if (status != 0) return failed("unwrapping", status);
    print_time("unwrapped", seconds() - start, "");
    if (length == sizeof secret && memcmp(secret, unwrapped, sizeof secret) == 0) return 0;
    printf("  the unwrapped key differs\n");
    return 1;
}

static int show_rsa(FILE* file) {
    VRQ_RSA_UNIT* key = VRQ_New_RSA();
    uint32_t status;
    int failures;

    if (key == NULL) return 1;
    status = generate_key(key);
    failures = status != 0 ? failed("key generation", status)
                           : show_signature(key, file) + show_key_wrap(key);
    VRQ_Free_RSA(key);
    return failures;
}

/* Succeeds when the module refuses AES. */
static int show_cipher_refusal(void) {
    static const uint8_t key[16];
    VRQ_BLOCK_CIPHER_UNIT* unit = VRQ_New_BLOCK_CIPHER_Unit();
    uint32_t status;

    if (unit == NULL) return 1;
    status = VRQ_Init_BLOCK_CIPHER(unit, VRQ_ID_AES_128 | VRQ_MODE_ECB, key, NULL, 1);
    VRQ_Free_BLOCK_CIPHER_Unit(unit);
    if (status == 0) {
        printf("  AES_128 was not refused\n");
        return 1;
    }
    failed("AES_128 refused", status);
    return 0;
}

/* Succeeds when the module refuses SHA-1. */
static int show_digest_refusal(void) {
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
    failed("SHA1 refused   ", status);
    failed("the cause      ", cause);
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

    printf("\nThe file under ARIA-256 in CBC mode, in pieces\n");
    failures += show_encryption(argv[1], file);

    printf("\nAn RSA key of %d bits\n", RSA_BITS);
    failures += show_rsa(file);

    printf("\nNot approved, so not served in proven mode\n");
    failures += show_digest_refusal();
    failures += show_cipher_refusal();

    fclose(file);
    printf("\n%s\n", failures == 0 ? "All steps succeeded." : "A step FAILED.");
    return failures == 0 ? 0 : 1;
}
