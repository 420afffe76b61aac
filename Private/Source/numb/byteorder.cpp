// numb/byteorder - floating-point numbers in the byte order of files (text)
//
// In a file the highest byte comes first: 1.0f is 3F 80 00 00. On hosts that keep the lowest byte first byte i of n
// changes places with byte n - 1 - i; on the others the file form is the native one. Bits are copied, never converted,
// so what is not a number keeps its payload.

#include "numb.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace
{

// From the host to the file, or from the file to the host: the same exchange.
template <class T>
struct swapped_bytes {
    unsigned char bytes[sizeof(T)];

    explicit swapped_bytes(const void *from)
    {
        std::memcpy(bytes, from, sizeof bytes);
        if constexpr (std::endian::native == std::endian::little)
            std::reverse(bytes, bytes + sizeof bytes);
    }
};

template <class T>
T from_file(const void *file, T *out)
{
    const swapped_bytes<T> native(file);
    T value;
    std::memcpy(&value, native.bytes, sizeof value);
    if (out != nullptr)
        std::memcpy(out, native.bytes, sizeof value);
    return value;
}

template <class T>
void *to_file(T value, void *file)
{
    return std::memcpy(file, swapped_bytes<T>(&value).bytes, sizeof value);
}

}  // namespace

float ffltofl(const void *file, float *out) TESKA_NOTHROW { return from_file(file, out); }

void *fltoffl(float value, void *file) TESKA_NOTHROW { return to_file(value, file); }

double fdbltodbl(const void *file, double *out) TESKA_NOTHROW { return from_file(file, out); }

void *dbltofdbl(double value, void *file) TESKA_NOTHROW { return to_file(value, file); }
