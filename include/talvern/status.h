/* Talvern: status words and their texts.
 *
 * A status word is 0 for success; otherwise it holds a library code in bits 31 to 24, a function
 * code in bits 23 to 16 and a reason in bits 15 to 0. The enumerators below are the unshifted
 * codes; VRQ_STATUS puts them together. Function codes are numbered per library, so one number
 * stands for different operations in different libraries.
 */
#ifndef TALVERN_STATUS_H
#define TALVERN_STATUS_H

#include "talvern/base.h"

#define VRQ_STATUS(library, function, reason)                                                      \
    ((uint32_t)(((uint32_t)(library) << 24) | ((uint32_t)(function) << 16) | (uint32_t)(reason)))

/* Library codes. */
enum {
    VRQ_L_AES_INTERFACE = 0x01,
    VRQ_L_ARIA_INTERFACE = 0x02,
    VRQ_L_BF_INTERFACE = 0x03,
    VRQ_L_BIGINT = 0x04,
    VRQ_L_BLOCK_CIPHER = 0x05,
    VRQ_L_CBC_MAC = 0x06,
    VRQ_L_DES_EDE_INTERFACE = 0x07,
    VRQ_L_DES_INTERFACE = 0x08,
    VRQ_L_DES_MAC = 0x09,
    VRQ_L_DIGEST = 0x0A,
    VRQ_L_DRBG = 0x0B,
    VRQ_L_DSA = 0x0C,
    VRQ_L_FOUNDATION = 0x0D,
    VRQ_L_HAS160 = 0x0E,
    VRQ_L_HMAC = 0x0F,
    VRQ_L_KCDSA = 0x10,
    VRQ_L_KEY = 0x11,
    VRQ_L_MD5 = 0x12,
    VRQ_L_MDC2 = 0x13,
    VRQ_L_PRNG = 0x14,
    VRQ_L_RC2_INTERFACE = 0x15,
    VRQ_L_RC4_INTERFACE = 0x16,
    VRQ_L_RC5_INTERFACE = 0x17,
    VRQ_L_RSA = 0x18,
    VRQ_L_SEED_INTERFACE = 0x19,
    VRQ_L_SELF_TEST = 0x1A,
    VRQ_L_SHA = 0x1B,
    VRQ_L_ENTROPY = 0x1C,
    VRQ_L_METEX_LOCK = 0x1D,
    VRQ_L_LEA_INTERFACE = 0x1F,
    VRQ_L_DH = 0x20,
    VRQ_L_ECDSA = 0x21
};

