// Domains over finite fields: the expansion of seeds, random numbers below a bound, and the search for
// primes q and p = 2Jq + 1 with a generator, of TTAK.KO-12.0001. KCDSA and Diffie-Hellman share it.
#pragma once

#include "foundation/scope.h"
#include "foundation/status.h"
#include "talvern/bigint.h"
#include "talvern/digest.h"

#include <cstddef>

namespace vrq::ff {

// Under which library and function a failure is reported.
struct Reporter {
    u32 library;
    u32 function;
    constexpr u32 operator()(u32 reason) const { return make_status(library, function, reason); }
};

constexpr u32 kCounterBytes = 4; // behind the seed

// The expansion of a seed, over one digest unit for many calls.
class Expander {
  public:
    // Returns the status of the digest.
    [[nodiscard]] u32 init(u32 digest);

    // ceil(bits / 8) bytes to out. Returns the status of the digest.
    [[nodiscard]] u32 expand(u8* out, u32 bits, const u8* seed, u32 seed_length) const;

  private:
    Owned<VRQ_DIGEST_UNIT, VRQ_Free_DIGEST_Unit> unit_;
};

// r = a number below the bound, every one as likely, but not 0 where that is asked for. Returns 0 or the
// reason. Of r the time tells how many words on top are 0.
[[nodiscard]] u32 draw_below(VRQ_BIGINT& r, u32 digest, const VRQ_BIGINT& bound, bool with_zero);

// The exported forms of both, with null pointers refused.
[[nodiscard]] u32 expand(Reporter fail, u32 digest, const u8* seed, u32 seed_length, u8* out,
                         u32 bits);
[[nodiscard]] u32 draw(Reporter fail, u32 digest, VRQ_BIGINT* out, const VRQ_BIGINT* bound);

// Lengths that the search takes.
struct Lengths {
    u32 p_bits;
    u32 q_bits;
};
bool is_admitted(Lengths lengths);
bool is_proven_length(Lengths lengths);

struct Plan {
    Reporter fail;
    Lengths lengths;
    u32 digest;
    u32 limit;                                           // counters tried for one J
    bool new_seed;                                       // start again with a new one after that
    void* source;                                        // handed to draw_seed
    u32 (*draw_seed)(void* source, u8* out, u32 length); // 0 when drawn
};

// Where the search puts what it finds; all present. seed has q_bits / 8 + kCounterBytes bytes.
struct Domain {
    VRQ_BIGINT* p;
    VRQ_BIGINT* q;
    VRQ_BIGINT* g;
    VRQ_BIGINT* j;
    VRQ_BIGINT* h;
    u8* seed;
    u32* count;
    VRQ_BIGINT_POOL* pool; // may be null
};

// Miller-Rabin rounds, as VRQ_Is_BIGINT_Prime_Ex counts them.
constexpr i32 rounds(u32 p_bits) { return p_bits >= 2048 ? 56 : 40; }

// Counters for one J in proven mode.
constexpr u32 kFullLimit = u32{1} << 24;

// Searches p, q, g. Returns 0 or a status; exhausted tells that the limit was reached and that p, q and
// g are not set.
[[nodiscard]] u32 search(const Domain& domain, const Plan& plan, bool& exhausted);

// From VRQ_Rand_Bytes; the source is not looked at.
u32 draw_random_seed(void* source, u8* out, u32 length);

// Makes the seed buffer of a unit. False when there is no memory.
[[nodiscard]] bool make_seed(u8*& seed, u32& seed_length, u32 q_bits);
void drop_seed(u8*& seed, u32& seed_length);

} // namespace vrq::ff
