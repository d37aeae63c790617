#include "Tavik_PKI_Crypto_UI.h"

// The configuration table is not loaded yet: no extension has a configured
// encoding, and the outputs stay untouched.
extern "C" int GetExtEncodeMethod(const char *, char **, char **, int32_t *)
{
    return 0;
}
