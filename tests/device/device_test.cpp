// PIN checks against a real SoftHSM2 token (label pkiui-test, user PIN 1234,
// SO PIN 87654321, made by softhsm-setup.sh), and the scripted device for the
// counts and locking SoftHSM2 never produces.
#include <gtest/gtest.h>

#include "fixtures.hpp"
#include "tavik_pki.h"
#include "tavik_ptr.hpp"

namespace {

using pkiui::test::openScripted;

constexpr const char *kLabel = "pkiui-test";
constexpr int kSo = 0;
constexpr int kUser = 1;

tavik::DevicePtr open(const char *module, const char *label, int *rc)
{
    TAVIK_PKI_DEVICE_HANDLE_st *device = nullptr;
    *rc = TavikPKIDeviceOpen(module, label, &device);
    return tavik::DevicePtr(device);
}

int verify(const tavik::DevicePtr &device, int pinType, const char *pin, int *retry)
{
    return TavikPKICryptoVerifyPwd(device.get(), pinType, pin, retry);
}

// The tries left, or 100 + the status when the query fails.
int triesLeft(const tavik::DevicePtr &device, int pinType)
{
    int count = 42;
    const int rc = TavikPKICryptoGetPwdRetryNum(device.get(), pinType, &count);
    return rc == 1 ? count : 100 + rc;
}

class SoftHsm : public ::testing::Test {
  protected:
    void SetUp() override
    {
        int rc = 0;
        token = open(SOFTHSM_MODULE, kLabel, &rc);
        ASSERT_EQ(rc, 1) << "is SOFTHSM2_CONF set by the softhsm fixture?";
    }
    tavik::DevicePtr token;
    int retry = 42;
};

TEST_F(SoftHsm, UserPinRightWrongRight)
{
    EXPECT_EQ(verify(token, kUser, "1234", &retry), 1);
    EXPECT_EQ(verify(token, kUser, "4321", &retry), TAVIK_ERR_PIN_INCORRECT);
    // SoftHSM2 only flags a low count; it never locks.
    EXPECT_TRUE(retry == -1 || retry == 1) << retry;
    EXPECT_EQ(triesLeft(token, kUser), retry);
    // A rejection leaves nothing behind that would refuse the right PIN.
    EXPECT_EQ(verify(token, kUser, "1234", &retry), 1);
    EXPECT_EQ(verify(token, kUser, "1234", &retry), 1);
}

TEST_F(SoftHsm, PinTypeSelectsSecurityOfficerOrUser)
{
    EXPECT_EQ(verify(token, kSo, "87654321", &retry), 1);
    EXPECT_EQ(verify(token, kSo, "1234", &retry), TAVIK_ERR_PIN_INCORRECT);
    EXPECT_EQ(verify(token, kUser, "87654321", &retry), TAVIK_ERR_PIN_INCORRECT);
    // Each login was undone, so the other type can log in right after.
    EXPECT_EQ(verify(token, kUser, "1234", &retry), 1);
    EXPECT_EQ(verify(token, kSo, "87654321", &retry), 1);
    EXPECT_EQ(triesLeft(token, kSo), -1);
}

TEST_F(SoftHsm, TwoHandlesOnOneModuleLiveIndependently)
{
    int rc = 0;
    tavik::DevicePtr second = open(SOFTHSM_MODULE, kLabel, &rc);
    ASSERT_EQ(rc, 1);
    EXPECT_EQ(verify(second, kUser, "1234", &retry), 1);
    second.reset(); // finalising one handle must not shut the module for the other
    EXPECT_EQ(verify(token, kUser, "1234", &retry), 1);
}

TEST_F(SoftHsm, RefusesNullArgumentsAndUnknownPinTypes)
{
    EXPECT_EQ(TavikPKIDeviceOpen(SOFTHSM_MODULE, kLabel, nullptr), TAVIK_ERR_ARGUMENT);
    EXPECT_EQ(triesLeft(nullptr, kUser), 100 + TAVIK_ERR_ARGUMENT);
    EXPECT_EQ(TavikPKICryptoGetPwdRetryNum(token.get(), kUser, nullptr), TAVIK_ERR_ARGUMENT);
    EXPECT_EQ(verify(nullptr, kUser, "1234", &retry), TAVIK_ERR_ARGUMENT);
    EXPECT_EQ(verify(token, kUser, nullptr, &retry), TAVIK_ERR_ARGUMENT);
    EXPECT_EQ(verify(token, kUser, "1234", nullptr), TAVIK_ERR_ARGUMENT);
    for (int pinType : {-1, 2}) {
        EXPECT_EQ(triesLeft(token, pinType), 100 + TAVIK_ERR_ARGUMENT);
        EXPECT_EQ(verify(token, pinType, "1234", &retry), TAVIK_ERR_ARGUMENT);
    }
    EXPECT_EQ(retry, 42) << "failures write nothing";
    EXPECT_EQ(TavikPKIDeviceScriptedVerifyCalls(token.get()), -1);
    EXPECT_EQ(TavikPKIDeviceScriptedVerifyCalls(nullptr), -1);
}

TEST(DeviceOpen, FindsTokenByExactLabelInModuleOrRegisteredModules)
{
    int rc = 0;
    int retry = 0;
    // Without a label: the first initialised token, here the only one.
    EXPECT_EQ(verify(open(SOFTHSM_MODULE, nullptr, &rc), kUser, "1234", &retry), 1);
    // SoftHSM2 registers itself with p11-kit.
    EXPECT_EQ(verify(open(nullptr, kLabel, &rc), kUser, "1234", &retry), 1);

    for (const char *label :
         {"pkiui", "pkiui-test-2", "PKIUI-TEST", "pkiui-test                            "}) {
        EXPECT_EQ(open(SOFTHSM_MODULE, label, &rc), nullptr) << label;
        EXPECT_EQ(rc, TAVIK_ERR_NOT_FOUND) << label;
    }
    for (const char *module : {"/nonexistent/libpkcs11.so", "/etc/passwd"}) {
        EXPECT_EQ(open(module, kLabel, &rc), nullptr) << module;
        EXPECT_EQ(rc, TAVIK_ERR_DEVICE) << module;
    }
}

TEST(ScriptedDevice, CountsDownToLockedAndLastAnswerRepeats)
{
    tavik::DevicePtr device = openScripted(1, 3, {{-5, 2}, {-5, 0}});
    ASSERT_TRUE(device);
    int retry = 42;
    EXPECT_EQ(triesLeft(device, kUser), 3);
    EXPECT_EQ(verify(device, kUser, "1", &retry), -5);
    EXPECT_EQ(retry, 2);
    EXPECT_EQ(triesLeft(device, kUser), 2);
    for (int i = 0; i < 2; ++i) {
        retry = 42;
        EXPECT_EQ(verify(device, kUser, "1", &retry), -5);
        EXPECT_EQ(retry, 0);
    }
    EXPECT_EQ(triesLeft(device, kUser), 0);
    // Refused arguments never reach the device.
    EXPECT_EQ(verify(device, 2, "1", &retry), TAVIK_ERR_ARGUMENT);
    EXPECT_EQ(TavikPKIDeviceScriptedVerifyCalls(device.get()), 3);
}

TEST(ScriptedDevice, PassesResultsThroughAndKeepsCountOnUnknownRetry)
{
    tavik::DevicePtr device = openScripted(1, 3, {{65536, -1}, {-3, 7}, {1, 5}});
    ASSERT_TRUE(device);
    int retry = 0;
    EXPECT_EQ(verify(device, kUser, "x", &retry), 65536);
    EXPECT_EQ(retry, -1);
    EXPECT_EQ(triesLeft(device, kUser), 3);
    EXPECT_EQ(verify(device, kUser, "x", &retry), -3);
    EXPECT_EQ(retry, 7);
    EXPECT_EQ(verify(device, kSo, "x", &retry), 1);
    EXPECT_EQ(triesLeft(device, kUser), 5);

    device = openScripted(-7, 3, {});
    ASSERT_TRUE(device);
    EXPECT_EQ(triesLeft(device, kUser), 100 - 7);
    EXPECT_EQ(verify(device, kUser, "1234", &retry), TAVIK_ERR_DEVICE);
    EXPECT_EQ(TavikPKIDeviceScriptedVerifyCalls(device.get()), 1);
    TAVIK_PKI_DEVICE_HANDLE_st *out = nullptr;
    EXPECT_EQ(TavikPKIDeviceOpenScripted(1, 3, nullptr, 1, &out), TAVIK_ERR_ARGUMENT);
    EXPECT_EQ(out, nullptr);
}

} // namespace
