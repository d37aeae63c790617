#include "test_seams.hpp"

#include <QString>

#include <mutex>

namespace pkiui {

namespace {

// Hooks are set from a test's thread and called on the GUI thread.
std::mutex g_mutex;
std::function<void(QWidget *)> g_shownHook;
std::function<void(QWidget *, const QString &)> g_alertObserver;
std::function<QString(const QString &)> g_saveAnswer;

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

bool alertObserved(QWidget *owner, const QString &text)
{
    const auto observer = copyOf(g_alertObserver);
    if (observer)
        observer(owner, text);
    return static_cast<bool>(observer);
}

void setSaveDialogAnswer(std::function<QString(const QString &)> answer)
{
    const std::lock_guard lock(g_mutex);
    g_saveAnswer = std::move(answer);
}

std::optional<QString> saveDialogAnswer(const QString &suggested)
{
    if (const auto answer = copyOf(g_saveAnswer))
        return answer(suggested);
    return std::nullopt;
}

} // namespace pkiui
