// With no display, or one that is named but cannot be used, the entries fail
// with their failure results and nothing aborts the host. Runs against the
// shared library, as a host would.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <string>

#include "Tavik_PKI_Crypto_UI.h"
#include "fixtures.hpp"

namespace {

constexpr const char *kVariables[] = {"DISPLAY", "WAYLAND_DISPLAY", "XDG_RUNTIME_DIR",
                                      "QT_QPA_PLATFORM"};

// The environment a host was started with; unset for nullptr.
struct Environment {
    const char *what;
    const char *display;
    const char *wayland;
    const char *runtimeDir;
    const char *platform;
};

class NoDisplay : public ::testing::TestWithParam<Environment> {
  protected:
    void SetUp() override
    {
        const Environment &e = GetParam();
        const char *values[] = {e.display, e.wayland, e.runtimeDir, e.platform};
        for (int i = 0; i < 4; ++i) {
            if (values[i])
                setenv(kVariables[i], values[i], 1);
            else
                unsetenv(kVariables[i]);
        }
    }
};

TEST_P(NoDisplay, BlockingEntriesFailWithoutAborting)
{
    const tavik::CertPtr cert = pkiui::test::loadCert("rsa-leaf");
    ASSERT_NE(cert, nullptr);
    TAVIK_CERT_st *certs[] = {cert.get()};
    const auto device = pkiui::test::openScripted(1, 3, {{1, 3}});
    ASSERT_TRUE(device);

    char sentinel = 'x';
    char *pwd = &sentinel;
    EXPECT_EQ(TavikPKIUISelectCert(nullptr, nullptr, nullptr, certs, 1), nullptr);
    EXPECT_EQ(TavikPKIUIGetPassword(nullptr, "m", &pwd), TAVIKPKIUI_NO_PASSWORD);
    EXPECT_EQ(TavikPKIUIVerifyPassword(nullptr, device.get(), 1, "m", &pwd),
              TAVIKPKIUI_NO_PASSWORD);
    EXPECT_EQ(pwd, &sentinel);
    EXPECT_EQ(TavikPKIUIDisplayCert(nullptr, cert.get()), 0);
    EXPECT_EQ(TavikPKIDeviceScriptedVerifyCalls(device.get()), 0);
}

// No X server listens on display 87, nor on its TCP port.
INSTANTIATE_TEST_SUITE_P(
    Hosts, NoDisplay,
    ::testing::Values(Environment{"none", nullptr, nullptr, nullptr, nullptr},
                      Environment{"dead local X", ":87", nullptr, nullptr, nullptr},
                      Environment{"dead TCP X", "127.0.0.1:87", nullptr, nullptr, nullptr},
                      Environment{"no compositor", nullptr, "pkiui-none", "/tmp", nullptr},
                      Environment{"xcb, no DISPLAY", nullptr, nullptr, nullptr, "xcb"},
                      Environment{"list, all dead", ":87", "pkiui-none", "/tmp", "wayland;xcb"},
                      Environment{"not honoured", nullptr, nullptr, nullptr, "linuxfb"},
                      Environment{"unknown", nullptr, nullptr, nullptr, "pkiui-none"}),
    [](const ::testing::TestParamInfo<Environment> &info) {
        std::string name;
        for (const char *c = info.param.what; *c; ++c)
            name += std::isalnum(static_cast<unsigned char>(*c)) ? *c : '_';
        return name;
    });

TEST(NoDisplayCaptions, StillWork)
{
    char *text = TavikPKIUIGetString(11);
    EXPECT_STREQ(text, "E6ADA3E59CA8E8BF9BE8A18CE5AF86E992A5E58D8FE59586");
    TavikPKICryptoFreeMemory(text);
    EXPECT_EQ(TavikPKIUIDisplayCRL(nullptr, nullptr, 1), 0);
}

} // namespace
