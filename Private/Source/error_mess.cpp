// error_mess - error and diagnostic reporting (core)
//
//     report -> the thread's own mode, if it has one:   printed | queue of 64 lines | last line | dropped
//            -> the mode of the process:                printed | sorted list       | last line | dropped
//
// Process-wide state: the struct below, guarded by one lock. The shared queue exists exactly while the mode is 2; it is
// a sorted list of 256-byte texts. Mode, threshold and debug switch are atomic, so that what is dropped takes no lock.
//
// State of a thread: its nesting depth, its mode with the lines that wait in it, its handler, and the buffer of
// error_get.
//
// A printed line goes to the thread's handler, else to that of the process, else to standard output.
//
// A report that cannot enter the shared queue makes the list report in turn, so reports nest. The lock is taken by the
// outermost call of a thread only, and max_depth bounds the nesting: on a dead heap, and when the queue has reached the
// list's 65535 elements, nothing else would end it.

#include "error_mess.h"

#include "Support/lasting.h"
#include "Support/memory.h"

#include "list.h"
#include "str_utils.h"
#include "wem.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <utility>

namespace
{

constexpr int mode_process_wide = TESKA_ERROR_PROCESS_WIDE;
constexpr int mode_drop = 0;
constexpr int mode_print = 1;
constexpr int mode_queue = 2;
constexpr int mode_keep_last = 3;

constexpr int queue_step = 50;          // lines
constexpr unsigned slot_size = 256;     // bytes of a line in the shared queue
constexpr int thread_queue_room = 64;   // lines
constexpr std::size_t line_size = 512;  // bytes of a line, the terminating zero included
constexpr int max_depth = 16;           // nested reports

// Who gets the lines that would be printed; nobody: they are printed.
struct report_handler {
    error_handler call = nullptr;
    void *context = nullptr;
};

struct reporting_state {
    report_handler handler;
    std::atomic<int> mode = mode_print;
    list_rec *queue = nullptr;
    char last_message[line_size] = {};
    bool pending = false;  // whether last_message waits to be fetched
    std::atomic<int> warn_threshold = 0;
    std::atomic<int> debug_on = 0;
};

constinit reporting_state state;

struct reporting_lock : std::mutex {
};

// The lines of one thread in a ring.
struct thread_queue {
    int first = 0;
    int count = 0;
    char lines[thread_queue_room][line_size] = {};
};

// Without a destructor, so that code that runs late in a thread's life may still report.
struct thread_state {
    int depth = 0;  // calls of this thread that hold or share the lock
    int mode = mode_process_wide;
    report_handler handler;
    bool handling = false;          // a handler is under way
    thread_queue *queue = nullptr;  // owned; there while the thread's mode is 2
    bool pending = false;           // whether `text` is a line kept in the thread's mode 3
    char text[line_size] = {};      // what error_get gives
};

constinit thread_local thread_state own;

bool keeps_lines(int mode) { return mode == mode_print || mode == mode_queue || mode == mode_keep_last; }

// The lock of the process-wide state, for the outermost of nested calls.
class outermost_lock
{
public:
    outermost_lock()
    {
        if (own.depth++ == 0)
            teska::lasting<reporting_lock>().lock();
    }
    outermost_lock(const outermost_lock &) = delete;
    outermost_lock &operator=(const outermost_lock &) = delete;
    ~outermost_lock()
    {
        if (--own.depth == 0)
            teska::lasting<reporting_lock>().unlock();
    }
};

// The buffer is zeroed: queueing copies whole slots out of it.
struct report_line {
    report_line(const char *prefix, const char *message) { fmtstr(text, prefix, message); }
    char text[line_size] = {};
};

void hand_over(const report_handler &handler, const char *line)
{
    own.handling = true;
    handler.call(handler.context, line);
    own.handling = false;
}

// Prints a line, or hands it to who gets it instead. What a handler reports in turn is dropped: queued while
// error_display_all_msgs runs, it would come back without end.
void print_line(const char *line)
{
    if (own.handling)
        return;
    if (own.handler.call != nullptr)
        return hand_over(own.handler, line);
    const outermost_lock lock;
    if (state.handler.call != nullptr)
        return hand_over(state.handler, line);
    std::printf("%s\n", line);
    std::fflush(stdout);
}

error_handler set_handler(report_handler &which, const report_handler &next, void **previous)
{
    const report_handler before = std::exchange(which, next);
    if (previous != nullptr)
        *previous = before.context;
    return before.call;
}

// ---- Lines of the process, under the lock ---------------------------------------------------------------------------

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
    state.pending = true;
    strncpy_w0(state.last_message, line, line_size - 1);
}

