// The extension encoding configuration file: its line rules, the one section
// the table keeps, and look-ups that never find a certificate's OID text.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "pkiui/ext_encode_config.hpp"
#include "tavik_ptr.hpp"

namespace {

// Each test starts and ends with an empty table.
class ConfigFile : public testing::Test {
  protected:
    void SetUp() override { pkiui::ClearExtEncodeConfigForTest(); }
    void TearDown() override { SetUp(); }
    int load(const std::string &text)
    {
        std::ofstream(m_path, std::ios::binary) << text;
        const int result = pkiui::LoadExtEncodeConfig(m_path.c_str());
        std::remove(m_path.c_str());
        return result;
    }
    // The table's size, then its last section as name|method|isTavik.
    static std::string kept()
    {
        const auto last = pkiui::ExtEncodeConfigLastSectionForTest();
        return std::to_string(pkiui::ExtEncodeConfigSizeForTest()) +
               (last ? "|" + last->name + "|" + last->encodeMethod + "|" +
                           std::to_string(last->isTavik)
                     : "");
    }
    const std::string m_path = testing::TempDir() + "ext-encode-config-test.conf";
};

TEST_F(ConfigFile, LinesSectionsAndFailures)
{
    const std::string b1009(1009, 'B'), b1010(1010, 'B'); // lines of 1022 and 1023 characters
    const struct {
        std::string text;
        int result;
        std::string kept;
    } cases[] = {
        {"", 0, "0"},
        {"[1.2.3.4.5]\nEncodeMethod = UTF8String\nisTavik = 1\n", 1, "1|1.2.3.4.5|UTF8String|1"},
        {"\xEF\xBB\xBF[1.2.3.4]\r\nEncodeMethod=OID\r\n", 1, "1|1.2.3.4|OID|0"},
        {"[1.2]\nEncodeMethod=OID\n\xEF\xBB\xBF[1.3]\nEncodeMethod=NULL\n", 0, "0"},
        {"[1.2]\nEncodeMethod=OID\r\r\n", 1, "1|1.2|OID\r|0"},
        {" \t[1.2.3]\t \n\t EncodeMethod\t=\tInteger  \n  isTavik =  1\t\n", 1,
         "1|1.2.3|Integer|1"},
        {"[ 1.2 ]\nEncodeMethod=OID\n", 1, "1| 1.2 |OID|0"},
        {"[]\nEncodeMethod=Boolean\n", 1, "1||Boolean|0"},
        {"EncodeMethod=OID\n[1.2]\nEncodeMethod=OID\n", 0, "0"},
        {"[1.2]x\nEncodeMethod=OID\n", 0, "0"},
        {"[1]2]\nEncodeMethod=OID\n", 0, "0"},
        {"[1.2.3]\n[a=b]x\nEncodeMethod=OID\n", 1, "1|1.2.3|OID|0"},
        {"[1.2]\nEncodeMethod=OID\n\n[1.3]\nEncodeMethod=OID\n", 0, "0"},
        {"[1.2]\nEncodeMethod=OID\nabc\n", 0, "0"},
        {"[1.2]\nEncodeMethod = \t\n", 0, "0"},
        {"[1.2]\nEncodeMethod=OID\nName=\n", 0, "0"},
        {"[1.2]\nencodemethod = OID\nISTAVIK = 1\n", 1, "1|1.2|OID|1"},
        {"[1.2]\nName = x\n=y\nEncodeMethod=NULL\n", 1, "1|1.2|NULL|0"},
        {"[1.2]\nEncodeMethod = a=b\n", 1, "1|1.2|a=b|0"},
        {"[1.2]\nEncodeMethod=OID\nEncodeMethod=NULL\n", 1, "1|1.2|NULL|0"},
        {"[1.2]\nEncodeMethod=OID\nisTavik=12abc\n", 1, "1|1.2|OID|12"},
        {"[1.2]\nEncodeMethod=OID\nisTavik=1\n[1.3]\nEncodeMethod=UTF8String\n", 1,
         "1|1.3|UTF8String|0"},
        // Sections added before a failure stay.
        {"[1.2]\nEncodeMethod=OID\nisTavik=1\n[1.3]\nisTavik=1\n", 0, "1|1.2|OID|1"},
        {"[1.2]\nEncodeMethod=OID\n[1.3]\nEncodeMethod=Integer\n[1.4]\nEncodeMethod=NULL\nabc\n", 0,
         "1|1.3|Integer|0"},
        // A line is read 1023 characters at a time.
        {"[1.2]\nEncodeMethod=" + b1009 + "\n", 1, "1|1.2|" + b1009 + "|0"},
        {"[1.2]\nEncodeMethod=" + b1010 + "\n", 0, "0"},
        {"[1.2]\nEncodeMethod=" + b1010, 1, "1|1.2|" + b1010 + "|0"},
    };
    for (const auto &c : cases) {
        pkiui::ClearExtEncodeConfigForTest();
        EXPECT_EQ(load(c.text), c.result) << testing::PrintToString(c.text);
        EXPECT_EQ(kept(), c.kept) << testing::PrintToString(c.text);
    }
}

TEST_F(ConfigFile, LaterLoadsKeepTheTableAndMissingFilesLoadNothing)
{
    EXPECT_EQ(pkiui::LoadExtEncodeConfig((m_path + ".absent").c_str()), 0);
    EXPECT_EQ(kept(), "0");
    ASSERT_EQ(load("[1.2]\nEncodeMethod=OID\n"), 1);
    ASSERT_EQ(load("abc\n"), 0);
    EXPECT_EQ(kept(), "1|1.2|OID|0") << "a failed load keeps the table";
}

TEST_F(ConfigFile, OnlyTheStoredAddressIsFound)
{
    ASSERT_EQ(load("[1.2.3.4]\nEncodeMethod=UTF8String\nisTavik=1\n"), 1);
    const std::string oid = "1.2.3.4";
    for (const char *text : {oid.c_str(), "1.2.3.4", static_cast<const char *>(nullptr)})
        EXPECT_FALSE(pkiui::findExtEncodeMethod(text)) << (text ? text : "null");

    const auto found = pkiui::findExtEncodeMethod(pkiui::ExtEncodeConfigKeyForTest());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->name, "1.2.3.4");
    EXPECT_EQ(found->encodeMethod, "UTF8String");
    EXPECT_EQ(found->isTavik, 1);
}

} // namespace
