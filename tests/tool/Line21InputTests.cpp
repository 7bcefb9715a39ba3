// qlxcc line21: how it finds out what the pictures are, and where its results go.
#include "ToolRunner.h"
#include "pictures/ImageFile.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using qlx::tool::Image;
using qlx::tool::ImageFormat;
using qlxtest::isOneMessage;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

// What is read of a picture that write has made with one pair: the sample has the pair and bit 7 of the null pair.
const std::string kErase = "   frame  sample    row  pair  what\n"
                           "       0  94ac8000    1  942c  parity ok, erase displayed memory\n"
                           "                      2  8080  parity ok, null\n";

/// A picture with the pair 942c in a file of this name, in the format that the name says.
std::string erasing(const TemporaryFolder& folder, const std::string& name) {
    EXPECT_EQ(runTool({"line21", "write", "--bytes", "942c", "-o", folder.path(name)}).exitCode, 0);
    return folder.path(name);
}

bool hasPng(const TemporaryFolder& folder) {
    return runTool({"line21", "write", "--bytes", "942c", "-o", folder.path("test.png")}).exitCode == 0;
}

TEST(Line21Input, ContentTellsAPicture) {
    const TemporaryFolder folder;
    std::vector<std::string> names{"a.ppm"};
    if (hasPng(folder)) {
        names.emplace_back("a.png");
    }
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const std::string content = folder.read(std::filesystem::path(erasing(folder, name)).filename().string());
        // Without an extension, with one that says nothing, with the other format's, and from a pipe.
        for (const char* const other : {"picture", "picture.old", name == "a.ppm" ? "b.png" : "b.ppm"}) {
            EXPECT_EQ(runTool({"line21", "read", folder.write(other, content)}).out, kErase) << other;
        }
        EXPECT_EQ(runTool({"line21", "read", "-"}, {.input = content}).out, kErase);
        const ToolResult written =
            runTool({"line21", "write", "-", "--bytes", "9420", "-o", folder.path("out")}, {.input = content});
        EXPECT_EQ(written.exitCode, 0) << written.err;
        // The format stays that of the content.
        EXPECT_EQ(folder.read("out").substr(0, 2), content.substr(0, 2));
        EXPECT_NE(runTool({"line21", "read", folder.path("out")}).out.find("resume caption loading"),
                  std::string::npos);
    }
}

TEST(Line21Input, AnotherNameMakesThePictureAnother) {
    const TemporaryFolder folder;
    if (!hasPng(folder)) {
        GTEST_SKIP() << "built without PNG files";
    }
    const std::string file = folder.write("picture", folder.read("test.png"));
    EXPECT_EQ(runTool({"line21", "write", file, "--bytes", "942c", "-o", folder.path("a.ppm")}).exitCode, 0);
    EXPECT_EQ(folder.read("a.ppm").substr(0, 2), "P6");
}

TEST(Line21Input, ANameOfRawPicturesIsBelieved) {
    const TemporaryFolder folder;
    // Pixels that begin as a PPM file does.
    const std::string pixels = "P6\n " + std::string(std::size_t{720} * 3 * 4 - 4, '\0');
    for (const char* const name : {"a.bgra", "A.ARGB", "a.uyvy", "a.v210"}) {
        const ToolResult result = runTool({"line21", "read", folder.write(name, pixels)});
        EXPECT_EQ(result.exitCode, 2) << name;
        EXPECT_EQ(result.err,
                  "qlxcc: --width and --height are needed for raw pictures (see qlxcc line21 read --help)\n");
    }
    const ToolResult raw = runTool({"line21", "read", folder.path("a.bgra"), "--width", "720", "--height", "3"});
    EXPECT_EQ(raw.exitCode, 0) << raw.err;
    // --format goes above everything.
    const ToolResult given = runTool({"line21", "read", folder.path("a.bgra"), "--format", "ppm"});
    EXPECT_EQ(given.exitCode, 1);
    EXPECT_NE(given.err.find("PPM header"), std::string::npos) << given.err;
}

