/* Talvern: random numbers.
 *
 *   VRQ_Rand_Bytes          random bytes from the process-wide Hash_DRBG; what most callers want
 *   VRQ_DRBG_UNIT           a Hash_DRBG of one's own (NIST SP 800-90A)
 *   VRQ_ENTROPY_UNIT        the collector behind both: noise of the running system, conditioned
 *   VRQ_PRNG_UNIT           the older generator of FIPS 186-2, for algorithms that are not approved
 *
 * The process-wide generator is seeded at its first use and again in every forked child; its callers
 * may be many threads. Units belong to one thread at a time.
 */
#ifndef TALVERN_RANDOM_H
#define TALVERN_RANDOM_H

#include "talvern/bigint.h"

VRQ_BEGIN_C

/* ---- Random bytes ---- */

/* Fills out with random bytes of the process-wide Hash_DRBG.
 *   out              length bytes; worthless after a failure
 *   length           bytes, at least 1
 *   type             0, the Hash_DRBG; nothing else is supported
 *   hash             VRQ_ID_SHA1, SHA224, SHA256, SHA384, SHA512 or HAS160; SHA-1 and HAS-160 not in
 *                    proven mode. Another hash than that of the last call seeds anew.
 *   prediction       non-zero: reseed from the system before generating
 *   input            entropy and nonce for a seeding that this call has to do; may be null. They are
 *                    copied and cut to length modulo 256.
 * VRQ_Rand_Bytes is type 0 over SHA-256 without prediction resistance.
 *
 * Returns 0, a self-test status, or VRQ_L_DRBG / VRQ_F_RAND_BYTES_DRBG with
 *   VRQ_ERR_NOT_SUPPORTED           type
 *   VRQ_ERR_MEM_ALLOC               no memory
 *   VRQ_ERR_INIT_DRBG_FAIL          hash unknown or refused in proven mode
 *   VRQ_ERR_INSTANTIATE_DRBG_FAIL   seeding failed
 *   VRQ_ERR_CONDITION_TEST_FAIL     two output blocks in a row were equal
 *   VRQ_ERR_GENERATE_DRBG_FAIL      any other failure to generate: null out and length below 1 too
 *   VRQ_ERR_MUTEX_LOCK_FAIL, VRQ_ERR_MUTEX_UNLOCK_FAIL  the platform refused
 *
 * Callers rely on a failed draw to keep the generator locked: every failure but those of the self
 * test and of the mutex leaves the lock held, so that no thread draws again until someone decides.
 * Check arguments before the call, and after a failure call VRQ_Uninstantiate_DRBG from the thread
 * that met it: threads that wait go on with a fresh seeding. A forked child starts with a lock and
 * a seeding of its own. */
struct VRQ_DRBG_ENTROPY_INPUT;
VRQ_API uint32_t VRQ_Rand_Bytes(uint8_t* out, int32_t length);
VRQ_API uint32_t VRQ_Rand_Bytes_DRBG(uint8_t* out, int32_t length, uint32_t type, uint32_t hash,
                                     uint32_t prediction);
VRQ_API uint32_t vrq_Get_Rand_Bytes_DRBG(uint8_t* out, int32_t length, uint32_t type, uint32_t hash,
                                         uint32_t prediction,
                                         const struct VRQ_DRBG_ENTROPY_INPUT* input);

/* Forgets the process-wide generator and gives up a lock that a failed draw kept. The next draw seeds
 * anew. */
VRQ_API void VRQ_Uninstantiate_DRBG(void);

/* r = a random number of at most so many bits, from VRQ_Rand_Bytes. The top bit is not forced.
 * Returns 0, a self-test status, or VRQ_L_DRBG / VRQ_F_GET_RAND_BIGINT_EX with
 *   VRQ_ERR_NULL_INPUT             null r
 *   VRQ_ERR_GET_RAND_FAIL          no memory, or VRQ_Rand_Bytes failed: bits 0 too, which keeps the
 *                                  generator locked as any failed draw does
 *   VRQ_ERR_BINARY_TO_BIGINT_FAIL  r cannot grow */
VRQ_API uint32_t VRQ_Get_Rand_BIGINT_Ex(VRQ_BIGINT* r, uint32_t bits);

/* ---- Hash_DRBG units ---- */

