// Texts of pkiui-dump: terminal-safe lines, row kinds, and the general and
// path tabs.
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

constexpr bool isC0OrDel(unsigned char byte)
{
    return byte < 0x20 || byte == 0x7F;
}

// A C1 control (U+0080..U+009F) is always the pair C2 80..C2 9F: C2 is never
// a continuation byte, so no ill-formed neighbour can take it apart.
constexpr bool isC1At(std::string_view s, std::size_t i)
{
    return static_cast<unsigned char>(s[i]) == 0xC2 && i + 1 < s.size() &&
           static_cast<unsigned char>(s[i + 1]) >= 0x80 &&
           static_cast<unsigned char>(s[i + 1]) <= 0x9F;
}

void appendEscape(std::string &out, unsigned char byte)
{
    char buf[8];
    std::snprintf(buf, sizeof buf, "\\x%02X", byte);
    out += buf;
}

// The library's serializer replaces each ill-formed subpart by one U+FFFD.
// Its output is then read back by hand rather than parsed, which would cost
// as much again: the only escapes it holds here are \", \\ and \t, as every
// other control character has already been made visible.
std::string validUtf8(std::string text)
{
    const std::string quoted = jsonText(Json(std::move(text)));
    std::string out;
    out.reserve(quoted.size());
    for (std::size_t i = 1; i + 1 < quoted.size(); ++i) {
        char c = quoted[i];
        if (c == '\\' && (c = quoted[++i]) == 't')
            c = '\t';
        out += c;
    }
    return out;
}

} // namespace

std::string jsonText(const Json &value)
{
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// One line of text for a terminal: tabs kept, other control characters
// visible as \xNN (a certificate must not drive the terminal).
std::string terminalText(std::string_view s)
{
    std::string out;
    out.reserve(s.size());
    bool ascii = true;     // nothing for the library to check
    std::size_t start = 0; // of the bytes not yet copied
    for (std::size_t i = 0; i < s.size(); ++i) {
        const auto byte = static_cast<unsigned char>(s[i]);
        ascii = ascii && byte < 0x80;
        const bool c0 = byte != '\t' && isC0OrDel(byte);
        if (!c0 && !isC1At(s, i))
            continue;
        out.append(s.substr(start, i - start));
        if (!c0)
            ++i;
        appendEscape(out, static_cast<unsigned char>(s[i]));
        start = i + 1;
    }
    out.append(s.substr(start));
    return ascii ? out : validUtf8(std::move(out));
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

Json generalJson(const ShowCertRoutineDlgModel &model)
{
    Json general;
    general["verdict"] = model.certStatusText();
    general["status"] = model.status();
    for (const GeneralField &field : kGeneralFields)
        general[field.key] = (model.*field.text)();
    return general;
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
        view.rows.push_back({model.cellText(row), info.displayName, info.status, info.reason});
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

Json pathJson(const PathView &view)
{
    Json path;
    path["selected"] = view.selected < 0 ? Json(nullptr) : Json(view.selected);
    path["status"] = view.status;
    Json &rows = path["rows"] = Json::array();
    for (const PathView::Row &row : view.rows) {
        Json &item = rows.emplace_back();
        item["text"] = row.cell;
        item["name"] = row.name;
        item["status"] = row.status;
        item["statusText"] = getContentByIndex(row.status);
        item["reason"] = row.reason;
    }
    return path;
}

} // namespace pkiui::dump
