// tlist/telement - what a linked list links (core)
//
// An element knows its neighbours and nothing of its list: which one it is in shows at the head of its chain. The
// invariant of a chain is e->next->previous == e, with null at both ends.

#include "tlist.h"

TElement::TElement() : previous(nullptr), next(nullptr) {}

// Kept: the links are copied as well, in both.
TElement::TElement(const TElement &other) = default;
TElement &TElement::operator=(const TElement &other) = default;

TElement::~TElement() = default;

TElement *TElement::Previous() const { return previous; }

TElement *TElement::Next() const { return next; }

int TElement::ListIndex() const
{
    int index = 0;
    for (const TElement *e = previous; e != nullptr; e = e->previous)
        ++index;
    return index;
}
