// The certificate chooser and the viewer, through their entries.
#include <QApplication>
#include <QEventLoop>
#include <QListWidget>
#include <QPointer>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "Tavik_PKI_Crypto_UI.h"
#include "cert_text.hpp"
#include "ui_test_support.hpp"

namespace {

using uitest::click;
using uitest::loadCert;

struct FreeMemory {
    void operator()(char *p) const { TavikPKICryptoFreeMemory(p); }
};

std::string subjectOf(TAVIK_CERT_st *cert)
{
    char *raw = nullptr;
    if (TavikPKICertGetCertStringAttribute(cert, TAVIK_ATTR_SUBJECT_CN, &raw) != 1)
        return "(none)";
    const std::unique_ptr<char, FreeMemory> text(raw);
    return text.get();
}

class SelectCert : public ::testing::Test {
  protected:
    void SetUp() override
    {
        for (const char *name : {"rsa-root.pem", "rsa-inter.pem", "rsa-leaf.pem"}) {
            m_held.push_back(loadCert(uitest::fixture(name)));
            ASSERT_NE(m_held.back(), nullptr);
            m_certs.push_back(m_held.back().get());
        }
    }

    // Selects row (or none) and presses button; returns what the entry gave.
    tavik::CertPtr choose(std::optional<int> row, const char *button, int count = 3)
    {
        m_script.reset(); // its destructor removes the hook
        m_script = std::make_unique<uitest::DialogScript>([=, this](QWidget *window) {
            auto *list = uitest::child<QListWidget>(window, "certList");
            for (int i = 0; i < list->count(); ++i)
                m_names << list->item(i)->text();
            if (row)
                list->setCurrentRow(*row);
            click(window, button);
        });
        return tavik::CertPtr(
            TavikPKIUISelectCert(nullptr, nullptr, nullptr, m_certs.data(), count));
    }

