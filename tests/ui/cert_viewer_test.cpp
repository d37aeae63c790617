// The certificate viewer: its tabs, the path tab of a viewer over a parent,
// and a certificate it refuses.
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTabWidget>
#include <QTableView>
#include <QTest>
#include <gtest/gtest.h>

#include "Tavik_PKI_Crypto_UI.h"
#include "show_cert_detail_dlg.hpp"
#include "show_cert_info_dlg.hpp"
#include "show_cert_path_dlg.hpp"
#include "show_cert_routine_dlg.hpp"
#include "ui_test_support.hpp"

namespace {

using pkiui::test::fixturePath;
using uitest::child;
using uitest::click;
using uitest::clickRow;
using uitest::loadCert;

TEST(Viewer, ShowsItsTabsInScreenOrder)
{
    const tavik::CertPtr cert = loadCert("rsa-leaf");
    pkiui::ShowCertInfoDlg viewer;
    EXPECT_EQ(viewer.setCertHandle(cert.get()), 1);
    auto *tabs = child<QTabWidget>(&viewer, "tabs");
    QStringList titles;
    for (int i = 0; i < tabs->count(); ++i)
        titles << tabs->tabText(i);
    EXPECT_EQ(titles, QString::fromUtf8("常规|详细信息|证书路径").split('|'));
    EXPECT_EQ(tabs->widget(0), viewer.showCertRoutineDlg());
    EXPECT_EQ(tabs->widget(1), viewer.showCertDetailDlg());
    EXPECT_EQ(tabs->widget(2), viewer.showCertPathDlg());
}

class PathTab : public ::testing::Test {
  protected:
    void SetUp() override
    {
        ASSERT_EQ(TavikPKICertStoreAddTrustedFile(fixturePath("rsa-root.pem").c_str()), 1);
        ASSERT_EQ(TavikPKICertStoreAddIntermediateFile(fixturePath("rsa-inter.pem").c_str()), 1);
    }
    void TearDown() override { TavikPKICertStoreClear(); }
};

// The viewer over a parent returns at once, in a window of its own that the
// parent owns. Its path tab selects the viewed certificate and shows its
// status, with the reason as tooltip; viewing the root opens a second viewer
// over the first, whose "确定" only hides it, and the hidden one is released.
TEST_F(PathTab, SelectsTheViewedCertificateAndViewsTheRootInASecondViewer)
{
    const tavik::CertPtr cert = loadCert("rsa-leaf");
    QWidget parent;
    parent.show();
    EXPECT_EQ(TavikPKIUIDisplayCert(&parent, cert.get()), 1);
    const auto viewers = parent.findChildren<QWidget *>(QStringLiteral("certViewerWindow"));
    ASSERT_EQ(viewers.size(), 1);
    const QPointer<QWidget> viewer = viewers.first();
    EXPECT_TRUE(viewer->isWindow() && viewer->isVisible());
    EXPECT_EQ(viewer->windowTitle(), QStringLiteral("证书"));
    EXPECT_EQ(viewer->size(), QSize(400, 450));

    child<QTabWidget>(viewer, "tabs")->setCurrentIndex(2);
    auto *tab = viewer->findChild<pkiui::ShowCertPathDlg *>();
    QTableView *table = tab->certTableView();
    auto *lookUp = child<QPushButton>(viewer, "lookUpButton");
    auto *status = child<QLineEdit>(viewer, "certStatusTextField");
    const QString reason = QStringLiteral("该证书验证通过");
    ASSERT_EQ(table->model()->rowCount(), 3);
    EXPECT_EQ(table->selectionModel()->selectedRows(),
              QModelIndexList{table->model()->index(2, 0)});
    EXPECT_FALSE(lookUp->isEnabled());
    EXPECT_EQ(status->text(), QStringLiteral("该证书没有问题"));
    EXPECT_EQ(status->toolTip(), reason);
    EXPECT_EQ(table->model()->index(2, 0).data(Qt::ToolTipRole).toString(), reason);

    clickRow(table, 0);
    EXPECT_TRUE(lookUp->isEnabled());
    ASSERT_EQ(tab->selectedCert(), tab->model().certPaths().front().cert);
    QTest::mouseClick(lookUp, Qt::LeftButton);
    const auto nested = viewer->findChildren<QWidget *>(QStringLiteral("certViewerWindow"));
    ASSERT_EQ(nested.size(), 1) << "over the first viewer's window";
    EXPECT_TRUE(nested.first()->isVisible());
    EXPECT_EQ(child<QLabel>(nested.first(), "subjectLabel")->text(), "Tavik Test Root CA");

    clickRow(table, 2);
    EXPECT_FALSE(lookUp->isEnabled());
    EXPECT_EQ(tab->selectedCert(), nullptr);

    const QPointer<QWidget> second = nested.first();
    click(second, "okButton");
    EXPECT_FALSE(second->isVisible());
    EXPECT_TRUE(viewer->isVisible());
    QTest::qWait(0);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(second, nullptr);
    EXPECT_NE(viewer, nullptr);
}

TEST(DisplayCert, ACertificateTheViewerRefusesAlertsAndReturnsZero)
{
    const uitest::AlertRecorder alerts;
    const uitest::DialogScript script([](QWidget *) {});
    QWidget parent;
    EXPECT_EQ(pkiui::displayCert(nullptr, nullptr), 0);
    EXPECT_EQ(pkiui::displayCert(&parent, nullptr), 0);
    EXPECT_EQ(alerts.texts(), (QStringList{"读取证书信息失败", "读取证书信息失败"}));
    EXPECT_EQ(alerts.lastOwner(), &parent) << "over the parent when there is one";
    EXPECT_EQ(script.dialogsShown(), 0);
}

} // namespace
