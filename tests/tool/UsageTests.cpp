// Wrong usage, help and version.
#include "STLFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using qlxtest::isOneMessage;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;

class WrongUsage : public ::testing::TestWithParam<std::vector<std::string>> {};

TEST_P(WrongUsage, EndsWithCodeTwoAndOneMessage) {
    const auto result = runTool(GetParam());
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(isOneMessage(result.err)) << result.err;
    EXPECT_NE(result.err.find("--help)"), std::string::npos) << result.err;
}

INSTANTIATE_TEST_SUITE_P(
    CommandLines, WrongUsage,
    ::testing::Values(
        std::vector<std::string>{}, std::vector<std::string>{"paly"}, std::vector<std::string>{"--nothing"},
        std::vector<std::string>{"play"}, std::vector<std::string>{"play", "a.srt"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext"},
        std::vector<std::string>{"play", "a.srt", "--rate", "25"},
        std::vector<std::string>{"play", "--mode", "teletext", "--rate", "25"},
        std::vector<std::string>{"play", "a.srt", "b.srt", "--mode", "teletext", "--rate", "25"},
        std::vector<std::string>{"play", "a.srt", "--mode", "telex", "--rate", "25"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "26"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "25", "--from", "soon"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "25", "--from", "-1"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "25", "--from", "00:60:00,000"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "25", "--duration", "0"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "25", "--duration", "nan"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "25", "--duration", "3600001"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "25", "--from", "00:00:01:25"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "25", "--duration", "00:00:01;10"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "29.97", "--from", "00:01:00;00"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "25", "--duration", "00:00:00:00"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "25/2"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "25", "--encoding", "latin"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "25", "--encoding", ""},
        std::vector<std::string>{"subs", "a.srt", "--encoding", "ASCII//TRANSLIT"},
        std::vector<std::string>{"subs", "a.srt", "--mode", "cea608"},
        std::vector<std::string>{"subs", "a.srt", "--mode", "telex"}, std::vector<std::string>{"subs"},
        std::vector<std::string>{"scte104", "build", "splice-start", "--event-id", "1", "--duration", "00:00:30:00"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "25", "--format", "2vuy"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "25", "-o", "a.txt"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "25", "-o", "-"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "25", "--width", "720"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "25", "-o", "a.v210", "--width",
                                 "0"}));

INSTANTIATE_TEST_SUITE_P(
    ScanCommandLines, WrongUsage,
    ::testing::Values(
        std::vector<std::string>{"scan"}, std::vector<std::string>{"scan", "a.v210", "--format", "srt"},
        std::vector<std::string>{"scan", "a.v210", "--width", "0"},
        std::vector<std::string>{"scan", "a.v210", "--width", "wide"},
        std::vector<std::string>{"scan", "a.v210", "--lines", "12,"},
        std::vector<std::string>{"scan", "a.v210", "--lines", ""},
        std::vector<std::string>{"scan", "a.v210", "--lines", "12;575"},
        std::vector<std::string>{"scan", "a.v210", "--lines", "575,12"},
        std::vector<std::string>{"scan", "a.v210", "--lines", "12,12"},
        std::vector<std::string>{"scan", "a.v210", "--lines", "65536"},
        std::vector<std::string>{"scan", "a.v210", "--lines", "-1"},
        std::vector<std::string>{"scan", "a.v210", "--rows", "0"},
        std::vector<std::string>{"scan", "a.v210", "--rows", "2", "--lines", "1,2"},
        std::vector<std::string>{"scan", "a.klv", "--lines", "12,575"},
        std::vector<std::string>{"scan", "a.klv", "--near-start"},
        std::vector<std::string>{"scan", "a.v210", "--from-format", "srt"},
        std::vector<std::string>{"extract", "a.h264", "--rows", "2"},
        std::vector<std::string>{"extract", "a.h264", "--near-start"},
        std::vector<std::string>{"extract", "a", "--codec", "h264", "--from-format", "v210"},
        std::vector<std::string>{"extract", "a", "--from-format", "srt"},
        std::vector<std::string>{"rate", "a.klv", "--from", "25", "--to", "50", "-o", "b.klv", "--lines", "9"},
        std::vector<std::string>{"rate", "a", "--from", "25", "--to", "50", "-o", "b.klv", "--from-format", "scc"},
        std::vector<std::string>{"scan", "a.klv", "--width", "720"}));

INSTANTIATE_TEST_SUITE_P(
    CaptionCommandLines, WrongUsage,
    ::testing::Values(
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "29.97", "-o", "a.scc"},
        std::vector<std::string>{"play", "a.srt", "--mode", "cea608", "--rate", "25", "-o", "a.scc"},
        std::vector<std::string>{"play", "a.srt", "--mode", "cea608", "--rate", "30", "--format", "scc"},
        std::vector<std::string>{"play", "a.srt", "--mode", "cea608", "--rate", "29.97", "-o", "a.klv", "--non-drop"},
        std::vector<std::string>{"play", "a.srt", "--mode", "cea608", "--rate", "25", "-o", "a.klv", "--sd"},
        std::vector<std::string>{"play", "a.srt", "--mode", "cea608", "--rate", "29.97", "-o", "a.scc", "--no-fill"},
        std::vector<std::string>{"play", "a.srt", "--mode", "cea608", "--rate", "29.97", "--no-fill"},
        std::vector<std::string>{"play", "a.srt", "--mode", "teletext", "--rate", "25", "-o", "a.klv", "--no-fill"},
        std::vector<std::string>{"extract"}, std::vector<std::string>{"extract", "a.264", "--codec", "h266"},
        std::vector<std::string>{"extract", "a.264", "--format", "cc2"}, std::vector<std::string>{"rate", "a.klv"},
        std::vector<std::string>{"rate", "a.klv", "--from", "25", "--to", "50"},
        std::vector<std::string>{"rate", "a.klv", "--from", "25", "-o", "b.klv"},
        std::vector<std::string>{"rate", "a.klv", "--from", "25", "--to", "25", "-o", "b.klv", "--as-deployed"},
        std::vector<std::string>{"rate", "a.klv", "--from", "24", "--to", "48", "-o", "b.klv"},
        std::vector<std::string>{"rate", "a.klv", "--from", "24", "--to", "23.976", "-o", "b.klv", "--as-deployed"},
        std::vector<std::string>{"rate", "a.klv", "--from", "29.97", "--to", "60", "-o", "b.klv", "--as-deployed"},
        std::vector<std::string>{"rate", "a.klv", "--from", "60", "--to", "29.97", "-o", "b.klv", "--as-deployed"}));

