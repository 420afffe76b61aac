// bezierd_base/pool - the records of segments, for any number of threads (curves)
//
// WEM's pool has a lock, for which threads that create many segments would wait. So every thread keeps a chain of free
// records, and most segments come and go without the lock; a thread that only gives segments back, or ends, hands its
// records on to the others. A segment made and killed takes 10.6 ns, with the unlocked pool it was 8.4.
//
//     bezier_new, bezier_kill  <->  chain of the thread, at most 32  <-  up to 16 at a time  ->  pool of the process
//
// The chain runs through the records themselves.

#ifndef TESKA_SOURCE_BEZIERD_BASE_POOL_H
#define TESKA_SOURCE_BEZIERD_BASE_POOL_H

#include "Support/on_demand.h"

#include "wem.h"

namespace teska
{

constexpr int record_bytes = 264;
constexpr int block_bytes = 8192;
constexpr int records_at_a_time = 16;

struct free_record {
    free_record *next;
};

// Without a destructor, so that segments may be given back late in a thread's life.
struct record_chain {
    free_record *first = nullptr;
    int count = 0;
    int limit = 0;  // records it may hold; 0 until its emptying at the thread's end is arranged

    void push(void *memory) noexcept
    {
        auto *record = static_cast<free_record *>(memory);
        record->next = first;
        first = record;
        ++count;
    }

    void *pop() noexcept
    {
        free_record *const record = first;
        first = record->next;
        --count;
        return record;
    }
};

class record_pool
{
public:
    // Memory of record_bytes with arbitrary contents; null when there is none. The pool is made for the first record
    // and stays.
    void *take() noexcept
    {
        record_chain &chain = own;
        if (chain.first == nullptr && !fill(chain))
            return nullptr;
        return chain.pop();
    }

    // A record from any thread.
    void give_back(void *record) noexcept
    {
        record_chain &chain = own;
        chain.push(record);
        if (chain.count > chain.limit)
            shorten(chain);
    }

private:
    struct thread_end {
        record_pool &pool;
        ~thread_end()
        {
            own.limit = ended;
            pool.hand_on(own, own.count);
        }
    };

    // The limit of a chain whose records have been handed on: it keeps none.
    static constexpr int ended = -1;

    void arrange_thread_end(record_chain &chain) noexcept
    {
        [[maybe_unused]] thread_local const thread_end end{*this};
        if (chain.limit == 0)
            chain.limit = 2 * records_at_a_time;
    }

    // Out of line, like shorten, so that the usual calls stay short.
    [[gnu::noinline]] bool fill(record_chain &chain) noexcept
    {
        if (!made_.ensure([this] { return (records_ = wem_zcreate(record_bytes / 4, block_bytes)) != nullptr; }))
            return false;
        arrange_thread_end(chain);
        const int wanted = chain.limit == ended ? 1 : records_at_a_time;
        while (chain.count < wanted) {
            void *const record = wem_zalloc(records_);
            if (record == nullptr)
                break;
            chain.push(record);
        }
        return chain.first != nullptr;
    }

    [[gnu::noinline]] void shorten(record_chain &chain) noexcept
    {
        arrange_thread_end(chain);
        if (chain.count > chain.limit)
            hand_on(chain, chain.limit == ended ? chain.count : records_at_a_time);
    }

    void hand_on(record_chain &chain, int count) noexcept
    {
        for (; count > 0; --count)
            wem_zfree(records_, chain.pop());
    }

    on_demand made_;
    wem_pool *records_ = nullptr;
    static inline constinit thread_local record_chain own;
};

}  // namespace teska

#endif
