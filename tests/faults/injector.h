// injector - lets the n-th call of a kind fail
//
// The programs that use it are linked with --wrap for every function named in CMakeLists.txt, so each call from the
// library's objects passes through here first. Not for several threads.

#ifndef TESKA_TESTS_INJECTOR_H
#define TESKA_TESTS_INJECTOR_H

#include <cerrno>
#include <string>
#include <vector>

namespace teska_test
{

enum class fault_kind {
    memory,  // malloc, calloc, realloc, operator new
    // Opening, reading, writing, moving in, flushing, cutting, closing, linking, renaming, removing, asking for files.
    files
};

// How a file call fails.
struct file_fault {
    int error = EIO;
    bool partial = false;  // a transfer of more than one byte (one item) does half of it instead
    bool kill = false;     // the process dies before the call, as by a signal it cannot catch
};

// From now on the call with index n of this kind fails, and all later ones too when sticky. Memory fails with ENOMEM.
// A failing fclose or close still closes.
void arm(fault_kind kind, int n, bool sticky, file_fault fault = {});

// No more failures. Returns how many were injected since arm.
int disarm();

// A file call by descriptor or by name that was made and succeeded.
struct file_step {
    enum kind { open, write, fsync, close, rename, unlink, mkdir, symlink } call;
    int descriptor;     // -1 for calls by name
    std::string name;   // as given to the calls by name; the old name of rename
    std::string other;  // the new name of rename; the bytes of write; what a symlink holds
};

// Puts the steps made from now on at the end of a list; null for no longer. Not while memory fails.
void record_files(std::vector<file_step> *steps);

// For wrappers of further calls that a program has of its own: whether this call fails, with errno set; and a step that
// was made, while steps are recorded.
bool file_call_fails();
bool records_files();
void record_step(const file_step &step);

// Memory blocks allocated since track_memory and not freed yet.
void track_memory();
int live_blocks();

}  // namespace teska_test

#endif
