// What the host sees: messages before and after the delegate, dictionaries, notifications.
#include "LogFixture.h"

#include <new>
#include <stdexcept>

using namespace qlxtest;

namespace {

qlx::Dictionary infoDict(const std::string& message, std::int64_t level, bool show) {
    return {{"message", message}, {"level", level},        {"show", show},
            {"origin", 7},        {"notifyRemotes", true}, {"source_unique_id", ""}};
}

class LogDelegate : public LogTest {
protected:
    LogDelegate() {
        delegate->displayLogWithInfoDict = [this](const qlx::Dictionary& info) { shown.push_back(info); };
    }
    std::vector<qlx::Dictionary> shown;
};

using LogNotifications = LogTest;

}  // namespace

TEST_F(LogDelegate, KeepsTheLastTwentyMessagesUntilADelegateComes) {
    std::string printed;
    std::string expected;
    std::vector<qlx::Dictionary> expectedShown;
    for (int number = 1; number <= 25; ++number) {
        const std::string message = "message " + std::to_string(number);
        log->logMessage_level_show(message, number % 2 + 1, number % 3 == 0);
        printed += message + "\n";
        if (number > 5) {
            expected += (number % 2 == 0 ? "!\t" : "\t") + kStamp + "\t\t" + message + "\r\n";
        }
        if (number > 5 && number % 3 == 0) {
            expectedShown.push_back(infoDict(message, number % 2 + 1, true));
        }
    }
    EXPECT_EQ(console.printed(), printed);
    EXPECT_EQ(sundaysFile(), "");
    log->setLogDelegate(nullptr);
    EXPECT_EQ(sundaysFile(), "");
    useDelegate();
    EXPECT_EQ(sundaysFile(), expected);
    EXPECT_EQ(shown, expectedShown);
    EXPECT_EQ(console.printed(), printed);
}

TEST_F(LogDelegate, WritesWhereADisplayMethodHasSaid) {
    const std::filesystem::path other = folder / "other";
    std::filesystem::create_directory(other);
    std::string observed;
    const auto number = defaults.addObserver(
        "technicalLogFolderPath", [&](const std::string&, const qlx::Value&) { observed = console.printed(); });
    delegate->displayLogWithInfoDict = [&](const qlx::Dictionary&) {
        defaults.setValue("technicalLogFolderPath", other.string());
        // The log has it at once, the host's own observers when the log holds no lock.
        EXPECT_EQ(console.printed(), "New technical log path " + other.string() + "\n");
        EXPECT_EQ(observed, "");
    };
    useDelegate();
    log->logMessage_level_show("moved", 2, true);
    EXPECT_EQ(observed, "New technical log path " + other.string() + "\n");
    EXPECT_EQ(sundaysFile(), "");
    EXPECT_EQ(contentOf(other / "Player 2026-11-15.log"), "\t" + kStamp + "\t\tmoved\r\n");
    defaults.removeObserver(number);
}

TEST_F(LogDelegate, ReplaysOnceOnly) {
    write("pending");
    useDelegate();
    log->setLogDelegate(nullptr);
    write("printed only");
    useDelegate();
    EXPECT_EQ(sundaysFile(), "\t" + kStamp + "\t\tpending\r\n");
    EXPECT_EQ(console.printed(), "pending\nprinted only\n");
}

TEST_F(LogDelegate, StampsReplayedMessagesWithTheTimeOfTheReplay) {
    write("pending");
    clock.seconds += 5;
    useDelegate();
    EXPECT_EQ(sundaysFile(), "\t2026-11-15\t00:49:47\tSunday\t\tpending\r\n");
}

TEST_F(LogDelegate, FiltersReplayedMessages) {
    write("verbose", 3);
    useDelegate();
    EXPECT_EQ(sundaysFile(), "");
}

TEST_F(LogDelegate, IsNotKeptAlive) {
    useDelegate();
    delegate.reset();
    log->logMessage_level_show("printed", 2, true);
    EXPECT_EQ(console.printed(), "printed\n");
    EXPECT_EQ(sundaysFile(), "");
    EXPECT_TRUE(shown.empty());
}

TEST_F(LogDelegate, ShowsWhatIsToBeShown) {
    useDelegate();
    log->logMessage_level_show("shown", 3, true);
    log->logMessage_level_show("hidden", 1, false);
    log->logMessage_level_userNotificationTitle_userNotificationCategory_show("titled", 1, "Title", "Category", true);
    log->logMessage_level_userNotificationTitle_userNotificationCategory_show(std::nullopt, 1, "Title", "Category",
                                                                              true);
    qlx::Dictionary titled = infoDict("titled", 1, true);
    titled.set("userNotificationTitle", "Title");
    titled.set("userNotificationCategory", "Category");
    EXPECT_EQ(shown, (std::vector<qlx::Dictionary>{infoDict("shown", 3, true), titled}));
}

