// pkiui-dump as a user runs it: exit codes, messages, and JSON that a strict
// check accepts; and its text encoders on the bytes certificates can carry.
#include <gtest/gtest.h>

#include <iconv.h>
#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <cstring>
#include <memory>
#include <initializer_list>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "dump_text.hpp"
#include "fixtures.hpp"

namespace {

using pkiui::dump::jsonString;
using pkiui::test::fixturePath;

// ---- The encoders ----

// Each byte in, as JSON (without the quotes) and as one terminal line; each
// ill-formed UTF-8 form becomes U+FFFD as the replacement rules say.
TEST(DumpText, EncodesEveryByte)
{
    const std::string R = "\xef\xbf\xbd", cjk = "缩略图\xf0\x9f\x94\x91";
    struct Case {
        std::string in, json, terminal;
    };
    // clang-format off
    const Case cases[] = {
        {"a\r\nb", "a\\r\\nb", "a\\x0D\\x0Ab"}, {"a\tb", "a\\tb", "a\tb"}, {"\"\\", "\\\"\\\\", "\"\\"},
        {std::string("\x01\x1f\x00", 3), "\\u0001\\u001F\\u0000", "\\x01\\x1F\\x00"}, // C0
        {"\x7f\xc2\x85", "\\u007F\\u0085", "\\x7F\\x85"},                              // DEL, C1
        {cjk, cjk, cjk},                                                               // passed through
        {"a\x80z", "a" + R + "z", "a" + R + "z"},                                      // lone continuation
        {"\xc0\xaf", R + R, R + R},                                                    // overlong
        {"\xed\xa0\x80", R + R + R, R + R + R},                                        // surrogate
        {"\xe7\xbc" "A", R + "A", R + "A"},                                            // truncated: one
        {"\xf4\x90\x80\x80", R + R + R + R, R + R + R + R},                            // past U+10FFFF
        {"caf\xe9", "caf" + R, "caf" + R},                                             // Latin-1 at the end
    };
    // clang-format on
    for (const Case &c : cases) {
        EXPECT_EQ(jsonString(c.in), "\"" + c.json + "\"") << c.json;
        EXPECT_EQ(pkiui::dump::terminalText(c.in), c.terminal) << c.json;
    }
}

TEST(DumpText, SplitsContentAtLineBreaksAndNamesKinds)
{
    using V = std::vector<std::string_view>;
    EXPECT_EQ(pkiui::dump::contentLines("a\r\nb\r\n"), (V{"a", "b", ""}));
    EXPECT_EQ(pkiui::dump::contentLines("a\nb\rc"), (V{"a", "b\rc"}));
    EXPECT_EQ(pkiui::dump::kindText(14), "14 (extension, critical, TAVIK)");
    EXPECT_EQ(pkiui::dump::kindText(17), "17 (version-1 field, attribute)");
    EXPECT_EQ(pkiui::dump::kindText(0), "0 (none)");
    EXPECT_EQ(pkiui::dump::kindText(34), "34 (extension, unknown bits)");
}

// ---- A strict JSON check (RFC 8259): the whole text one valid value ----

struct JsonCheck {
    const std::string &s;
    std::size_t pos = 0;

