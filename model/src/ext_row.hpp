// The one row an extension decoder adds: its name and kind are fixed at the
// start, value and content grow as the parts are formatted.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "pkiui/detail_model.hpp"

namespace pkiui {

// The base kind (2, or 8 for the private arc) with the extension bit, and the
// critical bit when the toolkit reports the extension critical.
inline unsigned extRowType(const tavik_cert_ext *ext, unsigned base = kExtension)
{
    return base | kExtension | (tavik_cert_ext_iscrical(ext) == 1 ? kCriticalExtension : 0u);
}

struct ExtRow {
    ExtRow(const tavik_cert_ext *ext, std::string rowName, unsigned base = kExtension)
        : name(std::move(rowName)), type(extRowType(ext, base))
    {
    }

    void add(ShowCertDetailDlgModel &model) const { model.AddCertInfo(name, value, content, type); }
    // The placeholder row: nothing built so far is shown.
    void addUnavailable(ShowCertDetailDlgModel &model) const
    {
        model.AddCertInfo(name, kUnavailable, kUnavailable, type);
    }
    // One of several optional parts: after ", " in the value, a line of the
    // content.
    void addPart(const std::string &text)
    {
        value += (value.empty() ? "" : ", ") + text;
        content += text + "\r\n";
    }

    std::string name;
    std::string value;
    std::string content;
    unsigned type;
};

// The texts of a counted list's items, item(i) giving each; none when the
// count is negative or any item has no text.
template <class Item> std::optional<std::vector<std::string>> itemTexts(int count, Item &&item)
{
    if (count < 0)
        return std::nullopt;
    std::vector<std::string> list;
    for (int i = 0; i < count; ++i) {
        std::optional<std::string> text = item(i);
        if (!text)
            return std::nullopt;
        list.push_back(std::move(*text));
    }
    return list;
}

// The texts of an extension whose value is GeneralNames; none when it or any
// name cannot be read.
inline std::optional<std::vector<std::string>> generalNamesOf(const tavik_cert_ext *ext)
{
    const tavik::GeneralNamesPtr names(tavik_cert_ext_togeneralnames(ext));
    return names ? ShowCertDetailDlgModel::GetGeneralNames(names.get()) : std::nullopt;
}

// The first item as is, each further one after ", ".
inline std::string valueList(const std::vector<std::string> &items)
{
    std::string text;
    for (std::size_t i = 0; i < items.size(); ++i)
        text += (i == 0 ? "" : ", ") + items[i];
    return text;
}

// Each item followed by a line break.
inline std::string contentLines(const std::vector<std::string> &items)
{
    std::string text;
    for (const std::string &item : items)
        text += item + "\r\n";
    return text;
}

} // namespace pkiui
