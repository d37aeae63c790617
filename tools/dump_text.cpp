// Texts of pkiui-dump: JSON strings, terminal-safe lines and row kinds.
#include "dump_text.hpp"

#include <array>
#include <cstdio>

#include "pkiui/cert_status.hpp"
#include "pkiui/detail_model.hpp"
#include "pkiui/path_model.hpp"
#include "pkiui/routine_model.hpp"

namespace pkiui::dump {

namespace {

struct KindBit {
    unsigned bit;
    const char *name;
};

constexpr std::array<KindBit, 5> kKindBits{{
    {pkiui::kVersion1Field, "version-1 field"},
    {pkiui::kExtension, "extension"},
    {pkiui::kCriticalExtension, "critical"},
    {pkiui::kTavikExtension, "TAVIK"},
    {pkiui::kAttribute, "attribute"},
}};

constexpr bool distinctBits()
{
    unsigned seen = 0;
    for (const KindBit &k : kKindBits) {
        if (k.bit == 0 || (k.bit & (k.bit - 1)) != 0 || (seen & k.bit) != 0)
            return false;
        seen |= k.bit;
    }
    return seen == pkiui::kAllRows;
}
static_assert(distinctBits(), "one name for each kind bit");

// Length of the well-formed UTF-8 sequence at s[i], or 0 when it is not
// well formed (overlong forms, surrogates and code points past U+10FFFF are
// refused). *bad receives how many bytes to replace by one U+FFFD: the
// maximal prefix of a sequence that could still have been valid, at least 1.
std::size_t utf8Length(std::string_view s, std::size_t i, std::size_t *bad)
{
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
    const unsigned char lead = byte(i);
    *bad = 1;
    if (lead < 0x80)
        return 1;
    std::size_t need;
    unsigned char lo = 0x80, hi = 0xBF; // allowed range of the second byte
    if (lead >= 0xC2 && lead <= 0xDF) {
        need = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        need = 3;
        lo = lead == 0xE0 ? 0xA0 : 0x80;
        hi = lead == 0xED ? 0x9F : 0xBF;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        need = 4;
        lo = lead == 0xF0 ? 0x90 : 0x80;
        hi = lead == 0xF4 ? 0x8F : 0xBF;
    } else {
        return 0;
    }
    for (std::size_t k = 1; k < need; ++k) {
        const std::size_t at = i + k;
        const unsigned char min = k == 1 ? lo : 0x80, max = k == 1 ? hi : 0xBF;
        if (at >= s.size() || byte(at) < min || byte(at) > max) {
            *bad = k;
            return 0;
        }
    }
    return need;
}

// The code point of a well-formed sequence of length n.
unsigned codePoint(std::string_view s, std::size_t i, std::size_t n)
{
    static constexpr std::array<unsigned, 5> kLeadMask{0, 0x7F, 0x1F, 0x0F, 0x07};
    unsigned cp = static_cast<unsigned char>(s[i]) & kLeadMask[n];
    for (std::size_t k = 1; k < n; ++k)
        cp = (cp << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3F);
    return cp;
}

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

bool isControl(unsigned cp)
{
    return cp < 0x20 || (cp >= 0x7F && cp <= 0x9F);
}

void appendHex(std::string &out, const char *prefix, unsigned cp)
{
    char buf[16];
    std::snprintf(buf, sizeof buf, "%s%02X", prefix, cp);
    out += buf;
}

// Walks s as UTF-8, handing each code point (with its bytes) or each
// replacement to emit.
template <class Emit> void forEachCodePoint(std::string_view s, Emit emit)
{
    for (std::size_t i = 0; i < s.size();) {
        std::size_t bad = 1;
        const std::size_t n = utf8Length(s, i, &bad);
        if (n == 0) {
            emit(0xFFFDu, kReplacement);
            i += bad;
        } else {
            emit(codePoint(s, i, n), s.substr(i, n));
            i += n;
        }
    }
}

struct ShortEscape {
    unsigned cp;
    const char *text;
};
constexpr std::array<ShortEscape, 7> kJsonEscapes{{
    {'"', "\\\""},
    {'\\', "\\\\"},
    {'\b', "\\b"},
    {'\f', "\\f"},
    {'\n', "\\n"},
    {'\r', "\\r"},
    {'\t', "\\t"},
}};

} // namespace

std::string jsonString(std::string_view s)
{
    std::string out = "\"";
    forEachCodePoint(s, [&](unsigned cp, std::string_view bytes) {
        for (const ShortEscape &e : kJsonEscapes) {
            if (e.cp == cp) {
                out += e.text;
                return;
            }
        }
        if (isControl(cp))
            appendHex(out, "\\u00", cp);
        else
            out += bytes;
    });
    return out + "\"";
}

// One line of text for a terminal: tabs kept, other control characters
// visible as \xNN (a certificate must not drive the terminal).
std::string terminalText(std::string_view s)
{
    std::string out;
    forEachCodePoint(s, [&](unsigned cp, std::string_view bytes) {
        if (cp == '\t' || !isControl(cp))
            out += bytes;
        else
            appendHex(out, "\\x", cp);
    });
    return out;
}

// Content lines, split at "\r\n" (and a bare "\n").
std::vector<std::string_view> contentLines(std::string_view s)
{
    std::vector<std::string_view> lines;
    for (;;) {
        const std::size_t nl = s.find('\n');
        if (nl == std::string_view::npos) {
            lines.push_back(s);
            return lines;
        }
        std::size_t end = nl;
        if (end > 0 && s[end - 1] == '\r')
            --end;
        lines.push_back(s.substr(0, end));
        s.remove_prefix(nl + 1);
    }
}

std::string kindText(unsigned type)
{
    std::string names;
    for (const KindBit &k : kKindBits) {
        if (type & k.bit)
            names += (names.empty() ? "" : ", ") + std::string(k.name);
    }
    if (type & ~static_cast<unsigned>(pkiui::kAllRows))
        names += (names.empty() ? "" : ", ") + std::string("unknown bits");
    return std::to_string(type) + " (" + (names.empty() ? "none" : names) + ")";
}

} // namespace pkiui::dump