TEST_F(LogDelegate, PrefersTheDictionary) {
    std::vector<std::string> plain;
    delegate->displayLogMessage_logLevel = [&plain](const std::string& message, std::int64_t level) {
        plain.push_back(message + "/" + std::to_string(level));
    };
    useDelegate();
    log->logMessage_level_show("by dictionary", 2, true);
    auto second = std::make_shared<QLXLogControllerDelegate>();
    second->displayLogMessage_logLevel = delegate->displayLogMessage_logLevel;
    log->setLogDelegate(second);
    log->logMessage_level_show("by text", 4, true);
    log->logMessage_level_show("hidden", 4, false);
    EXPECT_EQ(shown, std::vector<qlx::Dictionary>{infoDict("by dictionary", 2, true)});
    EXPECT_EQ(plain, std::vector<std::string>{"by text/4"});
}

TEST_F(LogDelegate, GetsAHostsDictionaryAsItIs) {
    useDelegate();
    const qlx::Dictionary info{{"message", "from the host"}, {"level", "1"}, {"show", 1}, {"extra", 0.5}};
    log->logWithInfoDict(info);
    log->logWithInfoDict({});
    EXPECT_EQ(shown, std::vector<qlx::Dictionary>{info});
    // What a dictionary lacks counts as no text and level 0.
    EXPECT_EQ(sundaysFile(), "!\t" + kStamp + "\t\tfrom the host\r\n!\t" + kStamp + "\t\t(null)\r\n");
}

TEST_F(LogDelegate, MayRemoveItselfInItsDestructor) {
    struct Owner {
        std::shared_ptr<QLXLogController> log;
        ~Owner() { log->setLogDelegate(nullptr); }
    };
    auto owner = std::make_shared<Owner>();
    owner->log = log;
    std::weak_ptr<Owner> alive = owner;
    delegate->displayLogWithInfoDict = [this, owner = std::move(owner)](const qlx::Dictionary&) { delegate.reset(); };
    useDelegate();
    log->logMessage_level_show("last words", 2, true);
    EXPECT_TRUE(alive.expired());
    EXPECT_EQ(sundaysFile(), "\t" + kStamp + "\t\tlast words\r\n");
}

TEST_F(LogDelegate, MayGoAwayWhileItIsShownWhatWasPending) {
    log->logMessage_level_show("first", 2, true);
    log->logMessage_level_show("second", 2, true);
    int displayed = 0;
    delegate->displayLogWithInfoDict = [this, &displayed](const qlx::Dictionary&) {
        ++displayed;
        delegate.reset();
    };
    log->setLogDelegate(delegate);
    EXPECT_EQ(displayed, 2) << "the log holds it until everything has been shown";
    EXPECT_EQ(delegate, nullptr);
    EXPECT_EQ(sundaysFile(), "\t" + kStamp + "\t\tfirst\r\n\t" + kStamp + "\t\tsecond\r\n");
}

TEST_F(LogDelegate, MayLogFromItsInitialMessage) {
    delegate->initialLogMessage = [this] {
        write("asked");
        return std::string("header");
    };
    useDelegate();
    write("first");
    log->waitUntilQueuesAreEmpty();  // The first line is written, and with it the second one queued.
    EXPECT_EQ(sundaysFile(),
              "\t" + kStamp + "\t\theader\r\n\t" + kStamp + "\t\tfirst\r\n\t" + kStamp + "\t\tasked\r\n");
}

TEST_F(LogNotifications, AreRaisedByCriticalMessages) {
    useDelegate();
    log->logMessage_level_show("No signal", 0, true);
    log->logMessage_level_show("hidden", 0, false);
    log->logMessage_level_show("not critical", 1, true);
    log->logMessage_level_show("not critical either", -1, true);
    log->logMessage_level_userNotificationTitle_userNotificationCategory_show("Burning", 0, "Fire", "Alarm", true);
    EXPECT_EQ(notificationCenter.posted,
              (std::vector<qlx::Notification>{{"UUID-1", "Critical Error", "No signal", "WarningNotification"},
                                              {"UUID-2", "Fire", "Burning", "Alarm"}}));
}

TEST_F(LogNotifications, AreRaisedWithoutADelegateAndAgainByTheReplay) {
    log->logMessage_level_userNotificationTitle_userNotificationCategory_show("Burning", 0, "Fire", "Alarm", true);
    useDelegate();
    EXPECT_EQ(notificationCenter.posted,
              (std::vector<qlx::Notification>{{"UUID-1", "Fire", "Burning", "Alarm"},
                                              {"UUID-2", "Critical Error", "Burning", "WarningNotification"}}));
}

TEST_F(LogNotifications, FillInAMissingCategory) {
    log->displayNotificationWithTitle_message("a", "b");
    log->displayNotificationWithTitle_message_categoryIdentifier("a", "b", "");
    log->displayNotificationWithTitle_message_categoryIdentifier("a", "b", "c");
    EXPECT_EQ(notificationCenter.posted, (std::vector<qlx::Notification>{{"UUID-1", "a", "b", "WarningNotification"},
                                                                         {"UUID-2", "a", "b", "WarningNotification"},
                                                                         {"UUID-3", "a", "b", "c"}}));
}