/* Reasons. The two of 0xF0 and 0xF1 concern the operating mode. */
enum {
    VRQ_ERR_ADD_BIGINT_FAIL = 0x01,
    VRQ_ERR_BIGINT_FROM_MONTGOMERY_FAIL = 0x02,
    VRQ_ERR_BIGINT_MEM_EXPAND_FAILURE = 0x03,
    VRQ_ERR_BIGINT_TO_MONTGOMERY_FAIL = 0x04,
    VRQ_ERR_BINARY_TO_BIGINT_FAIL = 0x05,
    VRQ_ERR_BUF_TOO_SMALL = 0x06,
    VRQ_ERR_CANNOT_CLOSE_STREAM = 0x07,
    VRQ_ERR_CANNOT_OPEN_STREAM = 0x08,
    VRQ_ERR_CIPHER_DECRYPT_FAILURE = 0x09,
    VRQ_ERR_CIPHER_ENCRYPT_FAILURE = 0x0A,
    VRQ_ERR_CMP_BIGINT_FAIL = 0x0B,
    VRQ_ERR_COMPARE_FAIL = 0x0C,
    VRQ_ERR_COPY_BIGINT_FAIL = 0x0D,
    VRQ_ERR_DECODING_FAILURE = 0x0E,
    VRQ_ERR_DIGEST_FAIL = 0x0F,
    VRQ_ERR_DIV_BIGINT_FAIL = 0x10,
    VRQ_ERR_DIVIDE_BY_ZERO = 0x11,
    VRQ_ERR_ENCODING_FAILURE = 0x12,
    VRQ_ERR_END_OF_STREAM = 0x13,
    VRQ_ERR_ENTROPY_FAIL = 0x14,
    VRQ_ERR_EUCLID_FAIL = 0x15,
    VRQ_ERR_EXPAND_BIGINT_WORD = 0x16,
    VRQ_ERR_FINAL_BLOCKCIPHER_FAIL = 0x17,
    VRQ_ERR_FINAL_DIGEST_FAIL = 0x18,
    VRQ_ERR_FINAL_FAILURE = 0x19,
    VRQ_ERR_GET_ADRESS_LOADLIBRARY = 0x1A,
    VRQ_ERR_GET_BIGINT_POOL_FAIL = 0x1B,
    VRQ_ERR_GET_RAND_DSA_BIGINT_FAIL = 0x1C,
    VRQ_ERR_GET_RAND_FAIL = 0x1D,
    VRQ_ERR_HASH_DF_FAIL = 0x1E,
    VRQ_ERR_HASH_GEN_FAIL = 0x1F,
    VRQ_ERR_INI_BIGINT_FAIL = 0x20,
    VRQ_ERR_INIT_BLOCKCIPHER_FAIL = 0x21,
    VRQ_ERR_INIT_DIGEST_FAIL = 0x22,
    VRQ_ERR_INIT_FAILURE = 0x23,
    VRQ_ERR_INIT_KEY_FAILURE = 0x24,
    VRQ_ERR_INIT_PRNG_FAIL = 0x25,
    VRQ_ERR_INPUT_BUF_TOO_BIG = 0x26,
    VRQ_ERR_INPUT_BUF_TOO_SHORT = 0x27,
    VRQ_ERR_INTERNAL = 0x28,
    VRQ_ERR_INVALID_ALGORITHM_ID = 0x29,
    VRQ_ERR_INVALID_ENCODE_MODE = 0x2A,
    VRQ_ERR_INVALID_INPUT = 0x2B,
    VRQ_ERR_INVALID_IV_LENGTH = 0x2C,
    VRQ_ERR_INVALID_KEY_LENGTH = 0x2D,
    VRQ_ERR_INVALID_KEY_PAIR = 0x2E,
    VRQ_ERR_INVALID_OPERATION_MASK = 0x2F,
    VRQ_ERR_INVALID_OUTPUT = 0x30,
    VRQ_ERR_INVALID_PADDING = 0x31,
    VRQ_ERR_INVALID_PASSWORD = 0x32,
    VRQ_ERR_INVALID_RSA_ENCODING = 0x33,
    VRQ_ERR_INVALID_UNIT = 0x34,
    VRQ_ERR_IO_EOF = 0x35,
    VRQ_ERR_IS_BIGINT_PRIME = 0x36,
    VRQ_ERR_IS_BIGINT_ZERO_FAIL = 0x37,
    VRQ_ERR_KEY_GEN_FAIL = 0x38,
    VRQ_ERR_LEFT_SHIFT_BIGINT_FAIL = 0x39,
    VRQ_ERR_MALLOC = 0x3A,
    VRQ_ERR_MEM_ALLOC = 0x3B,
    VRQ_ERR_MEMORY_ALLOC = 0x3C,
    VRQ_ERR_MESSAGE_TOO_LONG = 0x3D,
    VRQ_ERR_MOD_BIGINT_FAIL = 0x3E,
    VRQ_ERR_MOD_EXP_BIGINT_FAIL = 0x3F,
    VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL = 0x40,
    VRQ_ERR_MOD_INVERSE_BIGINT_FAIL = 0x41,
    VRQ_ERR_MOD_MTP_BIGINT_FAIL = 0x42,
    VRQ_ERR_MOD_MUL_BIGINT_MONTGOMERY_FAIL = 0x43,
    VRQ_ERR_MTP_BIGINT_FAIL = 0x44,
    VRQ_ERR_NO_PRIVATE_VALUE = 0x45,
    VRQ_ERR_NO_PUBLIC_VALUE = 0x46,
    VRQ_ERR_NOT_FOUNDED = 0x47,
    VRQ_ERR_NOT_SUPPORTED = 0x48,
    VRQ_ERR_NULL_INPUT = 0x49,
    VRQ_ERR_NULL_IV_VALUE = 0x4A,
    VRQ_ERR_NULL_XKEY_VALUE = 0x4B,
    VRQ_ERR_OPERATE_FUNCTION = 0x4C,
    VRQ_ERR_RAND_BIGINT_FAIL = 0x4D,
    VRQ_ERR_RANDOM_GEN_FAILURE = 0x4E,
    VRQ_ERR_READ_FROM_BINARY = 0x4F,
    VRQ_ERR_READ_FROM_FILE = 0x50,
    VRQ_ERR_RIGHT_SHIFT_BIGINT_FAIL = 0x51,
    VRQ_ERR_SET_BIGINT_FAIL = 0x52,
    VRQ_ERR_SIGN_DSA_FAIL = 0x53,
    VRQ_ERR_SIGN_FAILURE = 0x54,
    VRQ_ERR_SIGNATURE_TOO_LONG = 0x55,
    VRQ_ERR_SQR_BIGINT_FAIL = 0x56,
    VRQ_ERR_START_BIGINT_POOL_FAIL = 0x57,
    VRQ_ERR_SUB_BIGINT_FAIL = 0x58,
    VRQ_ERR_SUB_OPERATION_FAILURE = 0x59,
    VRQ_ERR_UPDATE_BLOCKCIPHER_FAIL = 0x5A,
    VRQ_ERR_UPDATE_DIGEST_FAIL = 0x5B,
    VRQ_ERR_UPDATE_FAILURE = 0x5C,
    VRQ_ERR_VERIFY_DSA_FAIL = 0x5D,
    VRQ_ERR_VERIFY_FAILURE = 0x5E,
    VRQ_ERR_WRITE_TO_BINARY = 0x5F,
    VRQ_ERR_WRITE_TO_FILE = 0x60,
    VRQ_ERR_MUTEX_LOCK_FAIL = 0x61,
    VRQ_ERR_MUTEX_UNLOCK_FAIL = 0x62,
    VRQ_ERR_INIT_DRBG_FAIL = 0x63,
    VRQ_ERR_INSTANTIATE_DRBG_FAIL = 0x64,
    VRQ_ERR_RESEED_DRBG_FAIL = 0x65,
    VRQ_ERR_GENERATE_DRBG_FAIL = 0x66,
    VRQ_ERR_CONDITION_TEST_FAIL = 0x67,
    VRQ_ERR_NOT_PROVEN_ALGORITHM = 0xF0,
    VRQ_ERR_NOT_CHANGE_NONPROVEN = 0xF1
};

