// The extension encoding configuration: how a deployment names and decodes
// extensions the detail list does not know. Read once at load from a fixed
// path; findExtEncodeMethod answers look-ups.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace pkiui {

// The file the library reads when it is loaded.
inline constexpr const char *kExtEncodeConfigPath =
    "/Applications/Vexo.app/Contents/TAVIK/TavikUIExtensionEncodeConfigure";

// One section of the file.
struct NameValuePair_st {
    std::string name;         // the section name (an OID text)
    std::string encodeMethod; // "UTF8String", "Integer", ...
    std::int32_t isTavik = 0;
};

// Reads the file at path into the process table: 1 when the whole file was
// read, 0 otherwise. Sections added before a failure stay in the table.
int LoadExtEncodeConfig(const char *path);

// The section stored under oid. The table is keyed by the address of the
// text, not by the text itself, so a caller's own OID text never matches.
std::optional<NameValuePair_st> findExtEncodeMethod(const char *oid);

// ---- For tests only ----

void ClearExtEncodeConfigForTest();
std::size_t ExtEncodeConfigSizeForTest();
// The section most recently stored, if the table holds it.
std::optional<NameValuePair_st> ExtEncodeConfigLastSectionForTest();
// The one key every section is stored under.
const char *ExtEncodeConfigKeyForTest();

} // namespace pkiui
