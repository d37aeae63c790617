// With no display, or one that is named but cannot be used, the entries fail
// with their failure results and nothing aborts the host. Runs against the
// shared library, as a host would.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <string>

#include "Tavik_PKI_Crypto_UI.h"
#include "fixtures.hpp"

namespace {

// The environment a host was started with: DISPLAY, WAYLAND_DISPLAY,
// XDG_RUNTIME_DIR and QT_QPA_PLATFORM; nullptr unsets. No X server listens on
// display 87, nor on its TCP port.
TEST(NoDisplay, BlockingEntriesFailWithoutAborting)
{
    const tavik::CertPtr cert = pkiui::test::loadCert("rsa-leaf");
    ASSERT_NE(cert, nullptr);
    TAVIK_CERT_st *certs[] = {cert.get()};
    const auto device = pkiui::test::openScripted(1, 3, {{1, 3}});
    ASSERT_TRUE(device);
    using Environment = std::array<const char *, 4>;
    const Environment variables = {"DISPLAY", "WAYLAND_DISPLAY", "XDG_RUNTIME_DIR",
                                   "QT_QPA_PLATFORM"};
    for (const Environment &e : {
             Environment{nullptr, nullptr, nullptr, nullptr},         // none
             Environment{":87", nullptr, nullptr, nullptr},           // dead local X
             Environment{"127.0.0.1:87", nullptr, nullptr, nullptr},  // dead TCP X
             Environment{nullptr, "pkiui-none", "/tmp", nullptr},     // no compositor
             Environment{nullptr, nullptr, nullptr, "xcb"},           // xcb, no DISPLAY
             Environment{":87", "pkiui-none", "/tmp", "wayland;xcb"}, // all dead
             Environment{nullptr, nullptr, nullptr, "linuxfb"},       // not honoured
             Environment{nullptr, nullptr, nullptr, "pkiui-none"},    // unknown
         }) {
        std::string what;
        for (std::size_t i = 0; i < e.size(); ++i) {
            what += std::string(variables[i]) + "=" + (e[i] ? e[i] : "(unset)") + " ";
            if (e[i])
                setenv(variables[i], e[i], 1);
            else
                unsetenv(variables[i]);
        }
        SCOPED_TRACE(what);
        char sentinel = 'x';
        char *pwd = &sentinel;
        EXPECT_EQ(TavikPKIUISelectCert(nullptr, nullptr, nullptr, certs, 1), nullptr);
        EXPECT_EQ(TavikPKIUIGetPassword(nullptr, "m", &pwd), TAVIKPKIUI_NO_PASSWORD);
        EXPECT_EQ(TavikPKIUIVerifyPassword(nullptr, device.get(), 1, "m", &pwd),
                  TAVIKPKIUI_NO_PASSWORD);
        EXPECT_EQ(pwd, &sentinel);
        EXPECT_EQ(TavikPKIUIDisplayCert(nullptr, cert.get()), 0);
    }
    EXPECT_EQ(TavikPKIDeviceScriptedVerifyCalls(device.get()), 0);
}

} // namespace
