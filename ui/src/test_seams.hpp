// Seams for tests and end-to-end tools: see dialogs appear and read alerts
// without a modal box blocking the run.
#pragma once

#include <functional>
#include <optional>

class QString;
class QWidget;

namespace pkiui {

// Called on the GUI thread each time a dialog window (or an alert box shown
// without an owner) has been shown, before its event loop starts. An empty
// function removes the hook.
void setDialogShownHook(std::function<void(QWidget *window)> hook);
void notifyDialogShown(QWidget *window);

// While set, alerts are handed to the observer instead of being shown.
void setAlertObserver(std::function<void(QWidget *owner, const QString &text)> observer);
// Hands the alert to the observer, if one is set; false when there is none.
bool alertObserved(QWidget *owner, const QString &text);

// While set, save dialogs are answered by it instead of being shown: the
// suggested path in, the chosen one out (empty for Cancel).
void setSaveDialogAnswer(std::function<QString(const QString &suggested)> answer);
// The answer, if one is set.
std::optional<QString> saveDialogAnswer(const QString &suggested);

} // namespace pkiui
