#include <memory>
#include <new>
#include <utility>

#include "device.hpp"
#include "internal.hpp"

using tavik::detail::Device;

namespace {

bool knownPinType(int pinType)
{
    return pinType == 0 || pinType == 1;
}

// Hands the device to a new handle, which counts as one live object.
int wrap(std::unique_ptr<Device> device, TAVIK_PKI_DEVICE_HANDLE_st **out)
{
    auto *handle = new (std::nothrow) TAVIK_PKI_DEVICE_HANDLE_st{std::move(device)};
    if (!handle)
        return TAVIK_ERR_MEMORY;
    tavik::detail::liveAdd();
    *out = handle;
    return 1;
}

} // namespace

extern "C" {

int TavikPKIDeviceOpen(const char *module, const char *label, TAVIK_PKI_DEVICE_HANDLE_st **device)
{
    if (!device)
        return TAVIK_ERR_ARGUMENT;
    try {
        std::unique_ptr<Device> opened;
        const int rc = tavik::detail::openPkcs11Device(module, label, &opened);
        if (rc != 1)
            return rc;
        return wrap(std::move(opened), device);
    } catch (const std::bad_alloc &) {
        return TAVIK_ERR_MEMORY;
    } catch (...) {
        return TAVIK_ERR_DEVICE;
    }
}

void TavikPKIDeviceClose(TAVIK_PKI_DEVICE_HANDLE_st *device)
{
    if (!device)
        return;
    delete device;
    tavik::detail::liveRemove();
}

int TavikPKICryptoGetPwdRetryNum(TAVIK_PKI_DEVICE_HANDLE_st *device, int pinType, int *count)
{
    if (!device || !count || !knownPinType(pinType))
        return TAVIK_ERR_ARGUMENT;
    try {
        return device->device->retryCount(pinType, count);
    } catch (...) {
        return TAVIK_ERR_DEVICE;
    }
}

int TavikPKICryptoVerifyPwd(TAVIK_PKI_DEVICE_HANDLE_st *device, int pinType, const char *pin,
                            int *retry)
{
    if (!device || !pin || !retry || !knownPinType(pinType))
        return TAVIK_ERR_ARGUMENT;
    try {
        return device->device->verify(pinType, pin, retry);
    } catch (...) {
        return TAVIK_ERR_DEVICE;
    }
}

int TavikPKIDeviceOpenScripted(int retryStatus, int retryCount,
                               const TavikPKIScriptedAnswer *answers, int count,
                               TAVIK_PKI_DEVICE_HANDLE_st **device)
{
    if (!device || count < 0 || (count > 0 && !answers))
        return TAVIK_ERR_ARGUMENT;
    try {
        return wrap(tavik::detail::makeScriptedDevice(retryStatus, retryCount, answers, count),
                    device);
    } catch (const std::bad_alloc &) {
        return TAVIK_ERR_MEMORY;
    }
}

int TavikPKIDeviceScriptedVerifyCalls(const TAVIK_PKI_DEVICE_HANDLE_st *device)
{
    return device ? device->device->verifyCalls() : -1;
}

} // extern "C"
