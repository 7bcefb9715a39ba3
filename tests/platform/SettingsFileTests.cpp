// The settings' file: what of it a change leaves as it is, and what becomes of it when it cannot be written.
#include "WatchedCalls.h"
#include "platform/SettingsFile.h"

#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class SettingsFile : public testing::Test {
protected:
    SettingsFile() {
        fs::remove_all(folder);
        fs::create_directories(folder);
    }
    ~SettingsFile() override { fs::remove_all(folder); }

    void put(const std::string& name, const std::string& content) {
        std::ofstream(folder / name, std::ios::binary) << content;
    }
    [[nodiscard]] std::string content(const std::string& name) const {
        std::ifstream stream(folder / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }
    [[nodiscard]] std::size_t fileCount() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
    }

    // Of this test alone: others run at the same time.
    const fs::path folder =
        fs::path(testing::TempDir()) /
        (std::string("qlx_settings_") + testing::UnitTest::GetInstance()->current_test_info()->name());
    const std::string path = (folder / "settings").string();
};

}  // namespace

TEST_F(SettingsFile, KeepsCommentsUnknownLinesOrderAndEnds) {
    put("settings", "# Mine\r\n\r\nzoom=2\r\nno setting\nlevel=3\r\nlevel=4\r\nfolder=/a=b\\x\r\nlast");
    qlx::UserDefaults defaults;
    ASSERT_TRUE(defaults.backWithFile(path));
    EXPECT_EQ(content("settings"), "# Mine\r\n\r\nzoom=2\r\nno setting\nlevel=3\r\nlevel=4\r\nfolder=/a=b\\x\r\nlast");
    defaults.setValue("level", 5);
    defaults.setValue("zoom", nullptr);
    defaults.setValue("new", "n=w");
    EXPECT_EQ(content("settings"),
              "# Mine\r\n\r\nno setting\nlevel=3\r\nlevel=5\r\nfolder=/a=b\\x\r\nlast\r\nnew=n\\ew\r\n");
    // What another hand adds meanwhile stays as well.
    std::ofstream(path, std::ios::binary | std::ios::app) << "other=1\r\n";
    defaults.setValue("level", 6);
    EXPECT_EQ(content("settings"),
              "# Mine\r\n\r\nno setting\nlevel=3\r\nlevel=6\r\nfolder=/a=b\\x\r\nlast\r\nnew=n\\ew\r\nother=1\r\n");
    defaults.setValue("level", nullptr);
    EXPECT_EQ(content("settings"), "# Mine\r\n\r\nno setting\nfolder=/a=b\\x\r\nlast\r\nnew=n\\ew\r\nother=1\r\n");
}

TEST_F(SettingsFile, PutsANewLineWhereItBelongs) {
    // In front of the comment that is about its neighbour.
    const qlx::Dictionary settings{{"a", "1"}, {"c", "3"}, {"m", "5"}, {"z", "9"}};
    EXPECT_EQ(qlx::textWithSettings("# Head\n\n# About b\nb=2\n# About m\nm=4\n", settings, {}),
              "# Head\n\na=1\n# About b\nb=2\nc=3\n# About m\nm=5\nz=9\n");
    EXPECT_EQ(qlx::textWithSettings("", settings, {}), "a=1\nc=3\nm=5\nz=9\n");
}

TEST_F(SettingsFile, KeepsTheCarriageReturnsOfALastLineWithoutAFeed) {
    // One of them is taken for a part of the end, with a feed behind it and without.
    const qlx::Dictionary added{{"b", "2"}};
    const std::string text = "a=1\r\r";
    EXPECT_EQ(qlx::settingsIn(text), (qlx::Dictionary{{"a", "1\r"}}));
    const std::string changed = qlx::textWithSettings(text, added, {});
    EXPECT_EQ(changed, "a=1\r\r\nb=2\n");
    EXPECT_EQ(qlx::settingsIn(changed), (qlx::Dictionary{{"a", "1\r"}, {"b", "2"}}));
}

TEST_F(SettingsFile, KeepsALinkAndPermissions) {
    put("real", "level=3\n");
    ASSERT_EQ(chmod((folder / "real").c_str(), 0640), 0);
    fs::create_directory(folder / "links");
    fs::create_symlink("../real", folder / "links" / "inner");
    fs::create_symlink("links/inner", path);
    qlx::UserDefaults defaults;
    ASSERT_TRUE(defaults.backWithFile(path));
    defaults.setValue("level", 5);
    EXPECT_TRUE(fs::is_symlink(path));
    EXPECT_TRUE(fs::is_symlink(folder / "links" / "inner"));
    EXPECT_EQ(content("real"), "level=5\n");
    EXPECT_EQ(fs::status(folder / "real").permissions(), fs::perms(0640));
    EXPECT_EQ(fileCount(), 3U) << "nothing else is left";
}

TEST_F(SettingsFile, MakesTheFileThatALinkLeadsTo) {
    fs::create_symlink("real", path);
    qlx::UserDefaults defaults;
    ASSERT_TRUE(defaults.backWithFile(path));
    defaults.setValue("level", 5);
    EXPECT_TRUE(fs::is_symlink(path));
    EXPECT_EQ(content("real"), "level=5\n");
}

