// The three lists (details, path, chooser) and their context menus: Qt's
// model rules, the detail filter and columns; copy, export and the
// fingerprint check, held against what the openssl command says. Then the
// viewer: its tabs, the path tab over a parent, a certificate it refuses.
#include <QAbstractItemModelTester>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QTabWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "select_cert_dlg.hpp"
#include "show_cert_detail_dlg.hpp"
#include "show_cert_info_dlg.hpp"
#include "show_cert_path_dlg.hpp"
#include "test_seams.hpp"
#include "ui_test_support.hpp"

namespace {

using namespace pkiui::test;
using namespace uitest;

QString clipboard()
{
    return QApplication::clipboard()->text();
}
void trigger(QWidget *view, const char *action)
{
    child<QAction>(view, action)->trigger();
}

std::string opensslCert(const std::string &name, const std::string &arguments)
{
    return openssl("x509 -in " + fixturePath(name + ".pem") + " " + arguments);
}

class CertActions : public ::testing::Test {
  protected:
    void SetUp() override
    {
        ASSERT_EQ(TavikPKICertStoreAddTrustedFile(fixturePath("rsa-root.pem").c_str()), 1);
        ASSERT_EQ(TavikPKICertStoreAddIntermediateFile(fixturePath("rsa-inter.pem").c_str()), 1);
        ASSERT_EQ(m_detail.setCertHandle(m_leaf.get()), 1);
        ASSERT_EQ(m_path.setCertHandle(m_leaf.get()), 1);
        TAVIK_CERT_st *candidates[] = {m_leaf.get()};
        m_chooser.setCertificateHandles(candidates, 1);
        for (QWidget *view : std::initializer_list<QWidget *>{&m_detail, &m_path, &m_chooser}) {
            view->resize(400, 420);
            view->show();
        }
        ASSERT_TRUE(m_dir.isValid());
    }
    void TearDown() override
    {
        pkiui::setSaveDialogAnswer({});
        TavikPKICertStoreClear();
    }
    // Answers the next save dialog with a file in the temporary folder.
    QString saveAs(const QString &name)
    {
        const QString path = m_dir.filePath(name);
        pkiui::setSaveDialogAnswer([path](const QString &) { return path; });
        return path;
    }