/* Functions of VRQ_L_AES_INTERFACE. */
enum {
    VRQ_F_INIT_AES_KEY = 0x01,
    VRQ_F_INIT_AES = 0x02,
    VRQ_F_DO_AES_ECB = 0x03,
    VRQ_F_DO_AES_CBC = 0x04,
    VRQ_F_DO_AES_CFB = 0x05,
    VRQ_F_DO_AES_OFB = 0x06,
    VRQ_F_DO_AES_CTR = 0x07
};

/* Functions of VRQ_L_ARIA_INTERFACE. */
enum {
    VRQ_F_INIT_ARIA_KEY = 0x01,
    VRQ_F_INIT_ARIA = 0x02,
    VRQ_F_DO_ARIA_ECB = 0x03,
    VRQ_F_DO_ARIA_CBC = 0x04,
    VRQ_F_DO_ARIA_CFB = 0x05,
    VRQ_F_DO_ARIA_OFB = 0x06,
    VRQ_F_DO_ARIA_CTR = 0x07
};

/* Functions of VRQ_L_BF_INTERFACE. */
enum {
    VRQ_F_INIT_BF_KEY = 0x01,
    VRQ_F_INIT_BF = 0x02,
    VRQ_F_DO_BF_ECB = 0x03,
    VRQ_F_DO_BF_CBC = 0x04,
    VRQ_F_DO_BF_CFB = 0x05,
    VRQ_F_DO_BF_OFB = 0x06,
    VRQ_F_DO_BF_CTR = 0x07
};

