// Both password entries driven through their dialogs: what the user does and
// what the caller gets back.
#include <QLabel>
#include <QLineEdit>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "Tavik_PKI_Crypto_UI.h"
#include "ui_test_support.hpp"

namespace {

using uitest::click;
using uitest::typeText;

const QString kEnterPassword = QString::fromUtf8("\xE8\xAF\xB7\xE8\xBE\x93\xE5\x85\xA5\xE5\xAF\x86"
                                                 "\xE7\xA0\x81"); // 请输入密码
const QString kPasswordTitle =
    QString::fromUtf8("\xE5\xAF\x86\xE7\xA0\x81\xE8\xBE\x93\xE5\x85\xA5"
                      "\xE5\xAF\xB9\xE8\xAF\x9D\xE6\xA1\x86"); // 密码输入对话框

struct FreeMemory {
    void operator()(char *p) const { TavikPKICryptoFreeMemory(p); }
};
using Buffer = std::unique_ptr<char, FreeMemory>;

enum class Entry { GetPassword, VerifyPassword };

std::string entryName(const ::testing::TestParamInfo<Entry> &info)
{
    return info.param == Entry::GetPassword ? "GetPassword" : "VerifyPassword";
}

// Each test runs one entry with a device that accepts whatever PIN it gets.
class PasswordEntry : public ::testing::TestWithParam<Entry> {
  protected:
    void SetUp() override
    {
        const TavikPKIScriptedAnswer accept{1, 3};
        TAVIK_PKI_DEVICE_HANDLE_st *device = nullptr;
        ASSERT_EQ(TavikPKIDeviceOpenScripted(1, 3, &accept, 1, &device), 1);
        m_device.reset(device);
    }

    int call(const char *msg, char **pwd)
    {
        if (GetParam() == Entry::GetPassword)
            return TavikPKIUIGetPassword(nullptr, msg, pwd);
        return TavikPKIUIVerifyPassword(nullptr, m_device.get(), 1, msg, pwd);
    }

    QSize contentSize() const
    {
        return GetParam() == Entry::GetPassword ? QSize(400, 120) : QSize(400, 180);
    }

