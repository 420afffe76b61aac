// injector - lets the n-th call of a kind fail
//
// The program is linked with --wrap for every function named in CMakeLists.txt, so each call from the library's objects
// passes through here first. Not for several threads.

#ifndef TESKA_TESTS_INJECTOR_H
#define TESKA_TESTS_INJECTOR_H

#include <cerrno>
#include <string>
#include <vector>

namespace teska_test
{

enum class fault_kind {
    memory,  // malloc, calloc, realloc, operator new
    files    // calls on files and folders
};

// How a file call fails.
struct file_fault {
    int error = EIO;
    bool partial = false;  // a transfer of more than one byte (one item) does half of it instead
    bool kill = false;     // the process dies before the call, as by a signal it cannot catch
    bool halves = false;   // until then every read and write by descriptor does half, and bytes move by no other call
};

// From now on the call with index n of this kind fails, and all later ones too when sticky. Memory fails with ENOMEM.
// What fails to close still closes.
void arm(fault_kind kind, int n, bool sticky, file_fault fault = {});

// No more failures. Returns how many were injected since arm.
int disarm();

// Since arm: how many were injected, and how many calls of the kind were made when none was.
int injections();
int calls_counted();

// Whether calls count, fail and are tracked; they do at first.
void heed(bool calls);

// A file call by descriptor or by name that was made and succeeded.
struct file_step {
    enum kind { open, write, fsync, close, rename, unlink, mkdir, symlink } call;
    int descriptor;     // -1 for calls by name
    std::string name;   // the whole path in calls by name; the old one of rename
    std::string other;  // the new name of rename; the bytes of write; what a symlink holds
};

// Puts the steps made from now on at the end of a list; null for no longer. Not while memory fails.
void record_files(std::vector<file_step> *steps);

// Memory blocks allocated since track_memory and not freed yet.
void track_memory();
int live_blocks();

}  // namespace teska_test

#endif
