#include "archive.h"
#include "base64.h"
#include "cipher.h"
#include "file_double.h"
#include "flock.h"
#include "fport.h"
#include "hostile/objects.h"
#include "md5_digest.h"
#include "rs232.h"
#include "rsys.h"
#include "wemfile.h"
#include "zuk.h"

namespace teska_test
{

template <>
struct Object<archive> : Freed<archive_kill> {
    static archive *make(Draw &draw)
    {
        const std::string &path = hostile_path(draw);
        archive *a = draw.chance(2) ? archive_open(path.c_str(), nullptr) : archive_create(path.c_str(), "x", nullptr);
        if (a != nullptr)
            archive_add(a, "entry", "content", 7);
        return a;
    }
    static void ask(archive *a, Digest &) { archive_get_error(a, nullptr); }
};

template <>
struct Object<flock_rec> : Freed<flock_free> {
    static flock_rec *make(Draw &draw) { return flock_get(hostile_path(draw).c_str()); }
    static void ask(flock_rec *, Digest &) {}
};

template <>
struct Object<rsys_dir> : Freed<rsys_dir_kill> {
    static rsys_dir *make(Draw &draw) { return rsys_dir_new(hostile_path(draw).c_str(), "", draw.random.below(64)); }
    static void ask(const rsys_dir *dir, Digest &digest) { add(digest, rsys_dir_num(dir)); }
};

template <>
struct Object<file_double> : Freed<file_double_kill> {
    static file_double *make(Draw &draw)
    {
        return file_double_new(hostile_path(draw).c_str(), 3, draw.random.below(2));
    }
    static void ask(file_double *table, Digest &digest)
    {
        int state = 0;
        double vector[4];
        add(digest, file_double_list(table, &state, vector) != nullptr);
    }
};

namespace
{

int go_on(const char *, long long done, long long, void *) { return done > 5; }

// No port, or none of initrs232's.
constexpr From no_port{[](Draw &draw, rs232_rec **) {
    return draw.chance(2) ? nullptr : reinterpret_cast<rs232_rec *>(draw.values<double>(80));
}};

const HostileRows rows({
    row<archive_create>(path(), or_null(text()), or_null(out(1))),
    row<archive_open>(path(), or_null(out(1))),
    row<archive_kill>(last_of),
    feeding<archive_add>(live, text(), in(16), one_of(0, 1, 16, -1, INT_MIN)),
    feeding<archive_add_file>(live, path(), or_null(text())),
    feeding<archive_next>(live, out(1), out(1), out(ARCHIVE_NAME_SIZE)),
    row<archive_get_error>(live, or_null(out(ARCHIVE_TEXT_SIZE))),
    row<archive_get_description>(live, out(ARCHIVE_NAME_SIZE)),

    row<encodeToBase64>(in(4), or_last(out(4)), about(1, 3)),
    row<decodeFromBase64>(in(4), or_last(out(3))),
    row<CipherEncrypt>(in(8), one_of(0, 1, 8, -1, INT_MIN), or_last(out(8))),
    row<CipherDecrypt>(in(8), one_of(0, 1, 8, -1, INT_MIN), or_last(out(8))),

    row<flock_get>(or_null(path())),
    row<flock_free>(last_of),
    row<fport>(out(600), one_of(0, 1, 5, 590), text()),
    row<fport_setres>(),
    {name_of<fport_StripPath>(),
     [](Draw &draw) {
         const std::string prefix = hostile_text(draw), full = prefix + "\\" + hostile_text(draw);
         EXPECT_LE(fport_StripPath(full.c_str(), prefix.c_str()) - full.c_str(), static_cast<int>(prefix.size()) + 1);
     }},
    row<fport_StripExtension>(),
    row<fport_MakeFullPath>(text(), text(), out(850), one_of(0, 1, 5, 850, -1, INT_MIN)),

    {name_of<MD5Init>(),
     [](Draw &draw) { MD5Init(reinterpret_cast<MD5_CTX *>(draw.room<unsigned>(sizeof(MD5_CTX) / 4))); }},
    {name_of<MD5Update>(),
     [](Draw &draw) {
         MD5_CTX context;
         MD5Init(&context);
         for (const int n : {0, 1, 63, 64, draw.random.below(200)})
             MD5Update(&context, n > 0 ? draw.values<unsigned char>(n) : nullptr, static_cast<unsigned>(n));
         MD5Final(draw.room<unsigned char>(16), &context);
     }},
    {name_of<MD5Final>(),
     [](Draw &draw) {
         MD5_CTX context;
         std::memcpy(&context, draw.values<unsigned char>(sizeof context), sizeof context);
         MD5Final(draw.room<unsigned char>(16), &context);
     }},
    row<MD5_check_file>(or_null(path()), out(33)),

    {name_of<initrs232>(),
     [](Draw &draw) {
         const std::string &port = hostile_path(draw);
         EXPECT_EQ(initrs232(draw.chance(6) ? nullptr : port.c_str(), draw.value<int>(), draw.value<int>(),
                             draw.value<int>(), draw.value<int>(), draw.value<int>()),
                   nullptr);
     }},
    row<closers232>(no_port),
    row<setflowrs232>(),
    row<outstringrs232>(no_port, or_null(in(4)), one_of(0, 4, -1, INT_MIN)),
    row<outbrs232>(no_port),
    row<inbrs232>(no_port),
    row<inrs232rdy>(no_port),
    row<outrs232rdy>(no_port),

    row<rsys_dir_new>(or_null(path()), or_null(text()), usual),
    row<rsys_dir_kill>(last_of),
    row<rsys_dir_num>(),
    row<rsys_dir_skipped>(),
    row<rsys_dir_get>(live, about(0, 4)),
    row<rsys_match>(or_null(text()), or_null(text()), usual),
    row<rsys_kind>(or_null(path())),
    row<rsys_make_folder>(or_null(path())),
    row<rsys_copy>(or_null(path()), or_null(path()), usual, one_of(go_on, static_cast<rsys_progress_fn>(nullptr)),
                   always(nullptr)),
    row<rsys_remove>(or_null(path()), one_of(go_on, static_cast<rsys_progress_fn>(nullptr)), always(nullptr)),

    {name_of<teska_wemopen_file>(),
     [](Draw &draw) {
         const std::string name = hostile_text(draw), search = hostile_path(draw) + ";;" + hostile_text(draw);
         // Names that a search list is put before, and which lead to nothing outside it.
         if (name.find("..") == std::string::npos && !hostile_path(draw).empty())
             receive(teska_wemopen_file(draw.chance(6) ? nullptr : name.c_str(), draw.chance(6) ? "" : search.c_str(),
                                        draw.random.below(2) * 4 + draw.random.below(2),
                                        draw.chance(3) ? nullptr : draw.room<char>(700), 700),
                     {});
     }},

    row<file_double_new>(path(), one_of(3, 0, -1, INT_MIN), one_of(0, 1)),
    row<file_double_kill>(last_of),
    row<file_double_add_item>(live, text(), in(3)),
    row<file_double_list>(live, room_of(1, 0, 16, 17, 18, -1, INT_MIN, INT_MAX), out(3)),
    row<file_double_save>(),
    row<grad_tab_new>(path(), one_of(0, 1)),
});

}  // namespace

}  // namespace teska_test
