/* Talvern: RSA keys, key generation, encryption and signatures (PKCS #1 v2.2, RFC 8017).
 *
 * A unit holds one key and one operation at a time. Load a key (VRQ_Set_RSA_Params,
 * VRQ_Set_RSA_Public_Params) or generate one (VRQ_Generate_RSA_Params_Ex), bind an operation
 * (VRQ_Init_RSAES, VRQ_Init_RSASSA), run it, and free the unit. A unit belongs to one thread at a
 * time; separate units may be used by separate threads.
 *
 * k is the length of the modulus in bytes: VRQ_Get_RSA_Length. Statuses are those of library
 * VRQ_L_RSA with the function's own code unless a comment says otherwise.
 *
 * In proven mode the modulus has at least 2041 bits in every operation, encryption is OAEP alone,
 * signatures are PSS alone, and signatures hash with SHA-224 or SHA-256 alone.
 */
#ifndef TALVERN_RSA_H
#define TALVERN_RSA_H

#include "talvern/bigint.h"
#include "talvern/digest.h"

VRQ_BEGIN_C

/* Encoding modes: the low byte of a mode word. RSAES and RSASSA share raw. */
enum {
    VRQ_RSA_RAW = 0,           /* no encoding; not in proven mode */
    VRQ_RSASSA_PKCS1_V1_5 = 1, /* EMSA-PKCS1-v1_5; not in proven mode */
    VRQ_RSASSA_PSS = 2,        /* EMSA-PSS; salt length in bits 16 to 23 of the word, 0 means 20 */
    VRQ_RSAES_OAEP = 8,        /* EME-OAEP with an empty label */
    VRQ_RSAES_OAEP_WITH_ZERO = 16, /* the same result, made in a block with the leading zero byte */
    VRQ_RSAES_PKCS1_V1_5 = 32      /* EME-PKCS1-v1_5; not in proven mode */
};

/* Directions of an operation. */
enum {
    VRQ_RSA_PUBLIC = 0, /* encrypt or decrypt with e, verify */
    VRQ_RSA_PRIVATE = 1 /* encrypt or decrypt with d, sign */
};

/* Bits of key_flags. */
enum {
    VRQ_RSA_HAS_MODULUS = 1,
    VRQ_RSA_HAS_PUBLIC_EXPONENT = 2,
    VRQ_RSA_HAS_PRIVATE_EXPONENT = 4,
    VRQ_RSA_HAS_CRT = 8 /* p, q, dP, dQ and qInv */
};

/* An RSA key and the operation in progress. Everything it points to is its own; an integer that
 * the key lacks is null. */
typedef struct VRQ_RSA_UNIT {
    uint32_t mode;           /* low byte: encoding mode; bits 0xFF00FF00: digest identifier */
    int32_t key_flags;       /* parts of the key, VRQ_RSA_HAS_...; 31 after generation */
    VRQ_DIGEST_UNIT* digest; /* of the operation; made by the first Init */
    VRQ_BIGINT* e;
    VRQ_BIGINT* d;
    VRQ_BIGINT* n;
    VRQ_BIGINT* p;  /* the larger prime, in keys generated here */
    VRQ_BIGINT* dP; /* d mod (p - 1) */
    VRQ_BIGINT* q;
    VRQ_BIGINT* dQ;   /* d mod (q - 1) */
    VRQ_BIGINT* qInv; /* q^-1 mod p */
    uint32_t direction;
    VRQ_BIGINT_POOL* pool;
    int32_t use_crt;         /* 1 in a new unit; set it to 0 to keep to d alone */
    int32_t pss_salt_length; /* not consulted by this version */
    VRQ_BIGINT* blind_A;     /* r^e mod n, and */
    VRQ_BIGINT* blind_Ai;    /* r^-1 mod n, of one r for all operations of the key */
} VRQ_RSA_UNIT;

/* ---- Life cycle ---- */

/* Returns a new unit with its pool, or null. Release it with VRQ_Free_RSA. */
VRQ_API VRQ_RSA_UNIT* VRQ_New_RSA(void);

