// What the rows of hostile.h are called with.

#include "hostile/hostile.h"

#include "support/folder.h"

#include "archive.h"
#include "error_mess.h"

#include <wem.h>

#ifndef _WIN32
#    include <sys/stat.h>
#    include <unistd.h>
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

namespace
{

const Folder &hostile_folder()
{
    static const Folder folder = [] { return work_in_memory(), Folder(); }();
    return folder;
}

// What programs that work on files find: an archive, records, or hostile text.
void write_file(Draw &draw, const std::string &path)
{
    static const std::string records = "[a]\n" + std::string(40, 'n') + " = 1 0.5 2\nb = 2\n[c] d\r\ne = -1 -2 -3\n";
    static const std::string pages = [] {
        const Folder folder;
        archive *made = archive_create(folder.path("a").c_str(), "pages", nullptr);
        archive_add(made, "first", "content", 7);
        archive_add(made, "second", "", 0);
        archive_kill(made);
        return folder.read("a");
    }();
    std::ofstream(path, std::ios::binary) << (draw.chance(3) ? pages : draw.chance(2) ? records : hostile_text(draw));
}

}  // namespace

std::string folder_image()
{
    std::map<std::string, std::string> found;
    for (const auto &one : std::filesystem::recursive_directory_iterator(hostile_folder().path()))
        if (!one.is_regular_file())
            found[one.path().string()] = one.is_directory() ? "folder" : "other";
        else if (std::ifstream file(one.path(), std::ios::binary); file.is_open())
            found[one.path().string()].assign(std::istreambuf_iterator<char>(file), {});
    std::string all;
    for (const auto &[name, content] : found)
        all.append(name).append(": ").append(content).append("\n");
    return all;
}

const std::string &hostile_path(Draw &draw)
{
    static const Folder &folder = hostile_folder();
    static const std::vector<std::string> paths = [] {
        std::vector<std::string> made = {"", folder.path("sub") + "\\more", folder.path(std::string(300, 'n'))};
        for (const char *name : {"file", "file", "new", "sub", "sub/inner", "none/x", "file/x", "pipe", "\xff\xfe"})
            made.push_back(folder.path(name));
        return made;
    }();
    const std::string file = folder.path("file");
    // The same for equal draws where that is asked for, or else what calls left there.
    if (Draw::observer != nullptr && Draw::observer->empties_folder && !draw.in_folder)
        for (const auto &one : std::filesystem::directory_iterator(folder.path()))
            std::filesystem::remove_all(one.path());
    draw.in_folder = true;
    if (!std::filesystem::is_directory(folder.path("sub"))) {
        const std::string deep = "sub/" + std::string(70, 'd');
        std::filesystem::create_directories(folder.path(deep));
        for (const std::string &name : {deep + "/f", deep + "/g", "sub/" + std::string(40, 'f'), std::string("sub/h")})
            folder.write(name, "content");
    }
#ifndef _WIN32
    mkfifo(folder.path("pipe").c_str(), 0600);
#endif
    const bool there = std::filesystem::is_regular_file(file);
    if (!there)
        std::filesystem::remove_all(file);
    if (draw.chance(4) || !there)
        write_file(draw, file);
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
    teska_warn_level(INT_MAX);
    error_set_handler([](void *, const char *) {}, nullptr, nullptr);
}

std::string word_for(const std::string &name, const char *file)
{
    std::ifstream words(file);
    for (std::string one, word; words >> one >> word;)
        if (one == name)
            return word;
    return "none";
}

std::uint64_t seed_of(const HostileRow &row)
{
    Digest digest;
    digest.add(row.name.data(), row.name.size());
    return digest.value() & ~std::uint64_t{3};
}

}  // namespace teska_test