    bool any(const char *set)
    {
        return pos < s.size() && s[pos] != '\0' && std::strchr(set, s[pos]) && ++pos;
    }
    bool eat(char c) { return pos < s.size() && s[pos] == c && ++pos; }
    std::size_t digits()
    {
        std::size_t n = 0;
        while (any("0123456789"))
            ++n;
        return n;
    }
    // Members or items up to the closing bracket, with a key before each member.
    bool list(char close, bool members)
    {
        if ((space(), eat(close)))
            return true;
        do {
            if ((members && !(string() && (space(), eat(':')))) || !value())
                return false;
        } while ((space(), eat(',')));
        return eat(close);
    }
    void space()
    {
        while (any(" \t\r\n")) {
        }
    }
    bool string()
    {
        if (!(space(), eat('"')))
            return false;
        while (pos < s.size() && s[pos] != '"') {
            const unsigned char c = static_cast<unsigned char>(s[pos++]);
            if (c < 0x20 || (c == '\\' && !any("\"\\/bfnrt") &&
                             !(eat('u') && any(kHex) && any(kHex) && any(kHex) && any(kHex))))
                return false;
        }
        return eat('"');
    }
    bool value()
    {
        space();
        for (const char *word : {"true", "false", "null"}) {
            if (s.compare(pos, std::strlen(word), word) == 0)
                return pos += std::strlen(word), true;
        }
        if (eat('{') || eat('['))
            return list(s[pos - 1] == '{' ? '}' : ']', s[pos - 1] == '{');
        if (pos < s.size() && s[pos] == '"')
            return string();
        eat('-');
        return (eat('0') || digits()) && (!eat('.') || digits()) &&
               (!any("eE") || (any("+-"), digits()));
    }
    static constexpr const char *kHex = "0123456789abcdefABCDEF";
};

bool validJson(const std::string &text)
{
    JsonCheck check{text};
    return check.value() && (check.space(), check.pos == text.size());
}

// JSON text must be UTF-8; glibc's converter refuses every ill-formed form.
bool isUtf8(const std::string &s)
{
    iconv_t cd = iconv_open("UTF-8", "UTF-8");
    if (cd == reinterpret_cast<iconv_t>(-1))
        return false;
    std::string copy = s, sink(s.size() + 16, '\0');
    char *in = copy.data(), *out = sink.data();
    std::size_t inLeft = copy.size(), outLeft = sink.size();
    const bool ok = iconv(cd, &in, &inLeft, &out, &outLeft) != static_cast<std::size_t>(-1);
    iconv_close(cd);
    return ok && inLeft == 0;
}

// ---- Running the tool ----

struct Outcome {
    int status = -1;
    std::string out, err;
};

Outcome dump(const std::string &args)
{
    const std::string errFile = testing::TempDir() + "pkiui-dump-stderr.txt";
    const std::string command = std::string(PKIUI_DUMP) + " " + args + " 2>" + errFile;
    Outcome run;
    std::unique_ptr<FILE, int (*)(FILE *)> pipe(popen(command.c_str(), "r"), pclose);
    if (!pipe)
        return run;
    char buf[4096];
    for (std::size_t n; (n = fread(buf, 1, sizeof buf, pipe.get())) > 0;)
        run.out.append(buf, n);
    const int status = pclose(pipe.release());
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::ifstream err(errFile);
    run.err.assign(std::istreambuf_iterator<char>(err), std::istreambuf_iterator<char>());
    return run;
}

std::string fixtures(std::initializer_list<const char *> names)
{
    std::string out;
    for (const char *name : names)
        out += " '" + fixturePath(name) + "'";
    return out;
}

// The certificates of a valid JSON run, one a line as the tool writes them:
// each the line opening it and its rows' lines.
struct Cert {
    std::string head;
    std::vector<std::string> rows;
};

std::vector<Cert> certificates(const Outcome &run)
{
    EXPECT_TRUE(validJson(run.out)) << "not JSON:\n" << run.out;
    EXPECT_TRUE(isUtf8(run.out));
    std::vector<Cert> out;
    std::istringstream lines(run.out);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("{\"file\": ", 0) == 0)
            out.push_back({line, {}});
        else if (line.rfind("  {\"name\": ", 0) == 0 && !out.empty())
            out.back().rows.push_back(line);
    }
    return out;
}

