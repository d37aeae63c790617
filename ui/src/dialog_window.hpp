// The window around a dialog view, and the event loop a blocking dialog runs.
#pragma once

#include <QPointer>
#include <QSize>
#include <QWidget>

class QPushButton;

namespace pkiui {

// A dialog's content: it knows its window (the owner) and ends its event loop
// by emitting finished().
class DialogView : public QWidget {
    Q_OBJECT
  public:
    using QWidget::QWidget;

    void setOwner(QWidget *owner) { m_owner = owner; }
    QWidget *owner() const { return m_owner; }

    // Return (when no button has the focus) and Escape: the dialog's OK and
    // Cancel. The window's close button is Cancel too.
    virtual void acceptFromKeyboard() = 0;
    virtual void cancelFromKeyboard() = 0;

  signals:
    void finished();

  protected:
    // Return on a focused button presses it; otherwise Return and Escape go to
    // the two actions above, once no control inside has taken them.
    void keyPressEvent(QKeyEvent *event) override;

    QPointer<QWidget> m_owner;
};

// Title bar buttons: close and minimise, or minimise only (the viewer, which
// is closed with its own button).
enum class TitleButtons { CloseAndMinimise, MinimiseOnly };

// A top-level window of fixed content size holding one view, grown (never
// shrunk) where the view needs more at the user's font. With a parent it is
// still a separate window, owned by the parent.
class DialogWindow final : public QWidget {
    Q_OBJECT
  public:
    DialogWindow(QWidget *parent, const QString &title, QSize contentSize, TitleButtons buttons);

    // Takes the view, filled in, as the window's only content.
    void setView(DialogView *view);
    // Centres the window on its screen.
    void centre();
    // A viewer left over a parent is deleted when its button hides it.
    void setDeleteWhenHidden(bool remove) { m_deleteWhenHidden = remove; }

  protected:
    // The window manager's close is the view's Cancel: a blocking dialog must
    // never leave its caller waiting on a loop nobody can end.
    void closeEvent(QCloseEvent *event) override;
    void hideEvent(QHideEvent *event) override;

  private:
    QPointer<DialogView> m_view;
    QSize m_contentSize;
    bool m_deleteWhenHidden = false;
};

// Shows the window application-modal (usable over a host's own modal dialog,
// and keeping the host's other windows from re-entering a caller that waits)
// and runs an event loop until the view emits finished(). Nested calls nest
// loops.
void runDialog(DialogWindow &window, DialogView &view);

// The modality of a box over owner: application-modal over a blocking dialog,
// whose loop must not be re-entered, else modal to owner's window only.
Qt::WindowModality modalityOver(const QWidget *owner);

// A dialog button. A click leaves the keyboard focus where it was (in the
// password field, say); Tab still reaches it.
QPushButton *makeButton(QWidget *parent, const QString &text, const QString &name);

// A length the design fixes, or what the widget needs at the user's font when
// that is more.
QSize fitting(const QWidget *widget, QSize given);

// A list's row height: the given one, or the font's line and a margin when
// that is more.
int rowHeightFor(const QWidget *list, int given);

} // namespace pkiui
