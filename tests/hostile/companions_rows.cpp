#include "hostile/objects.h"

#include <lopra.h>
#include <wem.h>

#include <cstdio>

using namespace teska_test;

namespace
{

constexpr From open_flags{[](Draw &draw, int *) {
    const auto perhaps = [&](int flag) { return draw.chance(2) ? flag : 0; };
    return draw.random.below(4) | perhaps(LOPRA_O_CREAT) | perhaps(LOPRA_O_EXCL) | perhaps(LOPRA_O_TEMPORARY);
}};

// One in two does not fit into a short string.
constexpr From lengthy{[](Draw &draw, const char **place) -> const char * {
    return draw.chance(2) ? "a name or a value of some length" : or_null(text()).body(draw, place);
}};

const auto date = [] { return one_of(20240229, 20230229, 101, 99991231, 0, -1, INT_MIN, INT_MAX); };

const HostileRows rows({
    row<wem_lognam_clear, elapsed, cputime, dattim, zuk_open, wem_set_typefl, wem_set_errexit>(),
    row<zuk_close>(last_of),
    // Templates with as many values as they may have marks.
    by<fmtstr>([](Draw &draw) {
        fmtstr(draw.room<char>(WEM_LINE_SIZE), "'%#%'#", draw.number(), draw.value<int>(), draw.number(), INT_MIN);
    }),
    by<typefl>([](Draw &draw) { typefl("#%#", draw.value<int>(), draw.number(), draw.value<int>()); }),
    row<errexit>(or_null(text())),
    row<lognam>(or_null(text()), out(WEM_NAME_SIZE)),
    by<wem_lognam_set>(
        [](const char *name, const char *translation) {
            char found[WEM_NAME_SIZE];
            const int result = wem_lognam_set(name, translation);
            EXPECT_TRUE(result != 0 || lognam(name, found) == (translation != nullptr ? 1 : 0)) << name;
            EXPECT_TRUE(result != 0 || translation == nullptr || wem_lognam_set(name, "in place") == 0);
            wem_lognam_clear();
            return result;
        },
        or_null(text()), or_null(text())),
    by<wem_zcreate>([](Draw &draw) {
        const int words = draw.chance(3) ? -draw.random.below(3) : 1 + draw.random.below(9);
        const int growth = draw.chance(2) ? draw.value<int>() % 10000 : INT_MIN;
        calling(draw, [=] {
            wem_pool *pool = wem_zcreate(words, growth);
            void *const record = wem_zalloc(pool);
            wem_zfree(pool, record);
            wem_zfree(pool, nullptr);
            EXPECT_TRUE(record == nullptr || wem_zalloc(pool) == record) << "used again, without memory";
            EXPECT_TRUE(pool == nullptr || words > 0);
            wem_zdestroy(pool);
            return record != nullptr;
        });
    }),
    without("wem_zalloc", "in the row of wem_zcreate"),
    without("wem_zfree", "in the row of wem_zcreate"),
    without("wem_zdestroy", "in the row of wem_zcreate"),
    row<cvtdta>(date(), out(12)),
    row<cvttma>(one_of(0, 235960, 240000, 6000, -1, INT_MIN, INT_MAX), out(9)),
    row<dayweek>(date(), out(10)),
    by<fopen_utf8>([](Draw &draw) {
        const char *const path = draw.chance(6) ? nullptr : hostile_path(draw).c_str();
        const char *const mode = hostile_text(draw).c_str();
        calling(draw, [=] {
            std::FILE *file = fopen_utf8(path, mode);
            return file != nullptr ? std::fclose(file) : EOF;
        });
    }),
    by<open_utf8>([](const char *name, int flags, int mode) { return close_utf8(open_utf8(name, flags, mode)); },
                  or_null(path()), open_flags),
    by<lock_utf8>([](const char *name) { return close_utf8(lock_utf8(name)); }, or_null(path())),
    by<create_below_utf8>([](Draw &draw) {
        const char *const folder = hostile_path(draw).c_str(), *const name = hostile_text(draw).c_str();
        if (*folder != '\0')
            calling(draw, [=] { return close_utf8(create_below_utf8(folder, name)); });
    }),
    row<close_utf8>(one_of(-1, INT_MIN, INT_MAX)),
    by<CreateFile_utf8>(
        [](const char *name, unsigned access, unsigned share, unsigned how) {
            return CloseFile_utf8(
                CreateFile_utf8(name, access, share & 3, nullptr, how & 7, LOPRA_FLAG_NORMAL, nullptr));
        },
        or_null(path())),
    without("CloseFile_utf8", "in the row of CreateFile_utf8"),
    by<write_utf8>([](Draw &draw) { write_utf8(draw.chance(2) ? -1 : INT_MAX, draw.values<char>(4), 4); }),
    row<replace_utf8>(or_null(path()), in<char>(16), one_of(0, 1, 16)),
    by<full_path_utf8>(
        [](const char *name) {
            char *const full = full_path_utf8(name);
            return std::free(full), full != nullptr;
        },
        or_null(path())),
    row<chmod_utf8>(or_null(path()), usual),
    row<stat32_utf8>(or_null(path()), out(1)),
    row<rename_utf8>(or_null(path()), or_null(path())),
    row<remove_utf8>(or_null(path())),
    row<zuk_create_rfile, zuk_push_rfile>(or_null(live), or_null(path())),
    by<zuk_add_topic>([](Draw &draw) {
        zuk_db *db = zuk_open();
        zuk_rfile *file = zuk_create_rfile(db, hostile_path(draw).c_str());
        for (int i = 0; i < 4; ++i) {
            const char *const topic = hostile_text(draw).c_str();
            const char *const comment = draw.chance(4) ? nullptr : hostile_text(draw).c_str();
            calling(draw, [=] { return zuk_add_topic(db, file, topic, comment); });
        }
        zuk_flush(db);
        zuk_close(db);
    }),
    row<zuk_add_item>(or_null(live), one_of("a", "a", "b", ""), lengthy, lengthy, or_null(text())),
    row<zuk_list_item>(or_null(live), or_null(text()), room_of(1, 0, 15, 16, 17, 1000, -1, INT_MAX, INT_MIN)),
    row<zuk_search>(or_null(live), or_null(text()), or_null(text()), out(ZUK_VALUE_SIZE)),
    row<zuk_flush>(or_null(live)),
});

}  // namespace