// ---- The general and path tabs ----

namespace pkiui::dump {
namespace {

struct GeneralField {
    const char *caption; // as the tab labels it
    const char *key;     // in JSON
    const std::string &(ShowCertRoutineDlgModel::*text)() const;
};

constexpr std::array<GeneralField, 4> kGeneralFields{{
    {"颁发给:", "subject", &ShowCertRoutineDlgModel::subjectText},
    {"颁发者:", "issuer", &ShowCertRoutineDlgModel::issuerText},
    {"有效期从", "validity", &ShowCertRoutineDlgModel::validityText},
    {"证书类型:", "type", &ShowCertRoutineDlgModel::certTypeText},
}};

// What the path tab's status field shows before any row is selected.
constexpr const char *kInitialPathStatus = "该证书没有问题";

} // namespace

std::string generalText(const ShowCertRoutineDlgModel &model)
{
    std::string out = "证书信息\n" + terminalText(model.certStatusText()) + "\n";
    for (const GeneralField &field : kGeneralFields)
        out += std::string(field.caption) + "\t" + terminalText((model.*field.text)()) + "\n";
    return out;
}

std::string generalJson(const ShowCertRoutineDlgModel &model)
{
    std::string out = "{\"verdict\": " + jsonString(model.certStatusText()) +
                      ", \"status\": " + std::to_string(model.status());
    for (const GeneralField &field : kGeneralFields)
        out += ", \"" + std::string(field.key) + "\": " + jsonString((model.*field.text)());
    return out + "}";
}

PathView pathView(ShowCertPathDlgModel &model)
{
    PathView view;
    view.status = kInitialPathStatus;
    model.showContentWhenUserSelect = [&view](TAVIK_CERT_st *, const std::string &status) {
        view.status = status;
    };
    // Drawing each cell is what selects the last row.
    for (int row = 0; row < model.numberOfRows(); ++row) {
        model.viewForRow(row, [&view](int selected) { view.selected = selected; });
        const CertInfoModel &info = model.certPaths()[static_cast<std::size_t>(row)];
        view.rows.push_back({model.cellText(row), info.displayName, info.status});
    }
    model.showContentWhenUserSelect = nullptr;
    return view;
}

std::string pathText(const PathView &view)
{
    std::string out = "证书路径(P)\n";
    for (const PathView::Row &row : view.rows)
        out += terminalText(row.cell) + "\t" + getContentByIndex(row.status) + "\n";
    return out + "证书状态(S)\t" + terminalText(view.status) + "\n";
}

std::string pathJson(const PathView &view)
{
    std::string out = "{\"selected\": " +
                      (view.selected < 0 ? std::string("null") : std::to_string(view.selected)) +
                      ", \"status\": " + jsonString(view.status) + ", \"rows\": [";
    bool first = true;
    for (const PathView::Row &row : view.rows) {
        out += first ? "\n  " : ",\n  ";
        first = false;
        out += "{\"text\": " + jsonString(row.cell) + ", \"name\": " + jsonString(row.name) +
               ", \"status\": " + std::to_string(row.status) +
               ", \"statusText\": " + jsonString(getContentByIndex(row.status)) + "}";
    }
    return out + (first ? "]}" : "\n]}");
}

} // namespace pkiui::dump