/* What a unit is seeded from. It owns its buffers. */
typedef struct VRQ_DRBG_ENTROPY_INPUT {
    uint32_t reserved;
    int32_t level; /* of collection, see vrq_Get_ENTROPY */
    uint32_t entropy_length;
    uint32_t nonce_length;
    uint32_t personalization_length;
    uint8_t* entropy;
    uint8_t* nonce;
    uint8_t* personalization;
} VRQ_DRBG_ENTROPY_INPUT;

/* A Hash_DRBG. It owns every buffer it points to.
 *
 *   hash             strength  seed length  digest length   (bytes)
 *   SHA-1, HAS-160         10           55             20
 *   SHA-224                14           55             28
 *   SHA-256                16           55             32
 *   SHA-384                24          111             48
 *   SHA-512                32          111             64
 */
typedef struct VRQ_DRBG_UNIT {
    uint32_t type;        /* 0: Hash_DRBG */
    int32_t instantiated; /* 1 once seeded */
    uint32_t hash;        /* identifier */
    int32_t min_entropy_length;
    int32_t max_entropy_length;
    int32_t min_nonce_length; /* not checked */
    int32_t max_nonce_length;
    int32_t max_personalization_length;
    int32_t max_additional_length;
    int32_t digest_length;
    int32_t strength; /* bytes */
    uint8_t* v;       /* big-endian, seed length bytes */
    uint8_t* c;       /* big-endian, seed length bytes */
    int32_t seed_length;
    uint8_t* reserved;
    int32_t additional_length;
    uint8_t* additional;   /* input of the next reseed or generate */
    int32_t output_length; /* digest length, or the count asked for while generating */
    uint8_t* output;
    uint32_t prediction;    /* non-zero: reseed before every generate */
    int32_t reseed_counter; /* 1 after seeding, one more after each generate */
    uint8_t last_block[64]; /* the output block before, for the continuous test */
    uint32_t last_block_length;
    VRQ_DRBG_ENTROPY_INPUT* input;
} VRQ_DRBG_UNIT;

/* Life cycle. New returns a zeroed record, a unit with its entropy input attached, or null. Clean
 * wipes and releases every buffer (of a unit: also the entropy input) and zeroes the record. Free
 * cleans and releases. Null is ignored. */
VRQ_API VRQ_DRBG_UNIT* vrq_New_DRBG_Unit(void);
VRQ_API void vrq_Clean_DRBG_Unit(VRQ_DRBG_UNIT* unit);
VRQ_API void vrq_Free_DRBG_Unit(VRQ_DRBG_UNIT* unit);
VRQ_API VRQ_DRBG_ENTROPY_INPUT* vrq_New_DRBG_ENTROPY_Input(void);
VRQ_API void vrq_Clean_DRBG_ENTROPY_Input(VRQ_DRBG_ENTROPY_INPUT* input);
VRQ_API void vrq_Free_DRBG_ENTROPY_Input(VRQ_DRBG_ENTROPY_INPUT* input);

/* Chooses hash and options.
 *   type        0
 *   prediction  non-zero: reseed before every generate
 *   level       of collection, for what the unit takes from the system: 1, 2 or 3
 * Returns 0, a self-test status, VRQ_L_DRBG / VRQ_F_INIT_DRBG with VRQ_ERR_NULL_INPUT or
 * VRQ_ERR_NOT_SUPPORTED (type), or the status of vrq_Init_HashDRBG. */
VRQ_API uint32_t vrq_Init_DRBG(VRQ_DRBG_UNIT* unit, uint32_t hash, uint32_t type,
                               uint32_t prediction, int32_t level);

/* Parameters of the next instantiate, reseed or generate. Every buffer that is not null replaces the
 * one held by a copy; a length counts modulo 256. vrq_Generate_DRBG uses additional input even
 * without reseeding, entropy only when it reseeds.
 * Return 0, 1 for a null unit or one without entropy input, or VRQ_L_DRBG with the code of the
 * operation they prepare and VRQ_ERR_MEM_ALLOC. */
VRQ_API uint32_t vrq_Set_Instantiate_DRBG_Param(VRQ_DRBG_UNIT* unit, const uint8_t* entropy,
                                                uint32_t entropy_length, const uint8_t* nonce,
                                                uint32_t nonce_length,
                                                const uint8_t* personalization,
                                                uint32_t personalization_length);
VRQ_API uint32_t vrq_Set_Reseed_DRBG_Param(VRQ_DRBG_UNIT* unit, const uint8_t* additional,
                                           uint32_t additional_length, const uint8_t* entropy,
                                           uint32_t entropy_length);
