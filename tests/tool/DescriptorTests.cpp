// Files and descriptors as people, shells and earlier runs leave them.
#include "SubtitleFiles.h"
#include "ToolRunner.h"
#include "io/TemporaryFile.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using qlxtest::playArguments;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

class Descriptors : public ::testing::Test {
protected:
    [[nodiscard]] std::vector<std::string> arguments(std::vector<std::string> more) const {
        more.insert(more.end(), {"--format", "jsonl"});
        return playArguments(subtitles, "25", more);
    }

    TemporaryFolder inputs;
    TemporaryFolder folder;
    std::string subtitles = inputs.write("in.srt", qlxtest::srt({{"00:00:00,040", "00:00:00,120", "Bonjour"}}));
    std::string whole = runTool(arguments({})).out;
};

TEST_F(Descriptors, WhatIsClosedIsNotTakenForAFileThatIsOpenedLater) {
    // It has something to say while its output is open: the captions are late.
    const ToolResult usual = runTool(qlxtest::captionArguments(subtitles, "25", {"--format", "jsonl"}));
    ASSERT_NE(usual.out, "");
    ASSERT_NE(usual.err, "");
    const std::vector<std::string> late =
        qlxtest::captionArguments(subtitles, "25", {"--format", "jsonl", "-o", folder.path("a")});
    for (const char* closed : {"2>&-", "1>&-", "0<&-", "0<&- 2>&-", "0<&- 1>&- 2>&-"}) {
        const ToolResult result = runTool(late, {.redirections = closed});
        EXPECT_EQ(result.exitCode, 0) << closed;
        EXPECT_EQ(result.out, "") << closed;
        EXPECT_EQ(folder.read("a"), usual.out) << closed;
        std::filesystem::remove(folder.path("a"));
    }
    EXPECT_EQ(runTool(arguments({}), {.redirections = "1>&-"}).err, "qlxcc: standard output: Bad file descriptor\n");
    EXPECT_EQ(runTool({"scan", "-"}, {.redirections = "0<&-"}).err,
              "qlxcc: standard input: byte 0: Bad file descriptor\n");
}

TEST_F(Descriptors, NamesOfDescriptorsAreWrittenWhereTheShellSays) {
    // As /dev/stdout is one: that itself is not put at risk.
    std::filesystem::create_symlink("/proc/self/fd/1", inputs.path("stdout"));
    std::filesystem::create_symlink("stdout", inputs.path("link"));
    const std::string file = folder.path("log");
    for (const auto& [name, redirection] :
         std::vector<std::pair<std::string, std::string>>{{inputs.path("stdout"), ">> "},
                                                          {"/dev/fd/3", "3>> "},
                                                          {"/proc/self/fd/1", ">> "},
                                                          {inputs.path("link"), ">> "}}) {
        folder.write("log", "before\n");
        const ToolResult result = runTool(arguments({"-o", name}), {.redirections = redirection + file});
        EXPECT_EQ(result.exitCode, 0) << name << result.err;
        EXPECT_EQ(folder.read("log"), "before\n" + whole) << name;
        EXPECT_EQ(folder.names(), std::vector<std::string>{"log"});
    }
    EXPECT_EQ(runTool(arguments({"-o", "/dev/fd/9"}), {.redirections = "9>&-"}).err,
              "qlxcc: /dev/fd/9: Bad file descriptor\n");
}

TEST_F(Descriptors, NeverWritesIntoTheFileThatItReads) {
    const std::string file = folder.write("a.jsonl", whole);
    const std::string refused = "standard output: is the input: the result would replace it\n";
    for (const char* output : {" >> ", " 1<> "}) {
        const std::string how = std::string("< ").append(file).append(output).append(file);
        EXPECT_EQ(runTool({"rate", "-", "--from", "25", "--to", "50", "-o", "-"}, {.redirections = how}).err,
                  "qlxcc: " + refused);
        EXPECT_EQ(runTool({"scan", file}, {.redirections = ">> " + file}).err, "qlxcc: " + refused);
        EXPECT_EQ(runTool({"scan", "-"}, {.redirections = how}).err, "qlxcc: " + refused);
    }
    EXPECT_EQ(runTool({"scan", file, "-o", "/dev/fd/1"}, {.redirections = ">> " + file}).err,
              "qlxcc: /dev/fd/1: is the input: the result would replace it\n");
    EXPECT_EQ(folder.read("a.jsonl"), whole);
    // Nothing is lost where both are a device.
    EXPECT_EQ(runTool({"scan", "/dev/null", "--from-format", "jsonl"}, {.redirections = "> /dev/null"}).err,
              runTool({"scan", "/dev/null", "--from-format", "jsonl"}).err);
}

