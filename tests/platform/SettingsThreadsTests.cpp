// Observers of settings while several threads change them.
#include <QLXClosedCaptionsUtilities/QLXLogController.h>
#include <QLXClosedCaptionsUtilities/QLXLogControllerDelegate.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include "ThreadState.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

TEST(SettingsThreads, AreNotHeldUpByAnObserver) {
    qlx::UserDefaults defaults;
    std::promise<void> calling;
    std::promise<void> go;
    std::vector<std::int64_t> seen;  // One call at a time.
    defaults.addObserver("level", [&](const std::string&, const qlx::Value& value) {
        seen.push_back(value.integerValue());
        if (seen.size() == 1) {
            calling.set_value();
            go.get_future().wait();
        }
    });
    std::thread setter([&] { defaults.setValue("level", 1); });
    calling.get_future().wait();
    // Return, although the observer does not: their calls come behind it.
    defaults.setValue("level", 2);
    defaults.setValue("other", 1);
    defaults.setValue("level", 3);
    go.set_value();
    setter.join();
    EXPECT_EQ(seen, (std::vector<std::int64_t>{1, 2, 3})) << "each write has its own value";
}

TEST(SettingsThreads, LetADisplayMethodSetAndAnObserverLog) {
    class Silent : public qlx::Console {
    public:
        void print(std::string_view /*text*/) override {}
    } console;
    qlx::UserDefaults defaults;
    const qlx::ScopedService<qlx::Console> consoleScope(console);
    const qlx::ScopedService<qlx::UserDefaults> scope(defaults);
    QLXLogController log;
    const auto delegate = std::make_shared<QLXLogControllerDelegate>();
    // Each holds what it has until the other one is there.
    std::promise<void> displaying;
    std::promise<void> observing;
    std::atomic<bool> isFirst{true};
    delegate->displayLogWithInfoDict = [&](const qlx::Dictionary&) {
        if (isFirst.exchange(false)) {
            displaying.set_value();
            observing.get_future().wait();
            defaults.setValue("shown", 1);
        }
    };
    log.setLogDelegate(delegate);
    defaults.addObserver("volume", [&](const std::string&, const qlx::Value&) {
        observing.set_value();
        displaying.get_future().wait();
        log.logMessage_level_show("observed", 2, true);
    });
    std::thread shower([&log] { log.logMessage_level_show("shown", 2, true); });
    defaults.setValue("volume", 1);
    shower.join();
    EXPECT_EQ(defaults.value("shown"), qlx::Value(1));
    log.waitUntilQueuesAreEmpty();
}

TEST(SettingsThreads, LetAnObserverLogBehindADisplayMethodThatSets) {
    class Silent : public qlx::Console {
    public:
        void print(std::string_view /*text*/) override {}
    } console;
    qlx::UserDefaults defaults;
    const qlx::ScopedService<qlx::Console> consoleScope(console);
    const qlx::ScopedService<qlx::UserDefaults> scope(defaults);
    QLXLogController log;
    const auto delegate = std::make_shared<QLXLogControllerDelegate>();
    std::vector<std::string> seen;
    delegate->displayLogMessage_logLevel = [&](const std::string& text, std::int64_t /*level*/) {
        if (text == "set") {
            defaults.setValue("shown", 1);
            EXPECT_EQ(defaults.value("shown"), qlx::Value(1));
            defaults.setValue("shown", 2);
        }
        seen.push_back(text);
    };
    log.setLogDelegate(delegate);
    defaults.addObserver("shown", [&](const std::string&, const qlx::Value& value) {
        log.logMessage_level_show("observed " + value.stringValue().value_or(""), 2, true);
    });
    log.logMessage_level_show("set", 2, true);
    EXPECT_EQ(seen, (std::vector<std::string>{"set", "observed 1", "observed 2"}));
    log.waitUntilQueuesAreEmpty();
}

