// verifyTime: the earliest end of validity of a path whose periods overlap.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fixtures.hpp"
#include "pkiui/verify_time.hpp"

namespace pkiui::test {
namespace {

TEST(VerifyTime, EarliestEndWhenPeriodsOverlap)
{
    const struct {
        std::vector<std::string> path;
        const char *cert;
        const char *expectedFrom; // fixture whose notAfter is chosen; null: no time
    } cases[] = {
        {{"rsa-root"}, "rsa-root", "rsa-root"},
        {{"rsa-root", "rsa-inter", "rsa-leaf"}, "rsa-leaf", "rsa-leaf"},
        {{"rsa-root", "tie-b"}, "tie-a", "tie-b"},              // an equal end in the path counts
        {{"late-ca", "expired-leaf"}, "expired-leaf", nullptr}, // the CA starts after the leaf ends
        {{"rsa-root"}, "rsa-leaf", nullptr}, // no end at or before the certificate's
        {{}, "rsa-leaf", nullptr},           // no path
    };
    for (const auto &c : cases) {
        std::vector<tavik::CertPtr> owned;
        std::vector<TAVIK_CERT_st *> path;
        for (const auto &name : c.path) {
            owned.push_back(loadCert(name));
            ASSERT_TRUE(owned.back()) << name;
            path.push_back(owned.back().get());
        }
        const tavik::CertPtr cert = loadCert(c.cert);
        ASSERT_TRUE(cert) << c.cert;
        const auto time = verifyTime(path.data(), static_cast<int>(path.size()), cert.get());
        EXPECT_EQ(time.value_or("(none)"),
                  c.expectedFrom ? loadDates(c.expectedFrom).notAfter : "(none)")
            << c.cert;
    }
}

} // namespace
} // namespace pkiui::test
