// One certificate as the ordered, labelled rows of the detail list.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tavik_ptr.hpp"

namespace pkiui {

// The OIDs that have a decoder of their own, in the order they are matched.
std::vector<std::string_view> decodedExtensionOids();

// Row kind bits; a row may carry several.
enum RowKind : unsigned {
    kVersion1Field = 1,
    kExtension = 2,
    kCriticalExtension = 4,
    kTavikExtension = 8,
    kAttribute = 16,
    kAllRows = 31,
};

// Value and content of a field that cannot be read.
inline constexpr const char *kUnavailable = "(信息不可用或为空)";

struct CertDetailInfoItem {
    std::string name;
    std::string value;
    std::string content;
    unsigned type = 0;
};

class ShowCertDetailDlgModel {
  public:
    ShowCertDetailDlgModel();
    ~ShowCertDetailDlgModel();
    ShowCertDetailDlgModel(const ShowCertDetailDlgModel &) = delete;
    ShowCertDetailDlgModel &operator=(const ShowCertDetailDlgModel &) = delete;

    // Keeps a duplicate of cert and reads every field; false for null.
    bool setCertHandle(TAVIK_CERT_st *cert);

    // The filter: a pop-up position (0..5) or a kind mask.
    void switchToIndex(int index);
    void setSelectedIndex(unsigned mask);
    unsigned selectedIndex() const { return m_selectedIndex; }

    // Row names in the order added (a repeated name appears twice), and those
    // the filter keeps. Every name is a key of the rows.
    const std::vector<std::string> &keys() const { return m_keys; }
    const std::vector<std::string> &displayKeys() const { return m_displayKeys; }
    // The row stored under a name (the later one when a name repeats).
    const CertDetailInfoItem *item(const std::string &name) const;

    // The table: rows under the filter, and a selection that shows content.
    int numberOfRows() const { return static_cast<int>(m_displayKeys.size()); }
    const CertDetailInfoItem *rowAt(int row) const;
    void selectionDidChange(int row) const;
    std::function<void(const std::string &content)> showContent;

    void AddCertInfo(const std::string &name, std::string value, std::string content,
                     unsigned type);

    // ---- Shared formatting; nullopt where a reader would get nothing. ----

    // Upper-case hex, one blank between bytes.
    static std::optional<std::string> GetHexNumber(const unsigned char *data, std::size_t length);
    // The same for a toolkit blob; nullopt for none.
    static std::optional<std::string> GetHexNumber(const tavik_data_blob *blob);
    // "label = value" for every attribute of the name, in stored order.
    static std::optional<std::vector<std::string>> GetAttributeByDn(const tavik_cert_dn *dn);
    static int AddAttrItemByOid(std::vector<std::string> &list,
                                const tavik_cert_attrtypeandvalue *attr);
    // 2024年03月05日 08:00:00 in local time (" UTC" appended when the
    // conversion fails).
    static std::string FormatTime(const tavik_time *time);
    static std::optional<std::string> GetBitSet(const tavik_bitset *bits);
    static std::optional<std::string> GetBigInt(const tavik_biginteger *number);
    static std::optional<std::string> GetDecBigInt(const tavik_biginteger *number);
    static std::optional<std::string> GetAlgorithmParam(const tavik_cert_algorithmid *alg);
    static std::string GetSignatureAlgorithmByOid(const std::string &oid);
    static std::string GetPublicKeyAlgorithmByOid(const std::string &oid);
    // Unbroken hex digest of the certificate's DER for a digest code
    // (0x1000 MD5, 0x2000 SHA1, 0x4000 SHA256, 0x6000 SHA512).
    static std::optional<std::string> ContractAThumbprint(TAVIK_CERT_st *cert, int algo);

    // ---- Strings ----

    // A toolkit string to display text, through the wide conversion.
    static std::optional<std::string> GetNSStringFromUString(const tavik_ustring *string);
    // UTF-8 bytes to display text, through a toolkit string.
    static std::optional<std::string> UTF8String2NSString(const unsigned char *bytes,
                                                          std::size_t length);

