// Texts of pkiui-dump: terminal-safe lines, row kinds, and the viewer's
// general and path tabs as text and as JSON.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace pkiui {
class ShowCertRoutineDlgModel;
class ShowCertPathDlgModel;
} // namespace pkiui

namespace pkiui::dump {

// Members keep the order they are written in.
using Json = nlohmann::ordered_json;

// The JSON text of value; each ill-formed UTF-8 subpart of a string becomes
// one U+FFFD, every other byte is kept.
std::string jsonText(const Json &value);

// s for a terminal line: tabs kept, other control characters (C0, DEL, C1)
// as \xNN, each ill-formed UTF-8 subpart as one U+FFFD.
std::string terminalText(std::string_view s);

// The lines of a content text, split at "\r\n" or a bare "\n".
std::vector<std::string_view> contentLines(std::string_view s);

// "6 (extension, critical)": the kind as a number and the names of its bits.
std::string kindText(unsigned type);

// The general tab: its title, the verdict, then "caption\tvalue" lines.
std::string generalText(const ShowCertRoutineDlgModel &model);
// {"verdict", "status", "subject", "issuer", "validity", "type"}
Json generalJson(const ShowCertRoutineDlgModel &model);

// The path tab as first drawn: its rows, the row it selects and the text of
// its status field.
struct PathView {
    struct Row {
        std::string cell; // indentation and name, as the list shows it
        std::string name;
        int32_t status;
        std::string reason;
    };
    std::vector<Row> rows;
    int selected = -1;
    std::string status;
};
PathView pathView(ShowCertPathDlgModel &model);
// The caption, "cell\tstatus text" per row, then the status field.
std::string pathText(const PathView &view);
// {"selected", "status", "rows": [{"text", "name", "status", "statusText",
// "reason"}, ...]}
Json pathJson(const PathView &view);

} // namespace pkiui::dump
