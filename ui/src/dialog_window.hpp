// The window around a dialog view, and the event loop a blocking dialog runs.
#pragma once

#include <QPointer>
#include <QSize>
#include <QWidget>

namespace pkiui {

// A dialog's content: it knows its window (the owner) and ends its event loop
// by emitting finished().
class DialogView : public QWidget {
    Q_OBJECT
  public:
    using QWidget::QWidget;

    void setOwner(QWidget *owner) { m_owner = owner; }
    QWidget *owner() const { return m_owner; }

  signals:
    void finished();

  protected:
    QPointer<QWidget> m_owner;
};

// Title bar buttons: close and minimise, or minimise only (the viewer, which
// is closed with its own button).
enum class TitleButtons { CloseAndMinimise, MinimiseOnly };

// A top-level window of fixed content size holding one view. With a parent it
// is still a separate window, owned by the parent.
class DialogWindow final : public QWidget {
    Q_OBJECT
  public:
    DialogWindow(QWidget *parent, const QString &title, QSize contentSize, TitleButtons buttons);

    // Takes the view as the window's only content.
    void setView(QWidget *view);
    // Centres the window on its screen.
    void centre();
    // A blocking dialog ends only through its buttons, so the window manager
    // cannot leave its caller waiting on a loop nobody can end.
    void setRefuseClose(bool refuse) { m_refuseClose = refuse; }
    // A viewer left over a parent is deleted when its button hides it.
    void setDeleteWhenHidden(bool remove) { m_deleteWhenHidden = remove; }

  protected:
    void closeEvent(QCloseEvent *event) override;
    void hideEvent(QHideEvent *event) override;

  private:
    bool m_refuseClose = false;
    bool m_deleteWhenHidden = false;
};

// Shows the window and runs an event loop until the view emits finished().
// Nested calls nest loops.
void runDialog(DialogWindow &window, DialogView &view);

} // namespace pkiui
