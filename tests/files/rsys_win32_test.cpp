// rsys on Windows: reparse points of all kinds, and a host whose calls fail
#include "files/rsys_links.h"
#include "files/rsys_site.h"

#include <cerrno>
#include <filesystem>

namespace fs = std::filesystem;

using teska_test::Bytes, teska_test::everything, teska_test::lines, teska_test::Links, teska_test::Reports,
    teska_test::Site, teska_test::Watch;

namespace
{

constexpr DWORD surrogate_tag = 0xa000001d, cloud_tag = 0x9000001a;

std::wstring host_path(const Site &site, const std::string &name)
{
    return L"\\??\\" + fs::path(site.path(name)).make_preferred().wstring();
}

Bytes with_word(Bytes data, std::size_t at, unsigned value)
{
    data[at] = static_cast<unsigned char>(value);
    data[at + 1] = static_cast<unsigned char>(value >> 8);
    return data;
}

Bytes with_tag(const Bytes &data, DWORD tag) { return with_word(with_word(data, 0, tag & 0xffff), 2, tag >> 16); }

}  // namespace

TEST(RsysReparsePoints, LeadWhereTheyLedWhenTheyAreMadeAgain)
{
    const Site site;
    Links links;
    const std::wstring name(4000, L'x');
    const std::tuple<Bytes, bool, bool> rows[] = {
        {Links::junction(L"\\??\\C:\\x", L"C:\\x"), true, true},
        {Links::junction(L"\\??\\C:\\x\\", L""), true, true},
        {Links::junction(L"\\??\\Volume{2}\\", L""), true, true},
        {Links::junction(L"\\??\\C:\\" + name, L"C:\\" + name), true, true},
        {Links::symbolic_link(L"\\??\\C:\\x", L"C:\\x", false), true, true},
        {Links::symbolic_link(L"\\??\\UNC\\s\\t\\x", L"\\\\s\\t\\x", false), false, true},
        {Links::symbolic_link(L"\\??\\C:\\" + name, L"C:\\" + name, false), false, true},
        {Links::symbolic_link(L"..\\x", L"..\\x", true), true, true},
        {Links::symbolic_link(L"..\\x", L"C:\\shown", true), false, false},
        {Links::symbolic_link(L"\\??\\C:\\x", L"", false), false, false},
        {Links::symbolic_link(L"\\??\\C:\\x", L"D:\\shown", false), true, false},
        {Links::symbolic_link(L"\\??\\UNC\\s\\t\\x", L"", false), false, false},
        {Links::symbolic_link(L"\\??\\Volume{2}\\x", L"", false), true, false}};
    for (const auto &[data, folder, whole] : rows) {
        links.set(site.path("l"), data, folder);
        EXPECT_EQ(site.copy("l", "m"), 0);
        EXPECT_EQ(links.substitute(site.path("m")), links.substitute(site.path("l")));
        EXPECT_EQ(links.data(site.path("m"))[16] == 1, data[16] == 1) << "relative";
        EXPECT_TRUE(!whole || links.data(site.path("m")) == data);
        EXPECT_EQ(fs::is_directory(site.path("m")), folder);
        EXPECT_EQ(site.remove("l") + site.remove("m"), 0);
    }
}

