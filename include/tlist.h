/* tlist.h - doubly linked list of objects that derive from a common class
 *
 * The list links the caller's objects themselves, owns them and deletes them in the end. It keeps the order of adding,
 * or one given by a function.
 *
 *     class Ink : public TElement { public: int density; };
 *     int lighter(void *listed, void *added)
 *     {
 *         return static_cast<Ink *>(static_cast<TElement *>(listed))->density -
 *                static_cast<Ink *>(static_cast<TElement *>(added))->density;
 *     }
 *
 *     TList inks(lighter);
 *     inks.Add(new Ink);
 *     for (TElement *e = inks.First(); e != nullptr; e = e->Next())
 *         ...
 *     TElement *lightest = inks.First();
 *     inks.Subtract(lightest);                           take one out; the rest goes with the list
 *     delete lightest;
 *
 * Common rules
 *   Ownership: an element in a list belongs to the list: made by new, deleted through its virtual destructor by Destroy
 *   or by the list's destructor. Subtract gives it back to the caller. An element is in one list at a time, and there
 *   it must neither be added again nor be deleted by anyone else.
 *   The caller's functions receive TElement pointers as void *: cast to TElement * first. They must not change the
 *   list, and must not throw.
 *   Positions are counted from 0. Nothing is reported; a null result means "none". Nothing is allocated.
 *   Kept: copies of a list are shallow. Both lists then lead to the same chain: once one of them is changed, the ends
 *   of the other are out of date. Destroying one deletes the elements of both, so one of the two has to be emptied
 *   before, by assigning an empty list to it.
 *   Threads: lists that share no chain are independent of each other. While no thread changes a list, any number may
 *   use the functions under Query and those of its elements.
 */
#ifndef TESKA_TLIST_H
#define TESKA_TLIST_H
#include "teska_api.h"
#ifdef __cplusplus

class TList;

class TESKA_API TElement
{
    friend class TList;

public:
    /* Kept: copying an element copies its two links. The copy is in no list, but says it has neighbours; assigning to
     * an element of a list breaks the chain. */
    TElement(const TElement &other);
    TElement &operator=(const TElement &other);

    /* Does not unlink: an element of a list is subtracted before it is deleted. */
    virtual ~TElement();

    /* The neighbours in the list; null at its ends and when the element is in no list. */
    TElement *Previous() const;
    TElement *Next() const;

    /* Number of elements before this one; 0 when it is in no list. O(n). */
    int ListIndex() const;

protected:
    TElement(); /* in no list */

    TElement *previous; /* the neighbours, null at the ends */
    TElement *next;
};

class TESKA_API TList
{
public:
    /* ---- Life ---------------------------------------------------------------------------------------------------- */

    /* TList - an empty list.
     *
     * order  called as order(element in the list, new element): positive when the listed one sorts after the new one,
     *        0 with it, negative before it. Null: Add appends.
     */
    explicit TList(int (*order)(void *, void *));

    /* Kept: shallow, see above. The chain that an assigned list had before is not deleted. */
    TList(const TList &other);
    TList &operator=(const TList &other);

    /* Destroy of this class; one that a derived class puts in its place runs in that class's destructor. */
    virtual ~TList();

    /* ---- Change -------------------------------------------------------------------------------------------------- */

    /* Destroy - delete all elements, first to last. The list is then empty, its cursor null. */
    virtual void Destroy();

    /* Sort - add every element again, in their present order. Without an order function nothing changes.
     * O(n log n) calls of the order function and O(n^2) steps.
     *
     * Kept: the cursor stays on its element; equal elements may change places. */
    virtual void Sort();

    /* Subtract - take an element out of the list; the caller owns it from then on.
     *
     * e  may be null. Whether it is in this list is seen from the head of its chain. O(n).
     * Returns the element that followed e, null when e was the last one.
     * When e is not in this list, nothing changes and e is returned. A cursor on e moves to the element that followed,
     * or to the new last one.
     */
    virtual TElement *Subtract(TElement *e);

    /* Add - link an element at its place and take it over.
     *
     * Without an order function the place is the end. With one, the first of these that holds decides:
     *     order(last, e) <= 0     after the last one: an equal one too
     *     order(first, e) >= 0    before the first one: an equal one too
     *     otherwise               found by halving: after some equal element, or between those before and after e.
     *                             The middle of k elements is the one at (k - 1) / 2, rounded down.
     *
     * e  not null, in no list
     * Returns e. O(log n) calls of the order function and O(n) steps.
     * Kept: equal elements are neither in the order of adding nor in the reverse.
     */
    TElement *Add(TElement *e);

    /* Add - link an element in front of another one, whatever the order function says.
     *
     * before  an element of this list; null appends e
     * Returns e. O(1).
     */
    TElement *Add(TElement *e, TElement *before);

    /* Add(e) and Subtract(e); return the list. */
    TList &operator+(TElement *e);
    TList &operator-(TElement *e);

    /* ---- Query --------------------------------------------------------------------------------------------------- */

    /* Number of elements. O(n). */
    int Count() const;

    /* Element n; the first one for n < 1, null past the end. O(n). */
    TElement *Get(int n) const;

    /* The first element with match(element, key) == 0, or null.
     *
     * Kept: the cursor's element is asked first, so it is found even if an earlier one matches too. */
    TElement *Get(int (*match)(void *, void *), void *key) const;

    /* The element after e; the first one when e is null. */
    TElement *GetNext(TElement *e) const;

    /* Position of e, or -1 when it is null or not in the list. O(n). */
    int Index(const TElement *e) const;

    /* The ends; null when the list is empty. */
    TElement *First() const;
    TElement *Last() const;

    /* The cursor: an element that the caller remembers in the list, null at first. SetCurrent checks nothing. */
    TElement *Current() const;
    void SetCurrent(TElement *e);

protected:
    TElement *first;
    TElement *last;
    TElement *current;
    int (*order)(void *, void *);
};

#endif
#endif
