#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

#include "Tavik_PKI_Crypto_UI.h"
#include "fixtures.hpp"

using pkiui::test::loadCert;
using pkiui::test::loadDates;

namespace {

struct Case {
    const char *what;
    std::vector<std::string> path;
    std::string cert;
    const char *expectedFrom; // fixture whose notAfter is chosen; null: no time
};

class VerifyTime : public ::testing::TestWithParam<Case> {};

TEST_P(VerifyTime, ChoosesEarliestEndWhenPeriodsOverlap)
{
    const Case &c = GetParam();
    std::vector<tavik::CertPtr> owned;
    std::vector<TAVIK_CERT_st *> path;
    for (const auto &name : c.path) {
        owned.push_back(loadCert(name));
        ASSERT_TRUE(owned.back()) << name;
        path.push_back(owned.back().get());
    }
    tavik::CertPtr cert = loadCert(c.cert);
    ASSERT_TRUE(cert);

    char *time = nullptr;
    const int rc = getVerifyTime(path.data(), static_cast<int>(path.size()), cert.get(), &time);
    tavik::TextPtr owner(time);
    if (c.expectedFrom) {
        ASSERT_EQ(rc, 1);
        EXPECT_EQ(std::string(time), loadDates(c.expectedFrom).notAfter);
    } else {
        EXPECT_EQ(rc, 0);
        EXPECT_EQ(time, nullptr);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Paths, VerifyTime,
    ::testing::Values(
        Case{"self-signed root alone", {"rsa-root"}, "rsa-root", "rsa-root"},
        Case{"leaf ends first", {"rsa-root", "rsa-inter", "rsa-leaf"}, "rsa-leaf", "rsa-leaf"},
        Case{"equal end in the path counts", {"rsa-root", "tie-b"}, "tie-a", "tie-b"},
        Case{"ca starts after leaf ends", {"late-ca", "expired-leaf"}, "expired-leaf", nullptr},
        Case{"no end at or before the certificate's", {"rsa-root"}, "rsa-leaf", nullptr}),
    [](const auto &info) {
        std::string name = info.param.what;
        for (char &ch : name)
            if (!std::isalnum(static_cast<unsigned char>(ch)))
                ch = '_';
        return name;
    });

TEST(VerifyTimeArguments, EmptyOrMissingPathGivesNothing)
{
    tavik::CertPtr cert = loadCert("rsa-leaf");
    ASSERT_TRUE(cert);
    TAVIK_CERT_st *path[] = {cert.get()};
    char *time = nullptr;
    EXPECT_EQ(getVerifyTime(path, 0, cert.get(), &time), 0);
    EXPECT_EQ(getVerifyTime(path, -1, cert.get(), &time), 0);
    EXPECT_EQ(getVerifyTime(nullptr, 1, cert.get(), &time), 0);
    // The certificate is not read when the path is empty.
    EXPECT_EQ(getVerifyTime(path, 0, nullptr, &time), 0);
    EXPECT_EQ(time, nullptr);
}

} // namespace
