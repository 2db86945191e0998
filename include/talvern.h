/* Talvern: the whole public interface. */
#ifndef TALVERN_H
#define TALVERN_H

#include "talvern/base.h"
#include "talvern/bigint.h"
#include "talvern/digest.h"
#include "talvern/mac.h"
#include "talvern/memory.h"
#include "talvern/module.h"
#include "talvern/random.h"
#include "talvern/selftest.h"
#include "talvern/status.h"
#include "talvern/stream.h"
#include "talvern/utils.h"

#endif /* TALVERN_H */
