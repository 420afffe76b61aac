// child - the running test program a second time, as another process
//
//     const ChildRole hold("hold", [](const std::string &path) { return TCriticSect(path.c_str(), 10).Enter(60); });
//     EXPECT_EQ(Child("hold", path).wait(), 0);
//
// A program that runs under an emulator finds in TESKA_EMULATOR the command that its children are to be started with,
// as "qemu-s390x-static -L /usr/s390x-linux-gnu".

#ifndef TESKA_TESTS_CHILD_H
#define TESKA_TESTS_CHILD_H

#include <cstdint>
#include <string>

namespace teska_test
{

// What another process does in place of the tests, with its exit code as the result; an object at namespace scope.
struct ChildRole {
    ChildRole(std::string name, int (*body)(const std::string &argument));
};

class Child
{
public:
    // Starts this program in a registered role. A child starts no children.
    Child(const std::string &role, const std::string &argument);
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;
    ~Child() { kill(); }

    // Ends the child wherever it is, and returns when nothing of it runs any more.
    void kill();

    // Waits for its end. Returns its exit code, 137 when it was killed.
    int wait();

private:
    std::intptr_t process_;  // 0 when it has ended
    int code_ = 0;
};

}  // namespace teska_test

#endif
