// Context-menu actions the certificate lists share: copying to the clipboard
// and writing certificates to files.
#pragma once

#include <QKeySequence>

#include <functional>
#include <string>
#include <vector>

#include "tavik_pki.h"

class QAbstractItemView;
class QWidget;

namespace pkiui {

struct ListAction {
    const char *text = nullptr;       // null: a separator
    const char *name = nullptr;       // object name
    std::function<void(int row)> run; // with the selected row, or -1
    bool needsRow = true;             // greyed out, and does nothing, with no row selected
    QKeySequence::StandardKey shortcut = QKeySequence::UnknownKey; // while the view has the focus
};

// A context menu on view, opened by the right button or the Menu key, with the
// actions in order.
void addContextMenu(QAbstractItemView *view, const std::vector<ListAction> &actions);

// Model text to the clipboard, with the line ends the text pane's own copy gives.
void copyText(const std::string &text);

// Asks where to save cert and writes its DER or PEM (by the file's suffix, else
// by the chosen filter). A failure leaves no file and is alerted over parent.
void exportCertificate(QWidget *parent, TAVIK_CERT_st *cert);
// The same for a chain, always PEM, the certificates in the order given.
void exportChain(QWidget *parent, const std::vector<TAVIK_CERT_st *> &certs);

// Shows the fingerprint check for cert over parent and returns at once.
void openFingerprintCheck(QWidget *parent, TAVIK_CERT_st *cert);

} // namespace pkiui
