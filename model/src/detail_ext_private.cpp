// Rows of the extensions outside the base profile: the Netscape type, the
// single-string private and national extensions, the national identity code,
// identification items, the manual thumbprint and old thumbprints.
#include <array>
#include <cstdio>
#include <string_view>
#include <vector>

#include "ext_row.hpp"
#include "pkiui/detail_model.hpp"
#include "tables.hpp"

namespace pkiui {

namespace {

// The name of a code, or the code in decimal.
template <std::size_t N> std::string codeName(const std::array<CodeName, N> &table, int64_t code)
{
    if (const CodeName *known = findBy(table, &CodeName::code, code))
        return std::string(known->name);
    char text[24];
    std::snprintf(text, sizeof text, "%d", static_cast<int>(code));
    return text;
}

// Netscape certificate type, bits 0..7.
constexpr std::array<std::string_view, 8> kNetscapeTypes = {
    "SSL Client", "SSL Server", "S/MIME",    "Object Signing",
    "Reserved",   "SSL CA",     "S/MIME CA", "Object Signing CA",
};

constexpr std::array<CodeName, 20> kIdentificationTypes = {{
    {1, "身份证"},
    {2, "军官证"},
    {3, "护照"},
    {4, "工作证"},
    {5, "回乡证"},
    {6, "户口本"},
    {7, "其他个人证件"},
    {501, "组织机构代码证"},
    {502, "工商营业执照"},
    {503, "事业单位登记证"},
    {504, "税务登记证"},
    {505, "社会团体登记证"},
    {506, "人民团体登记证"},
    {507, "企业法人营业执照"},
    {508, "事业单位法人登记证"},
    {509, "社会团体法人登记证"},
    {510, "人民团体法人登记证"},
    {511, "社会保险登记证"},
    {512, "其他机构证件"},
    {513, "统一社会信用码"},
}};
static_assert(uniqueBy(kIdentificationTypes, &CodeName::code));

// Tens digit: 4 plain, 6 SHA-1, 7 SHA-256, 8 SM3; units: 1 plain hash,
// 2 random salt, 3 CN salt, 4 O salt.
constexpr std::array<CodeName, 14> kIdentificationEncodings = {{
    {42, "原文"},
    {43, "Base64编码"},
    {61, "SHA1的HASH编码"},
    {62, "SHA1的随机盐HASH编码"},
    {63, "SHA1的CN盐HASH编码"},
    {64, "SHA1的O盐HASH编码"},
    {71, "SHA256的HASH编码"},
    {72, "SHA256的随机盐HASH编码"},
    {73, "SHA256的CN盐HASH编码"},
    {74, "SHA256的O盐HASH编码"},
    {81, "SM3的HASH编码"},
    {82, "SM3的随机盐HASH编码"},
    {83, "SM3的CN盐HASH编码"},
    {84, "SM3的O盐HASH编码"},
}};
static_assert(uniqueBy(kIdentificationEncodings, &CodeName::code));

constexpr std::array<OidName, 7> kHashAlgorithms = {{
    {"1.2.840.113549.2.2", "MD2"},
    {"1.2.840.113549.2.5", "MD5"},
    {"1.3.14.3.2.26", "SHA1"},
    {"2.16.840.1.101.3.4.2.4", "SHA224"},
    {"2.16.840.1.101.3.4.2.1", "SHA256"},
    {"2.16.840.1.101.3.4.2.2", "SHA384"},
    {"2.16.840.1.101.3.4.2.3", "SHA512"},
}};

static_assert(uniqueBy(kHashAlgorithms, &OidName::oid));

// Identity code tags [0], [1], [2].
constexpr std::array<std::string_view, 3> kIdentityCodeNames = {"身份证号码", "军官证号码",
                                                                "护照号码"};

// One value of the type from the start of the raw extension value.
tavik::Asn1ValuePtr decodeFirst(tavik_stream *stream, int type)
{
    tavik_asn1_value *value = nullptr;
    if (tavik_asn1_decode(stream, type, &value, 0) != 1)
        return nullptr;
    return tavik::Asn1ValuePtr(value);
}

// The string's octets as display text.
std::optional<std::string> stringText(const tavik_asn1_value *value)
{
    const tavik::BlobPtr octets(value ? tavik_asn1_octetstring_getblob(value) : nullptr);
    if (!octets)
        return std::nullopt;
    return ShowCertDetailDlgModel::UTF8String2NSString(octets->data, octets->length);
}

} // namespace

void ShowCertDetailDlgModel::GetCertNetscapeCertType(const tavik_cert_ext *ext)
{
    const std::string name = "Netscape Certificate Type";
    const unsigned type = extRowType(ext, kExtension);
    const tavik::BitSetPtr bits(tavik_cert_ext_tobitstring(ext));
    if (!bits) {
        AddCertInfo(name, kUnavailable, kUnavailable, type);
        return;
    }
    std::string value;
    for (std::size_t bit = 0; bit < kNetscapeTypes.size(); ++bit) {
        if (tavik_bitset_isset(bits.get(), static_cast<int>(bit)) != 1)
            continue;
        if (!value.empty())
            value += ", ";
        value += kNetscapeTypes[bit];
    }
    AddCertInfo(name, value, value, type);
}

void ShowCertDetailDlgModel::GetIA5ExtnValue(const tavik_cert_ext *ext, const std::string &name,
                                             unsigned type)
{
    const tavik::UStringPtr string(tavik_cert_ext_toia5string(ext));
    const auto text = GetNSStringFromUString(string.get());
    const std::string shown = text.value_or(kUnavailable);
    AddCertInfo(name, shown, shown, extRowType(ext, type));
}

void ShowCertDetailDlgModel::GetPrintableStringExtnValue(const tavik_cert_ext *ext,
                                                         const std::string &name)
{
    const tavik::UStringPtr string(tavik_cert_ext_toprintablestring(ext));
    const auto text = GetNSStringFromUString(string.get());
    const std::string shown = text.value_or(kUnavailable);
    AddCertInfo(name, shown, shown, extRowType(ext, kExtension));
}

void ShowCertDetailDlgModel::GetUTF8ExtnValue(const tavik_cert_ext *ext, const std::string &name,
                                              unsigned type)
{
    const tavik::BlobPtr raw(tavik_cert_ext_getvalue(ext));
    const tavik::StreamPtr stream(raw ? tavik_stream_new_romem(raw->data, raw->length, 0, 0)
                                      : nullptr);
    const tavik::Asn1ValuePtr value =
        stream ? decodeFirst(stream.get(), TAVIK_ASN1_UTF8STRING) : nullptr;
    const std::string shown = stringText(value.get()).value_or(kUnavailable);
    AddCertInfo(name, shown, shown, extRowType(ext, type));
}

// A UTF8String, or else an OCTET STRING holding UTF-8.
void ShowCertDetailDlgModel::GetTavikCertThumb_ManualValue(const tavik_cert_ext *ext,
                                                           const std::string &name, unsigned type)
{
    const tavik::BlobPtr raw(tavik_cert_ext_getvalue(ext));
    const tavik::StreamPtr stream(raw ? tavik_stream_new_romem(raw->data, raw->length, 0, 0)
                                      : nullptr);
    tavik::Asn1ValuePtr value = stream ? decodeFirst(stream.get(), TAVIK_ASN1_UTF8STRING) : nullptr;
    if (stream && !value)
        value = decodeFirst(stream.get(), TAVIK_ASN1_OCTET_STRING);
    const std::string shown = stringText(value.get()).value_or(kUnavailable);
    AddCertInfo(name, shown, shown, extRowType(ext, type));
}

void ShowCertDetailDlgModel::GetNULLExtnValue(const tavik_cert_ext *ext, const std::string &name,
                                              unsigned type)
{
    const tavik::BlobPtr raw(tavik_cert_ext_getvalue(ext));
    const auto text = raw ? DecodeNULLExtValue(*raw) : std::nullopt;
    const std::string shown = text.value_or(kUnavailable);
    AddCertInfo(name, shown, shown, extRowType(ext, type));
}

// IdentityCode ::= CHOICE { [0] idCard, [1] officerCard, [2] passport },
// each a string, tagged implicitly (primitive) or explicitly (constructed).
void ShowCertDetailDlgModel::GetIdentityCodeExtnValue(const tavik_cert_ext *ext)
{
    const std::string name = "个人身份识别码";
    const unsigned type = extRowType(ext, kExtension);
    const auto number = [&]() -> std::optional<std::string> {
        const tavik::BlobPtr raw(tavik_cert_ext_getvalue(ext));
        const tavik::StreamPtr stream(raw ? tavik_stream_new_romem(raw->data, raw->length, 0, 0)
                                          : nullptr);
        int cls = 0, constructed = 0, tag = -1;
        if (!stream || tavik_asn1_decode_identifier(stream.get(), &cls, &constructed, &tag) != 1 ||
            cls != TAVIK_ASN1_CLASS_CONTEXT || tag < 0 ||
            tag >= static_cast<int>(kIdentityCodeNames.size()))
            return std::nullopt;
        std::size_t length = 0;
        int indefinite = 0;
        if (tavik_asn1_decode_length(stream.get(), &length, &indefinite) != 1 || indefinite)
            return std::nullopt;
        tavik::Asn1ValuePtr value;
        if (!constructed) {
            tavik_asn1_value *content = nullptr;
            if (tavik_asn1_decode_content(stream.get(), TAVIK_ASN1_OCTET_STRING, length,
                                          &content) != 1)
                return std::nullopt;
            value.reset(content);
        } else {
            value = decodeFirst(stream.get(),
                                tag == 1 ? TAVIK_ASN1_UTF8STRING : TAVIK_ASN1_PRINTABLESTRING);
            if (!value || tavik_asn1_value_getencodedlength(value.get()) != length)
                return std::nullopt;
        }
        const tavik::BlobPtr octets(tavik_asn1_octetstring_getblob(value.get()));
        const auto text = octets ? UTF8String2NSString(octets->data, octets->length) : std::nullopt;
        if (!text)
            return std::nullopt;
        return std::string(kIdentityCodeNames[static_cast<std::size_t>(tag)]) + ":" + *text;
    }();
    const std::string shown = number.value_or(kUnavailable);
    AddCertInfo(name, shown, shown, type);
}

// IdentificationItems ::= SEQUENCE OF { type INTEGER, encoding INTEGER,
// value OCTET STRING }
void ShowCertDetailDlgModel::GetIdentificationItemsValue(const tavik_cert_ext *ext,
                                                         const std::string &name)
{
    const unsigned type = extRowType(ext, kExtension | kTavikExtension);
    const tavik::IdItemsPtr items(tavik_cert_ext_toidentificationitems(ext));
    std::string value;
    std::string content;
    if (!items || GetIdentificationitemsValues(items.get(), value, content) != 1) {
        AddCertInfo(name, kUnavailable, kUnavailable, type);
        return;
    }
    AddCertInfo(name, value, content, type);
}

int ShowCertDetailDlgModel::GetIdentificationitemsValues(
    const tavik_cert_identificationitems *items, std::string &value, std::string &content)
{
    std::string names;
    std::string texts;
    const int count = tavik_cert_identificationitems_getitemcount(items);
    for (int i = 0; i < count; ++i) {
        const tavik::IdItemPtr item(tavik_cert_identificationitems_getitem(items, i));
        std::string typeName;
        std::string text;
        if (!item || identificationitem2NSString(item.get(), typeName, text) != 1)
            return 0;
        names += (i == 0 ? "" : ",") + typeName;
        texts += text + "\r\n\r\n";
    }
    value = std::move(names);
    content = std::move(texts);
    return 1;
}

int ShowCertDetailDlgModel::identificationitem2NSString(const tavik_cert_identificationitem *item,
                                                        std::string &type, std::string &tempValue)
{
    int64_t typeCode = 0;
    int64_t encoding = 0;
    if (!item || tavik_cert_identificationitem_gettype(item, &typeCode) != 1 ||
        tavik_cert_identificationitem_getencode(item, &encoding) != 1)
        return 0;
    const tavik::BlobPtr bytes(tavik_cert_identificationitem_getvalue(item));
    if (!bytes)
        return 0;
    // Codes 1 and 2 carry the number as text; every other one is shown in hex.
    std::optional<std::string> number;
    if (encoding == 1 || encoding == 2) {
        number = ShowCertDetailDlgModel::UTF8String2NSString(bytes->data, bytes->length);
    } else {
        char *hex = nullptr;
        std::size_t hexLength = 0;
        if (tavik_hexencode(1, bytes->data, bytes->length, &hex, &hexLength) != 1 || !hex)
            return 0;
        const tavik::TextPtr owned(hex);
        number = ShowCertDetailDlgModel::UTF8String2NSString(
            reinterpret_cast<const unsigned char *>(hex), hexLength);
    }
    if (!number)
        return 0;
    type = GetIdtificationType(static_cast<uint32_t>(typeCode));
    tempValue = "证书类型:" + type + "\r\n证书编码:" + GetIdtificationEncode(encoding) +
                "\r\n证件号码:" + *number;
    return 1;
}

std::string ShowCertDetailDlgModel::GetIdtificationType(uint32_t code)
{
    return codeName(kIdentificationTypes, code);
}

std::string ShowCertDetailDlgModel::GetIdtificationEncode(int64_t code)
{
    return codeName(kIdentificationEncodings, code);
}

// DigestInfos ::= SEQUENCE OF DigestInfo
void ShowCertDetailDlgModel::GetDigestInfos(const tavik_cert_ext *ext)
{
    const std::string name = "旧证书缩略图";
    const unsigned type = extRowType(ext, kExtension | kTavikExtension);
    const tavik::DigestInfoListPtr list(tavik_cert_ext_todigestinfolist(ext));
    if (!list) {
        AddCertInfo(name, kUnavailable, kUnavailable, type);
        return;
    }
    std::vector<std::string> digests;
    std::string value;
    const int count = tavik_cert_digestinfolist_getitemcount(list.get());
    for (int i = 0; i < count; ++i) {
        const tavik::DigestInfoPtr info(tavik_cert_digestinfolist_getitem(list.get(), i));
        std::string digest;
        std::string hashAlgo;
        if (!info || GetDigestInfo(info.get(), digest, hashAlgo) != 1) {
            AddCertInfo(name, kUnavailable, kUnavailable, type);
            return;
        }
        value += (i == 0 ? "" : ",") + hashAlgo;
        digests.push_back(std::move(digest));
    }
    // Every entry after the first shows the second digest: the required output.
    std::string content;
    for (std::size_t i = 0; i < digests.size(); ++i)
        content += digests[i == 0 ? 0 : 1] + "\r\n\r\n";
    AddCertInfo(name, value, content, type);
}

int ShowCertDetailDlgModel::GetDigestInfo(const tavik_cert_digestinfo *info, std::string &content,
                                          std::string &hashalgo)
{
    std::string algorithm;
    {
        const tavik::AlgPtr alg(tavik_cert_digestinfo_getalgorithm(info));
        if (!alg || GetHashAlgorithm(alg.get(), algorithm, hashalgo) != 1)
            return 0;
    }
    const tavik::BlobPtr hash(tavik_cert_digestinfo_gethashvalue(info));
    const auto hex = hash ? GetHexNumber(hash->data, hash->length) : std::nullopt;
    if (!hex)
        return 0;
    content = algorithm + "\r\n Hash值:" + *hex;
    return 1;
}

int ShowCertDetailDlgModel::GetHashAlgorithm(const tavik_cert_algorithmid *alg,
                                             std::string &content, std::string &hashalgo)
{
    const tavik::TextPtr oid(tavik_cert_algorithmid_getoid(alg));
    if (!oid)
        return 0;
    const std::string name = GetHashOid(oid.get());
    // Parameters are required: an identifier without them fails the digest.
    const auto params = GetAlgorithmParam(alg);
    if (!params)
        return 0;
    hashalgo = name;
    content = "Hash算法:" + name;
    if (!params->empty())
        content += ", " + *params;
    return 1;
}

std::string ShowCertDetailDlgModel::GetHashOid(const std::string &oid)
{
    if (const auto name = nameOf(kHashAlgorithms, oid))
        return std::string(*name);
    return "Unknown Hash Algorithm(" + oid + ")";
}

} // namespace pkiui
