// What the model tests share: a fixture's DER loaded into a model, its rows by
// name, on top of the readers and certificate makers of reference.hpp.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "pkiui/detail_model.hpp"
#include "reference.hpp"

namespace pkiui::test {

using Names = std::vector<std::string>;

// NAME.der; "NAME@AA:BB" turns the PKCS#1 OIDs ending in AA into ones ending
// in BB, for algorithms no fixture carries.
inline Bytes fixtureDer(const std::string &source)
{
    const auto at = source.find('@');
    Bytes der = readFile(fixturePath(source.substr(0, at) + ".der"));
    unsigned from = 0, to = 0;
    if (at == std::string::npos || std::sscanf(source.c_str() + at + 1, "%x:%x", &from, &to) != 2)
        return der;
    const Bytes pkcs1 = fromHex("06092A864886F70D0101");
    for (auto p = std::search(der.begin(), der.end(), pkcs1.begin(), pkcs1.end()); p != der.end();
         p = std::search(p + 1, der.end(), pkcs1.begin(), pkcs1.end()))
        if (der.end() - p > 10 && p[10] == from)
            p[10] = static_cast<unsigned char>(to);
    return der;
}

// An OpenSSL string's bytes from skip on (all, or length of them), spaced.
inline std::string spacedHex(const ASN1_STRING *s, int skip = 0, int length = -1)
{
    if (!s)
        return "?";
    const int n = length < 0 ? ASN1_STRING_length(s) - skip : length;
    return hex(ASN1_STRING_get0_data(s) + skip, static_cast<std::size_t>(n), " ");
}

const std::string kNa = kUnavailable;

// A model over one certificate, kept with the DER it was given.
struct Loaded {
    explicit Loaded(const std::string &source) : der(fixtureDer(source))
    {
        TAVIK_CERT_st *raw = nullptr;
        if (!der.empty() && TavikPKICertNewFromData(der.data(), der.size(), &raw) == 1)
            cert.reset(raw);
        ok = cert && model.setCertHandle(cert.get());
    }
    Bytes der;
    tavik::CertPtr cert;
    ShowCertDetailDlgModel model;
    bool ok = false;
};

// "value|content|kind" of the row stored under a name; "none" without one.
inline std::string rowText(const ShowCertDetailDlgModel &model, const std::string &name)
{
    const CertDetailInfoItem *row = model.item(name);
    return row ? row->value + "|" + row->content + "|" + std::to_string(row->type) : "none";
}

// A row a fixture must show, written by hand from the display rules.
struct ExpectedRow {
    const char *fixture;
    const char *name;
    std::string value;
    std::string content;
    unsigned type;
};

// A row whose value and content are one text.
inline ExpectedRow same(const char *fixture, const char *name, const std::string &text,
                        unsigned type)
{
    return {fixture, name, text, text, type};
}

// Loads each fixture once and compares "value|content|kind" of each row;
// fill, when given, completes the expected text from the loaded fixture.
using Fill = std::function<std::string(const Loaded &, const std::string &)>;
inline void expectRows(const std::vector<ExpectedRow> &rows, const Fill &fill = {})
{
    std::map<std::string, std::unique_ptr<Loaded>> loaded;
    for (const ExpectedRow &row : rows) {
        auto &entry = loaded[row.fixture];
        if (!entry)
            entry = std::make_unique<Loaded>(row.fixture);
        ASSERT_TRUE(entry->ok) << row.fixture;
        const std::string expected = row.value + "|" + row.content + "|" + std::to_string(row.type);
        EXPECT_EQ(rowText(entry->model, row.name), fill ? fill(*entry, expected) : expected)
            << row.fixture << " " << row.name;
    }
}

} // namespace pkiui::test