/* Wipes and releases the key, the blinding pair and the digest unit. Callers rely on the rest to
 * stay: mode, key_flags, direction, use_crt, pss_salt_length, pool. Null is ignored. */
VRQ_API void VRQ_Clean_RSA(VRQ_RSA_UNIT* unit);

/* Cleans and releases the unit and its pool. Null is ignored. */
VRQ_API void VRQ_Free_RSA(VRQ_RSA_UNIT* unit);

/* Returns a new unit with the key, mode, key_flags, direction and use_crt of this one, or null
 * (null argument, no memory). The copy has no digest unit, no PSS salt length and no blinding
 * pair; its first private operation makes one. */
VRQ_API VRQ_RSA_UNIT* VRQ_Dup_RSA(const VRQ_RSA_UNIT* unit);

/* ---- Keys ---- */

/* Loads a key, after cleaning the unit; arguments are copied and may be the unit's own. n is
 * required, all others may be null; p, q, dP, dQ and qInv count only when all five are given. A
 * key with private parts gets its blinding pair, which needs e.
 *
 * Callers rely on what becomes of key_flags: the parts given set their bits; p, q, dP, dQ and qInv
 * set the word to 8 first. A bit left by an earlier key goes only when it is the single one in the
 * word while its part is missing. So a public key loaded over a private one keeps the private
 * bits: use a new unit for another kind of key.
 *
 * Returns 0, a self-test status, or VRQ_F_SET_RSA_PRAMS with
 *   VRQ_ERR_INVALID_INPUT          null unit or n
 *   VRQ_ERR_MALLOC                 no memory for a copy
 *   VRQ_ERR_SUB_OPERATION_FAILURE  no blinding pair: e is missing, n is no odd modulus, no memory,
 *                                  or drawing failed */
VRQ_API uint32_t VRQ_Set_RSA_Params(VRQ_RSA_UNIT* unit, const VRQ_BIGINT* n, const VRQ_BIGINT* e,
                                    const VRQ_BIGINT* d, const VRQ_BIGINT* p, const VRQ_BIGINT* q,
                                    const VRQ_BIGINT* dP, const VRQ_BIGINT* dQ,
                                    const VRQ_BIGINT* qInv);

/* Loads a public key, after cleaning the unit; sets direction to 0 and the bits 1 and 2 of
 * key_flags, and clears none.
 * Returns 0, a self-test status, or VRQ_F_SET_RSA_PUBLIC_PRAMS with
 *   VRQ_ERR_INVALID_INPUT  null argument
 *   VRQ_ERR_MALLOC         no memory for a copy */
VRQ_API uint32_t VRQ_Set_RSA_Public_Params(VRQ_RSA_UNIT* unit, const VRQ_BIGINT* n,
                                           const VRQ_BIGINT* e);

/* Returns the length of the modulus in bytes; 0 without one, and when the self tests fail. */
VRQ_API uint32_t VRQ_Get_RSA_Length(const VRQ_RSA_UNIT* unit);

/* Stores pss_salt_length, which has no effect: the salt length in use is that of the mode word.
 * Returns 0, or 1 for a null unit or a negative length. */
VRQ_API uint32_t vrq_Set_RSASSA_PKCS1_PSS_SALT_Length(VRQ_RSA_UNIT* unit, int32_t length);

/* ---- Key generation ---- */

