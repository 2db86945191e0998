// How the kernels name the instruction sets they use: by attribute on each function, since compile
// flags of a whole file would reach into shared inline functions.
#pragma once

#define TALVERN_TARGET(features) __attribute__((target(features)))
#define TALVERN_INLINE_TARGET(features)                                                            \
    __attribute__((target(features), always_inline)) static inline