TEST_F(Descriptors, ALinkToNothingIsFollowed) {
    const TemporaryFolder elsewhere;
    std::filesystem::create_symlink(elsewhere.path("real"), folder.path("far"));
    std::filesystem::create_symlink("far", folder.path("near"));
    EXPECT_EQ(runTool(arguments({"-o", folder.path("near")})).exitCode, 0);
    EXPECT_EQ(elsewhere.read("real"), whole);
    EXPECT_EQ(elsewhere.names(), std::vector<std::string>{"real"});
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("far")));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("near")));

    std::filesystem::create_symlink("round", folder.path("round"));
    const ToolResult round = runTool(arguments({"-o", folder.path("round")}));
    EXPECT_EQ(round.exitCode, 1);
    EXPECT_TRUE(qlxtest::isOneMessage(round.err)) << round.err;
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("round")));
}

TEST_F(Descriptors, RightsOfAnotherOwnerAreNotPassedOn) {
    const std::string file = folder.write("a", "old");
    const auto mode = [&] {
        struct stat status {};
        return ::stat(file.c_str(), &status) == 0 ? status.st_mode & 07777U : 0U;
    };
    ASSERT_EQ(::chmod(file.c_str(), 04750), 0);
    EXPECT_EQ(runTool(arguments({"-o", file})).exitCode, 0);
    EXPECT_EQ(mode(), 04750U);
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only the superuser gives files away";
    }
    constexpr uid_t kNobody = 65534;
    ASSERT_EQ(::chown(file.c_str(), kNobody, kNobody), 0);
    ASSERT_EQ(::chmod(file.c_str(), 06755), 0);
    EXPECT_EQ(runTool(arguments({"-o", file})).exitCode, 0);
    EXPECT_EQ(mode(), 0755U);
}

TEST_F(Descriptors, WaitsWhereTheSystemDoesNot) {
    const std::vector<std::string> longer = arguments({"--duration", "60"});
    const std::string expected = runTool(longer).out;
    ASSERT_GT(expected.size(), 65536U);
    const ToolResult written = runTool(longer, {.waitsForNothing = true});
    EXPECT_EQ(written.exitCode, 0) << written.err;
    EXPECT_EQ(written.out, expected);

    const std::vector<std::string> same{"rate", "-",  "--from-format", "jsonl", "--from", "25",
                                        "--to", "25", "--to-format",   "jsonl", "-o",     "-"};
    const ToolResult read =
        runTool(same, {.input = expected, .inputRestsAt = expected.size() / 2, .waitsForNothing = true});
    EXPECT_EQ(read.exitCode, 0) << read.err;
    EXPECT_EQ(read.out, runTool(same, {.input = expected}).out);
}

TEST_F(Descriptors, WhatAnEarlierRunLeftBehindIsRemoved) {
    const ToolResult killed = runTool(
        playArguments(subtitles, "59.94", {"--format", "jsonl", "--duration", "900:00:00", "-o", folder.path("a")}),
        {.waitForFileIn = folder.path(), .signal = SIGKILL});
    ASSERT_EQ(killed.signal, SIGKILL);
    ASSERT_EQ(folder.names(), std::vector<std::string>{".a.qlxcc.tmp"});
    folder.write(".a.qlxcc-1.tmp", "of a third run");
    folder.write(".b.qlxcc.tmp", "of another output");
    ASSERT_EQ(runTool(arguments({"-o", folder.path("a")})).exitCode, 0);
    EXPECT_EQ(folder.names(), (std::vector<std::string>{".b.qlxcc.tmp", "a"}));
    EXPECT_EQ(folder.read("a"), whole);
}

TEST_F(Descriptors, WhatAnotherRunIsWritingStays) {
    const std::string theirs = folder.write(".a.qlxcc.tmp", "theirs");
    const int lock = ::open(theirs.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(lock, LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(runTool(arguments({"-o", folder.path("a")})).exitCode, 0);
    ::close(lock);
    EXPECT_EQ(folder.names(), (std::vector<std::string>{".a.qlxcc.tmp", "a"}));
    EXPECT_EQ(folder.read(".a.qlxcc.tmp"), "theirs");
    EXPECT_EQ(folder.read("a"), whole);
}

TEST_F(Descriptors, TheLongestNameHasATemporaryOne) {
    const std::string name(255, 'n');
    EXPECT_EQ(runTool(arguments({"-o", folder.path(name)})).exitCode, 0);
    EXPECT_EQ(folder.names(), std::vector<std::string>{name});
}

TEST_F(Descriptors, ASignalToAnyThreadRemovesTheFile) {
    for (const int signal : {SIGTERM, SIGUSR2}) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            std::signal(signal, SIG_DFL);
            qlx::tool::TemporaryFile file;
            if (file.open(folder.path("a")) != 0 || ::access(folder.path(".a.qlxcc.tmp").c_str(), F_OK) != 0) {
                ::_exit(1);
            }
            std::thread([signal] { ::pthread_kill(::pthread_self(), signal); }).join();
            ::_exit(2);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status)) << status;
        EXPECT_EQ(WTERMSIG(status), signal);
        EXPECT_EQ(folder.names(), std::vector<std::string>{});
    }
}

}  // namespace
