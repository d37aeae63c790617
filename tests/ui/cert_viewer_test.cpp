// The certificate viewer: its container, the details tab, the path tab and
// the two ways TavikPKIUIDisplayCert shows it.
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
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

class DetailTab : public ::testing::Test {
  protected:
    void SetUp() override
    {
        ASSERT_EQ(m_tab.setCertHandle(m_cert.get()), 1);
        m_table = m_tab.certTableView();
        m_tab.resize(368, 320);
        m_tab.show();
    }
    QString pane() { return child<QPlainTextEdit>(&m_tab, "detailValue")->toPlainText(); }

    const tavik::CertPtr m_cert = loadCert("ext-std");
    pkiui::ShowCertDetailDlg m_tab;
    QTableView *m_table = nullptr;
};

TEST_F(DetailTab, SelectingARowShowsItsContentAndEveryFilterChoiceClearsIt)
{
    const int all = m_table->model()->rowCount();
    ASSERT_GT(all, 10);
    clickRow(m_table, 1);
    const auto *row = m_tab.model().rowAt(1);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(m_table->model()->index(1, 0).data().toString(), QString::fromStdString(row->name));
    EXPECT_EQ(pane(), QString::fromStdString(row->content).replace("\r\n", "\n"));

    auto *filter = child<QComboBox>(&m_tab, "filterPopUp");
    QTest::keyClick(filter, Qt::Key_Down); // "只有版本 1 域"
    EXPECT_EQ(filter->currentIndex(), 1);
    EXPECT_TRUE(pane().isEmpty());
    const int version1 = m_table->model()->rowCount();
    EXPECT_GT(version1, 0);
    EXPECT_LT(version1, all);

    clickRow(m_table, 0);
    EXPECT_FALSE(pane().isEmpty());
    m_tab.handlePopUpBtn(1); // the entry already shown
    EXPECT_TRUE(pane().isEmpty());
    EXPECT_EQ(m_table->model()->rowCount(), version1);
}

TEST_F(DetailTab, ColumnsKeepTheirLimitsAndRowsTheirHeight)
{
    struct Case {
        int column, asked, kept;
    };
    QHeaderView *header = m_table->horizontalHeader();
    EXPECT_EQ(header->sectionSize(0), 130);
    EXPECT_EQ(header->sectionSize(1), 140);
    for (const Case c : {Case{0, 10, 60}, Case{0, 400, 150}, Case{1, 10, 130}, Case{1, 400, 200},
                         Case{1, 170, 170}}) {
        header->resizeSection(c.column, c.asked);
        EXPECT_EQ(header->sectionSize(c.column), c.kept) << c.column << " asked " << c.asked;
    }
    EXPECT_EQ(m_table->rowHeight(0), 20);
    EXPECT_EQ(m_table->textElideMode(), Qt::ElideRight);
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
