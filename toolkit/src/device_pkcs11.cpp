// PKCS#11 tokens through p11-kit.
#include <p11-kit/p11-kit.h>
#include <p11-kit/pkcs11.h>

#include <cstring>
#include <mutex>
#include <utility>
#include <vector>

#include "device.hpp"
#include "tavik_ptr.hpp"

namespace tavik::detail {
namespace {

void finalizeModule(CK_FUNCTION_LIST *m) noexcept
{
    p11_kit_module_finalize(m);
    p11_kit_module_release(m);
}

// Either one module loaded from a path or the registered set; each is
// finalised and released once, by the function matching how it was loaded.
class Modules {
  public:
    // Returns 1, or TAVIK_ERR_DEVICE when loading or initialising fails.
    int load(const char *path)
    {
        if (!path) {
            m_set.reset(p11_kit_modules_load_and_initialize(0));
            return m_set ? 1 : TAVIK_ERR_DEVICE;
        }
        std::unique_ptr<CK_FUNCTION_LIST, tavik::Free<p11_kit_module_release>> loaded(
            p11_kit_module_load(path, 0));
        if (!loaded || p11_kit_module_initialize(loaded.get()) != CKR_OK)
            return TAVIK_ERR_DEVICE;
        m_one.reset(loaded.release());
        return 1;
    }

    std::vector<CK_FUNCTION_LIST *> list() const
    {
        std::vector<CK_FUNCTION_LIST *> out;
        if (m_one)
            out.push_back(m_one.get());
        for (CK_FUNCTION_LIST **p = m_set.get(); p && *p; ++p)
            out.push_back(*p);
        return out;
    }

  private:
    std::unique_ptr<CK_FUNCTION_LIST, tavik::Free<finalizeModule>> m_one;
    std::unique_ptr<CK_FUNCTION_LIST *, tavik::Free<p11_kit_modules_finalize_and_release>> m_set;
};

class Session {
  public:
    explicit Session(CK_FUNCTION_LIST *f) : m_f(f) {}
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
    ~Session()
    {
        if (m_open)
            m_f->C_CloseSession(m_handle);
    }

    CK_RV open(CK_SLOT_ID slot, CK_FLAGS flags)
    {
        const CK_RV rv = m_f->C_OpenSession(slot, flags, nullptr, nullptr, &m_handle);
        m_open = rv == CKR_OK;
        return rv;
    }
    CK_SESSION_HANDLE handle() const { return m_handle; }

  private:
    CK_FUNCTION_LIST *m_f;
    CK_SESSION_HANDLE m_handle = 0;
    bool m_open = false;
};

// Token labels are 32 bytes padded with blanks (some modules pad with NULs).
bool labelMatches(const CK_UTF8CHAR (&token)[32], const char *label)
{
    const std::size_t length = std::strlen(label);
    if (length > sizeof token)
        return false;
    for (std::size_t i = 0; i < sizeof token; ++i) {
        const char want = i < length ? label[i] : ' ';
        const char have = token[i] == '\0' ? ' ' : static_cast<char>(token[i]);
        if (want != have)
            return false;
    }
    return true;
}

int triesLeft(CK_FLAGS flags, int pinType)
{
    const bool user = pinType == CKU_USER;
    if (flags & (user ? CKF_USER_PIN_LOCKED : CKF_SO_PIN_LOCKED))
        return 0;
    if (flags & (user ? CKF_USER_PIN_FINAL_TRY : CKF_SO_PIN_FINAL_TRY))
        return 1;
    return -1;
}

std::vector<CK_SLOT_ID> slotsWithToken(CK_FUNCTION_LIST *f)
{
    std::vector<CK_SLOT_ID> slots;
    for (;;) {
        CK_ULONG n = 0;
        if (f->C_GetSlotList(CK_TRUE, nullptr, &n) != CKR_OK)
            return {};
        slots.resize(n);
        const CK_RV rv = f->C_GetSlotList(CK_TRUE, slots.data(), &n);
        if (rv == CKR_BUFFER_TOO_SMALL)
            continue; // a token arrived between the two calls
        if (rv != CKR_OK)
            return {};
        slots.resize(n);
        return slots;
    }
}

class Pkcs11Device final : public Device {
  public:
    Pkcs11Device(Modules modules, CK_FUNCTION_LIST *f, CK_SLOT_ID slot)
        : m_modules(std::move(modules)), m_f(f), m_slot(slot)
    {
    }

