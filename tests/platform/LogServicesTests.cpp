// Local time, weekday names, log files, folders, notifications and identifiers: the portable defaults.
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using std::chrono::system_clock;

fs::path freshFolder(const std::string& name) {
    const fs::path path = fs::path(testing::TempDir()) / name;
    fs::remove_all(path);
    fs::create_directories(path);
    return path;
}

std::string contentOf(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// What is listed of a folder that has just been filled.
std::vector<qlx::Directories::Entry> entriesOfANewFolder() {
    const fs::path folder = freshFolder("qlx_directories");
    std::ofstream(folder / "b") << "x";
    std::ofstream(folder / ".hidden") << "x";
    fs::create_directory(folder / "a");
    std::ofstream(folder / "a" / "inner") << "x";
    fs::create_symlink("nowhere", folder / "link");
    return qlx::Directories::defaultInstance().entries(folder.string());
}

/// Sets an environment variable for as long as it lives.
class Environment {
public:
    Environment(std::string name, const char* value) : _name(std::move(name)) {
        if (const char* const former = std::getenv(_name.c_str())) {
            _former = former;
        }
        setenv(_name.c_str(), value, 1);
    }
    ~Environment() {
        if (_former) {
            setenv(_name.c_str(), _former->c_str(), 1);
        } else {
            unsetenv(_name.c_str());
        }
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    std::string _name;
    std::optional<std::string> _former;
};

}  // namespace

TEST(TimeZone, IsTheSystems) {
    // Sunday, 15 November 2026, 00:49:42 UTC, and half a second.
    const auto time = system_clock::time_point(std::chrono::milliseconds(1'794'703'782'500));
    {
        const Environment zone("TZ", "XYZ-5:30");
        tzset();
        EXPECT_EQ(qlx::TimeZone::defaultInstance().localTime(time), (qlx::LocalTime{2026, 11, 15, 6, 19, 42, 0}));
    }
    {
        const Environment zone("TZ", "XYZ1");
        tzset();
        EXPECT_EQ(qlx::TimeZone::defaultInstance().localTime(time), (qlx::LocalTime{2026, 11, 14, 23, 49, 42, 6}));
        const auto beforeTheEpoch = system_clock::time_point(std::chrono::milliseconds(-500));
        EXPECT_EQ(qlx::TimeZone::defaultInstance().localTime(beforeTheEpoch),
                  (qlx::LocalTime{1969, 12, 31, 22, 59, 59, 3}));
    }
    tzset();
}

TEST(WeekdayNames, AreThoseOfTheEnvironment) {
    // Read once a process, at the first call: this test makes the only one.
    const Environment locale("LC_ALL", "C");
    qlx::WeekdayNames& names = qlx::WeekdayNames::defaultInstance();
    EXPECT_EQ(names.name(0), "Sunday");
    EXPECT_EQ(names.name(3), "Wednesday");
    EXPECT_EQ(names.name(6), "Saturday");
    EXPECT_EQ(names.name(7), "");
}

TEST(LogFiles, AppendLines) {
    qlx::LogFiles& files = qlx::LogFiles::defaultInstance();
    const fs::path path = freshFolder("qlx_log_files") / "a.log";
    for (const std::string_view line : {std::string_view("one\r\n"), std::string_view("t\0o", 3)}) {
        const int descriptor = files.openForAppending(path.c_str());
        ASSERT_GT(descriptor, 0);
        EXPECT_TRUE(files.write(descriptor, line));
        files.close(descriptor);
    }
    EXPECT_EQ(contentOf(path), std::string("one\r\nt\0o", 8));
}

TEST(LogFiles, SayWhatFails) {
    qlx::LogFiles& files = qlx::LogFiles::defaultInstance();
    const fs::path folder = freshFolder("qlx_log_files_fail");
    EXPECT_EQ(files.openForAppending((folder / "missing" / "a.log").c_str()), -1);
    EXPECT_EQ(files.openForAppending(folder.c_str()), -1);
    EXPECT_FALSE(files.write(-1, "x"));
    EXPECT_TRUE(fs::is_empty(folder));
}

TEST(LogFiles, WaitForAFullPipeThatHasComeInPlaceOfAFile) {
    qlx::LogFiles& files = qlx::LogFiles::defaultInstance();
    const fs::path path = freshFolder("qlx_log_files_pipe") / "a.log";
    const int regular = files.openForAppending(path.c_str());
    ASSERT_GT(regular, 0);
    files.close(regular);
    fs::remove(path);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    const int descriptor = files.openForAppending(path.c_str());
    ASSERT_GT(descriptor, 0);
    const int filler = open(path.c_str(), O_WRONLY | O_NONBLOCK);
    const std::string page(4096, '.');
    while (::write(filler, page.data(), page.size()) > 0) {
    }
    close(filler);
    // Nothing is read before the write waits.
    std::atomic<bool> hasReturned{false};
    std::thread reading([&] {
        while ((fcntl(descriptor, F_GETFL) & O_NONBLOCK) != 0 && !hasReturned) {
            std::this_thread::yield();
        }
        std::string content(page.size(), ' ');
        EXPECT_GT(read(reader, content.data(), content.size()), 0);
    });
    EXPECT_EQ(files.append(descriptor, "line"), 4U);
    hasReturned = true;
    reading.join();
    files.close(descriptor);
    close(reader);
}

TEST(Directories, ListOneLevelWithCreationDates) {
    // File systems may keep even seconds only.
    static constexpr std::chrono::seconds kCoarsestDate{2};
    std::vector<qlx::Directories::Entry> entries;
    // Between two readings of the system's clock; where that is set just then, the next attempt shows it.
    const auto haveDatesOfNow = [&entries] {
        const auto before = system_clock::now() - kCoarsestDate;
        entries = entriesOfANewFolder();
        const auto after = system_clock::now();
        return std::all_of(entries.begin(), entries.end(), [&](const qlx::Directories::Entry& entry) {
            return entry.creationDate && before <= *entry.creationDate && *entry.creationDate <= after;
        });
    };
    constexpr int kAttempts = 100;
    int attempt = 1;
    while (!haveDatesOfNow() && attempt < kAttempts) {
        ++attempt;
    }
    EXPECT_LT(attempt, kAttempts);
    std::vector<std::string> names;
    std::transform(entries.begin(), entries.end(), std::back_inserter(names),
                   [](const qlx::Directories::Entry& entry) { return entry.name; });
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{".hidden", "a", "b", "link"}));
}

