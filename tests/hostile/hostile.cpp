// What the rows of hostile.h are called with.

#include "hostile/hostile.h"

#include "support/folder.h"

#include "error_mess.h"

#include <wem.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#ifndef _WIN32
#    include <sys/stat.h>
#endif

namespace teska_test
{

Draw::Draw(std::uint64_t seed, std::string_view bytes) : random(seed, bytes)
{
    const int kinds[] = {0, 8, 2, 1};
    hostile_ = kinds[seed % 4];
}

double Draw::number()
{
    using Limits = std::numeric_limits<double>;
    constexpr double nan = Limits::quiet_NaN(), inf = Limits::infinity(), step = Limits::epsilon();
    constexpr double least = Limits::denorm_min(), min = Limits::min(), max = Limits::max();
    static const double hostile[] = {0,   1,   nan,  inf,  least, min,   max,  1e-300,   1e-20,  1e-9,
                                     1e9, 0.1, 1e20, 1e77, 1e155, 1e300, step, 1 + step, 0x1p31, 0x1p63};
    if (hostile_ == 0 || !chance(hostile_))
        return chance(4) ? std::round(plain()) : plain();
    const double drawn = hostile[random.below(std::size(hostile))];
    return chance(2) ? -drawn : drawn;
}

void Draw::finish()
{
    while (!later_.empty()) {
        const std::function<void()> check = std::move(later_.back());
        later_.pop_back();
        check();
    }
}

const std::string &hostile_text(Draw &draw)
{
    static const std::vector<std::string> texts = [] {
        std::vector<std::string> made = {std::string(127, 'x'), std::string(255, ' '), std::string(256, '['),
                                         std::string(400, '=')};
        std::istringstream all("| |a|=|[|]|[a|[a]\nb = 1 2 3\n\r\n[c] d\r e=\n|a = b|\t\r\n|;;*?;|*|a*b?c|../..|\\|/|"
                               "A:[b.c]d.e|:|C:|x.y.z|1 2 3|nan -inf 1e999 -1e-999|99999999999999999999 -0x1p3 +|0xg|"
                               "ffffffffff|\x80\xff\xc3\x28|#%|'#'%|r+b|");
        for (std::string text; std::getline(all, text, '|');)
            made.push_back(text);
        return made;
    }();
    return texts[static_cast<std::size_t>(draw.random.below(static_cast<int>(texts.size())))];
}

const std::string &hostile_path(Draw &draw)
{
    static const Folder folder;
    static const std::vector<std::string> paths = [] {
        std::vector<std::string> made = {"", folder.path("sub") + "\\more", folder.path(std::string(300, 'n'))};
        for (const char *name : {"file", "file", "new", "sub", "sub/inner", "none/x", "file/x", "pipe", "\xff\xfe"})
            made.push_back(folder.path(name));
        return made;
    }();
    const std::string file = folder.path("file");
    std::filesystem::create_directories(folder.path("sub"));
#ifndef _WIN32
    mkfifo(folder.path("pipe").c_str(), 0600);
#endif
    const bool there = std::filesystem::is_regular_file(file);
    if (!there)
        std::filesystem::remove_all(file);
    if (!there || draw.chance(4))
        std::ofstream(file, std::ios::binary) << hostile_text(draw);
    return paths[static_cast<std::size_t>(draw.random.below(static_cast<int>(paths.size())))];
}

Rows &HostileRows::all()
{
    static Rows rows;
    return rows;
}

HostileRows::HostileRows(std::initializer_list<Rows> rows)
{
    for (const Rows &some : rows)
        all().insert(all().end(), some.begin(), some.end());
}

void quiet()
{
    const wem_line_fn nobody = [](const char *) { return 0; };
    wem_set_typefl(nobody);
    wem_set_errexit(nobody);
    error_set(0);
    error_set_handler([](void *, const char *) {}, nullptr, nullptr);
}

std::uint64_t seed_of(const HostileRow &row)
{
    Digest digest;
    digest.add(row.name.data(), row.name.size());
    return digest.value() & ~std::uint64_t{3};
}

}  // namespace teska_test
