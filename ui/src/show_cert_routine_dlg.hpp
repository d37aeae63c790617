// The "常规" tab: verdict, names, validity and type of one certificate.
#pragma once

#include <QWidget>

#include <memory>

#include "pkiui/routine_model.hpp"

class QLabel;

namespace pkiui {

class ShowCertRoutineDlg : public QWidget {
    Q_OBJECT
  public:
    explicit ShowCertRoutineDlg(QWidget *parent = nullptr);
    ~ShowCertRoutineDlg() override;

    // Reads every text once through the model; 1.
    virtual int setCertHandle(TAVIK_CERT_st *cert);

    QLabel *certStatusLabel() const { return m_certStatusLabel; }
    QLabel *subjectLabel() const { return m_subjectLabel; }
    QLabel *issuerLabel() const { return m_issuerLabel; }
    QLabel *validityLabel() const { return m_validityLabel; }
    QLabel *certTypeLabel() const { return m_certTypeLabel; }

  private:
    void layoutSubViews();
    QWidget *stackViewFor(int index, QLabel *&value);

    std::unique_ptr<ShowCertRoutineDlgModel> m_model;
    QLabel *m_certStatusLabel = nullptr;
    QLabel *m_subjectLabel = nullptr;
    QLabel *m_issuerLabel = nullptr;
    QLabel *m_validityLabel = nullptr;
    QLabel *m_certTypeLabel = nullptr;
};

} // namespace pkiui
