/* An RSA key that signs a file and wraps a key. */
#include "demo.h"

#include <string.h>

enum { RSA_BITS = 2048, RSA_MAX = 512, PSS_SALT = 32, WRAPPED_KEY = 32 };

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

/* Signs the file or verifies its signature, reading it in pieces; with flip one bit of it is
 * changed. */
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

int show_rsa(FILE* file) {
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
