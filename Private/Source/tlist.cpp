// tlist - doubly linked list of objects that derive from a common class (core)
//
//     first                            last
//       |                               |
//     [ e0 ] <-> [ e1 ] <-> .. <-> [ e(n-1) ]        the outer links are null
//
// first and last are both null in an empty list. There is no count and no pointer from an element to its list: counting
// walks the chain, and membership shows at the head of the chain. Everything that links ends in Add(e, before), and all
// that unlinks in Subtract. No process-wide state.

#include "tlist.h"

namespace
{

// Walks towards each other from both ends, the one at high first: of two neighbours, low is the middle.
TElement *middle_of(TElement *low, TElement *high)
{
    while (low != high) {
        high = high->Previous();
        if (low != high)
            low = low->Next();
    }
    return low;
}

// The element after which e belongs, when low comes before e and high after it.
TElement *find_place(TElement *low, TElement *high, TElement *e, int (*order)(void *, void *))
{
    while (low != high) {
        TElement *middle = middle_of(low, high);
        const int c = order(middle, e);
        if (c == 0 || (c < 0 && middle == low))
            return middle;
        (c > 0 ? high : low) = middle;
    }
    return high;  // only when the order contradicts itself
}

const TElement *head_of(const TElement *e)
{
    while (e->Previous() != nullptr)
        e = e->Previous();
    return e;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

TList::TList(int (*order_function)(void *, void *))
    : first(nullptr), last(nullptr), current(nullptr), order(order_function)
{
}

// Kept: shallow, both lists lead to one chain.
TList::TList(const TList &other) = default;
TList &TList::operator=(const TList &other) = default;

TList::~TList() { TList::Destroy(); }

// ---- Change ---------------------------------------------------------------------------------------------------------

void TList::Destroy()
{
    for (TElement *e = first; e != nullptr;) {
        TElement *following = e->next;
        delete e;
        e = following;
    }
    first = last = current = nullptr;
}

void TList::Sort()
{
    if (order == nullptr)
        return;
    TElement *e = first;
    first = last = nullptr;
    while (e != nullptr) {
        TElement *following = e->next;
        Add(e);
        e = following;
    }
}

TElement *TList::Subtract(TElement *e)
{
    if (e == nullptr || head_of(e) != first)
        return e;
    TElement *following = e->next;
    (e->previous != nullptr ? e->previous->next : first) = following;
    (following != nullptr ? following->previous : last) = e->previous;
    if (current == e)
        current = following != nullptr ? following : last;
    e->previous = e->next = nullptr;
    return following;
}

TElement *TList::Add(TElement *e)
{
    if (first == nullptr || order == nullptr || order(last, e) <= 0)
        return Add(e, nullptr);
    // Kept: an element equal to the first one goes before it, one equal to the last one after that.
    if (order(first, e) >= 0)
        return Add(e, first);
    return Add(e, find_place(first, last, e, order)->next);
}

TElement *TList::Add(TElement *e, TElement *before)
{
    e->previous = before != nullptr ? before->previous : last;
    e->next = before;
    (e->previous != nullptr ? e->previous->next : first) = e;
    (before != nullptr ? before->previous : last) = e;
    return e;
}

TList &TList::operator+(TElement *e)
{
    Add(e);
    return *this;
}

TList &TList::operator-(TElement *e)
{
    Subtract(e);
    return *this;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int TList::Count() const
{
    int count = 0;
    for (const TElement *e = first; e != nullptr; e = e->next)
        ++count;
    return count;
}

TElement *TList::Get(int n) const
{
    TElement *e = first;
    for (; n > 0 && e != nullptr; --n)
        e = e->next;
    return e;
}

TElement *TList::Get(int (*match)(void *, void *), void *key) const
{
    // Kept: the cursor is asked first.
    if (current != nullptr && match(current, key) == 0)
        return current;
    TElement *e = first;
    while (e != nullptr && match(e, key) != 0)
        e = e->next;
    return e;
}

TElement *TList::GetNext(TElement *e) const { return e != nullptr ? e->next : first; }

int TList::Index(const TElement *e) const
{
    int index = 0;
    for (const TElement *listed = first; listed != nullptr; listed = listed->next, ++index)
        if (listed == e)
            return index;
    return -1;
}

TElement *TList::First() const { return first; }

TElement *TList::Last() const { return last; }

TElement *TList::Current() const { return current; }

void TList::SetCurrent(TElement *e) { current = e; }
