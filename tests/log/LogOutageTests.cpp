// Files that take a part of a line, or nothing, or never come back: what waits, what is lost, and what the host is told.
#include "Growth.h"
#include "LogFixture.h"

#include "log/LogFile.h"
#include "log/Outages.h"

#include <qlx/log/status.h>

#include <atomic>
#include <condition_variable>
#include <csignal>
#include <future>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace qlxtest;

namespace {

/// Files of this process end at `bytes` as long as one lives: what the disk takes of a line is then a part, or nothing.
class FileLimit {
public:
    explicit FileLimit(rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &_former);
        rlimit limit = _former;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileLimit() { setrlimit(RLIMIT_FSIZE, &_former); }
    FileLimit(const FileLimit&) = delete;
    FileLimit& operator=(const FileLimit&) = delete;

private:
    rlimit _former{};
};

std::string line(const std::string& message) {
    return "\t" + kStamp + "\t\t" + message + "\r\n";
}

std::string simpleLine(const std::string& message) {
    return "2026-11-15\t00:49:42\t\t" + message + "\n";
}

class LogOutage : public LogTest {
protected:
    LogOutage() {
        qlx::log::setOutageObserver([this](qlx::log::OutageEvent event, const qlx::log::Outage& outage) {
            // No lock is held: it may log.
            if (event == qlx::log::OutageEvent::Began && logsOutages) {
                write("an outage");
            }
            const std::lock_guard lock(mutex);
            events.emplace_back(event, outage);
        });
    }
    ~LogOutage() override { qlx::log::setOutageObserver(nullptr); }

    /// Those of this test's files: a controller of another one may go away a little later than its test.
    [[nodiscard]] std::vector<qlx::log::Outage> underWay() const {
        std::vector<qlx::log::Outage> outages = qlx::log::status().underWay;
        std::erase_if(outages,
                      [this](const qlx::log::Outage& outage) { return !outage.path.starts_with(folder.string()); });
        return outages;
    }

    const std::string path = (folder / "Player 2026-11-15.log").string();
    const qlx::log::Status before = qlx::log::status();
    std::atomic<bool> logsOutages{false};
    std::mutex mutex;
    std::vector<std::pair<qlx::log::OutageEvent, qlx::log::Outage>> events;
};

/// Takes what the test lets it take.
class NarrowFiles : public qlx::LogFiles {
public:
    int openForAppending(const char* path) override {
        opened.emplace_back(path);
        if (openError != 0) {
            errno = openError;
            return -1;
        }
        return 5;
    }
    std::size_t append(int /*descriptor*/, std::string_view bytes) override {
        const std::size_t taken = std::min(bytes.size(), room);
        room -= taken;
        written += bytes.substr(0, taken);
        calls.push_back(bytes.size());
        errno = taken < bytes.size() ? ENOSPC : 0;
        return taken;
    }
    void close(int /*descriptor*/) override {}

    int openError = 0;
    std::size_t room = 0;
    std::string written;
    std::vector<std::size_t> calls;
    std::vector<std::string> opened;
};

}  // namespace

TEST_F(LogOutage, WritesTheRestOfATornLineFirst) {
    useDelegate();
    write("first");
    log->logSimpleMessage_toFileWithName("one", "asrun");
    log->waitUntilQueuesAreEmpty();
    {
        // Of the next line of each file ten bytes fit; of the simple log's, which is shorter, more.
        const FileLimit limit(line("first").size() + 10);
        write("second");
        write("third");
        log->logSimpleMessage_toFileWithName("two, which is longer than the limit", "asrun");
        log->logSimpleMessage_toFileWithName("three", "asrun");
        log->waitUntilQueuesAreEmpty();
        EXPECT_EQ(contentOf(path), line("first") + line("second").substr(0, 10));
    }
    write("fourth");
    log->logSimpleMessage_toFileWithName("four", "asrun");
    EXPECT_EQ(sundaysFile(), line("first") + line("second") + line("third") + line("fourth"));
    EXPECT_EQ(fileNamed("Player 2026-11-15_asrun.log"), simpleLine("one") +
                                                            simpleLine("two, which is longer than the limit") +
                                                            simpleLine("three") + simpleLine("four"));
    // Of the simple log nothing is said.
    EXPECT_EQ(console.printed(), "Error: Technical log could not be written to '" + folder.string() + "'\n");
}