/* Generates a key: two random primes, p the larger, of (bits + 1) / 2 and bits / 2 bits. The _Ex
 * form draws from the process-wide Hash_DRBG; the plain one from the older generator, which proven
 * mode refuses.
 *   e       public exponent, an odd prime: 65537
 *   bits    length of the modulus, which may come out one bit shorter; _Ex: at least 2048 in proven
 *           mode
 *   d_rule  1: d is the inverse of e modulo (p - 1)(q - 1); 2: modulo their least common multiple
 * A pair of keys is proven by an encryption and a decryption with OAEP over SHA-1, for _Ex SHA-256:
 * so the modulus needs 353 bits, for _Ex 545. The unit is left initialised for that decryption.
 *
 * Returns 0, a self-test status, that of a big-integer or random function that failed, or
 * VRQ_F_GENERATE_RSA_PARAMS, VRQ_F_GENERATE_RSA_PARAMS_EX with
 *   VRQ_ERR_INVALID_INPUT         null argument, bits below 8, d_rule. Callers rely on both forms
 *                                 to report negative bits under VRQ_F_GENERATE_RSA_PARAMS
 *   VRQ_ERR_NOT_SUPPORTED         _Ex: bits below 2048 in proven mode
 *   VRQ_ERR_GET_BIGINT_POOL_FAIL  no temporary, unit without a pool
 *   VRQ_ERR_MALLOC                no memory
 *   VRQ_ERR_IS_BIGINT_PRIME       e is not an odd prime; the plain form in proven mode
 *   VRQ_ERR_KEY_GEN_FAIL          the key failed to encrypt or decrypt, or is too short for it
 *   VRQ_ERR_CONDITION_TEST_FAIL   decryption gave another message
 * A failure leaves the key half made. Callers rely on 0, too, when q came out equal to p three
 * times or e has no inverse: the key is then incomplete. It takes tiny primes for that; d tells. */
VRQ_API uint32_t VRQ_Generate_RSA_Params(VRQ_RSA_UNIT* unit, const VRQ_BIGINT* e, int32_t bits,
                                         int32_t d_rule);
VRQ_API uint32_t VRQ_Generate_RSA_Params_Ex(VRQ_RSA_UNIT* unit, const VRQ_BIGINT* e, int32_t bits,
                                            int32_t d_rule);

/* ---- Parts of the private operation ---- */

/* Returns 0 when e * d is 1 modulo lcm(p - 1, q - 1), otherwise 1: also when one of p, q, n, e and
 * d is missing. n is not compared with p * q. */
VRQ_API uint32_t verify_RSA_KEY(const VRQ_RSA_UNIT* unit);

/* out = in^d mod n by the Chinese remainder theorem; in is below n. Returns 0, 1 when an argument
 * or a part of the key is missing, or the status of the big-integer function that failed. */
VRQ_API uint32_t crt_RSA(VRQ_RSA_UNIT* unit, VRQ_BIGINT* out, const VRQ_BIGINT* in);

/* Makes the blinding pair from a random r of bits(n - 1) bits that is at least n - 1. Returns 0, 1
 * when n (above 1), e or the pool is missing, or the status of the function that failed: an even
 * n, or an r without inverse modulo n. */
VRQ_API uint32_t generate_RSA_BLINDING(VRQ_RSA_UNIT* unit);

/* ---- Encryption ---- */

/* Binds an encryption or a decryption.
 *   mode       encoding mode; bits 0xFF00FF00 may name the digest of OAEP, else
 *   digest     does; 0 means SHA-1
 *   direction  VRQ_RSA_PUBLIC or VRQ_RSA_PRIVATE
 * Returns 0, a self-test status, or VRQ_F_INIT_RSAES with
 *   VRQ_ERR_NULL_INPUT             null unit
 *   VRQ_ERR_NOT_SUPPORTED          modulus too short, in proven mode
 *   VRQ_ERR_NOT_PROVEN_ALGORITHM   mode 0 or 32 in proven mode
 *   VRQ_ERR_SUB_OPERATION_FAILURE  the digest was refused, no memory */
VRQ_API uint32_t VRQ_Init_RSAES(VRQ_RSA_UNIT* unit, uint32_t mode, uint32_t direction,
                                uint32_t digest);

/* Encrypts a message: k bytes to out, k to *out_length.
 *   in_length  at most k - 11 bytes for PKCS #1 v1.5, k - 2 * digest length - 2 for OAEP, k for
 *              raw, where the value must be below n
 * Encryption with the private key is neither blinded nor sped up by the primes: sign instead.
 * Returns 0, or VRQ_F_ENCRYPT_RSAES with
 *   VRQ_ERR_NULL_INPUT, VRQ_ERR_INVALID_INPUT (null or negative input, longer than k)
 *   VRQ_ERR_NO_PRIVATE_VALUE, VRQ_ERR_NO_PUBLIC_VALUE  the key lacks what the direction needs
 *   VRQ_ERR_NOT_SUPPORTED          modulus too short, in proven mode
 *   VRQ_ERR_NOT_PROVEN_ALGORITHM   mode 0 or 32 in proven mode
 *   VRQ_ERR_INVALID_RSA_ENCODING   unknown mode
 *   VRQ_ERR_ENCODING_FAILURE       message too long, drawing failed
 *   VRQ_ERR_MESSAGE_TOO_LONG       the encoded message is not below n
 *   VRQ_ERR_MALLOC                 no memory
 *   VRQ_ERR_SUB_OPERATION_FAILURE  arithmetic failed */
