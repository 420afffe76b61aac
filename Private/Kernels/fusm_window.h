// fusm_window - the weights of the high-pass, by radius
//
//        radius 0            radius 1                radius 2
//                               -1                 .  -1  -2  -1   .
//           -1                  -2                -1   .   2   .  -1
//       -1   4  -1      -1  -2  12  -2  -1        -2   2   8   2  -2
//           -1                  -2                -1   .   2   .  -1
//                               -1                 .  -1  -2  -1   .
//
// All sum to zero. In an unnamed namespace on purpose: every kernel source gets a copy of its own.

#ifndef TESKA_FUSM_WINDOW_H
#define TESKA_FUSM_WINDOW_H

namespace teska
{

namespace
{

// A sample as seen from the middle.
struct fusm_tap {
    int row;
    int column;
    int weight;
};

// Lines and columns to either side of the middle.
constexpr int fusm_reach(int radius) noexcept { return radius == 0 ? 1 : 2; }

template <int Radius>
struct fusm_window;

template <>
struct fusm_window<0> {
    static constexpr int count = 5;
    static constexpr fusm_tap taps[] = {{0, 0, 4}, {-1, 0, -1}, {1, 0, -1}, {0, -1, -1}, {0, 1, -1}};
};

template <>
struct fusm_window<1> {
    static constexpr int count = 9;
    static constexpr fusm_tap taps[] = {{0, 0, 12},  {-1, 0, -2}, {1, 0, -2},  {0, -1, -2}, {0, 1, -2},
                                        {-2, 0, -1}, {2, 0, -1},  {0, -2, -1}, {0, 2, -1}};
};

template <>
struct fusm_window<2> {
    static constexpr int count = 17;
    static constexpr fusm_tap taps[] = {{0, 0, 8},  {-1, 0, 2},   {1, 0, 2},   {0, -1, 2},   {0, 1, 2},   {-2, 0, -2},
                                        {2, 0, -2}, {0, -2, -2},  {0, 2, -2},  {-2, -1, -1}, {-2, 1, -1}, {2, -1, -1},
                                        {2, 1, -1}, {-1, -2, -1}, {-1, 2, -1}, {1, -2, -1},  {1, 2, -1}};
};

}  // namespace

}  // namespace teska

#endif
