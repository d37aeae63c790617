#include "viewer_trace.hpp"

#include <QDir>
#include <QPixmap>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QTabBar>
#include <QTabWidget>
#include <QTableView>
#include <QTimer>

#include <cstdio>
#include <cstdlib>

#include "test_seams.hpp"

namespace pkiui::demo {

namespace {

void at(int n, const char *name, QWidget *widget, QPoint local)
{
    const QPoint p = widget->mapToGlobal(local);
    std::printf("at %d %s %d %d\n", n, name, p.x(), p.y());
}

void tableRow(int n, const char *name, QWidget *page, int row)
{
    auto *table = page ? page->findChild<QTableView *>(QStringLiteral("certTableView")) : nullptr;
    if (table && row < table->model()->rowCount())
        at(n, name, table->viewport(), table->visualRect(table->model()->index(row, 0)).center());
}

void shoot(QWidget *window, const QString &name)
{
    const QString dir = QString::fromLocal8Bit(qgetenv("PKIUI_DEMO_SHOTS"));
    if (dir.isEmpty() || !window->screen())
        return;
    QDir().mkpath(dir);
    const QRect frame = window->frameGeometry();
    window->screen()
        ->grabWindow(0, frame.x(), frame.y(), frame.width(), frame.height())
        .save(QDir(dir).absoluteFilePath(name));
}

// Controls of the tab on show, once its layout has settled.
void report(int n, QWidget *window, QTabWidget *tabs)
{
    QTabBar *bar = tabs->tabBar();
    for (int i = 0; i < tabs->count(); ++i)
        at(n, qPrintable(QStringLiteral("tab%1").arg(i)), bar, bar->tabRect(i).center());
    auto *ok = window->findChild<QPushButton *>(QStringLiteral("okButton"));
    at(n, "okButton", ok, ok->rect().center());
    QWidget *page = tabs->currentWidget();
    if (tabs->currentIndex() == 1)
        tableRow(n, "detailRow", page, 1);
    if (tabs->currentIndex() == 2) {
        tableRow(n, "pathRoot", page, 0);
        if (auto *look = page->findChild<QPushButton *>(QStringLiteral("lookUpButton")))
            at(n, "lookUpButton", look, look->rect().center());
    }
    std::fflush(stdout);
    shoot(window, QStringLiteral("x11-%1-%2.png").arg(n).arg(tabs->currentIndex()));
}

} // namespace

void traceViewersIfAsked()
{
    if (!std::getenv("PKIUI_DEMO_TRACE"))
        return;
    // The hook is copied for each call: the count lives outside it.
    static int count = 0;
    setDialogShownHook([](QWidget *window) {
        auto *tabs = window->findChild<QTabWidget *>(QStringLiteral("tabs"));
        if (!tabs)
            return;
        const int n = ++count;
        const auto later = [n, window = QPointer(window), tabs] {
            QTimer::singleShot(300, tabs, [=] {
                if (window)
                    report(n, window, tabs);
            });
        };
        QObject::connect(tabs, &QTabWidget::currentChanged, tabs, later);
        if (auto *pane = window->findChild<QPlainTextEdit *>(QStringLiteral("detailValue")))
            QObject::connect(pane, &QPlainTextEdit::textChanged, pane, [n, pane, window] {
                const QString text = pane->toPlainText();
                std::printf("content %d %s\n", n,
                            text.section(QLatin1Char('\n'), 0, 0).toUtf8().constData());
                std::fflush(stdout);
                QTimer::singleShot(200, pane, [n, window] {
                    shoot(window, QStringLiteral("x11-%1-content.png").arg(n));
                });
            });
        later();
    });
}

} // namespace pkiui::demo
