// A log in a folder of its own, with a clock, a time zone, settings and a console that the test holds in its hands.
#pragma once

#include <QLXClosedCaptionsUtilities/QLXLogController.h>
#include <QLXClosedCaptionsUtilities/QLXLogControllerDelegate.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace qlxtest {

/// Sunday, 15 November 2026, 00:49:42 UTC.
inline constexpr std::int64_t kSundayNight = 1'794'703'782;

class TestClock : public qlx::Clock {
public:
    std::chrono::system_clock::time_point now() override {
        return std::chrono::system_clock::time_point(std::chrono::seconds(seconds.load()));
    }
    std::atomic<std::int64_t> seconds{kSundayNight};
};

/// A fixed offset from UTC.
class TestZone : public qlx::TimeZone {
public:
    qlx::LocalTime localTime(std::chrono::system_clock::time_point time) override {
        const auto local = std::chrono::floor<std::chrono::seconds>(time) + std::chrono::seconds(offset.load());
        const auto day = std::chrono::floor<std::chrono::days>(local);
        const std::chrono::year_month_day date(day);
        const std::chrono::hh_mm_ss clock(local - day);
        return {static_cast<std::int32_t>(static_cast<int>(date.year())),
                static_cast<unsigned>(date.month()),
                static_cast<unsigned>(date.day()),
                static_cast<std::uint32_t>(clock.hours().count()),
                static_cast<std::uint32_t>(clock.minutes().count()),
                static_cast<std::uint32_t>(clock.seconds().count()),
                std::chrono::weekday(day).c_encoding()};
    }
    std::atomic<std::int64_t> offset{0};
};

class EnglishNames : public qlx::WeekdayNames {
public:
    std::string name(std::uint32_t weekday) override {
        constexpr std::array<const char*, 7> kNames{"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                    "Thursday", "Friday", "Saturday"};
        return weekday < kNames.size() ? kNames[weekday] : "";
    }
};

/// Opens no file before `gate` is true.
class GatedLogFiles : public qlx::LogFiles {
public:
    explicit GatedLogFiles(std::atomic<bool>& gate) : _gate(gate) {}
    int openForAppending(const char* path) override {
        _gate.wait(false);
        return LogFiles::openForAppending(path);
    }

private:
    std::atomic<bool>& _gate;
};

class TestApplication : public qlx::Application {
public:
    std::optional<std::string> name() override { return applicationName; }
    std::string identifier() override { return "com.example.player"; }
    std::string programName() override { return "playerd"; }
    std::optional<std::string> applicationName = "Player";
};

/// Keeps what is printed, by any thread.
class SharedConsole : public qlx::Console {
public:
    void print(std::string_view text) override {
        const std::lock_guard lock(_mutex);
        _printed += text;
    }
    void log(std::string_view message) override {
        const std::lock_guard lock(_mutex);
        _printed += "unexpected: " + std::string(message);
    }
    std::string printed() {
        const std::lock_guard lock(_mutex);
        return _printed;
    }

private:
    std::mutex _mutex;
    std::string _printed;
};

/// Answers with `status`, and keeps what is posted.
class TestNotificationCenter : public qlx::NotificationCenter {
public:
    void getAuthorizationStatus(std::function<void(qlx::AuthorizationStatus)> answer) override { answer(status); }
    void requestAuthorization(std::uint64_t options, std::function<void(bool)> answer) override {
        requestedOptions.push_back(options);
        lateAnswer = std::move(answer);
    }
    void post(const qlx::Notification& notification) override { posted.push_back(notification); }

    qlx::AuthorizationStatus status = qlx::kAuthorizationAuthorized;
    std::vector<std::uint64_t> requestedOptions;
    std::function<void(bool)> lateAnswer;
    std::vector<qlx::Notification> posted;
};

class CountingUUIDs : public qlx::UUIDs {
public:
    std::string make() override { return "UUID-" + std::to_string(++_count); }

private:
    int _count = 0;
};

/// A fresh, empty folder for the running test.
inline std::filesystem::path freshFolder() {
    const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
    const std::filesystem::path path = std::filesystem::path(testing::TempDir()) /
                                       (std::string("qlx_log_") + test->test_suite_name() + "_" + test->name());
    std::filesystem::remove_all(path);
    std::filesystem::create_directories(path);
    return path;
}

inline std::string contentOf(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// The names in a folder, sorted.
inline std::vector<std::string> namesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

/// A controller that writes to a fresh folder at level 2, with a delegate that shows nothing.
class LogTest : public testing::Test {
protected:
    LogTest() {
        defaults.setValue("technicalLogFolderPath", folder.string());
        log = std::make_shared<QLXLogController>();
    }
    ~LogTest() override {
        log->waitUntilQueuesAreEmpty();
        log.reset();
        std::filesystem::remove_all(folder);
    }

    void useDelegate() { log->setLogDelegate(delegate); }
    void write(const std::string& message, std::int64_t level = 2) {
        log->logMessage_level_show(message, level, false);
    }

    /// What stands in a file of the folder, once all is written.
    std::string fileNamed(const std::string& name) {
        log->waitUntilQueuesAreEmpty();
        return contentOf(folder / name);
    }
    std::string sundaysFile() { return fileNamed("Player 2026-11-15.log"); }

    const std::filesystem::path folder = freshFolder();
    TestClock clock;
    TestZone zone;
    EnglishNames names;
    TestApplication application;
    SharedConsole console;
    qlx::UserDefaults defaults;
    TestNotificationCenter notificationCenter;
    CountingUUIDs uuids;
    std::shared_ptr<QLXLogControllerDelegate> delegate = std::make_shared<QLXLogControllerDelegate>();
    std::shared_ptr<QLXLogController> log;

private:
    qlx::ScopedService<qlx::Clock> _clockScope{clock};
    qlx::ScopedService<qlx::TimeZone> _zoneScope{zone};
    qlx::ScopedService<qlx::WeekdayNames> _namesScope{names};
    qlx::ScopedService<qlx::Application> _applicationScope{application};
    qlx::ScopedService<qlx::Console> _consoleScope{console};
    qlx::ScopedService<qlx::UserDefaults> _defaultsScope{defaults};
    qlx::ScopedService<qlx::NotificationCenter> _centerScope{notificationCenter};
    qlx::ScopedService<qlx::UUIDs> _uuidsScope{uuids};
};

/// The beginning of every technical line at the clock's first reading.
inline const std::string kStamp = "2026-11-15\t00:49:42\tSunday";

}  // namespace qlxtest
