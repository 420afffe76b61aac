#include "rom.h"

#include "error_mess.h"
#include "support/generator.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

using teska_test::Generator;
using teska_test::lines;
using teska_test::Reports;

namespace
{

std::string decimal(const void *address) { return std::to_string(reinterpret_cast<std::intptr_t>(address)); }

void drop(void *object)
{
    rom_obj_kill(object);
    std::free(object);
}

TEST(RomObjtypeCheck, ComparesFifteenCharactersAndWarnsOfTheDifference)
{
    const std::tuple<const char *, const char *, bool> cases[] = {
        {"plate", "plate", true}, {"abcdefghijklmnopX", "abcdefghijklmnopY", true},
        {"", "", true},           {"plate", "Plate", false},
        {"plate", "plat", false}, {"abcdefghijklmnoX", "abcdefghijklmnY", false}};
    for (const auto &[type, expected, same] : cases) {
        void *object = rom_obj_new(1, type);
        testing::internal::CaptureStdout();
        EXPECT_EQ(rom_objtype_check(object, expected), same ? 1 : 0);
        const int before = teska_warn_level(999);
        rom_objtype_check(object, expected);
        teska_warn_level(before);
        const std::string warning =
            "WARNING  : 'rom_objtype_check: check failed \n  act=" + std::string(type).substr(0, 15) +
            " expect=" + expected + "'\n";
        EXPECT_EQ(testing::internal::GetCapturedStdout(), same ? "" : warning);
        drop(object);
    }
}

TEST(RomObjKill, KeptLeavesTheObjectToTheCallerAndForgetsIt)
{
    Reports reports;
    auto *object = static_cast<char *>(rom_obj_new(100, "plate"));
    for (const int size : {0, 1, 10000})
        std::memset(rom_obj_malloc(object, size), 1, static_cast<std::size_t>(size));
    EXPECT_EQ(std::string(object, 100), std::string(100, '\0'));
    EXPECT_EQ(rom_obj_kill(object), 0);
    EXPECT_EQ(reports.take(), lines{});
    object[99] = 7;

    // The highest half of the addresses shows as negative numbers.
    for (void *gone : {static_cast<void *>(object), static_cast<void *>(nullptr), reinterpret_cast<void *>(-5)}) {
        const std::string at = decimal(gone);
        EXPECT_EQ(rom_obj_kill(gone) + rom_objtype_check(gone, "plate") + rom_obj_free(gone, nullptr), 0);
        EXPECT_EQ(rom_obj_malloc(gone, 1), nullptr);
        EXPECT_EQ(reports.take(),
                  (lines{"rom_objtype_check: unregistered obj " + at, "rom_obj_free: unregistered obj " + at,
                         "rom_obj_kill: unregistered obj " + at, "rom_obj_malloc: unregistered obj " + at}));
    }
    std::free(object);
}

TEST(RomObjMalloc, RefusesNegativeSizesAndFreesOnlyWhatTheObjectOwns)
{
    Reports reports;
    void *object = rom_obj_new(0, "abcdefghijklmnop"), *other = rom_obj_new(0, "other");
    void *block = rom_obj_malloc(object, 8);
    EXPECT_EQ(rom_obj_malloc(object, INT_MIN), nullptr);
    EXPECT_EQ(reports.take(), lines{"rom_obj_malloc: malloc of -2147483648 failed for abcdefghijklmno"});
    rom_obj_free(other, block);
    rom_obj_free(object, static_cast<char *>(block) + 1);
    EXPECT_EQ(rom_obj_free(object, block), 0);
    rom_obj_free(object, block);
    EXPECT_EQ(reports.take().size(), 3U);
    rom_obj_free(object, nullptr);
    EXPECT_EQ(reports.take(), lines{"rom_obj_free: unregistered memory 0"});
    drop(object);
    drop(other);
}

// What is left is freed by the registry; the sanitizers watch.
TEST(Rom, KeepsManyObjectsAndBlocksApart)
{
    Reports reports;
    Generator random(7);
    std::vector<std::pair<void *, std::vector<void *>>> objects;
    for (int i = 0; i < 2000; ++i) {
        const int at = random.below(static_cast<int>(objects.size()) + 1);
        if (at == static_cast<int>(objects.size())) {
            objects.emplace_back(rom_obj_new(8, std::to_string(i).c_str()), std::vector<void *>());
            std::strcpy(static_cast<char *>(objects.back().first), std::to_string(i).c_str());
        }
        auto &[object, blocks] = objects[static_cast<std::size_t>(at)];
        EXPECT_EQ(rom_objtype_check(object, static_cast<char *>(object)), 1);
        if (random.below(3) > 0 || blocks.empty()) {
            blocks.push_back(rom_obj_malloc(object, random.below(100)));
        } else {
            rom_obj_free(object, blocks[blocks.size() / 2]);
            blocks.erase(blocks.begin() + static_cast<std::ptrdiff_t>(blocks.size() / 2));
        }
        if (random.below(5) == 0) {
            drop(object);
            objects.erase(objects.begin() + at);
        }
    }
    for (const auto &object : objects)
        drop(object.first);
    EXPECT_EQ(reports.take(), lines{});
}

}  // namespace