char *fetch_queued()
{
    const int last = list_num(state.queue) - 1;
    if (last < 0)
        return nullptr;
    // A text may fill its slot without a terminating zero.
    const auto *slot = static_cast<const char *>(list_get_element(state.queue, last));
    strncpy_w0(own.text, slot, slot_size);
    list_rem_element(state.queue, last);
    return own.text;
}

char *fetch_kept()
{
    if (!state.pending)
        return nullptr;
    state.pending = false;
    return static_cast<char *>(std::memcpy(own.text, state.last_message, line_size));
}

// ---- Lines of one thread --------------------------------------------------------------------------------------------

void report_to_thread(const char *line)
{
    if (own.mode == mode_print) {
        print_line(line);
    } else if (own.mode == mode_queue && own.queue->count < thread_queue_room) {
        const int free_line = (own.queue->first + own.queue->count++) % thread_queue_room;
        std::memcpy(own.queue->lines[free_line], line, line_size);
    } else if (own.mode == mode_keep_last) {
        own.pending = true;
        std::memcpy(own.text, line, line_size);
    }
}

char *fetch_from_thread()
{
    if (own.mode == mode_queue) {
        if (own.queue->count == 0)
            return nullptr;
        std::memcpy(own.text, own.queue->lines[own.queue->first], line_size);
        own.queue->first = (own.queue->first + 1) % thread_queue_room;
        --own.queue->count;
        return own.text;
    }
    const bool kept = own.pending;
    own.pending = false;
    return kept ? own.text : nullptr;
}

void leave_thread_mode()
{
    teska::kill_record(own.queue);
    own.queue = nullptr;
    own.pending = false;
    own.mode = mode_process_wide;
}

struct at_thread_end {
    ~at_thread_end() { leave_thread_mode(); }
};

bool make_thread_queue()
{
    own.queue = teska::make_record<thread_queue>().release();
    if (own.queue == nullptr)
        return false;
    [[maybe_unused]] thread_local const at_thread_end end;
    return true;
}

}  // namespace

// ---- Errors ---------------------------------------------------------------------------------------------------------

int error_mess_fl(const char *message, const char * /*file*/, int /*line*/) TESKA_NOTHROW
{
    const bool process_wide = own.mode == mode_process_wide;
    if (own.handling || own.depth >= max_depth || !keeps_lines(process_wide ? state.mode.load() : own.mode))
        return 0;
    const report_line line("ERROR : '", message);
    if (!process_wide) {
        report_to_thread(line.text);
        return 0;
    }
    if (own.handler.call != nullptr && state.mode == mode_print) {
        print_line(line.text);
        return 0;
    }
    const outermost_lock lock;
    const int mode = state.mode;
    if (mode == mode_print)
        print_line(line.text);
    else if (mode == mode_queue)
        queue_line(line.text);
    else if (mode == mode_keep_last)
        keep_line(line.text);
    return 0;
}

char *error_get(void) TESKA_NOTHROW
{
    if (own.mode != mode_process_wide)
        return fetch_from_thread();
    const outermost_lock lock;
    return state.queue != nullptr ? fetch_queued() : fetch_kept();
}

int error_display_all_msgs(void) TESKA_NOTHROW
{
    const outermost_lock lock;
    while (const char *line = error_get())
        print_line(line);
    return 0;
}

int error_set(int mode) TESKA_NOTHROW
{
    const outermost_lock lock;
    const int previous = state.mode;
    state.mode = mode;
    state.pending = false;
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

int error_set_thread(int mode) TESKA_NOTHROW
{
    const int previous = own.mode;
    if (mode == mode_queue && previous == mode_queue)
        return previous;
    if (mode == mode_queue && !make_thread_queue())
        return TESKA_ERROR_NO_MEMORY;
    if (mode != mode_queue)
        leave_thread_mode();
    own.mode = keeps_lines(mode) || mode == mode_process_wide ? mode : mode_drop;
    return previous;
}

error_handler error_set_handler(error_handler handler, void *context, void **previous) TESKA_NOTHROW
{
    const outermost_lock lock;
    return set_handler(state.handler, {handler, context}, previous);
}

error_handler error_set_thread_handler(error_handler handler, void *context, void **previous) TESKA_NOTHROW
{
    return set_handler(own.handler, {handler, context}, previous);
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

int teska_warn_level(int threshold) TESKA_NOTHROW { return state.warn_threshold.exchange(threshold); }

void dbg(const char *message) TESKA_NOTHROW
{
    if (state.debug_on != 0)
        print_line(report_line("DEBUG : '", message).text);
}

int dbg_set(int on) TESKA_NOTHROW { return state.debug_on.exchange(on); }
