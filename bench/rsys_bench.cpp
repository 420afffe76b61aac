// rsys_bench - folders beside std::filesystem: lists, copies and removals
//
// A tree of 20,000 files in 200 folders is listed with the sizes of its files, and searched by a pattern that one in a
// hundred matches, where neither side asks for sizes. A file of 256 MiB is copied until it is on the disk on both
// sides. Removal takes a tree of 2,000 files that is made again outside the time.

#include "rsys.h"

#include "support/pairs.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace fs = std::filesystem;

namespace
{

const char *const tree = "rsys_bench.tree";
const char *const removed = "rsys_bench.removed";
const char *const file = "rsys_bench.file";
const char *const copy = "rsys_bench.copy";

constexpr long long mega = 1 << 20;

void make_tree(const std::string &top, int folders)
{
    for (int i = 0; i < folders; ++i) {
        const std::string folder = top + "/folder" + std::to_string(i);
        fs::create_directories(folder);
        for (int k = 0; k < 100; ++k)
            std::ofstream(folder + "/name of a file " + std::to_string(k) + (k == 50 ? ".tif" : ".dat")) << k;
    }
}

long long our_sizes()
{
    rsys_dir *dir = rsys_dir_new(tree, nullptr, RSYS_DEEP | RSYS_HIDDEN);
    long long sum = 0;
    for (int i = 0; i < rsys_dir_num(dir); ++i)
        sum += 1000 + rsys_dir_get(dir, i)->size;
    rsys_dir_kill(dir);
    return sum;
}

long long peer_sizes()
{
    long long sum = 0;
    for (const fs::directory_entry &one : fs::recursive_directory_iterator(tree))
        if (!one.is_directory())
            sum += 1000 + static_cast<long long>(one.file_size());
    return sum;
}

long long our_search()
{
    rsys_dir *dir = rsys_dir_new(tree, "*.tif", RSYS_DEEP | RSYS_HIDDEN);
    const int count = rsys_dir_num(dir);
    rsys_dir_kill(dir);
    return count;
}

long long peer_search()
{
    long long count = 0;
    for (const fs::directory_entry &one : fs::recursive_directory_iterator(tree))
        count += one.path().extension() == ".tif" ? 1 : 0;
    return count;
}

long long our_copy() { return rsys_copy(file, copy, RSYS_REPLACE, nullptr, nullptr); }

long long peer_copy()
{
    fs::copy(file, copy, fs::copy_options::overwrite_existing);
    const int descriptor = open(copy, O_WRONLY);
    const int result = fsync(descriptor);
    close(descriptor);
    return result;
}

void before_copy() { fs::remove(copy); }

long long our_removal() { return rsys_remove(removed, nullptr, nullptr); }
long long peer_removal() { return fs::remove_all(removed) == 2021 ? 0 : 1; }
void before_removal() { make_tree(removed, 20); }
void nothing() {}

void add(const std::string &name, long long (*work)(), long long expected, void (*prepare)(), long long items)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
        for (auto _ : state) {
            state.PauseTiming();
            prepare();
            state.ResumeTiming();
            if (work() != expected)
                state.SkipWithError("another result");
        }
        state.SetItemsProcessed(state.iterations() * items);
    })->UseRealTime();
}

}  // namespace

int main(int argc, char **argv)
{
    make_tree(tree, 200);
    {
        const std::string block(mega, 'x');
        std::ofstream stream(file);
        for (int i = 0; i < 256; ++i)
            stream << block;
    }
    const long long sizes = peer_sizes();
    add("list of 20000 files with sizes/ours", our_sizes, sizes, nothing, 20000);
    add("list of 20000 files with sizes/peer", peer_sizes, sizes, nothing, 20000);
    add("search in 20000 files/ours", our_search, 200, nothing, 20000);
    add("search in 20000 files/peer", peer_search, 200, nothing, 20000);
    add("copy of 256 MiB, flushed/ours", our_copy, 0, before_copy, 256 * mega);
    add("copy of 256 MiB, flushed/peer", peer_copy, 0, before_copy, 256 * mega);
    add("removal of 2000 files/ours", our_removal, 0, before_removal, 2000);
    add("removal of 2000 files/peer", peer_removal, 0, before_removal, 2000);
    const int result = bench::run_pairs(argc, argv);
    fs::remove_all(tree);
    for (const char *left : {file, copy})
        fs::remove(left);
    return result;
}