/* Functions of VRQ_L_BIGINT. */
enum {
    VRQ_F_INIT_BIGINT = 0x01,
    VRQ_F_FREE_BIGINT = 0x02,
    VRQ_F_ADD_BIGINT_WORD = 0x03,
    VRQ_F_SUB_BIGINT_WORD = 0x04,
    VRQ_F_MTP_BIGINT_WORD = 0x05,
    VRQ_F_GCD_BIGINT = 0x06,
    VRQ_F_MOD_INVERSE_BIGINT = 0x07,
    VRQ_F_FREE_BIGINT_MONT = 0x08,
    VRQ_F_SET_BIGINT_MONT = 0x09,
    VRQ_F_MOD_EXP_MONT_BIGINT = 0x0A,
    VRQ_F_MOD_MUL_BIGINT_MONTGOMERY = 0x0B,
    VRQ_F_BIGINT_FROM_MONTGOMERY = 0x0C,
    VRQ_F_ADD_BIGINT = 0x0D,
    VRQ_F_SUB_BIGINT = 0x0E,
    VRQ_F_MOD_SUB_BIGINT = 0x0F,
    VRQ_F_DIV_BIGINT = 0x10,
    VRQ_F_SQR_BIGINT = 0x11,
    VRQ_F_MTP_BIGINT = 0x12,
    VRQ_F_MOD_MTP_BIGINT = 0x13,
    VRQ_F_MOD_EXP_BIGINT = 0x14,
    VRQ_F_LEFT_SHIFT_BIGINT = 0x15,
    VRQ_F_RIGHT_SHIFT_BIGINT = 0x16,
    VRQ_F_RAND_BIGINT_EX = 0x17,
    VRQ_F_RAND_BIGINT = 0x18,
    VRQ_F_FREE_BIGINT_POOL = 0x19,
    VRQ_F_CLEAR_BIGINT_POOL = 0x1A,
    VRQ_F_START_BIGINT_POOL = 0x1B,
    VRQ_F_FINISH_BIGINT_POOL = 0x1C,
    VRQ_F_RELEASE_BIGINT_POOL = 0x1D,
    VRQ_F_GENERATE_BIGINT_PRIME = 0x1E,
    VRQ_F_COPY_BIGINT = 0x1F,
    VRQ_F_SET_BIGINT_WORD = 0x20,
    VRQ_F_SET_BIGINT_BIT = 0x21
};

/* Functions of VRQ_L_BLOCK_CIPHER. */
enum {
    VRQ_F_INIT_BLOCKCIPHER = 0x01,
    VRQ_F_UPDATE_BLOCKCIPHER = 0x02,
    VRQ_F_UPDATE_ENCRYPTION = 0x03,
    VRQ_F_UPDATE_DECRYPTION = 0x04,
    VRQ_F_FINAL_BLOCKCIPHER = 0x05,
    VRQ_F_FINAL_ENCRYPTION = 0x06,
    VRQ_F_FINAL_DECRYPTION = 0x07,
    VRQ_F_BLOCKCIPHER = 0x08,
    VRQ_F_INIT_ALGORITHM = 0x09,
    VRQ_F_INIT_ADVANCED_BLOCKCIPHER = 0x0A,
    VRQ_F_DO_FINAL_ADVANCED_BLOCKCIPHER = 0x0B
};

/* Functions of VRQ_L_CBC_MAC. */
enum {
    VRQ_F_INIT_CBC_MAC = 0x01,
    VRQ_F_UPDATE_CBC_MAC = 0x02,
    VRQ_F_FINAL_CBC_MAC = 0x03,
    VRQ_F_CBC_MAC = 0x04
};

/* Functions of VRQ_L_DES_EDE_INTERFACE. */
enum {
    VRQ_F_INIT_DES_EDE_KEY = 0x01,
    VRQ_F_DO_DES_EDE_ECB = 0x02,
    VRQ_F_DO_DES_EDE_CBC = 0x03,
    VRQ_F_DO_DES_EDE_CFB = 0x04,
    VRQ_F_DO_DES_EDE_OFB = 0x05,
    VRQ_F_DO_DES_EDE_CTR = 0x06
};

/* Functions of VRQ_L_DES_INTERFACE. */
enum {
    VRQ_F_INIT_DES_KEY = 0x01,
    VRQ_F_DO_DES_ECB = 0x02,
    VRQ_F_DO_DES_CBC = 0x03,
    VRQ_F_DO_DES_CFB = 0x04,
    VRQ_F_DO_DES_OFB = 0x05,
    VRQ_F_DO_DES_CTR = 0x06,
    VRQ_F_INIT_ENCRYPT_DES_EDE_KEY = 0x07
};