VRQ_API uint32_t VRQ_Encrypt_RSAES(VRQ_RSA_UNIT* unit, uint8_t* out, uint32_t* out_length,
                                   const uint8_t* in, int32_t in_length);

/* Decrypts k bytes; *out_length receives the length of the message.
 *   out_capacity  bytes of out
 * Returns 0, or VRQ_F_DECRYPT_RSAES with
 *   VRQ_ERR_NULL_INPUT, VRQ_ERR_INVALID_INPUT (null argument, negative capacity)
 *   VRQ_ERR_NO_PRIVATE_VALUE, VRQ_ERR_NO_PUBLIC_VALUE  no key loaded
 *   VRQ_ERR_NOT_SUPPORTED          modulus too short, in proven mode
 *   VRQ_ERR_NOT_PROVEN_ALGORITHM   mode 0 or 32 in proven mode
 *   VRQ_ERR_INVALID_RSA_ENCODING   unknown mode
 *   VRQ_ERR_MESSAGE_TOO_LONG       the input is not below n
 *   VRQ_ERR_INVALID_KEY_PAIR       verify_RSA_KEY failed
 *   VRQ_ERR_DECODING_FAILURE       bad padding, message longer than out, message of length 0
 *   VRQ_ERR_MALLOC                 no memory
 *   VRQ_ERR_SUB_OPERATION_FAILURE  arithmetic failed; from the last step of a private operation
 *                                  under VRQ_F_SIGN_RSASSA
 * Bad padding shows in the status: never tell it to whoever sent the ciphertext. */
VRQ_API uint32_t VRQ_Decrypt_RSAES(VRQ_RSA_UNIT* unit, uint8_t* out, uint32_t* out_length,
                                   const uint8_t* in, int32_t out_capacity);

/* ---- Signatures ---- */

/* Binds the making or the verification of a signature.
 *   digest     identifier
 *   mode       encoding mode, for PSS with the salt length in bits 16 to 23
 *   direction  VRQ_RSA_PUBLIC to verify, VRQ_RSA_PRIVATE to sign
 * Returns 0, a self-test status, or VRQ_F_INIT_RSASSA with
 *   VRQ_ERR_NULL_INPUT             null unit
 *   VRQ_ERR_NOT_SUPPORTED          modulus too short, in proven mode
 *   VRQ_ERR_NOT_PROVEN_ALGORITHM   mode 1 or another digest than SHA-224 and SHA-256, in proven
 *                                  mode
 *   VRQ_ERR_INIT_FAILURE           the unit's digest unit refused the digest
 *   VRQ_ERR_SUB_OPERATION_FAILURE  a new digest unit refused it, no memory */
VRQ_API uint32_t VRQ_Init_RSASSA(VRQ_RSA_UNIT* unit, uint32_t digest, uint32_t mode,
                                 uint32_t direction);

/* Feeds the message. VRQ_F_UPDATE_RSASSA with VRQ_ERR_NULL_INPUT, VRQ_ERR_SUB_OPERATION_FAILURE. */
VRQ_API uint32_t VRQ_Update_RSASSA(VRQ_RSA_UNIT* unit, const uint8_t* data, int32_t length);

/* Signs or verifies, as the direction says. Init must follow before the next message.
 *   length  signing: receives k; verifying: bytes of the signature
 * Returns 0, the status of VRQ_Sign_RSASSA or VRQ_Verify_RSASSA, or VRQ_F_FINAL_RSASSA with
 *   VRQ_ERR_NULL_INPUT        null unit, signature or length
 *   VRQ_ERR_NOT_SUPPORTED     modulus too short, in proven mode
 *   VRQ_ERR_NO_PRIVATE_VALUE, VRQ_ERR_NO_PUBLIC_VALUE  the key lacks what the direction needs */
