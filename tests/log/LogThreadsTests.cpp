// Many threads log while the host changes everything around them.
#include "LogFixture.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <future>
#include <latch>
#include <map>
#include <string_view>
#include <thread>

using namespace qlxtest;

namespace {

constexpr int kThreads = 8;
constexpr int kMessages = 500;

using LogThreads = LogTest;

/// Runs `work(thread)` on 8 threads that start together.
template <typename Work>
void onAllThreads(Work work) {
    std::latch start(kThreads);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&start, &work, thread] {
            start.arrive_and_wait();
            work(thread);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// The messages of a technical log file, without what stands around them; fails on a line that is torn.
std::vector<std::string> messagesIn(const std::string& file) {
    std::vector<std::string> messages;
    for (std::size_t start = 0; start < file.size();) {
        const std::size_t end = file.find("\r\n", start);
        if (end == std::string::npos) {
            ADD_FAILURE() << "a line without an end";
            break;
        }
        std::string_view line = std::string_view(file).substr(start, end - start);
        start = end + 2;
        const std::string head = "\t" + kStamp + "\t\t";
        if (!line.starts_with(head)) {
            ADD_FAILURE() << "torn: " << line;
            continue;
        }
        line.remove_prefix(head.size());
        messages.emplace_back(line);
    }
    return messages;
}

std::string messageText(int thread, int number) {
    return std::to_string(thread) + ":" + std::to_string(number) + ":" + std::string(50, 'x');
}

/// Checks that each thread's numbers rise; gives how many messages each thread has.
std::map<int, int> checkOrder(const std::vector<std::string>& messages) {
    std::map<int, int> last;
    std::map<int, int> count;
    for (const std::string& message : messages) {
        const int thread = message.front() - '0';
        const int number = static_cast<int>(qlx::integerValue(message.substr(2)));
        EXPECT_EQ(message, messageText(thread, number));
        EXPECT_TRUE(count[thread] == 0 || last[thread] < number) << message;
        last[thread] = number;
        ++count[thread];
    }
    return count;
}

std::map<int, int> allMessagesOfAllThreads() {
    std::map<int, int> count;
    for (int thread = 0; thread < kThreads; ++thread) {
        count[thread] = kMessages;
    }
    return count;
}

}  // namespace

TEST_F(LogThreads, LoseNothingAndKeepTheirOrder) {
    std::atomic<int> shown{0};
    delegate->displayLogWithInfoDict = [&shown](const qlx::Dictionary&) { ++shown; };
    useDelegate();
    onAllThreads([this](int thread) {
        for (int number = 0; number < kMessages; ++number) {
            log->logMessage_level_show(messageText(thread, number), 2, number % 2 == 0);
        }
    });
    EXPECT_EQ(checkOrder(messagesIn(sundaysFile())), allMessagesOfAllThreads());
    EXPECT_EQ(shown, kThreads * kMessages / 2);
}

TEST_F(LogThreads, LogWhileDelegateLevelAndFolderChange) {
    const std::array<std::string, 2> folders{folder.string(), (folder / "other").string()};
    std::filesystem::create_directory(folders[1]);
    std::atomic<int> shown{0};
    const auto makeDelegate = [&shown] {
        auto made = std::make_shared<QLXLogControllerDelegate>();
        made->displayLogWithInfoDict = [&shown](const qlx::Dictionary&) { ++shown; };
        made->initialLogMessage = [] { return std::string(); };
        return made;
    };
    std::shared_ptr<QLXLogControllerDelegate> current = makeDelegate();
    log->setLogDelegate(current);
    std::atomic<bool> done{false};
    std::thread host([&] {
        for (int round = 0; !done.load(); ++round) {
            // Never without a delegate, and never below level 2: every line is accepted for a file.
            auto next = makeDelegate();
            log->setLogDelegate(next);
            current = std::move(next);
            defaults.setValue("technicalLogLevel", 2 + round % 3);
            defaults.setValue("technicalLogFolderPath", folders[static_cast<std::size_t>(round) % 2]);
            log->setCanCleanupOldTechnicalLogFiles(round % 4 != 0);
            std::this_thread::yield();
        }
    });
    onAllThreads([this](int thread) {
        for (int number = 0; number < kMessages; ++number) {
            log->logMessage_level_show(messageText(thread, number), 2, true);
        }
    });
    done = true;
    host.join();
    log->waitUntilQueuesAreEmpty();
    EXPECT_EQ(shown, kThreads * kMessages);
    std::map<int, int> total;
    for (const std::string& path : folders) {
        for (const auto& [thread, count] :
             checkOrder(messagesIn(contentOf(std::filesystem::path(path) / "Player 2026-11-15.log")))) {
            total[thread] += count;
        }
    }
    EXPECT_EQ(total, allMessagesOfAllThreads());
}

TEST_F(LogThreads, LoseNothingWhenTheFirstDelegateComesBetweenTheirMessages) {
    // Few enough messages that none of the pending ones is dropped.
    constexpr int kFew = 2;
    for (int round = 0; round < 50; ++round) {
        log->waitUntilQueuesAreEmpty();
        std::filesystem::remove_all(folder);
        std::filesystem::create_directory(folder);
        log = std::make_shared<QLXLogController>();
        std::thread host([this] { useDelegate(); });
        onAllThreads([this](int thread) {
            for (int number = 0; number < kFew; ++number) {
                log->logMessage_level_show(messageText(thread, number), 2, false);
            }
        });
        host.join();
        std::map<int, int> expected;
        for (int thread = 0; thread < kThreads; ++thread) {
            expected[thread] = kFew;
        }
        ASSERT_EQ(checkOrder(messagesIn(sundaysFile())), expected);
    }
}

TEST_F(LogThreads, LogWhileTheDelegateIsRemovedAndDestroyed) {
    std::atomic<int> shown{0};
    const auto show = [&shown](const qlx::Dictionary&) { ++shown; };
    // From here on nothing is pending. It shows as well: messages may come before the host's first change.
    delegate->displayLogWithInfoDict = show;
    useDelegate();
    std::atomic<bool> done{false};
    std::thread host([&] {
        for (int round = 0; !done.load(); ++round) {
            auto next = std::make_shared<QLXLogControllerDelegate>();
            next->displayLogWithInfoDict = show;
            log->setLogDelegate(next);
            std::this_thread::yield();
            if (round % 2 == 0) {
                log->setLogDelegate(nullptr);
            }
            next.reset();
        }
    });
    onAllThreads([this](int thread) {
        for (int number = 0; number < kMessages; ++number) {
            log->logMessage_level_show(messageText(thread, number), 2, true);
        }
    });
    done = true;
    host.join();
    const std::vector<std::string> messages = messagesIn(sundaysFile());
    checkOrder(messages);
    // What was shown was written, the rest was printed.
    EXPECT_EQ(messages.size(), static_cast<std::size_t>(shown));
    const std::string printed = console.printed();
    const auto lines = static_cast<std::size_t>(std::count(printed.begin(), printed.end(), '\n'));
    EXPECT_EQ(messages.size() + lines, static_cast<std::size_t>(kThreads * kMessages));
}

TEST_F(LogThreads, ShareOneControllerFromTheFirstCallOn) {
    std::array<std::shared_ptr<QLXLogController>, kThreads> found;
    onAllThreads(
        [&found](int thread) { found[static_cast<std::size_t>(thread)] = QLXLogController::sharedLogController(); });
    for (const auto& controller : found) {
        EXPECT_NE(controller, nullptr);
        EXPECT_EQ(controller, found[0]);
    }
    EXPECT_EQ(found[0]->technicalLogFolderPath(), folder.string());
}

TEST_F(LogThreads, WriteSimpleLogsAndReadProperties) {
    useDelegate();
    onAllThreads([this](int thread) {
        for (int number = 0; number < kMessages; ++number) {
            log->logSimpleMessage_toFileWithName(messageText(thread, number), "asrun");
            log->setLastTechnicalLogMessage(log->lastTechnicalLogMessage());
            log->setLastTechnicalLogFilePath(log->lastTechnicalLogFilePath());
            log->setLogPrefix(log->logPrefix());
            log->setTechnicalLogFolderPath(log->technicalLogFolderPath());
            log->setTechnicalLogLevel(log->technicalLogLevel());
        }
    });
    const std::string file = fileNamed("Player 2026-11-15_asrun.log");
    std::vector<std::string> messages;
    const std::string head = "2026-11-15\t00:49:42\t\t";
    for (std::size_t start = 0; start < file.size();) {
        const std::size_t end = file.find('\n', start);
        ASSERT_NE(end, std::string::npos);
        const std::string line = file.substr(start, end - start);
        ASSERT_TRUE(line.starts_with(head)) << line;
        messages.push_back(line.substr(head.size()));
        start = end + 1;
    }
    EXPECT_EQ(checkOrder(messages), allMessagesOfAllThreads());
}

TEST_F(LogThreads, NeverWriteALineBehindALaterOne) {
    // Each reading is a second later than the one before, and what has read the clock lets the others go first.
    class CountingClock : public qlx::Clock {
    public:
        std::chrono::system_clock::time_point now() override {
            const std::int64_t reading = _reading++;
            for (int turn = 0; turn < 3; ++turn) {
                std::this_thread::yield();
            }
            return std::chrono::system_clock::time_point(std::chrono::seconds(kSundayNight + reading));
        }

    private:
        std::atomic<std::int64_t> _reading{0};
    } counting;
    const qlx::ScopedService<qlx::Clock> scope(counting);
    useDelegate();
    // Few: where the machine is busy a thread that lets others go first is not at work for a long time.
    constexpr int kFew = 25;
    onAllThreads([this](int thread) {
        for (int number = 0; number < kFew; ++number) {
            log->writeStringToTechnicalLog_isProblem_logLevel_show(messageText(thread, number), false, 2, false);
        }
    });
    const std::string file = sundaysFile();
    EXPECT_EQ(std::count(file.begin(), file.end(), '\n'), kThreads * kFew);
    std::string last;
    for (std::size_t start = 0; start < file.size(); start = file.find('\n', start) + 1) {
        const std::string stamp = file.substr(start, std::string_view("\t2026-11-15\t00:49:42").size());
        ASSERT_LE(last, stamp);
        last = stamp;
    }
}

TEST_F(LogThreads, AreNotHeldUpByOtherWork) {
    class TellingFiles : public qlx::LogFiles {
    public:
        void close(int descriptor) override {
            LogFiles::close(descriptor);
            if (!_isWritten.exchange(true)) {
                written.set_value();
            }
        }
        std::promise<void> written;

    private:
        std::atomic<bool> _isWritten{false};
    } files;
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    // Reads that hang, more of them than there are threads.
    std::promise<void> go;
    const std::shared_future<void> gone = go.get_future().share();
    std::latch done(16);
    for (int read = 0; read < 16; ++read) {
        qlx::services().get<qlx::BackgroundQueue>().async([gone, &done] {
            gone.wait();
            done.count_down();
        });
    }
    useDelegate();
    write("meanwhile");
    files.written.get_future().wait();  // Nobody lends a hand: a log that waited for the reads would hang here.
    EXPECT_EQ(contentOf(folder / "Player 2026-11-15.log"), "\t" + kStamp + "\t\tmeanwhile\r\n");
    go.set_value();
    done.wait();
}
