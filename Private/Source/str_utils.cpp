// str_utils - helpers for zero-terminated texts (text)
//
// Case is folded by hand: the standard classification depends on the locale, and its tables are indexed by bytes that
// are negative here. Comparison is of signed bytes on every host, whatever the sign of char. No state.

#include "str_utils.h"

#include <cstring>

namespace
{

constexpr int letter_step = 'a' - 'A';

bool is_upper(char c) { return c >= 'A' && c <= 'Z'; }
bool is_lower(char c) { return c >= 'a' && c <= 'z'; }
bool is_blank(char c) { return c == ' ' || c == '\t'; }
bool is_line_end(char c) { return c == '\r' || c == '\n'; }
bool is_white(char c) { return is_blank(c) || is_line_end(c); }

signed char to_upper(char c) { return static_cast<signed char>(is_lower(c) ? c - letter_step : c); }
char to_lower(char c) { return static_cast<char>(is_upper(c) ? c + letter_step : c); }

// The found position, as the standard library hands it out: not const.
char *found(const char *position) { return const_cast<char *>(position); }

}  // namespace

// ---- Compare --------------------------------------------------------------------------------------------------------

int strcmp_ci(const char *a, const char *b) TESKA_NOTHROW
{
    for (;; ++a, ++b) {
        if (*a == 0)
            return *b == 0 ? 0 : -1;
        if (*b == 0)
            return 1;
        const int difference = to_upper(*a) - to_upper(*b);
        if (difference != 0)
            return difference > 0 ? 1 : -1;
    }
}

int strncmp_ci(const char *a, const char *b, int n) TESKA_NOTHROW
{
    for (int i = 0; i < n; ++i)
        if (to_upper(a[i]) != to_upper(b[i]))
            return 1;
    return 0;
}

int chr_eq_ci(char a, char b) TESKA_NOTHROW { return to_upper(a) == to_upper(b) ? 1 : 0; }

int str_ins(const void *element, const void *key) TESKA_NOTHROW
{
    return strcmp_ci(static_cast<const char *>(element), static_cast<const char *>(key)) >= 0 ? 1 : 0;
}

// ---- Copy, trim, split ----------------------------------------------------------------------------------------------

int strncpy_w0(char *destination, const char *source, int n) TESKA_NOTHROW
{
    // Not strlen: the source may be n bytes without a terminating zero.
    std::size_t length = 0;
    while (n > 0 && length < static_cast<std::size_t>(n) && source[length] != 0)
        ++length;
    std::memmove(destination, source, length);
    destination[length] = 0;
    return 0;
}

void normstr_wc(char *text) TESKA_NOTHROW
{
    const char *first = text;
    while (is_white(*first))
        ++first;
    std::size_t length = std::strlen(first);
    while (length > 0 && is_white(first[length - 1]))
        --length;
    std::memmove(text, first, length);
    text[length] = 0;
}

void normstr(char *text) TESKA_NOTHROW
{
    normstr_wc(text);
    for (; *text != 0; ++text)
        *text = to_lower(*text);
}

void normstr_wc_cp(const char *source, char *destination) TESKA_NOTHROW
{
    std::memmove(destination, source, std::strlen(source) + 1);
    normstr_wc(destination);
}

void normstr_cp(const char *source, char *destination) TESKA_NOTHROW
{
    std::memmove(destination, source, std::strlen(source) + 1);
    normstr(destination);
}

int strsplit(const char *text, char separator, char *left, char *right) TESKA_NOTHROW
{
    if (text == nullptr || left == nullptr || right == nullptr || separator == 0)
        return 1;
    const char *at = std::strchr(text, separator);
    if (at == nullptr)
        return 1;
    // The left side first: it changes nothing after the separator, so either side may be the text itself.
    const auto left_length = static_cast<std::size_t>(at - text);
    std::memmove(left, text, left_length);
    left[left_length] = 0;
    std::memmove(right, at + 1, std::strlen(at + 1) + 1);
    normstr_wc(left);
    normstr_wc(right);
    return 0;
}

int str_remove_multiple_blanks(char *text) TESKA_NOTHROW
{
    char *out = text;
    for (const char *in = text; *in != 0; ++in)
        if (*in != ' ' || out == text || out[-1] != ' ')
            *out++ = *in;
    *out = 0;
    return 0;
}

// ---- Search ---------------------------------------------------------------------------------------------------------

char *str_str(const char *text, const char *pattern) TESKA_NOTHROW
{
    // Kept: an empty text holds nothing, not even the empty pattern.
    return *text != 0 ? found(std::strstr(text, pattern)) : nullptr;
}

char *strstr_ci(const char *text, const char *pattern) TESKA_NOTHROW
{
    const std::size_t text_length = std::strlen(text);
    const std::size_t length = std::strlen(pattern);
    if (text_length == 0)
        return nullptr;
    for (std::size_t start = 0; start + length <= text_length; ++start) {
        std::size_t same = 0;
        while (same < length && chr_eq_ci(text[start + same], pattern[same]) != 0)
            ++same;
        if (same == length)
            return found(text + start);
    }
    return nullptr;
}

// ---- Cursors --------------------------------------------------------------------------------------------------------

void str_go_to_next_line(const char **cursor) TESKA_NOTHROW
{
    const char *at = *cursor + std::strcspn(*cursor, "\r\n");
    if (*at == '\r')
        ++at;
    if (*at == '\n')
        ++at;
    *cursor = at;
}

char str_go_to_next_word(const char **cursor) TESKA_NOTHROW
{
    const char *at = *cursor;
    if (*at != ' ')
        while (*at != 0 && !is_white(*at))
            ++at;
    // Kept: zero bytes are stepped over too, so the end of the text does not stop the cursor.
    while (is_blank(*at) || *at == 0)
        ++at;
    *cursor = at;
    return *at;
}
