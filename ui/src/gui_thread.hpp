// Where widgets live: the host's QApplication thread, or one GUI thread the
// library starts itself when the host has no Qt.
#pragma once

#include <functional>

namespace pkiui {

// Runs task on the GUI thread and waits until it returns: in place on that
// thread, otherwise handed over and waited for. Returns false, without running
// task, when no GUI thread can exist: a host whose application cannot show
// widgets (QGuiApplication, QCoreApplication), or no platform that answers to
// create a QApplication on.
bool runOnGuiThread(const std::function<void()> &task);

} // namespace pkiui
