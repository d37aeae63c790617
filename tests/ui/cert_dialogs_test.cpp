// The viewer, through its entry.
#include <QApplication>
#include <QEventLoop>
#include <QPointer>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Tavik_PKI_Crypto_UI.h"
#include "cert_text.hpp"
#include "ui_test_support.hpp"

namespace {

using uitest::click;
using uitest::loadCert;

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
