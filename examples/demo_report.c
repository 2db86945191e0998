/* Time and print. */
#define _POSIX_C_SOURCE 199309L

#include "demo.h"

#include <string.h>
#include <time.h>

double seconds(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)now.tv_sec + (double)now.tv_nsec / 1e9;
}

int failed(const char* step, uint32_t status) {
    char text[1024];
    if (VRQ_Get_Error_String(status, text) != 0) strcpy(text, "no text for this status");
    printf("  %s: status 0x%08X, %s\n", step, (unsigned)status, text);
    return 1;
}

void print_time(const char* name, double time, const char* remark) {
    printf("  %-15s %9.3f ms%s\n", name, time * 1e3, remark);
}

void print_rate(const char* name, double time, long bytes, const char* remark) {
    printf("  %-15s %9.3f ms", name, time * 1e3);
    if (time > 0 && bytes > 0) printf(", %.0f MB/s", (double)bytes / time / 1e6);
    printf("%s\n", remark);
}
