/* rom.h - registry of live objects by type, with memory that goes with them
 *
 * A function that receives an opaque handle asks the registry whether it is a live object of the expected type before
 * it touches it. An object may own further blocks, which are freed with it.
 *
 *     struct plate *p = rom_obj_new(sizeof *p, "plate");
 *     p->name = rom_obj_malloc(p, 32);
 *     ...
 *     if (!rom_objtype_check(p, "plate"))                never reads *p
 *         return -1;
 *     ...
 *     rom_obj_kill(p);                                   frees p->name and forgets p
 *     free(p);                                           the object itself is the caller's to free
 *
 * Common rules
 *   Objects and blocks come from the C heap. Each has one who frees it:
 *       a block of rom_obj_malloc   the registry, in rom_obj_free or rom_obj_kill; never free()
 *       the object                  the caller with free(), after rom_obj_kill
 *   An object is known by its address alone. One that is freed without rom_obj_kill stays registered, and so does its
 *   memory; when a later object gets its address, calls mean the later one.
 *   Type names are kept and compared by their first 15 characters, with case.
 *   "unregistered" lines print an address as a signed decimal number.
 *   There is one registry in the process. It is made by the first rom_obj_new and holds up to 65535 objects, each with
 *   up to 65535 blocks.
 *   Threads: any number of threads may call these functions at the same time; they take turns at the registry. Only the
 *   caller knows whether another thread is about to kill the object that was just checked.
 */
#ifndef TESKA_ROM_H
#define TESKA_ROM_H
#include "teska_api.h"
TESKA_BEGIN_C

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* rom_obj_new - create and register an object.
 *
 * size  bytes; 0 gives an object as well
 * type  its type name; not null
 * Returns the object, zero-filled, or NULL with one of
 *     "rom_init: malloc failed"                                      no registry could be made
 *     "rom_obj_new: malloc of obj TYPE failed"
 *     "rom_obj_new: insert of obj TYPE in objlist failed"            the registry could not grow, or is full
 * The first and the last follow the line of the list that failed (list.h).
 */
TESKA_API void *rom_obj_new(unsigned size, const char *type) TESKA_NOTHROW;

/* rom_obj_kill - free the blocks of an object and take it out of the registry.
 *
 * object  any address; what it points to is not touched
 * Returns 0, with "rom_obj_kill: unregistered obj ADDRESS" when it is not registered.
 * Kept: the object itself is not freed; the caller does that afterwards with free().
 */
TESKA_API int rom_obj_kill(void *object) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* rom_objtype_check - whether an address is a registered object of a type.
 *
 * object    any address; what it points to is not touched
 * expected  type name; not null
 * Returns 1; 0 with "rom_objtype_check: unregistered obj ADDRESS"; or 0 with a warning of level 999 (teska_warn) of two
 * lines, "rom_objtype_check: check failed " and "  act=TYPE expect=EXPECTED".
 */
TESKA_API int rom_objtype_check(const void *object, const char *expected) TESKA_NOTHROW;

/* ---- Memory of an object ----------------------------------------------------------------------------------------- */

/* rom_obj_malloc - a block that the object owns.
 *
 * size  bytes; 0 gives a block as well
 * Returns the block, its contents undefined, valid until rom_obj_free or rom_obj_kill, or NULL with one of
 *     "rom_obj_malloc: unregistered obj ADDRESS"
 *     "rom_obj_malloc: objmem list create failed for TYPE"
 *     "rom_obj_malloc: malloc of SIZE failed for TYPE"               also for a negative size
 *     "rom_obj_malloc: insert of TYPE failed"
 * The second and the last follow the line of the list that failed. The object then owns what it owned before.
 */
TESKA_API void *rom_obj_malloc(void *object, int size) TESKA_NOTHROW;

/* rom_obj_free - free one block of an object.
 *
 * Returns 0, with "rom_obj_free: unregistered obj ADDRESS" for the object, or with "rom_obj_free: unregistered memory
 * ADDRESS" when the block is none of the object's; nothing is freed then.
 */
TESKA_API int rom_obj_free(void *object, void *block) TESKA_NOTHROW;

TESKA_END_C
#endif
