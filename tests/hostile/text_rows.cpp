#include "hostile/objects.h"

using namespace teska_test;

namespace
{

constexpr int numbers_room = 4 * 330;
const auto few = [] { return one_of(0, 1, 4, -1, INT_MIN); };
const auto word = [] { return text(512); };

// The address of a pointer to a text; the caches of this thread forget it afterwards.
template <class Text>
auto cursor(Text text)
{
    return From{[=](Draw &draw, const char ***) {
        const char **place = draw.keep(std::shared_ptr<const char *[]>(new const char *[1]));
        *place = text.body(draw, static_cast<const char **>(nullptr));
        draw.later([] { str_search_zuk_cache_reset(); });
        return place;
    }};
}

const HostileRows rows({
    row<strcmp_ci, chr_eq_ci, normstr_wc, normstr, normstr_wc_cp, normstr_cp, str_remove_multiple_blanks, str_str,
        strstr_ci, str_search_zuk_cache_reset, vd_fmt_d, numb_hex_string_to_decimal>(),
    row<strncmp_ci>(in(8), in(8), one_of(0, 1, 8, -1, INT_MIN)),
    row<str_ins>(text(), text()),
    row<strncpy_w0>(out(512), text(), one_of(0, 1, 5, 500, -1, INT_MIN)),
    row<strsplit>(or_null(word()), one_of('=', ' ', ':', '\0'), or_null(or_last(out(512))), or_null(out(512))),
    row<taking<const char **>(str_go_to_next_line), taking<const char **>(str_get_nr_of_zuk_topics),
        taking<const char **, const char *>(str_search_zuk_topic)>(cursor(text())),
    row<taking<const char **>(str_go_to_next_word)>(cursor(one_of("a b", "  x", "\n y", "ab\r\n\tc d",
                                                                  "\x80\t\t\xff "))),  // another word follows
    row<taking<const char **, char *>(str_get_next_zuk_topic), taking<const char **, char *>(str_get_zuk_item_name)>(
        cursor(text()), out(512)),
    row<taking<const char **, const char *, char *>(str_get_zuk_item),
        taking<const char **, const char *, char *>(str_search_zuk_item)>(cursor(text()), text(), out(257)),
    row<taking<const char **, char *, char *>(str_get_next_zuk_item)>(cursor(text()), out(257), out(257)),
    row<taking<const char **, const char *, const char *, char *>(str_search_zuk)>(cursor(text()), text(), text(),
                                                                                   out(257)),
    row<str_double_from_itemstr, str_int_from_itemstr, vd_from_str>(text(), few(), out(4)),
    row<str_itemstr_from_double, str_from_vd>(in(4), few(), out(numbers_room)),
    row<ffltofl>(in<unsigned char>(4), or_null(out(1))),
    row<fltoffl>(number, out(4)),
    row<fdbltodbl>(in<unsigned char>(8), or_null(out(1))),
    row<dbltofdbl>(number, out(8)),
    row<numb_decimal_to_base>(usual, out(40), one_of(0, 1, 40, -1, INT_MIN)),
    row<numb_base_to_decimal>(in(40), out(1), one_of(0, 1, 40, -1, INT_MIN)),
    row<numb_combination>(one_of(0, 5, 40, -1, INT_MIN, INT_MAX), one_of(0, 5, 40, -1, INT_MIN)),
    row<numb_hex_to_hex_string>(in(8), one_of(0, 1, 8, -1, INT_MIN), out(89)),
    row<numb_decimal_to_hex_string>(usual, out(25)),
});

}  // namespace
