// wem_text - report lines and the fatal exit (wem)
//
// A line is a template with its values set in:
//
//     template       values      line
//     ERROR : '      "x 100%"    ERROR : 'x 100%'    no mark: the text is appended, the quote closed
//     nr_items = #   7           nr_items = 7        '#': int as "%d"
//     xc1 % yc1 %    0.5, 2.0    xc1 0.5 yc1 2       '%': double as "%g"
//
// Only the template is ever scanned. A text value is data: it comes from file names and user input and may
// hold any mark. Lines are built in a local buffer that cannot be overrun and copied out at the end, so that
// a value may lie in the destination.
//
// Process-wide state: the two handlers, which are atomic. A line is shown by one call of the host or of the C library,
// so lines of several threads do not mix.
#include "wem.h"

#include <atomic>
#include <charconv>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

struct handler_set {
    std::atomic<wem_line_fn> show = nullptr;   // null: standard output
    std::atomic<wem_line_fn> leave = nullptr;  // null: write the line and exit
};

constinit handler_set handlers;

// A "%g" text takes at most 13 characters, an int 11.
constexpr std::size_t number_size = 32;

// The text so far; always terminated, and silently full at 511 characters.
struct line_buffer {
    char text[WEM_LINE_SIZE] = {};
    std::size_t length = 0;

    void add(const char *piece, std::size_t size)
    {
        const std::size_t room = sizeof text - 1 - length;
        const std::size_t taken = size < room ? size : room;
        std::memcpy(text + length, piece, taken);
        length += taken;
    }

    void add(const char *piece) { add(piece, std::strlen(piece)); }
};

const char *or_empty(const char *text) { return text ? text : ""; }

// Not isalpha: the answer must not change with the host's locale.
bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool has_marks(const char *templ) { return std::strpbrk(templ, "#%") != nullptr; }

bool leaves_quote_open(const char *templ)
{
    bool open = false;
    for (const char *p = templ; *p; ++p) {
        const bool apostrophe = p != templ && is_letter(p[-1]) && is_letter(p[1]);
        if (*p == '\'' && !apostrophe)
            open = !open;
    }
    return open;
}

// As "%g", with a point in every locale where the C++ library knows how.
void print_general(char (&out)[number_size], double number)
{
#if defined(__cpp_lib_to_chars)
    *std::to_chars(out, out + sizeof out - 1, number, std::chars_format::general, 6).ptr = 0;
#else
    std::snprintf(out, sizeof out, "%g", number);
#endif
}

// Copies the template and takes one value from the list for each mark.
void expand(line_buffer &line, const char *templ, std::va_list values)
{
    for (const char *p = templ; *p; ++p) {
        char number[number_size];
        if (*p == '#') {
            std::snprintf(number, sizeof number, "%d", va_arg(values, int));
            line.add(number);
        } else if (*p == '%') {
            print_general(number, va_arg(values, double));
            line.add(number);
        } else {
            line.add(p, 1);
        }
    }
}

void print_line(const char *line)
{
    std::printf("%s\n", line);
    std::fflush(stdout);
}

}  // namespace

int fmtstr(char *destination, const char *templ, ...) noexcept
{
    templ = or_empty(templ);
    line_buffer line;
    std::va_list values;
    va_start(values, templ);
    expand(line, templ, values);
    va_end(values);
    if (!has_marks(templ)) {
        va_start(values, templ);
        line.add(or_empty(va_arg(values, const char *)));
        va_end(values);
    }
    if (leaves_quote_open(templ))
        line.add("'");
    std::memcpy(destination, line.text, line.length + 1);
    return static_cast<int>(line.length);
}

int typefl(const char *templ, ...) noexcept
{
    line_buffer line;
    std::va_list values;
    va_start(values, templ);
    expand(line, or_empty(templ), values);
    va_end(values);
    if (const wem_line_fn show = handlers.show)
        return show(line.text);
    print_line(line.text);
    return 0;
}

wem_line_fn wem_set_typefl(wem_line_fn handler) noexcept { return handlers.show.exchange(handler); }

// Not noexcept, and nothing here has a destructor: the handler may throw or jump through this frame.
int errexit(const char *line)
{
    line = or_empty(line);
    if (const wem_line_fn leave = handlers.leave)
        return leave(line);
    print_line(line);
    std::exit(1);
}

wem_line_fn wem_set_errexit(wem_line_fn handler) noexcept { return handlers.leave.exchange(handler); }
