// The shared controller, and what it writes when its process ends. Each check runs in a child of the test.
#include "LogFixture.h"
#include "ThreadState.h"

#include "log/LogState.h"

#include <cstdlib>
#include <future>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

using namespace qlxtest;

namespace {

constexpr int kLines = 2'000;

std::string expectedLines() {
    std::string expected;
    for (int number = 0; number < kLines; ++number) {
        expected += "\t" + kStamp + "\t\t" + std::to_string(number) + "\r\n";
    }
    return expected;
}

/// Every service that the shared controller needs until the end of the process.
struct Host {
    Host() {
        qlx::services().set<qlx::Clock>(&clock);
        qlx::services().set<qlx::TimeZone>(&zone);
        qlx::services().set<qlx::WeekdayNames>(&names);
        qlx::services().set<qlx::Application>(&application);
        qlx::services().set<qlx::UserDefaults>(&defaults);
    }
    TestClock clock;
    TestZone zone;
    EnglishNames names;
    TestApplication application;
    qlx::UserDefaults defaults;
    std::shared_ptr<QLXLogControllerDelegate> delegate = std::make_shared<QLXLogControllerDelegate>();
};

std::filesystem::path exitFolder() {
    const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
    return std::filesystem::path(testing::TempDir()) / (std::string("qlx_log_exit_") + test->name());
}

/// A host that logs `count` lines.
Host& startHost(int count) {
    auto* const host = new Host;
    host->defaults.setValue("technicalLogFolderPath", exitFolder().string());
    const auto log = QLXLogController::sharedLogController();
    log->setLogDelegate(host->delegate);
    for (int number = 0; number < count; ++number) {
        log->logMessage_level_show(std::to_string(number), 2, false);
    }
    return *host;
}

[[noreturn]] void logAndExit() {
    startHost(kLines);
    std::exit(0);
}

/// An object that is older than the log, and so is destroyed behind the log's own work at exit, logs to the last.
[[noreturn]] void logFromADestructor() {
    struct Late {
        ~Late() {
            for (int number = 0; number < kLines; ++number) {
                QLXLogController::sharedLogController()->logMessage_level_show(std::to_string(number), 2, false);
            }
        }
    };
    static const Late late;
    startHost(0);
    std::exit(0);
}

/// The process ends on one of the log's own queues.
[[noreturn]] void exitFromTheLog() {
    auto* const host = new Host;
    host->defaults.setValue("technicalLogFolderPath", exitFolder().string());
    const auto log = QLXLogController::sharedLogController();
    static std::atomic<bool> accepted{false};
    host->delegate->initialLogMessage = [] {
        accepted.wait(false);
        std::exit(0);
        return std::string();
    };
    log->setLogDelegate(host->delegate);
    log->logMessage_level_show("has no line: it ends the process", 2, false);
    for (int number = 0; number < kLines; ++number) {
        log->logMessage_level_show(std::to_string(number), 2, false);
    }
    accepted = true;
    accepted.notify_all();
    while (true) {
        std::this_thread::sleep_for(std::chrono::hours(1));
    }
}

/// The process ends in a file of the host.
[[noreturn]] void exitFromAFile() {
    static std::atomic<bool> accepted{false};
    class EndingFiles : public qlx::LogFiles {
    public:
        bool write(int descriptor, std::string_view bytes) override {
            if (bytes.find("ends") != std::string_view::npos) {
                accepted.wait(false);
                std::exit(0);
            }
            return LogFiles::write(descriptor, bytes);
        }
    };
    qlx::services().set<qlx::LogFiles>(new EndingFiles);
    startHost(0);
    const auto log = QLXLogController::sharedLogController();
    log->logMessage_level_show("ends the process", 2, false);
    for (int number = 0; number < kLines; ++number) {
        log->logMessage_level_show(std::to_string(number), 2, false);
    }
    accepted = true;
    accepted.notify_all();
    while (true) {
        std::this_thread::sleep_for(std::chrono::hours(1));
    }
}

/// No thread is left to write the lines but the one that ends the process.
[[noreturn]] void exitWithoutBackgroundThreads() {
    class DeadQueue : public qlx::BackgroundQueue {
    public:
        void async(qlx::Task /*task*/) override {}
    };
    qlx::services().set<qlx::BackgroundQueue>(new DeadQueue);
    logAndExit();
}

/// A forked child ends while the parent's lines are held up, and the parent after it.
[[noreturn]] void forkAndExit() {
    static std::atomic<bool> open{false};
    static bool isChild = false;
    // Runs after the log's own work at exit, and before a leak check, which misses the threads of the parent.
    std::atexit([] {
        if (isChild) {
            _exit(7);
        }
    });
    class Gate : public qlx::LogFiles {
    public:
        int openForAppending(const char* path) override {
            open.wait(false);
            return LogFiles::openForAppending(path);
        }
    };
    qlx::services().set<qlx::LogFiles>(new Gate);
    startHost(kLines);
    const pid_t child = qlxtest::forkAtRest();
    if (child == 0) {
        isChild = true;
        std::exit(1);
    }
    int status = 0;
    const bool ended = waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 7;
    open = true;
    open.notify_all();
    std::exit(ended ? 0 : 1);
}

/// The process ends while a write does not come back.
[[noreturn]] void exitWhileAWriteHangs() {
    qlx::log::setPatienceAtEnd(std::chrono::milliseconds(8));
    static std::promise<void> writing;
    class HangingFiles : public qlx::LogFiles {
    public:
        bool write(int descriptor, std::string_view bytes) override {
            if (bytes.find("hangs") != std::string_view::npos) {
                writing.set_value();
                while (true) {
                    std::this_thread::sleep_for(std::chrono::hours(1));
                }
            }
            return LogFiles::write(descriptor, bytes);
        }
    };
    qlx::services().set<qlx::LogFiles>(new HangingFiles);
    // Destroyed behind the log's own work: it does not wait once more.
    struct Late {
        ~Late() { QLXLogController::sharedLogController()->logMessage_level_show("late", 2, false); }
    };
    static const Late late;
    startHost(kLines);
    QLXLogController::sharedLogController()->waitUntilQueuesAreEmpty();
    QLXLogController::sharedLogController()->logMessage_level_show("hangs", 2, false);
    writing.get_future().wait();
    std::exit(0);
}

/// A forked child writes what it has logged itself.
[[noreturn]] void exitFromAChild() {
    startHost(1);
    QLXLogController::sharedLogController()->waitUntilQueuesAreEmpty();
    const pid_t child = qlxtest::forkAtRest();
    if (child == 0) {
        QLXLogController::sharedLogController()->logMessage_level_show("child", 2, false);
        std::exit(0);
    }
    int status = 0;
    const bool ended = waitpid(child, &status, 0) == child && WIFEXITED(status);
    std::exit(ended ? 0 : 1);
}

class LogExit : public testing::Test {
protected:
    LogExit() {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        std::filesystem::create_directories(exitFolder());
    }
    ~LogExit() override { std::filesystem::remove_all(exitFolder()); }
    static std::string written() { return contentOf(exitFolder() / "Player 2026-11-15.log"); }
};

}  // namespace

