// With no display named, the entries fail with their failure results and
// nothing aborts the host. Runs against the shared library.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "Tavik_PKI_Crypto_UI.h"
#include "fixtures.hpp"

namespace {

TEST(NoDisplay, BlockingEntriesFailWithoutAborting)
{
    for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        ASSERT_EQ(std::getenv(name), nullptr) << name << " must be unset for this test";

    const tavik::CertPtr cert = pkiui::test::loadCert("rsa-leaf");
    ASSERT_NE(cert, nullptr);
    TAVIK_CERT_st *certs[] = {cert.get()};
    const TavikPKIScriptedAnswer accept{1, 3};
    TAVIK_PKI_DEVICE_HANDLE_st *rawDevice = nullptr;
    ASSERT_EQ(TavikPKIDeviceOpenScripted(1, 3, &accept, 1, &rawDevice), 1);
    const tavik::DevicePtr device(rawDevice);

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

TEST(NoDisplay, CaptionsStillWork)
{
    char *text = TavikPKIUIGetString(11);
    EXPECT_STREQ(text, "E6ADA3E59CA8E8BF9BE8A18CE5AF86E992A5E58D8FE59586");
    TavikPKICryptoFreeMemory(text);
    EXPECT_EQ(TavikPKIUIDisplayCRL(nullptr, nullptr, 1), 0);
}

} // namespace
