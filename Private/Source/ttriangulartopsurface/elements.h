// elements - the elements of a TList in a range-based loop
//
//     for (TPrimComb &part : elements<TPrimComb>(umbrella))
//
// A null list has none. The loop does not take elements out of the list.

#ifndef TESKA_TOPSURFACE_ELEMENTS_H
#define TESKA_TOPSURFACE_ELEMENTS_H

#include "tlist.h"

namespace teska
{

template <class Element>
class elements
{
public:
    class iterator
    {
    public:
        explicit iterator(TElement *at) : at_(at) {}
        Element &operator*() const { return static_cast<Element &>(*at_); }
        iterator &operator++()
        {
            at_ = at_->Next();
            return *this;
        }
        bool operator!=(const iterator &other) const { return at_ != other.at_; }

    private:
        TElement *at_;
    };

    explicit elements(const TList *list) : first_(list != nullptr ? list->First() : nullptr) {}
    // Elements from one of them on.
    explicit elements(TElement *first) : first_(first) {}

    [[nodiscard]] iterator begin() const { return iterator(first_); }
    [[nodiscard]] iterator end() const { return iterator(nullptr); }

private:
    TElement *first_;
};

}  // namespace teska

#endif