TEST(Usage, SaysWhichRatesBelongTogether) {
    const auto result = runTool({"rate", "a.klv", "--from", "24", "--to", "60", "-o", "b.klv", "--as-deployed"});
    EXPECT_EQ(
        result.err,
        "qlxcc: no way from 24 to 60 frames/s with --as-deployed: one rate must be the double of the other (25 and 50, "
        "29.97 and 59.94, 30 and 60) (see qlxcc rate --help)\n");
}

/// The commands that a help text lists.
std::vector<std::string> commandsIn(const std::string& help) {
    std::vector<std::string> names;
    bool isList = false;
    for (const std::string& line : qlxtest::linesOf(help)) {
        if (line == "Subcommands:") {
            isList = true;
        } else if (!line.starts_with("  ")) {
            isList = false;
        } else if (isList && line[2] != ' ') {
            names.push_back(line.substr(2, line.find(' ', 2) - 2));
        }
    }
    return names;
}

/// Checks the help of a command and of those inside of it.
/// @return How many there are.
std::size_t checkHelp(std::vector<std::string> command) {
    std::string called = "qlxcc";
    for (const std::string& name : command) {
        called += " " + name;
    }
    command.push_back("--help");
    const auto result = runTool(command);
    command.pop_back();
    EXPECT_EQ(result.exitCode, 0) << called;
    EXPECT_EQ(result.err, "") << called;
    std::size_t examples = 0;
    bool areExamples = false;
    for (const std::string& line : qlxtest::linesOf(result.out)) {
        EXPECT_LE(line.size(), 120U) << called << ": " << line;
        areExamples = areExamples || line == "Examples:";
        examples += areExamples && line.find(called + " ") != std::string::npos ? 1 : 0;
    }
    EXPECT_GE(examples, 2U) << called;
    std::size_t count = 1;
    for (const std::string& inner : commandsIn(result.out)) {
        std::vector<std::string> whole = command;
        whole.push_back(inner);
        count += checkHelp(whole);
    }
    return count;
}

TEST(Usage, HelpShowsTwoExamplesOfEachCommand) {
    const std::vector<std::string> names = commandsIn(runTool({"--help"}).out);
    for (const std::string& command : std::vector<std::string>{"play", "subs", "scan", "extract", "rate"}) {
        EXPECT_NE(std::find(names.begin(), names.end(), command), names.end()) << command;
    }
    // The two of scte104 are inside of it.
    EXPECT_GE(checkHelp({}), names.size() + 3);
}

