#include "test_seams.hpp"

#include <QMessageBox>
#include <QString>

#include <mutex>

#include "alert.hpp"

namespace pkiui {

namespace {

// Hooks are set from a test's thread and called on the GUI thread.
std::mutex g_mutex;
std::function<void(QWidget *)> g_shownHook;
std::function<void(QWidget *, const QString &)> g_alertObserver;

template <class Fn> Fn copyOf(const Fn &fn)
{
    const std::lock_guard lock(g_mutex);
    return fn;
}

} // namespace

void setDialogShownHook(std::function<void(QWidget *)> hook)
{
    const std::lock_guard lock(g_mutex);
    g_shownHook = std::move(hook);
}

void notifyDialogShown(QWidget *window)
{
    if (const auto hook = copyOf(g_shownHook))
        hook(window);
}

void setAlertObserver(std::function<void(QWidget *, const QString &)> observer)
{
    const std::lock_guard lock(g_mutex);
    g_alertObserver = std::move(observer);
}

void showAlert(QWidget *owner, const QString &text)
{
    if (const auto observer = copyOf(g_alertObserver)) {
        observer(owner, text);
        return;
    }
    if (owner) {
        auto *box =
            new QMessageBox(QMessageBox::Information, QString(), text, QMessageBox::Ok, owner);
        box->setObjectName(QStringLiteral("alertBox"));
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setWindowModality(Qt::WindowModal);
        box->open();
        return;
    }
    QMessageBox box(QMessageBox::Information, QString(), text, QMessageBox::Ok);
    box.setObjectName(QStringLiteral("alertBox"));
    box.setAttribute(Qt::WA_QuitOnClose, false);
    box.show();
    notifyDialogShown(&box);
    box.exec();
}

} // namespace pkiui