VRQ_API uint32_t vrq_Set_Generate_DRBG_Param(VRQ_DRBG_UNIT* unit, const uint8_t* additional,
                                             uint32_t additional_length, const uint8_t* entropy,
                                             uint32_t entropy_length);

/* Seeds the unit: from entropy and nonce set before, or from the system when either is missing.
 *   strength  bytes; 0 keeps that of the hash
 * Returns 0, VRQ_L_DRBG / VRQ_F_INSTANTIATE_DRBG with
 *   VRQ_ERR_NULL_INPUT     null unit, or one without entropy input
 *   VRQ_ERR_COMPARE_FAIL   a length outside its limits
 *   VRQ_ERR_NOT_SUPPORTED  type
 * the status of the entropy collection, or that of vrq_Instantiate_HashDRBG. */
VRQ_API uint32_t vrq_Instantiate_DRBG(VRQ_DRBG_UNIT* unit, int32_t strength);

/* Seeds the unit again from its state, entropy (the system's when none was set) and additional
 * input; both are wiped and released whatever the outcome.
 * Returns 0, VRQ_L_DRBG / VRQ_F_RESEED_DRBG with
 *   VRQ_ERR_NULL_INPUT             null unit, or one without entropy input
 *   VRQ_ERR_COMPARE_FAIL           additional input too long
 *   VRQ_ERR_SUB_OPERATION_FAILURE  no entropy from the system
 *   VRQ_ERR_NOT_SUPPORTED          type
 * or the status of vrq_Reseed_HashDRBG. */
VRQ_API uint32_t vrq_Reseed_DRBG(VRQ_DRBG_UNIT* unit);

/* Generates length bytes. The first output block after seeding is kept back as the reference of the
 * continuous test: the first call of a unit computes one block more than it returns.
 * Returns 0, VRQ_L_DRBG / VRQ_F_GENERATE_DRBG with
 *   VRQ_ERR_NULL_INPUT             null unit or out
 *   VRQ_ERR_INVALID_INPUT          length below 1
 *   VRQ_ERR_SUB_OPERATION_FAILURE  reseeding failed
 *   VRQ_ERR_NOT_SUPPORTED          type
 * or the status of vrq_Generate_HashDRBG; out holds zeros then. */
VRQ_API uint32_t vrq_Generate_DRBG(VRQ_DRBG_UNIT* unit, uint8_t* out, int32_t length);

/* The mechanism of SP 800-90A, 10.1.1, on a unit.
 *   Init         sets the values of the unit's hash
 *   Instantiate  V and C from entropy, nonce and personalization
 *   Reseed       V and C from V, entropy and additional input
 *   Generate     output_length bytes into the unit's output buffer, made when absent
 * Return 0, or VRQ_L_DRBG with their own code (VRQ_F_INIT_HASHDRBG, ...) and
 *   VRQ_ERR_NULL_INPUT            null unit, or what the step needs is missing
 *   VRQ_ERR_NOT_PROVEN_ALGORITHM  Init: not approved, in proven mode
 *   VRQ_ERR_NOT_SUPPORTED         Init: unknown hash
 *   VRQ_ERR_MEM_ALLOC             Init: no memory for the entropy input
 *   VRQ_ERR_INPUT_BUF_TOO_BIG     an input is too long; Generate: the seed has served too long
 *   VRQ_ERR_HASH_DF_FAIL          Instantiate, Reseed: Hash_df failed
 *   VRQ_ERR_MALLOC                Generate: no memory
 *   VRQ_ERR_INIT_DIGEST_FAIL, VRQ_ERR_UPDATE_DIGEST_FAIL, VRQ_ERR_FINAL_DIGEST_FAIL
 *                                 Generate: the additional input could not be hashed
 *   VRQ_ERR_HASH_GEN_FAIL         Generate: the unit was never seeded
 *   VRQ_ERR_CONDITION_TEST_FAIL   Generate: a block equals the one before */
VRQ_API uint32_t vrq_Init_HashDRBG(VRQ_DRBG_UNIT* unit);
VRQ_API uint32_t vrq_Instantiate_HashDRBG(VRQ_DRBG_UNIT* unit);
VRQ_API uint32_t vrq_Reseed_HashDRBG(VRQ_DRBG_UNIT* unit);
VRQ_API uint32_t vrq_Generate_HashDRBG(VRQ_DRBG_UNIT* unit);