TEST(SettingsThreads, PrintWhatAnObserverThrowsWhereItsWriterHasGoneOn) {
    class Recording : public qlx::Console {
    public:
        void log(std::string_view message) override { logged += message; }
        std::string logged;
    } console;
    const qlx::ScopedService<qlx::Console> scope(console);
    qlx::UserDefaults defaults;
    std::promise<void> calling;
    std::promise<void> go;
    defaults.addObserver("slow", [&](const std::string&, const qlx::Value&) {
        calling.set_value();
        go.get_future().wait();
    });
    defaults.addObserver("bad", [](const std::string&, const qlx::Value&) { throw std::runtime_error("of the host"); });
    std::thread setter([&] { EXPECT_NO_THROW(defaults.setValue("slow", 1)); });
    calling.get_future().wait();
    EXPECT_NO_THROW(defaults.setValue("bad", 1));
    go.set_value();
    setter.join();
    EXPECT_EQ(console.logged, "Error: An observer of settings has ended with an exception: of the host");
}

TEST(SettingsThreads, RemovalWaitsForACallUnderWay) {
    qlx::UserDefaults defaults;
    std::promise<void> calling;
    std::promise<void> go;
    std::atomic<bool> hasEnded{false};
    const std::uint64_t number = defaults.addObserver("level", [&](const std::string&, const qlx::Value&) {
        calling.set_value();
        go.get_future().wait();
        hasEnded = true;
    });
    std::thread setter([&] { defaults.setValue("level", 1); });
    calling.get_future().wait();
    std::atomic<long> removing{0};
    std::atomic<bool> isRemoved{false};
    std::promise<bool> removed;
    std::thread remover([&] {
        removing = qlxtest::threadNumber();
        defaults.removeObserver(number);
        isRemoved = true;
        removed.set_value(hasEnded);
    });
    // Others can be removed meanwhile, and this one is not called again.
    defaults.removeObserver(defaults.addObserver("level", [](const std::string&, const qlx::Value&) {}));
    // It goes on when the removal is known to wait, or not to.
    while (!isRemoved && (removing == 0 || !qlxtest::isAsleep(removing))) {
        std::this_thread::yield();
    }
    go.set_value();
    EXPECT_TRUE(removed.get_future().get());
    setter.join();
    remover.join();
    defaults.setValue("level", 2);
}

TEST(SettingsThreads, TellTheLastValueLast) {
    qlx::UserDefaults defaults;
    std::atomic<int> inside{0};
    std::atomic<int> overlaps{0};
    qlx::Value last;
    std::size_t calls = 0;
    defaults.addObserver("level", [&](const std::string&, const qlx::Value& value) {
        overlaps += inside++ == 0 ? 0 : 1;
        last = value;
        ++calls;
        --inside;
    });
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&defaults, thread] {
            for (int number = 0; number < 250; ++number) {
                defaults.setValue("level", thread * 1000 + number);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(overlaps, 0);
    EXPECT_EQ(calls, 1000U);
    EXPECT_EQ(last, defaults.value("level"));
}

TEST(SettingsThreads, GoOnBehindAnObserverThatThrows) {
    qlx::UserDefaults defaults;
    int calls = 0;
    defaults.addObserver("level", [&](const std::string&, const qlx::Value&) {
        defaults.setValue("other", 1);
        throw std::runtime_error("host");
    });
    defaults.addObserver("other", [&](const std::string&, const qlx::Value&) { ++calls; });
    EXPECT_THROW(defaults.setValue("level", 1), std::runtime_error);
    EXPECT_EQ(calls, 1);
    EXPECT_THROW(defaults.setValue("level", 2), std::runtime_error);
    EXPECT_EQ(calls, 2);
}

TEST(SettingsThreads, LoseNeitherACallNorAnExceptionOfSeveralObservers) {
    struct Listening : qlx::Console {
        void log(std::string_view message) override { messages.emplace_back(message); }
        std::vector<std::string> messages;
    } console;
    const qlx::ScopedService<qlx::Console> scope(console);
    qlx::UserDefaults defaults;
    std::vector<std::string> called;
    for (const char* name : {"one", "two", "three"}) {
        defaults.addObserver("level", [&called, name](const std::string&, const qlx::Value&) {
            called.emplace_back(name);
            throw std::runtime_error(name);
        });
    }
    try {
        defaults.setValue("level", 1);
        ADD_FAILURE() << "nothing is thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "one");
    }
    EXPECT_EQ(called, (std::vector<std::string>{"one", "two", "three"}));
    EXPECT_EQ(console.messages,
              (std::vector<std::string>{"Error: An observer of settings has ended with an exception: two",
                                        "Error: An observer of settings has ended with an exception: three"}));
}
