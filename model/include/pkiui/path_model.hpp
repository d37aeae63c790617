// The certification path tab's rows: root first, the viewed certificate last,
// each with its subject common name and a status.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tavik_ptr.hpp"

namespace pkiui {

// One row; cert points into the model's path (or is the model's own
// duplicate) and is never freed by the row.
struct CertInfoModel {
    CertInfoModel(TAVIK_CERT_st *cert, std::string dpName, int32_t status)
        : status(status), cert(cert), displayName(std::move(dpName))
    {
    }
    int32_t status;
    TAVIK_CERT_st *cert;
    std::string displayName;
    // What verification found for this certificate, in words.
    std::string reason;
};

class ShowCertPathDlgModel {
  public:
    ShowCertPathDlgModel() = default;
    ~ShowCertPathDlgModel();
    ShowCertPathDlgModel(const ShowCertPathDlgModel &) = delete;
    ShowCertPathDlgModel &operator=(const ShowCertPathDlgModel &) = delete;

    // 0 for null; otherwise keeps a duplicate, builds the rows and returns 1.
    int setCertHandle(TAVIK_CERT_st *cert);

    const std::vector<CertInfoModel> &certPaths() const { return m_certPaths; }
    int numberOfRows() const { return static_cast<int>(m_certPaths.size()); }
    static constexpr int kRowHeight = 20;

    // row tabs, "|- " unless row 0, then the name; empty outside the rows.
    std::string cellText(int row) const;
    // The table is about to show row's cell: for the last row the model asks
    // selectRow(row) and then calls the callback with (nullptr, status text).
    void viewForRow(int row, const std::function<void(int row)> &selectRow);
    // The table's selection changed to row (-1 for none).
    void selectionDidChange(int row);
    // The reason of the row the callback reports: the row holding cert, the
    // last row for nullptr; empty without one.
    std::string reasonOf(const TAVIK_CERT_st *cert) const;

    // (certificate, or nullptr for the viewed one; status text)
    std::function<void(TAVIK_CERT_st *cert, const std::string &status)> showContentWhenUserSelect;

    // Verifies the model's own certificate whatever cert is.
    int32_t verifyCert(TAVIK_CERT_st *cert) const;
    static std::optional<std::string> GetCertStringAttribute(TAVIK_CERT_st *cert, int att);

  private:
    void initTreeCertPath();
    void initReasons();

    tavik::CertPtr m_pCert;
    tavik::CertPath m_certPath;
    std::vector<CertInfoModel> m_certPaths;
};

} // namespace pkiui
