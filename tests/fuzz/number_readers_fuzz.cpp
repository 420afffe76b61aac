// number_readers - what reads and writes numbers, compared with the standard library
//
// The first byte is the number of numbers to read and the size of a bounded text; the rest is a text, and all bytes
// together are numbers in file order.

#include "Support/vd.h"

#include "error_mess.h"
#include "file_double.h"
#include "fuzz/target.h"
#include "numb.h"
#include "str_zuk.h"

using fuzz::expect;

static void read_numbers(const char *text, std::size_t count)
{
    const int n = static_cast<int>(count);
    std::vector<double> expected(count, 99), numbers(count, 99);
    int result = 0;
    std::size_t i = 0;
    for (const char *at = text; i < count && result == 0; at += std::strcspn(at, " ")) {
        at += std::strspn(at, " ");
        result = std::sscanf(at, "%lf", &expected[i++]) == 1 ? 0 : -1;
    }
    expect(str_double_from_itemstr(text, n, numbers.data()) == result);
    expect(count == 0 || std::memcmp(numbers.data(), expected.data(), count * sizeof(double)) == 0);
    expect(vd_from_str(text, n, numbers.data()) == result);
    std::vector<int> ints(count);
    str_int_from_itemstr(text, n, ints.data());
}

// In a text of the given size, and in one that holds it all.
static void print_numbers(const std::vector<double> &numbers, std::size_t size)
{
    const int n = static_cast<int>(numbers.size());
    std::vector<char> bounded(size), text(5 * 312 + 1);
    expect(str_from_vd(numbers.data(), n, text.data()) == 0);
    const bool fits = std::strlen(text.data()) < size;
    expect(teska::vd_print_reported(numbers.data(), n, bounded.data(), size) == (fits ? 0 : -1));
    expect(std::strncmp(text.data(), bounded.data(), std::strlen(fits ? text.data() : bounded.data())) == 0);
}

static void convert_digits(int value, int base)
{
    int digits[32], back = 0;
    numb_decimal_to_base(value, digits, 32, base);
    numb_base_to_decimal(digits, &back, 32, base);
    expect(back == value || (base >= -1 && base <= 1));
    char text[353];
    numb_hex_to_hex_string(digits, 32, text);
    numb_combination(value, base);
    numb_decimal_to_hex_string(value, text);
    expect(value <= 0 || (numb_hex_string_to_decimal(text, &back) == 0 && back == value));
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char *>(data), size);
    const std::uint8_t first = size > 0 ? data[0] : 0;
    error_set(0);
    read_numbers(bytes.c_str() + (size > 0 ? 1 : 0), first % 8U);

    std::vector<double> numbers;
    for (; size >= 8 && numbers.size() < 5; data += 8, size -= 8) {
        char file[8];
        numbers.push_back(fdbltodbl(data, nullptr));
        expect(std::memcmp(dbltofdbl(numbers.back(), file), data, 8) == 0);
        expect(std::memcmp(fltoffl(ffltofl(data, nullptr), file), data, 4) == 0);
        convert_digits(static_cast<int>(data[0]) << 24 | data[1] << 12 | data[2], static_cast<signed char>(data[3]));
    }
    print_numbers(numbers, first + 1U);
    int value = 0;
    numb_hex_string_to_decimal(bytes.c_str(), &value);
    return 0;
}
