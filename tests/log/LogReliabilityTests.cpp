// Disks that fail, paths that cannot be, texts that are no texts.
#include "LogFixture.h"

#include "log/LogFile.h"

#include <chrono>
#include <cstdlib>
#include <future>

#include <sys/stat.h>
#include <unistd.h>

using namespace qlxtest;

namespace {

using LogReliability = LogTest;
using LogRemoval = LogTest;

constexpr std::int64_t kDay = 86'400;

std::string failureText(const std::string& folder) {
    return "Error: Failed to write technical logs to '" + folder + "'";
}

/// Hands out one descriptor for every file, and keeps what is done with it.
class FixedDescriptor : public qlx::LogFiles {
public:
    explicit FixedDescriptor(int descriptor) : _descriptor(descriptor) {}
    int openForAppending(const char* path) override {
        calls.push_back(std::string("open ") + path);
        return _descriptor;
    }
    bool write(int descriptor, std::string_view bytes) override {
        calls.push_back("write " + std::to_string(descriptor) + " " + std::string(bytes));
        return true;
    }
    void close(int descriptor) override { calls.push_back("close " + std::to_string(descriptor)); }
    std::vector<std::string> calls;

private:
    int _descriptor;
};

/// A process of root may write everywhere: gives the right up for a while.
class OrdinaryUser {
public:
    OrdinaryUser() : _isRoot(geteuid() == 0) {
        constexpr uid_t kNobody = 65'534;
        if (_isRoot && seteuid(kNobody) != 0) {
            std::abort();
        }
    }
    ~OrdinaryUser() {
        if (_isRoot && seteuid(0) != 0) {
            std::abort();
        }
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    bool _isRoot;
};

std::string repeated(std::string_view text, std::size_t count) {
    std::string result;
    for (std::size_t index = 0; index < count; ++index) {
        result += text;
    }
    return result;
}

}  // namespace

TEST_F(LogReliability, ReportsAFolderThatCannotBeOpenedOnce) {
    std::vector<qlx::Dictionary> shown;
    delegate->displayLogWithInfoDict = [&shown](const qlx::Dictionary& info) { shown.push_back(info); };
    useDelegate();
    const std::string missing = (folder / "missing").string();
    log->setTechnicalLogFolderPath(missing);
    log->writeStringToTechnicalLog_isProblem_logLevel_show("lost", false, 2, true);
    log->writeStringToTechnicalLog_isProblem_logLevel_show("lost too", false, 2, true);
    log->waitUntilQueuesAreEmpty();
    EXPECT_EQ(console.printed(), failureText(missing) + "\n");
    const qlx::Dictionary report{
        {"message", failureText(missing)}, {"origin", 7},         {"identifier", ""}, {"level", 0}, {"show", true},
        {"notifyRemotes", false},          {"sourceUniqueID", ""}};
    EXPECT_EQ(shown, std::vector<qlx::Dictionary>{report});

    // Setting the property is no change of the setting: nothing is reported again.
    const std::string other = (folder / "other").string();
    log->setTechnicalLogFolderPath(other);
    write("lost");
    log->waitUntilQueuesAreEmpty();
    EXPECT_EQ(shown.size(), 1U);

    defaults.setValue("technicalLogFolderPath", other);
    write("lost again");
    write("and again");
    log->waitUntilQueuesAreEmpty();
    qlx::Dictionary second = report;
    second.set("message", failureText(other));
    second.set("show", false);
    EXPECT_EQ(shown, (std::vector<qlx::Dictionary>{report, second}));
    EXPECT_EQ(console.printed(),
              failureText(missing) + "\nNew technical log path " + other + "\n" + failureText(other) + "\n");
    EXPECT_EQ(namesIn(folder), std::vector<std::string>{});
}

TEST_F(LogReliability, ReportsToTheConsoleAloneWithoutTheDictionaryMethod) {
    std::vector<std::string> plain;
    delegate->displayLogMessage_logLevel = [&plain](const std::string& text, std::int64_t) { plain.push_back(text); };
    useDelegate();
    log->setTechnicalLogFolderPath("/dev/null");
    write("lost");
    log->waitUntilQueuesAreEmpty();
    EXPECT_EQ(console.printed(), failureText("/dev/null") + "\n");
    EXPECT_TRUE(plain.empty());
}

TEST_F(LogReliability, SurvivesAReadOnlyFolder) {
    useDelegate();
    ASSERT_EQ(chmod(folder.c_str(), 0555), 0);
    {
        const OrdinaryUser user;
        write("lost");
        log->waitUntilQueuesAreEmpty();
    }
    EXPECT_EQ(console.printed(), failureText(folder.string()) + "\n");
    EXPECT_EQ(namesIn(folder), std::vector<std::string>{});
    ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
    write("written");
    EXPECT_EQ(sundaysFile(), "\t" + kStamp + "\t\twritten\r\n");
}

TEST_F(LogReliability, KeepsWhatAFullDiskDoesNotTake) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "no device that is always full";
    }
    std::vector<qlx::Dictionary> shown;
    delegate->displayLogWithInfoDict = [&shown](const qlx::Dictionary& info) { shown.push_back(info); };
    useDelegate();
    const auto file = folder / "Player 2026-11-15.log";
    std::filesystem::create_symlink("/dev/full", file);
    write("first");
    write("second");
    log->waitUntilQueuesAreEmpty();
    // Once an outage, as a file that cannot be opened.
    const std::string text = "Error: Technical log could not be written to '" + folder.string() + "'";
    EXPECT_EQ(console.printed(), text + "\n");
    ASSERT_EQ(shown.size(), 1U);
    EXPECT_EQ(shown[0].find("message")->stringValue(), text);
    EXPECT_TRUE(shown[0].contains("sourceUniqueID"));
    std::filesystem::remove(file);
    write("third");
    std::string expected;
    for (const char* message : {"first", "second", "third"}) {
        expected += "\t" + kStamp + "\t\t" + message + "\r\n";
    }
    EXPECT_EQ(sundaysFile(), expected);
}