TEST(Directories, GiveNothingForWhatIsNoFolder) {
    const fs::path folder = freshFolder("qlx_no_directory");
    qlx::Directories& directories = qlx::Directories::defaultInstance();
    std::ofstream(folder / "file") << "x";
    EXPECT_TRUE(directories.entries((folder / "file").string()).empty());
    EXPECT_TRUE(directories.entries((folder / "missing").string()).empty());
    EXPECT_TRUE(directories.entries(folder.string() + std::string("\0x", 2)).empty());
}

TEST(Directories, RemoveFilesLinksAndFolders) {
    const fs::path folder = freshFolder("qlx_remove");
    qlx::Directories& directories = qlx::Directories::defaultInstance();
    std::ofstream(folder / "kept") << "x";
    fs::create_symlink(folder / "kept", folder / "link");
    fs::create_directories(folder / "a" / "b");
    EXPECT_TRUE(directories.remove((folder / "link").string()));
    EXPECT_TRUE(directories.remove((folder / "a").string()));
    EXPECT_FALSE(directories.remove((folder / "a").string()));
    EXPECT_FALSE(directories.remove((folder / "kept").string() + std::string("\0x", 2)));
    EXPECT_EQ(contentOf(folder / "kept"), "x");
    EXPECT_TRUE(directories.remove((folder / "kept").string()));
    EXPECT_TRUE(fs::is_empty(folder));
}

TEST(NotificationCenter, AuthorisesNothingByDefault) {
    qlx::NotificationCenter& center = qlx::NotificationCenter::defaultInstance();
    std::vector<qlx::AuthorizationStatus> statuses;
    center.getAuthorizationStatus([&statuses](qlx::AuthorizationStatus status) { statuses.push_back(status); });
    EXPECT_EQ(statuses, std::vector<qlx::AuthorizationStatus>{qlx::kAuthorizationDenied});
    std::vector<bool> answers;
    center.requestAuthorization(qlx::kNotificationAlert, [&answers](bool granted) { answers.push_back(granted); });
    EXPECT_EQ(answers, std::vector<bool>{false});
}

TEST(UUIDs, AreRandomAndWellFormed) {
    std::set<std::string> seen;
    for (int round = 0; round < 100; ++round) {
        const std::string uuid = qlx::UUIDs::defaultInstance().make();
        ASSERT_EQ(uuid.size(), 36U);
        for (std::size_t index = 0; index < uuid.size(); ++index) {
            const bool isHyphen = index == 8 || index == 13 || index == 18 || index == 23;
            const std::string_view allowed = isHyphen ? "-" : "0123456789ABCDEF";
            EXPECT_NE(allowed.find(uuid[index]), std::string_view::npos) << uuid;
        }
        EXPECT_EQ(uuid[14], '4') << uuid;
        EXPECT_NE(std::string_view("89AB").find(uuid[19]), std::string_view::npos) << uuid;
        seen.insert(uuid);
    }
    EXPECT_EQ(seen.size(), 100U);
}
