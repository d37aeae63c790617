// Both password entries driven through their dialogs: what the user does and
// what the caller gets back; then the PIN dialog's answers to each device reply.
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

#include <string>

#include "Tavik_PKI_Crypto_UI.h"
#include "ui_test_support.hpp"

namespace {

using namespace pkiui::test;
using namespace uitest;

const QString kWrongPin = QString::fromUtf8("密码错误");
const QString kLocked = QString::fromUtf8("设备已被锁定");
const QString kTryAgain = QString::fromUtf8("密码错误，请重试");
const QString kUnknownError = QString::fromUtf8("验证密码时发生未知错误");
const QString kBadCharacter = QString::fromUtf8("密码包含错误的字符");

// Each test runs one entry, VerifyPassword when the parameter is true, with a
// device that accepts whatever PIN it gets.
class PasswordEntry : public ::testing::TestWithParam<bool> {
  protected:
    int call(const char *msg, char **pwd)
    {
        return GetParam() ? TavikPKIUIVerifyPassword(nullptr, m_device.get(), 1, msg, pwd)
                          : TavikPKIUIGetPassword(nullptr, msg, pwd);
    }

    const tavik::DevicePtr m_device = openScripted(1, 3, {{1, 3}});
};

// Neither button leaves anything typed in the field's buffer, not even deleted
// characters, and typing never moved the buffer (leaving copies behind). OK
// hands the text over in a buffer of its length plus one; Cancel hands nothing.
TEST_P(PasswordEntry, EndingTheDialogLeavesNothingInTheField)
{
    for (const bool ok : {false, true}) {
        SCOPED_TRACE(ok ? "OK" : "Cancel");
        const DialogScript script([&](QWidget *window) {
            auto *field = child<QLineEdit>(window, "passwordField");
            typeText(window, QStringLiteral("s"));
            const QChar *first = field->text().constData();
            typeText(window, QStringLiteral("ecret-that-is-typed-and-then-partly-deleted"));
            for (int i = 0; i < 20; ++i)
                QTest::keyClick(field, Qt::Key_Backspace);
            EXPECT_EQ(field->text().constData(), first) << "typing moved the buffer";
            const QString held = field->text(); // shares the buffer
            const auto *begin = reinterpret_cast<const char16_t *>(held.constData());
            click(window, ok ? "okButton" : "cancelButton");
            const std::u16string afterEnd(begin, static_cast<std::size_t>(held.capacity()));
            EXPECT_EQ(afterEnd, std::u16string(afterEnd.size(), u'\0'));
            EXPECT_EQ(field->text(), QString());
        });
        char sentinel = 'x';
        char *pwd = &sentinel;
        EXPECT_EQ(call("msg", &pwd), ok ? TAVIKPKIUI_OK : TAVIKPKIUI_NO_PASSWORD);
        const Buffer buffer(ok ? pwd : nullptr);
        if (ok)
            EXPECT_EQ(std::string(pwd, 25), std::string("secret-that-is-typed-and", 25));
        else
            EXPECT_EQ(pwd, &sentinel);
        EXPECT_EQ(script.dialogsShown(), 1);
    }
}

// The message replaces the default header "正在使用XXX的证书对应的私钥进行签名",
// in a window of the entry's size: as plain text (a certificate
// subject in it cannot restyle the prompt), and never wider than the window.
TEST_P(PasswordEntry, WindowShowsMessageDefaultOrNothing)
{
    const QSize size = GetParam() ? QSize(400, 180) : QSize(400, 120);
    const std::string longMessage(10000, 'w');
    struct Case {
        const char *msg;
        QString header;
    };
    const Case cases[] = {
        {"签名 abc", QString::fromUtf8("签名 abc")},
        {nullptr, QString::fromUtf8("正在使用私钥")},
        {"bad \xFF", QString()},
        {"<b>x</b>", QStringLiteral("<b>x</b>")},
        {longMessage.c_str(), QString::fromStdString(longMessage)},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.msg ? std::string(c.msg).substr(0, 20) : "(null)");
        const DialogScript script([&](QWidget *window) {
            auto *label = child<QLabel>(window, "headerLabel");
            EXPECT_EQ(label->text(), c.header);
            EXPECT_TRUE(label->textFormat() == Qt::PlainText &&
                        window->rect().contains(label->geometry()));
            click(window, "cancelButton");
        });
        char *pwd = nullptr;
        call(c.msg, &pwd);
        EXPECT_EQ(script.lastSize(), size);
    }
}

INSTANTIATE_TEST_SUITE_P(BothEntries, PasswordEntry, ::testing::Bool(), [](const auto &info) {
    return std::string(info.param ? "VerifyPassword" : "GetPassword");
});