TEST_F(SettingsFile, LeavesAlonWhatBearsANameLikeItsOwn) {
    put("settings.new", "somebody's");
    qlx::UserDefaults defaults;
    ASSERT_TRUE(defaults.backWithFile(path));
    defaults.setValue("level", 5);
    EXPECT_EQ(content("settings.new"), "somebody's");
    EXPECT_EQ(fileCount(), 2U);
}

TEST_F(SettingsFile, IsKeptWhenItCannotBeWrittenAndThatIsSaidOnce) {
    class Listening : public qlx::Console {
    public:
        void log(std::string_view message) override { messages.emplace_back(message); }
        std::vector<std::string> messages;
    } console;
    const qlx::ScopedService<qlx::Console> scope(console);
    qlx::UserDefaults defaults;
    ASSERT_TRUE(defaults.backWithFile(path));
    defaults.setValue("level", 5);
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit former{};
    getrlimit(RLIMIT_FSIZE, &former);
    rlimit limit = former;
    limit.rlim_cur = 4;
    setrlimit(RLIMIT_FSIZE, &limit);
    defaults.setValue("level", 6);
    defaults.setValue("level", 7);
    setrlimit(RLIMIT_FSIZE, &former);
    EXPECT_EQ(content("settings"), "level=5\n");
    EXPECT_EQ(console.messages,
              std::vector<std::string>{"Error: Settings could not be written to '" + path + "': File too large"});
    EXPECT_EQ(fileCount(), 1U);
    EXPECT_EQ(defaults.value("level"), qlx::Value(7));
    defaults.setValue("zoom", 1);
    EXPECT_EQ(content("settings"), "level=7\nzoom=1\n");
    EXPECT_EQ(console.messages.size(), 1U);
}

TEST_F(SettingsFile, TakesManyNewSettingsLikeOneAfterTheOther) {
    std::minstd_rand random(3);
    const auto key = [&random] { return std::string(1, static_cast<char>('a' + random() % 20)); };
    for (int round = 0; round < 500; ++round) {
        std::string text;
        for (std::uint64_t line = random() % 8; line > 0; --line) {
            const std::uint64_t kind = random() % 4;
            text += kind == 0 ? "# about\n" : kind == 1 ? "\n" : key() + "=0\r\n";
        }
        text += random() % 2 == 0 ? key() + "=last" : "";
        qlx::Dictionary settings;
        for (std::uint64_t count = random() % 6; count > 0; --count) {
            settings.set(key(), "1");
        }
        std::string expected = text;
        for (const qlx::Dictionary::Entry& entry : settings) {
            qlx::Dictionary one;
            one.set(entry.key, entry.value);
            expected = qlx::textWithSettings(expected, one, {});
        }
        ASSERT_EQ(qlx::textWithSettings(text, settings, {}), expected) << text;
    }
}

TEST_F(SettingsFile, IsNoPipe) {
    // Opened, it would be waited for.
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    qlx::UserDefaults defaults;
    EXPECT_FALSE(defaults.backWithFile(path));
}

TEST_F(SettingsFile, ReachesTheDiskBeforeItIsRenamed) {
    put("settings", "level=3\n");
    std::vector<std::string> calls;
    const auto kindOf = [](int descriptor) {
        struct stat status {};
        return ::fstat(descriptor, &status) != 0 ? std::string("none")
               : S_ISDIR(status.st_mode)         ? std::string("folder")
                                                 : std::to_string(status.st_size) + " bytes";
    };
    {
        const qlxtest::CallWatch watch({.fsync =
                                            [&](int descriptor) {
                                                calls.push_back(kindOf(descriptor));
                                                return 0;
                                            },
                                        .rename =
                                            [&](const char*, const char* to) {
                                                calls.push_back("rename to " + fs::path(to).filename().string());
                                                return 0;
                                            }});
        EXPECT_EQ(qlx::replaceFile(path, "level=45\n"), 0);
    }
    EXPECT_EQ(calls, (std::vector<std::string>{"9 bytes", "rename to settings", "folder"}));
    EXPECT_EQ(content("settings"), "level=45\n");
    {
        const qlxtest::CallWatch watch({.fsync = [](int) { return EIO; }});
        EXPECT_EQ(qlx::replaceFile(path, "level=6\n"), EIO);
    }
    EXPECT_EQ(content("settings"), "level=45\n");
    EXPECT_EQ(fileCount(), 1U);
}

TEST_F(SettingsFile, HasAnotherTemporaryNameEachTime) {
    std::set<std::string> names;
    const std::string ofProcess = path + '.' + std::to_string(::getpid()) + '-';
    const qlxtest::CallWatch watch({.rename = [&](const char* from, const char*) {
        EXPECT_TRUE(std::string(from).starts_with(ofProcess)) << from;
        names.insert(from);
        return 0;
    }});
    EXPECT_EQ(qlx::replaceFile(path, "level=1\n"), 0);
    EXPECT_EQ(qlx::replaceFile(path, "level=2\n"), 0);
    EXPECT_EQ(names.size(), 2U);
}
