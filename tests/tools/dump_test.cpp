// pkiui-dump as a user runs it: exit codes, messages and the JSON it writes,
// read back with the JSON library; and its terminal text on the bytes
// certificates can carry.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

#include "dump_text.hpp"
#include "fixtures.hpp"

namespace {

using pkiui::dump::Json;
using namespace pkiui::test;

// Each input as one terminal line and as a JSON string read back: each
// ill-formed UTF-8 subpart becomes one U+FFFD (the JSON library's rule, one
// case each for a lone and a truncated sequence), every other byte is kept.
TEST(DumpText, KeepsEveryByteAndReplacesIllFormedUtf8)
{
    const std::string R = "\xef\xbf\xbd", cjk = "缩略图\xf0\x9f\x94\x91";
    struct Case {
        std::string in, terminal, json;
    };
    // clang-format off
    const Case cases[] = {
        {"a\r\nb", "a\\x0D\\x0Ab", "a\r\nb"}, {"a\tb", "a\tb", "a\tb"},
        {"中\"\\t\t", "中\"\\t\t", "中\"\\t\t"},                  // quote, backslash, tab
        {std::string("\x01\x1f\x00", 3), "\\x01\\x1F\\x00", std::string("\x01\x1f\x00", 3)}, // C0
        {"\x7f\xc2\x85", "\\x7F\\x85", "\x7f\xc2\x85"},                 // DEL, C1
        {"\xe0\xc2\x85", R + "\\x85", R + "\xc2\x85"},                  // C1 after a broken lead
        {cjk, cjk, cjk},                                               // passed through
        {"a\x80z", "a" + R + "z", "a" + R + "z"},                      // lone continuation
        {"\xe7\xbc" "A", R + "A", R + "A"},                            // truncated: one
    };
    // clang-format on
    for (const Case &c : cases) {
        EXPECT_EQ(pkiui::dump::terminalText(c.in), c.terminal) << c.terminal;
        EXPECT_EQ(Json::parse(pkiui::dump::jsonText(Json(c.in))), Json(c.json)) << c.terminal;
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

// ---- Running the tool ----

struct Outcome {
    int status = -1;
    std::string out, err;

    // The output as JSON; a parse error (invalid JSON or UTF-8) throws, which
    // fails the test.
    Json json() const { return Json::parse(out); }
};

std::string contents(const std::string &path)
{
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

Outcome dump(const std::string &args)
{
    // Files of their own per test process: several suites may run at once.
    const std::string base = testing::TempDir() + "pkiui-dump-" + std::to_string(getpid());
    const int status = std::system(
        (std::string(PKIUI_DUMP) + " " + args + " >" + base + ".out 2>" + base + ".err").c_str());
    Outcome run{WIFEXITED(status) ? WEXITSTATUS(status) : -1, contents(base + ".out"),
                contents(base + ".err")};
    std::remove((base + ".out").c_str());
    std::remove((base + ".err").c_str());
    return run;
}

std::string fixtures(std::initializer_list<const char *> names)
{
    std::string out;
    for (const char *name : names)
        out += " '" + fixturePath(name) + "'";
    return out;
}

// Help on standard output, anything it cannot take refused with the usage.
TEST(DumpTool, RefusesBadUsageWithTheUsage)
{
    const std::string file = fixtures({"rsa-leaf.der"});
    for (const std::string &args : std::vector<std::string>{
             "--help", "-h", "", "--json", "--filter" + file, "--filter 6" + file,
             "--filter -1" + file, "--filter 05" + file, "--filter=x" + file, "--frobnicate" + file,
             "-j" + file, "--general --filter 0" + file, "--trust" + file, "--untrusted=" + file}) {
        const Outcome run = dump(args);
        const bool help = args == "--help" || args == "-h";
        EXPECT_EQ(run.status, help ? 0 : 2) << args;
        EXPECT_EQ((help ? run.out : run.err).rfind("usage: pkiui-dump", 0), 0u) << args;
        EXPECT_EQ(help ? run.err : run.out, "") << args;
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
        const Json certs = run.json();
        ASSERT_EQ(certs.size(), 2u) << bad.name;
        EXPECT_EQ(certs[0]["file"], fixturePath("rsa-leaf.der"));
        EXPECT_EQ(certs[1]["file"], fixturePath("ec-leaf.pem"));
    }
}

TEST(DumpTool, WritesEveryCertificateAndFiltersByKind)
{
    const Outcome run =
        dump("--json" + fixtures({"rsa-leaf.der", "dn-all.pem", "ext-names.pem", "ext-private.pem",
                                  "ext-bad.pem", "sm2-self.pem", "v1-cert.pem", "bundle.pem"}));
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const Json certs = run.json();
    ASSERT_EQ(certs.size(), 10u);
    // Line breaks in texts are kept, as escapes.
    EXPECT_EQ(certs[0]["rows"][2]["content"], "签名算法:SHA256WithRSA\r\n签名参数:NULL");
    EXPECT_EQ(run.out.find('\r'), std::string::npos);
    EXPECT_FALSE(certs[0].contains("index"));
    for (int i = 1; i <= 3; ++i) {
        EXPECT_EQ(certs[6 + i]["index"], i);
        EXPECT_GT(certs[6 + i]["rows"].size(), 1u);
    }

    const Json attributes = dump("--json --filter 5" + fixtures({"bundle.pem"})).json();
    ASSERT_EQ(attributes.size(), 3u);
    for (const Json &cert : attributes) {
        ASSERT_EQ(cert["rows"].size(), 1u);
        EXPECT_EQ(cert["rows"][0]["name"], "缩略图");
        EXPECT_EQ(cert["rows"][0]["type"], 16);
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
    const ScopedTimeZone zone("UTC");
    const Dates dates = loadDates("rsa-leaf");
    const std::string file = fixturePath("rsa-leaf.der");
    const Outcome run = dump("--general --path --trust" + fixtures({"rsa-root.pem"}) +
                             " --untrusted=" + fixturePath("rsa-inter.pem") + " '" + file + "'");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "=== " + file +
                           " (general) ===\n证书信息\n该证书没有问题\n颁发给:\tLeaf RSA\n"
                           "颁发者:\tTavik Test Intermediate CA\n有效期从\t" +
                           slashedDay(dates.notBefore) + " 到 " + slashedDay(dates.notAfter) +
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
    const Json certs = run.json();
    ASSERT_EQ(certs.size(), 2u);
    const std::string incomplete = "没有足够信息，不能验证该证书",
                      expired = "该证书已过期，或尚未生效";

    const Json &orphan = certs[0];
    EXPECT_EQ(orphan["general"]["verdict"], incomplete);
    EXPECT_EQ(orphan["general"]["status"], 4);
    EXPECT_EQ(orphan["general"]["subject"], "Orphan Leaf");
    EXPECT_EQ(orphan["general"]["issuer"], "Vanished CA");
    EXPECT_EQ(orphan["path"], (Json{{"selected", 0},
                                    {"status", incomplete},
                                    {"rows",
                                     {{{"text", "Orphan Leaf"},
                                       {"name", "Orphan Leaf"},
                                       {"status", 4},
                                       {"statusText", incomplete},
                                       {"reason", "找不到颁发者“Vanished CA”"}}}}}));

    const Json &leaf = certs[1];
    EXPECT_EQ(leaf["general"]["verdict"], expired);
    EXPECT_EQ(leaf["general"]["status"], 5);
    EXPECT_EQ(leaf["path"]["selected"], 2);
    EXPECT_EQ(leaf["path"]["status"], expired);
    ASSERT_EQ(leaf["path"]["rows"].size(), 3u);
    EXPECT_EQ(leaf["path"]["rows"][2]["status"], 5);
}

} // namespace
