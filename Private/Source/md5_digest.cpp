// md5_digest - the MD5 message digest, of bytes and of whole files (files)
//
// The bytes are taken in blocks of 64, as sixteen little-endian words x. Each block goes through 64 steps over the four
// words v = A, B, C, D, which turn by one place from step to step:
//
//     a = b + rotate(a + mix(b, c, d) + x[word] + constant, shift)
//
//     round   mix                                 word of step i      shifts, in turn
//       0     c where b is set, else d            i                   7 12 17 22
//       1     b where d is set, else c            5 i + 1 mod 16      5  9 14 20
//       2     b ^ c ^ d                           3 i + 5 mod 16      4 11 16 23
//       3     c ^ (b | ~d)                        7 i     mod 16      6 10 15 21
//
// and what v was before the block is added. After the last byte come 0x80, zeros up to 8 bytes before the end of a
// block, and the number of bits.
//
// Every step waits for the word b of the step before: the time of a block is the length of that chain, and unrolled
// code leaves nothing else in it. The mixes are written with b as late as can be, the second one as a sum whose other
// half is ready before b is, and a word is added to its constant one step before it becomes a.

#include "md5_digest.h"

#include <lopra.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>

namespace
{

using word = std::uint32_t;

constexpr std::size_t block_size = 64;
constexpr std::size_t length_size = 8;     // bytes of the bit count at the end of the last block
constexpr std::size_t chunk_size = 16384;  // bytes of a file in memory at a time

static_assert(sizeof(MD5_CTX) == 88);

// The integer part of 2^32 |sin(i + 1)|, i + 1 in radians.
constexpr word constants[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391,
};

constexpr int shifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
constexpr std::size_t word_factor[4] = {1, 5, 3, 7};
constexpr std::size_t word_offset[4] = {0, 1, 5, 0};

// Little-endian on every machine; compilers make one load of it.
word load(const unsigned char *from)
{
    return word{from[0]} | word{from[1]} << 8 | word{from[2]} << 16 | word{from[3]} << 24;
}

void store(unsigned char *to, word value)
{
    for (int i = 0; i < 4; ++i)
        to[i] = static_cast<unsigned char>(value >> 8 * i);
}

struct words {
    word a;  // the word and what its step adds to it
    word b, c, d;
};

template <std::size_t round>
word with_mix(const words &v)
{
    if constexpr (round == 0)
        return v.a + (v.d ^ (v.b & (v.c ^ v.d)));
    else if constexpr (round == 1)
        return v.a + (v.c & ~v.d) + (v.b & v.d);  // no bit is set in both halves
    else if constexpr (round == 2)
        return v.a + (v.b ^ v.c ^ v.d);
    else
        return v.a + (v.c ^ (v.b | ~v.d));
}

template <std::size_t i>
word term(const unsigned char *block)
{
    constexpr std::size_t round = i / 16;
    constexpr std::size_t x = (word_factor[round] * i + word_offset[round]) % 16;
    return load(block + 4 * x) + constants[i];
}

template <std::size_t i>
[[gnu::always_inline]] inline words step(const words &v, const unsigned char *block)
{
    word next = v.d;
    if constexpr (i < 63)
        next += term<i + 1>(block);
    return {next, v.b + std::rotl(with_mix<i / 16>(v), shifts[i / 16][i % 4]), v.b, v.c};
}

template <std::size_t... i>
[[gnu::always_inline]] inline words all_steps(words v, const unsigned char *block, std::index_sequence<i...>)
{
    v.a += term<0>(block);
    ((v = step<i>(v, block)), ...);
    return v;
}

void digest_blocks(word *state, const unsigned char *bytes, std::size_t blocks)
{
    words v = {state[0], state[1], state[2], state[3]};
    for (; blocks > 0; --blocks, bytes += block_size) {
        const words turned = all_steps(v, bytes, std::make_index_sequence<64>());
        v = {v.a + turned.a, v.b + turned.b, v.c + turned.c, v.d + turned.d};
    }
    const word after[4] = {v.a, v.b, v.c, v.d};
    std::copy(after, after + 4, state);
}

// Bytes that wait in the buffer for their block to become whole.
std::size_t waiting(const MD5_CTX *context) { return context->count[0] / 8 % block_size; }

void count_bytes(MD5_CTX *context, std::uint64_t bytes)
{
    const std::uint64_t bits = (std::uint64_t{context->count[1]} << 32 | context->count[0]) + bytes * 8;
    context->count[0] = static_cast<word>(bits);
    context->count[1] = static_cast<word>(bits >> 32);
}

void write_hexadecimal(char *text, const unsigned char (&digest)[16])
{
    for (const unsigned char byte : digest) {
        *text++ = "0123456789ABCDEF"[byte >> 4];
        *text++ = "0123456789ABCDEF"[byte & 15];
    }
    *text = 0;
}

// Kept: what cannot be read counts as zeros.
void digest_stream(MD5_CTX *context, FILE *stream, std::size_t size)
{
    unsigned char chunk[chunk_size];
    while (size > 0) {
        const std::size_t wanted = std::min(size, chunk_size);
        const std::size_t got = std::fread(chunk, 1, wanted, stream);
        std::memset(chunk + got, 0, wanted - got);
        MD5Update(context, chunk, static_cast<unsigned>(wanted));
        size -= wanted;
    }
}

}  // namespace

void MD5Init(MD5_CTX *context) TESKA_NOTHROW { *context = {{0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476}, {}, {}}; }

void MD5Update(MD5_CTX *context, const void *bytes, unsigned count) TESKA_NOTHROW
{
    const auto *from = static_cast<const unsigned char *>(bytes);
    std::size_t left = count;
    const std::size_t held = waiting(context);
    count_bytes(context, count);
    if (held > 0) {
        const std::size_t taken = std::min(left, block_size - held);
        std::copy(from, from + taken, context->buffer + held);
        if (held + taken < block_size)
            return;
        digest_blocks(context->state, context->buffer, 1);
        from += taken;
        left -= taken;
    }
    const std::size_t blocks = left / block_size;
    digest_blocks(context->state, from, blocks);
    std::copy(from + blocks * block_size, from + left, context->buffer);
}

void MD5Final(unsigned char digest[16], MD5_CTX *context) TESKA_NOTHROW
{
    unsigned char end[2 * block_size] = {0x80};
    const std::size_t held = waiting(context);
    const std::size_t room = (held < block_size - length_size ? block_size : 2 * block_size) - held;
    store(end + room - length_size, context->count[0]);
    store(end + room - length_size + 4, context->count[1]);
    MD5Update(context, end, static_cast<unsigned>(room));
    for (std::size_t i = 0; i < 4; ++i)
        store(digest + 4 * i, context->state[i]);
    *context = {};
}

int MD5_check_file(const char *path, char *text) TESKA_NOTHROW
{
    lopra_stat32 status;
    if (stat32_utf8(path, &status) != 0)
        return 1;
    FILE *stream = fopen_utf8(path, "rb");
    if (stream == nullptr)
        return 1;
    MD5_CTX context;
    unsigned char digest[16];
    MD5Init(&context);
    digest_stream(&context, stream, static_cast<std::size_t>(std::max(status.st_size, 0)));
    std::fclose(stream);
    MD5Final(digest, &context);
    write_hexadecimal(text, digest);
    return 0;
}
