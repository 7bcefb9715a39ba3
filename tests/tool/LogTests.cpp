// --log-folder and --log-level: the technical log of a run.
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Arguments = std::vector<std::string>;

const std::string kSplice = "08ffff001e00000112340000010101000e010102030405060fa0012c000001";
const std::string kSection = "fc303600000000000000fff01405010203047fefff000000007e0000012c05060000"
                             "0011020f43554549000000007f9f0000010000d0bbe43c\n";

/// The lines of the one log file in the folder, each as its mark and its message.
std::vector<std::string> logOf(const TemporaryFolder& folder) {
    const auto names = folder.names();
    EXPECT_EQ(names.size(), 1U);
    if (names.size() != 1) {
        return {};
    }
    // "qlxcc 2026-11-15.log"
    EXPECT_EQ(names[0].size(), 20U);
    EXPECT_TRUE(names[0].starts_with("qlxcc 2") && names[0].ends_with(".log")) << names[0];
    std::vector<std::string> lines;
    for (std::string line : linesOf(folder.read(names[0]))) {
        // Some lines end in carriage return and line feed.
        std::erase(line, '\r');
        lines.push_back(line.substr(0, line.find('\t')) + line.substr(line.find_last_of('\t')));
    }
    return lines;
}

TEST(ToolLog, HasWhatTheLibraryLogsAndStandardOutputStaysClean) {
    const TemporaryFolder folder;
    const ToolResult result =
        runTool({"scte35", kSplice, "--pts", "4294967296", "--as-deployed", "--log-folder", folder.path()});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, kSection);
    EXPECT_EQ(result.err, "");
    const auto lines = logOf(folder);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(lines[0].starts_with("\tqlxcc ")) << lines[0];
    EXPECT_EQ(lines[1], "\tqlxcc scte35 " + kSplice + " --pts 4294967296 --as-deployed --log-folder " + folder.path());
    EXPECT_EQ(lines[2], "\tSCTE Packet read: type: Start Normal, eventID: 16909060 programUID: 1286 duration: 300");
}

TEST(ToolLog, IsOffWithoutAFolder) {
    const ToolResult result = runTool({"scte35", kSplice, "--pts", "4294967296", "--as-deployed"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, kSection);
    EXPECT_EQ(result.err, "");
}

TEST(ToolLog, MarksWhatWentWrong) {
    const TemporaryFolder folder;
    const ToolResult result = runTool({"--log-folder", folder.path(), "--log-level", "1", "scan", "none.klv"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "qlxcc: none.klv: No such file or directory\n");
    const auto lines = logOf(folder);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[1], "!\tnone.klv: No such file or directory");
}

TEST(ToolLog, LeavesOutWhatIsAboveItsLevel) {
    const TemporaryFolder folder;
    const ToolResult result = runTool({"scan", "none.klv", "--log-folder", folder.path(), "--log-level", "0"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(folder.names(), Arguments{});
}

TEST(ToolLog, GrowsWithEveryCommand) {
    const TemporaryFolder folder;
    const TemporaryFolder files;
    const std::string subtitles = files.write("a.srt", "1\n00:00:00,000 --> 00:00:01,000\na\n");
    for (const Arguments& command :
         std::vector<Arguments>{{"play", subtitles, "--mode", "teletext", "--rate", "25", "-o", files.path("a.klv")},
                                {"scan", files.path("a.klv")},
                                {"scte104", "build", "splice-null"},
                                {"scte104", "parse", kSplice}}) {
        Arguments arguments = command;
        arguments.insert(arguments.end(), {"--log-folder", folder.path()});
        const ToolResult logged = runTool(arguments);
        const ToolResult plain = runTool(command);
        EXPECT_EQ(logged.exitCode, 0) << logged.err;
        EXPECT_EQ(logged.out, plain.out);
        EXPECT_EQ(logged.err, plain.err);
    }
    const auto lines = logOf(folder);
    ASSERT_EQ(lines.size(), 8U);
    EXPECT_TRUE(lines[1].starts_with("\tqlxcc play ")) << lines[1];
    EXPECT_TRUE(lines[3].starts_with("\tqlxcc scan ")) << lines[3];
    EXPECT_TRUE(lines[5].starts_with("\tqlxcc scte104 build splice-null ")) << lines[5];
    EXPECT_TRUE(lines[7].starts_with("\tqlxcc scte104 parse ")) << lines[7];
}

TEST(ToolLog, NeedsAFolderThatIsThere) {
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "x");
    const ToolResult none = runTool({"scte104", "build", "splice-null", "--log-folder", folder.path("none")});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_EQ(none.out, "");
    EXPECT_EQ(none.err, "qlxcc: " + folder.path("none") + ": No such file or directory\n");
    const ToolResult notAFolder = runTool({"scte104", "build", "splice-null", "--log-folder", file});
    EXPECT_EQ(notAFolder.exitCode, 1);
    EXPECT_EQ(notAFolder.err, "qlxcc: " + file + ": Not a directory\n");
}

TEST(ToolLog, SaysOnceThatItCannotBeWritten) {
    const TemporaryFolder folder;
    std::filesystem::permissions(folder.path(),
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec |
                                     std::filesystem::perms::others_read | std::filesystem::perms::others_exec);
    const ToolResult result = runTool(
        {"scte35", kSplice, "--pts", "4294967296", "--as-deployed", "--log-folder", folder.path()}, {.asNobody = true});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, kSection);
    EXPECT_EQ(result.err, "qlxcc: Error: Failed to write technical logs to '" + folder.path() + "'\n");
}

TEST(ToolLog, WrongUsageEndsWithCodeTwo) {
    for (const Arguments& arguments :
         std::vector<Arguments>{{"scan", "a.klv", "--log-level", "2"},
                                {"scan", "a.klv", "--log-folder", ".", "--log-level", "10"},
                                {"scan", "a.klv", "--log-folder", ".", "--log-level", "all"},
                                {"scan", "a.klv", "--log-folder"}}) {
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_TRUE(qlxtest::isOneMessage(result.err)) << result.err;
    }
}

}  // namespace
