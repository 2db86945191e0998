// Version of the module.
#include "talvern/module.h"

const char* VRQ_Get_Crypto_Version() { return "5.2.0"; }

const char* GetLibraryFileName() { return nullptr; }