TEST_F(LogReliability, SurvivesAFolderThatGoesAwayAndComesBack) {
    useDelegate();
    write("first");
    write("second");
    log->waitUntilQueuesAreEmpty();
    std::filesystem::remove_all(folder);
    write("lost");
    log->waitUntilQueuesAreEmpty();
    EXPECT_FALSE(std::filesystem::exists(folder));
    EXPECT_EQ(console.printed(), failureText(folder.string()) + "\n");
    std::filesystem::create_directory(folder);
    write("third");
    // The file's name is that of the line before, so it counts as the same file.
    EXPECT_EQ(sundaysFile(), "\t" + kStamp + "\t\tthird\r\n");
    EXPECT_EQ(console.printed(), failureText(folder.string()) + "\n");
}

TEST_F(LogReliability, StartsNoFileWithoutAFolder) {
    int asked = 0;
    delegate->initialLogMessage = [this, &asked] {
        ++asked;
        write("one more line for each");
        return std::string("header");
    };
    useDelegate();
    log->setTechnicalLogFolderPath(std::nullopt);
    write("nowhere");
    write("nowhere else");
    log->waitUntilQueuesAreEmpty();
    EXPECT_EQ(asked, 0);
}

TEST_F(LogReliability, WritesNothingWithoutAFolder) {
    useDelegate();
    write("start");
    write("same");
    write("same");
    log->waitUntilQueuesAreEmpty();
    for (const std::optional<std::string>& none : {std::optional<std::string>(), std::optional<std::string>("")}) {
        log->setTechnicalLogFolderPath(none);
        write("nowhere");
        log->waitUntilQueuesAreEmpty();
        EXPECT_EQ(log->lastTechnicalLogFilePath(), std::nullopt);
    }
    log->setTechnicalLogFolderPath(folder.string());
    write("same");
    EXPECT_EQ(sundaysFile(), "\t" + kStamp + "\t\tstart\r\n\t" + kStamp + "\t\tsame\r\n\t" + kStamp +
                                 "\t\t--- last message repeated 1 time ---\r\n\t" + kStamp + "\t\tsame\r\n");
    EXPECT_EQ(console.printed(), "");
}

TEST_F(LogReliability, SkipsAPathThatDoesNotFit) {
    FixedDescriptor files(5);
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    const std::string name = "/Player 2026-11-15.log";
    const std::string longest = "/" + std::string(1023 - 1 - name.size(), 'x');
    log->setTechnicalLogFolderPath(longest + "x");  // 1024 bytes, and no room for the NUL behind them.
    useDelegate();
    write("skipped");
    log->logSimpleMessage_toFileWithName("skipped", "asrun");
    log->waitUntilQueuesAreEmpty();
    EXPECT_EQ(files.calls, std::vector<std::string>{});
    log->setTechnicalLogFolderPath(longest);
    write("written");
    log->waitUntilQueuesAreEmpty();
    EXPECT_EQ(files.calls, (std::vector<std::string>{"open " + longest + name,
                                                     "write 5 \t" + kStamp + "\t\twritten\r\n", "close 5"}));
    EXPECT_EQ(console.printed(), "");
}

