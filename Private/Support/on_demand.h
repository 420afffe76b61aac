// on_demand - a part of an object that is made when it is first asked for, by whichever of several threads asks first
//
// Used by bezierd_base, mat and tetra.

#ifndef TESKA_SUPPORT_ON_DEMAND_H
#define TESKA_SUPPORT_ON_DEMAND_H

#include <atomic>
#include <thread>

namespace teska
{

// Says whether the part is there; the part itself lies beside it.
class on_demand
{
public:
    // Makes the part unless it is there. One thread makes it, the others wait until it is done. `make` returns whether
    // it succeeded; if not, the next call tries again. Returns whether the part is there.
    template <class Make>
    bool ensure(Make make) noexcept
    {
        while (state_.load(std::memory_order_acquire) != made) {
            int expected = missing;
            if (state_.compare_exchange_strong(expected, in_work, std::memory_order_acquire)) {
                const bool success = make();
                state_.store(success ? made : missing, std::memory_order_release);
                return success;
            }
            std::this_thread::yield();
        }
        return true;
    }

    [[nodiscard]] bool there() const noexcept { return state_.load(std::memory_order_acquire) == made; }

    // The part was made while no other thread uses the object.
    void mark_made() noexcept { state_.store(made, std::memory_order_release); }

    // The object is changed, so the part has to be made again. As for every change: no other thread uses the object.
    void discard() noexcept { state_.store(missing, std::memory_order_relaxed); }

private:
    static constexpr int missing = 0;
    static constexpr int in_work = 1;
    static constexpr int made = 2;

    std::atomic<int> state_{missing};
};

}  // namespace teska

#endif
