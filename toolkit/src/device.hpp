// The device layer behind the TavikPKIDevice* and PIN functions.
#pragma once

#include <memory>

#include "tavik_pki.h"

namespace tavik::detail {

class Device {
  public:
    virtual ~Device() = default;

    // pinType is 0 (security officer) or 1 (user), checked by the caller.
    // Returns 1 and writes *count, or an error code leaving it untouched.
    virtual int retryCount(int pinType, int *count) = 0;
    // pin is the caller's NUL-terminated bytes; *retry is written for
    // rejections (-5, 65536).
    virtual int verify(int pinType, const char *pin, int *retry) = 0;
    // Verifications that reached the device; -1 when it does not count them.
    virtual int verifyCalls() const { return -1; }
};

// Null module: the modules registered with p11-kit. Null label: the first
// initialised token. Returns 1 and sets *out, or an error code.
int openPkcs11Device(const char *module, const char *label, std::unique_ptr<Device> *out);

} // namespace tavik::detail

struct TAVIK_PKI_DEVICE_HANDLE_st {
    std::unique_ptr<tavik::detail::Device> device;
};

namespace tavik::detail {

// Hands the device to a new handle. Returns 1, or TAVIK_ERR_MEMORY.
int adoptDevice(std::unique_ptr<Device> device, TAVIK_PKI_DEVICE_HANDLE_st **out);

} // namespace tavik::detail
