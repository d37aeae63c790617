// A strict reader for the few small DER structures the toolkit takes apart
// itself: a SEQUENCE of non-negative INTEGERs (signature values, Dss-Parms,
// RSAPublicKey). Never installed.
#pragma once

#include <openssl/crypto.h>

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace tavik::detail::der {

using Bytes = std::span<const unsigned char>;

constexpr unsigned char kInteger = 0x02;
constexpr unsigned char kSequence = 0x30;

struct Tlv {
    unsigned char tag;
    Bytes content;
    std::size_t size; // identifier, length and content octets
};

// One TLV at the start of in: low tag numbers only, definite length in its
// shortest form, content within in.
inline std::optional<Tlv> readTlv(Bytes in) noexcept
{
    if (in.size() < 2 || (in[0] & 0x1f) == 0x1f)
        return std::nullopt;
    std::size_t header = 2;
    std::size_t length = in[1];
    if (length & 0x80) {
        const std::size_t count = length & 0x7f;
        // 0x80 is the indefinite form; four length octets cover any input here.
        if (count == 0 || count > 4 || in.size() < 2 + count || in[2] == 0)
            return std::nullopt;
        length = 0;
        for (std::size_t i = 0; i < count; ++i)
            length = length << 8 | in[2 + i];
        if (length < 0x80)
            return std::nullopt;
        header += count;
    }
    if (length > in.size() - header)
        return std::nullopt;
    return Tlv{in[0], in.subspan(header, length), header + length};
}

// The magnitude of a non-negative INTEGER's content octets, refusing empty,
// padded and negative encodings; zero stays the single octet 00.
inline std::optional<Bytes> unsignedMagnitude(Bytes content) noexcept
{
    if (content.empty() || (content[0] & 0x80))
        return std::nullopt;
    if (content.size() > 1 && content[0] == 0) {
        if (!(content[1] & 0x80))
            return std::nullopt;
        return content.subspan(1);
    }
    return content;
}

// SEQUENCE { N non-negative INTEGERs } filling in exactly; the magnitudes.
template <std::size_t N> std::optional<std::array<Bytes, N>> readUnsignedSequence(Bytes in) noexcept
{
    const auto outer = readTlv(in);
    if (!outer || outer->tag != kSequence || outer->size != in.size())
        return std::nullopt;
    std::array<Bytes, N> values{};
    Bytes rest = outer->content;
    for (auto &value : values) {
        const auto item = readTlv(rest);
        if (!item || item->tag != kInteger)
            return std::nullopt;
        const auto magnitude = unsignedMagnitude(item->content);
        if (!magnitude)
            return std::nullopt;
        value = *magnitude;
        rest = rest.subspan(item->size);
    }
    if (!rest.empty())
        return std::nullopt;
    return values;
}

// The DER an OpenSSL i2d function writes for value; nullopt when it fails.
// May throw std::bad_alloc.
template <class T, class I2d>
std::optional<std::vector<unsigned char>> encode(const T *value, I2d i2d)
{
    struct Release {
        void operator()(unsigned char *p) const noexcept { OPENSSL_free(p); }
    };
    if (!value)
        return std::nullopt;
    unsigned char *out = nullptr;
    const int length = i2d(value, &out);
    const std::unique_ptr<unsigned char, Release> owned(out);
    if (length <= 0 || !out)
        return std::nullopt;
    return std::vector<unsigned char>(out, out + length);
}

} // namespace tavik::detail::der
