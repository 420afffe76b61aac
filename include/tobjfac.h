/* tobjfac.h - register of shared objects with reference counts
 *
 * Several owners share an object of any kind; the last release takes it out of the register. A class derived from
 * TObjFac decides what an entry is, and with that what happens to the object in the end.
 *
 *     class FontEntry : public TObjEl
 *     {
 *     public:
 *         explicit FontEntry(void *font) : TObjEl(font) {}
 *         ~FontEntry() override { close_font(iPt()); }                    the last release closes the font
 *     };
 *     class Fonts : public TObjFac
 *     {
 *     public:
 *         void Use(void *font) { IncrRefc(font); }                        1st call: entry with count 1
 *     protected:
 *         TObjEl *TObjFacCreateEl(void *font) override { return new (std::nothrow) FontEntry(font); }
 *     };
 *
 *     fonts.Use(font);
 *     fonts.Use(font);                                                    count 2
 *     for (void *f = fonts.ScanObject(1); f != nullptr; f = fonts.ScanObject(0))
 *         ...
 *     fonts.DecrRefc(font);
 *     fonts.DecrRefc(font);                                               closed
 *
 * Common rules
 *   Ownership: the factory owns its register, the register its entries. Entries are made by new in TObjFacCreateEl and
 *   deleted through their virtual destructor. The objects are the caller's: the library keeps their addresses and never
 *   looks at them; who wants them released with the entry does it in the entry's destructor.
 *   An object is registered when some entry holds its address. Registered are kept in the order in which they came.
 *   Nothing is reported but the generator's line (random.h); failures show in ErrNo. Overriding functions and the
 *   destructors of entries must not throw.
 *   Kept: copies of all three classes are shallow. A copied list shares its chain (tlist.h). A copied factory shares
 *   the register and the generator, and only one of the two may ever be destroyed.
 *   Factories that are not copies are independent of each other; each is used by one thread at a time.
 */
#ifndef TESKA_TOBJFAC_H
#define TESKA_TOBJFAC_H
#include "teska_api.h"
#ifdef __cplusplus
#    include "tlist.h"

struct random_rec;

/* ---- An entry ---------------------------------------------------------------------------------------------------- */

class TESKA_API TObjEl : public TElement
{
public:
    /* An entry for an object, in no list, with a reference count of 1. */
    explicit TObjEl(void *object);
    TObjEl(const TObjEl &other);
    TObjEl &operator=(const TObjEl &other);
    virtual ~TObjEl();

    /* Nonzero when p is the object. A derived class may compare what is in it: tObjListFindObjSameContent finds entries
     * for which the result is positive. */
    virtual int IsSameContent(void *p);

    /* Add one to the count or take one off; both return the new count. */
    int RefCpp();
    int RefCmm();

    /* Whether the count is below 1, and the count. */
    bool NoRefs() const;
    int RefC() const;

    /* The object. */
    void *iPt() const;

    /* 0, unless a derived class sets err. */
    int ErrNo() const;

protected:
    void *object;
    int refc;
    int err;
};

/* ---- The register ------------------------------------------------------------------------------------------------ */

/* A list of TObjEl and nothing else, in the order of registration, with a cursor of its own for scanning. */
class TESKA_API TObjList : public TList
{
public:
    /* An empty register. */
    TObjList();

    /* Kept: shallow, as in tlist.h. */
    TObjList(const TObjList &other);
    TObjList &operator=(const TObjList &other);

    /* Subtracts and deletes the elements, last to first. */
    virtual ~TObjList();

    /* TList::Destroy; the scan starts anew. */
    virtual void Destroy() override;

    /* TList::Sort, which does nothing without an order function. */
    virtual void Sort() override;

    /* TList::Subtract. When e is the one that was scanned last, the scan steps back to the one before it, so that the
     * next step gives the one after it. */
    virtual TElement *Subtract(TElement *e) override;

