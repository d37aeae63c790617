// The extension encoding configuration file, in sections:
//     [1.2.3.4.5]
//     EncodeMethod = UTF8String
//     isTavik = 1
// No comments and no blank lines; the first failing line ends the load.
#include "pkiui/ext_encode_config.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string_view>

#include "tavik_ptr.hpp"

namespace pkiui {

namespace {

constexpr std::size_t kLineSize = 1024;

// Ordered by pointer value, not by text: a caller's OID text never matches a
// key (see addRecord).
using ConfigTable = std::map<const char *, NameValuePair_st>;

// Built on first use, so loading at start-up never meets an unbuilt table.
ConfigTable &table()
{
    static ConfigTable instance;
    return instance;
}

const char *g_lastKey = nullptr;

// Every section is stored under the address of this routine's name buffer,
// whatever its text: each insertion replaces the one before, and only the
// last section is kept. The buffer is static so that the address is the same
// at every call. The record keeps its own copies of the texts.
void addRecord(const NameValuePair_st &record)
{
    static char nameBuffer[kLineSize];
    std::snprintf(nameBuffer, sizeof nameBuffer, "%s", record.name.c_str());
    table().insert_or_assign(nameBuffer, record);
    g_lastKey = nameBuffer;
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

std::string_view trimBlanks(std::string_view text)
{
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

// At most two line-end characters, then blanks and tabs at both ends.
std::string_view trimLine(std::string_view line)
{
    for (int i = 0; i < 2 && !line.empty() && (line.back() == '\r' || line.back() == '\n'); ++i)
        line.remove_suffix(1);
    return trimBlanks(line);
}

// "[" first and the first "]" last; the name lies between them.
std::optional<std::string_view> sectionName(std::string_view line)
{
    if (line.empty() || line.front() != '[' || line.find(']') != line.size() - 1)
        return std::nullopt;
    return line.substr(1, line.size() - 2);
}

bool equalsIgnoringCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto lower = [](char c) {
            return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
        };
        if (lower(a[i]) != lower(b[i]))
            return false;
    }
    return true;
}

bool finished(const NameValuePair_st &record)
{
    return !record.encodeMethod.empty();
}

using FilePtr = std::unique_ptr<FILE, tavik::Free<std::fclose>>;

// Returns a copy into toolkit memory, or null.
} // namespace

int LoadExtEncodeConfig(const char *path)
{
    const FilePtr file(path ? std::fopen(path, "r") : nullptr);
    if (!file)
        return 0;
    char buffer[kLineSize];
    if (!std::fgets(buffer, sizeof buffer, file.get()))
        return 0;
    std::string_view first(buffer, std::strlen(buffer));
    if (first.substr(0, 3) == "\xEF\xBB\xBF")
        first.remove_prefix(3);
    const auto firstName = sectionName(trimLine(first));
    if (!firstName)
        return 0;

    NameValuePair_st record{std::string(*firstName), {}, 0};
    while (std::fgets(buffer, sizeof buffer, file.get())) {
        const std::string_view line = trimLine(std::string_view(buffer, std::strlen(buffer)));
        if (const auto name = sectionName(line)) {
            if (!finished(record))
                return 0;
            addRecord(record);
            record = NameValuePair_st{std::string(*name), {}, 0};
            continue;
        }
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos)
            return 0;
        const std::string_view key = trimBlanks(line.substr(0, equals));
        const std::string_view value = trimBlanks(line.substr(equals + 1));
        if (value.empty())
            return 0;
        if (equalsIgnoringCase(key, "EncodeMethod"))
            record.encodeMethod = std::string(value);
        else if (equalsIgnoringCase(key, "isTavik"))
            record.isTavik = std::atoi(std::string(value).c_str());
    }
    if (!finished(record))
        return 0;
    addRecord(record);
    return 1;
}

std::optional<NameValuePair_st> findExtEncodeMethod(const char *oid)
{
    const auto found = table().find(oid);
    if (found == table().end())
        return std::nullopt;
    return found->second;
}

void ClearExtEncodeConfigForTest()
{
    table().clear();
    g_lastKey = nullptr;
}

std::size_t ExtEncodeConfigSizeForTest()
{
    return table().size();
}

std::optional<NameValuePair_st> ExtEncodeConfigLastSectionForTest()
{
    return findExtEncodeMethod(g_lastKey);
}

const char *ExtEncodeConfigKeyForTest()
{
    return g_lastKey;
}

namespace {

// Runs at load, after the table's accessor exists; without the file the
// table stays empty.
[[maybe_unused]] const int g_loadedAtStart = LoadExtEncodeConfig(kExtEncodeConfigPath);

} // namespace

} // namespace pkiui
