// ttriangulartopsurface/preparing - what an object makes on demand is made by one thread at a time (geometry)
//
// Process-wide state: the turns that threads have now, each in a frame of its thread's stack.

#include "Source/ttriangulartopsurface/preparing.h"

#include "Support/lasting.h"

#include <condition_variable>
#include <mutex>

namespace teska
{

namespace
{

struct turn_list {
    std::mutex lock;  // of the list, never held while an object is prepared
    std::condition_variable ended;
    preparing *first = nullptr;
};

turn_list &turns() noexcept { return lasting<turn_list>(); }

}  // namespace

const preparing *preparing::holder(const void *object) noexcept
{
    const preparing *turn = turns().first;
    while (turn != nullptr && turn->object_ != object)
        turn = turn->next_;
    return turn;
}

preparing::preparing(const void *object) noexcept : object_(object), thread_(std::this_thread::get_id())
{
    std::unique_lock<std::mutex> hold(turns().lock);
    const preparing *other = holder(object);
    if (other != nullptr && other->thread_ == thread_) {
        object_ = nullptr;
        return;
    }
    turns().ended.wait(hold, [=] { return holder(object) == nullptr; });
    next_ = turns().first;
    turns().first = this;
}

preparing::~preparing()
{
    if (object_ == nullptr)
        return;
    {
        const std::lock_guard<std::mutex> hold(turns().lock);
        preparing **link = &turns().first;
        while (*link != this)
            link = &(*link)->next_;
        *link = next_;
    }
    turns().ended.notify_all();
}

}  // namespace teska