    const tavik::CertPtr m_leaf = loadCert("rsa-leaf");
    pkiui::ShowCertDetailDlg m_detail;
    pkiui::ShowCertPathDlg m_path; // root, intermediate, leaf
    pkiui::SelectCertDlg m_chooser;
    QTemporaryDir m_dir;
    // The three table adapters keep Qt's model rules (counts, indexes,
    // parents, signals) through every test here.
    using Mode = QAbstractItemModelTester::FailureReportingMode;
    QAbstractItemModelTester m_detailRules{m_detail.certTableView()->model(), Mode::Fatal};
    QAbstractItemModelTester m_pathRules{m_path.certTableView()->model(), Mode::Fatal};
    QAbstractItemModelTester m_chooserRules{m_chooser.certTableView()->model(), Mode::Fatal};
};

// What the other tests do not: reloads, every filter, an emptied list.
TEST_F(CertActions, AdaptersKeepQtsModelRulesThroughReloadsAndFilters)
{
    const tavik::CertPtr root = loadCert("rsa-root");
    auto *filter = child<QComboBox>(&m_detail, "filterPopUp");
    for (TAVIK_CERT_st *cert : {root.get(), m_leaf.get()}) {
        ASSERT_EQ(m_detail.setCertHandle(cert), 1);
        ASSERT_EQ(m_path.setCertHandle(cert), 1);
        for (int i = 0; i < filter->count(); ++i) {
            filter->setCurrentIndex(i);
            if (m_detail.certTableView()->model()->rowCount() > 0)
                clickRow(m_detail.certTableView(), 0);
        }
    }
    TAVIK_CERT_st *certs[] = {m_leaf.get(), root.get()};
    m_chooser.setCertificateHandles(certs, 2);
    clickRow(m_chooser.certTableView(), 1);
    m_chooser.setCertificateHandles(certs, 0);
}

TEST_F(CertActions, CopyPutsTheShownTextOnTheClipboardAndNothingWithoutARow)
{
    QTableView *details = m_detail.certTableView();
    QTableView *chooser = m_chooser.certTableView();
    // What the chooser's row shows, cell by cell.
    QStringList cells;
    for (int column = 0; column < chooser->model()->columnCount(); ++column)
        cells << chooser->model()->index(0, column).data().toString();
    ASSERT_EQ(cells.first(), QStringLiteral("Leaf RSA"));

    int subjectRow = 0;
    while (details->model()->index(subjectRow, 0).data() != QStringLiteral("证书主体"))
        ASSERT_LT(++subjectRow, details->model()->rowCount());

    struct Case {
        const char *what;
        QTableView *table;
        int row;
        std::function<void()> copy;
        QString expected;
    };
    const Case cases[] = {
        {"details, Ctrl+C", details, 0,
         [&] {
             details->setFocus();
             QTest::keyClick(details, Qt::Key_C, Qt::ControlModifier);
         },
         QStringLiteral("V3")},
        {"details, the subject's lines", details, subjectRow,
         [&] { trigger(details, "copyAction"); },
         QStringLiteral("C = CN\nST = Beijing\nL = Haidian\nO = Tavik Test\nOU = Signing\n"
                        "CN = Leaf RSA")},
        {"path root", m_path.certTableView(), 0,
         [&] { trigger(m_path.certTableView(), "copyAction"); },
         QStringLiteral("CN, Tavik Test, Tavik Test Root CA")},
        {"chooser row", chooser, 0, [&] { trigger(chooser, "copyAction"); },
         cells.join(QLatin1Char('\t'))},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        c.table->clearSelection();
        QApplication::clipboard()->setText(QStringLiteral("before"));
        c.copy();
        EXPECT_EQ(clipboard(), QStringLiteral("before")) << "no row selected";
        clickRow(c.table, c.row);
        c.copy();
        EXPECT_EQ(clipboard(), c.expected);
    }
}

// A filter chosen by the keyboard, or chosen again, reloads the rows and
// clears the pane; Copy all then gives every shown row as "name: content".
TEST_F(CertActions, FilterClearsThePaneAndCopyAllGivesEveryShownRowInListOrder)
{
    QTableView *table = m_detail.certTableView();
    auto *filter = child<QComboBox>(&m_detail, "filterPopUp");
    const auto pane = [this] {
        return child<QPlainTextEdit>(&m_detail, "detailValue")->toPlainText();
    };
    const int all = table->model()->rowCount();
    clickRow(table, 0);
    ASSERT_FALSE(pane().isEmpty());
    QTest::keyClick(filter, Qt::Key_Down); // "只有版本 1 域"
    QTest::keyClick(filter, Qt::Key_Down); // "只有扩展": a few rows
    EXPECT_EQ(filter->currentIndex(), 2);
    EXPECT_TRUE(pane().isEmpty());
    ASSERT_LT(table->model()->rowCount(), all);
    ASSERT_GE(table->model()->rowCount(), 2);

    QString expected;
    for (int row = 0; row < table->model()->rowCount(); ++row) {
        clickRow(table, row);
        expected += table->model()->index(row, 0).data().toString() + QStringLiteral(": ") +
                    pane() + QLatin1Char('\n');
    }
    m_detail.handlePopUpBtn(2); // the entry already shown
    EXPECT_TRUE(pane().isEmpty());
    trigger(table, "copyAllAction");
    EXPECT_EQ(clipboard(), expected);
}

TEST_F(CertActions, ColumnsKeepTheirLimitsAndRowsTheirHeight)
{
    struct Case {
        int column, asked, kept;
    };
    QHeaderView *header = m_detail.certTableView()->horizontalHeader();
    EXPECT_EQ(header->sectionSize(0), 130);
    EXPECT_EQ(header->sectionSize(1), 140);
    for (const Case c : {Case{0, 10, 60}, Case{0, 400, 150}, Case{1, 10, 130}, Case{1, 400, 200},
                         Case{1, 170, 170}}) {
        header->resizeSection(c.column, c.asked);
        EXPECT_EQ(header->sectionSize(c.column), c.kept) << c.column << " asked " << c.asked;
    }
    EXPECT_EQ(m_detail.certTableView()->rowHeight(0), 20);
    EXPECT_EQ(m_detail.certTableView()->textElideMode(), Qt::ElideRight);
}

TEST_F(CertActions, ExportWritesWhatOpensslWritesByTheFilesSuffixOrAlerts)
{
    const std::string leafDer = opensslCert("rsa-leaf", "-outform DER");
    const std::string leafPem = opensslCert("rsa-leaf", "-outform PEM");
    const std::string rootPem = opensslCert("rsa-root", "-outform PEM");
    const std::string interPem = opensslCert("rsa-inter", "-outform PEM");
    ASSERT_FALSE(leafDer.empty());
    ASSERT_EQ(leafPem.rfind("-----BEGIN CERTIFICATE-----\n", 0), 0u);

    QTableView *path = m_path.certTableView();
    struct Case {
        const char *file;
        QTableView *table;
        int row;
        const char *action;
        std::string expected;
    };
    const Case cases[] = {
        {"leaf.der", m_detail.certTableView(), -1, "exportAction", leafDer},
        {"leaf.cer", m_chooser.certTableView(), 0, "exportAction", leafDer},
        {"leaf.pem", m_detail.certTableView(), -1, "exportAction", leafPem},
        {"root.crt", path, 0, "exportAction", rootPem},
        {"chain.pem", path, -1, "exportChainAction", leafPem + interPem + rootPem},
        // Into a folder that cannot be written: an alert, and nothing left.
        {"not-a-folder/leaf.der", m_detail.certTableView(), -1, "exportAction", ""},
    };
    QFile blocker(m_dir.filePath(QStringLiteral("not-a-folder")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    for (const Case &c : cases) {
        SCOPED_TRACE(c.file);
        const AlertRecorder alerts;
        if (c.row >= 0)
            clickRow(c.table, c.row);
        QFile file(saveAs(QString::fromLatin1(c.file)));
        trigger(c.table, c.action);
        EXPECT_EQ(alerts.texts(),
                  c.expected.empty()
                      ? QStringList{QStringLiteral("无法写入文件“%1”，请选择可以写入的文件夹")
                                        .arg(file.fileName())}
                      : QStringList());
        EXPECT_EQ(file.open(QIODevice::ReadOnly), !c.expected.empty());
        EXPECT_EQ(file.readAll().toStdString(), c.expected);
    }
    EXPECT_EQ(QDir(m_dir.path()).entryList(QDir::Files),
              QString("chain.pem leaf.cer leaf.der leaf.pem not-a-folder root.crt").split(' '))
        << "no partial file left behind";
}

TEST_F(CertActions, FingerprintCheckNamesTheMatchingDigestInAnySpelling)
{
    trigger(m_detail.certTableView(), "fingerprintAction");
    auto *dialog = m_detail.window()->findChild<QWidget *>(QStringLiteral("fingerprintDlg"));
    ASSERT_NE(dialog, nullptr);
    auto *input = child<QLineEdit>(dialog, "fingerprintInput");
    const auto verdict = [&](const QString &typed) {
        input->setText(typed);
        return child<QLabel>(dialog, "fingerprintResult")->text();
    };
    const QString none = QStringLiteral("与证书的指纹都不一致");
    for (const char *md : {"MD5", "SHA1", "SHA256", "SHA512"}) {
        SCOPED_TRACE(md);
        // "SHA256 Fingerprint=AB:CD:..."
        const QString line = QString::fromStdString(
            opensslCert("rsa-leaf", std::string("-noout -fingerprint -") + md));
        const QString colons = line.section(QLatin1Char('='), 1).trimmed();
        ASSERT_FALSE(colons.isEmpty());
        const QString matched = QStringLiteral("与证书的 %1 指纹一致").arg(QLatin1String(md));
        QString plain = colons;
        plain.remove(QLatin1Char(':'));
        QString blanks = colons;
        blanks.replace(QLatin1Char(':'), QLatin1Char(' '));
        for (const QString &typed : {colons, colons.toLower(), plain, blanks, " " + plain + "\n"})
            EXPECT_EQ(verdict(typed), matched) << typed.toStdString();
        QString changed = plain;
        changed[5] = changed[5] == QLatin1Char('0') ? QLatin1Char('1') : QLatin1Char('0');
        EXPECT_EQ(verdict(changed), none);
        EXPECT_EQ(verdict(plain.chopped(2)), none) << "a digit short";
        EXPECT_EQ(verdict(plain.replace(0, 1, QLatin1Char('g'))), none);
    }
    EXPECT_EQ(verdict(QStringLiteral("指纹")), none);
    EXPECT_EQ(verdict(QStringLiteral("  ")), QString());
    dialog->close();
}

// The viewer over a parent returns at once, in a window of its own that the
// parent owns. Its path tab selects the viewed certificate and shows its
// status, with the reason as tooltip; viewing the root opens a second viewer
// over the first, whose "确定" only hides it, and the hidden one is released.
TEST_F(CertActions, ViewerOverAParentSelectsTheViewedCertAndViewsTheRootInASecond)
{
    QWidget parent;
    parent.show();
    EXPECT_EQ(TavikPKIUIDisplayCert(&parent, m_leaf.get()), 1);
    const auto viewers = parent.findChildren<QWidget *>(QStringLiteral("certViewerWindow"));
    ASSERT_EQ(viewers.size(), 1);
    const QPointer<QWidget> viewer = viewers.first();
    EXPECT_TRUE(viewer->isWindow() && viewer->isVisible());
    EXPECT_EQ(viewer->windowTitle(), QStringLiteral("证书"));
    EXPECT_EQ(viewer->size(), QSize(400, 450));

    // Its tabs in screen order.
    auto *tabs = child<QTabWidget>(viewer, "tabs");
    QStringList titles;
    for (int i = 0; i < tabs->count(); ++i)
        titles << tabs->tabText(i);
    EXPECT_EQ(titles, QString::fromUtf8("常规|详细信息|证书路径").split('|'));
    EXPECT_EQ(tabs->widget(1), viewer->findChild<pkiui::ShowCertDetailDlg *>());
    tabs->setCurrentIndex(2);
    auto *tab = qobject_cast<pkiui::ShowCertPathDlg *>(tabs->currentWidget());
    ASSERT_NE(tab, nullptr);
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
    const AlertRecorder alerts;
    const DialogScript script([](QWidget *) {});
    QWidget parent;
    EXPECT_EQ(pkiui::displayCert(nullptr, nullptr), 0);
    EXPECT_EQ(pkiui::displayCert(&parent, nullptr), 0);
    EXPECT_EQ(alerts.texts(), (QStringList{"读取证书信息失败", "读取证书信息失败"}));
    EXPECT_EQ(alerts.lastOwner(), &parent) << "over the parent when there is one";
    EXPECT_EQ(script.dialogsShown(), 0);
}

} // namespace
