/* Talvern: the whole public interface. */
#ifndef TALVERN_H
#define TALVERN_H

#include "talvern/aes.h"
#include "talvern/aria.h"
#include "talvern/base.h"
#include "talvern/bigint.h"
#include "talvern/blowfish.h"
#include "talvern/cipher.h"
#include "talvern/des.h"
#include "talvern/dh.h"
#include "talvern/digest.h"
#include "talvern/dsa.h"
#include "talvern/ec.h"
#include "talvern/ecdsa.h"
#include "talvern/kcdsa.h"
#include "talvern/lea.h"
#include "talvern/mac.h"
#include "talvern/memory.h"
#include "talvern/module.h"
#include "talvern/prime.h"
#include "talvern/random.h"
#include "talvern/rc2.h"
#include "talvern/rc4.h"
#include "talvern/rc5.h"
#include "talvern/rsa.h"
#include "talvern/seed.h"
#include "talvern/selftest.h"
#include "talvern/status.h"
#include "talvern/stream.h"
#include "talvern/utils.h"

#endif /* TALVERN_H */
