#include "hostile/objects.h"

using namespace teska_test;

namespace
{

int go_on(const char *, long long done, long long, void *) { return done > 5; }

// No port, or none of initrs232's.
constexpr From no_port{[](Draw &draw, rs232_rec **) {
    return draw.chance(2) ? nullptr : reinterpret_cast<rs232_rec *>(draw.values<double>(80));
}};

constexpr From any_context{[](Draw &draw, MD5_CTX **) {
    return reinterpret_cast<MD5_CTX *>(draw.room<unsigned>(sizeof(MD5_CTX) / sizeof(unsigned)));
}};

const HostileRows rows({
    row<fport_setres, fport_StripExtension, setflowrs232, rsys_dir_num, rsys_dir_skipped, file_double_save>(),
    row<archive_kill, flock_free, rsys_dir_kill, file_double_kill>(last_of),
    row<archive_create>(path(), or_null(text()), or_null(out(1))),
    row<archive_open>(path(), or_null(out(1))),
    feeding<archive_add>(live, text(), in(16), one_of(0, 1, 16, -1, INT_MIN)),
    feeding<archive_add_file>(live, path(), or_null(text())),
    feeding<archive_next>(live, out(1), out(1), out(ARCHIVE_NAME_SIZE)),
    row<archive_get_error>(live, or_null(out(ARCHIVE_TEXT_SIZE))),
    row<archive_get_description>(live, out(ARCHIVE_NAME_SIZE)),
    row<encodeToBase64>(in(4), or_last(out(4)), about(1, 3)),
    row<decodeFromBase64>(in(4), or_last(out(3))),
    row<CipherEncrypt, CipherDecrypt>(in(8), one_of(0, 1, 8, -1, INT_MIN), or_last(out(8))),
    row<flock_get, rsys_kind, rsys_make_folder>(or_null(path())),
    row<fport>(out(600), one_of(0, 1, 5, 590), text()),
    by<fport_StripPath>([](Draw &draw) {
        const std::string prefix = hostile_text(draw), full = prefix + "\\" + hostile_text(draw);
        EXPECT_LE(fport_StripPath(full.c_str(), prefix.c_str()) - full.c_str(), static_cast<int>(prefix.size()) + 1);
    }),
    row<fport_MakeFullPath>(text(), text(), out(850), one_of(0, 1, 5, 850, -1, INT_MIN)),
    row<MD5Init>(any_context),
    by<MD5Update>([](Draw &draw) {
        MD5_CTX context;
        MD5Init(&context);
        for (const int n : {0, 1, 63, 64, draw.random.below(200)})
            MD5Update(&context, n > 0 ? draw.values<unsigned char>(n) : nullptr, static_cast<unsigned>(n));
        MD5Final(draw.room<unsigned char>(16), &context);
    }),
    row<MD5Final>(out(16), any_context),
    row<MD5_check_file>(or_null(path()), out(33)),
    by<initrs232>([](const char *port, int a, int b, int c, int d,
                     int e) { EXPECT_EQ(initrs232(port, a, b, c, d, e), nullptr); },
                  or_null(path())),
    row<closers232, outbrs232, inbrs232, inrs232rdy, outrs232rdy>(no_port),
    row<outstringrs232>(no_port, or_null(in(4)), one_of(0, 4, -1, INT_MIN)),
    row<rsys_dir_new>(or_null(path()), or_null(text()), usual),
    row<rsys_dir_get>(live, about(0, 4)),
    row<rsys_match>(or_null(text()), or_null(text()), usual),
    row<rsys_copy>(or_null(path()), or_null(path()), usual, or_null(one_of(go_on)), one_of(nullptr)),
    row<rsys_remove>(or_null(path()), or_null(one_of(go_on)), one_of(nullptr)),
    by<teska_wemopen_file>([](Draw &draw) {
        const std::string name = hostile_text(draw), search = hostile_path(draw) + ";;" + hostile_text(draw);
        // Names that a search list is put before, and which lead to nothing outside it.
        const char *const asked = draw.chance(6) ? nullptr : name.c_str();
        const char *const places = draw.chance(6) ? "" : search.c_str();
        const int mode = draw.random.below(2) * 4 + draw.random.below(2);
        char *const found = draw.chance(3) ? nullptr : draw.room<char>(700);
        if (name.find("..") == std::string::npos && !hostile_path(draw).empty())
            calling(draw, [=] { return teska_wemopen_file(asked, places, mode, found, 700); });
    }),
    row<file_double_new>(path(), one_of(3, 0, -1, INT_MIN), one_of(0, 1)),
    row<file_double_add_item>(live, text(), in(3)),
    row<file_double_list>(live, room_of(1, 0, 16, 17, 18, -1, INT_MIN, INT_MAX), out(3)),
    row<grad_tab_new>(path(), one_of(0, 1)),
});

}  // namespace
