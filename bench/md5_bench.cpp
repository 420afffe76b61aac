// md5_bench - the MD5 digest beside that of OpenSSL, one thread

#include "support/pairs.h"

#include "md5_digest.h"

#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<unsigned char>;
using Digest = std::array<unsigned char, 16>;

Bytes random_bytes(std::size_t size)
{
    std::mt19937 random(1);
    Bytes bytes;
    while (bytes.size() < size)
        bytes.push_back(static_cast<unsigned char>(random()));
    return bytes;
}

Digest ours(const Bytes &bytes)
{
    Digest digest;
    MD5_CTX context;
    MD5Init(&context);
    MD5Update(&context, bytes.data(), static_cast<unsigned>(bytes.size()));
    MD5Final(digest.data(), &context);
    return digest;
}

Digest theirs(const Bytes &bytes)
{
    Digest digest;
    EVP_Digest(bytes.data(), bytes.size(), digest.data(), nullptr, EVP_md5(), nullptr);
    return digest;
}

void add(const std::string &name, Digest (*digest)(const Bytes &), const Bytes &bytes)
{
    benchmark::RegisterBenchmark(name.c_str(), [digest, bytes](benchmark::State &state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(digest(bytes));
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
    });
}

}  // namespace

int main(int argc, char **argv)
{
    const std::pair<const char *, std::size_t> cases[] = {{"1 MiB", 1 << 20}, {"4 KiB", 1 << 12}};
    for (const auto &[name, size] : cases) {
        const Bytes bytes = random_bytes(size);
        if (ours(bytes) != theirs(bytes)) {
            std::fprintf(stderr, "%s: the digests differ\n", name);
            return 1;
        }
        add(std::string(name) + "/ours", ours, bytes);
        add(std::string(name) + "/peer", theirs, bytes);
    }
    return bench::run_pairs(argc, argv);
}