TEST_F(LogReliability, SkipsAPathWithANul) {
    FixedDescriptor files(5);
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    log->setTechnicalLogFolderPath(std::string("/tmp\0/x", 7));
    useDelegate();
    write("skipped");
    log->waitUntilQueuesAreEmpty();
    EXPECT_EQ(files.calls, std::vector<std::string>{});
    EXPECT_EQ(console.printed(), "");
}

TEST_F(LogReliability, TakesDescriptorZeroForAFailure) {
    FixedDescriptor files(0);
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    useDelegate();
    write("lost");
    log->waitUntilQueuesAreEmpty();
    EXPECT_EQ(files.calls, std::vector<std::string>{"open " + (folder / "Player 2026-11-15.log").string()});
    EXPECT_EQ(console.printed(), failureText(folder.string()) + "\n");
}

TEST_F(LogReliability, WritesEachLineWithOneCall) {
    FixedDescriptor files(1);
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    delegate->initialLogMessage = [] { return std::string("header"); };
    useDelegate();
    write("start");
    write("same");
    write("same");
    write("end");
    log->waitUntilQueuesAreEmpty();
    const std::string path = "open " + (folder / "Player 2026-11-15.log").string();
    EXPECT_EQ(
        files.calls,
        (std::vector<std::string>{
            path, "write 1 \t" + kStamp + "\t\theader\r\n\t" + kStamp + "\t\tstart\r\n", "close 1",  //
            path, "write 1 \t" + kStamp + "\t\tsame\r\n", "close 1",                                 //
            path, "write 1 \t" + kStamp + "\t\t--- last message repeated 1 time ---\r\n\t" + kStamp + "\t\tend\r\n",
            "close 1"}));
}

