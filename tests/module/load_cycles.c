/* The library in a program that links libc alone: loaded and dropped a thousand times, and in children forked
 * before and after the first call.
 * Usage: load_cycles LIBRARY */
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

enum { CYCLES = 1000, WARM = 50, CALLS_EACH = 100 };

typedef uint32_t (*digest_function)(uint32_t, const uint8_t*, uint32_t, uint8_t*, uint32_t*);

static const uint32_t kSha256 = 0x05000300;
static const uint8_t kStart[4] = {0xba, 0x78, 0x16, 0xbf}; /* of the digest of "abc", FIPS 180-4 */

static int serves(void* library) {
    uint8_t out[32];
    uint32_t length = 0;
    digest_function digest;
    void* symbol = dlsym(library, "VRQ_DIGEST");
    if (symbol == NULL) return 0;
    memcpy(&digest, &symbol, sizeof digest);
    return digest(kSha256, (const uint8_t*)"abc", 3, out, &length) == 0 && length == 32 &&
           memcmp(out, kStart, sizeof kStart) == 0;
}

static int serves_in_child(void* library) {
    int status = 0;
    const pid_t child = fork();
    if (child == 0) _exit(serves(library) ? 0 : 1);
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

static long mappings(void) {
    long lines = 0;
    int c;
    FILE* maps = fopen("/proc/self/maps", "r");
    if (maps == NULL) return -1;
    while ((c = getc(maps)) != EOF) lines += c == '\n';
    fclose(maps);
    return lines;
}

static int cycle(const char* path, int number) {
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    const int is_good = library != NULL && (number % CALLS_EACH != 0 || serves(library));
    return is_good && dlclose(library) == 0;
}

static int failed(const char* what) {
    fprintf(stderr, "%s\n", what);
    return 1;
}

int main(int argc, char** argv) {
    long before = 0;
    int i;
    void* library;
    if (argc != 2) return 2;
    for (i = 0; i < CYCLES; ++i) {
        if (i == WARM) before = mappings();
        if (!cycle(argv[1], i)) return failed("a cycle failed");
    }
    if (mappings() > before + 2)
        return failed("mappings stay behind"); /* the heap may have grown */

    library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (library == NULL) return failed(dlerror());
    if (!serves_in_child(library))
        return failed("a child forked before the first call is not served");
    if (!serves(library)) return failed("no service after the fork");
    if (!serves_in_child(library))
        return failed("a child forked after the first call is not served");
    return dlclose(library);
}