TEST_F(LogOutage, IsToldToTheHost) {
    logsOutages = true;
    useDelegate();
    write("first");
    log->waitUntilQueuesAreEmpty();
    {
        const FileLimit limit(line("first").size());
        write("second");
        log->waitUntilQueuesAreEmpty();
        log->waitUntilQueuesAreEmpty();  // What the observer has logged.
        const qlx::log::Outage outage{path, EFBIG, 0};
        EXPECT_EQ(underWay(), std::vector<qlx::log::Outage>{outage});
        EXPECT_EQ(qlx::log::status().outages, before.outages + 1);
    }
    // A thread that waits for the log gives what waits one more try.
    EXPECT_EQ(sundaysFile(), line("first") + line("second") + line("an outage"));
    const qlx::log::Outage outage{path, EFBIG, 0};
    const std::lock_guard lock(mutex);
    EXPECT_EQ(events, (std::vector<std::pair<qlx::log::OutageEvent, qlx::log::Outage>>{
                          {qlx::log::OutageEvent::Began, outage}, {qlx::log::OutageEvent::Ended, outage}}));
    EXPECT_TRUE(underWay().empty());
    EXPECT_EQ(qlx::log::status().outages, before.outages + 1);
    EXPECT_EQ(qlx::log::status().linesLost, before.linesLost);
}

TEST_F(LogOutage, CountsTheLinesOfAFileThatCannotBeOpened) {
    useDelegate();
    const std::string missing = (folder / "missing").string();
    log->setTechnicalLogFolderPath(missing);
    write("lost");
    write("lost too");
    log->waitUntilQueuesAreEmpty();
    const std::string file = missing + "/Player 2026-11-15.log";
    EXPECT_EQ(underWay(), (std::vector<qlx::log::Outage>{{file, ENOENT, 2}}));
    log->setTechnicalLogFolderPath(folder.string());
    write("written");
    EXPECT_EQ(sundaysFile(), line("written"));
    const std::lock_guard lock(mutex);
    EXPECT_EQ(events, (std::vector<std::pair<qlx::log::OutageEvent, qlx::log::Outage>>{
                          {qlx::log::OutageEvent::Began, {file, ENOENT, 1}},
                          {qlx::log::OutageEvent::Ended, {file, ENOENT, 2}}}));
    EXPECT_TRUE(underWay().empty());
    EXPECT_EQ(qlx::log::status().outages, before.outages + 1);
    EXPECT_EQ(qlx::log::status().linesLost, before.linesLost + 2);
}

TEST_F(LogOutage, FailsToOpenAPipeThatNobodyReads) {
    useDelegate();
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    write("lost");
    log->waitUntilQueuesAreEmpty();
    EXPECT_EQ(console.printed(), "Error: Failed to write technical logs to '" + folder.string() + "'\n");
    EXPECT_EQ(underWay(), (std::vector<qlx::log::Outage>{{path, ENXIO, 1}}));
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    write("read");
    log->waitUntilQueuesAreEmpty();
    std::array<char, 200> bytes{};
    const ssize_t count = read(reader, bytes.data(), bytes.size());
    EXPECT_EQ(std::string(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0), line("read"));
    close(reader);
}