/* Functions of VRQ_L_DES_MAC. */
enum { VRQ_F_DES_MAC = 0x01 };

/* Functions of VRQ_L_DIGEST. */
enum {
    VRQ_F_INIT_DIGEST = 0x01,
    VRQ_F_UPDATE_DIGEST = 0x02,
    VRQ_F_FINAL_DIGEST = 0x03,
    VRQ_F_INIT_DIGEST_ALG = 0x04,
    VRQ_F_DIGEST = 0x05
};

/* Functions of VRQ_L_DRBG. */
enum {
    VRQ_F_INIT_DRBG = 0x01,
    VRQ_F_INSTANTIATE_DRBG = 0x02,
    VRQ_F_RESEED_DRBG = 0x03,
    VRQ_F_GENERATE_DRBG = 0x04,
    VRQ_F_RAND_BYTES_DRBG = 0x05,
    VRQ_F_RAND_BYTES = 0x06,
    VRQ_F_INIT_HASHDRBG = 0x07,
    VRQ_F_INSTANTIATE_HASHDRBG = 0x08,
    VRQ_F_RESEED_HASHDRBG = 0x09,
    VRQ_F_GENERATE_HASHDRBG = 0x0A
};

/* Functions of VRQ_L_DSA. */
enum {
    VRQ_F_SET_DSA_PARAMS = 0x01,
    VRQ_F_INIT_DSA = 0x02,
    VRQ_F_UPDATE_DSA = 0x03,
    VRQ_F_FINAL_DSA = 0x04,
    VRQ_F_SIGN_DSA = 0x05,
    VRQ_F_VERIFY_DSA = 0x06,
    VRQ_F_GENERATE_DSA_PARAMS = 0x07,
    VRQ_F_GENERATE_DSA_KEY_PAIR = 0x08,
    VRQ_F_GENERATE_DSA_KEY = 0x09
};

/* Functions of VRQ_L_FOUNDATION. */
enum { VRQ_F_CHANGE_NON_PROVENMODE = 0x01 };

/* Functions of VRQ_L_HAS160. */
enum { VRQ_F_INIT_HAS160 = 0x01, VRQ_F_UPDATE_HAS160 = 0x02, VRQ_F_FINAL_HAS160 = 0x03 };

/* Functions of VRQ_L_HMAC. */
enum {
    VRQ_F_INIT_HMAC = 0x01,
    VRQ_F_UPDATE_HMAC = 0x02,
    VRQ_F_FINAL_HMAC = 0x03,
    VRQ_F_HMAC = 0x04
};

/* Functions of VRQ_L_KCDSA. */
enum {
    VRQ_F_GENERATE_KCDSA_PARAMS_EX = 0x01,
    VRQ_F_GENERATE_KCDSA_PARAMS = 0x02,
    VRQ_F_GET_RAND_KCDSA_BIGINT = 0x03,
    VRQ_F_GENERATE_KCDSA_KEY_PAIR_EX = 0x04,
    VRQ_F_GENERATE_KCDSA_KEY_PAIR = 0x05,
    VRQ_F_SET_KCDSA_PARAMS = 0x06,
    VRQ_F_INIT_KCDSA_EX = 0x07,
    VRQ_F_INIT_KCDSA = 0x08,
    VRQ_F_UPDATE_KCDSA = 0x09,
    VRQ_F_FINAL_KCDSA = 0x0A,
    VRQ_F_SIGN_KCDSA = 0x0B,
    VRQ_F_VERIFY_KCDSA = 0x0C
};

/* Functions of VRQ_L_MD5. */
enum { VRQ_F_INIT_MD5 = 0x01, VRQ_F_UPDATE_MD5 = 0x02, VRQ_F_FINAL_MD5 = 0x03 };

/* Functions of VRQ_L_MDC2. */
enum { VRQ_F_INIT_MDC2 = 0x01, VRQ_F_UPDATE_MDC2 = 0x02, VRQ_F_FINAL_MDC2 = 0x03 };

