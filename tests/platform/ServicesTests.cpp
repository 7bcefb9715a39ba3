#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include "RecordingConsole.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>

using qlxtest::RecordingConsole;

namespace {

std::filesystem::path temporaryFile(const std::string& name, const std::string& content) {
    const std::filesystem::path path = std::filesystem::path(testing::TempDir()) / name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

}  // namespace

TEST(Services, AHostReplacesOneAndPutsTheDefaultBack) {
    qlx::Console& original = qlx::services().get<qlx::Console>();
    EXPECT_EQ(&original, &qlx::Console::defaultInstance());
    RecordingConsole console;
    EXPECT_EQ(qlx::services().set<qlx::Console>(&console), nullptr);
    EXPECT_EQ(&qlx::services().get<qlx::Console>(), &console);
    EXPECT_EQ(&qlx::services().get<qlx::Clock>(), &qlx::Clock::defaultInstance());
    EXPECT_EQ(qlx::services().set<qlx::Console>(nullptr), &console);
    EXPECT_EQ(&qlx::services().get<qlx::Console>(), &original);
}

TEST(Services, AScopeRestoresTheFormerOne) {
    RecordingConsole outer;
    RecordingConsole inner;
    {
        const qlx::ScopedService<qlx::Console> outerScope(outer);
        {
            const qlx::ScopedService<qlx::Console> innerScope(inner);
            qlx::services().get<qlx::Console>().log("inner");
        }
        qlx::services().get<qlx::Console>().print("outer");
    }
    EXPECT_EQ(inner.logged, std::vector<std::string>{"inner"});
    EXPECT_EQ(outer.printed, "outer");
    EXPECT_EQ(&qlx::services().get<qlx::Console>(), &qlx::Console::defaultInstance());
}

TEST(Console, PrintsToStandardOutputAndLogsToStandardError) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    qlx::Console::defaultInstance().print("no line feed");
    qlx::Console::defaultInstance().log("a message");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "no line feed");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "a message\n");
}

TEST(Application, KnowsTheProgramsFileName) {
    qlx::Application& application = qlx::Application::defaultInstance();
    EXPECT_EQ(application.name(), std::nullopt);
    EXPECT_EQ(application.programName(), "test_platform");
    EXPECT_EQ(application.identifier(), "test_platform");
}

TEST(FileReader, ReadsWholeFiles) {
    qlx::FileReader& reader = qlx::FileReader::defaultInstance();
    EXPECT_EQ(reader.contentsOfFile(temporaryFile("qlx_bytes", std::string("a\0b", 3)).string()),
              (qlx::Data{'a', 0, 'b'}));
    EXPECT_EQ(reader.contentsOfFile(temporaryFile("qlx_empty", "").string()), qlx::Data::zeros(0));
    const std::string large(300'001, 'x');
    EXPECT_EQ(reader.contentsOfFile(temporaryFile("qlx_large", large).string()),
              qlx::Data(std::vector<std::uint8_t>(large.begin(), large.end())));
}

TEST(FileReader, ReadsStreamsOfUnknownLength) {
    EXPECT_EQ(qlx::FileReader::defaultInstance().contentsOfFile("/dev/null"), qlx::Data::zeros(0));
}

TEST(FileReader, GivesNoneForWhatCannotBeRead) {
    qlx::FileReader& reader = qlx::FileReader::defaultInstance();
    EXPECT_EQ(reader.contentsOfFile(testing::TempDir() + "qlx_no_such_file"), qlx::Data());
    EXPECT_EQ(reader.contentsOfFile(testing::TempDir()), qlx::Data());
    EXPECT_EQ(reader.contentsOfFile(""), qlx::Data());
    const std::string path = temporaryFile("qlx_named", "x").string();
    EXPECT_EQ(reader.contentsOfFile(path + std::string("\0tail", 5)), qlx::Data());
}

TEST(Clock, TellsTheTime) {
    // Between two readings of the system's clock, but where that is set just then. Another clock, or one that goes in
    // coarser steps, lies there by chance at most.
    constexpr int kReadings = 1'000;
    int between = 0;
    for (int reading = 0; reading < kReadings; ++reading) {
        const auto before = std::chrono::system_clock::now();
        const auto now = qlx::Clock::defaultInstance().now();
        between += before <= now && now <= std::chrono::system_clock::now() ? 1 : 0;
    }
    EXPECT_GT(between, kReadings / 2);
}
