// tobjfac/tobjlist - the register of shared objects (core)
//
// A list without an order, so that entries stay as they came, and a second cursor beside the list's own: the place of
// a scan, null before the first entry. It survives the removal of its entry by stepping back, because the scan goes on
// after it.

#include "tobjfac.h"

namespace
{

TObjEl *entry_of(void *element) { return static_cast<TObjEl *>(static_cast<TElement *>(element)); }

}  // namespace

TObjList::TObjList() : TList(nullptr), err(0), scan(nullptr) {}

// Kept: shallow, both lists lead to one chain.
TObjList::TObjList(const TObjList &other) = default;
TObjList &TObjList::operator=(const TObjList &other) = default;

TObjList::~TObjList()
{
    // The list is whole whenever an entry's destructor runs: that may release other objects.
    while (last != nullptr) {
        TElement *entry = last;
        TObjList::Subtract(entry);
        delete entry;
    }
}

void TObjList::Destroy()
{
    TList::Destroy();
    scan = nullptr;
}

void TObjList::Sort() { TList::Sort(); }

TElement *TObjList::Subtract(TElement *e)
{
    if (e != nullptr && e == scan)
        scan = e->Previous();
    return TList::Subtract(e);
}

int TObjList::ScanObjectReset()
{
    scan = nullptr;
    return 0;
}

void *TObjList::ScanObject(int restart)
{
    if (restart != 0)
        scan = nullptr;
    TElement *next = GetNext(scan);
    if (next == nullptr)
        return nullptr;
    scan = next;
    return entry_of(next)->iPt();
}

TElement *TObjList::GetCurrentScanObject() const { return scan; }

int TObjList::SetCurrentScanObject(void *element)
{
    scan = static_cast<TElement *>(element);
    return 0;
}

int TObjList::ErrNo() const { return err; }

int tObjListFindObj(void *element, void *key) TESKA_NOTHROW { return entry_of(element)->iPt() == key ? 0 : 1; }

int tObjListFindObjSameContent(void *element, void *key) TESKA_NOTHROW
{
    return entry_of(element)->IsSameContent(key) > 0 ? 0 : 1;
}