    std::vector<tavik::CertPtr> m_held;
    std::vector<TAVIK_CERT_st *> m_certs;
    std::unique_ptr<uitest::DialogScript> m_script;
    QStringList m_names;
};

TEST_F(SelectCert, OkReturnsADuplicateOfTheChosenCertificate)
{
    const tavik::CertPtr chosen = choose(1, "okButton");
    ASSERT_NE(chosen, nullptr);
    EXPECT_NE(chosen.get(), m_certs[1]) << "a fresh handle, not the caller's";
    EXPECT_EQ(subjectOf(chosen.get()), "Tavik Test Intermediate CA");
    EXPECT_EQ(m_names,
              (QStringList{"Tavik Test Root CA", "Tavik Test Intermediate CA", "Leaf RSA"}));
    EXPECT_EQ(m_script->lastTitle(), QString::fromUtf8("\xE8\xAF\x81\xE4\xB9\xA6\xE9\x80\x89\xE6"
                                                       "\x8B\xA9\xE5\xAF\xB9\xE8\xAF\x9D\xE6"
                                                       "\xA1\x86")); // 证书选择对话框
    EXPECT_EQ(m_script->lastSize(), QSize(552, 200));
    EXPECT_TRUE(m_script->lastFlags().testFlag(Qt::WindowCloseButtonHint));
}

TEST_F(SelectCert, CancelOrNoRowReturnsNull)
{
    EXPECT_EQ(choose(1, "cancelButton"), nullptr);
    EXPECT_EQ(choose(std::nullopt, "okButton"), nullptr);
}

TEST_F(SelectCert, EmptyListShowsAndOkReturnsNull)
{
    EXPECT_EQ(choose(std::nullopt, "okButton", 0), nullptr);
    EXPECT_TRUE(m_names.isEmpty());
    EXPECT_EQ(m_script->dialogsShown(), 1);
}

const QString kViewerTitle = QString::fromUtf8("\xE8\xAF\x81\xE4\xB9\xA6"); // 证书
const QString kReadFailed = QString::fromUtf8("\xE8\xAF\xBB\xE5\x8F\x96\xE8\xAF\x81\xE4\xB9\xA6"
                                              "\xE4\xBF\xA1\xE6\x81\xAF\xE5\xA4\xB1\xE8\xB4\xA5");

TEST(DisplayCert, WithoutParentReturnsOnlyAfterOk)
{
    const tavik::CertPtr cert = loadCert(uitest::fixture("rsa-leaf.pem"));
    bool stillRunningAfterWait = false;
    QStringList tabs;
    const uitest::DialogScript script([&](QWidget *window) {
        auto *tabWidget = uitest::child<QTabWidget>(window, "tabs");
        for (int i = 0; i < tabWidget->count(); ++i)
            tabs << tabWidget->tabText(i);
        // The call must still be waiting while the viewer is up.
        QTimer::singleShot(50, window, [&, window] {
            stillRunningAfterWait = window->isVisible();
            click(window, "okButton");
        });
    });
    EXPECT_EQ(TavikPKIUIDisplayCert(nullptr, cert.get()), 1);
    EXPECT_TRUE(stillRunningAfterWait);
    EXPECT_EQ(tabs,
              (QStringList{QString::fromUtf8("\xE5\xB8\xB8\xE8\xA7\x84"),
                           QString::fromUtf8("\xE8\xAF\xA6\xE7\xBB\x86\xE4\xBF\xA1\xE6\x81\xAF"),
                           QString::fromUtf8("\xE8\xAF\x81\xE4\xB9\xA6\xE8\xB7\xAF\xE5\xBE\x84")}));
    EXPECT_EQ(script.lastTitle(), kViewerTitle);
    EXPECT_EQ(script.lastSize(), QSize(400, 450));
    // Titled and minimisable, without a close button.
    EXPECT_FALSE(script.lastFlags().testFlag(Qt::WindowCloseButtonHint));
    EXPECT_TRUE(script.lastFlags().testFlag(Qt::WindowMinimizeButtonHint));
    EXPECT_TRUE(script.lastFlags().testFlag(Qt::WindowTitleHint));
}

TEST(DisplayCert, WithParentReturnsAtOnceAndOkOnlyHides)
{
    const tavik::CertPtr cert = loadCert(uitest::fixture("rsa-leaf.pem"));
    QWidget parent;
    parent.show();
    const uitest::DialogScript script([](QWidget *) {});
    EXPECT_EQ(TavikPKIUIDisplayCert(&parent, cert.get()), 1);
    QPointer<QWidget> viewer = parent.findChild<QWidget *>(QStringLiteral("certViewerWindow"));
    ASSERT_NE(viewer, nullptr);
    EXPECT_TRUE(viewer->isWindow()) << "a window of its own, owned by the parent";
    EXPECT_TRUE(viewer->isVisible());
    EXPECT_EQ(viewer->windowTitle(), kViewerTitle);
    click(viewer, "okButton");
    EXPECT_FALSE(viewer->isVisible());
    QTest::qWait(0);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(viewer, nullptr) << "hidden viewer is released";
}

TEST(DisplayCert, UnreadableCertificateAlertsAndReturnsZero)
{
    const tavik::CertPtr cert = loadCert(uitest::uiFixture("nameless.pem"));
    ASSERT_NE(cert, nullptr);
    const uitest::AlertRecorder alerts;
    const uitest::DialogScript script([](QWidget *) {});
    EXPECT_EQ(TavikPKIUIDisplayCert(nullptr, cert.get()), 0);
    QWidget parent;
    EXPECT_EQ(TavikPKIUIDisplayCert(&parent, cert.get()), 0);
    EXPECT_EQ(alerts.texts(), (QStringList{kReadFailed, kReadFailed}));
    EXPECT_EQ(alerts.lastOwner(), &parent) << "over the parent when there is one";
    EXPECT_EQ(script.dialogsShown(), 0);
}

} // namespace
