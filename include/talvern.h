/* Talvern: the whole public interface. */
#ifndef TALVERN_H
#define TALVERN_H

#include "talvern/aes.h"
#include "talvern/base.h"
#include "talvern/cipher.h"
#include "talvern/memory.h"
#include "talvern/module.h"
#include "talvern/rc4.h"
#include "talvern/selftest.h"
#include "talvern/status.h"

#endif /* TALVERN_H */