    /* Start the scan anew. Returns 0. */
    int ScanObjectReset();

    /* Step to the next entry.
     *
     * restart  nonzero: to the first one
     * Returns the entry's object, or null at the end. The scan then stays on the last entry, and goes on from there
     * when others have been added.
     */
    void *ScanObject(int restart);

    /* The entry scanned last; null before the first one. */
    TElement *GetCurrentScanObject() const;

    /* Go on after an entry. Returns 0.
     *
     * element  a TElement * of this list, as GetCurrentScanObject gives it, or null; not checked */
    int SetCurrentScanObject(void *element);

    /* 0, unless a derived class sets err. */
    int ErrNo() const;

protected:
    int err;
    TElement *scan;
};

/* Match functions for TList::Get over entries; both return 0 for a match and 1 otherwise.
 *
 * element  the TElement * of a TObjEl
 * key      the object; whether it is the entry's own, or IsSameContent(key) is positive */
TESKA_BEGIN_C
TESKA_API int tObjListFindObj(void *element, void *key) TESKA_NOTHROW;
TESKA_API int tObjListFindObjSameContent(void *element, void *key) TESKA_NOTHROW;
TESKA_END_C

/* ---- The factory ------------------------------------------------------------------------------------------------- */

class TESKA_API TObjFac
{
public:
    /* TObjFac - an empty register, and a generator for names, seeded from the clock.
     *
     * When memory runs out, ErrNo gives 1. Without a register nothing is ever registered, and all functions may still
     * be called; without a generator, for which "Random_new : allocation failed" is reported, MakeRandomName
     * refuses. */
    TObjFac();
    TObjFac(const TObjFac &other);
    TObjFac &operator=(const TObjFac &other);

    /* Deletes the register with every entry, and the generator. */
    virtual ~TObjFac();

    /* DecrRefc - release an object once. When its count falls to 0 or below, its entry is deleted.
     *
     * obj  may be unregistered; nothing happens then
     * Returns null, to be written back. */
    virtual void *DecrRefc(void *obj);

    /* Those of the register; null or 0 without one.
     *
     * restart  nonzero: to the first one */
    virtual void *ScanObject(int restart);
    virtual int ScanReset();

    /* RemoveFromFactory - release an object as often as its count asks for, by the step of this class's DecrRefc.
     *
     * Returns null, to be written back.
     * Kept: an entry whose count a derived class has brought to 0 stays. */
    virtual void *RemoveFromFactory(void *obj);

    /* Those of the register, too. element is one of its entries, or null. */
    virtual TElement *GetCurrentScanObject();
    virtual int SetCurrentScanObject(void *element);

    /* Number of registered objects. */
    int GetNrObj() const;

    /* 0, or 1 when the constructor ran out of memory. */
    int ErrNo() const;

    /* MakeRandomName - the prefix and six digits: a name that is unlikely to be in use.
     *
     * prefix  not null
     * out     size bytes
     * Returns 0; -1 when size is less than the length of the prefix + 7, or without a generator; out is then untouched.
     * Kept: the first digit is always 0, so there are 100,000 names to a prefix. */
    int MakeRandomName(const char *prefix, char *out, int size);

protected:
    /* TObjFacCreateEl - make the entry for an object, by new. The register takes it over.
     *
     * Returns null when there is none to be had. Kept: so does this class, which therefore registers nothing. */
    virtual TObjEl *TObjFacCreateEl(void *obj);

    /* IncrRefc - count one more owner of an object; the first time, make its entry, which starts at 1.
     *
     * Returns 0. Kept: also when no entry could be made; GetRefc tells. */
    int IncrRefc(void *obj);

    /* The count of an object; 0 when it is not registered. */
    int GetRefc(void *obj);

    TObjList *reg; /* null when it could not be made */
    int nr_obj;
    int err;
    struct random_rec *gen; /* the same */
};

#endif
#endif
