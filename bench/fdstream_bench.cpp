// fdstream_bench - file streams beside std::fstream: one file written and read in pieces of one size
//
// Ours makes one system call for a piece, or for a byte that is read with get(); the peer collects pieces in a buffer.
// So large blocks show the cost of the stream, small ones that of the system call.

#include "fdstream.h"

#include "support/pairs.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>

namespace
{

constexpr const char *path = "fdstream_bench.tmp";

struct Case {
    std::string name;
    std::size_t piece;  // bytes; 0: one by one with get()
    std::size_t size;   // bytes of the file
};

std::string random_bytes(std::size_t size)
{
    std::string bytes(size, '\0');
    unsigned state = 1;
    for (char &byte : bytes)
        byte = static_cast<char>((state = state * 1664525U + 1013904223U) >> 24);
    return bytes;
}

template <class Stream>
bool write(const std::string &bytes, std::size_t piece)
{
    Stream out(path, std::ios::binary);
    for (std::size_t at = 0; at < bytes.size(); at += piece)
        out.write(&bytes[at], static_cast<std::streamsize>(std::min(piece, bytes.size() - at)));
    out.close();
    return out.good();
}

template <class Stream>
bool read(std::string &bytes, std::size_t piece)
{
    Stream in(path, std::ios::binary);
    if (piece == 0)
        for (char &byte : bytes)
            byte = static_cast<char>(in.get());
    else
        for (std::size_t at = 0; at < bytes.size(); at += piece)
            in.read(&bytes[at], static_cast<std::streamsize>(std::min(piece, bytes.size() - at)));
    return in.good();
}

template <class Pass>
void add(const Case &c, const std::string &name, Pass pass)
{
    benchmark::RegisterBenchmark((c.name + name).c_str(), [=](benchmark::State &state) {
        std::string bytes = random_bytes(c.size);
        const std::string written = bytes;
        write<std::ofstream>(bytes, bytes.size());
        for (auto _ : state)
            if (!pass(bytes, c.piece))
                state.SkipWithError("the stream failed");
        // Both must move the same bytes.
        std::string found(c.size, '\0');
        if (!read<std::ifstream>(found, c.size) || found != written || bytes != written)
            state.SkipWithError("the bytes differ");
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(c.size));
    });
}

}  // namespace

int main(int argc, char **argv)
{
    constexpr std::size_t mega = 1 << 20;
    for (const auto &[piece, size] : {std::pair(mega, mega), std::pair(mega / 16, mega), std::pair(mega / 256, mega),
                                      std::pair(mega / 8192, mega / 16)}) {
        const Case reading{"read, pieces of " + std::to_string(piece), piece, size};
        add(reading, "/ours", read<fdifstream>);
        add(reading, "/peer", read<std::ifstream>);
        const Case writing{"write, pieces of " + std::to_string(piece), piece, size};
        add(writing, "/ours", write<fdofstream>);
        add(writing, "/peer", write<std::ofstream>);
    }
    const Case bytes{"read, byte by byte", 0, mega / 256};
    add(bytes, "/ours", read<fdifstream>);
    add(bytes, "/peer", read<std::ifstream>);
    const int result = bench::run_pairs(argc, argv);
    std::remove(path);
    return result;
}
