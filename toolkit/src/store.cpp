#include <openssl/asn1.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/obj_mac.h>
#include <openssl/x509_vfy.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <mutex>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "cert_data.hpp"
#include "store.hpp"
#include "tavik_ptr.hpp"

namespace {

using tavik::detail::OctetPtr;
using tavik::detail::StoreCtxPtr;
using tavik::detail::X509Ptr;
using tavik::detail::X509StackPtr;
using tavik::detail::X509StorePtr;

// Both X509 references are up-ref'd copies, so the store never hands out or
// counts live handles.
struct Store {
    Store()
    {
        // Registers OpenSSL's exit handler before ours, so that this store is
        // released while OpenSSL is still alive.
        OPENSSL_init_crypto(0, nullptr);
    }

    std::mutex mutex;
    std::vector<X509Ptr> trusted;
    std::vector<X509Ptr> intermediates;
    bool useSystem = true;
    X509StorePtr system; // loaded on first use; dropped when switched off
};

Store &store()
{
    static Store s;
    return s;
}

// Caller holds the store mutex.
X509_STORE *systemStore(Store &s)
{
    if (!s.useSystem)
        return nullptr;
    if (!s.system) {
        X509StorePtr loaded(X509_STORE_new());
        if (!loaded)
            return nullptr;
        // Missing default files are not an error: there are just no anchors.
        X509_STORE_set_default_paths(loaded.get());
        ERR_clear_error();
        s.system = std::move(loaded);
    }
    return s.system.get();
}

bool containsCert(const std::vector<X509Ptr> &list, X509 *x)
{
    return std::any_of(list.begin(), list.end(),
                       [x](const X509Ptr &p) { return X509_cmp(p.get(), x) == 0; });
}

int addCert(std::vector<X509Ptr> Store::*list, X509 *x)
{
    if (!x)
        return TAVIK_ERR_ARGUMENT;
    tavik::detail::ensureSm2Id(x);
    Store &s = store();
    const std::lock_guard lock(s.mutex);
    auto &certs = s.*list;
    if (containsCert(certs, x))
        return 1;
    if (X509_up_ref(x) != 1)
        return TAVIK_ERR_MEMORY;
    X509Ptr ref(x);
    certs.push_back(std::move(ref));
    return 1;
}

// Adds every certificate of a DER or PEM file; the number added.
int addFile(std::vector<X509Ptr> Store::*list, const char *path)
{
    TAVIK_CERT_st **certs = nullptr;
    int count = 0;
    if (!path || TavikPKICertNewAllFromFile(path, &certs, &count) != 1)
        return 0;
    const tavik::CertPath owned(certs, count);
    int added = 0;
    for (int i = 0; i < owned.size(); ++i) {
        if (owned[i] && addCert(list, owned[i]->data->x509()) == 1)
            ++added;
    }
    return added;
}

int addDir(std::vector<X509Ptr> Store::*list, const char *dir)
{
    if (!dir)
        return TAVIK_ERR_ARGUMENT;
    namespace fs = std::filesystem;
    std::error_code ec;
    fs::directory_iterator it(dir, ec);
    if (ec)
        return TAVIK_ERR_NOT_FOUND;
    std::vector<fs::path> files;
    for (const fs::directory_entry &entry : it) {
        std::string ext = entry.path().extension().string();
        std::transform(ext.begin(), ext.end(), ext.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        if ((ext == ".pem" || ext == ".crt" || ext == ".cer" || ext == ".der") &&
            entry.is_regular_file(ec))
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end()); // the same order on every run
    int added = 0;
    for (const fs::path &file : files)
        added += addFile(list, file.c_str());
    return added > 0 ? 1 : TAVIK_ERR_NOT_FOUND;
}

} // namespace

namespace tavik::detail {

std::vector<X509Ptr> storeCertsBySubject(const X509_NAME *name)
{
    std::vector<X509Ptr> found;
    if (!name)
        return found;
    Store &s = store();
    const std::lock_guard lock(s.mutex);
    for (const auto *list : {&s.trusted, &s.intermediates}) {
        for (const X509Ptr &x : *list) {
            if (X509_NAME_cmp(X509_get_subject_name(x.get()), name) == 0 &&
                X509_up_ref(x.get()) == 1)
                found.emplace_back(x.get());
        }
    }
    if (X509_STORE *system = systemStore(s)) {
        const StoreCtxPtr ctx(X509_STORE_CTX_new());
        if (ctx && X509_STORE_CTX_init(ctx.get(), system, nullptr, nullptr) == 1) {
            const X509StackPtr certs(X509_STORE_CTX_get1_certs(ctx.get(), name));
            while (certs && sk_X509_num(certs.get()) > 0) {
                X509Ptr x(sk_X509_shift(certs.get()));
                ensureSm2Id(x.get());
                found.push_back(std::move(x));
            }
        }
        ERR_clear_error(); // "not found" leaves an entry behind
    }
    return found;
}

bool storeIsTrustAnchor(X509 *x)
{
    if (!x)
        return false;
    Store &s = store();
    const std::lock_guard lock(s.mutex);
    if (containsCert(s.trusted, x))
        return true;
    // Intermediates are not anchors: ask the system store alone.
    X509_STORE *system = systemStore(s);
    if (!system)
        return false;
    const StoreCtxPtr ctx(X509_STORE_CTX_new());
    if (!ctx || X509_STORE_CTX_init(ctx.get(), system, nullptr, nullptr) != 1)
        return false;
    const X509StackPtr certs(X509_STORE_CTX_get1_certs(ctx.get(), X509_get_subject_name(x)));
    ERR_clear_error();
    for (int i = 0; certs && i < sk_X509_num(certs.get()); ++i) {
        if (X509_cmp(sk_X509_value(certs.get(), i), x) == 0)
            return true;
    }
    return false;
}

void ensureSm2Id(X509 *x) noexcept
{
    static std::mutex idMutex;
    static constexpr unsigned char kDefaultId[] = "1234567812345678";
    if (!x || X509_get_signature_nid(x) != NID_SM2_with_SM3)
        return;
    const std::lock_guard lock(idMutex);
    if (X509_get0_distinguishing_id(x))
        return;
    OctetPtr id(ASN1_OCTET_STRING_new());
    if (id && ASN1_OCTET_STRING_set(id.get(), kDefaultId, sizeof(kDefaultId) - 1) == 1)
        X509_set0_distinguishing_id(x, id.release());
}

} // namespace tavik::detail

extern "C" {

int TavikPKICertStoreAddTrusted(TAVIK_CERT_st *cert)
{
    return addCert(&Store::trusted, cert ? cert->data->x509() : nullptr);
}

int TavikPKICertStoreAddIntermediate(TAVIK_CERT_st *cert)
{
    return addCert(&Store::intermediates, cert ? cert->data->x509() : nullptr);
}

int TavikPKICertStoreAddTrustedFile(const char *path)
{
    return addFile(&Store::trusted, path) > 0 ? 1 : TAVIK_ERR_NOT_FOUND;
}

int TavikPKICertStoreAddIntermediateFile(const char *path)
{
    return addFile(&Store::intermediates, path) > 0 ? 1 : TAVIK_ERR_NOT_FOUND;
}

int TavikPKICertStoreAddTrustedDir(const char *dir)
{
    return addDir(&Store::trusted, dir);
}

int TavikPKICertStoreAddIntermediateDir(const char *dir)
{
    return addDir(&Store::intermediates, dir);
}

void TavikPKICertStoreUseSystemAnchors(int use)
{
    Store &s = store();
    const std::lock_guard lock(s.mutex);
    s.useSystem = use != 0;
    // Switching back on reads the default locations afresh (SSL_CERT_FILE
    // and SSL_CERT_DIR may have changed meanwhile).
    if (!s.useSystem)
        s.system.reset();
}

void TavikPKICertStoreClear(void)
{
    Store &s = store();
    const std::lock_guard lock(s.mutex);
    s.trusted.clear();
    s.intermediates.clear();
}

} // extern "C"
