// foreign - owners of handles that a C library closes with a function of its own
//
//     foreign<md_tetrab, md_tetrab_kill> table(md_tetrab_new(3, 4, 33));
//     foreign<void, cmsCloseProfile> profile(cmsOpenProfileFromFile(path, "r"));

#ifndef EXAMPLES_FOREIGN_H
#define EXAMPLES_FOREIGN_H

#include <memory>

namespace examples
{

template <auto close>
struct closes_with {
    template <class T>
    void operator()(T *handle) const noexcept
    {
        close(handle);
    }
};

template <class T, auto close>
using foreign = std::unique_ptr<T, closes_with<close>>;

}  // namespace examples

#endif