/* The derivation function Hash_df of SP 800-90A, 10.3.1: fills out with the seed length of the unit.
 * Returns 0, or VRQ_L_DRBG / VRQ_F_RAND_BYTES_DRBG with
 *   VRQ_ERR_NULL_INPUT          null argument
 *   VRQ_ERR_MALLOC              no memory
 *   VRQ_ERR_INIT_DIGEST_FAIL, VRQ_ERR_UPDATE_DIGEST_FAIL, VRQ_ERR_FINAL_DIGEST_FAIL */
VRQ_API uint32_t Hash_df(const VRQ_DRBG_UNIT* unit, const uint8_t* input, uint32_t length,
                         uint8_t* out);

/* ---- Entropy ---- */

/* One collection: a pool of noise and its digest. Everything it points to is its own. */
typedef struct VRQ_ENTROPY_UNIT {
    uint32_t reserved;
    int32_t level; /* of collection: 1, 2 or 3 */
    uint8_t* digest;
    uint32_t digest_length;
    uint32_t credit; /* sum over all contributions */
    uint32_t pool_length;
    uint32_t pool_capacity;
    uint8_t* pool; /* contributions in the order of collection */
} VRQ_ENTROPY_UNIT;

/* Life cycle: New returns a zeroed unit or null; Clean wipes and releases pool and digest and zeroes
 * the unit; Free cleans and releases. Null is ignored. */
VRQ_API VRQ_ENTROPY_UNIT* vrq_New_ENTROPY_Unit(void);
VRQ_API void vrq_Clean_ENTROPY_Unit(VRQ_ENTROPY_UNIT* unit);
VRQ_API void vrq_Free_ENTROPY_Unit(VRQ_ENTROPY_UNIT* unit);

/* Appends data to the pool and adds the credit.
 * Returns 0, or VRQ_L_ENTROPY / VRQ_F_ADD_ENTROPY / VRQ_ERR_INVALID_INPUT for a null unit or data,
 * length or credit 0, or when the pool cannot grow; the unit is unchanged then. */
VRQ_API uint32_t vrq_Add_ENTROPY(VRQ_ENTROPY_UNIT* unit, const uint8_t* data, uint32_t length,
                                 uint32_t credit);

/* Runs the sources of the unit's level. A source that cannot be read adds nothing.
 *   1  process id, time, random device
 *   2  counters of processes, memory, network, disk and clocks, then those of level 1
 *   3  shared memory limits and the answer time of a forked child, then those of level 2
 * Callers rely on this: level 3 forks the process, and when the fork fails the process exits with
 * status 1; malformed counter tables under /proc/net abort it; the random device is not read when
 * its descriptor would be 0, 1 or 2. Keep these descriptors open, and expect a SIGCHLD at level 3.
 * Returns 0, 1 for another level, or VRQ_L_ENTROPY / VRQ_F_COLLECT_ENTROPY / VRQ_ERR_INVALID_INPUT
 * for a null unit. */
VRQ_API uint32_t vrq_Collect_ENTROPY(VRQ_ENTROPY_UNIT* unit);

/* vrq_Collect_ENTROPY at a level; any other than 1, 2 or 3 means 2.
 * Returns 0, or VRQ_L_ENTROPY / VRQ_F_COLLECT_ENTROPY / VRQ_ERR_INVALID_INPUT. */
VRQ_API uint32_t get_collection_entropy(VRQ_ENTROPY_UNIT* unit, int32_t level);

/* Hashes the pool into the unit's digest.
 * Returns 0, VRQ_L_ENTROPY / VRQ_F_DIGEST_ENTROPY / VRQ_ERR_INVALID_INPUT when unit, credit, pool
 * or identifier is nothing, or the status of VRQ_DIGEST. */
VRQ_API uint32_t digest_entropy(VRQ_ENTROPY_UNIT* unit, uint32_t hash);

/* Both: collects, then hashes; the status of the step that failed. */
VRQ_API uint32_t get_entropy_digest(VRQ_ENTROPY_UNIT* unit, int32_t level, uint32_t hash);

/* Fills out with conditioned entropy, one fresh collection for each digest length of it.
 * Returns 0, or VRQ_L_ENTROPY / VRQ_F_GET_ENTROPY with
 *   VRQ_ERR_NULL_INPUT    null out, length 0
 *   VRQ_ERR_ENTROPY_FAIL  no memory, or a collection or digest failed
 *   VRQ_ERR_COMPARE_FAIL  not all bytes were filled */