TEST_F(LogReliability, WritesEveryTextAsItIs) {
    useDelegate();
    const std::vector<std::string> texts{"two\nlines\r\n",
                                         std::string("a\0b", 3),
                                         "\xFF\xC3(",
                                         "",
                                         "%@ %d %s %n",
                                         "caf\xC3\xA9 \xF0\x9F\x98\x80",
                                         repeated("long ", 100'000)};
    std::string expected;
    for (const std::string& text : texts) {
        write(text);
        log->logMessageWithLevel_show_messageFormat(2, false, "%@!", text);
        expected += "\t" + kStamp + "\t\t" + text + "\r\n\t" + kStamp + "\t\t" + text + "!\r\n";
    }
    EXPECT_EQ(sundaysFile(), expected);
}

TEST_F(LogReliability, ComparesBytes) {
    useDelegate();
    write("start");
    write(std::string("a\0b", 3));
    write(std::string("a\0c", 3));
    EXPECT_EQ(sundaysFile(), "\t" + kStamp + "\t\tstart\r\n\t" + kStamp + "\t\ta" + std::string(1, '\0') + "b\r\n\t" +
                                 kStamp + "\t\ta" + std::string(1, '\0') + "c\r\n");
}

TEST_F(LogReliability, NeverLetsAThreadWaitForTheDisk) {
    // Nothing is let through to the disk before all messages are accepted: a log that waited would hang here.
    std::atomic<bool> open{false};
    GatedLogFiles files(open);
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    useDelegate();
    std::string expected;
    for (int number = 0; number < 1'000; ++number) {
        write(std::to_string(number));
        log->logSimpleMessage_toFileWithName("x", "asrun");
        expected += "\t" + kStamp + "\t\t" + std::to_string(number) + "\r\n";
    }
    open = true;
    open.notify_all();
    EXPECT_EQ(sundaysFile(), expected);
    EXPECT_EQ(fileNamed("Player 2026-11-15_asrun.log"), repeated("2026-11-15\t00:49:42\t\tx\n", 1'000));
}

TEST_F(LogReliability, WritesWhatAControllerLeavesBehind) {
    const std::string expected = "\t" + kStamp + "\t\tfirst\r\n\t" + kStamp + "\t\tsecond\r\n";
    // No controller is left to be asked when it is done: the files themselves tell.
    class CountingFiles : public qlx::LogFiles {
    public:
        explicit CountingFiles(std::size_t expected) : _missing(expected) {}
        bool write(int descriptor, std::string_view bytes) override {
            _missing -= std::min(bytes.size(), _missing);
            return LogFiles::write(descriptor, bytes);
        }
        void close(int descriptor) override {
            LogFiles::close(descriptor);
            if (_missing == 0) {
                _done.set_value();
            }
        }
        void waitUntilWritten() { _done.get_future().wait(); }

    private:
        std::size_t _missing;  ///< Bytes; touched by the log's work only.
        std::promise<void> _done;
    } files(expected.size());
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    useDelegate();
    // A removal of old files would come on another queue, perhaps when this test is over.
    log->setCanCleanupOldTechnicalLogFiles(false);
    write("first");
    write("second");
    log.reset();
    files.waitUntilWritten();
    EXPECT_EQ(contentOf(folder / "Player 2026-11-15.log"), expected);
    log = std::make_shared<QLXLogController>();
}

TEST_F(LogRemoval, RemovesFilesOlderThanThirtyDays) {
    class TestDirectories : public qlx::Directories {
    public:
        std::vector<Entry> entries(const std::string& path) override {
            listed.push_back(path);
            return content;
        }
        bool remove(const std::string& path) override {
            removed.push_back(path);
            return false;
        }
        std::vector<Entry> content;
        std::vector<std::string> listed;
        std::vector<std::string> removed;
    } directories;
    const qlx::ScopedService<qlx::Directories> scope(directories);
    const auto ago = [this](std::int64_t seconds) { return clock.now() - std::chrono::seconds(seconds); };
    directories.content = {
        {"Player 2026-10-15.log", ago(31 * kDay)}, {"Player 2026-10-15_asrun.log", ago(30 * kDay + 1)},
        {"Player 2026-10-16.log", ago(30 * kDay)}, {"Player 2026-10-17.log", ago(29 * kDay)},
        {"Player of old", ago(400 * kDay)},        {"Player unknown.log", std::nullopt},
        {"player 2026-10-01.log", ago(40 * kDay)}, {"Other 2026-10-01.log", ago(40 * kDay)}};
    useDelegate();
    write("starts a file");
    log->waitUntilQueuesAreEmpty();
    const std::vector<std::string> expected{(folder / "Player 2026-10-15.log").string(),
                                            (folder / "Player 2026-10-15_asrun.log").string(),
                                            (folder / "Player of old").string()};
    EXPECT_EQ(directories.listed, std::vector<std::string>{folder.string()});
    EXPECT_EQ(directories.removed, expected);

    write("starts no file");
    log->setCanCleanupOldTechnicalLogFiles(false);
    clock.seconds += kDay;
    write("starts a file");
    log->setTechnicalLogFolderPath(std::nullopt);
    log->cleanupOldTechnicalLogFiles();
    log->waitUntilQueuesAreEmpty();
    EXPECT_EQ(directories.removed, expected);

    log->setTechnicalLogFolderPath(folder.string());
    log->setLogPrefix("");
    log->cleanupOldTechnicalLogFiles();
    EXPECT_EQ(directories.removed, expected);
}

TEST_F(LogRemoval, RemovesFromTheDisk) {
    // One file with three names: they have one date, which only the file itself tells for certain.
    std::ofstream(folder / "Keeper.log") << "x";
    for (const char* name : {"Player old.log", "Player old_asrun.log"}) {
        std::filesystem::create_hard_link(folder / "Keeper.log", folder / name);
    }
    const auto entries = qlx::services().get<qlx::Directories>().entries(folder.string());
    ASSERT_TRUE(!entries.empty() && entries.front().creationDate);
    const auto created = std::chrono::floor<std::chrono::seconds>(entries.front().creationDate->time_since_epoch());
    clock.seconds = created.count() + 29 * kDay;
    log->cleanupOldTechnicalLogFiles();
    EXPECT_EQ(namesIn(folder), (std::vector<std::string>{"Keeper.log", "Player old.log", "Player old_asrun.log"}));
    clock.seconds = created.count() + 31 * kDay;
    log->cleanupOldTechnicalLogFiles();
    EXPECT_EQ(namesIn(folder), std::vector<std::string>{"Keeper.log"});
}
