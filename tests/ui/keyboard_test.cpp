// Every blocking dialog and the viewer used from the keyboard alone: where the
// focus starts, Return, Escape, and the window's close button.
#include <QLineEdit>
#include <QTableView>
#include <QTest>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

#include "Tavik_PKI_Crypto_UI.h"
#include "ui_test_support.hpp"

namespace {

using uitest::Buffer;

enum class Act { Return, Escape, Close };

// What a keyboard user does last in the dialog.
void finish(QWidget *window, Act act)
{
    if (act == Act::Close) {
        window->close();
        return;
    }
    QWidget *focus = window->focusWidget();
    EXPECT_NE(focus, nullptr);
    QTest::keyClick(focus ? focus : window, act == Act::Return ? Qt::Key_Return : Qt::Key_Escape);
}

struct Dialog {
    const char *name;
    const char *focusedChild; // where the focus is when the dialog opens, if it matters
    // Types or moves before the last key; empty for the viewer.
    std::function<void(QWidget *)> prepare;
    // Runs the entry; what it returned, as text.
    std::function<std::string()> call;
};

std::string passwordResult(int rc, char *pwd)
{
    const Buffer owned(rc == TAVIKPKIUI_NO_PASSWORD ? nullptr : pwd);
    return std::to_string(rc) + (rc == TAVIKPKIUI_OK ? std::string(" ") + pwd : "");
}

class Keyboard : public ::testing::Test {
  protected:
    void SetUp() override
    {
        m_device = pkiui::test::openScripted(1, 3, {{1, 3}});
        m_leaf = uitest::loadCert("rsa-leaf.pem");
        m_inter = uitest::loadCert("rsa-inter.pem");
        ASSERT_TRUE(m_device && m_leaf && m_inter);
    }

    // The expected results of Return, Escape and close, in that order.
    void check(const Dialog &dialog, const std::string (&expected)[3])
    {
        for (const Act act : {Act::Return, Act::Escape, Act::Close}) {
            bool focused = false;
            const uitest::DialogScript script([&](QWidget *window) {
                const auto *named = dialog.focusedChild
                                        ? uitest::child<QWidget>(window, dialog.focusedChild)
                                        : nullptr;
                QWidget *focus = window->focusWidget();
                focused = !named || (focus && (focus == named || named->isAncestorOf(focus)));
                if (act == Act::Return && dialog.prepare)
                    dialog.prepare(window);
                finish(window, act);
            });
            const int index = static_cast<int>(act);
            EXPECT_EQ(dialog.call(), expected[index]) << dialog.name << " act " << index;
            EXPECT_TRUE(focused) << dialog.name << ": the focus starts elsewhere";
        }
    }

    tavik::DevicePtr m_device;
    tavik::CertPtr m_leaf;
    tavik::CertPtr m_inter;
};

// Return on an empty field alerts as the button does and leaves the focus in
// the field, so the text typed next lands there.
void typeAfterEmptyReturn(QWidget *window)
{
    const uitest::AlertRecorder alerts;
    QTest::keyClick(window->focusWidget(), Qt::Key_Return);
    EXPECT_EQ(alerts.texts(), QStringList{QString::fromUtf8("请输入密码")});
    QTest::keyClicks(window->focusWidget(), QStringLiteral("abc"));
}

TEST_F(Keyboard, PasswordPrompts)
{
    const std::string ok = "1 abc", none = std::to_string(TAVIKPKIUI_NO_PASSWORD);
    check({"password", "passwordField", typeAfterEmptyReturn,
           [] {
               char *pwd = nullptr;
               const int rc = TavikPKIUIGetPassword(nullptr, "m", &pwd);
               return passwordResult(rc, pwd);
           }},
          {ok, none, none});
    check({"pin", "passwordField", typeAfterEmptyReturn,
           [this] {
               char *pwd = nullptr;
               const int rc = TavikPKIUIVerifyPassword(nullptr, m_device.get(), 1, "m", &pwd);
               return passwordResult(rc, pwd);
           }},
          {ok, none, none});
}

TEST_F(Keyboard, ChooserAndViewer)
{
    // Down twice: the first arrow selects the first row, the second the next.
    check({"chooser", "certTableView",
           [](QWidget *window) {
               QTest::keyClick(window->focusWidget(), Qt::Key_Down);
               QTest::keyClick(window->focusWidget(), Qt::Key_Down);
           },
           [this] {
               TAVIK_CERT_st *certs[] = {m_leaf.get(), m_inter.get()};
               const tavik::CertPtr chosen(
                   TavikPKIUISelectCert(nullptr, nullptr, nullptr, certs, 2));
               return chosen ? pkiui::test::textAttribute(chosen.get(), TAVIK_ATTR_SUBJECT_CN)
                                   .value_or("?")
                             : std::string("null");
           }},
          {"Tavik Test Intermediate CA", "null", "null"});
    // Every way out of the viewer is its "确定".
    check({"viewer",
           "tabs",
           {},
           [this] { return std::to_string(TavikPKIUIDisplayCert(nullptr, m_leaf.get())); }},
          {"1", "1", "1"});
}

} // namespace
