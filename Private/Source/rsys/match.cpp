// match - names beside patterns (rsys)
//
// A pattern is walked through together with the name. At a "*" both places are kept; where the rest does not match, the
// name is tried again one character further on. An earlier "*" need not be tried again: whatever it could take more,
// the later one takes as well.

#include "Source/rsys/path_text.h"

#include "rsys.h"

#include <string_view>

namespace
{

using teska::rsys::utf8_character;

struct letters {
    bool any_case;

    bool same(char a, char b) const noexcept { return a == b || (any_case && lower(a) == lower(b)); }

    static char lower(char c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
};

// After the character at the front of a name, which is not at its end.
const char *after_character(const char *name) noexcept
{
    const std::size_t count = utf8_character(name);
    return name + (count != 0 ? count : 1);
}

bool matches(std::string_view pattern, const char *name, letters compare) noexcept
{
    constexpr auto none = std::string_view::npos;
    std::size_t at = 0;
    std::size_t after_star = none;
    const char *star_name = name;  // up to where the star takes the name
    while (*name != '\0') {
        if (at < pattern.size() && pattern[at] == '*') {
            after_star = ++at;
            star_name = name;
        } else if (at < pattern.size() && pattern[at] == '?') {
            ++at;
            name = after_character(name);
        } else if (at < pattern.size() && compare.same(pattern[at], *name)) {
            ++at;
            ++name;
        } else if (after_star != none) {
            at = after_star;
            star_name = after_character(star_name);
            name = star_name;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', at) == none;
}

}  // namespace

int rsys_match(const char *pattern, const char *name, int flags) TESKA_NOTHROW
{
    if (name == nullptr)
        return 0;
    if (pattern == nullptr || *pattern == '\0')
        return 1;
    const letters compare{(flags & RSYS_ANYCASE) != 0};
    for (;;) {
        const std::size_t length = std::strcspn(pattern, ";");
        if (matches({pattern, length}, name, compare))
            return 1;
        if (pattern[length] == '\0')
            return 0;
        pattern += length + 1;
    }
}
