// The entries' contracts that need no user: captions, argument checks, and
// how a dialog's password becomes the caller's result.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "Tavik_PKI_Crypto_UI.h"
#include "secret.hpp"
#include "ui_test_support.hpp"

namespace {

using uitest::Buffer;

// The ends of the table, the code kept as hex, and codes around the gap.
TEST(GetString, ReturnsTheCaptionBytesOrNull)
{
    struct Case {
        int code;
        const char *expected;
    };
    for (const Case c :
         {Case{1, "正在登录"}, Case{8, "正在使用私钥解密"},
          Case{11, "E6ADA3E59CA8E8BF9BE8A18CE5AF86E992A5E58D8FE59586"}, Case{0, nullptr},
          Case{9, nullptr}, Case{10, nullptr}, Case{12, nullptr}, Case{-1, nullptr}}) {
        const Buffer text(TavikPKIUIGetString(c.code));
        EXPECT_STREQ(text.get(), c.expected) << c.code;
    }
}

// Argument checks answer before any window is shown.
TEST(ArgumentChecks, FailWithoutShowingADialog)
{
    const uitest::DialogScript script([](QWidget *) {});
    TAVIK_CERT_st *certs[1] = {nullptr};
    TAVIK_PKI_DEVICE_HANDLE_st *device = nullptr;
    ASSERT_EQ(TavikPKIDeviceOpenScripted(1, 3, nullptr, 0, &device), 1);
    const tavik::DevicePtr held(device);
    char *pwd = nullptr;

    struct Case {
        const char *what;
        long result;
        long expected;
    };
    const Case cases[] = {
        {"select: null array",
         TavikPKIUISelectCert(nullptr, nullptr, nullptr, nullptr, 3) != nullptr, 0},
        {"select: null array, count 0",
         TavikPKIUISelectCert(nullptr, nullptr, nullptr, nullptr, 0) != nullptr, 0},
        {"select: negative count",
         TavikPKIUISelectCert(nullptr, nullptr, nullptr, certs, -1) != nullptr, 0},
        {"verify: null pwd", TavikPKIUIVerifyPassword(nullptr, device, 1, "m", nullptr), -1},
        {"verify: null pwd and device", TavikPKIUIVerifyPassword(nullptr, nullptr, 1, "m", nullptr),
         -1},
        {"verify: null device", TavikPKIUIVerifyPassword(nullptr, nullptr, 1, "m", &pwd), -2},
        {"get: null pwd", TavikPKIUIGetPassword(nullptr, "m", nullptr), -1},
        {"display: null cert", TavikPKIUIDisplayCert(nullptr, nullptr), -1},
        {"CRL: never shown", TavikPKIUIDisplayCRL(nullptr, nullptr, 1), 0},
    };
    for (const Case &c : cases)
        EXPECT_EQ(c.result, c.expected) << c.what;
    EXPECT_EQ(pwd, nullptr);
    EXPECT_EQ(script.dialogsShown(), 0);
    EXPECT_EQ(TavikPKIDeviceScriptedVerifyCalls(device), 0);
}

// The caller's buffer is sized by UTF-16 units plus one, so only text whose
// UTF-8 form is no longer than that fits. The dialogs never hand over an
// absent text; those cases are reached only here.
TEST(StorePassword, GivesCodeAndBuffer)
{
    struct Case {
        std::optional<QString> password;
        pkiui::AbsentPassword absent;
        int expected;
        int bufferSize; // -1: *pwd untouched; else its bytes, all zero
    };
    const auto convert = pkiui::AbsentPassword::Convert;
    for (const Case &c : {Case{std::nullopt, pkiui::AbsentPassword::NoPassword, -18, -1},
                          Case{std::nullopt, convert, 0, 1}, Case{QString(""), convert, -18, -1},
                          Case{QStringLiteral("12") + QChar(0xE9), convert, 0, 4}}) {
        SCOPED_TRACE(c.password.value_or("(absent)").toStdString());
        std::optional<QString> password = c.password;
        char sentinel = 'x';
        char *out = &sentinel;
        EXPECT_EQ(pkiui::storePassword(password, c.absent, &out), c.expected);
        EXPECT_FALSE(password) << "the dialog's copy is dropped";
        ASSERT_EQ(out != &sentinel, c.bufferSize >= 0) << "*pwd set only with a buffer";
        if (c.bufferSize < 0)
            continue;
        const Buffer buffer(out);
        EXPECT_EQ(std::string(buffer.get(), static_cast<size_t>(c.bufferSize)),
                  std::string(static_cast<size_t>(c.bufferSize), '\0'))
            << "not wiped";
    }
}

} // namespace
