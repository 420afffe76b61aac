// Makes the process that loads it a German one, with 0,5 for a half, before main.
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>

static const int german = [] {
    char half[8] = "";
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr)
        std::snprintf(half, sizeof half, "%.1f", 0.5);
    if (std::strcmp(half, "0,5") != 0)
        std::abort();
    return 0;
}();
