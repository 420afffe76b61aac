// child - the running test program a second time, as another process
//
// A role is what the other process does in place of the tests:
//
//     const ChildRole hold("hold", [](const std::string &path) {
//         TCriticSect section(path.c_str(), 10);
//         return section.Enter(60);                     the exit code
//     });
//     EXPECT_EQ(Child("hold", path).wait(), 0);

#ifndef TESKA_TESTS_CHILD_H
#define TESKA_TESTS_CHILD_H

#include <cstdint>
#include <string>

namespace teska_test
{

// Registers a role; an object at namespace scope.
class ChildRole
{
public:
    ChildRole(std::string name, int (*body)(const std::string &argument));
};

class Child
{
public:
    // Starts this program in a role that it has registered. A child starts no children.
    Child(const std::string &role, const std::string &argument);
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;
    ~Child();

    // Ends the child at any point of its work, as the host does when it must; nothing of the child runs any more.
    void kill();

    // Waits for its end. Returns its exit code, something else than 0 when it was killed.
    int wait();

private:
    std::intptr_t process_;  // 0 when it has ended
    int code_ = 0;
};

}  // namespace teska_test

#endif
