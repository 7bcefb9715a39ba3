// A process that forks: the child's log is its own. Each check runs in a child of the test.
#include "LogFixture.h"

#include "ThreadState.h"
#include "platform/Process.h"

#include <QLXClosedCaptionsUtilities/QLXSRTFileReader.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>

#include <cstdlib>
#include <fstream>
#include <future>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

using namespace qlxtest;

namespace {

/// The exit code of a child that does `work`, 7 if that went well; -1 if it ended otherwise. It leaves without a leak
/// check, which misses the threads of the parent.
template <class Work>
int codeOfChild(Work work, pid_t (*makeChild)() = forkAtRest) {
    const pid_t child = makeChild();
    if (child == 0) {
        _exit(work() ? 7 : 1);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Loses every task.
class DeadQueue : public qlx::BackgroundQueue {
public:
    void async(qlx::Task /*task*/) override {}
};

class LogFork : public LogTest {};

std::string line(const std::string& message) {
    return "\t" + kStamp + "\t\t" + message + "\r\n";
}

}  // namespace

TEST_F(LogFork, LeavesToTheParentWhatTheParentHasQueued) {
    std::promise<void> writing;
    std::promise<void> go;
    class Gate : public qlx::LogFiles {
    public:
        Gate(std::promise<void>& writing, std::future<void> go) : _writing(writing), _go(std::move(go)) {}
        bool write(int descriptor, std::string_view bytes) override {
            if (std::exchange(_isFirst, false)) {
                _writing.set_value();
                _go.get();
            }
            return LogFiles::write(descriptor, bytes);
        }

    private:
        std::promise<void>& _writing;
        std::future<void> _go;
        bool _isFirst = true;
    } files(writing, go.get_future());
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    useDelegate();
    write("parent 1");  // Held up in the file's write, and the next in the queue.
    writing.get_future().wait();
    write("parent 2");
    EXPECT_EQ(codeOfChild([this] {
                  write("child");
                  log->waitUntilQueuesAreEmpty();
                  return true;
              }),
              7);
    EXPECT_EQ(contentOf(folder / "Player 2026-11-15.log"), line("child"));
    go.set_value();
    EXPECT_EQ(sundaysFile(), line("child") + line("parent 1") + line("parent 2"));
}

TEST_F(LogFork, LeavesToTheParentItsRepeats) {
    useDelegate();
    for (const char* message : {"first", "same", "same", "same"}) {
        write(message);
    }
    log->waitUntilQueuesAreEmpty();
    EXPECT_EQ(codeOfChild([this] {
                  write("child");
                  log->waitUntilQueuesAreEmpty();
                  return true;
              }),
              7);
    write("parent");
    EXPECT_EQ(sundaysFile(), line("first") + line("same") + line("child") +
                                 line("--- last message repeated 2 times ---") + line("parent"));
}

TEST_F(LogFork, WritesInAChildWhoseParentHoldsTheLogsLocks) {
    // Another thread stands in a display method, which holds the delegate's lock, and in a change of a setting.
    std::promise<void> displaying;
    std::promise<void> observing;
    std::promise<void> go;
    const std::shared_future<void> gone = go.get_future().share();
    delegate->displayLogWithInfoDict = [&](const qlx::Dictionary& info) {
        if (info.find("message")->stringValue() == "parent") {
            displaying.set_value();
            gone.wait();
        }
    };
    defaults.addObserver("volume", [&](const std::string&, const qlx::Value& value) {
        if (value.integerValue() == 1) {
            observing.set_value();
            gone.wait();
        }
    });
    useDelegate();
    std::thread shower([this] { log->logMessage_level_show("parent", 2, true); });
    std::thread setter([this] { defaults.setValue("volume", 1); });
    displaying.get_future().wait();
    observing.get_future().wait();
    EXPECT_EQ(codeOfChild([this] {
                  log->logMessage_level_show("child", 2, true);
                  defaults.setValue("technicalLogLevel", 5);
                  log->logMessage_level_show("child, verbose", 5, true);
                  log->waitUntilQueuesAreEmpty();
                  return true;
              }),
              7);
    go.set_value();
    shower.join();
    setter.join();
    EXPECT_EQ(sundaysFile(), line("child") + line("child, verbose") + line("parent"));
}

TEST_F(LogFork, ForksInADisplayMethod) {
    int code = -1;
    bool isChild = false;
    delegate->displayLogWithInfoDict = [&](const qlx::Dictionary& info) {
        if (info.find("message")->stringValue() != "forks") {
            return;
        }
        const pid_t child = forkAtRest();
        isChild = child == 0;
        if (!isChild) {
            int status = 0;
            code = waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        }
    };
    useDelegate();
    write("first");
    log->waitUntilQueuesAreEmpty();
    log->logMessage_level_show("forks", 2, true);
    if (isChild) {
        log->logMessage_level_show("child", 2, true);
        log->waitUntilQueuesAreEmpty();
        _exit(3);
    }
    EXPECT_EQ(code, 3);
    EXPECT_EQ(sundaysFile(), line("first") + line("forks") + line("child") + line("forks"));
}

TEST_F(LogFork, ForksOnTheLogsOwnThread) {
    // The threads that lend the log a hand are its own.
    DeadQueue background;
    const qlx::ScopedService<qlx::BackgroundQueue> scope(background);
    int code = -1;
    bool isFirst = true;
    const pid_t parent = getpid();
    delegate->initialLogMessage = [&] {
        if (!std::exchange(isFirst, false)) {
            return std::string();
        }
        const pid_t child = forkAtRest();
        if (child == 0) {
            return std::string("header of a line that is the parent's");
        }
        int status = 0;
        code = waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return std::string();
    };
    useDelegate();
    write("parent 1");
    write("parent 2");
    log->waitUntilQueuesAreEmpty();  // The child comes out of here too.
    if (getpid() != parent) {
        write("child");
        log->waitUntilQueuesAreEmpty();
        _exit(3);
    }
    EXPECT_EQ(sundaysFile(), line("child") + line("parent 1") + line("parent 2"));
    EXPECT_EQ(code, 3);
}

TEST_F(LogFork, ReadsInTheBackgroundOfTheChild) {
    const std::filesystem::path path = folder / "a.srt";
    std::ofstream(path) << "1\n00:00:01,000 --> 00:00:02,000\ntext\n";
    qlx::MainQueue main;
    const qlx::ScopedService<qlx::MainQueue> scope(main);
    const auto reads = [&] {
        std::size_t count = 0;
        QLXSRTFileReader::subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration_withCompletionHandler(
            path.string(), 2, 0.04, [&](const std::vector<std::shared_ptr<QLXSubtitleRecord>>& records) {
                count = records.size();
                main.stop();
            });
        main.run();
        return count == 1;
    };
    ASSERT_TRUE(reads());  // The parent's threads have started.
    // Neither a task nor a thread of the parent's is the child's.
    main.post([] { std::abort(); });
    EXPECT_EQ(codeOfChild(reads), 7);
}

TEST(SystemCallLock, IsWaitedForByForksAndHeldForTheTimeZone) {
    // A child would find the system's lock of the time zone locked for ever.
    const long self = qlxtest::threadNumber();
    std::atomic<long> reader{0};
    std::atomic<bool> isRead{false};
    std::atomic<bool> hasForked{false};
    std::promise<void> locked;
    std::atomic<bool> isFree{false};
    std::thread holder([&] {
        const qlx::SystemCallLock lock;
        locked.set_value();
        while (!hasForked && !isRead && (reader == 0 || !qlxtest::isAsleep(reader) || !qlxtest::isAsleep(self))) {
            std::this_thread::yield();
        }
        isFree = true;
    });
    locked.get_future().wait();
    std::thread zone([&] {
        reader = qlxtest::threadNumber();
        (void)qlx::TimeZone::defaultInstance().localTime({});
        EXPECT_TRUE(isFree);
        isRead = true;
    });
    EXPECT_EQ(codeOfChild([&] { return isFree.load(); }, fork), 7);
    hasForked = true;
    holder.join();
    zone.join();
}

TEST(MainQueueFork, LeavesToTheParentWhatItHandsOver) {
    qlx::MainQueue queue;
    std::vector<int> ran;
    const auto post = [&](int number) { queue.post([&ran, number] { ran.push_back(number); }); };
    post(1);
    post(2);
    pid_t child = -1;
    queue.setPoster([&](const qlx::Task& task) {
        if (child < 0) {
            child = forkAtRest();
            if (child == 0) {
                post(4);
            }
        }
        task();
    });
    post(3);
    if (child == 0) {
        _exit(ran == std::vector<int>{1, 4, 3} ? 7 : 1);
    }
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 3}));
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7);
}