    // ---- Raw extension values under a configured method ----

    // Decodes the value by method name ("UTF8String", "Integer", ...).
    static bool DecodeUnkownExtValue(const tavik_data_blob &value, const std::string &method,
                                     std::string &text);
    static std::optional<std::string> DecodeNULLExtValue(const tavik_data_blob &value);

    // ---- General names and subtrees: one line each; nullopt on failure ----

    // One text per name in stored order; nullopt when any name fails.
    static std::optional<std::vector<std::string>>
    GetGeneralNames(const tavik_cert_generalnames *names);
    // By the name's choice; types 3 and 4 end without a line break.
    static std::optional<std::string> GetGeneralName(const tavik_cert_generalname *name);
    static std::optional<std::string> GetOtherName(const tavik_cert_generalname *name);
    static std::optional<std::string> GetRFC822Name(const tavik_cert_generalname *name);
    static std::optional<std::string> GetDNSName(const tavik_cert_generalname *name);
    static std::optional<std::string> GetURI(const tavik_cert_generalname *name);
    static std::optional<std::string> GetDirName(const tavik_cert_generalname *name);
    static std::optional<std::string> GetEDIName(const tavik_cert_generalname *name);
    static std::optional<std::string> GetIP(const tavik_cert_generalname *name);
    static std::optional<std::string> GetRegID(const tavik_cert_generalname *name);
    static std::optional<std::vector<std::string>>
    GetGeneralSubtrees(const tavik_cert_generalsubtrees *subtrees);
    // "(min..max)", a line break, a tab and "(Base)" with the base name.
    static std::optional<std::string> GetGeneralSubtree(const tavik_cert_generalsubtree *subtree);
    static std::optional<std::string> GetPolicyMapping(const tavik_cert_policymap *map);

    // ---- Policy parts (detail_ext_standard.cpp); nullopt on failure ----

    static std::optional<std::string> GetPolicyInfo(const tavik_cert_policyinfo *info);
    static std::optional<std::string>
    GetPolicyQualifierInfo(const tavik_cert_polqualifierinfo *qualifier);
    static std::optional<std::string> GetCPS(const tavik_cert_polqualifierinfo *qualifier);
    static std::optional<std::string> GetUserNotice(const tavik_cert_polqualifierinfo *qualifier);

  private:
    // The extension dispatch table (detail_extensions.cpp) calls the readers.
    friend struct ExtensionTable;

    void getCertInfomation();
    void changeDisplayKeys();

    // Basic fields.
    void GetCertVersion();
    void GetCertSerialNumber();
    void GetCertSignAlgo();
    void GetCertIssuer();
    void GetCertValidity();
    void GetCertSubject();
    void GetCertIssuerUniqueID();
    void GetCertSubjectUniqueID();
    void addNameRow(const char *rowName, tavik_cert_dn *dn);
    void addUniqueId(const char *rowName, int (*has)(TAVIK_CERT_st *),
                     tavik_bitset *(*get)(TAVIK_CERT_st *));

    // Key, signature, thumbprints.
    void GetCertPublicKeyInfo();
    void GetCertSignature();
    void GetCertThumbprint();

    // Extensions.
    void GetCertExtensions();
    void GetExtension(const tavik_cert_ext *ext);
    void AddErrorExt(const tavik_cert_ext *ext, const std::string &name, unsigned type);
    void addUnknownExtension(const tavik_cert_ext *ext, const std::string &oid, bool critical);
    // The configured name, decoded text and TAVIK flag of an unknown extension.
    static bool DecodeUnkownExtValue(const tavik_cert_ext *ext, std::string &extName,
                                     std::string &extValue, int32_t &isTavik);