TEST_F(LogOutage, OfAFullPipeHoldsUpTheLogAlone) {
    // A write waits: the descriptor is no longer the one that was opened without waiting.
    class LookingFiles : public qlx::LogFiles {
    public:
        bool write(int descriptor, std::string_view bytes) override {
            const int flags = fcntl(descriptor, F_GETFL);
            EXPECT_EQ(flags & O_NONBLOCK, 0);
            EXPECT_EQ(flags & O_APPEND, O_APPEND);
            ++writes;
            return LogFiles::write(descriptor, bytes);
        }
        std::atomic<int> writes{0};
    } files;
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    useDelegate();
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    const int filler = open(path.c_str(), O_WRONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    const std::vector<char> page(4096, '.');
    std::size_t filled = 0;
    while (::write(filler, page.data(), page.size()) > 0) {
        filled += page.size();
    }
    close(filler);
    write("behind a full pipe");  // Returns: only the log's own thread waits for the reader.
    write("the next");
    const std::string expected = std::string(filled, '.') + line("behind a full pipe") + line("the next");
    std::string content;
    while (content.size() < expected.size()) {
        std::array<char, 4096> bytes{};
        const ssize_t count = read(reader, bytes.data(), bytes.size());
        content.append(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    EXPECT_EQ(content, expected);
    log->waitUntilQueuesAreEmpty();
    // The write waited, and did not fail.
    EXPECT_EQ(console.printed(), "");
    EXPECT_EQ(qlx::log::status().outages, before.outages);
    EXPECT_EQ(files.writes, 2);
    close(reader);
}

TEST_F(LogOutage, LosesWhatDoesNotFitIntoMemory) {
    std::promise<void> writing;
    std::promise<void> go;
    class HangingFiles : public qlx::LogFiles {
    public:
        HangingFiles(std::promise<void>& writing, std::future<void> go) : _writing(writing), _go(std::move(go)) {}
        bool write(int /*descriptor*/, std::string_view bytes) override {
            if (_go.valid()) {
                _writing.set_value();
                _go.get();
            }
            total += bytes.size();
            return true;
        }
        std::size_t total = 0;

    private:
        std::promise<void>& _writing;
        std::future<void> _go;
    } files(writing, go.get_future());
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    useDelegate();
    write("hangs");
    writing.get_future().wait();
    const std::string large(16 * 1024 * 1024 - 1024, 'x');
    for (int number = 0; number < 6; ++number) {
        write(large + std::to_string(number));
    }
    EXPECT_EQ(qlx::log::status().linesLost, before.linesLost + 2);
    go.set_value();
    log->waitUntilQueuesAreEmpty();
    EXPECT_EQ(files.total, line("hangs").size() + 4 * line(large + "0").size());
}

TEST(LogAppender, KeepsTheOrderWithOneCallALine) {
    NarrowFiles files;
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    qlx::log::Appender appender;
    using enum qlx::log::AppendResult;
    files.room = 3;
    EXPECT_EQ(appender.append("/a", "abcde"), WaitsFirst);
    EXPECT_EQ(appender.append("/a", "fgh"), Waits);
    EXPECT_TRUE(appender.hasWaiting());
    files.openError = ENOENT;
    EXPECT_EQ(appender.append("/a", "lost"), OpenFailed);
    files.openError = 0;
    files.room = 3;  // The rest of the first, and a part of the second.
    appender.retry();
    EXPECT_EQ(files.written, "abcdef");
    files.room = 100;
    files.calls.clear();
    EXPECT_EQ(appender.append("/a", "ij"), Written);
    EXPECT_EQ(files.written, "abcdefghij");
    EXPECT_EQ(files.calls, (std::vector<std::size_t>{2, 2}));
    EXPECT_FALSE(appender.hasWaiting());
    files.room = 0;
    EXPECT_EQ(appender.append("/a", "k"), WaitsFirst) << "an outage of its own";
    files.room = 100;
    EXPECT_EQ(appender.append("/b", "l"), Written);
    EXPECT_EQ(files.written, "abcdefghijkl") << "what waits for another file is tried first";
}

TEST(LogAppender, TriesOneFileInVainForEachText) {
    NarrowFiles files;
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    qlx::log::Appender appender;
    constexpr int kFiles = 100;
    std::vector<std::string> paths;
    for (int number = 0; number < kFiles; ++number) {
        paths.push_back("/" + std::to_string(100 + number));
        appender.append(paths.back(), "x");
    }
    EXPECT_EQ(files.opened.size(), 2U * kFiles - 1) << "of the first text there is no other file yet";
    // Each has its turn once.
    files.opened.clear();
    for (int number = 0; number < kFiles; ++number) {
        appender.append("/z", "y");
    }
    std::sort(files.opened.begin(), files.opened.end());
    std::vector<std::string> expected = paths;
    expected.insert(expected.end(), kFiles, "/z");
    EXPECT_EQ(files.opened, expected);
    // Once they take bytes again they need no turns.
    files.room = 1000;
    files.opened.clear();
    EXPECT_EQ(appender.append("/z", "z"), qlx::log::AppendResult::Written);
    EXPECT_EQ(files.opened.size(), kFiles + 1U);
    EXPECT_EQ(files.written, std::string(kFiles, 'x') + std::string(kFiles, 'y') + "z");
    EXPECT_FALSE(appender.hasWaiting());
}

TEST(LogAppender, EndsTheOutageOfAFailedOpenBesideFilesThatWait) {
    NarrowFiles files;
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    qlx::log::Appender appender;
    const auto isOut = [](const std::string& path) {
        const auto outages = qlx::log::status().underWay;
        return std::any_of(outages.begin(), outages.end(), [&](const auto& outage) { return outage.path == path; });
    };
    appender.append("/waits", "one");
    files.openError = ENOENT;
    EXPECT_EQ(appender.append("/missing", "lost"), qlx::log::AppendResult::OpenFailed);
    EXPECT_EQ(appender.append("/missing", "lost"), qlx::log::AppendResult::OpenFailed);
    EXPECT_TRUE(isOut("/missing"));
    EXPECT_EQ(appender.append("/waits", "lost as well"), qlx::log::AppendResult::OpenFailed);
    EXPECT_FALSE(isOut("/missing")) << "it gets no further line";
    EXPECT_TRUE(isOut("/waits"));
}

TEST(LogAppender, KeepsFourMegabytes) {
    const std::uint64_t lost = qlx::log::status().linesLost;
    NarrowFiles files;
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    qlx::log::Appender appender;
    const std::string half(qlx::log::kMaxWaiting / 2, 'h');
    appender.append("/a", half);
    appender.append("/b", half);
    appender.append("/a", "!");
    EXPECT_EQ(qlx::log::status().linesLost, lost + 1);
    files.room = 1;
    appender.append("/c", "torn");  // Its "t" is taken by what waits: the room goes there first.
    EXPECT_EQ(qlx::log::status().linesLost, lost + 2);
    files.room = 2 * half.size();
    appender.retry();
    EXPECT_EQ(files.written, half + half);
    EXPECT_FALSE(appender.hasWaiting());
}

TEST(LogAppender, TakesAHostsWordForWhatItWrote) {
    // A service of before append() came: false, and nobody knows more.
    class Refusing : public qlx::LogFiles {
    public:
        int openForAppending(const char* /*path*/) override { return 5; }
        bool write(int /*descriptor*/, std::string_view bytes) override {
            if (refuses) {
                return false;
            }
            written += bytes;
            return true;
        }
        void close(int /*descriptor*/) override {}
        bool refuses = true;
        std::string written;
    } files;
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    qlx::log::Appender appender;
    EXPECT_EQ(appender.append("/a", "one"), qlx::log::AppendResult::WaitsFirst);
    files.refuses = false;
    EXPECT_EQ(appender.append("/a", "two"), qlx::log::AppendResult::Written);
    EXPECT_EQ(files.written, "onetwo");
}

TEST(LogAppender, EndsItsOutagesWithItself) {
    const qlx::log::Status before = qlx::log::status();
    NarrowFiles files;
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    {
        qlx::log::Appender appender;
        appender.append("/of an appender", "one");
        appender.append("/of an appender", "two");
    }
    EXPECT_EQ(qlx::log::status().linesLost, before.linesLost + 2);
    for (const qlx::log::Outage& outage : qlx::log::status().underWay) {
        EXPECT_NE(outage.path, "/of an appender");
    }
}

TEST(LogAppender, WritesTheRestOfALineFirstThatAnotherLogHasTorn) {
    const std::uint64_t lost = qlx::log::status().linesLost;
    NarrowFiles files;
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    qlx::log::Appender other;
    {
        qlx::log::Appender first;
        files.room = 3;
        first.append("/shared", "abcde");
        files.room = 1;
        other.append("/shared", "fgh");
        EXPECT_EQ(files.written, "abcd") << "of the rest as well, a part";
        files.room = 0;
    }
    EXPECT_TRUE(other.hasWaiting());
    files.room = 100;
    EXPECT_EQ(other.append("/shared", "ij"), qlx::log::AppendResult::Written);
    EXPECT_EQ(files.written, "abcdefghij");
    EXPECT_FALSE(other.hasWaiting());
    EXPECT_EQ(qlx::log::status().linesLost, lost);
}

TEST(LogAppender, TriesOnceMoreWhenItGoes) {
    const std::uint64_t lost = qlx::log::status().linesLost;
    NarrowFiles files;
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    {
        qlx::log::Appender appender;
        appender.append("/a", "one");
        files.room = 100;
    }
    EXPECT_EQ(files.written, "one");
    EXPECT_EQ(qlx::log::status().linesLost, lost);
}

TEST(LogAppender, EndsNoOutageOfALineThatFoundNoRoomWhileOthersWait) {
    NarrowFiles files;
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    qlx::log::Appender appender;
    const auto isOut = [](const std::string& path) {
        const auto outages = qlx::log::status().underWay;
        return std::any_of(outages.begin(), outages.end(), [&](const auto& outage) { return outage.path == path; });
    };
    appender.append("/full a", std::string(qlx::log::kMaxWaiting, 'a'));
    appender.append("/full b", "lost");
    appender.append("/full c", "lost as well");
    EXPECT_TRUE(isOut("/full b")) << "the disk is as full as before";
    files.room = 2 * qlx::log::kMaxWaiting;
    EXPECT_EQ(appender.append("/full c", "taken"), qlx::log::AppendResult::Written);
    EXPECT_FALSE(isOut("/full a") || isOut("/full b") || isOut("/full c"));
}

TEST(LogOutages, TakeTimeThatGrowsWithTheirNumber) {
    const qlx::log::Status before = qlx::log::status();
    constexpr std::size_t kFewest = 250;
    std::vector<std::string> paths(16 * kFewest);
    for (std::size_t place = 0; place < paths.size(); ++place) {
        paths[place] = "/outages/" + std::to_string(place);
    }
    std::uint64_t begun = 0;
    const double growth = qlxtest::growthOfSixteenTimes(kFewest, [&](std::size_t count) {
        for (std::size_t place = 0; place < count; ++place) {
            qlx::log::beginOutage({paths[place], ENOSPC, 0});
        }
        for (std::size_t place = count; place-- > 0;) {
            qlx::log::loseLine(paths[place]);
            qlx::log::loseLine(paths[place]);
        }
        EXPECT_EQ(qlx::log::status().underWay.back(), (qlx::log::Outage{paths[count - 1], ENOSPC, 2}));
        for (std::size_t place = count; place-- > 0;) {
            qlx::log::endOutage(paths[place]);
        }
        begun += count;
    });
    EXPECT_LT(growth, qlxtest::kGreatestLinearGrowth);
    const qlx::log::Status after = qlx::log::status();
    EXPECT_EQ(after.outages, before.outages + begun);
    EXPECT_EQ(after.linesLost, before.linesLost + 2 * begun);
    EXPECT_EQ(after.underWay, before.underWay);
}

TEST(LogOutages, OfTheSamePathEndOneAfterTheOther) {
    const auto mine = [] {
        std::vector<qlx::log::Outage> outages = qlx::log::status().underWay;
        std::erase_if(outages, [](const qlx::log::Outage& outage) { return outage.path != "/outages/two"; });
        return outages;
    };
    using Outages = std::vector<qlx::log::Outage>;
    qlx::log::beginOutage({"/outages/two", ENOSPC, 1});
    qlx::log::beginOutage({"/outages/two", EIO, 0});
    qlx::log::loseLine("/outages/two");
    EXPECT_EQ(mine(), (Outages{{"/outages/two", ENOSPC, 2}, {"/outages/two", EIO, 0}}));
    qlx::log::endOutage("/outages/two");
    EXPECT_EQ(mine(), (Outages{{"/outages/two", EIO, 0}}));
    qlx::log::endOutage("/outages/two");
    EXPECT_TRUE(mine().empty());
    qlx::log::endOutage("/outages/two");
}
