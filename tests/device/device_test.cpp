// PIN checks against a real SoftHSM2 token (label pkiui-test, user PIN 1234,
// SO PIN 87654321, made by softhsm-setup.sh). The counts and locking SoftHSM2
// never produces are the PIN dialog's tests, over the scripted device.
#include <gtest/gtest.h>

#include "tavik_pki.h"
#include "tavik_ptr.hpp"

namespace {

constexpr const char *kLabel = "pkiui-test";
constexpr int kSo = 0, kUser = 1;
constexpr int kIncorrect = TAVIK_ERR_PIN_INCORRECT, kArgument = TAVIK_ERR_ARGUMENT;

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

// Logins in a row: each is undone and a rejection leaves nothing behind, so
// neither refuses the next right PIN of either type.
TEST_F(SoftHsm, EachPinTypeTakesItsOwnPinOnly)
{
    struct Step {
        int pinType;
        const char *pin;
        int rc;
    };
    for (const Step s :
         {Step{kUser, "1234", 1}, Step{kUser, "4321", kIncorrect}, Step{kUser, "1234", 1},
          Step{kUser, "1234", 1}, Step{kSo, "87654321", 1}, Step{kSo, "1234", kIncorrect},
          Step{kUser, "87654321", kIncorrect}, Step{kUser, "1234", 1}, Step{kSo, "87654321", 1}}) {
        retry = 42;
        EXPECT_EQ(verify(token, s.pinType, s.pin, &retry), s.rc) << s.pinType << " " << s.pin;
        if (s.rc == 1)
            continue;
        // SoftHSM2 only flags a low count; it never locks.
        EXPECT_TRUE(retry == -1 || retry == 1) << retry;
        EXPECT_EQ(triesLeft(token, s.pinType), retry);
    }
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
    EXPECT_EQ(TavikPKIDeviceOpen(SOFTHSM_MODULE, kLabel, nullptr), kArgument);
    EXPECT_EQ(triesLeft(nullptr, kUser), 100 + kArgument);
    EXPECT_EQ(TavikPKICryptoGetPwdRetryNum(token.get(), kUser, nullptr), kArgument);
    EXPECT_EQ(verify(nullptr, kUser, "1234", &retry), kArgument);
    EXPECT_EQ(verify(token, kUser, nullptr, &retry), kArgument);
    EXPECT_EQ(verify(token, kUser, "1234", nullptr), kArgument);
    for (int pinType : {-1, 2}) {
        EXPECT_EQ(triesLeft(token, pinType), 100 + kArgument);
        EXPECT_EQ(verify(token, pinType, "1234", &retry), kArgument);
    }
    EXPECT_EQ(retry, 42) << "failures write nothing";
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

} // namespace
