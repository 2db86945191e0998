/* What the module does, shown on a file. In proven mode: the power-up tests with their times, digests and
 * a MAC of the file, its encryption and decryption in pieces, random bytes, RSA and KCDSA keys that sign it, and
 * the refusal of algorithms that are not approved. Then, in a process of its own, since the mode is chosen before
 * the first call: some of those that are not. Exits with 0 only if every step succeeded. */
#define _POSIX_C_SOURCE 200809L

#include "demo.h"

#include <string.h>

#include <sys/wait.h>
#include <unistd.h>

static int run_proven(const char* path, FILE* file) {
    static const uint32_t kDigests[] = {VRQ_ID_SHA224, VRQ_ID_SHA256, VRQ_ID_SHA384, VRQ_ID_SHA512};
    size_t i;
    int failures;

    printf("Talvern %s, %s mode\n", VRQ_Get_Crypto_Version(), VRQ_Is_Proven() ? "proven" : "open");
    printf("\nPower-up tests\n");
    failures = show_power_up();
    if (failures != 0) return failures;

    printf("\nDigests and MAC of %s\n", path);
    for (i = 0; i < sizeof kDigests / sizeof kDigests[0]; ++i)
        failures += show_digest(kDigests[i], file);
    failures += show_hmac(VRQ_ID_SHA256, file);

    printf("\nThe file encrypted, in pieces\n");
    failures += show_encryption("ARIA-256 CBC", VRQ_ID_ARIA_256 | VRQ_MODE_CBC, path, file);
    failures += show_encryption("SEED CBC", VRQ_ID_SEED_128 | VRQ_MODE_CBC, path, file);

    printf("\nRandom bytes\n");
    failures += show_random();

    printf("\nAn RSA key of 2048 bits\n");
    failures += show_rsa(file);

    printf("\nA KCDSA key of 2048 and 256 bits\n");
    failures += show_kcdsa(file);

    printf("\nNot approved, so not served in proven mode\n");
    return failures + show_refusals();
}

static int run_open(const char* path, FILE* file) {
    const uint32_t status = VRQ_Change_Non_Proven_Mode();
    int failures;

    if (status != 0) return failed("change of mode", status);
    printf("\nNon-proven mode, another process\n");
    failures = show_digest(VRQ_ID_SHA1, file);
    failures +=
        show_encryption("AES-256 CTR", VRQ_ID_AES_256 | VRQ_MODE_CTR | VRQ_NO_PADDING, path, file);
    return failures + show_encryption("LEA-128 CBC", VRQ_ID_LEA_128 | VRQ_MODE_CBC, path, file);
}

/* The open part in a new process. Returns 0 when it succeeded. */
static int spawn_open(const char* program, const char* path) {
    int status = 0;
    pid_t child;

    fflush(stdout);
    child = fork();
    if (child == 0) {
        execl(program, program, "--open", path, (char*)NULL);
        _exit(127);
    }
    if (child < 0 || waitpid(child, &status, 0) != child) return 1;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : 1;
}

int main(int argc, char** argv) {
    const int is_open = argc == 3 && strcmp(argv[1], "--open") == 0;
    const char* path = argv[argc - 1];
    FILE* file;
    int failures;

    if (argc != 2 && !is_open) {
        fprintf(stderr, "usage: %s FILE\n", argv[0]);
        return 2;
    }
    file = fopen(path, "rb");
    if (file == NULL) {
        perror(path);
        return 2;
    }
    failures = is_open ? run_open(path, file) : run_proven(path, file);
    fclose(file);
    if (is_open) return failures == 0 ? 0 : 1;

    failures += spawn_open("/proc/self/exe", path);
    printf("\n%s\n", failures == 0 ? "All steps succeeded." : "A step FAILED.");
    return failures == 0 ? 0 : 1;
}