TEST(DumpTool, RefusesBadUsageWithTheUsage)
{
    const std::string file = fixtures({"rsa-leaf.der"});
    for (const std::string &args : std::vector<std::string>{
             "", "--json", "--filter" + file, "--filter 6" + file, "--filter -1" + file,
             "--filter 05" + file, "--filter=x" + file, "--frobnicate" + file, "-j" + file,
             "--general --filter 0" + file, "--trust" + file, "--untrusted=" + file}) {
        const Outcome run = dump(args);
        EXPECT_EQ(run.status, 2) << args;
        EXPECT_EQ(run.err.rfind("usage: pkiui-dump", 0), 0u) << args;
        EXPECT_EQ(run.out, "") << args;
    }
    for (const char *args : {"--help", "-h"}) {
        const Outcome run = dump(args);
        EXPECT_EQ(run.status, 0) << args;
        EXPECT_EQ(run.out.rfind("usage: pkiui-dump", 0), 0u) << args;
        EXPECT_NE(run.out.find("U+FFFD"), std::string::npos) << args;
    }
}

TEST(DumpTool, NamesEachFileItCannotReadAndPrintsTheOthers)
{
    struct Bad {
        const char *name, *reason;
    };
    for (const Bad bad :
         {Bad{"no-such.der", "no such file"}, Bad{"empty.pem", "no certificate in it"},
          Bad{"garbage.der", "no certificate in it"}, Bad{"key-only.pem", "no certificate in it"},
          Bad{"", "is a directory"}}) {
        const Outcome run = dump("--json" + fixtures({"rsa-leaf.der", bad.name, "ec-leaf.pem"}));
        EXPECT_EQ(run.status, 1) << bad.name;
        EXPECT_EQ(run.err, "pkiui-dump: " + fixturePath(bad.name) + ": " + bad.reason + "\n");
        const std::vector<Cert> certs = certificates(run);
        ASSERT_EQ(certs.size(), 2u) << bad.name;
        const std::string files[] = {fixturePath("rsa-leaf.der"), fixturePath("ec-leaf.pem")};
        for (std::size_t i = 0; i < 2; ++i)
            EXPECT_EQ(certs[i].head.rfind("{\"file\": " + jsonString(files[i]) + ", ", 0), 0u);
    }
}

TEST(DumpTool, WritesJsonKeepingLineBreaksAsEscapes)
{
    const Outcome run =
        dump("--json" + fixtures({"rsa-leaf.der", "dn-all.pem", "ext-names.pem", "ext-private.pem",
                                  "ext-bad.pem", "sm2-self.pem", "v1-cert.pem"}));
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const std::vector<Cert> certs = certificates(run);
    ASSERT_EQ(certs.size(), 7u);
    EXPECT_EQ(certs[0].head.find("\"index\""), std::string::npos);
    // Some content of rsa-leaf spans lines, kept as escapes.
    bool multiLine = false;
    for (const std::string &row : certs[0].rows)
        multiLine = multiLine || row.find("\\r\\n") != std::string::npos;
    EXPECT_TRUE(multiLine);
    EXPECT_EQ(run.out.find('\r'), std::string::npos);
}

TEST(DumpTool, GivesEveryCertificateOfABundleAndFiltersByKind)
{
    const std::vector<Cert> all = certificates(dump("--json" + fixtures({"bundle.pem"})));
    ASSERT_EQ(all.size(), 3u);
    for (std::size_t i = 0; i < all.size(); ++i) {
        EXPECT_NE(all[i].head.find(", \"index\": " + std::to_string(i + 1) + ", "),
                  std::string::npos);
        EXPECT_GT(all[i].rows.size(), 1u);
    }

    const Outcome run = dump("--json --filter 5" + fixtures({"bundle.pem", "rsa-leaf.der"}));
    EXPECT_EQ(run.status, 0);
    const std::vector<Cert> attributes = certificates(run);
    ASSERT_EQ(attributes.size(), 4u);
    for (const Cert &cert : attributes) {
        ASSERT_EQ(cert.rows.size(), 1u);
        EXPECT_EQ(cert.rows[0].rfind("  {\"name\": \"缩略图\", ", 0), 0u);
        EXPECT_NE(cert.rows[0].find(", \"type\": 16}"), std::string::npos);
    }

    const Outcome text = dump("--filter=5" + fixtures({"bundle.pem"}));
    EXPECT_EQ(text.status, 0);
    for (const char *header : {" #1 of 3 (1 row) ===\n", " #2 of 3 (1 row) ===\n",
                               " #3 of 3 (1 row) ===\n", "\n缩略图\tMD5,SHA1,SHA256,SHA512\n"})
        EXPECT_NE(text.out.find(header), std::string::npos) << header;
}

