#include "pwd_layout.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include <algorithm>

#include "secret.hpp"

namespace pkiui {

QLabel *makeHeaderLabel(QWidget *parent)
{
    auto *label = new QLabel(QStringLiteral("正在使用XXX的证书对应的私钥进行签名"), parent);
    label->setObjectName(QStringLiteral("headerLabel"));
    QFont font = label->font();
    font.setBold(true);
    font.setPointSize(14);
    label->setFont(font);
    label->setTextFormat(Qt::PlainText);
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    return label;
}

QLabel *makeTipLabel(QWidget *parent, const QString &text, const QString &name)
{
    auto *label = new QLabel(text, parent);
    label->setObjectName(name);
    return label;
}

QLineEdit *makePasswordField(QWidget *parent)
{
    auto *field = new QLineEdit(parent);
    field->setObjectName(QStringLiteral("passwordField"));
    field->setEchoMode(QLineEdit::Password);
    clearField(field);
    field->setFocus();
    return field;
}

QBoxLayout *makeRow(QWidget *leading, QWidget *trailing, int height)
{
    auto *row = new QHBoxLayout;
    row->addWidget(leading, 0, Qt::AlignVCenter);
    row->addStretch();
    row->addWidget(trailing, 1, Qt::AlignVCenter);
    leading->setFixedHeight(height);
    trailing->setFixedHeight(std::min(height, trailing->sizeHint().height()));
    return row;
}

QBoxLayout *makeEqualRow(QWidget *leading, QWidget *trailing, int height)
{
    auto *row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(leading, 1);
    row->addWidget(trailing, 1);
    leading->setFixedHeight(height);
    trailing->setFixedHeight(height);
    return row;
}

QBoxLayout *makeButtonRow(QPushButton *cancel, QPushButton *ok)
{
    auto *row = new QHBoxLayout;
    row->setSpacing(60);
    row->addWidget(cancel);
    row->addStretch();
    row->addWidget(ok);
    return row;
}

} // namespace pkiui
