#include "faults/sweep.h"

#include "clut.h"

#include <new>

namespace teska_test
{

namespace
{

// Gives back what the class itself keeps for its copies.
class Table : public CLUT
{
public:
    Table(unsigned char inputs, unsigned char *grid, float *values) : CLUT(inputs, grid, 2, 0, values) {}
    Table(const Table &) = delete;
    Table &operator=(const Table &) = delete;
    ~Table() override
    {
        delete[] data;
        delete[] cornerN;
        delete[] workScaled;
        delete[] workFraction;
        delete[] workIndex;
        delete[] workWeight;
    }
};

// Nothing is reported: the failure is an exception.
SweepRow constructor(const char *name, unsigned char inputs, int allocations)
{
    return {.name = name,
            .make =
                [=] {
                    return SweepCase{.call = [=] {
                        unsigned char grid[] = {2, 2, 2, 2, 2, 2, 2};
                        float values[256] = {};
                        try {
                            const Table table(inputs, grid, values);
                            return table.NumPoints() == 1U << inputs;
                        } catch (const std::bad_alloc &) {
                            return false;
                        }
                    }};
                },
            .failures = {{.count = allocations, .once = {}}}};
}

const SweepRows rows({
    constructor("CLUT, 1 input", 1, 6),
    constructor("CLUT, 3 inputs", 3, 2),
    constructor("CLUT, 6 inputs", 6, 2),
    constructor("CLUT, 7 inputs", 7, 6),
});

}  // namespace

}  // namespace teska_test
