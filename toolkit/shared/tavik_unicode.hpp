// UTF-8 and UTF-16BE, decoded and encoded in one place for the toolkit and
// the model. Strict both ways: shortest UTF-8 forms only (RFC 3629), no
// surrogate code points, nothing past U+10FFFF, and in UTF-16 a surrogate
// that is not half of a pair is an error like any ill-formed sequence; text
// is refused, never repaired. Built into the tree's targets, never installed.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace tavik::unicode {

constexpr bool isScalar(char32_t c)
{
    return c <= 0x10FFFF && !(c >= 0xD800 && c <= 0xDFFF);
}

// Calls out(c) for each code point of the UTF-8 bytes; false at the first
// ill-formed sequence.
template <class Out> bool decodeUtf8(const unsigned char *bytes, std::size_t length, Out &&out)
{
    for (std::size_t i = 0; i < length;) {
        const unsigned char lead = bytes[i];
        std::size_t size = 1;
        char32_t c = lead;
        char32_t minimum = 0;
        if (lead >= 0x80) {
            if ((lead & 0xE0) == 0xC0)
                size = 2, c = lead & 0x1F, minimum = 0x80;
            else if ((lead & 0xF0) == 0xE0)
                size = 3, c = lead & 0x0F, minimum = 0x800;
            else if ((lead & 0xF8) == 0xF0)
                size = 4, c = lead & 0x07, minimum = 0x10000;
            else
                return false;
        }
        if (size > length - i)
            return false;
        for (std::size_t k = 1; k < size; ++k) {
            const unsigned char next = bytes[i + k];
            if ((next & 0xC0) != 0x80)
                return false;
            c = (c << 6) | (next & 0x3F);
        }
        if (c < minimum || !isScalar(c))
            return false;
        out(c);
        i += size;
    }
    return true;
}

inline bool validUtf8(const unsigned char *bytes, std::size_t length)
{
    return decodeUtf8(bytes, length, [](char32_t) {});
}

inline std::optional<std::u32string> fromUtf8(const unsigned char *bytes, std::size_t length)
{
    std::u32string text;
    text.reserve(length);
    if (!decodeUtf8(bytes, length, [&](char32_t c) { text.push_back(c); }))
        return std::nullopt;
    return text;
}

// BMPString as certificates encode it: UTF-16BE, supplementary characters as
// surrogate pairs.
inline std::optional<std::u32string> fromUtf16Be(const unsigned char *bytes, std::size_t length)
{
    if (length % 2)
        return std::nullopt;
    const auto unitAt = [bytes](std::size_t i) {
        return static_cast<char32_t>(bytes[i] << 8 | bytes[i + 1]);
    };
    std::u32string text;
    text.reserve(length / 2);
    for (std::size_t i = 0; i < length; i += 2) {
        const char32_t unit = unitAt(i);
        if (unit >= 0xD800 && unit <= 0xDBFF && length - i >= 4) {
            const char32_t low = unitAt(i + 2);
            if (low >= 0xDC00 && low <= 0xDFFF) {
                text.push_back(0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
                i += 2;
                continue;
            }
        }
        if (!isScalar(unit))
            return std::nullopt;
        text.push_back(unit);
    }
    return text;
}

// c must be a scalar value.
inline void appendUtf8(std::string &out, char32_t c)
{
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | c >> 6);
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | c >> 12);
        out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | c >> 18);
        out += static_cast<char>(0x80 | (c >> 12 & 0x3F));
        out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

inline std::string toUtf8(const std::u32string &text)
{
    std::string out;
    out.reserve(text.size());
    for (const char32_t c : text)
        appendUtf8(out, c);
    return out;
}

} // namespace tavik::unicode
