// Where results go, and what is left when they cannot.
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using qlxtest::linesOf;
using qlxtest::playArguments;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

const std::string kCue = srt({{"00:00:00,040", "00:00:00,120", "Bonjour"}});

class Output : public ::testing::Test {
protected:
    ToolResult playTo(const std::string& target, std::vector<std::string> more = {},
                      const qlxtest::ToolConditions& conditions = {}) {
        more.insert(more.end(), {"-o", target});
        return runTool(playArguments(subtitles, "25", more), conditions);
    }

    /// Some 200 million frames as text: a run that is still at work when the time that a test may take is over.
    [[nodiscard]] std::vector<std::string> endlessArguments(const std::string& target) const {
        return playArguments(subtitles, "50", {"--format", "jsonl", "--duration", "900:00:00", "-o", target});
    }

    TemporaryFolder inputs;
    TemporaryFolder folder;
    std::string subtitles = inputs.write("in.srt", kCue);
};

TEST_F(Output, FormatFollowsTheNameOfTheFile) {
    EXPECT_EQ(playTo(folder.path("a.v210")).exitCode, 0);
    EXPECT_EQ(playTo(folder.path("a.klv")).exitCode, 0);
    EXPECT_EQ(playTo(folder.path("a.jsonl")).exitCode, 0);
    EXPECT_EQ(playTo(folder.path("a.dat"), {"--format", "klv"}).exitCode, 0);
    // 28 frames of two rows of 5120 bytes; of a key, 4 length bytes and an element with its count. Three packets, each with
    // a 14-byte header, have DID, SDID, DC and data padded to a multiple of 4: a header's 58 bytes, those of a row and a
    // closing header (103) and, at the end, of two headers (103).
    EXPECT_EQ(folder.read("a.v210").size(), 28U * 2 * 5120);
    EXPECT_EQ(folder.read("a.klv").size(), 28U * (16 + 4 + 2) + 3 * 14 + 64 + 108 + 108);
    EXPECT_EQ(folder.read("a.dat"), folder.read("a.klv"));
    EXPECT_EQ(linesOf(folder.read("a.jsonl")).size(), 28U);
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.dat", "a.jsonl", "a.klv", "a.v210"}));
}

TEST_F(Output, DashAndNothingAreStandardOutput) {
    ASSERT_EQ(playTo(folder.path("a.klv")).exitCode, 0);
    EXPECT_EQ(playTo("-", {"--format", "klv"}).out, folder.read("a.klv"));
    EXPECT_EQ(runTool(playArguments(subtitles, "25", {"--format", "klv"})).out, folder.read("a.klv"));
}

