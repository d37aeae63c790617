// The two exported functions whose work lives in the model: each turns the
// model's answer into the caller's codes and toolkit memory.
#include <cstring>
#include <exception>
#include <optional>
#include <string>

#include "Tavik_PKI_Crypto_UI.h"
#include "pkiui/ext_encode_config.hpp"
#include "pkiui/verify_time.hpp"
#include "tavik_ptr.hpp"

namespace {

// A copy in the memory the caller frees with TavikPKICryptoFreeMemory.
tavik::TextPtr toolkitCopy(const std::string &text)
{
    auto *copy = static_cast<char *>(TavikPKICryptoAllocMemory(text.size() + 1));
    if (copy)
        std::memcpy(copy, text.c_str(), text.size() + 1);
    return tavik::TextPtr(copy);
}

// Runs body, turning an exception into 0: nothing may unwind into a C caller.
template <class Body> int guarded(Body &&body)
{
    try {
        return body();
    } catch (const std::exception &) {
        return 0;
    }
}

} // namespace

extern "C" int getVerifyTime(TAVIK_CERT_st **certs, int count, TAVIK_CERT_st *cert,
                             char **timeString)
{
    return guarded([&] {
        const std::optional<std::string> time = pkiui::verifyTime(certs, count, cert);
        tavik::TextPtr out = time && timeString ? toolkitCopy(*time) : nullptr;
        if (!out)
            return 0;
        *timeString = out.release();
        return 1;
    });
}

extern "C" int GetExtEncodeMethod(const char *oid, char **displayName, char **method,
                                  int32_t *isTavik)
{
    if (!displayName || !method || !isTavik)
        return 0;
    return guarded([&] {
        const std::optional<pkiui::NameValuePair_st> found = pkiui::findExtEncodeMethod(oid);
        if (!found)
            return 0;
        tavik::TextPtr name = toolkitCopy(found->name);
        tavik::TextPtr encodeMethod = toolkitCopy(found->encodeMethod);
        if (!name || !encodeMethod)
            return 0;
        *displayName = name.release();
        *method = encodeMethod.release();
        *isTavik = found->isTavik;
        return 1;
    });
}
