// The model's constexpr tables: the common record shapes, one uniqueness
// check for static_assert and one look-up, for every table.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace pkiui {

// Upper-case hex digits of the bytes through the toolkit's encoder, the
// separator between two bytes; nullopt when the toolkit fails.
std::optional<std::string> hexText(const unsigned char *data, std::size_t length,
                                   std::string_view separator);

struct OidName {
    std::string_view oid;
    std::string_view name;
};

struct CodeName {
    int64_t code;
    std::string_view name;
};

// No two records share the key that key (a member pointer or a function)
// reads from them.
template <class Record, std::size_t N, class Key = std::identity>
constexpr bool uniqueBy(const std::array<Record, N> &table, Key key = {})
{
    for (std::size_t i = 0; i < N; ++i)
        for (std::size_t j = i + 1; j < N; ++j)
            if (std::invoke(key, table[i]) == std::invoke(key, table[j]))
                return false;
    return true;
}

// The first record whose key equals value, or null.
template <class Record, std::size_t N, class Key, class Value>
constexpr const Record *findBy(const std::array<Record, N> &table, Key key, const Value &value)
{
    for (const Record &record : table)
        if (std::invoke(key, record) == value)
            return &record;
    return nullptr;
}

// The name stored for an OID, if any.
template <std::size_t N>
constexpr std::optional<std::string_view> nameOf(const std::array<OidName, N> &table,
                                                 std::string_view oid)
{
    const OidName *found = findBy(table, &OidName::oid, oid);
    return found ? std::optional(found->name) : std::nullopt;
}

} // namespace pkiui
