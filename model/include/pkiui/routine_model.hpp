// The general tab's texts: verdict, names, validity and certificate type.
#pragma once

#include <cstdint>
#include <string>

#include "tavik_ptr.hpp"

namespace pkiui {

class ShowCertRoutineDlgModel {
  public:
    ShowCertRoutineDlgModel() = default;
    ShowCertRoutineDlgModel(const ShowCertRoutineDlgModel &) = delete;
    ShowCertRoutineDlgModel &operator=(const ShowCertRoutineDlgModel &) = delete;

    // Keeps a duplicate and fills every text; returns 1.
    int setCertHandle(TAVIK_CERT_st *cert);

    const std::string &certStatusText() const { return m_certStatus; }
    const std::string &subjectText() const { return m_subject; }
    const std::string &issuerText() const { return m_issuer; }
    const std::string &validityText() const { return m_validity; }
    const std::string &certTypeText() const { return m_certType; }
    // The code behind the verdict.
    int32_t status() const { return m_status; }

    // The date of a UTC time in the local zone, "%04d/%02d/%02d"; the UTC date
    // with " UTC" when the conversion fails.
    static std::string FormatTime(const tavik_time *time);

    bool isCACert() const;
    // True when now lies within the validity period (despite the name).
    bool getInValidity() const;
    int32_t verifyCert() const;

  private:
    void getCertInfo();
    void getIssuer();
    void getCommonName();
    void getValidity();
    void getCertType();

    tavik::CertPtr m_pCert;
    std::string m_certStatus;
    std::string m_subject;
    std::string m_issuer;
    std::string m_validity;
    std::string m_certType;
    int32_t m_status = 0;
};

} // namespace pkiui
