// Every dialog of the library in each state a user meets, for checks that
// hold for all of them alike.
#pragma once

#include <QSize>

#include <functional>
#include <string>

class QWidget;

namespace uitest {

struct Surface {
    QWidget *window;   // the window the user sees in this state
    std::string where; // names the dialog and state in failure messages
    QSize given;       // the window's size by design; empty for an alert
};

// Opens the chooser, the password and PIN prompts, the viewer on each of its
// tabs and an alert, calls check on each while it is shown, then closes it.
void tourDialogs(const std::function<void(const Surface &)> &check);

} // namespace uitest