TEST(Line21Input, WhatCannotBeOpenedComesFirst) {
    const TemporaryFolder folder;
    const std::string empty = folder.write("empty", "");
    const std::vector<std::pair<std::string, std::string>> wrong{
        {folder.path("none"), ": No such file or directory"},
        {folder.path("none.v210"), ": No such file or directory"},
        {folder.path(), ": Is a directory"},
        {empty, ": byte 0: the file is empty"},
        {folder.write("empty.png", ""), ": byte 0: the file is empty"},
    };
    for (const auto& [file, what] : wrong) {
        for (const auto& arguments : {std::vector<std::string>{"line21", "read", file},
                                      {"line21", "write", file, "--bytes", "942c", "-o", folder.path("out.png")}}) {
            const ToolResult result = runTool(arguments);
            EXPECT_EQ(result.exitCode, 1) << file;
            EXPECT_EQ(result.out, "");
            EXPECT_EQ(result.err, "qlxcc: " + file + what + "\n");
        }
    }
    EXPECT_EQ(runTool({"line21", "read", "-"}).err, "qlxcc: standard input: byte 0: the file is empty\n");
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"empty", "empty.png"}));
}

class WrongLine21Input : public ::testing::Test {
protected:
    /// What `line21 COMMAND FILE` and more says, without the beginning and the end that every usage error has.
    std::string problemOf(const std::string& command, const std::string& name,
                          const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments{"line21", command, folder.path(name)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.out, "");
        const std::string end = " (see qlxcc line21 " + command + " --help)\n";
        if (!isOneMessage(result.err) || !result.err.ends_with(end)) {
            return result.err;
        }
        return result.err.substr(7, result.err.size() - 7 - end.size());
    }

    std::vector<std::string> writing(const std::string& output, std::vector<std::string> more = {}) {
        more.insert(more.end(), {"--bytes", "942c", "-o", folder.path(output)});
        return more;
    }

    TemporaryFolder folder;
};

TEST_F(WrongLine21Input, IsNamed) {
    const std::string rubbish = folder.write("rubbish", std::string(5000, '\x55'));
    const std::string srt = folder.write("film.txt", "1\n00:00:01,000 --> 00:00:02,000\nBonjour\n");
    EXPECT_EQ(problemOf("read", "rubbish"),
              "--from-format is needed: neither the content nor the name of " + rubbish + " tells the format");
    const std::string what = srt + " is an SRT file, in which no line 21 is looked for: such files are for qlxcc subs, "
                                   "play and convert";
    EXPECT_EQ(problemOf("read", "film.txt"), what);
    EXPECT_EQ(problemOf("write", "film.txt", writing("out.png")), what);
}

TEST_F(WrongLine21Input, SizeGoesWithRawPicturesOnly) {
    folder.write("a.v210", "rows");
    folder.write("a.420v", "planes");
    qlx::tool::saveImage(Image(720, 3), folder.path("a.ppm"), ImageFormat::Ppm);
    const std::string needed = "--width and --height are needed for raw pictures";
    EXPECT_EQ(problemOf("write", "a.v210", writing("b.v210")), needed);
    EXPECT_EQ(problemOf("read", "a.420v", {"--height", "480"}), needed);
    const std::string ownSize = "--width and --height are for raw pictures: a PNG or PPM file says its own";
    EXPECT_EQ(problemOf("write", "a.ppm", writing("b.ppm", {"--width", "720"})), ownSize);
    EXPECT_EQ(problemOf("read", "a.ppm", {"--height", "486"}), ownSize);
    EXPECT_EQ(problemOf("read", "a.v210", {"--width", "705", "--height", "486"}),
              "a picture of 705 x 486 pixels is too small: line 21 takes 706 x 3");
}

TEST_F(WrongLine21Input, OutputIsOfThePicturesOwnKind) {
    folder.write("a.v210", "rows");
    qlx::tool::saveImage(Image(720, 3), folder.path("a.ppm"), ImageFormat::Ppm);
    const std::vector<std::string> size{"--width", "720", "--height", "3"};
    EXPECT_EQ(problemOf("write", "a.v210", writing("b.2vuy", size)),
              "-o: the pictures are written as they are (v210), not as 2vuy");
    EXPECT_EQ(problemOf("write", "a.v210", writing("b.png", size)),
              "-o: the pictures are written as they are (v210), not as png");
    EXPECT_EQ(problemOf("write", "a.ppm", writing("b.v210")),
              "-o: the pictures are written as they are (ppm), not as v210");
    EXPECT_EQ(problemOf("write", "a.ppm", writing("b.ppm", {"--bytes", "9420"})),
              "a PNG or PPM file is one picture: it takes one byte pair");
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.ppm", "a.v210"}));
}

