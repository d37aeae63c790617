// The certificate chooser through its entry, driven as a user would.
#include <QHeaderView>
#include <QPointer>
#include <QTableView>
#include <QTest>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Tavik_PKI_Crypto_UI.h"
#include "select_cert_dlg.hpp"
#include "ui_test_support.hpp"

namespace {

using namespace uitest;

std::string subjectOf(TAVIK_CERT_st *cert)
{
    return pkiui::test::textAttribute(cert, TAVIK_ATTR_SUBJECT_CN).value_or("(none)");
}

QTableView *tableOf(QWidget *window)
{
    return child<QTableView>(window, "certTableView");
}

class SelectCert : public ::testing::Test {
  protected:
    // Runs the chooser over the first count of root, intermediate and leaf.
    tavik::CertPtr run(std::function<void(QWidget *)> script, int count = 3)
    {
        m_script.emplace(std::move(script)); // the old one's destructor removes its hook first
        return tavik::CertPtr(TavikPKIUISelectCert(nullptr, nullptr, nullptr, m_certs, count));
    }

    const tavik::CertPtr m_root = loadCert("rsa-root"), m_inter = loadCert("rsa-inter"),
                         m_leaf = loadCert("rsa-leaf");
    TAVIK_CERT_st *m_certs[3] = {m_root.get(), m_inter.get(), m_leaf.get()};
    std::optional<DialogScript> m_script;
};

TEST_F(SelectCert, OkReturnsADuplicateOfTheChosenCertificate)
{
    const tavik::CertPtr chosen = run([&](QWidget *window) {
        QTableView *table = tableOf(window);
        QStringList headers, firstRow;
        std::vector<int> widths;
        for (int c = 0; c < table->model()->columnCount(); ++c) {
            headers << table->model()->headerData(c, Qt::Horizontal).toString();
            widths.push_back(table->columnWidth(c));
            firstRow << table->model()->index(0, c).data().toString();
        }
        EXPECT_EQ(headers,
                  QString::fromUtf8("颁发给|类型|用法|截止日期|颁发者|好记名称").split('|'));
        EXPECT_EQ(widths, (std::vector<int>{100, 50, 60, 80, 300, 100}));
        EXPECT_EQ(firstRow.mid(0, 3), QString::fromUtf8("Tavik Test Root CA|RSA|签名").split('|'));
        EXPECT_EQ(table->verticalHeader()->defaultSectionSize(), 20);
        clickRow(table, 2);
        click(window, "okButton");
    });
    ASSERT_NE(chosen, nullptr);
    EXPECT_NE(chosen.get(), m_leaf.get()) << "a fresh handle, not the caller's";
    EXPECT_EQ(subjectOf(chosen.get()), "Leaf RSA");
    EXPECT_EQ(m_script->lastSize(), QSize(552, 200));
}

TEST_F(SelectCert, CancelOrNoRowOrEmptyListReturnsNull)
{
    struct Case {
        int row; // -1: none selected
        const char *button;
        int count;
    };
    for (const Case c :
         {Case{1, "cancelButton", 3}, Case{-1, "okButton", 3}, Case{-1, "okButton", 0}}) {
        const tavik::CertPtr chosen = run(
            [&](QWidget *window) {
                if (c.row >= 0)
                    clickRow(tableOf(window), c.row);
                click(window, c.button);
            },
            c.count);
        EXPECT_EQ(chosen, nullptr) << c.button << " " << c.row << " of " << c.count;
        EXPECT_EQ(m_script->dialogsShown(), 1) << "the empty list is shown too";
    }
}

TEST_F(SelectCert, DoubleClickShowsTheViewerAndTheDialogRunsOn)
{
    QPointer<QWidget> viewer;
    const tavik::CertPtr chosen = run([&](QWidget *window) {
        if (window->objectName() == QLatin1String("certViewerWindow")) {
            viewer = window;
            return;
        }
        QTableView *table = tableOf(window);
        const QRect cell = table->visualRect(table->model()->index(1, 0));
        // A widget's double-click event comes after the press and release.
        clickRow(table, 1);
        QTest::mouseDClick(table->viewport(), Qt::LeftButton, {}, cell.center());
        QTest::qWait(0); // the viewer's own script runs queued
        EXPECT_TRUE(viewer && viewer->isVisible() && viewer->parentWidget() == window)
            << "shown over the dialog";
        EXPECT_TRUE(window->isVisible());
        click(window, "okButton");
    });
    ASSERT_NE(chosen, nullptr) << "the double-clicked row stays selected";
    EXPECT_EQ(subjectOf(chosen.get()), "Tavik Test Intermediate CA");
    EXPECT_EQ(viewer, nullptr) << "the viewer went with the dialog";
}

// Texts are asked for the cells painted, not for every row.
TEST_F(SelectCert, ManyRowsQueryOnlyTheVisibleCells)
{
    constexpr int kRows = 10000;
    std::vector<TAVIK_CERT_st *> many(kRows, m_leaf.get());
    m_script.emplace([&](QWidget *window) {
        const auto &model = child<pkiui::SelectCertDlg>(window, "selectCertDlg")->dlgModel();
        QTableView *table = tableOf(window);
        EXPECT_EQ(table->model()->rowCount(), kRows);
        const QSize viewport = table->viewport()->size();
        const auto visibleCells =
            static_cast<std::uint64_t>((table->rowAt(viewport.height() - 1) + 1) *
                                       (table->columnAt(viewport.width() - 1) + 1));
        EXPECT_GT(visibleCells, 0u);
        const std::uint64_t before = model.cellQueries();
        (void)window->grab();
        EXPECT_EQ(model.cellQueries() - before, visibleCells) << "one query per visible cell";
        QTest::qWait(20); // whatever painting showing it queued
        EXPECT_LE(model.cellQueries(), 3 * visibleCells) << "a few paints of the visible cells";
        click(window, "cancelButton");
    });
    EXPECT_EQ(TavikPKIUISelectCert(nullptr, nullptr, nullptr, many.data(), kRows), nullptr);
    EXPECT_EQ(m_script->dialogsShown(), 1);
}

} // namespace