    tavik::DevicePtr m_device;
};

TEST_P(PasswordEntry, CancelGivesNoPasswordAndLeavesOutputUntouched)
{
    const uitest::DialogScript script([](QWidget *window) {
        typeText(window, QStringLiteral("typed"));
        click(window, "cancelButton");
    });
    char sentinel = 'x';
    char *pwd = &sentinel;
    EXPECT_EQ(call("msg", &pwd), TAVIKPKIUI_NO_PASSWORD);
    EXPECT_EQ(pwd, &sentinel);
    EXPECT_EQ(script.dialogsShown(), 1);
}

TEST_P(PasswordEntry, AsciiPasswordComesBackInAFourByteBuffer)
{
    const uitest::DialogScript script([](QWidget *window) {
        typeText(window, QStringLiteral("abc"));
        click(window, "okButton");
    });
    char *pwd = nullptr;
    EXPECT_EQ(call("msg", &pwd), TAVIKPKIUI_OK);
    const Buffer buffer(pwd);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(std::string(buffer.get(), 4), std::string("abc", 4));
}

TEST_P(PasswordEntry, ChineseCharacterDoesNotFitItsBuffer)
{
    const uitest::DialogScript script([](QWidget *window) {
        typeText(window, QString(QChar(0x4E2D)));
        click(window, "okButton");
    });
    char *pwd = nullptr;
    EXPECT_EQ(call("msg", &pwd), TAVIKPKIUI_CONVERSION_FAILED);
    const Buffer buffer(pwd);
    ASSERT_NE(buffer, nullptr) << "the caller still owns the buffer";
    EXPECT_EQ(std::string(buffer.get(), 2), std::string(2, '\0'));
}

TEST_P(PasswordEntry, EmptyOkAlertsAndStaysOpen)
{
    const uitest::AlertRecorder alerts;
    bool openAfterAlert = false;
    const uitest::DialogScript script([&](QWidget *window) {
        click(window, "okButton");
        openAfterAlert = window->isVisible();
        typeText(window, QStringLiteral("pw"));
        click(window, "okButton");
    });
    char *pwd = nullptr;
    EXPECT_EQ(call("msg", &pwd), TAVIKPKIUI_OK);
    const Buffer buffer(pwd);
    EXPECT_EQ(alerts.texts(), QStringList{kEnterPassword});
    EXPECT_TRUE(openAfterAlert);
    ASSERT_NE(buffer, nullptr);
    EXPECT_STREQ(buffer.get(), "pw");
    if (GetParam() == Entry::VerifyPassword) {
        EXPECT_EQ(TavikPKIDeviceScriptedVerifyCalls(m_device.get()), 1) << "empty PIN not sent";
    }
}

TEST_P(PasswordEntry, WindowHasTitleSizeAndCloseButton)
{
    const uitest::DialogScript script([](QWidget *window) { click(window, "cancelButton"); });
    char *pwd = nullptr;
    call("msg", &pwd);
    EXPECT_EQ(script.lastTitle(), kPasswordTitle);
    EXPECT_EQ(script.lastSize(), contentSize());
    EXPECT_TRUE(script.lastFlags().testFlag(Qt::WindowCloseButtonHint));
    EXPECT_TRUE(script.lastFlags().testFlag(Qt::WindowMinimizeButtonHint));
}

TEST_P(PasswordEntry, HeaderShowsMessageDefaultOrNothing)
{
    struct Case {
        const char *msg;
        QString header;
    };
    const Case cases[] = {
        {"\xE7\xAD\xBE\xE5\x90\x8D abc", QString::fromUtf8("\xE7\xAD\xBE\xE5\x90\x8D abc")},
        {nullptr, QString::fromUtf8("\xE6\xAD\xA3\xE5\x9C\xA8\xE4\xBD\xBF\xE7\x94\xA8\xE7\xA7\x81"
                                    "\xE9\x92\xA5")}, // 正在使用私钥
        {"bad \xFF", QString()},
    };
    for (const Case &c : cases) {
        QString header = QStringLiteral("not read");
        const uitest::DialogScript script([&](QWidget *window) {
            header = uitest::child<QLabel>(window, "headerLabel")->text();
            click(window, "cancelButton");
        });
        char *pwd = nullptr;
        call(c.msg, &pwd);
        EXPECT_EQ(header, c.header) << (c.msg ? c.msg : "(null)");
    }
}

TEST_P(PasswordEntry, FieldIsEmptiedWhenTheDialogEnds)
{
    QLineEdit *field = nullptr;
    QString leftOver = QStringLiteral("not read");
    const uitest::DialogScript script([&](QWidget *window) {
        field = uitest::child<QLineEdit>(window, "passwordField");
        typeText(window, QStringLiteral("secret"));
        click(window, "okButton");
        leftOver = field->text();
    });
    char *pwd = nullptr;
    EXPECT_EQ(call("msg", &pwd), TAVIKPKIUI_OK);
    const Buffer buffer(pwd);
    EXPECT_EQ(leftOver, QString());
}

INSTANTIATE_TEST_SUITE_P(BothEntries, PasswordEntry,
                         ::testing::Values(Entry::GetPassword, Entry::VerifyPassword), entryName);

// Only the PIN dialog asks the device; a rejected PIN keeps it open.
TEST(VerifyPassword, RejectedPinClearsFieldAlertsAndStays)
{
    const TavikPKIScriptedAnswer answers[] = {{TAVIK_ERR_PIN_INCORRECT, -1}, {1, 3}};
    TAVIK_PKI_DEVICE_HANDLE_st *raw = nullptr;
    ASSERT_EQ(TavikPKIDeviceOpenScripted(1, 3, answers, 2, &raw), 1);
    const tavik::DevicePtr device(raw);
    const uitest::AlertRecorder alerts;
    QString fieldAfterReject = QStringLiteral("not read");
    QString retryShown;
    const uitest::DialogScript script([&](QWidget *window) {
        retryShown = uitest::child<QLabel>(window, "retryNumberLabel")->text();
        typeText(window, QStringLiteral("wrong"));
        click(window, "okButton");
        fieldAfterReject = uitest::child<QLineEdit>(window, "passwordField")->text();
        typeText(window, QStringLiteral("right"));
        click(window, "okButton");
    });
    char *pwd = nullptr;
    EXPECT_EQ(TavikPKIUIVerifyPassword(nullptr, device.get(), 1, "msg", &pwd), TAVIKPKIUI_OK);
    const Buffer buffer(pwd);
    ASSERT_NE(buffer, nullptr);
    EXPECT_STREQ(buffer.get(), "right");
    EXPECT_EQ(retryShown, QStringLiteral("3"));
    EXPECT_EQ(fieldAfterReject, QString());
    EXPECT_EQ(alerts.texts(),
              QStringList{QString::fromUtf8("\xE5\xAF\x86\xE7\xA0\x81\xE9\x94\x99\xE8\xAF\xAF")});
    EXPECT_EQ(TavikPKIDeviceScriptedVerifyCalls(device.get()), 2);
}

} // namespace
