// Texts of pkiui-dump: JSON strings, terminal-safe lines and row kinds.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pkiui::dump {

// A JSON string literal of s: every byte kept, short escapes where JSON has
// them, other control characters (C0, DEL, C1) as \u00XX, UTF-8 passed
// through; each ill-formed UTF-8 subpart becomes one U+FFFD.
std::string jsonString(std::string_view s);

// s for a terminal line: tabs kept, other control characters as \xNN,
// ill-formed UTF-8 as U+FFFD.
std::string terminalText(std::string_view s);

// The lines of a content text, split at "\r\n" or a bare "\n".
std::vector<std::string_view> contentLines(std::string_view s);

// "6 (extension, critical)": the kind as a number and the names of its bits.
std::string kindText(unsigned type);

} // namespace pkiui::dump