// ---- The general and path tabs ----

TEST(DumpTool, ShowsTheGeneralAndPathTabsInText)
{
    const pkiui::test::ScopedTimeZone zone("UTC");
    const pkiui::test::Dates dates = pkiui::test::loadDates("rsa-leaf");
    const auto day = [](const std::string &t) {
        return t.substr(0, 4) + "/" + t.substr(4, 2) + "/" + t.substr(6, 2);
    };
    const std::string file = fixturePath("rsa-leaf.der");
    const Outcome run = dump("--general --path --trust" + fixtures({"rsa-root.pem"}) +
                             " --untrusted=" + fixturePath("rsa-inter.pem") + " '" + file + "'");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "=== " + file +
                           " (general) ===\n证书信息\n该证书没有问题\n颁发给:\tLeaf RSA\n"
                           "颁发者:\tTavik Test Intermediate CA\n有效期从\t" +
                           day(dates.notBefore) + " 到 " + day(dates.notAfter) +
                           "\n证书类型:\t签名 - RSA(2048 bits)\n\n"
                           "=== " +
                           file +
                           " (path) ===\n证书路径(P)\n"
                           "Tavik Test Root CA\t该证书没有问题\n"
                           "\t|- Tavik Test Intermediate CA\t该证书没有问题\n"
                           "\t\t|- Leaf RSA\t该证书没有问题\n"
                           "证书状态(S)\t该证书没有问题\n\n");

    const Outcome missing = dump("--path --trust" + fixtures({"no-such.pem", "rsa-leaf.der"}));
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "pkiui-dump: " + fixturePath("no-such.pem") + ": no such file\n");
}

TEST(DumpTool, ShowsTheGeneralAndPathTabsInJson)
{
    const Outcome run =
        dump("--json --path --general --trust" + fixtures({"rsa-root.pem"}) + " --untrusted" +
             fixtures({"rsa-inter.pem", "orphan-leaf.pem", "expired-leaf.pem"}));
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(validJson(run.out)) << run.out;
    const char *const parts[] = {
        R"("general": {"verdict": "没有足够信息，不能验证该证书", "status": 4, )"
        R"("subject": "Orphan Leaf", "issuer": "Vanished CA", )",
        R"( "path": {"selected": 0, "status": "没有足够信息，不能验证该证书", "rows": [)"
        "\n"
        R"(  {"text": "Orphan Leaf", "name": "Orphan Leaf", "status": 4, )"
        R"("statusText": "没有足够信息，不能验证该证书"})"
        "\n]}}",
        R"("general": {"verdict": "该证书已过期，或尚未生效", "status": 5, )",
        R"( "path": {"selected": 2, "status": "该证书已过期，或尚未生效", )",
        R"(  {"text": "\t|- Tavik Test Intermediate CA", "name": "Tavik Test Intermediate CA", )"
        R"("status": 2, "statusText": "该证书没有问题"},)"
        "\n",
        R"(  {"text": "\t\t|- Expired Leaf", "name": "Expired Leaf", "status": 5, )"
        R"("statusText": "该证书已过期，或尚未生效"})"
        "\n]}}"};
    for (const char *part : parts)
        EXPECT_NE(run.out.find(part), std::string::npos) << part << "\nin:\n" << run.out;
}

} // namespace