// The plain dialog hands any text over; its buffer is sized for ASCII only.
TEST(GetPassword, ChineseCharacterDoesNotFitItsBuffer)
{
    const DialogScript script([](QWidget *window) {
        typeText(window, QString(QChar(0x4E2D)));
        click(window, "okButton");
    });
    char *pwd = nullptr;
    EXPECT_EQ(TavikPKIUIGetPassword(nullptr, "msg", &pwd), TAVIKPKIUI_CONVERSION_FAILED);
    const Buffer buffer(pwd);
    ASSERT_NE(buffer, nullptr) << "the caller still owns the buffer";
    EXPECT_EQ(std::string(buffer.get(), 2), std::string(2, '\0'));
}

// The PIN dialog from the device's count to the user's Cancel. The tries-left
// row shows the count or hides; the count is always asked for the user PIN,
// so pin type 7 (unknown to the toolkit) still shows it. Each reply other than
// "accepted" alerts, shows its count, empties the field and leaves the dialog
// open; a PIN the device could not take is refused before it is asked and
// stays in the field.
struct PinCase {
    int status, count, pinType; // the count query's answer; the dialog's pin type
    TavikPKIScriptedAnswer reply;
    const char *shownCount; // "hidden": the row is
    QString alert;
    const char *countAfter;
    QString typed = QStringLiteral("1234");
};

TEST(VerifyPassword, ShowsTheCountAndAnswersEachReply)
{
    const int badForm = TAVIK_PIN_BAD_FORM, incorrect = TAVIK_ERR_PIN_INCORRECT;
    const PinCase cases[] = {
        {1, 3, 1, {TAVIK_ERR_MEMORY, 2}, "3", kUnknownError, "3"},
        {1, 3, 1, {TAVIK_ERR_DEVICE, -1}, "3", kUnknownError, "3"},
        {1, -1, 1, {incorrect, -1}, "hidden", kWrongPin, "hidden"},
        {TAVIK_ERR_DEVICE, 3, 1, {badForm, -1}, "hidden", kWrongPin, "hidden"},
        {1, 3, 1, {incorrect, 0}, "3", kLocked, "3"},
        {1, 3, 1, {incorrect, 2}, "3", kTryAgain, "2"},
        {1, 0, 1, {badForm, 1}, "0", kTryAgain, "1"},
        {1, 3, 1, {incorrect, 15}, "3", kTryAgain, "15"},
        {1, 3, 1, {incorrect, 16}, "3", kUnknownError, "3"},
        {1, 3, 1, {badForm, -2}, "3", kUnknownError, "3"},
        {1, 3, 7, {1, 3}, "3", kBadCharacter, "3", QStringLiteral("12") + QChar(0xE9) + "4"},
    };
    for (const PinCase &c : cases) {
        SCOPED_TRACE(testing::Message() << "count " << c.status << "/" << c.count << ", reply "
                                        << c.reply.result << "/" << c.reply.retry);
        const auto device = openScripted(c.status, c.count, {c.reply});
        ASSERT_TRUE(device);
        const AlertRecorder alerts;
        const bool refused = c.alert == kBadCharacter;
        const DialogScript script([&](QWidget *window) {
            const auto shownCount = [window] {
                return child<QWidget>(window, "retryRow")->isVisible()
                           ? child<QLabel>(window, "retryNumberLabel")->text()
                           : QStringLiteral("hidden");
            };
            EXPECT_EQ(shownCount(), c.shownCount);
            typeText(window, c.typed);
            // OK from the keyboard: Tab moves the focus there, Space presses it.
            auto *ok = child<QPushButton>(window, "okButton");
            ok->setFocus(Qt::TabFocusReason);
            QTest::keyClick(ok, Qt::Key_Space);
            // Read here: Cancel wipes the field's buffer, which a copy would share.
            EXPECT_EQ(child<QLineEdit>(window, "passwordField")->text(),
                      refused ? c.typed : QString())
                << "emptied, or kept when refused";
            EXPECT_EQ(shownCount(), c.countAfter);
            EXPECT_EQ(window->focusWidget(), child<QLineEdit>(window, "passwordField"))
                << "typing goes on in the field after the alert";
            EXPECT_TRUE(window->isVisible());
            click(window, "cancelButton");
            EXPECT_FALSE(window->isVisible());
        });
        char *pwd = nullptr;
        EXPECT_EQ(TavikPKIUIVerifyPassword(nullptr, device.get(), c.pinType, "m", &pwd),
                  TAVIKPKIUI_NO_PASSWORD);
        EXPECT_EQ(script.dialogsShown(), 1);
        EXPECT_EQ(alerts.texts(), QStringList{c.alert});
        EXPECT_EQ(TavikPKIDeviceScriptedVerifyCalls(device.get()), refused ? 0 : 1);
    }
}

} // namespace
