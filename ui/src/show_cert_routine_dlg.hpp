// The "常规" tab.
#pragma once

#include <QWidget>

#include "tavik_pki.h"

namespace pkiui {

class ShowCertRoutineDlg : public QWidget {
    Q_OBJECT
  public:
    using QWidget::QWidget;
    virtual int setCertHandle(TAVIK_CERT_st *) { return 1; }
};

} // namespace pkiui
