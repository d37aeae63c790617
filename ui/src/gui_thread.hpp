// Where widgets live: the host's QApplication thread, or one GUI thread the
// library starts itself when the host has no Qt.
#pragma once

#include <functional>

namespace pkiui {

// Runs task on the GUI thread and waits until it returns: in place on that
// thread, otherwise through a blocking queued call. Returns false, without
// running task, when no GUI thread can exist (a bare QCoreApplication, or no
// display to create a QApplication on).
bool runOnGuiThread(const std::function<void()> &task);

// True when some display is named in the environment, so that creating a
// QApplication would not make Qt abort the process.
bool displayConfigured();

// Stops the library's own GUI thread, if it started one; safe to call twice.
void stopOwnGuiThread();

} // namespace pkiui