TEST_F(LogExit, WritesWhatIsLoggedBehindItsOwnWork) {
    EXPECT_EXIT(logFromADestructor(), testing::ExitedWithCode(0), "");
    EXPECT_EQ(written(), expectedLines());
}

TEST_F(LogExit, WritesWhatWasAccepted) {
    EXPECT_EXIT(logAndExit(), testing::ExitedWithCode(0), "");
    EXPECT_EQ(written(), expectedLines());
}

TEST_F(LogExit, WritesWithoutBackgroundThreads) {
    EXPECT_EXIT(exitWithoutBackgroundThreads(), testing::ExitedWithCode(0), "");
    EXPECT_EQ(written(), expectedLines());
}

TEST_F(LogExit, WritesWhenTheLogsOwnThreadEndsTheProcess) {
    EXPECT_EXIT(exitFromTheLog(), testing::ExitedWithCode(0), "");
    EXPECT_EQ(written(), expectedLines());
}

TEST_F(LogExit, WritesWhenAFileOfTheHostEndsTheProcess) {
    EXPECT_EXIT(exitFromAFile(), testing::ExitedWithCode(0), "");
    EXPECT_EQ(written(), expectedLines());
}

TEST_F(LogExit, LeavesTheLinesOfAForkedChildToItsParent) {
    EXPECT_EXIT(forkAndExit(), testing::ExitedWithCode(0), "");
    EXPECT_EQ(written(), expectedLines());
}

TEST_F(LogExit, DoesNotWaitForAWriteThatHangs) {
    EXPECT_EXIT(exitWhileAWriteHangs(), testing::ExitedWithCode(0), "");
    EXPECT_EQ(written(), expectedLines());
}

TEST_F(LogExit, WritesWhatAForkedChildHasLogged) {
    EXPECT_EXIT(exitFromAChild(), testing::ExitedWithCode(0), "");
    EXPECT_EQ(written(), "\t" + kStamp + "\t\t0\r\n\t" + kStamp + "\t\tchild\r\n");
}