    int retryCount(int pinType, int *count) override
    {
        CK_TOKEN_INFO info{};
        if (m_f->C_GetTokenInfo(m_slot, &info) != CKR_OK)
            return TAVIK_ERR_DEVICE;
        *count = triesLeft(info.flags, pinType);
        return 1;
    }

    int verify(int pinType, const char *pin, int *retry) override
    {
        // Login state is shared by every session on the token: one check at a time.
        std::lock_guard lock(m_mutex);
        Session session(m_f);
        CK_RV rv = session.open(m_slot, CKF_SERIAL_SESSION | CKF_RW_SESSION);
        // The security officer needs a read-write session; a user does not.
        if (rv == CKR_TOKEN_WRITE_PROTECTED && pinType == CKU_USER)
            rv = session.open(m_slot, CKF_SERIAL_SESSION);
        if (rv != CKR_OK)
            return TAVIK_ERR_DEVICE;

        // The caller's bytes go to the token as they are; no copy is kept.
        auto *bytes = reinterpret_cast<CK_UTF8CHAR_PTR>(const_cast<char *>(pin));
        const auto length = static_cast<CK_ULONG>(std::strlen(pin));
        const auto user = static_cast<CK_USER_TYPE>(pinType);
        rv = m_f->C_Login(session.handle(), user, bytes, length);
        if (rv == CKR_USER_ALREADY_LOGGED_IN || rv == CKR_USER_ANOTHER_ALREADY_LOGGED_IN) {
            // Someone else's login would say nothing about this PIN: log out
            // and check it; if that is impossible, report an error rather
            // than accept an unchecked PIN.
            m_f->C_Logout(session.handle());
            rv = m_f->C_Login(session.handle(), user, bytes, length);
        }

        switch (rv) {
        case CKR_OK:
            m_f->C_Logout(session.handle());
            return 1;
        case CKR_PIN_INCORRECT:
            *retry = triesFromToken(pinType);
            return TAVIK_ERR_PIN_INCORRECT;
        case CKR_PIN_LOCKED:
            *retry = 0;
            return TAVIK_ERR_PIN_INCORRECT;
        case CKR_PIN_LEN_RANGE:
        case CKR_PIN_INVALID:
            *retry = triesFromToken(pinType);
            return TAVIK_PIN_BAD_FORM;
        default:
            return TAVIK_ERR_DEVICE;
        }
    }

  private:
    int triesFromToken(int pinType)
    {
        int count = -1;
        retryCount(pinType, &count);
        return count;
    }

    Modules m_modules;
    CK_FUNCTION_LIST *m_f;
    CK_SLOT_ID m_slot;
    std::mutex m_mutex;
};

} // namespace

int openPkcs11Device(const char *module, const char *label, std::unique_ptr<Device> *out)
{
    Modules modules;
    if (const int rc = modules.load(module); rc != 1)
        return rc;
    for (CK_FUNCTION_LIST *f : modules.list()) {
        for (CK_SLOT_ID slot : slotsWithToken(f)) {
            CK_TOKEN_INFO info{};
            if (f->C_GetTokenInfo(slot, &info) != CKR_OK)
                continue;
            // Without a label, a blank token has no PIN to check: skip it.
            const bool match =
                label ? labelMatches(info.label, label) : (info.flags & CKF_TOKEN_INITIALIZED) != 0;
            if (match) {
                *out = std::make_unique<Pkcs11Device>(std::move(modules), f, slot);
                return 1;
            }
        }
    }
    return TAVIK_ERR_NOT_FOUND;
}

} // namespace tavik::detail
