// vd - the text form of vectors of doubles, for the converters of several modules
//
// One number is written with " %*.*f ", a blank on either side, in as many digits as vd_fmt_d allows for a total of
// four; neighbours are therefore two blanks apart. Numbers are read one after the other with blanks between them.
//
// Used by file_double and str_zuk.

#ifndef TESKA_SUPPORT_VD_H
#define TESKA_SUPPORT_VD_H

#include <cstddef>
#include <cstring>

namespace teska
{

// The size of a buffer that its owner, the caller, answers for.
constexpr std::size_t unbounded = static_cast<std::size_t>(-1);

// Writes n numbers and a zero into size bytes, at least one, and never more. Returns 0, or -1 when they do not fit: the
// text then holds those that did. Says nothing.
int vd_print(const double *vector, int n, char *text, std::size_t size) noexcept;

// vd_print that reports a failure: str_from_vd with a bounded text.
int vd_print_reported(const double *vector, int n, char *text, std::size_t size) noexcept;

// Reads n numbers. Returns 0, or -1 when one cannot be read: those before it are then stored. Says nothing.
int vd_read(const char *text, int n, double *vector) noexcept;

// The walk of the readers: read_one(text, &number) takes the number at the start of a text and returns whether there is
// one. What follows a number up to the next blank is passed over.
template <class T, class ReadOne>
int read_numbers(const char *text, int n, T *numbers, ReadOne read_one) noexcept
{
    text += std::strspn(text, " ");
    for (int i = 0; i < n; ++i) {
        if (*text == 0 || !read_one(text, &numbers[i]))
            return -1;
        text += std::strcspn(text, " ");
        text += std::strspn(text, " ");
    }
    return 0;
}

}  // namespace teska

#endif
