// wem_pool - pools of fixed-size records (wem)
//
// A pool is a chain of blocks and a chain of free records. Both chains run through the memory they manage:
//
//     pool -> block | link .. | record | record | record | ...      blocks, newest first
//     pool -> record -> record -> ...                               free records, the last freed first
//
// Every record occupies a multiple of 16 bytes, and so does a block's link: heap blocks are aligned to 16
// bytes, and thus is each record. A new block's records go on the free chain in rising order of address.
#include "wem.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace
{

constexpr std::size_t record_alignment = 16;
constexpr std::size_t word_size = 4;
static_assert(alignof(std::max_align_t) >= record_alignment, "heap blocks must be aligned as records are");

struct link {
    link *next;
};

static_assert(sizeof(link) <= record_alignment, "a block's link takes one unit");

void push(link *&chain, void *memory)
{
    auto *first = static_cast<link *>(memory);
    first->next = chain;
    chain = first;
}

void *pop(link *&chain)
{
    link *first = chain;
    chain = first->next;
    return first;
}

// Bytes from one record to the next. The largest int of words is within 2^33 bytes.
constexpr unsigned long long record_size(int words)
{
    const unsigned long long bytes = static_cast<unsigned long long>(words) * word_size;
    return (bytes + record_alignment - 1) / record_alignment * record_alignment;
}

}  // namespace

struct wem_pool {
    std::size_t record_size;  // bytes from one record to the next
    std::size_t per_block;    // records in a block; >= 1
    link *blocks;
    link *unused;
};

namespace
{

bool add_block(wem_pool &pool)
{
    auto *block = static_cast<unsigned char *>(std::malloc(record_alignment + pool.per_block * pool.record_size));
    if (!block)
        return false;
    push(pool.blocks, block);
    unsigned char *first = block + record_alignment;
    for (std::size_t i = pool.per_block; i-- > 0;)
        push(pool.unused, first + i * pool.record_size);
    return true;
}

}  // namespace

wem_pool *wem_zcreate(int record_words, int block_bytes) noexcept
{
    // Half of the address space bounds the sum of a block's link and its records.
    if (record_words <= 0 || record_size(record_words) > PTRDIFF_MAX / 2)
        return nullptr;
    auto *pool = static_cast<wem_pool *>(std::malloc(sizeof(wem_pool)));
    if (!pool)
        return nullptr;
    const auto size = static_cast<std::size_t>(record_size(record_words));
    const std::size_t wanted = block_bytes > 0 ? static_cast<std::size_t>(block_bytes) : 0;
    *pool = {size, wanted > size ? wanted / size : 1, nullptr, nullptr};
    return pool;
}

void *wem_zalloc(wem_pool *pool) noexcept
{
    if (!pool || (!pool->unused && !add_block(*pool)))
        return nullptr;
    return std::memset(pop(pool->unused), 0, pool->record_size);
}

int wem_zfree(wem_pool *pool, void *record) noexcept
{
    if (pool && record)
        push(pool->unused, record);
    return 0;
}

int wem_zdestroy(wem_pool *pool) noexcept
{
    if (!pool)
        return 0;
    while (pool->blocks)
        std::free(pop(pool->blocks));
    std::free(pool);
    return 0;
}
