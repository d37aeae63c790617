// The "证书路径" tab.
#pragma once

#include <QPointer>
#include <QWidget>

#include "tavik_pki.h"

namespace pkiui {

class ShowCertPathDlg : public QWidget {
    Q_OBJECT
  public:
    using QWidget::QWidget;
    virtual int setCertHandle(TAVIK_CERT_st *) { return 1; }
    void setOwner(QWidget *owner) { m_owner = owner; }

  private:
    QPointer<QWidget> m_owner;
};

} // namespace pkiui