TEST_F(LogNotifications, NeedAuthorisation) {
    const auto postedWith = [this](qlx::AuthorizationStatus status) {
        notificationCenter.status = status;
        log->checkForNotificationAuthorization();
        notificationCenter.posted.clear();
        log->displayNotificationWithTitle_message("title", "body");
        return notificationCenter.posted.size();
    };
    EXPECT_EQ(postedWith(qlx::kAuthorizationDenied), 0U);
    EXPECT_EQ(postedWith(4), 0U);  // Unknown: unchanged.
    EXPECT_EQ(postedWith(qlx::kAuthorizationProvisional), 1U);
    EXPECT_EQ(postedWith(4), 1U);
    EXPECT_EQ(postedWith(qlx::kAuthorizationDenied), 0U);
    EXPECT_EQ(postedWith(qlx::kAuthorizationAuthorized), 1U);
    EXPECT_TRUE(notificationCenter.requestedOptions.empty());
}

TEST_F(LogNotifications, AskAnUndecidedUserWithoutWaiting) {
    notificationCenter.status = qlx::kAuthorizationNotDetermined;
    log = std::make_shared<QLXLogController>();
    EXPECT_EQ(notificationCenter.requestedOptions, std::vector<std::uint64_t>{7});
    log->displayNotificationWithTitle_message("too early", "body");
    notificationCenter.lateAnswer(true);
    log->displayNotificationWithTitle_message("granted", "body");
    notificationCenter.lateAnswer(false);
    log->displayNotificationWithTitle_message("withdrawn", "body");
    EXPECT_EQ(notificationCenter.posted,
              (std::vector<qlx::Notification>{{"UUID-1", "granted", "body", "WarningNotification"}}));
}

TEST_F(LogNotifications, DoNotWaitForACentreThatNeverAnswers) {
    class SilentCenter : public qlx::NotificationCenter {
    public:
        void getAuthorizationStatus(std::function<void(qlx::AuthorizationStatus)> /*answer*/) override {}
    } silent;
    const qlx::ScopedService<qlx::NotificationCenter> scope(silent);
    log->checkForNotificationAuthorization();  // Returns, and changes nothing.
    const qlx::ScopedService<qlx::NotificationCenter> original(notificationCenter);
    log->displayNotificationWithTitle_message("title", "body");
    EXPECT_EQ(notificationCenter.posted.size(), 1U);
}

TEST_F(LogDelegate, LeavesNoObserverBehindAConstructorThatThrows) {
    class CountingDefaults : public qlx::UserDefaults {
    public:
        std::uint64_t addObserver(std::string_view key, Observer observer) override {
            if (added == mostAdded) {
                throw std::bad_alloc();
            }
            ++added;
            return UserDefaults::addObserver(key, std::move(observer));
        }
        void removeObserver(std::uint64_t number) override {
            ++removed;
            UserDefaults::removeObserver(number);
        }
        int added = 0;
        int removed = 0;
        int mostAdded = 2;
    } counting;
    const qlx::ScopedService<qlx::UserDefaults> scope(counting);
    class ThrowingCenter : public qlx::NotificationCenter {
    public:
        void getAuthorizationStatus(std::function<void(qlx::AuthorizationStatus)> /*answer*/) override {
            throw std::runtime_error("host");
        }
    } center;
    {
        const qlx::ScopedService<qlx::NotificationCenter> centerScope(center);
        EXPECT_THROW(QLXLogController(), std::runtime_error);
    }
    EXPECT_EQ(counting.added, 2);
    EXPECT_EQ(counting.removed, 2);
    counting.added = 0;
    counting.removed = 0;
    counting.mostAdded = 1;
    EXPECT_THROW(QLXLogController(), std::bad_alloc);
    EXPECT_EQ(counting.removed, 1);
    counting.setValue("technicalLogFolderPath", "/nowhere");
    counting.setValue("technicalLogLevel", 5);
    EXPECT_EQ(console.printed(), "");
}

TEST_F(LogDelegate, TakesNoSettingOnceItIsGone) {
    // The last owner lets go from within a call of the controller's observer, which prints.
    class Dropping : public SharedConsole {
    public:
        explicit Dropping(std::shared_ptr<QLXLogController>& log) : _log(log) {}
        void print(std::string_view text) override {
            SharedConsole::print(text);
            _log.reset();
        }

    private:
        std::shared_ptr<QLXLogController>& _log;
    } dropping(log);
    {
        const qlx::ScopedService<qlx::Console> scope(dropping);
        defaults.setValue("technicalLogLevel", 5);
        defaults.setValue("technicalLogLevel", 6);
    }
    EXPECT_EQ(log, nullptr);
    EXPECT_EQ(dropping.printed(), "New Technical Log level 5\n");
    log = std::make_shared<QLXLogController>();
}