/// Gives every command, by its words, what it does not know, and collects those that do not refer to their own help.
/// @return How many commands there are.
std::size_t checkRefusal(const std::vector<std::string>& command, std::vector<std::string>& others) {
    std::string called = "qlxcc";
    for (const std::string& name : command) {
        called += " " + name;
    }
    std::vector<std::string> arguments = command;
    arguments.emplace_back("--what-nobody-knows");
    const std::string problem = runTool(arguments).err;
    if (!isOneMessage(problem) || !problem.ends_with(" (see " + called + " --help)\n")) {
        others.push_back(called + ": " + problem);
    }
    arguments.back() = "--help";
    std::size_t count = 1;
    for (const std::string& inner : commandsIn(runTool(arguments).out)) {
        arguments.back() = inner;
        count += checkRefusal(arguments, others);
    }
    return count;
}

TEST(Usage, EveryCommandRefersToItsOwnHelp) {
    std::vector<std::string> others;
    // qlxcc, its eleven commands, and two each of scte104 and line21.
    EXPECT_EQ(checkRefusal({}, others), 16U);
    EXPECT_EQ(others, std::vector<std::string>{});
}

TEST(Usage, RefersToTheCommandsHelpForWhatOnlyAFileShows) {
    const TemporaryFolder folder;
    const std::string srt = folder.write("film.txt", "1\n00:00:01,000 --> 00:00:02,000\nBonjour\n");
    const std::string rubbish = folder.write("rubbish", std::string(5000, '\x55'));
    const std::string rows = folder.write("a.v210", std::string(128, '\0'));
    const std::string timeless = folder.write("a.jsonl", "{\"frame\":0,\"packets\":[]}\n");
    const std::string stl = folder.write("film.bin", qlxtest::stl({{.text = "Bonjour"}}));
    const std::vector<std::pair<std::vector<std::string>, std::string>> wrong{
        {{"scan", srt}, "scan"},
        {{"scan", rubbish}, "scan"},
        {{"scan", folder.write("lines", "{\"frame\":0}\n"), "--rows", "2"}, "scan"},
        {{"show", srt, "--all"}, "show"},
        {{"show", rubbish, "--all"}, "show"},
        {{"show", timeless, "--all"}, "show"},
        {{"show", rows, "--all", "--rate", "25"}, "show"},
        {{"show", timeless, "--rate", "25", "--at", "00:00:01:25"}, "show"},
        {{"play", stl, "--mode", "teletext", "--rate", "25", "--encoding", "UTF-8"}, "play"},
        {{"subs", stl, "--encoding", "UTF-8"}, "subs"},
        {{"line21", "read", srt}, "line21 read"},
        {{"line21", "read", rubbish}, "line21 read"},
        {{"line21", "write", rubbish, "--bytes", "942c", "-o", folder.path("out")}, "line21 write"},
    };
    for (const auto& [arguments, command] : wrong) {
        const auto result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 2) << command << " " << arguments[1];
        EXPECT_TRUE(isOneMessage(result.err)) << result.err;
        EXPECT_TRUE(result.err.ends_with(" (see qlxcc " + command + " --help)\n")) << result.err;
    }
}

TEST(Usage, WhatSaysWhatAFileHoldsHasJsonAndAllCommandsHaveAnOutput) {
    const std::vector<std::pair<std::vector<std::string>, bool>> commands{
        {{"play"}, false},
        {{"subs"}, true},
        {{"scan"}, true},
        {{"show"}, true},
        {{"extract"}, true},
        {{"rate"}, false},
        {{"scte104", "build"}, false},
        {{"scte104", "parse"}, true},
        {{"scte35"}, false},
        {{"line21", "write"}, false},
        {{"line21", "read"}, true},
    };
    for (auto [command, hasJson] : commands) {
        command.emplace_back("--help");
        const std::string help = runTool(command).out;
        EXPECT_EQ(help.find("\n  --json ") != std::string::npos, hasJson) << help;
        EXPECT_NE(help.find("\n  -o,--output FILE "), std::string::npos) << help;
    }
}

TEST(Usage, APipeNeedsAFormat) {
    const auto result = runTool({"play", "a.srt", "--mode", "teletext", "--rate", "25", "-o", "-"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err, "qlxcc: --to-format is needed when writing to a pipe (see qlxcc play --help)\n");
}

TEST(Usage, VersionIsOneLine) {
    const auto result = runTool({"--version"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(result.out.starts_with("qlxcc ")) << result.out;
    EXPECT_EQ(qlxtest::linesOf(result.out).size(), 1U);
}

TEST(Usage, WrongUsageLeavesTheOutputAlone) {
    const TemporaryFolder folder;
    folder.write("old.v210", "old");
    const auto result =
        runTool({"play", folder.path("a.srt"), "--mode", "teletext", "--rate", "12", "-o", folder.path("old.v210")});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(folder.read("old.v210"), "old");
}

}  // namespace
