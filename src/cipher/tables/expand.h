// Lists the entries of a constant table: T256(f) is f(0), f(1), ..., f(255), each evaluated by the
// compiler.
#pragma once

#define T4(f, n) f(n), f((n) + 1), f((n) + 2), f((n) + 3)
#define T16(f, n) T4(f, n), T4(f, (n) + 4), T4(f, (n) + 8), T4(f, (n) + 12)
#define T64(f, n) T16(f, n), T16(f, (n) + 16), T16(f, (n) + 32), T16(f, (n) + 48)
#define T256(f) T64(f, 0), T64(f, 64), T64(f, 128), T64(f, 192)
