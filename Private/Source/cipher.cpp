// cipher - scrambling of bytes with a key and constants of the caller's (files)
//
// Both directions move the state on with the enciphered byte, so that they pass through the same states.

#include "cipher.h"

#include <cstdint>

namespace
{

using byte = unsigned char;

class key_stream
{
public:
    key_stream(std::uint16_t key, std::uint16_t multiplier, std::uint16_t addend)
        : state_(key), multiplier_(multiplier), addend_(addend)
    {
    }

    byte mask() const { return static_cast<byte>(state_ >> 8); }

    // In 32 unsigned bits: the product may wrap there without touching the low 16.
    void advance(byte enciphered)
    {
        state_ = static_cast<std::uint16_t>((std::uint32_t{state_} + enciphered) * multiplier_ + addend_);
    }

private:
    std::uint16_t state_;
    std::uint32_t multiplier_;
    std::uint32_t addend_;
};

}  // namespace

void CipherEncrypt(const unsigned char *plain, int count, unsigned char *cipher, unsigned short key,
                   unsigned short multiplier, unsigned short addend) TESKA_NOTHROW
{
    key_stream stream(key, multiplier, addend);
    for (int i = 0; i < count; ++i) {
        const auto enciphered = static_cast<byte>(plain[i] ^ stream.mask());
        cipher[i] = enciphered;
        stream.advance(enciphered);
    }
}

void CipherDecrypt(const unsigned char *cipher, int count, unsigned char *plain, unsigned short key,
                   unsigned short multiplier, unsigned short addend) TESKA_NOTHROW
{
    key_stream stream(key, multiplier, addend);
    for (int i = 0; i < count; ++i) {
        // Read before the output, which may be the same buffer.
        const byte enciphered = cipher[i];
        plain[i] = static_cast<byte>(enciphered ^ stream.mask());
        stream.advance(enciphered);
    }
}
