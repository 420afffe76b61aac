// records_bench - record text and files beside GLib's key files, numbers in text beside the C library, one thread
//
// A text of 40 topics with 20 items each, as the description of a printer has. GLib keeps a hash table of each group.
// In order: every item of the text is asked for by topic and name; GLib loads the text each time, ours keeps nothing of
// it. By chance: as many items of a file that both have loaded.

#include "support/pairs.h"

#include "str_zuk.h"

#include <zuk.h>

#include <benchmark/benchmark.h>
#include <glib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace
{

constexpr int topics = 40, items = 20, all = topics * items, vectors = 1000;

using KeyFile = std::unique_ptr<GKeyFile, void (*)(GKeyFile *)>;
using Database = std::unique_ptr<zuk_db, int (*)(zuk_db *)>;
using Value = char[ZUK_VALUE_SIZE];

struct Data {
    Data()
    {
        std::mt19937 random(1);
        std::uniform_real_distribution<double> number(-100, 100);
        for (int t = 0; t < topics; ++t) {
            text += "[medium " + std::to_string(t) + "]\n";
            for (int i = 0; i < items; ++i) {
                names.emplace_back("medium " + std::to_string(t), "density of channel " + std::to_string(i));
                text += names.back().second + " = " + std::to_string(number(random)) + ' ' +
                        std::to_string(number(random)) + '\n';
            }
        }
        shuffled = names;
        std::shuffle(shuffled.begin(), shuffled.end(), random);
        std::ofstream(path) << text;
        zuk_push_rfile(database.get(), path.c_str());
        for (int i = 0; i < 3 * vectors; ++i)
            numbers.push_back(number(random));
        for (int i = 0; i < vectors; ++i)
            str_itemstr_from_double(&numbers[3 * static_cast<std::size_t>(i)], 3, values.emplace_back().data());
    }
    ~Data() { std::filesystem::remove(path); }

    KeyFile parsed() const
    {
        KeyFile file(g_key_file_new(), g_key_file_free);
        g_key_file_load_from_data(file.get(), text.data(), text.size(), G_KEY_FILE_NONE, nullptr);
        return file;
    }

    std::string path = std::filesystem::temp_directory_path() / "records_bench.tmp", text;
    std::vector<std::pair<std::string, std::string>> names, shuffled;
    Database database{zuk_open(), zuk_close};
    KeyFile keys{nullptr, g_key_file_free};
    std::vector<double> numbers;
    std::vector<std::array<char, 40>> values;
};

// All lengths of the values that a search finds.
template <class Names, class Search>
std::size_t lengths(const Names &names, Search search)
{
    std::size_t sum = 0;
    for (const auto &[topic, name] : names)
        sum += search(topic.c_str(), name.c_str());
    return sum;
}

std::size_t in_text(const Data &d)
{
    str_search_zuk_cache_reset();
    return lengths(d.names, [&](const char *topic, const char *name) {
        const char *cursor = d.text.c_str();
        Value value = "";
        str_search_zuk(&cursor, topic, name, value);
        return std::strlen(value);
    });
}

template <class Names>
std::size_t in_keys(GKeyFile *file, const Names &names)
{
    return lengths(names, [&](const char *topic, const char *name) {
        const std::unique_ptr<char, void (*)(void *)> value(g_key_file_get_value(file, topic, name, nullptr), g_free);
        return std::strlen(value.get());
    });
}

std::size_t in_database(const Data &d)
{
    return lengths(d.shuffled, [&](const char *topic, const char *name) {
        Value value = "";
        zuk_search(d.database.get(), topic, name, value);
        return std::strlen(value);
    });
}

template <class Read>
double sum_read(const Data &d, Read read)
{
    double sum = 0;
    for (const auto &value : d.values) {
        double xyz[3] = {};
        read(value.data(), xyz);
        sum += xyz[0] + xyz[1] + xyz[2];
    }
    return sum;
}

template <class Print>
std::size_t characters(const Data &d, Print print)
{
    std::size_t sum = 0;
    for (std::size_t i = 0; i < d.numbers.size(); i += 3) {
        char text[64];
        print(&d.numbers[i], text);
        sum += std::strlen(text);
    }
    return sum;
}

double ours_read(const Data &d)
{
    return sum_read(d, [](const char *text, double *xyz) { str_double_from_itemstr(text, 3, xyz); });
}

double theirs_read(const Data &d)
{
    return sum_read(d, [](const char *text, double *xyz) {
        char *at = const_cast<char *>(text);
        for (int k = 0; k < 3; ++k)
            xyz[k] = std::strtod(at, &at);
    });
}

std::size_t ours_print(const Data &d)
{
    return characters(d, [](const double *xyz, char *text) { str_itemstr_from_double(xyz, 3, text); });
}

// As many decimals as leave four digits.
std::size_t theirs_print(const Data &d)
{
    return characters(d, [](const double *xyz, char *text) {
        for (int k = 0; k < 3; ++k) {
            const double size = std::abs(xyz[k]);
            text += std::sprintf(text, " %.*f ", size < 10 ? 3 : size < 100 ? 2 : 1, xyz[k]);
        }
    });
}

// Both must do the same work.
template <class Ours, class Theirs>
void add(const std::string &name, int count, Ours ours, Theirs theirs)
{
    if (ours() != theirs()) {
        std::fprintf(stderr, "%s: %g and %g\n", name.c_str(), static_cast<double>(ours()),
                     static_cast<double>(theirs()));
        std::exit(1);
    }
    const auto enter = [&](const char *side, auto work) {
        benchmark::RegisterBenchmark((name + side).c_str(), [=](benchmark::State &state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(work());
            state.SetItemsProcessed(state.iterations() * count);
        });
    };
    enter("/ours", ours);
    enter("/peer", theirs);
}

}  // namespace

int main(int argc, char **argv)
{
    const Data d;
    const KeyFile keys = d.parsed();
    add(
        "text, items in order", all, [&] { return in_text(d); }, [&] { return in_keys(d.parsed().get(), d.names); });
    add(
        "file, items by chance", all, [&] { return in_database(d); }, [&] { return in_keys(keys.get(), d.shuffled); });
    add(
        "3 numbers read", vectors, [&] { return ours_read(d); }, [&] { return theirs_read(d); });
    add(
        "3 numbers written", vectors, [&] { return ours_print(d); }, [&] { return theirs_print(d); });
    return bench::run_pairs(argc, argv);
}
