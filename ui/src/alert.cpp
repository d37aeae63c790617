#include "alert.hpp"

#include <QMessageBox>
#include <QString>

#include <memory>

#include "dialog_window.hpp"
#include "test_seams.hpp"

namespace pkiui {

namespace {

// Our own button: Qt's "OK" is English unless the host installed a translation.
QMessageBox *makeAlert(QWidget *owner, const QString &text)
{
    auto *box =
        new QMessageBox(QMessageBox::Information, QString(), text, QMessageBox::NoButton, owner);
    box->setObjectName(QStringLiteral("alertBox"));
    box->setTextFormat(Qt::PlainText);
    box->addButton(QStringLiteral("确定"), QMessageBox::AcceptRole);
    box->setAttribute(Qt::WA_QuitOnClose, false);
    return box;
}

} // namespace

void showAlert(QWidget *owner, const QString &text)
{
    if (alertObserved(owner, text))
        return;
    QMessageBox *box = makeAlert(owner, text);
    if (owner) {
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setWindowModality(modalityOver(owner));
        // Keyboard users answer it at once, and are back in owner after.
        QObject::connect(box, &QMessageBox::finished, owner, [owner] { owner->activateWindow(); });
        box->show(); // open() would make it window-modal whatever was asked
        box->activateWindow();
        return;
    }
    const std::unique_ptr<QMessageBox> owned(box);
    box->setWindowModality(Qt::ApplicationModal);
    box->show();
    notifyDialogShown(box);
    box->exec();
}

} // namespace pkiui