TEST_F(Output, ReplacesAFileAndKeepsItsPermissions) {
    const std::string target = folder.write("a.jsonl", "old");
    ASSERT_EQ(::chmod(target.c_str(), 0640), 0);
    EXPECT_EQ(playTo(target).exitCode, 0);
    EXPECT_EQ(linesOf(folder.read("a.jsonl")).size(), 28U);
    struct stat status {};
    ASSERT_EQ(::stat(target.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
}

TEST_F(Output, FollowsASymbolicLink) {
    const TemporaryFolder elsewhere;
    elsewhere.write("real.jsonl", "old");
    std::filesystem::create_symlink(elsewhere.path("real.jsonl"), folder.path("link.jsonl"));
    EXPECT_EQ(playTo(folder.path("link.jsonl")).exitCode, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link.jsonl")));
    EXPECT_EQ(linesOf(elsewhere.read("real.jsonl")).size(), 28U);
    EXPECT_EQ(elsewhere.names(), std::vector<std::string>{"real.jsonl"});
}

TEST_F(Output, NeverReplacesADevice) {
    EXPECT_EQ(playTo("/dev/null", {"--format", "klv"}).exitCode, 0);
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    const ToolResult full = playTo("/dev/full", {"--format", "klv"});
    EXPECT_EQ(full.exitCode, 1);
    EXPECT_EQ(full.err, "qlxcc: /dev/full: No space left on device\n");
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

TEST_F(Output, NeverReplacesItsOwnInput) {
    const std::string link = folder.path("link.jsonl");
    std::filesystem::create_symlink(subtitles, link);
    for (const std::string& target : {subtitles, link}) {
        const ToolResult result = playTo(target, {"--format", "jsonl"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "qlxcc: " + target + ": is the input: the result would replace it\n");
    }
    EXPECT_EQ(inputs.read("in.srt"), kCue);
    EXPECT_EQ(inputs.names(), std::vector<std::string>{"in.srt"});
    EXPECT_EQ(folder.names(), std::vector<std::string>{"link.jsonl"});
    const std::string klv = folder.write("a.klv", "klv");
    EXPECT_EQ(runTool({"rate", klv, "--from", "25", "--to", "50", "-o", klv}).err,
              "qlxcc: " + klv + ": is the input: the result would replace it\n");
    EXPECT_EQ(folder.read("a.klv"), "klv");
}

TEST_F(Output, SaysWhereItCannotWrite) {
    const ToolResult missing = playTo(folder.path("no/a.klv"));
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err, "qlxcc: " + folder.path("no/a.klv") + ": No such file or directory\n");

    const ToolResult directory = playTo(folder.path(), {"--format", "klv"});
    EXPECT_EQ(directory.exitCode, 1);
    EXPECT_EQ(directory.err, "qlxcc: " + folder.path() + ": Is a directory\n");

    const ToolResult slash = playTo(folder.path("new/"), {"--format", "klv"});
    EXPECT_EQ(slash.exitCode, 1);
    EXPECT_TRUE(qlxtest::isOneMessage(slash.err)) << slash.err;
    EXPECT_EQ(folder.names(), std::vector<std::string>{});
}

TEST_F(Output, LeavesAReadOnlyFolderAlone) {
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0555));
    const ToolResult result = playTo(folder.path("a.klv"), {}, {.asNobody = true});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "qlxcc: " + folder.path("a.klv") + ": Permission denied\n");
    EXPECT_EQ(folder.names(), std::vector<std::string>{});
}

TEST_F(Output, LeavesAReadOnlyFileAlone) {
    const std::string target = folder.write("a.klv", "old");
    std::filesystem::permissions(target, std::filesystem::perms(0444));
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0777));
    const ToolResult result = playTo(target, {}, {.asNobody = true});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "qlxcc: " + target + ": Permission denied\n");
    EXPECT_EQ(folder.read("a.klv"), "old");
}

TEST_F(Output, LeavesNothingHalfWrittenWhenThereIsNoRoom) {
    folder.write("old.v210", "old");
    for (const std::string& name : std::vector<std::string>{"old.v210", "new.v210"}) {
        const ToolResult result = playTo(folder.path(name), {}, {.greatestFile = 100000});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, "qlxcc: " + folder.path(name) + ": File too large\n");
    }
    EXPECT_EQ(folder.names(), std::vector<std::string>{"old.v210"});
    EXPECT_EQ(folder.read("old.v210"), "old");
}

TEST_F(Output, LeavesNothingWhenASignalEndsIt) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGUSR1, SIGALRM, SIGVTALRM, SIGXCPU, SIGRTMAX}) {
        const ToolResult result =
            runTool(endlessArguments(folder.path("a.jsonl")), {.waitForFileIn = folder.path(), .signal = signal});
        EXPECT_EQ(result.signal, signal) << result.err;
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(folder.names(), std::vector<std::string>{});
    }
}

TEST_F(Output, ShowsProgressOnATerminal) {
    const ToolResult result = runTool(endlessArguments("/dev/null"), {.signal = SIGTERM, .waitForText = " left\x1b[K"});
    EXPECT_EQ(result.signal, SIGTERM);
    EXPECT_TRUE(result.err.starts_with("\rqlxcc: ")) << result.err;
    EXPECT_NE(result.err.find(" frames, "), std::string::npos) << result.err;
    EXPECT_NE(result.err.find(" %, "), std::string::npos) << result.err;
    EXPECT_NE(result.err.find(" frames/s, "), std::string::npos) << result.err;
}