VRQ_API uint32_t vrq_Get_ENTROPY(uint8_t* out, uint32_t length, int32_t level, uint32_t hash);

/* The same, handing the unit of the last collection to the caller, who frees it; a failed collection
 * or digest gives its own status and no unit. */
VRQ_API uint32_t get_entropy_ex(uint8_t* out, uint32_t length, VRQ_ENTROPY_UNIT** unit,
                                int32_t level, uint32_t hash);

/* Entropy input for a strength in bytes: one digest of SHA-224 (strength up to 14), SHA-256 (16),
 * SHA-384 (24) or SHA-512 (32).
 *   buffer  receives the input, the caller's to release; what it held is wiped and released. Null
 *           after a failure of collection.
 *   length  receives its bytes
 * Returns 0, or VRQ_L_ENTROPY / VRQ_F_GET_ENTROPY_INPUT with
 *   VRQ_ERR_INVALID_INPUT  null pointer, strength above 32, or self tests failed
 *   VRQ_ERR_ENTROPY_FAIL   collection failed, no memory */
VRQ_API uint32_t vrq_Get_ENTROPY_Input(uint8_t** buffer, uint32_t* length, int32_t strength,
                                       int32_t level);

/* Entropy input as above and a nonce of half its length, made from the input and the raw pool of the
 * same collection. An entropy input or nonce that the caller holds already is kept; the nonce is
 * then made from the input held, with its length as given.
 * Returns 0, or VRQ_L_ENTROPY / VRQ_F_GET_ENTROPY_AND_NONCE_INPUT with VRQ_ERR_NULL_INPUT,
 * VRQ_ERR_INVALID_INPUT and VRQ_ERR_ENTROPY_FAIL as above. */
VRQ_API uint32_t vrq_Get_ENTROPY_Input_With_Nonce_Input(uint8_t** entropy, uint32_t* entropy_length,
                                                        uint8_t** nonce, uint32_t* nonce_length,
                                                        int32_t strength, int32_t level);

/* The sources. Each adds its bytes to the unit, or nothing. Process_Status, Battery and, in effect,
 * Process_Stat are empty; System_RNG asks the random device for count bytes (64 when below 1);
 * Fork_Response forks. */
VRQ_API void vrq_Entropy_Get_Process_Stat_Info(VRQ_ENTROPY_UNIT* unit);
VRQ_API void vrq_Entropy_Get_Process_Status_Info(VRQ_ENTROPY_UNIT* unit);
VRQ_API void vrq_Entropy_Get_Process_Task_Info(VRQ_ENTROPY_UNIT* unit);
VRQ_API void vrq_Entropy_Get_System_Info(VRQ_ENTROPY_UNIT* unit);
VRQ_API void vrq_Entropy_Get_System_Stat_Info(VRQ_ENTROPY_UNIT* unit);
VRQ_API void vrq_Entropy_Get_CPU_Info(VRQ_ENTROPY_UNIT* unit);
VRQ_API void vrq_Entropy_Get_Disk_Info(VRQ_ENTROPY_UNIT* unit);
VRQ_API void vrq_Entropy_Get_Sleep_Time_Info(VRQ_ENTROPY_UNIT* unit);
VRQ_API void vrq_Entropy_Get_CPU_Speed_Info(VRQ_ENTROPY_UNIT* unit);
VRQ_API void vrq_Entropy_Get_System_Memory_Info(VRQ_ENTROPY_UNIT* unit);
VRQ_API void vrq_Entropy_Get_Network_Traffic_Info(VRQ_ENTROPY_UNIT* unit);
VRQ_API void vrq_Entropy_Get_Current_Process_Info(VRQ_ENTROPY_UNIT* unit);
VRQ_API void vrq_Entropy_Get_Current_Time_Info(VRQ_ENTROPY_UNIT* unit);
VRQ_API void vrq_Entropy_Get_System_RNG_Info(VRQ_ENTROPY_UNIT* unit, int32_t count);
VRQ_API void vrq_Entropy_Get_Battery_Info(VRQ_ENTROPY_UNIT* unit);
VRQ_API void vrq_Entropy_Get_Shared_Memory_Info(VRQ_ENTROPY_UNIT* unit);
VRQ_API void vrq_Entropy_Get_Fork_Response_Info(VRQ_ENTROPY_UNIT* unit);

