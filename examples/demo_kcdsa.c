/* Random bytes, and a KCDSA key that signs a file. */
#include "demo.h"

#include <string.h>

enum { P_BITS = 2048, Q_BITS = 256, SIZE = 32, COUNT = 1 << 20 };

int show_random(void) {
    static uint8_t first[COUNT];
    static uint8_t second[COUNT];
    long ones = 0;
    size_t i;
    double start = seconds();
    uint32_t status = VRQ_Rand_Bytes(first, COUNT);
    const double time = seconds() - start;

    if (status == 0) status = VRQ_Rand_Bytes(second, COUNT);
    if (status != 0) return failed("random bytes", status);
    print_rate("1 MiB drawn", time, COUNT, ", Hash_DRBG over SHA-256");

    /* 8 Mi fair coins are within 20,000 of the half but once in 10^43. */
    for (i = 0; i < COUNT; ++i) {
        uint8_t byte;
        for (byte = first[i]; byte != 0; byte &= (uint8_t)(byte - 1)) ++ones;
    }
    if (memcmp(first, second, COUNT) != 0 && ones > 4194304 - 20000 && ones < 4194304 + 20000)
        return 0;
    printf("  the bytes are not random\n");
    return 1;
}

struct signature {
    uint8_t r[SIZE];
    uint8_t s[SIZE];
    uint32_t r_length;
    uint32_t s_length;
};

/* Signs the file, direction 1, or verifies its signature. */
static uint32_t sign_file(VRQ_KCDSA_UNIT* unit, int32_t direction, FILE* file,
                          struct signature* signature) {
    static uint8_t piece[PIECE];
    size_t got;
    uint32_t status = VRQ_Init_KCDSA_Ex(unit, direction, VRQ_ID_SHA256);

    rewind(file);
    while (status == 0 && (got = fread(piece, 1, sizeof piece, file)) > 0)
        status = VRQ_Update_KCDSA(unit, piece, (int32_t)got);
    if (status != 0) return status;
    return VRQ_Final_KCDSA(unit, signature->r, &signature->r_length, signature->s,
                           &signature->s_length);
}

static int show_signature(VRQ_KCDSA_UNIT* unit, FILE* file) {
    struct signature signature = {{0}, {0}, SIZE, SIZE};
    double start = seconds();
    uint32_t status = sign_file(unit, 1, file, &signature);

    if (status != 0) return failed("signing", status);
    print_time("file signed", seconds() - start, ", SHA-256");
    start = seconds();
    status = sign_file(unit, 0, file, &signature);
    if (status != 0) return failed("verification", status);
    print_time("verified", seconds() - start, "");

    signature.s[SIZE / 2] ^= 1;
    status = sign_file(unit, 0, file, &signature);
    if (status == 0) {
        printf("  a changed signature was verified\n");
        return 1;
    }
    failed("one bit of the signature flipped", status);
    return 0;
}

int show_kcdsa(FILE* file) {
    VRQ_KCDSA_UNIT* unit = VRQ_New_KCDSA();
    uint32_t status;
    int failures;
    double start = seconds();

    if (unit == NULL) return 1;
    status = VRQ_Generate_KCDSA_Params_Ex(unit, VRQ_ID_SHA256, P_BITS, Q_BITS);
    if (status == 0) {
        print_time("domain found", seconds() - start, "");
        start = seconds();
        status = VRQ_Generate_KCDSA_Key_Pair_Ex(unit);
        print_time("key generated", seconds() - start, "");
    }
    failures = status != 0 ? failed("key generation", status) : show_signature(unit, file);
    VRQ_Free_KCDSA(unit);
    return failures;
}
