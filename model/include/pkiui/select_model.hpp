// The candidates of the certificate chooser: the model's own duplicates, the
// six column texts read from the toolkit on demand, and the selected row.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tavik_ptr.hpp"

namespace pkiui {

inline constexpr std::string_view subjectColumnIdentifier = "subjectColumn";
inline constexpr std::string_view certTypeColumnIdentifier = "certTypeColumn";
inline constexpr std::string_view usageColumnColumnIdentifier = "usageColumn";
inline constexpr std::string_view validateColumnIdentifier = "validateColumn";
inline constexpr std::string_view issuerColumnIdentifier = "issuerColumn";
inline constexpr std::string_view otherNameColumnIdentifier = "otherNameColumn";

// The usage column's text for a key-usage mask; nullopt is a failed query.
std::string usageText(std::optional<std::int64_t> mask);

class SelectCertDlgModel {
  public:
    static constexpr int kRowHeight = 20;

    SelectCertDlgModel() = default;
    ~SelectCertDlgModel();
    SelectCertDlgModel(const SelectCertDlgModel &) = delete;
    SelectCertDlgModel &operator=(const SelectCertDlgModel &) = delete;

    // Duplicates every handle; one that cannot be duplicated leaves the model
    // empty. Called once per model.
    void setCertificateHandles(TAVIK_CERT_st *const *certs, int count);
    // The model's handle, or null outside 0..count-1.
    TAVIK_CERT_st *handleAtIndex(int index) const;
    int numberOfRows() const { return static_cast<int>(m_hCerts.size()); }
    int heightOfRow(int) const { return kRowHeight; }

    // A cell's text from a fresh toolkit query; nullopt for "no string" and
    // for an unknown identifier.
    std::optional<std::string> getValueForColumnIdentifier(std::string_view identifier,
                                                           TAVIK_CERT_st *cert) const;
    // What the cell of a row shows: empty for no handle or no string.
    std::string cellText(int row, std::string_view identifier) const;
    // How many cell texts have been computed, each with its toolkit queries.
    std::uint64_t cellQueries() const { return m_cellQueries; }

    // "YYYYMMDD..." to "YYYY-MM-DD" and a NUL in 12 bytes of formattedTime;
    // nothing when either is null.
    static void formatTimeFromString(const char *source, char *formattedTime);

    int selectedRowIndex() const { return m_selectedRowIndex; }
    void setSelectedRowIndex(int row) { m_selectedRowIndex = row; }
    // The table's selection changed to row (-1 for none), truncated to 32 bits.
    void tableViewSelectionDidChange(long long row)
    {
        m_selectedRowIndex = static_cast<std::int32_t>(row);
    }

  private:
    std::vector<tavik::CertPtr> m_hCerts;
    int m_selectedRowIndex = -1;
    mutable std::uint64_t m_cellQueries = 0;
};

} // namespace pkiui
