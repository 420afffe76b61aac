// indexed - a vector that any integer type indexes
//
// Colorants and parts are counted in int, as in the interface; sizes of containers are not.

#ifndef TESKA_TOPSURFACE_INDEXED_H
#define TESKA_TOPSURFACE_INDEXED_H

#include <cstddef>
#include <vector>

namespace teska
{

template <class T>
class indexed : public std::vector<T>
{
public:
    using std::vector<T>::vector;

    template <class Index>
    decltype(auto) operator[](Index i)
    {
        return std::vector<T>::operator[](static_cast<std::size_t>(i));
    }
    template <class Index>
    decltype(auto) operator[](Index i) const
    {
        return std::vector<T>::operator[](static_cast<std::size_t>(i));
    }
};

}  // namespace teska

#endif
