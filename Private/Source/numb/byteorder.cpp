// numb/byteorder - floating-point numbers in the byte order of files (text)
//
// The file form is the native one with its bytes reversed: byte i of n changes places with byte n - 1 - i. Bits are
// copied, never converted, so what is not a number keeps its payload. 1.0f is 3F 80 00 00 in a file.

#include "numb.h"

#include <algorithm>
#include <cstring>

namespace
{

template <class T>
T from_file(const void *file, T *out)
{
    unsigned char bytes[sizeof(T)];
    std::memcpy(bytes, file, sizeof bytes);
    std::reverse(bytes, bytes + sizeof bytes);
    T value;
    std::memcpy(&value, bytes, sizeof value);
    if (out != nullptr)
        std::memcpy(out, bytes, sizeof bytes);
    return value;
}

template <class T>
void *to_file(T value, void *file)
{
    unsigned char bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof value);
    std::reverse(bytes, bytes + sizeof bytes);
    return std::memcpy(file, bytes, sizeof bytes);
}

}  // namespace

float ffltofl(const void *file, float *out) TESKA_NOTHROW { return from_file(file, out); }

void *fltoffl(float value, void *file) TESKA_NOTHROW { return to_file(value, file); }

double fdbltodbl(const void *file, double *out) TESKA_NOTHROW { return from_file(file, out); }

void *dbltofdbl(double value, void *file) TESKA_NOTHROW { return to_file(value, file); }
