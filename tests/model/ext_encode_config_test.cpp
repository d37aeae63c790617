#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <optional>
#include <string>

#include "Tavik_PKI_Crypto_UI.h"
#include "pkiui/ext_encode_config.hpp"
#include "tavik_ptr.hpp"

namespace {

using pkiui::NameValuePair_st;

struct Section {
    std::string name;
    std::string method;
    int isTavik;
};

struct ConfigCase {
    const char *label;
    std::string text;
    int result;
    std::optional<Section> kept; // the one section left in the table
};

class ConfigFile : public testing::Test {
  protected:
    void SetUp() override { pkiui::ClearExtEncodeConfigForTest(); }
    void TearDown() override
    {
        pkiui::ClearExtEncodeConfigForTest();
        std::remove(m_path.c_str());
    }
    int load(const std::string &text)
    {
        std::ofstream(m_path, std::ios::binary) << text;
        return pkiui::LoadExtEncodeConfig(m_path.c_str());
    }
    void expectKept(const std::optional<Section> &kept, const char *label)
    {
        const auto last = pkiui::ExtEncodeConfigLastSectionForTest();
        ASSERT_EQ(pkiui::ExtEncodeConfigSizeForTest(), kept ? 1u : 0u) << label;
        ASSERT_EQ(last.has_value(), kept.has_value()) << label;
        if (kept) {
            EXPECT_EQ(last->name, kept->name) << label;
            EXPECT_EQ(last->encodeMethod, kept->method) << label;
            EXPECT_EQ(last->isTavik, kept->isTavik) << label;
        }
    }
    const std::string m_path = testing::TempDir() + "ext-encode-config-test.conf";
};

TEST_F(ConfigFile, LinesSectionsAndFailures)
{
    const std::string longValue(1100, 'A');
    const ConfigCase cases[] = {
        {"empty file", "", 0, std::nullopt},
        {"one section", "[1.2.3.4.5]\nEncodeMethod = UTF8String\nisTavik = 1\n", 1,
         Section{"1.2.3.4.5", "UTF8String", 1}},
        {"no line end at the end", "[1.2]\nEncodeMethod=OID", 1, Section{"1.2", "OID", 0}},
        {"byte-order mark and CRLF", "\xEF\xBB\xBF[1.2.3.4]\r\nEncodeMethod=OID\r\n", 1,
         Section{"1.2.3.4", "OID", 0}},
        {"mark only removed from the first line",
         "[1.2]\nEncodeMethod=OID\n\xEF\xBB\xBF[1.3]\nEncodeMethod=NULL\n", 0, std::nullopt},
        {"only two line-end characters stripped", "[1.2]\nEncodeMethod=OID\r\r\n", 1,
         Section{"1.2", "OID\r", 0}},
        {"blanks and tabs around lines, keys and values",
         " \t[1.2.3]\t \n\t EncodeMethod\t=\tInteger  \n  isTavik =  1\t\n", 1,
         Section{"1.2.3", "Integer", 1}},
        {"blanks inside the brackets stay", "[ 1.2 ]\nEncodeMethod=OID\n", 1,
         Section{" 1.2 ", "OID", 0}},
        {"empty section name", "[]\nEncodeMethod=Boolean\n", 1, Section{"", "Boolean", 0}},
        {"first line not a header", "EncodeMethod=OID\n[1.2]\nEncodeMethod=OID\n", 0, std::nullopt},
        {"text after the bracket is no header", "[1.2]x\nEncodeMethod=OID\n", 0, std::nullopt},
        {"a second bracket is no header", "[1]2]\nEncodeMethod=OID\n", 0, std::nullopt},
        {"a bracketed line with = is a key", "[1.2.3]\n[a=b]x\nEncodeMethod=OID\n", 1,
         Section{"1.2.3", "OID", 0}},
        {"blank line", "[1.2]\nEncodeMethod=OID\n\n[1.3]\nEncodeMethod=OID\n", 0, std::nullopt},
        {"line without =", "[1.2]\nEncodeMethod=OID\nabc\n", 0, std::nullopt},
        {"empty value", "[1.2]\nEncodeMethod=\n", 0, std::nullopt},
        {"blank value", "[1.2]\nEncodeMethod = \t\n", 0, std::nullopt},
        {"empty value of an unknown key", "[1.2]\nEncodeMethod=OID\nName=\n", 0, std::nullopt},
        {"keys without regard to case", "[1.2]\nencodemethod = OID\nISTAVIK = 1\n", 1,
         Section{"1.2", "OID", 1}},
        {"unknown keys ignored", "[1.2]\nName = x\n=y\nEncodeMethod=NULL\n", 1,
         Section{"1.2", "NULL", 0}},
        {"value after the first =", "[1.2]\nEncodeMethod = a=b\n", 1, Section{"1.2", "a=b", 0}},
        {"later method replaces", "[1.2]\nEncodeMethod=OID\nEncodeMethod=NULL\n", 1,
         Section{"1.2", "NULL", 0}},
        {"isTavik as atoi", "[1.2]\nEncodeMethod=OID\nisTavik=12abc\n", 1,
         Section{"1.2", "OID", 12}},
        {"isTavik not a number", "[1.2]\nEncodeMethod=OID\nisTavik=x\n", 1,
         Section{"1.2", "OID", 0}},
        {"last section kept",
         "[1.2]\nEncodeMethod=OID\nisTavik=1\n[1.3]\nEncodeMethod=UTF8String\n", 1,
         Section{"1.3", "UTF8String", 0}},
        {"no method at the next header", "[1.2]\nisTavik=1\n[1.3]\nEncodeMethod=OID\n", 0,
         std::nullopt},
        {"no method at the end", "[1.2]\nEncodeMethod=OID\nisTavik=1\n[1.3]\nisTavik=1\n", 0,
         Section{"1.2", "OID", 1}},
        {"added sections stay after a failure",
         "[1.2]\nEncodeMethod=OID\n[1.3]\nEncodeMethod=Integer\n[1.4]\nEncodeMethod=NULL\nabc\n", 0,
         Section{"1.3", "Integer", 0}},
        {"a long line is read as several", "[1.2]\nEncodeMethod=" + longValue + "\n", 0,
         std::nullopt},
        {"1022 characters and the line end fit the buffer",
         "[1.2]\nEncodeMethod=" + std::string(1022 - 13, 'B') + "\n", 1,
         Section{"1.2", std::string(1022 - 13, 'B'), 0}},
        {"1023 characters leave the line end as a blank line",
         "[1.2]\nEncodeMethod=" + std::string(1023 - 13, 'B') + "\n", 0, std::nullopt},
        {"1023 characters at the end of the file",
         "[1.2]\nEncodeMethod=" + std::string(1023 - 13, 'B'), 1,
         Section{"1.2", std::string(1023 - 13, 'B'), 0}},
    };
    for (const auto &c : cases) {
        pkiui::ClearExtEncodeConfigForTest();
        EXPECT_EQ(load(c.text), c.result) << c.label;
        expectKept(c.kept, c.label);
    }
}

TEST_F(ConfigFile, MissingFileLoadsNothing)
{
    EXPECT_EQ(pkiui::LoadExtEncodeConfig((m_path + ".absent").c_str()), 0);
    EXPECT_EQ(pkiui::LoadExtEncodeConfig(nullptr), 0);
    expectKept(std::nullopt, "missing");
}

TEST_F(ConfigFile, LaterLoadsReplaceTheOneSection)
{
    ASSERT_EQ(load("[1.2]\nEncodeMethod=OID\n"), 1);
    ASSERT_EQ(load("abc\n"), 0);
    expectKept(Section{"1.2", "OID", 0}, "failed load keeps the table");
    ASSERT_EQ(load("[1.9]\nEncodeMethod=Boolean\nisTavik=1\n"), 1);
    expectKept(Section{"1.9", "Boolean", 1}, "same key for every section");
}

TEST_F(ConfigFile, LookUpByOidTextFindsNothing)
{
    ASSERT_EQ(load("[1.2.3.4]\nEncodeMethod=UTF8String\nisTavik=1\n"), 1);
    char *name = nullptr;
    char *method = nullptr;
    int32_t isTavik = -7;
    const std::string oid = "1.2.3.4";
    EXPECT_EQ(GetExtEncodeMethod(oid.c_str(), &name, &method, &isTavik), 0);
    EXPECT_EQ(GetExtEncodeMethod("1.2.3.4", &name, &method, &isTavik), 0);
    EXPECT_EQ(GetExtEncodeMethod(nullptr, &name, &method, &isTavik), 0);
    EXPECT_EQ(name, nullptr);
    EXPECT_EQ(method, nullptr);
    EXPECT_EQ(isTavik, -7);
}

TEST_F(ConfigFile, LookUpUnderTheStoredAddressGivesToolkitTexts)
{
    ASSERT_EQ(load("[1.2.3.4]\nEncodeMethod=UTF8String\nisTavik=1\n"), 1);
    char *name = nullptr;
    char *method = nullptr;
    int32_t isTavik = 0;
    ASSERT_EQ(GetExtEncodeMethod(pkiui::ExtEncodeConfigKeyForTest(), &name, &method, &isTavik), 1);
    const tavik::TextPtr ownedName(name);
    const tavik::TextPtr ownedMethod(method);
    EXPECT_STREQ(name, "1.2.3.4");
    EXPECT_STREQ(method, "UTF8String");
    EXPECT_EQ(isTavik, 1);
}

} // namespace