VRQ_API uint32_t VRQ_Final_RSASSA(VRQ_RSA_UNIT* unit, uint8_t* signature, uint32_t* length);

/* Signs: k bytes to signature, k to *length.
 * Returns 0, or VRQ_F_SIGN_RSASSA with
 *   VRQ_ERR_NULL_INPUT             null argument
 *   VRQ_ERR_NOT_SUPPORTED          modulus too short, in proven mode
 *   VRQ_ERR_NOT_PROVEN_ALGORITHM   mode 0 or 1, or a digest that Init refuses, in proven mode
 *   VRQ_ERR_INVALID_ENCODE_MODE    unknown mode
 *   VRQ_ERR_ENCODING_FAILURE       modulus too short for the encoding, digest without a prefix
 *   VRQ_ERR_BINARY_TO_BIGINT_FAIL  no memory
 *   VRQ_ERR_MESSAGE_TOO_LONG       the encoded digest is not below n
 *   VRQ_ERR_INVALID_KEY_PAIR       verify_RSA_KEY failed
 *   VRQ_ERR_SIGN_FAILURE           the signature is 0
 *   VRQ_ERR_MALLOC                 no memory
 *   VRQ_ERR_SUB_OPERATION_FAILURE  anything else failed */
VRQ_API uint32_t VRQ_Sign_RSASSA(VRQ_RSA_UNIT* unit, uint8_t* signature, uint32_t* length);

/* Verifies a signature over the message fed.
 * Returns 0 for a good one; the status of the check of its encoding (VRQ_F_CHECK_PKCS1_v1_5_ENCODE,
 * VRQ_F_CHECK_RSASSA_PKCS1_PSS_ENCODE); or VRQ_F_VERIFY_RSASSA with
 *   VRQ_ERR_NULL_INPUT, VRQ_ERR_INVALID_INPUT  null argument, negative length
 *   VRQ_ERR_NOT_SUPPORTED          modulus too short, in proven mode
 *   VRQ_ERR_SIGNATURE_TOO_LONG     the signature is not below n
 *   VRQ_ERR_NOT_PROVEN_ALGORITHM   mode 1, or a digest that Init refuses, in proven mode
 *   VRQ_ERR_DECODING_FAILURE       mode 0: another digest; mode 0 in proven mode; unknown mode
 *   VRQ_ERR_MALLOC                 no memory
 *   VRQ_ERR_SUB_OPERATION_FAILURE  arithmetic failed */
VRQ_API uint32_t VRQ_Verify_RSASSA(VRQ_RSA_UNIT* unit, const uint8_t* signature, int32_t length);

/* ---- Encodings ----
 * What the operations above are made of. The unit gives the direction, the digest identifier of its
 * mode word, and n; lengths are bytes. */

/* EME-PKCS1-v1_5 to k bytes: block type 2 with random padding, 1 with 0xFF in private direction.
 * Returns k, or 0 when the message is longer than k - 11 or drawing failed. */
VRQ_API int32_t VRQ_Encode_RSAES_PKCS1_PADDING(const VRQ_RSA_UNIT* unit, const uint8_t* message,
                                               int32_t message_length, uint8_t* out, int32_t k);

/* Strips it from a block without its leading zero byte. Callers rely on both block types and any
 * padding bytes to be accepted. Returns the length of the message, 0 on failure. */
VRQ_API int32_t VRQ_Decode_RSAES_PKCS1_PADDING(const VRQ_RSA_UNIT* unit, const uint8_t* block,
                                               int32_t block_length, uint8_t* out,
                                               int32_t out_capacity);

/* EME-OAEP.
 *   out_length      k - 1; k with the zero byte
 *   with_zero_byte  0: the block begins with the masked seed; 1: with a zero byte before it
 * Returns the length of the block; 0 when the message is too long, -1 when memory, digest or
 * drawing failed. */