/* ---- The older generator ----
 *
 * FIPS 186-2, appendix 3: a secret state XKEY, an optional XSEED added to it, and a one-way function
 * G over a digest (SHA-1, SHA-224, SHA-256, SHA-384, SHA-512, HAS-160) or a block cipher (ARIA,
 * SEED-128). It is kept for callers that must reproduce its streams and for DSA, ECDSA and KCDSA of
 * the old interface. It is refused in proven mode.
 *
 * Callers rely on its output as it is, which is weaker than it looks:
 *   - The state keeps no more bits than it has: each step may shorten XKEY, never lengthen it. Draw
 *     little from one unit; a unit that has given some hundred outputs is worn out.
 *   - G over a digest feeds one block of 64 bytes to a running hash. For SHA-384 and SHA-512 that is
 *     half a block, so the first output is the initial hash value and then every value comes twice.
 *   - A SHA-224 unit gives nothing to VRQ_Get_Rand.
 *   - A copy of a unit, in a forked child too, repeats the stream.
 * VRQ_Rand_Bytes has none of this.
 */

typedef struct VRQ_PRNG_UNIT {
    VRQ_BIGINT* xkey; /* replaced at every step */
    VRQ_BIGINT* xseed;
    uint32_t algorithm;  /* identifier of the digest or cipher of G; 0 when refused */
    void* engine;        /* digest record or key schedule, owned */
    int32_t engine_size; /* size of a digest record; 32 for ARIA, 16 for SEED */
    int32_t init_marker; /* -1 once Init has run; Clean acts only then */
    VRQ_BIGINT_POOL* pool;
    int32_t pool_owned; /* 1 when Init made the pool */
} VRQ_PRNG_UNIT;

/* Returns a zeroed unit, or null. */
VRQ_API VRQ_PRNG_UNIT* VRQ_New_PRNG_Unit(void);

/* Binds G and sets XKEY and XSEED.
 *   xkey   20 to 64 bytes, big-endian; made from the clock when null
 *   xseed  big-endian, any length; made from XKEY and the module's seed pool when null, or when it
 *          equals XKEY
 *   pool   scratch for the unit's life; made when null
 * Returns 0, a self-test status, or VRQ_L_PRNG / VRQ_F_INIT_PRNG with
 *   VRQ_ERR_NULL_INPUT            null unit
 *   VRQ_ERR_NOT_PROVEN_ALGORITHM  in proven mode
 *   VRQ_ERR_INIT_FAILURE          length of xkey (the unit's XKEY is cleared), unknown identifier, or
 *                                 the digest refused
 *   VRQ_ERR_MEM_ALLOC             no memory
 *   VRQ_ERR_DIGEST_FAIL           the seed pool could not be hashed */
VRQ_API uint32_t VRQ_Init_PRNG(VRQ_PRNG_UNIT* unit, uint32_t algorithm, const uint8_t* xkey,
                               uint32_t xkey_length, const uint8_t* xseed, uint32_t xseed_length,
                               VRQ_BIGINT_POOL* pool);

/* Fills out with n bytes. The first output of a call, the first two when n is the output length, are
 * kept back and compared with those that follow; the last output of a longer draw is not compared.
 * Returns 0, or VRQ_L_PRNG / VRQ_F_GET_RAND with
 *   VRQ_ERR_NULL_INPUT          null unit or out
 *   VRQ_ERR_RANDOM_GEN_FAILURE  a step failed
 *   VRQ_ERR_ENTROPY_FAIL        equal outputs; always for SHA-224 */
VRQ_API uint32_t VRQ_Get_Rand(VRQ_PRNG_UNIT* unit, uint8_t* out, uint32_t n);

/* r = a random number of at most so many bits.
 * Returns 0, a self-test status, or VRQ_L_PRNG / VRQ_F_GET_RAND_BIGINT with VRQ_ERR_NULL_INPUT or
 * VRQ_ERR_MEM_ALLOC. Callers rely on 0 also when VRQ_Get_Rand failed; r is then as it was, so compare
 * it with what it held before. */
VRQ_API uint32_t VRQ_Get_Rand_BIGINT(VRQ_PRNG_UNIT* unit, VRQ_BIGINT* r, uint32_t bits);

