// tobjfac - factory of shared objects with reference counts (core)
//
//     factory -> register: [ object, count ] <-> [ object, count ] <-> ..
//
// The number of objects is that of the entries. Looking up an object walks the register. What an entry does when it
// goes is the derived class's. No process-wide state.

#include "tobjfac.h"

#include "random.h"
#include "teska_time.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

namespace
{

constexpr int digits = 6;
constexpr int names = 100000;  // numbers that a name may carry: its first digit is 0

// Two readings of the clock: at most 10^9 + 2.2 * 10^6 + 10^6, which an int holds.
int seed_of_clock()
{
    system_time_rec first, second;
    get_system_time(&first);
    get_system_time(&second);
    return first.microseconds * 1000 + first.seconds + second.microseconds;
}

TObjEl *find(const TObjList *reg, void *obj)
{
    TElement *found = reg != nullptr ? reg->Get(tObjListFindObj, obj) : nullptr;
    return static_cast<TObjEl *>(found);
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

TObjFac::TObjFac() : reg(new (std::nothrow) TObjList), nr_obj(0), err(0), gen(random_new(seed_of_clock()))
{
    if (reg == nullptr || reg->ErrNo() != 0 || gen == nullptr)
        err = 1;
}

// Kept: shallow, both factories own the same register and generator.
TObjFac::TObjFac(const TObjFac &other) = default;
TObjFac &TObjFac::operator=(const TObjFac &other) = default;

TObjFac::~TObjFac()
{
    delete reg;
    random_kill(gen);
}

// ---- Change ---------------------------------------------------------------------------------------------------------

void *TObjFac::DecrRefc(void *obj)
{
    TObjEl *entry = find(reg, obj);
    if (entry == nullptr)
        return nullptr;
    entry->RefCmm();
    if (entry->NoRefs()) {
        reg->Subtract(entry);
        delete entry;
        nr_obj = std::max(nr_obj - 1, 0);
    }
    return nullptr;
}

void *TObjFac::RemoveFromFactory(void *obj)
{
    while (GetRefc(obj) != 0)
        TObjFac::DecrRefc(obj);
    return nullptr;
}

int TObjFac::IncrRefc(void *obj)
{
    if (TObjEl *entry = find(reg, obj)) {
        entry->RefCpp();
        return 0;
    }
    TObjEl *entry = reg != nullptr ? TObjFacCreateEl(obj) : nullptr;
    if (entry != nullptr) {
        reg->Add(entry);
        ++nr_obj;
    }
    return 0;
}

TObjEl *TObjFac::TObjFacCreateEl(void *) { return nullptr; }

// ---- Query ----------------------------------------------------------------------------------------------------------

int TObjFac::GetRefc(void *obj)
{
    const TObjEl *entry = find(reg, obj);
    return entry != nullptr ? entry->RefC() : 0;
}

int TObjFac::GetNrObj() const { return nr_obj; }

int TObjFac::ErrNo() const { return err; }

int TObjFac::MakeRandomName(const char *prefix, char *out, int size)
{
    if (gen == nullptr || size < 0 || static_cast<std::size_t>(size) < std::strlen(prefix) + digits + 1)
        return -1;
    // The generator may give exactly 1.
    const int number = std::min(static_cast<int>(static_cast<double>(random_val(gen)) * names), names - 1);
    std::snprintf(out, static_cast<std::size_t>(size), "%s%06d", prefix, number);
    return 0;
}

// ---- Scanning -------------------------------------------------------------------------------------------------------

void *TObjFac::ScanObject(int restart) { return reg != nullptr ? reg->ScanObject(restart) : nullptr; }

int TObjFac::ScanReset() { return reg != nullptr ? reg->ScanObjectReset() : 0; }

TElement *TObjFac::GetCurrentScanObject() { return reg != nullptr ? reg->GetCurrentScanObject() : nullptr; }

int TObjFac::SetCurrentScanObject(void *element) { return reg != nullptr ? reg->SetCurrentScanObject(element) : 0; }
