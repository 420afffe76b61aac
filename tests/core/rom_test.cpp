#include "rom.h"

#include "support/test.h"

#include "error_mess.h"

using teska_test::lines, teska_test::Reports;

TEST(RomObjtypeCheck, ComparesFifteenCharactersAndWarnsOfTheDifference)
{
    const std::tuple<const char *, const char *, bool> cases[] = {{"abcdefghijklmnopX", "abcdefghijklmnopY", true},
                                                                  {"abcdefghijklmnoX", "abcdefghijklmn", false},
                                                                  {"plate", "plates", false},
                                                                  {"plate", "plate", true},
                                                                  {"", "", true}};
    for (const auto &[type, expected, same] : cases) {
        void *object = rom_obj_new(1, type);
        testing::internal::CaptureStdout();
        for (const int threshold : {998, 999, 0}) {
            teska_warn_level(threshold);
            EXPECT_EQ(rom_objtype_check(object, expected), same ? 1 : 0);
        }
        const std::string act = std::string(type).substr(0, 15) + " expect=" + expected + "'\n",
                          warning = "WARNING  : 'rom_objtype_check: check failed \n  act=" + act;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), same ? "" : warning + warning);
        rom_obj_kill(object);
        std::free(object);
    }
}

TEST(RomObjKill, KeptLeavesTheObjectToTheCallerAndForgetsIt)
{
    Reports reports;
    auto *object = static_cast<char *>(rom_obj_new(100, "plate"));
    EXPECT_EQ(std::string(object, 100), std::string(100, '\0'));
    for (const int size : {0, 1, 10000})
        std::memset(rom_obj_malloc(object, size), 1, static_cast<std::size_t>(size));
    EXPECT_EQ(rom_obj_kill(object), 0);
    object[99] = 7;
    // The upper half of the addresses shows as negative numbers.
    for (void *gone : {static_cast<void *>(object), static_cast<void *>(nullptr), reinterpret_cast<void *>(-5)}) {
        const std::string at = "unregistered obj " + std::to_string(reinterpret_cast<std::intptr_t>(gone));
        EXPECT_EQ(rom_obj_kill(gone), 0);
        EXPECT_EQ(rom_objtype_check(gone, "plate"), 0);
        EXPECT_EQ(rom_obj_free(gone, nullptr), 0);
        EXPECT_EQ(rom_obj_malloc(gone, 1), nullptr);
        EXPECT_EQ(reports.take(), (lines{"rom_objtype_check: " + at, "rom_obj_free: " + at, "rom_obj_kill: " + at,
                                         "rom_obj_malloc: " + at}));
    }
    std::free(object);
}

// What is left is freed by the registry; the sanitizers watch.
TEST(RomObjMalloc, KeepsTheBlocksOfManyObjectsApart)
{
    Reports reports;
    std::vector<void *> objects, blocks;
    for (std::size_t i = 0; i < 300; ++i) {
        objects.push_back(rom_obj_new(0, std::to_string(i).c_str()));
        for (const std::size_t owner : {i, i / 2, i / 3})
            blocks.push_back(rom_obj_malloc(objects[owner], 8));
        EXPECT_EQ(rom_obj_free(objects[i], blocks[3 * i]), 0);
        EXPECT_EQ(rom_objtype_check(objects[i / 2], std::to_string(i / 2).c_str()), 1);
    }
    for (void *foreign : {blocks[0], blocks[1], static_cast<void *>(nullptr), reinterpret_cast<void *>(-5)}) {
        const std::string address = std::to_string(reinterpret_cast<std::intptr_t>(foreign));
        EXPECT_EQ(reports.refusal(rom_obj_free(objects[7], foreign)), "rom_obj_free: unregistered memory " + address);
    }
    EXPECT_EQ(reports.refusal(rom_obj_malloc(objects[7], INT_MIN)),
              "rom_obj_malloc: malloc of -2147483648 failed for 7");
    for (void *object : objects) {
        rom_obj_kill(object);
        std::free(object);
    }
    EXPECT_EQ(reports.take(), lines{});
}
