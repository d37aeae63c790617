// pkiui-dump as a user runs it: exit codes, messages, and JSON that a strict
// parser accepts; and its text encoders on the bytes certificates can carry.
#include <gtest/gtest.h>

#include <iconv.h>
#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

#include "dump_text.hpp"
#include "fixtures.hpp"

namespace {

using pkiui::test::fixturePath;

// ---- The encoders ----

struct EncodeCase {
    const char *label;
    std::string in;
    std::string json;     // without the quotes
    std::string terminal; // one line
};

const std::string R = "\xef\xbf\xbd"; // U+FFFD

const std::vector<EncodeCase> kEncodeCases = {
    {"line break kept as escapes", "a\r\nb", "a\\r\\nb", "a\\x0D\\x0Ab"},
    {"tab", "a\tb", "a\\tb", "a\tb"},
    {"quote and backslash", "\"\\", "\\\"\\\\", "\"\\"},
    {"other C0 controls", std::string("\x01\x1f\x00", 3), "\\u0001\\u001F\\u0000",
     "\\x01\\x1F\\x00"},
    {"DEL and a C1 control", "\x7f\xc2\x85", "\\u007F\\u0085", "\\x7F\\x85"},
    {"CJK and a 4-byte form passed through", "缩略图\xf0\x9f\x94\x91", "缩略图\xf0\x9f\x94\x91",
     "缩略图\xf0\x9f\x94\x91"},
    {"lone continuation byte", "a\x80z", "a" + R + "z", "a" + R + "z"},
    {"overlong slash: each byte replaced", "\xc0\xaf", R + R, R + R},
    {"surrogate: each byte replaced", "\xed\xa0\x80", R + R + R, R + R + R},
    {"truncated 3-byte form then ASCII: one replacement",
     "\xe7\xbc"
     "A",
     R + "A", R + "A"},
    {"past U+10FFFF: each byte replaced", "\xf4\x90\x80\x80", R + R + R + R, R + R + R + R},
    {"Latin-1 byte at the end", "caf\xe9", "caf" + R, "caf" + R},
};

TEST(DumpText, EncodesEveryByte)
{
    for (const EncodeCase &c : kEncodeCases) {
        EXPECT_EQ(pkiui::dump::jsonString(c.in), "\"" + c.json + "\"") << c.label;
        EXPECT_EQ(pkiui::dump::terminalText(c.in), c.terminal) << c.label;
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

// ---- A strict JSON reader (RFC 8259), enough to walk the output ----

struct Json {
    enum Kind { Null, Bool, Number, String, Array, Object } kind = Null;
    std::string text; // a string's value, a number's digits
    std::vector<Json> items;
    std::map<std::string, Json> members;
    const Json &operator[](const std::string &key) const { return members.at(key); }
};

class JsonReader {
  public:
    explicit JsonReader(const std::string &s) : m_s(s) {}

    // The value, or nullopt-like failure through ok().
    Json document()
    {
        Json v = value();
        space();
        if (m_pos != m_s.size())
            fail();
        return v;
    }
    bool ok() const { return m_ok; }

  private:
    void fail() { m_ok = false, m_pos = m_s.size(); }
    bool at(char c) const { return m_pos < m_s.size() && m_s[m_pos] == c; }
    bool eat(char c) { return at(c) ? (++m_pos, true) : false; }
    void space()
    {
        while (m_pos < m_s.size() && std::string(" \t\r\n").find(m_s[m_pos]) != std::string::npos)
            ++m_pos;
    }
    bool literal(const std::string &word)
    {
        if (m_s.compare(m_pos, word.size(), word) != 0)
            return false;
        m_pos += word.size();
        return true;
    }
    Json value()
    {
        space();
        Json v;
        if (eat('{')) {
            v.kind = Json::Object;
            space();
            if (eat('}'))
                return v;
            do {
                space();
                if (!at('"'))
                    return fail(), v;
                const std::string key = string();
                space();
                if (!eat(':'))
                    return fail(), v;
                v.members[key] = value();
                space();
            } while (eat(','));
            if (!eat('}'))
                fail();
        } else if (eat('[')) {
            v.kind = Json::Array;
            space();
            if (eat(']'))
                return v;
            do
                v.items.push_back(value());
            while ((space(), eat(',')));
            if (!eat(']'))
                fail();
        } else if (at('"')) {
            v.kind = Json::String;
            v.text = string();
        } else if (literal("true") || literal("false")) {
            v.kind = Json::Bool;
        } else if (literal("null")) {
            v.kind = Json::Null;
        } else {
            v.kind = Json::Number;
            const std::size_t start = m_pos;
            eat('-');
            if (!eat('0')) {
                if (!digits())
                    return fail(), v;
            }
            if (eat('.') && !digits())
                return fail(), v;
            if ((eat('e') || eat('E')) && ((eat('+') || eat('-')), !digits()))
                return fail(), v;
            v.text = m_s.substr(start, m_pos - start);
        }
        return v;
    }
    bool digits()
    {
        const std::size_t start = m_pos;
        while (m_pos < m_s.size() && m_s[m_pos] >= '0' && m_s[m_pos] <= '9')
            ++m_pos;
        return m_pos > start;
    }
    // Escapes decoded to UTF-8 (the output has only \u00XX, below U+0100).
    std::string string()
    {
        std::string out;
        ++m_pos;
        while (m_pos < m_s.size() && m_s[m_pos] != '"') {
            const unsigned char c = static_cast<unsigned char>(m_s[m_pos++]);
            if (c < 0x20)
                return fail(), out;
            if (c != '\\') {
                out += static_cast<char>(c);
                continue;
            }
            if (m_pos >= m_s.size())
                return fail(), out;
            const char e = m_s[m_pos++];
            const std::string simple = "\"\\/bfnrt", meaning = "\"\\/\b\f\n\r\t";
            if (const std::size_t k = simple.find(e); k != std::string::npos) {
                out += meaning[k];
            } else if (e == 'u' && m_pos + 4 <= m_s.size() &&
                       m_s.find_first_not_of("0123456789abcdefABCDEF", m_pos) >= m_pos + 4) {
                const unsigned cp = std::stoul(m_s.substr(m_pos, 4), nullptr, 16);
                m_pos += 4;
                if (cp >= 0x100)
                    return fail(), out; // not produced by the tool
                if (cp < 0x80) {
                    out += static_cast<char>(cp);
                } else {
                    out += static_cast<char>(0xC0 | (cp >> 6));
                    out += static_cast<char>(0x80 | (cp & 0x3F));
                }
            } else {
                return fail(), out;
            }
        }
        if (!eat('"'))
            fail();
        return out;
    }

    const std::string &m_s;
    std::size_t m_pos = 0;
    bool m_ok = true;
};

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

// The certificates of a JSON run, checked for shape on the way.
std::vector<Json> certificates(const Outcome &run)
{
    JsonReader reader(run.out);
    const Json doc = reader.document();
    EXPECT_TRUE(reader.ok()) << "not JSON:\n" << run.out;
    EXPECT_TRUE(isUtf8(run.out));
    EXPECT_EQ(doc.kind, Json::Array);
    for (const Json &cert : doc.items) {
        EXPECT_EQ(cert.kind, Json::Object);
        EXPECT_EQ(cert["file"].kind, Json::String);
        for (const Json &row : cert["rows"].items) {
            EXPECT_EQ(row.members.size(), 4u);
            for (const char *key : {"name", "value", "content"})
                EXPECT_EQ(row[key].kind, Json::String) << key;
            EXPECT_EQ(row["type"].kind, Json::Number);
        }
    }
    return doc.items;
}

TEST(DumpTool, RefusesBadUsageWithTheUsage)
{
    const std::string file = fixtures({"rsa-leaf.der"});
    for (const std::string &args : std::vector<std::string>{
             "", "--json", "--filter" + file, "--filter 6" + file, "--filter -1" + file,
             "--filter 05" + file, "--filter=x" + file, "--frobnicate" + file, "-j" + file}) {
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
        const std::vector<Json> certs = certificates(run);
        ASSERT_EQ(certs.size(), 2u) << bad.name;
        EXPECT_EQ(certs[0]["file"].text, fixturePath("rsa-leaf.der"));
        EXPECT_EQ(certs[1]["file"].text, fixturePath("ec-leaf.pem"));
    }
}

TEST(DumpTool, WritesJsonKeepingLineBreaksAsEscapes)
{
    const Outcome run =
        dump("--json" + fixtures({"rsa-leaf.der", "dn-all.pem", "ext-names.pem", "ext-private.pem",
                                  "ext-bad.pem", "sm2-self.pem", "v1-cert.pem"}));
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const std::vector<Json> certs = certificates(run);
    ASSERT_EQ(certs.size(), 7u);
    EXPECT_EQ(certs[0].members.count("index"), 0u);
    EXPECT_NE(run.out.find("\\r\\n"), std::string::npos);
    bool multiLine = false;
    for (const Json &row : certs[0]["rows"].items)
        multiLine = multiLine || row["content"].text.find("\r\n") != std::string::npos;
    EXPECT_TRUE(multiLine) << "no content of rsa-leaf spans lines";
}

TEST(DumpTool, GivesEveryCertificateOfABundleAndFiltersByKind)
{
    const std::vector<Json> all = certificates(dump("--json" + fixtures({"bundle.pem"})));
    ASSERT_EQ(all.size(), 3u);
    for (std::size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(all[i]["index"].text, std::to_string(i + 1));
        EXPECT_GT(all[i]["rows"].items.size(), 1u);
    }

    const Outcome run = dump("--json --filter 5" + fixtures({"bundle.pem", "rsa-leaf.der"}));
    EXPECT_EQ(run.status, 0);
    const std::vector<Json> attributes = certificates(run);
    ASSERT_EQ(attributes.size(), 4u);
    for (const Json &cert : attributes) {
        ASSERT_EQ(cert["rows"].items.size(), 1u);
        EXPECT_EQ(cert["rows"].items[0]["name"].text, "缩略图");
        EXPECT_EQ(cert["rows"].items[0]["type"].text, "16");
    }

    const Outcome text = dump("--filter=5" + fixtures({"bundle.pem"}));
    EXPECT_EQ(text.status, 0);
    for (const char *header : {" #1 of 3 (1 row) ===\n", " #2 of 3 (1 row) ===\n",
                               " #3 of 3 (1 row) ===\n", "\n缩略图\tMD5,SHA1,SHA256,SHA512\n"})
        EXPECT_NE(text.out.find(header), std::string::npos) << header;
}

} // namespace
