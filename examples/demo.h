/* What the parts of the demonstration share. */
#ifndef DEMO_H
#define DEMO_H

#include <talvern.h>

#include <stdio.h>

enum { PIECE = 65536, BLOCK = 16 }; /* bytes */

double seconds(void);

/* Print a step. The first returns 1. */
int failed(const char* step, uint32_t status);
void print_time(const char* name, double time, const char* remark);
void print_rate(const char* name, double time, long bytes, const char* remark);

/* Each shows one service and returns how many of its steps went wrong. */
int show_power_up(void);
int show_digest(uint32_t id, FILE* file);
int show_hmac(uint32_t id, FILE* file);
int show_encryption(const char* name, uint32_t algorithm, const char* path, FILE* file);
int show_random(void);
int show_rsa(FILE* file);
int show_kcdsa(FILE* file);
int show_refusals(void);

#endif /* DEMO_H */