    // Key-identifier, key-usage, policy and constraint extensions: one row
    // each (detail_ext_standard.cpp).
    void GetAuthorityKeyID(const tavik_cert_ext *ext);
    void GetSubjectKeyID(const tavik_cert_ext *ext);
    void GetKeyUsage(const tavik_cert_ext *ext);
    void GetPrivKeyUsagePeriod(const tavik_cert_ext *ext);
    void GetCertPolicies(const tavik_cert_ext *ext);
    void GetPolicyMappings(const tavik_cert_ext *ext);
    void GetSubjectAltName(const tavik_cert_ext *ext);
    void GetIssuerAltName(const tavik_cert_ext *ext);
    void GetBasicConstraints(const tavik_cert_ext *ext);
    void GetNameConstraints(const tavik_cert_ext *ext);
    void GetPolicyConstraints(const tavik_cert_ext *ext);
    void GetExtKeyUsage(const tavik_cert_ext *ext);
    void GetInhibitAnyPolicy(const tavik_cert_ext *ext);

    // ---- Private, national, distribution-point and CRL extensions ----
    // Decoders add one row each; the typed ones are given the row name and
    // the dispatcher's kind. Formatters return 1/0 or nullopt on failure.
    void GetCertNetscapeCertType(const tavik_cert_ext *ext);
    void GetIA5ExtnValue(const tavik_cert_ext *ext, const std::string &name, unsigned type);
    void GetPrintableStringExtnValue(const tavik_cert_ext *ext, const std::string &name);
    void GetUTF8ExtnValue(const tavik_cert_ext *ext, const std::string &name, unsigned type);
    void GetNULLExtnValue(const tavik_cert_ext *ext, const std::string &name, unsigned type);
    void GetIdentityCodeExtnValue(const tavik_cert_ext *ext);
    void GetIdentificationItemsValue(const tavik_cert_ext *ext, const std::string &name);
    static int GetIdentificationitemsValues(const tavik_cert_identificationitems *items,
                                            std::string &value, std::string &content);
    static int identificationitem2NSString(const tavik_cert_identificationitem *item,
                                           std::string &type, std::string &tempValue);
    static std::string GetIdtificationType(uint32_t code);
    static std::string GetIdtificationEncode(int64_t code);
    void GetTavikCertThumb_ManualValue(const tavik_cert_ext *ext, const std::string &name,
                                       unsigned type);
    void GetDigestInfos(const tavik_cert_ext *ext);
    static int GetDigestInfo(const tavik_cert_digestinfo *info, std::string &content,
                             std::string &hashalgo);
    static int GetHashAlgorithm(const tavik_cert_algorithmid *alg, std::string &content,
                                std::string &hashalgo);
    static std::string GetHashOid(const std::string &oid);
    // Distribution points, information access and the CRL and CRL-entry
    // extensions; flag 0 picks the first of the two extensions a decoder serves.
    void GetCRLDP(const tavik_cert_ext *ext, uint32_t flag);
    static std::optional<std::string> GetDistributionPoint(const tavik_cert_distpoint *dp);
    static std::optional<std::string> GetDistributionPointName(const tavik_cert_dpname *name);
    static std::string GetReasonFlags(const tavik_bitset *reasons);
    void GetAccessDescriptions(const tavik_cert_ext *ext, uint32_t flag);
    static std::optional<std::string> GetAccessDescription(const tavik_cert_accessdesc *desc);
    void GetCrlNumber(const tavik_cert_ext *ext);
    void GetDcrlIndicator(const tavik_cert_ext *ext);
    void GetIDP(const tavik_cert_ext *ext);
    void GetReasonCode(const tavik_cert_ext *ext);
    void GetInvalidityDate(const tavik_cert_ext *ext);
    void GetHoldInstruction(const tavik_cert_ext *ext);
    void GetCertificateIssuer(const tavik_cert_ext *ext);

    tavik::CertPtr m_pCert;
    std::unordered_map<std::string, CertDetailInfoItem> m_certInfos;
    std::vector<std::string> m_keys;
    std::vector<std::string> m_displayKeys;
    unsigned m_selectedIndex = 0;
};

} // namespace pkiui
