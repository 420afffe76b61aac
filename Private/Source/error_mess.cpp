// error_mess - error and diagnostic reporting (core)
//
// Process-wide state, without locks: one struct below. The queue exists exactly while the mode is 2; it is a sorted
// list of 256-byte texts. The last-message buffer serves error_get in every mode and holds the kept line of mode 3.
//
// A report that cannot be queued makes the list report in turn, so reports nest. max_depth bounds that: on a dead heap,
// and when the queue has reached the list's 65535 elements, nothing else would end it.

#include "error_mess.h"

#include "list.h"
#include "str_utils.h"
#include "wem.h"

#include <cstdio>
#include <cstring>

namespace
{

constexpr int mode_print = 1;
constexpr int mode_queue = 2;
constexpr int mode_keep_last = 3;

constexpr int queue_step = 50;          // lines
constexpr unsigned slot_size = 256;     // bytes of a queued line
constexpr std::size_t line_size = 512;  // bytes of a line, the terminating zero included
constexpr int max_depth = 16;           // nested reports

struct reporting_state {
    int mode = mode_print;
    list_rec *queue = nullptr;
    char last_message[line_size] = {};
    int pending = 0;
    int warn_threshold = 0;
    int debug_on = 0;
    int depth = 0;
};

reporting_state state;

// The buffer is zeroed: queueing copies whole slots out of it.
struct report_line {
    report_line(const char *prefix, const char *message) { fmtstr(text, prefix, message); }
    char text[line_size] = {};
};

void print_line(const char *line)
{
    std::printf("%s\n", line);
    std::fflush(stdout);
}

void queue_line(const char *line)
{
    if (state.queue == nullptr)
        return;
    const int pos = list_pos(state.queue, line);
    const auto *queued = static_cast<const char *>(list_get_element(state.queue, pos));
    if (queued == nullptr || strcmp_ci(line, queued) != 0)
        list_insert(state.queue, line);
}

void keep_line(const char *line)
{
    state.pending = 1;
    strncpy_w0(state.last_message, line, line_size - 1);
}

char *fetch_queued()
{
    const int last = list_num(state.queue) - 1;
    if (last < 0)
        return nullptr;
    // A text may fill its slot without a terminating zero.
    const auto *slot = static_cast<const char *>(list_get_element(state.queue, last));
    strncpy_w0(state.last_message, slot, slot_size);
    list_rem_element(state.queue, last);
    return state.last_message;
}

}  // namespace

// ---- Errors ---------------------------------------------------------------------------------------------------------

int error_mess_fl(const char *message, const char * /*file*/, int /*line*/) TESKA_NOTHROW
{
    if (state.depth >= max_depth)
        return 0;
    ++state.depth;
    const report_line line("ERROR : '", message);
    if (state.mode == mode_print)
        print_line(line.text);
    else if (state.mode == mode_queue)
        queue_line(line.text);
    else if (state.mode == mode_keep_last)
        keep_line(line.text);
    --state.depth;
    return 0;
}

char *error_get(void) TESKA_NOTHROW
{
    if (state.queue != nullptr)
        return fetch_queued();
    if (state.pending == 0)
        return nullptr;
    state.pending = 0;
    return state.last_message;
}

int error_display_all_msgs(void) TESKA_NOTHROW
{
    while (const char *line = error_get())
        print_line(line);
    return 0;
}

int error_set(int mode) TESKA_NOTHROW
{
    const int previous = state.mode;
    state.mode = mode;
    state.pending = 0;
    if (mode != mode_queue) {
        list_kill(state.queue);
        state.queue = nullptr;
    } else if (state.queue == nullptr) {
        // A failure is reported while mode 2 has no queue yet, and so dropped.
        state.queue = list_new(queue_step, slot_size, str_ins);
        if (state.queue == nullptr)
            state.mode = previous;
    }
    return previous;
}

int error_exit(const char *message)
{
    // The handler may leave by longjmp: no object here needs a destructor.
    const report_line line("ERROR  : '", message);
    return errexit(line.text);
}

// ---- Warnings and debugging -----------------------------------------------------------------------------------------

void teska_warn(int level, const char *message) TESKA_NOTHROW
{
    if (level > state.warn_threshold)
        print_line(report_line("WARNING  : '", message).text);
}

int teska_warn_level(int threshold) TESKA_NOTHROW
{
    const int previous = state.warn_threshold;
    state.warn_threshold = threshold;
    return previous;
}

void dbg(const char *message) TESKA_NOTHROW
{
    if (state.debug_on != 0)
        print_line(report_line("DEBUG : '", message).text);
}

int dbg_set(int on) TESKA_NOTHROW
{
    const int previous = state.debug_on;
    state.debug_on = on;
    return previous;
}