/* Functions of VRQ_L_PRNG. */
enum {
    VRQ_F_INIT_PRNG = 0x01,
    VRQ_F_INIT_GFUNC_ALG = 0x02,
    VRQ_F_GET_INNER_RAND = 0x03,
    VRQ_F_GET_RAND = 0x04,
    VRQ_F_GET_RAND_BIGINT = 0x05,
    VRQ_F_GET_RAND_BIGINT_EX = 0x06,
    VRQ_F_INIT_PRNG_ALG = 0x07
};

/* Functions of VRQ_L_RC2_INTERFACE. */
enum { VRQ_F_INIT_RC2_KEY = 0x01 };

/* Functions of VRQ_L_RC5_INTERFACE. */
enum {
    VRQ_F_INIT_RC5_KEY = 0x01,
    VRQ_F_DO_RC5_ECB = 0x02,
    VRQ_F_DO_RC5_CBC = 0x03,
    VRQ_F_DO_RC5_CFB = 0x04,
    VRQ_F_DO_RC5_OFB = 0x05,
    VRQ_F_DO_RC5_CTR = 0x06
};

/* Functions of VRQ_L_RSA. */
enum {
    VRQ_F_SET_RSA_PRAMS = 0x01,
    VRQ_F_SET_RSA_PUBLIC_PRAMS = 0x02,
    VRQ_F_INIT_RSASSA = 0x03,
    VRQ_F_UPDATE_RSASSA = 0x04,
    VRQ_F_FINAL_RSASSA = 0x05,
    VRQ_F_SIGN_RSASSA = 0x06,
    VRQ_F_VERIFY_RSASSA = 0x07,
    VRQ_F_INIT_RSAES = 0x08,
    VRQ_F_ENCRYPT_RSAES = 0x09,
    VRQ_F_DECRYPT_RSAES = 0x0A,
    VRQ_F_GENERATE_RSA_PARAMS_EX = 0x0B,
    VRQ_F_GENERATE_RSA_PARAMS = 0x0C,
    VRQ_F_CHECK_PKCS1_v1_5_ENCODE = 0x0D,
    VRQ_F_PKCS1_MGF1 = 0x0E,
    VRQ_F_ADD_RSASSA_ENCODING = 0x0F,
    VRQ_F_CHECK_RSASSA_PKCS1_PSS_ENCODE = 0x10
};

/* Functions of VRQ_L_SEED_INTERFACE. */
enum {
    VRQ_F_INIT_SEED_KEY = 0x01,
    VRQ_F_INIT_SEED = 0x02,
    VRQ_F_DO_SEED_CBC = 0x03,
    VRQ_F_DO_SEED_CFB = 0x04,
    VRQ_F_DO_SEED_ECB = 0x05,
    VRQ_F_DO_SEED_OFB = 0x06,
    VRQ_F_DO_SEED_CTR = 0x07
};

/* Functions of VRQ_L_SELF_TEST. */
enum {
    VRQ_F_LIB_INTEGRITY_CHECK = 0x01,
    VRQ_F_CONTEXT_CHECK = 0x02,
    VRQ_F_VERSION_CHECK = 0x03,
    VRQ_F_ENTROPY_CHECK = 0x04,
    VRQ_F_DRBG_CHECK = 0x05,
    VRQ_F_HMAC_CHECK = 0x06,
    VRQ_F_DIGEST_CHECK = 0x07,
    VRQ_F_SYMMETIC_KEY_CHECK = 0x08,
    VRQ_F_SYMMETIC_ALGORITHM_CHECK = 0x09,
    VRQ_F_ASYMMETIC_KEY_CHECK = 0x0A,
    VRQ_F_RSAES_OAEP_CHECK = 0x0B,
    VRQ_F_RSASSA_CHECK = 0x0C
};

