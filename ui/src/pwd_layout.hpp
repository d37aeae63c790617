// Widgets shared by the two password dialogs.
#pragma once

#include <QString>

class QBoxLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QWidget;

namespace pkiui {

// Bold 14-point message line with the default text until a message is set;
// the host's message is plain text, never markup, and never widens the window.
QLabel *makeHeaderLabel(QWidget *parent);
QLabel *makeTipLabel(QWidget *parent, const QString &text, const QString &name);
// Has the focus when the dialog opens.
QLineEdit *makePasswordField(QWidget *parent);
// A label at the leading edge and a widget at the trailing edge, of fixed height.
QBoxLayout *makeRow(QWidget *leading, QWidget *trailing, int height);
// Two widgets sharing the width equally, of fixed height, without margins.
QBoxLayout *makeEqualRow(QWidget *leading, QWidget *trailing, int height);
// Cancel on the left, OK on the right, at least 60 pixels apart.
QBoxLayout *makeButtonRow(QPushButton *cancel, QPushButton *ok);

} // namespace pkiui