/* r = one output, reduced modulo q unless q is null; XKEY advances by r. SHA-224 works here.
 * Returns 0, a self-test status, or VRQ_L_PRNG with VRQ_F_GET_INNER_RAND and
 *   VRQ_ERR_NULL_INPUT              null unit or r
 *   VRQ_ERR_START_BIGINT_POOL_FAIL  the pool refused
 *   VRQ_ERR_MEM_ALLOC               no memory, G failed, q is 0
 * or with VRQ_F_GET_RAND and VRQ_ERR_NULL_XKEY_VALUE. */
VRQ_API uint32_t VRQ_Get_Rand_DSA_BIGINT(VRQ_PRNG_UNIT* unit, VRQ_BIGINT* r, const VRQ_BIGINT* q);

/* n bytes from a fresh unit over SHA-1.
 * Returns 0, or VRQ_L_PRNG / VRQ_F_RAND_BYTES with VRQ_ERR_MEM_ALLOC, VRQ_ERR_INIT_PRNG_FAIL (always
 * in proven mode) or VRQ_ERR_GET_RAND_FAIL. */
VRQ_API uint32_t VRQ_Rand_Bytes_PRNG(uint8_t* out, uint32_t n);

/* Clean frees what the unit owns, wiped, and zeroes the unit, if Init has run; Free cleans and
 * releases. Null is ignored. */
VRQ_API void VRQ_Clean_PRNG_Unit(VRQ_PRNG_UNIT* unit);
VRQ_API void VRQ_Free_PRNG_Unit(VRQ_PRNG_UNIT* unit);

/* One step: out receives the output, *length its bytes: the digest length, 64 at most, or 16 (the
 * first bytes of a cipher's 20). With SHA-224 nothing is written and 0 returns.
 * Returns 0, a self-test status, or VRQ_L_PRNG / VRQ_F_GET_INNER_RAND with VRQ_ERR_NULL_INPUT,
 * VRQ_ERR_NULL_XKEY_VALUE, VRQ_ERR_START_BIGINT_POOL_FAIL or VRQ_ERR_MEM_ALLOC. */
VRQ_API uint32_t get_inner_rand(VRQ_PRNG_UNIT* unit, uint8_t* out, uint32_t* length);

/* G of a value, over the unit's digest and over its cipher. Return a record of the unit's pool, in
 * which a frame must be open, or null. */
VRQ_API VRQ_BIGINT* G_Digest(VRQ_PRNG_UNIT* unit, const VRQ_BIGINT* value);
VRQ_API VRQ_BIGINT* G_Block_Cipher(VRQ_PRNG_UNIT* unit, const VRQ_BIGINT* value);

/* The seed pool of the process, 20 bytes. SEED_add stirs data into it with SHA-1; the polls add the
 * noise sources of the collector: Fast those of its level 1, vrq_SEED_Poll those of level 2,
 * SEED_poll_slow those of level 3. The first initialisation of a process polls. */
VRQ_API void SEED_add(const uint8_t* data, uint32_t length);
VRQ_API void vrq_SEED_Poll_Fast(void);
VRQ_API void vrq_SEED_Poll(void);
VRQ_API void SEED_poll_slow(void);

/* One noise source each, stirred into the seed pool; what they read and may do is said at the
 * sources of the collector above. */
VRQ_API void vrq_Get_Process_Stat_Info(void);
VRQ_API void vrq_Get_Process_Status_Info(void);
VRQ_API void vrq_Get_Process_Task_Info(void);
VRQ_API void vrq_Get_System_Info(void);
VRQ_API void vrq_Get_System_Stat_Info(void);
VRQ_API void vrq_Get_CPU_Info(void);
VRQ_API void vrq_Get_Disk_Info(void);
VRQ_API void vrq_Get_Sleep_Time_Info(void);
VRQ_API void vrq_Get_CPU_Speed_Info(void);
VRQ_API void vrq_Get_System_Memory_Info(void);
VRQ_API void vrq_Get_Network_Traffic_Info(void);
VRQ_API void vrq_Get_Current_Process_Info(void);
VRQ_API void vrq_Get_Current_Time_Info(void);
VRQ_API void vrq_Get_System_RNG_Info(int32_t count);
VRQ_API void vrq_Get_Battery_Info(void);
VRQ_API void vrq_Get_Shared_Memory_Info(void);
VRQ_API void vrq_Get_Fork_Response_Info(void);

VRQ_END_C

#endif /* TALVERN_RANDOM_H */
