/* Encryption of a file in pieces, and its decryption, compared with the file. */
#include "demo.h"

#include <string.h>

/* A file encrypted and decrypted again piece by piece. */
struct round_trip {
    VRQ_BLOCK_CIPHER_UNIT* encryption;
    VRQ_BLOCK_CIPHER_UNIT* decryption;
    FILE* reread; /* the plaintext once more, to compare with */
    double encryption_time;
    double decryption_time;
    long bytes;
};

/* A piece through the unit, or the end of the message when it is null; adds to the time. */
static uint32_t pass(VRQ_BLOCK_CIPHER_UNIT* unit, uint8_t* out, uint32_t* got, const uint8_t* in,
                     uint32_t length, double* time) {
    const double start = seconds();
    const uint32_t status = in != NULL
                                ? VRQ_Update_BLOCK_CIPHER(unit, out, got, in, (int32_t)length)
                                : VRQ_Final_BLOCK_CIPHER(unit, out, got);
    *time += seconds() - start;
    return status;
}

/* Decrypts a piece of ciphertext, or the end of the message when it is null, and compares what comes out
 * with the file. Returns a status, or 1 when the bytes differ. */
static uint32_t decrypt_and_compare(struct round_trip* trip, const uint8_t* ciphertext,
                                    uint32_t length) {
    static uint8_t plaintext[PIECE + 2 * BLOCK];
    static uint8_t expected[PIECE + 2 * BLOCK];
    uint32_t got = 0;
    const uint32_t status =
        pass(trip->decryption, plaintext, &got, ciphertext, length, &trip->decryption_time);
    if (status != 0) return status;
    if (fread(expected, 1, got, trip->reread) != got) return 1;
    return memcmp(plaintext, expected, got) == 0 ? 0 : 1;
}

/* Encrypts a piece of the file, or the end of the message when it is null, and hands it on. */
static uint32_t encrypt_and_return(struct round_trip* trip, const uint8_t* plaintext,
                                   uint32_t length) {
    static uint8_t ciphertext[PIECE + BLOCK];
    uint32_t got = 0;
    const uint32_t status =
        pass(trip->encryption, ciphertext, &got, plaintext, length, &trip->encryption_time);
    trip->bytes += (long)length;
    if (status != 0 || got == 0) return status;
    return decrypt_and_compare(trip, ciphertext, got);
}

static uint32_t run_round_trip(struct round_trip* trip, uint32_t algorithm, FILE* file) {
    static uint8_t piece[PIECE];
    uint8_t key[32];
    uint8_t iv[BLOCK];
    uint32_t status;
    size_t got;

    status = VRQ_Rand_Bytes(key, sizeof key);
    if (status == 0) status = VRQ_Rand_Bytes(iv, sizeof iv);
    if (status == 0) status = VRQ_Init_BLOCK_CIPHER(trip->encryption, algorithm, key, iv, 1);
    if (status == 0) status = VRQ_Init_BLOCK_CIPHER(trip->decryption, algorithm, key, iv, 0);

    rewind(file);
    while (status == 0 && (got = fread(piece, 1, sizeof piece, file)) > 0)
        status = encrypt_and_return(trip, piece, (uint32_t)got);
    if (status == 0) status = encrypt_and_return(trip, NULL, 0);
    if (status == 0) status = decrypt_and_compare(trip, NULL, 0);
    if (status == 0 && fgetc(trip->reread) != EOF) status = 1;
    return status;
}

int show_encryption(const char* name, uint32_t algorithm, const char* path, FILE* file) {
    struct round_trip trip = {NULL, NULL, NULL, 0, 0, 0};
    uint32_t status = 1;

    trip.encryption = VRQ_New_BLOCK_CIPHER_Unit();
    trip.decryption = VRQ_New_BLOCK_CIPHER_Unit();
    trip.reread = fopen(path, "rb");
    if (trip.encryption != NULL && trip.decryption != NULL && trip.reread != NULL)
        status = run_round_trip(&trip, algorithm, file);
    if (trip.reread != NULL) fclose(trip.reread);
    VRQ_Free_BLOCK_CIPHER_Unit(trip.encryption);
    VRQ_Free_BLOCK_CIPHER_Unit(trip.decryption);

    if (status == 1) printf("  %s: the decrypted file differs\n", name);
    if (status > 1) return failed(name, status);
    if (status != 0) return 1;
    print_rate(name, trip.encryption_time, trip.bytes, " to encrypt");
    print_rate("", trip.decryption_time, trip.bytes, " to decrypt, equal to the file");
    return 0;
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

int show_refusals(void) { return show_digest_refusal() + show_cipher_refusal(); }
