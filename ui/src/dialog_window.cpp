#include "dialog_window.hpp"

#include <QAbstractButton>
#include <QCloseEvent>
#include <QEventLoop>
#include <QHideEvent>
#include <QKeyEvent>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

#include <algorithm>

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

void DialogView::keyPressEvent(QKeyEvent *event)
{
    const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    switch (plain ? event->key() : 0) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (auto *button = qobject_cast<QAbstractButton *>(focusWidget()))
            button->click();
        else
            acceptFromKeyboard();
        break;
    case Qt::Key_Escape:
        cancelFromKeyboard();
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

DialogWindow::DialogWindow(QWidget *parent, const QString &title, QSize contentSize,
                           TitleButtons buttons)
    : QWidget(parent, flagsFor(buttons)), m_contentSize(contentSize)
{
    setWindowTitle(title);
    setFixedSize(contentSize);
    // Our windows coming and going must never end a Qt host's application.
    setAttribute(Qt::WA_QuitOnClose, false);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
}

void DialogWindow::setView(DialogView *view)
{
    m_view = view;
    layout()->addWidget(view);
    ensurePolished();
    setFixedSize(m_contentSize.expandedTo(layout()->totalMinimumSize()));
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
    // The view decides whether the window goes (it hides it, or its caller
    // releases it once the loop has ended).
    event->ignore();
    if (m_view)
        m_view->cancelFromKeyboard();
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
    window.setWindowModality(Qt::ApplicationModal);
    window.centre();
    window.show();
    window.activateWindow();
    notifyDialogShown(&window);
    if (!done)
        loop.exec();
    QObject::disconnect(connection);
}

Qt::WindowModality modalityOver(const QWidget *owner)
{
    return owner && owner->window()->windowModality() == Qt::ApplicationModal ? Qt::ApplicationModal
                                                                              : Qt::WindowModal;
}

QPushButton *makeButton(QWidget *parent, const QString &text, const QString &name)
{
    auto *button = new QPushButton(text, parent);
    button->setObjectName(name);
    button->setAutoDefault(false);
    button->setFocusPolicy(Qt::TabFocus);
    return button;
}

QSize fitting(const QWidget *widget, QSize given)
{
    return given.expandedTo(widget->sizeHint());
}

int rowHeightFor(const QWidget *list, int given)
{
    return std::max(given, list->fontMetrics().height() + 4);
}

} // namespace pkiui