/* Functions of VRQ_L_SHA. */
enum {
    VRQ_F_INIT_SHA1 = 0x01,
    VRQ_F_UPDATE_SHA1 = 0x02,
    VRQ_F_FINAL_SHA1 = 0x03,
    VRQ_F_COMP_SHA1 = 0x04,
    VRQ_F_INIT_SHA224 = 0x05,
    VRQ_F_UPDATE_SHA224 = 0x06,
    VRQ_F_FINAL_SHA224 = 0x07,
    VRQ_F_INIT_SHA256 = 0x08,
    VRQ_F_UPDATE_SHA256 = 0x09,
    VRQ_F_FINAL_SHA256 = 0x0A,
    VRQ_F_COMP_SHA256 = 0x0B,
    VRQ_F_INIT_SHA384 = 0x0C,
    VRQ_F_UPDATE_SHA384 = 0x0D,
    VRQ_F_FINAL_SHA384 = 0x0E,
    VRQ_F_INIT_SHA512 = 0x0F,
    VRQ_F_UPDATE_SHA512 = 0x20,
    VRQ_F_FINAL_SHA512 = 0x21
};

/* Functions of VRQ_L_ENTROPY. */
enum {
    VRQ_F_ADD_ENTROPY = 0x01,
    VRQ_F_COLLECT_ENTROPY = 0x02,
    VRQ_F_DIGEST_ENTROPY = 0x03,
    VRQ_F_GET_ENTROPY = 0x04,
    VRQ_F_GET_ENTROPY_INPUT = 0x05,
    VRQ_F_GET_ENTROPY_AND_NONCE_INPUT = 0x06
};

/* Functions of VRQ_L_METEX_LOCK. */
enum {
    VRQ_F_INIT_LOCK = 0x01,
    VRQ_F_WAIT_LOCK = 0x02,
    VRQ_F_RELEASE_LOCK = 0x03,
    VRQ_F_CLEAR_LOCK = 0x04
};

/* Functions of VRQ_L_LEA_INTERFACE. */
enum {
    VRQ_F_INIT_LEA_KEY = 0x01,
    VRQ_F_INIT_LEA = 0x02,
    VRQ_F_DO_LEA_ECB = 0x03,
    VRQ_F_DO_LEA_CBC = 0x04,
    VRQ_F_DO_LEA_CFB = 0x05,
    VRQ_F_DO_LEA_OFB = 0x06,
    VRQ_F_DO_LEA_CTR = 0x07
};

/* Functions of VRQ_L_DH. */
enum {
    VRQ_F_INIT_DH = 0x01,
    VRQ_F_INIT_DH_PARAMS = 0x02,
    VRQ_F_GENERATE_DH_PARAMS = 0x03,
    VRQ_F_GENERATE_DH_KEY_PAIR = 0x04,
    VRQ_F_COMPUTE_KEY = 0x05
};

/* Functions of VRQ_L_ECDSA. */
enum {
    VRQ_F_INIT_ECDSA = 0x01,
    VRQ_F_UPDATE_ECDSA = 0x02,
    VRQ_F_FINAL_ECDSA = 0x03,
    VRQ_F_SIGN_ECDSA = 0x04,
    VRQ_F_VERIFY_ECDSA = 0x05
};

VRQ_BEGIN_C

/* Writes "library:function:reason" for a status.
 *   status  any status word
 *   text    output, terminated; 1024 bytes suffice; must not be null
 * Returns 0, or 1 when one of the three names is unknown (text is untouched then). The function
 * name is the first one that the global name table holds for the function code, whatever the
 * library; callers rely on these texts. Generator statuses (VRQ_L_DRBG) have no text. */
VRQ_API uint32_t VRQ_Get_Error_String(uint32_t status, char* text);

/* Writes the name of the reason in the low 16 bits of a status.
 *   status  any status word
 *   text    output, terminated; 1024 bytes suffice
 * Returns 0, or 1 when text is null or the reason is unknown. */
VRQ_API uint32_t VRQ_Get_Reason_String(uint32_t status, char* text);

/* Prints "CRYPTO ERROR (<status as signed decimal>) : <text>" and a newline to standard output, or
 * "CRYPTO ERROR (unknown)" and a newline for a status without a text.
 * Returns what the print call returned. */
VRQ_API int32_t VRQ_Print_Error_String(uint32_t status);

/* Prints the names of library, function (within that library) and reason to standard output,
 * without a newline at the end; for a reason of 0xF0 to 0xFF in the low byte a line about proven
 * mode instead of library and function. Meant for debugging. Returns what the last print call
 * returned, or the reason when it has no name. */
VRQ_API int32_t GetErrorCode(uint32_t status);

VRQ_END_C

#endif /* TALVERN_STATUS_H */
