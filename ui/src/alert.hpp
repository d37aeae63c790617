#pragma once

class QString;
class QWidget;

namespace pkiui {

// The one way the library tells the user something went wrong: an
// informational box with a single "确定", its text plain. Over owner it
// returns at once and is as modal as owner (application-modal over a blocking
// dialog, window-modal over a host's window); without one it is
// application-modal and returns when dismissed.
void showAlert(QWidget *owner, const QString &text);

} // namespace pkiui
