// Loads a library file, says "loaded", and calls it as told on standard input, one answer a line,
// so that the scripts of this folder can change the file before and between the calls.
//
//   NAME        calls a function without arguments: its status, or the text "void"
//   services    calls one service of each kind: name=status, with 0 for those that answer by a
//               value
//   folder F    changes the working folder
//
// Usage: self_test_probe LIBRARY
#include "talvern.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>

namespace {

void* g_library = nullptr;

template <class Function>
Function* find(const std::string& name) {
    return reinterpret_cast<Function*>(dlsym(g_library, name.c_str()));
}

#define FIND(name) find<decltype(name)>(#name)

void answer(const char* name, uint32_t status) { std::printf("%s=%08x ", name, status); }

void call_services() {
    const uint8_t in[64] = {1};
    uint8_t out[64];
    uint32_t length = 0;
    VRQ_DIGEST_UNIT* digest = FIND(VRQ_New_DIGEST_Unit)();
    VRQ_HMAC_UNIT* hmac = FIND(VRQ_New_HMAC_Unit)();
    VRQ_BLOCK_CIPHER_UNIT* cipher = FIND(VRQ_New_BLOCK_CIPHER_Unit)();
    VRQ_DRBG_UNIT* drbg = FIND(vrq_New_DRBG_Unit)();
    VRQ_RSA_UNIT* rsa = FIND(VRQ_New_RSA)();
    VRQ_KCDSA_UNIT* kcdsa = FIND(VRQ_New_KCDSA)();
    VRQ_SHA256_CTX sha{};

    answer("init_digest", FIND(VRQ_Init_DIGEST)(digest, VRQ_ID_SHA256));
    answer("init_hmac", FIND(VRQ_Init_HMAC)(hmac, VRQ_ID_SHA256, in, 32));
    answer("init_cipher", FIND(VRQ_Init_BLOCK_CIPHER)(cipher, VRQ_ID_ARIA_128, in, in, 1));
    answer("init_drbg", FIND(vrq_Init_DRBG)(drbg, VRQ_ID_SHA256, 0, 0, 1));
    answer("init_rsaes", FIND(VRQ_Init_RSAES)(rsa, VRQ_RSAES_OAEP, 0, VRQ_ID_SHA256));
    answer("init_rsassa", FIND(VRQ_Init_RSASSA)(rsa, VRQ_ID_SHA256, VRQ_RSASSA_PSS, 0));
    answer("init_kcdsa", FIND(VRQ_Init_KCDSA_Ex)(kcdsa, 0, VRQ_ID_SHA256));
    answer("init_engine", FIND(vrq_Init_SHA256)(&sha));
    answer("rand_bytes", FIND(VRQ_Rand_Bytes)(out, 32));
    answer("key_length", FIND(VRQ_Get_Key_Length)(VRQ_ID_ARIA_128));
    answer("digest_length", FIND(VRQ_Get_DIGEST_Length)(VRQ_ID_SHA256));
    std::memset(out, 0, sizeof out);
    answer("digest", FIND(VRQ_DIGEST)(VRQ_ID_SHA256, in, sizeof in, out, &length));
    answer("digest_output", out[0]);
    answer("sym_keys", FIND(vrq_Sym_Key_Check)());

    FIND(VRQ_Free_DIGEST_Unit)(digest);
    FIND(VRQ_Free_HMAC_Unit)(hmac);
    FIND(VRQ_Free_BLOCK_CIPHER_Unit)(cipher);
    FIND(vrq_Free_DRBG_Unit)(drbg);
    FIND(VRQ_Free_RSA)(rsa);
    FIND(VRQ_Free_KCDSA)(kcdsa);
}

bool obey(const std::string& line) {
    if (line == "services") {
        call_services();
    } else if (line.compare(0, 7, "folder ") == 0) {
        if (chdir(line.c_str() + 7) != 0) return false;
    } else if (line == "VRQ_Change_Test_Mode") {
        FIND(VRQ_Change_Test_Mode)();
        std::printf("void");
    } else {
        auto* function = find<uint32_t()>(line);
        if (function == nullptr) return false;
        std::printf("%08x", function());
    }
    std::printf("\n");
    std::fflush(stdout);
    return true;
}

} // namespace

int main(int argc, char** argv) {
    g_library = argc == 2 ? dlopen(argv[1], RTLD_NOW) : nullptr;
    if (g_library == nullptr) {
        std::cerr << "cannot load a library: " << (argc == 2 ? dlerror() : "none named") << "\n";
        return 2;
    }
    std::printf("loaded\n");
    std::fflush(stdout);
    std::string line;
    while (std::getline(std::cin, line)) {
        if (!obey(line)) {
            std::cerr << "cannot do: " << line << "\n";
            return 2;
        }
    }
    return 0;
}
