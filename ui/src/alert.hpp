#pragma once

class QString;
class QWidget;

namespace pkiui {

// The one way the library tells the user something went wrong: an
// informational box, window-modal over owner (returns at once) when there is
// one, application-modal (returns when dismissed) otherwise.
void showAlert(QWidget *owner, const QString &text);

} // namespace pkiui