TEST_F(Output, EndsQuietlyWhenNobodyReads) {
    const std::vector<std::string> formats{"v210", "klv", "jsonl"};
    for (const std::string& format : formats) {
        const ToolResult result =
            runTool(playArguments(subtitles, "25", {"--format", format, "--duration", "60"}), {.outputIsClosed = true});
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.signal, 0);
        EXPECT_EQ(result.err, "");
    }
    const ToolResult schedule = runTool(playArguments(subtitles, "25"), {.outputIsClosed = true});
    EXPECT_EQ(schedule.exitCode, 0);
    EXPECT_EQ(schedule.err, "");

    ASSERT_EQ(playTo(folder.path("a.klv")).exitCode, 0);
    for (const std::vector<std::string>& more :
         std::vector<std::vector<std::string>>{std::vector<std::string>{}, {"--json"}}) {
        std::vector<std::string> arguments{"scan", folder.path("a.klv")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ToolResult scan = runTool(arguments, {.outputIsClosed = true});
        EXPECT_EQ(scan.exitCode, 0);
        EXPECT_EQ(scan.err, "");
    }
}

TEST_F(Output, ReportsAFullStandardOutput) {
    const ToolResult play = runTool(playArguments(subtitles, "25"), {.outputFile = "/dev/full"});
    EXPECT_EQ(play.exitCode, 1);
    EXPECT_EQ(play.err, "qlxcc: standard output: No space left on device\n");
    ASSERT_EQ(playTo(folder.path("a.klv")).exitCode, 0);
    const ToolResult scan = runTool({"scan", folder.path("a.klv")}, {.outputFile = "/dev/full"});
    EXPECT_EQ(scan.exitCode, 1);
    EXPECT_EQ(scan.err, "qlxcc: standard output: No space left on device\n");
}

TEST_F(Output, ReportsThatAnAnswerCannotBePrinted) {
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{{"--help"},
                                                                                           {"--version"},
                                                                                           {"show", "--help"},
                                                                                           {"line21", "read", "-h"},
                                                                                           {"completion", "bash"},
                                                                                           {"completion", "zsh"}}) {
        const ToolResult full = runTool(arguments, {.outputFile = "/dev/full"});
        EXPECT_EQ(full.exitCode, 1) << arguments.front();
        EXPECT_EQ(full.err, "qlxcc: standard output: No space left on device\n") << arguments.front();
        const ToolResult unread = runTool(arguments, {.outputIsClosed = true});
        EXPECT_EQ(unread.exitCode, 0) << arguments.front();
        EXPECT_EQ(unread.err, "") << arguments.front();
    }
}

TEST_F(Output, ListsGoToFilesWhenEverythingCouldBeRead) {
    ASSERT_EQ(playTo(inputs.path("a.klv")).exitCode, 0);
    const std::string whole = inputs.read("a.klv");
    const std::string cut = inputs.write("cut.klv", std::string_view(whole).substr(0, whole.size() - 1));
    const std::string list = folder.path("list");
    for (const std::vector<std::string>& command :
         std::vector<std::vector<std::string>>{{"scan"}, {"show", "--all", "--rate", "25"}}) {
        const auto outputOf = [&](const std::string& file, const std::vector<std::string>& more) {
            std::vector<std::string> arguments = command;
            arguments.push_back(file);
            arguments.insert(arguments.end(), more.begin(), more.end());
            return runTool(arguments);
        };
        const std::string expected = outputOf(inputs.path("a.klv"), {}).out;
        EXPECT_NE(expected, "");
        const ToolResult written = outputOf(inputs.path("a.klv"), {"-o", list});
        EXPECT_EQ(written.exitCode, 0);
        EXPECT_EQ(written.out + written.err, "");
        EXPECT_EQ(folder.read("list"), expected);
        EXPECT_EQ(outputOf(inputs.path("a.klv"), {"--output", "-"}).out, expected);
        std::filesystem::remove(list);
        const ToolResult broken = outputOf(cut, {"-o", list});
        EXPECT_EQ(broken.exitCode, 1);
        EXPECT_EQ(broken.out, "");
        const auto lines = qlxtest::linesOf(broken.err);
        ASSERT_EQ(lines.size(), 2U) << broken.err;
        EXPECT_NE(lines[0].find(": KLV triplet cut short: "), std::string::npos) << broken.err;
        EXPECT_EQ(lines[1],
                  "qlxcc: " + cut + ": 1 problem: not every packet could be read; " + list + " is not written");
        EXPECT_EQ(outputOf(cut, {"-o", cut}).err, "qlxcc: " + cut + ": is the input: the result would replace it\n");
        EXPECT_EQ(folder.names(), std::vector<std::string>{});
    }
}

}  // namespace
