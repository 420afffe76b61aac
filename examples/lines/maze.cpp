// maze - a maze, and the order in which the library fills it

#include "support/failure.h"
#include "support/foreign.h"
#include "support/heat.h"

#include "flood.h"
#include "lines/job.h"

#include <algorithm>
#include <array>
#include <random>
#include <utility>

namespace examples
{

namespace
{

constexpr int cell = 4;  // pixels from wall to wall, one of them wall

struct plan {
    int width;
    int height;
    std::vector<long> order;  // by pixel: 0 free, -1 wall, else the place in the order of filling
    filled_maze *figures = nullptr;

    long &at(int x, int y) { return order[static_cast<std::size_t>(y * width + x)]; }
};

// Passages between neighbouring cells, one walk that turns back where it cannot go on.
plan make_maze(int columns, int rows)
{
    plan maze{columns * cell + 1, rows * cell + 1, {}};
    maze.order.assign(static_cast<std::size_t>(maze.width * maze.height), -1);
    const auto open = [&](int x, int y, int w, int h) {
        for (int j = y; j < y + h; ++j)
            for (int i = x; i < x + w; ++i)
                maze.at(i, j) = 0;
    };
    std::mt19937 random(7);
    std::vector<std::pair<int, int>> way = {{columns / 2, rows / 2}};
    open(way[0].first * cell + 1, way[0].second * cell + 1, cell - 1, cell - 1);
    while (!way.empty()) {
        const auto [x, y] = way.back();
        std::vector<std::pair<int, int>> choices;
        for (const auto &[dx, dy] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}}) {
            const int i = x + dx;
            const int j = y + dy;
            if (i >= 0 && j >= 0 && i < columns && j < rows && maze.at(i * cell + 1, j * cell + 1) == -1)
                choices.emplace_back(i, j);
        }
        if (choices.empty()) {
            way.pop_back();
            continue;
        }
        const auto next = choices[random() % choices.size()];
        way.push_back(next);
        open(next.first * cell + 1, next.second * cell + 1, cell - 1, cell - 1);
        const int wall_x = std::max(x, next.first) * cell;
        const int wall_y = std::max(y, next.second) * cell;
        if (x != next.first)
            open(wall_x, y * cell + 1, 1, cell - 1);
        else
            open(x * cell + 1, wall_y, cell - 1, 1);
    }
    return maze;
}

// ---- Filling --------------------------------------------------------------------------------------------------------

int inside(void *user, int x, int y)
{
    auto *maze = static_cast<plan *>(user);
    ++maze->figures->tests;
    return x >= 0 && y >= 0 && x < maze->width && y < maze->height && maze->at(x, y) == 0;
}

void fill(void *user, int first, int last, int y)
{
    auto *maze = static_cast<plan *>(user);
    ++maze->figures->runs;
    for (int x = first; x <= last; ++x)
        maze->at(x, y) = ++maze->figures->pixels;
}

}  // namespace

filled_maze fill_maze(int columns, int rows)
{
    plan maze = make_maze(columns, rows);
    filled_maze result;
    maze.figures = &result;
    const foreign<flood, flood_kill> filler(flood_new(inside, fill));
    if (!filler)
        throw failure("no memory for filling");
    flood_do(filler.get(), &maze, columns / 2 * cell + 1, rows / 2 * cell + 1);
    result.coloured = picture(maze.width, maze.height, 3);
    unsigned char *sample = result.coloured.samples.data();
    for (const long place : maze.order) {
        const auto shade = place > 0 ? heat(static_cast<double>(place) / static_cast<double>(result.pixels))
                                     : std::array<unsigned char, 3>{24, 24, 30};
        sample = std::copy(shade.begin(), shade.end(), sample);
    }
    return result;
}

}  // namespace examples