VRQ_API int32_t VRQ_Encode_RSAES_OAEP_PADDING(const VRQ_RSA_UNIT* unit, const uint8_t* message,
                                              int32_t message_length, uint8_t* out,
                                              int32_t out_length, const uint8_t* label,
                                              int32_t label_length, int32_t with_zero_byte);

/* Undoes it; a block that lost leading zeros is filled up. Returns the length of the message, 0 on
 * failure: a message of length 0 cannot be told from that. */
VRQ_API int32_t VRQ_Decode_RSAES_OAEP_PADDING(const VRQ_RSA_UNIT* unit, const uint8_t* block,
                                              int32_t block_length, uint8_t* out,
                                              int32_t out_capacity, const uint8_t* label,
                                              int32_t label_length, int32_t with_zero_byte);

/* EMSA-PKCS1-v1_5 to length bytes; SHA-1, SHA-256, SHA-384, SHA-512, MD5.
 * Returns 0, 0xFFFFFFFF for another digest, 43 (VRQ_ERR_INVALID_INPUT alone) when length is below
 * that of the prefix and 11 bytes, when the hash does not fit, and for null arguments. */
VRQ_API uint32_t VRQ_Add_EMSA_PKCS1_v1_5_Encode(uint8_t* out, int32_t length, const uint8_t* hash,
                                                int32_t hash_length, uint32_t digest);

/* Compares a block without its leading zero byte with the encoding.
 * Returns 0, 1 (null block or block_length below 1), or VRQ_F_CHECK_PKCS1_v1_5_ENCODE with
 *   VRQ_ERR_ENCODING_FAILURE, VRQ_ERR_COMPARE_FAIL, VRQ_ERR_MALLOC */
VRQ_API uint32_t VRQ_Check_EMSA_PKCS1_v1_5_Encode(const uint8_t* block, int32_t block_length,
                                                  int32_t length, const uint8_t* hash,
                                                  int32_t hash_length, uint32_t digest);

/* EMSA-PSS to length bytes.
 *   digest  hashes the message, the padding and the salt; the mask takes the digest of the unit's
 *           mode
 * Returns 0, the status of the digest or random function that failed, or VRQ_F_ADD_RSASSA_ENCODING
 * with
 *   VRQ_ERR_INVALID_INPUT  length below hash length + salt length + 2 (one more where the first
 *                          byte is zero), null arguments, hash_length not the digest's
 *   VRQ_ERR_MEM_ALLOC      no memory */
VRQ_API uint32_t VRQ_Add_RSASSA_PKCS1_PSS_Encode(const VRQ_RSA_UNIT* unit, uint8_t* out,
                                                 int32_t length, const uint8_t* hash,
                                                 int32_t hash_length, int32_t salt_length,
                                                 VRQ_DIGEST_UNIT* digest);

/* Checks it; a block that lost leading zeros is filled up.
 * Returns 0, or VRQ_F_CHECK_RSASSA_PKCS1_PSS_ENCODE with
 *   VRQ_ERR_VERIFY_FAILURE  mismatch of any kind, null arguments, hash_length not the digest's
 *   VRQ_ERR_MEM_ALLOC       no memory */
VRQ_API uint32_t VRQ_Check_RSASSA_PKCS1_PSS_Encode(const VRQ_RSA_UNIT* unit, const uint8_t* block,
                                                   int32_t block_length, const uint8_t* hash,
                                                   int32_t hash_length, int32_t salt_length,
                                                   VRQ_DIGEST_UNIT* digest);

/* MGF1 (RFC 8017, B.2.1); an unknown digest means SHA-1.
 * Returns 0, also for an out_length of 0 or less; the status of the digest function that failed, or
 * VRQ_F_PKCS1_MGF1 with VRQ_ERR_MALLOC, VRQ_ERR_NULL_INPUT, VRQ_ERR_INVALID_INPUT (negative
 * seed_length).
 * <openssl/rsa.h> declares another function of this name: include it in another source file. */
VRQ_API uint32_t PKCS1_MGF1(uint8_t* out, int32_t out_length, const uint8_t* seed,
                            int32_t seed_length, uint32_t digest);

VRQ_END_C

#endif /* TALVERN_RSA_H */
