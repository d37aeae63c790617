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

} // namespace

// Hands the device to a new handle, which counts as one live object.
int tavik::detail::adoptDevice(std::unique_ptr<Device> device, TAVIK_PKI_DEVICE_HANDLE_st **out)
{
    auto *handle = tavik::detail::newObject<TAVIK_PKI_DEVICE_HANDLE_st>(std::move(device));
    if (!handle)
        return TAVIK_ERR_MEMORY;
    *out = handle;
    return 1;
}

extern "C" {

int TavikPKIDeviceOpen(const char *module, const char *label, TAVIK_PKI_DEVICE_HANDLE_st **device)
{
    if (!device)
        return TAVIK_ERR_ARGUMENT;
    return tavik::detail::guard<int>(TAVIK_ERR_DEVICE, [&] {
        std::unique_ptr<Device> opened;
        const int rc = tavik::detail::openPkcs11Device(module, label, &opened);
        return rc == 1 ? tavik::detail::adoptDevice(std::move(opened), device) : rc;
    });
}

void TavikPKIDeviceClose(TAVIK_PKI_DEVICE_HANDLE_st *device)
{
    tavik::detail::freeObject(device);
}

int TavikPKICryptoGetPwdRetryNum(TAVIK_PKI_DEVICE_HANDLE_st *device, int pinType, int *count)
{
    if (!device || !count || !knownPinType(pinType))
        return TAVIK_ERR_ARGUMENT;
    return tavik::detail::guard<int>(TAVIK_ERR_DEVICE,
                                     [&] { return device->device->retryCount(pinType, count); });
}

int TavikPKICryptoVerifyPwd(TAVIK_PKI_DEVICE_HANDLE_st *device, int pinType, const char *pin,
                            int *retry)
{
    if (!device || !pin || !retry || !knownPinType(pinType))
        return TAVIK_ERR_ARGUMENT;
    return tavik::detail::guard<int>(TAVIK_ERR_DEVICE,
                                     [&] { return device->device->verify(pinType, pin, retry); });
}

} // extern "C"