// --- pictures that options name: --preview of line21, --png of show

TEST(PictureName, MustNotBeThatOfAnotherKindOfFile) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.jsonl", "{\"frame\":0,\"pts\":{\"value\":0,\"timescale\":25}}\n");
    const std::string picture = erasing(folder, "a.ppm");
    for (const char* const name : {"j.gif", "j.JPG", "j.tiff", "j.bgra", "j.v210", "j.mov"}) {
        const std::string target = folder.path(name);
        const std::string what = ": the name of " + target + " must end in .png or .ppm";
        const ToolResult shown = runTool({"show", file, "--at", "0", "--png", target});
        EXPECT_EQ(shown.exitCode, 2);
        EXPECT_EQ(shown.err, "qlxcc: --png" + what + " (see qlxcc show --help)\n");
        const ToolResult read = runTool({"line21", "read", picture, "--preview", target});
        EXPECT_EQ(read.exitCode, 2);
        EXPECT_EQ(read.err, "qlxcc: --preview" + what + " (see qlxcc line21 read --help)\n");
    }
    EXPECT_EQ(runTool({"show", file, "--at", "0", "--png", "-"}).err,
              "qlxcc: --png needs the name of a file (see qlxcc show --help)\n");
    EXPECT_EQ(runTool({"line21", "read", picture, "--preview", "-"}).err,
              "qlxcc: --preview needs the name of a file (see qlxcc line21 read --help)\n");
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.jsonl", "a.ppm"}));
}

TEST(PictureName, MayBeWithoutAnExtension) {
    const TemporaryFolder folder;
    if (!hasPng(folder)) {
        GTEST_SKIP() << "built without PNG files";
    }
    ASSERT_EQ(runTool({"line21", "read", folder.path("test.png"), "--preview", folder.path("waveform")}).exitCode, 0);
    EXPECT_EQ(folder.read("waveform").substr(0, 4), "\x89PNG");
    ASSERT_EQ(runTool({"line21", "read", folder.path("test.png"), "--preview", folder.path("take.2")}).exitCode, 0);
    EXPECT_EQ(folder.read("take.2"), folder.read("waveform"));
    ASSERT_EQ(runTool({"line21", "read", folder.path("test.png"), "--preview", folder.path("a.PPM")}).exitCode, 0);
    EXPECT_EQ(folder.read("a.PPM").substr(0, 2), "P6");
}

// --- the list of read in a file ---------------------------------------------------------------------------------------

TEST(Line21Output, ListGoesToAFile) {
    const TemporaryFolder folder;
    const std::string file = erasing(folder, "a.ppm");
    const std::string list = folder.path("list");
    const ToolResult result = runTool({"line21", "read", file, "-o", list, "--preview", folder.path("p.ppm")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_EQ(folder.read("list"), kErase);
    EXPECT_EQ(runTool({"line21", "read", file, "--output", "-"}).out, kErase);
    EXPECT_EQ(runTool({"line21", "read", file, "--json", "-o", list}).exitCode, 0);
    EXPECT_EQ(folder.read("list"), runTool({"line21", "read", file, "--json"}).out);
    EXPECT_EQ(runTool({"line21", "read", file, "-o", list, "--preview", list}).err,
              "qlxcc: -o and --preview name the same file (see qlxcc line21 read --help)\n");
    EXPECT_EQ(runTool({"line21", "read", file, "-o", file}).err,
              "qlxcc: " + file + ": is the input: the result would replace it\n");
}

TEST(Line21Output, NoListOfAFileThatIsCutOff) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.bgra", std::string(std::size_t{720} * 3 * 4 + 5, '\0'));
    const ToolResult result =
        runTool({"line21", "read", file, "--width", "720", "--height", "3", "-o", folder.path("list")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "qlxcc: " + file + ": byte 8640: the last picture is cut off: 5 of 8640 bytes are there\n");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"a.bgra"});
}

}  // namespace
