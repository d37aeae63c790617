#include "dialog_window.hpp"

#include <QCloseEvent>
#include <QEventLoop>
#include <QHideEvent>
#include <QScreen>
#include <QVBoxLayout>

#include "test_seams.hpp"

namespace pkiui {

namespace {

Qt::WindowFlags flagsFor(TitleButtons buttons)
{
    Qt::WindowFlags flags =
        Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowMinimizeButtonHint;
    if (buttons == TitleButtons::CloseAndMinimise)
        flags |= Qt::WindowCloseButtonHint;
    return flags;
}

} // namespace

DialogWindow::DialogWindow(QWidget *parent, const QString &title, QSize contentSize,
                           TitleButtons buttons)
    : QWidget(parent, flagsFor(buttons))
{
    setWindowTitle(title);
    setFixedSize(contentSize);
    // Our windows coming and going must never end a Qt host's application.
    setAttribute(Qt::WA_QuitOnClose, false);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
}

void DialogWindow::setView(QWidget *view)
{
    layout()->addWidget(view);
}

void DialogWindow::centre()
{
    const QScreen *screen = parentWidget() ? parentWidget()->screen() : this->screen();
    if (!screen)
        return;
    QRect frame(QPoint(), size());
    frame.moveCenter(screen->availableGeometry().center());
    move(frame.topLeft());
}

void DialogWindow::closeEvent(QCloseEvent *event)
{
    if (m_refuseClose)
        event->ignore();
    else
        QWidget::closeEvent(event);
}

void DialogWindow::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    // Minimising is spontaneous and leaves the window alive.
    if (m_deleteWhenHidden && !event->spontaneous() && isHidden())
        deleteLater();
}

void runDialog(DialogWindow &window, DialogView &view)
{
    QEventLoop loop;
    // A view may finish before the loop starts (a hook answering at once);
    // quit() before exec() would be lost.
    bool done = false;
    const auto connection = QObject::connect(&view, &DialogView::finished, &loop, [&] {
        done = true;
        loop.quit();
    });
    window.setRefuseClose(true);
    window.centre();
    window.show();
    window.activateWindow();
    notifyDialogShown(&window);
    if (!done)
        loop.exec();
    QObject::disconnect(connection);
    window.setRefuseClose(false);
}

} // namespace pkiui
