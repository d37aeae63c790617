#include "ui_test_support.hpp"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include <memory>

#include "test_seams.hpp"

namespace uitest {

namespace {

// The host of this suite uses Qt: its QApplication lives on the main thread,
// where the tests run.
class QtHostEnvironment final : public ::testing::Environment {
  public:
    void SetUp() override
    {
        static int argc = 1;
        static char name[] = "ui_tests";
        static char *argv[] = {name, nullptr};
        m_app = std::make_unique<QApplication>(argc, argv);
    }
    void TearDown() override { m_app.reset(); }

  private:
    std::unique_ptr<QApplication> m_app;
};

[[maybe_unused]] const auto *const g_environment =
    ::testing::AddGlobalTestEnvironment(new QtHostEnvironment);

} // namespace

DialogScript::DialogScript(std::function<void(QWidget *)> script)
{
    pkiui::setDialogShownHook([this, script](QWidget *window) {
        ++m_shown;
        m_title = window->windowTitle();
        m_size = window->size();
        m_flags = window->windowFlags();
        // Queued, so that the script runs inside the dialog's event loop.
        QTimer::singleShot(0, window, [script, window] {
            try {
                script(window);
            } catch (const std::exception &e) {
                ADD_FAILURE() << e.what();
                // Ends the dialog so that a broken script fails instead of hanging.
                for (const char *name : {"cancelButton", "okButton"}) {
                    if (auto *button =
                            window->findChild<QPushButton *>(QString::fromLatin1(name))) {
                        button->click();
                        break;
                    }
                }
            }
        });
    });
}

DialogScript::~DialogScript()
{
    pkiui::setDialogShownHook({});
}

AlertRecorder::AlertRecorder()
{
    pkiui::setAlertObserver([this](QWidget *owner, const QString &text) {
        m_texts << text;
        m_owner = owner;
    });
}

AlertRecorder::~AlertRecorder()
{
    pkiui::setAlertObserver({});
}

void typeText(QWidget *window, const QString &text)
{
    auto *field = child<QLineEdit>(window, "passwordField");
    // QTest maps only ASCII to keys; an input method delivers the rest as text.
    for (const QChar ch : text) {
        const Qt::Key key = ch.unicode() < 128 ? QTest::asciiToKey(ch.toLatin1()) : Qt::Key_unknown;
        QTest::sendKeyEvent(QTest::Click, field, key, QString(ch), Qt::NoModifier);
    }
}

void click(QWidget *window, const char *button)
{
    QTest::mouseClick(child<QPushButton>(window, button), Qt::LeftButton);
}

void clickRow(QTableView *table, int row)
{
    const QRect cell = table->visualRect(table->model()->index(row, 0));
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, cell.center());
}

} // namespace uitest
