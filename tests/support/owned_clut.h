// owned_clut - a CLUT that gives its arrays back, which the class itself keeps for copies; open to the tests

#ifndef TESKA_TESTS_OWNED_CLUT_H
#define TESKA_TESTS_OWNED_CLUT_H

#include "clut.h"

#include <vector>

namespace teska_test
{

class OwnedClut : public CLUT
{
public:
    using CLUT::CLUT;
    OwnedClut(std::vector<unsigned char> counts, int channels, std::vector<float> values, int aux = 0)
        : CLUT(static_cast<unsigned char>(counts.size()), counts.data(), static_cast<unsigned char>(channels),
               static_cast<unsigned char>(aux), values.data())
    {
    }
    OwnedClut(const OwnedClut &) = delete;
    OwnedClut &operator=(const OwnedClut &) = delete;
    ~OwnedClut() override
    {
        delete[] data;
        delete[] cornerN;
        delete[] workScaled;
        delete[] workFraction;
        delete[] workIndex;
        delete[] workWeight;
    }

    using CLUT::auxByte;
    using CLUT::Begin;
    using CLUT::clampFn;
    using CLUT::Interp3d;
};

}  // namespace teska_test

#endif