TEST(RsysReparsePoints, WithDataThatLieAreRefused)
{
    const Site site;
    Links links;
    const Bytes link = Links::symbolic_link(L"\\??\\C:\\x", L"C:\\x", false);
    const Bytes junction = Links::junction(L"\\??\\C:\\x", L"C:\\x");
    std::vector<Bytes> rows;
    for (const Bytes &good : {link, junction}) {
        for (const std::size_t at : {4, 8, 10, 12, 14})
            for (const unsigned value : {3U, 0x1000U, 0xfffeU})
                rows.push_back(with_word(good, at, value));
        for (const std::size_t size : {4, 12, 16, 30})
            rows.emplace_back(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
        rows.push_back(with_word(good, 10, 0));
    }
    Reports reports;
    for (const Bytes &data : rows) {
        links.set(site.path("l"), data, true);
        EXPECT_EQ(site.kind("l"), RSYS_LINK);
        EXPECT_EQ(site.copy("l", "m"), -1) << testing::PrintToString(data);
        EXPECT_EQ(errno, EIO);
        EXPECT_EQ(reports.take(), lines{"rsys_copy: cannot read"});
    }
    EXPECT_EQ(site.listing(), "l/");
    links.set(site.path("l"), with_tag(link, surrogate_tag), true);
    EXPECT_EQ(site.copy("l", "m"), -1);
    EXPECT_EQ(reports.take(), lines{"rsys_copy: cannot make link"});
    EXPECT_EQ(site.remove("l"), 0);
}

TEST(RsysReparsePoints, ThatAreNoLinksAreWhatTheyStandFor)
{
    const Site site;
    Links links;
    fs::create_directory(site.path("t"));
    const Bytes data = Links::junction(L"", L"");
    links.set(site.path("t/cloud"), with_tag(data, cloud_tag), true);
    links.set(site.path("t/file"), with_tag(data, cloud_tag), false);
    site.write("t/cloud/f", "x");
    EXPECT_EQ(site.copy("t", "to"), 0);
    EXPECT_EQ(site.listed("to"), "cloud:1:0:0 cloud/f:0:1:1 file:0:0:0");
    links.set(site.path("t/socket"), with_tag(data, IO_REPARSE_TAG_AF_UNIX), false);
    EXPECT_EQ(site.listed("t"), "cloud:1:0:0 cloud/f:0:1:1 file:0:0:0 socket:3:0:0");
    EXPECT_EQ(site.kind("t/socket"), RSYS_OTHER);
    Reports reports;
    EXPECT_EQ(site.copy("t", "again") + site.copy("t/socket", "again"), -2);
    EXPECT_EQ(reports.take(), lines(2, "rsys_copy: not a file or folder"));
    EXPECT_EQ(site.remove("t"), 0);
    EXPECT_EQ(site.listing(), "to/");
}

TEST(RsysReparsePoints, OfAVolumeAreRemovedAndTheVolumeStays)
{
    const Site site;
    Links links;
    fs::create_directory(site.path("disk"));
    fs::create_directory(site.path("t"));
    site.write("disk/f", "precious");
    links.volume = L"\\\\?\\" + host_path(site, "disk").substr(4);
    links.set(site.path("t/m"), Links::junction(L"\\??\\Volume{1}\\", L""), true);
    EXPECT_EQ(site.listed("t", "", everything | RSYS_FOLLOW), "m:1:0:0 m/f:0:1:8");
    Reports reports;
    EXPECT_EQ(site.remove("t"), 0);
    EXPECT_EQ(site.listed(""), "disk:1:0:0 disk/f:0:1:8");
}

// A folder that is open can be emptied, and be made a junction where it stands.
TEST(RsysRemove, IsNotLedAstrayByAFolderThatIsTurnedIntoAJunction)
{
    for (const char *inside : {"/f", "/f/f"}) {
        const Site site;
        Links links;
        for (const char *top : {"t/a", "victim"}) {
            fs::create_directories(fs::path(site.path(top + std::string(inside))).parent_path());
            site.write(top + std::string(inside), "precious");
            site.write(top + std::string("/e"), "precious");
        }
        const std::string before = site.listed("victim");
        Watch turn{.act = [&](const std::string &path) {
            if (path != site.path("t/a/e"))
                return;
            for (const char *name : {"t/a/e", "t/a/f/f", "t/a/f"})
                static_cast<void>(DeleteFileW(fs::path(site.path(name)).c_str()) ||
                                  RemoveDirectoryW(fs::path(site.path(name)).c_str()));
            links.set(site.path("t/a"), Links::junction(host_path(site, "victim"), L""), true);
        }};
        Reports reports;
        site.remove("t", &turn);
        EXPECT_EQ(site.listed("victim"), before);
        EXPECT_GE(turn.calls.size(), 2U);
    }
}

TEST(RsysHost, MayHaveNoRightToLinksNorToAFolderAndNothingInARoot)
{
    const Site site;
    Links links;
    Links::make("x", site.path("l"));
    DWORD error = ERROR_INVALID_PARAMETER;
    links.refusal = [&](const std::string &call) { return call == "unprivileged" ? error : 0; };
    EXPECT_EQ(site.copy("l", "older"), 0);
    error = ERROR_PRIVILEGE_NOT_HELD;
    Reports reports;
    EXPECT_EQ(site.copy("l", "m"), -1);
    EXPECT_EQ(errno, EPERM);
    EXPECT_EQ(reports.take(), lines{"rsys_copy: cannot make link"});
    links.refusal = [](const std::string &call) { return call == "list" ? DWORD{ERROR_FILE_NOT_FOUND} : 0; };
    EXPECT_EQ(site.listed(""), "");
    links.refusal = [](const std::string &call) { return call == "open to list" ? DWORD{ERROR_ACCESS_DENIED} : 0; };
    EXPECT_EQ(site.remove("l"), 0) << "the folder need not be readable";
}

// The target is the old or the new one as a whole, nothing is left beside it, and what links lead to stays.
TEST(RsysHost, MayFailAtEachCall)
{
    const std::string copy = "to", replace = "old", remove = "t";
    const std::string old = "old:2:0:0 ", t = "t:1:0:0 t/d:2:1:0 t/f:0:1:1 ", v = "v:1:0:0 v/f:0:1:1";
    const std::string to = "to:1:0:0 to/d:2:1:0 to/f:0:1:1 ";
    const std::tuple<std::string, std::string, int (*)(const Site &)> rows[] = {
        {copy, old + t + to + v, [](const Site &site) { return site.copy("t", "to"); }},
        {replace, old + t + v, [](const Site &site) { return site.copy("t/d", "old", RSYS_REPLACE); }},
        {remove, old + v, [](const Site &site) { return site.remove("t"); }}};
    for (const auto &[name, expected, call] : rows) {
        const Site site;
        Links links;
        bool failed = true;
        for (int n = 0; failed; ++n) {
            for (const std::string folder : {"t", "v"}) {
                fs::create_directory(site.path(folder));
                site.write(folder + "/f", "x");
            }
            for (const auto &[link, target] : {std::pair("t/d", "../v"), {"old", "x"}})
                if (site.kind(link) < 0)
                    Links::make(target, site.path(link));
            int left = n;
            links.refusal = [&](const std::string &) { return left-- == 0 ? DWORD{ERROR_WRITE_PROTECT} : 0; };
            Reports reports;
            const int result = call(site);
            failed = left < 0;
            links.refusal = [](const std::string &) { return 0; };
            EXPECT_EQ(reports.take().size(), result == 0 ? 0U : 1U);
            const std::string found = site.listed("");
            const bool part = name == remove && result != 0;
            EXPECT_TRUE(!part || (found.starts_with(old + "t:1:0:0") && found.ends_with(v))) << found;
            EXPECT_TRUE(part || found == (result == 0 ? expected : old + t + v)) << name << " " << n << ": " << found;
            EXPECT_EQ(links.target(site.path("old")), name == replace && result == 0 ? "..\\v" : "x");
            EXPECT_TRUE(failed || (result == 0 && n > 20)) << n;
            EXPECT_TRUE(result != 0 || name == remove || site.remove(name) == 0);
        }
    }
}

TEST(RsysNames, ThatOnlyThePrefixAllowsAreCopiedAndRemoved)
{
    const Site site;
    fs::create_directory(site.path("t"));
    for (const wchar_t *name : {L"\xd83c\xdfa8", L"\xfffd", L"ends. "}) {
        const std::wstring path = L"\\\\?\\" + host_path(site, "t").substr(4) + L"\\" + name;
        CloseHandle(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    }
    EXPECT_EQ(site.copy("t", "to") + site.remove("t"), 0);
    EXPECT_EQ(site.listed("to"), "ends. :0:0:0 \xef\xbf\xbd:0:0:0 \xf0\x9f\x8e\xa8:0:0:0");
    EXPECT_EQ(site.remove("to"), 0);
    EXPECT_EQ(site.listing(), "");
}
