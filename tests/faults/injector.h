// injector - lets the n-th call of a kind fail
//
// The programs that use it are linked with --wrap for every function named in CMakeLists.txt, so each call from the
// library's objects passes through here first. Not for several threads.

#ifndef TESKA_TESTS_INJECTOR_H
#define TESKA_TESTS_INJECTOR_H

namespace teska_test
{

enum class fault_kind {
    memory,  // malloc, calloc, realloc, operator new
    files    // fopen, fwrite, fflush, fclose, open, write, fsync, rename
};

// From now on the call with index n of this kind fails, and all later ones too when sticky. Memory fails with ENOMEM,
// a file call with EIO; a failing fclose still closes.
void arm(fault_kind kind, int n, bool sticky);

// No more failures. Returns how many were injected since arm.
int disarm();

// Memory blocks allocated since track_memory and not freed yet.
void track_memory();
int live_blocks();

}  // namespace teska_test

#endif
