// Hexadecimal text of bytes.
#include <cstdint>

#include "internal.hpp"

extern "C" {

// Modes 0 and 1 differ only for callers; both give upper-case digits.
int tavik_hexencode(int mode, const unsigned char *data, size_t length, char **out, size_t *outlen)
{
    if ((mode != 0 && mode != 1) || !out || (!data && length) || length > (SIZE_MAX - 1) / 2)
        return 0;
    constexpr char kDigits[] = "0123456789ABCDEF";
    char *text = static_cast<char *>(tavik_malloc(length * 2 + 1, __FILE__, __LINE__));
    if (!text)
        return 0;
    for (size_t i = 0; i < length; ++i) {
        text[2 * i] = kDigits[data[i] >> 4];
        text[2 * i + 1] = kDigits[data[i] & 0x0f];
    }
    text[length * 2] = '\0';
    *out = text;
    if (outlen)
        *outlen = length * 2;
    return 1;
}

} // extern "C"
