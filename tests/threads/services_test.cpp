// The services that all threads share: reports, the registry of objects, logical names, record pools, what was found
// last in record texts.

#include "support/test.h"

#include "error_mess.h"
#include "rom.h"
#include "str_zuk.h"
#include "teska_time.h"
#include "threads/in_threads.h"
#include "tobjfac.h"
#include "wem.h"

using namespace teska_test;

namespace
{

constexpr int threads = 4;
constexpr int rounds = 200;

TEST(Services, KeepAnswersAndObjectsOfThreadsApart)
{
    in_threads(threads, [](int thread) {
        const std::string text = "[a]\nk=0\n[b]\nk=" + std::to_string(thread), type = std::to_string(thread);
        error_set_thread(2);
        for (int round = 0; round < rounds; ++round) {
            const char *cursor = text.c_str();
            char value[257];
            EXPECT_EQ(str_search_zuk_topic(&cursor, round % 2 == 0 ? "a" : "b"), 1);
            EXPECT_EQ(str_search_zuk(&cursor, "b", "k", value), 1);
            EXPECT_EQ(value, std::to_string(thread));
            const std::string date = time_get_date();
            EXPECT_EQ(date.size(), date.find(" at ") + 12);
            char name[10];
            EXPECT_EQ(TObjFac().MakeRandomName("obj", name, 10), 0);

            void *object = rom_obj_new(8, type.c_str());
            void *block = rom_obj_malloc(object, 8);
            rom_obj_malloc(object, 8);
            EXPECT_EQ(rom_objtype_check(object, type.c_str()), 1);
            rom_obj_free(object, block);
            rom_obj_kill(object);
            EXPECT_EQ(error_get(), nullptr);
            rom_obj_kill(reinterpret_cast<void *>(std::intptr_t{1} + thread));
            EXPECT_EQ(error_get(), "ERROR : 'rom_obj_kill: unregistered obj " + std::to_string(1 + thread) + "'");
            EXPECT_EQ(error_get(), nullptr);
            std::free(object);
        }
    });
}

// Every thread gives its records to the next one, which frees them.
TEST(Wem, ServesAllThreads)
{
    wem_pool *pool = wem_zcreate(4, 256);
    std::vector<int *> taken[threads];
    for (int round = 0; round < 20; ++round) {
        in_threads(threads, [&](int thread) {
            for (int i = 0; i < 100; ++i) {
                auto *record = static_cast<int *>(wem_zalloc(pool));
                EXPECT_EQ(*record, 0) << "nobody else has it";
                *record = 1;
                taken[thread].push_back(record);
            }
            const std::string name = "disk" + std::to_string(thread), text = std::to_string(round);
            char translation[WEM_NAME_SIZE];
            wem_lognam_set("disk", text.c_str());
            wem_lognam_set(name.c_str(), text.c_str());
            for (const std::string &asked : {name, std::string("disk")}) {
                lognam(asked.c_str(), translation);
                EXPECT_EQ(translation, text);
            }
            wem_set_typefl([](const char *) { return 7; });
            EXPECT_EQ(typefl("#", thread), 7);
        });
        in_threads(threads, [&](int thread) {
            std::vector<int *> &records = taken[(thread + 1) % threads];
            for (int *record : records)
                wem_zfree(pool, record);
            records.clear();
        });
    }
    wem_set_typefl(nullptr);
    wem_lognam_clear();
    wem_zdestroy(pool);
}

TEST(ErrorMess, PrintsWholeLinesWhileThreadsChangeTheModes)
{
    testing::internal::CaptureStdout();
    in_threads(threads, [](int thread) {
        const std::string name = std::to_string(thread);
        for (int round = 0; round < rounds; ++round) {
            error_set(round % 4);
            error_mess_fl(name.c_str(), __FILE__, __LINE__);
            teska_warn(1, name.c_str());
            error_get();
            error_display_all_msgs();
        }
        error_set_thread(2);
        error_mess_fl("lost with the thread", __FILE__, __LINE__);
    });
    error_set(1);
    std::istringstream text(testing::internal::GetCapturedStdout());
    for (std::string line; std::getline(text, line);) {
        const std::string name(1, line[line.size() > 2 ? line.size() - 2 : 0]);
        EXPECT_EQ(line, (line[0] == 'E' ? "ERROR : '" : "WARNING  : '") + name + "'");
    }
}

// The process has one function, called by one thread at a time, or a queue; every other thread has its own function.
TEST(FailingCalls, GoToTheFunctionOfTheThreadOrToThatOrTheQueueOfTheProcess)
{
    using Lines = std::multiset<std::string>;
    const auto keep = [](void *context, const char *line) { static_cast<Lines *>(context)->insert(line); };
    for (const int mode : {1, 2}) {
        Lines of_process, missing;
        for (int i = 0; i < threads * 50; ++i)
            if (i / 50 % 2 == 0)
                missing.insert("ERROR : '" + std::to_string(i) + "'");
        const int before = error_set(mode);
        error_set_handler(keep, &of_process, nullptr);
        in_threads(threads, [&](int thread) {
            Lines own;
            if (thread % 2 == 1) {
                error_set_thread(1);
                error_set_thread_handler(keep, &own, nullptr);
            }
            for (int i = 50 * thread; i < 50 * thread + 50; ++i)
                error_mess_fl(std::to_string(i).c_str(), __FILE__, __LINE__);
            EXPECT_EQ(own.size(), thread % 2 == 1 ? 50U : 0U);
            error_set_thread_handler(nullptr, nullptr, nullptr);
        });
        while (const char *line = error_get())
            of_process.insert(line);
        EXPECT_EQ(of_process, missing) << mode;
        error_set_handler(nullptr, nullptr, nullptr);
        error_set(before);
    }
}

}  // namespace
