// The checker itself, on made-up trees and arrows; and then the real ones.

#include "IncludeRules.h"
#include "Places.h"
#include "ProjectNames.h"
#include "StandardNames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>

namespace {

using architecture::Include;
using architecture::includesOf;
using architecture::Rooms;
using architecture::SourceFile;

using Lines = std::vector<std::string>;

constexpr std::string_view kRooms = "# comment\n"
                                    "\n"
                                    "platform:\n"
                                    "anc: platform\n"
                                    "captions: anc platform\n"
                                    "line21: platform\n"
                                    "subtitles: platform\n"
                                    "packetizer: captions anc subtitles platform\n"
                                    "log: platform\n"
                                    "scte: anc log platform\n"
                                    "streams: anc\n"
                                    "tools: public\n"
                                    "tools/io: public streams\n"
                                    "umbrella: public\n"
                                    "Export.h: platform\n"
                                    "Version.h: platform\n"
                                    "QLXVANCPacket.h: anc\n"
                                    "QLXCCUtilities.h: anc\n"
                                    "QLXSubtitleRecord.h: subtitles\n"
                                    "QLXClosedCaptionsUtilities.h: umbrella\n";

Lines violationsIn(const std::vector<SourceFile>& tree) {
    return architecture::violationsIn(Rooms(kRooms), tree);
}

SourceFile header(const std::string& name, const std::string& text = {}) {
    return {"include/QLXClosedCaptionsUtilities/" + name, text};
}

TEST(IncludesOf, ReadsBothFormsWithTheirLines) {
    const std::vector<Include> expected = {{1, "vector", false}, {3, "anc/Parity.h", true}};
    EXPECT_EQ(includesOf("#include <vector>\n\n  #  include \"anc/Parity.h\" // why\nint x;\n"), expected);
}

TEST(IncludesOf, SkipsCommentsButNotWhatFollowsThem) {
    const std::vector<Include> expected = {{4, "map", false}, {6, "set", false}};
    EXPECT_EQ(includesOf("// #include <a>\n/* #include <b>\n#include <c>\n*/ #include <map>\n"
                         "const char* glob = \"src/*\";\n#include <set>\n"),
              expected);
}

TEST(IncludesOf, MarksAComputedIncludeWithAnEmptyPath) {
    const std::vector<Include> expected = {{1, "", false}};
    EXPECT_EQ(includesOf("#include HEADER"), expected);
}

TEST(Rooms, AreReadWithoutAMistake) {
    EXPECT_EQ(Rooms(kRooms).mistakes(), Lines{});
}

TEST(Rooms, NameWhatIsWrong) {
    const Rooms rooms("low:\nhigh: low\nhigh:\nA.h: low\nA.h: high\nB.h: low high\nC.h:\nwide: high deep\nnothing\n"
                      "D.h: gone\nE.h: public\n");
    const Lines expected = {
        "3: not the only line of high",
        "5: not the only line of A.h",
        "6: B.h needs one folder",
        "7: C.h needs one folder",
        "9: no colon",
        "8: no such folder: deep",
        "10: no such folder: gone",
        "11: no such folder: public",
    };
    EXPECT_EQ(rooms.mistakes(), expected);
}

TEST(Rooms, OwnFilesByFolderAndByHeader) {
    const Rooms rooms(kRooms);
    EXPECT_EQ(rooms.roomOf("src/anc/Parity.h"), "anc");
    EXPECT_EQ(rooms.roomOf("src/anc/deep/Parity.h"), "anc");
    EXPECT_EQ(rooms.roomOf("src/Parity.h"), "src/Parity.h");
    EXPECT_EQ(rooms.roomOf("src/misc/Parity.h"), "src/misc/Parity.h");
    EXPECT_EQ(rooms.roomOf("include/QLXClosedCaptionsUtilities/QLXVANCPacket.h"), "anc");
    EXPECT_EQ(rooms.roomOf("include/QLXClosedCaptionsUtilities/platform/Data.h"), "platform");
    EXPECT_EQ(rooms.roomOf("include/qlx/anc/row.h"), "anc");
    EXPECT_EQ(rooms.roomOf("include/qlx/row.h"), "include/qlx/row.h");
    EXPECT_EQ(rooms.roomOf("streams/Klv.cpp"), "streams");
    EXPECT_EQ(rooms.roomOf("tools/qlxcc/main.cpp"), "tools");
    EXPECT_EQ(rooms.roomOf("tools/io/File.cpp"), "tools/io");
    EXPECT_EQ(rooms.firstFolders(), (std::set<std::string>{"anc", "captions", "line21", "log", "packetizer", "platform",
                                                           "scte", "streams", "subtitles", "tools", "umbrella"}));
}

TEST(IncludeRules, AllowTheArrows) {
    const std::vector<SourceFile> tree = {
        {"src/platform/File.cpp", "#include <fcntl.h>\n#include \"platform/File.h\"\n"},
        {"src/platform/File.h", "#include <QLXClosedCaptionsUtilities/Export.h>\n"},
        {"src/anc/Parity.cpp", "#include \"Parity.h\"\n#include <immintrin.h>\n"},
        {"src/anc/Parity.h", "#include \"platform/File.h\"\n#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>\n"},
        {"src/captions/A.cpp", "#include \"anc/Parity.h\"\n"},
        {"src/subtitles/A.cpp", "#include <QLXClosedCaptionsUtilities/platform/Data.h>\n"},
        {"src/packetizer/A.cpp", "#include \"anc/Parity.h\"\n"
                                 "#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>\n"},
        {"src/log/Log.h", ""},
        {"src/scte/A.cpp", "#include \"log/Log.h\"\n#include \"anc/Parity.h\"\n"},
        {"src/line21/A.cpp", "#include \"../platform/File.h\"\n"},
        header("platform/Data.h", "#include <vector>\n"),
        header("QLXVANCPacket.h", "#include <QLXClosedCaptionsUtilities/platform/Data.h>\n"),
        header("QLXSubtitleRecord.h"),
        header("QLXClosedCaptionsUtilities.h", "#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>\n"
                                               "#include <QLXClosedCaptionsUtilities/Version.h>\n"),
        {"tools/qlxcc/io/OutputFile.cpp", "#include <unistd.h>\n"},
        {"tools/qlxcc/main.cpp", "#include \"Arguments.h\"\n"
                                 "#include <QLXClosedCaptionsUtilities/QLXClosedCaptionsUtilities.h>\n"},
        {"tools/qlxcc/Arguments.h", "#include <CLI/CLI.hpp>\n"},
        {"tools/qlxcc/Json.h", "#include <nlohmann/json.hpp>\n"},
        {"streams/Klv.cpp", "#include \"Klv.h\"\n#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>\n"},
        {"streams/Klv.h", ""},
        {"streams/JsonFrame.cpp", "#include <nlohmann/json.hpp>\n"},
        {"tools/io/A.cpp", "#include \"../../streams/Klv.h\"\n"
                           "#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>\n"},
    };
    EXPECT_EQ(violationsIn(tree), Lines{});
}

TEST(IncludeRules, FindAnArrowThatPointsTheWrongWay) {
    const std::vector<SourceFile> tree = {
        {"src/anc/A.cpp", "\n#include \"packetizer/B.h\"\n"},
        {"src/packetizer/B.h", ""},
        {"src/subtitles/C.cpp", "#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>\n"},
        {"src/platform/D.cpp", "#include \"../anc/E.h\"\n"},
        {"src/anc/E.h", "#include <QLXClosedCaptionsUtilities/QLXClosedCaptionsUtilities.h>\n"},
        header("QLXCCUtilities.h"),
        header("QLXClosedCaptionsUtilities.h"),
    };
    const Lines expected = {
        "src/anc/A.cpp:2: anc must not include packetizer/B.h",
        "src/subtitles/C.cpp:1: subtitles must not include QLXClosedCaptionsUtilities/QLXCCUtilities.h",
        "src/platform/D.cpp:1: platform must not include ../anc/E.h",
        "src/anc/E.h:1: anc must not include QLXClosedCaptionsUtilities/QLXClosedCaptionsUtilities.h",
    };
    EXPECT_EQ(violationsIn(tree), expected);
}

TEST(IncludeRules, FindAPublicHeaderThatIncludesMoreThanPlatform) {
    const std::vector<SourceFile> tree = {
        header("QLXVANCPacket.h", "#include \"QLXSubtitleRecord.h\"\n#include <anc/Parity.h>\n#include <fcntl.h>\n"),
        header("QLXSubtitleRecord.h"),
        header("QLXCCUtilities.h", "#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>\n"),
        header("platform/Data.h", "#include \"../QLXCCUtilities.h\"\n#include \"platform/Storage.h\"\n"),
        {"src/anc/Parity.h", ""},
        {"src/platform/Storage.h", ""},
    };
    const Lines expected = {
        "include/QLXClosedCaptionsUtilities/QLXVANCPacket.h:1: anc must not include QLXSubtitleRecord.h",
        "include/QLXClosedCaptionsUtilities/QLXVANCPacket.h:2: anc must not include anc/Parity.h",
        "include/QLXClosedCaptionsUtilities/QLXVANCPacket.h:3: must not include fcntl.h",
        "include/QLXClosedCaptionsUtilities/QLXCCUtilities.h:1: anc must not include "
        "QLXClosedCaptionsUtilities/QLXVANCPacket.h",
        "include/QLXClosedCaptionsUtilities/platform/Data.h:1: platform must not include ../QLXCCUtilities.h",
        "include/QLXClosedCaptionsUtilities/platform/Data.h:2: platform must not include platform/Storage.h",
    };
    EXPECT_EQ(violationsIn(tree), expected);
}

TEST(IncludeRules, FindARoomOfValuesThatActs) {
    const Rooms rooms("anc:\nlog:\nplatform:\nfacade: anc log platform\n");
    const std::vector<SourceFile> tree = {
        {"src/anc/A.cpp", "#include <cstdio>\n#include <iostream>\n#include <thread>\n#include <vector>\n"},
        {"src/log/B.cpp", "#include <cstdio>\n#include <mutex>\n"},
        {"include/qlx/anc/A.h", "#include <semaphore>\n#include <span>\n"},
        {"include/qlx/facade/A.h", "#include <mutex>\n"},
        {"src/facade/C.cpp", "#include <mutex>\n"},
        {"src/platform/D.cpp", "#include <iostream>\n"},
    };
    const Lines expected = {
        "src/anc/A.cpp:1: a room of values must not include cstdio",
        "src/anc/A.cpp:2: a room of values must not include iostream",
        "src/anc/A.cpp:3: a room of values must not include thread",
        "include/qlx/anc/A.h:1: a room of values must not include semaphore",
    };
    EXPECT_EQ(architecture::violationsIn(rooms, tree), expected);
}

TEST(IncludeRules, FollowArrowsFromRoomToRoom) {
    const Rooms rooms("base:\nv210: base\nanc: v210\ncc: anc\nscte: anc\n");
    const std::vector<SourceFile> tree = {
        {"src/base/A.h", ""},
        {"src/anc/B.h", "#include \"base/A.h\"\n"},
        {"src/cc/C.h", "#include \"anc/B.h\"\n#include \"base/A.h\"\n"},
        {"src/scte/D.h", "#include \"cc/C.h\"\n"},
        {"src/v210/E.h", "#include \"anc/B.h\"\n"},
    };
    const Lines expected = {"src/scte/D.h:1: scte must not include cc/C.h",
                            "src/v210/E.h:1: v210 must not include anc/B.h"};
    EXPECT_EQ(architecture::violationsIn(rooms, tree), expected);
}

TEST(IncludeRules, HoldForThePublicHeadersOfTheCore) {
    const Rooms rooms("base:\nanc: base\ncc: anc\ntools: public\numbrella: public\nqlx.h: umbrella\nExport.h: base\n");
    const std::vector<SourceFile> tree = {
        {"include/qlx/base/finding.h", "#include <QLXClosedCaptionsUtilities/Export.h>\n"},
        {"include/qlx/anc/row.h", "#include <qlx/base/finding.h>\n#include <qlx/cc/cdp.h>\n"},
        {"include/qlx/cc/cdp.h", "#include <qlx/anc/row.h>\n#include \"anc/Parity.h\"\n#include <qlx/gone.h>\n"},
        {"include/qlx/qlx.h", "#include <qlx/anc/row.h>\n#include <qlx/cc/cdp.h>\n"},
        {"src/anc/Parity.h", "#include <qlx/anc/row.h>\n"},
        {"src/anc/B.cpp", "#include <qlx/qlx.h>\n"},
        {"tools/qlxcc/A.cpp", "#include <qlx/cc/cdp.h>\n"},
    };
    const Lines expected = {
        "include/qlx/anc/row.h:2: anc must not include qlx/cc/cdp.h",
        "include/qlx/cc/cdp.h:2: cc must not include anc/Parity.h",
        "include/qlx/cc/cdp.h:3: no such file: qlx/gone.h",
        "src/anc/B.cpp:1: anc must not include qlx/qlx.h",
    };
    EXPECT_EQ(architecture::violationsIn(rooms, tree), expected);
}

TEST(IncludeRules, FindSystemHeadersOutsideThePlatformFolder) {
    const std::vector<SourceFile> tree = {
        {"src/anc/A.cpp", "#include <unistd.h>\n#include <sys/stat.h>\n#include <stdint.h>\n#include <cstdint>\n"},
        {"tools/qlxcc/A.cpp", "#include <unistd.h>\n"},
        {"tools/qlxcc/io/OutputFile.h", "#include <fcntl.h>\n"},
    };
    const Lines expected = {
        "src/anc/A.cpp:1: must not include unistd.h",
        "src/anc/A.cpp:2: must not include sys/stat.h",
        "src/anc/A.cpp:3: must not include stdint.h",
        "tools/qlxcc/A.cpp:1: must not include unistd.h",
        "tools/qlxcc/io/OutputFile.h:1: must not include fcntl.h",
    };
    EXPECT_EQ(violationsIn(tree), expected);
}

TEST(IncludeRules, FindTheToolReachingIntoTheLibrary) {
    const std::vector<SourceFile> tree = {
        {"tools/qlxcc/A.cpp", "#include \"anc/Parity.h\"\n"},
        {"src/anc/Parity.h", ""},
    };
    EXPECT_EQ(violationsIn(tree), Lines{"tools/qlxcc/A.cpp:1: tools must not include anc/Parity.h"});
}

TEST(IncludeRules, FindTheSecondLibraryReachingIntoTheFirst) {
    const Rooms rooms("anc:\nlog: anc\nstreams: anc\ntools/io: public\ntools/cli: tools/io\nqlx.h: anc\n");
    const std::vector<SourceFile> tree = {
        {"include/qlx/anc/row.h", ""},
        {"include/qlx/streams/frame.h", "#include <qlx/anc/row.h>\n#include \"anc/Parity.h\"\n"},
        {"src/anc/Parity.h", "#include <qlx/streams/frame.h>\n"},
        {"src/log/Log.h", ""},
        {"streams/A.cpp", "#include <qlx/streams/frame.h>\n#include <qlx/anc/row.h>\n#include \"anc/Parity.h\"\n"},
        {"streams/B.cpp", "#include \"log/Log.h\"\n#include <cstdio>\n#include <vector>\n"},
        {"tools/io/A.h", "#include <qlx/streams/frame.h>\n#include <cstdio>\n"},
        {"tools/cli/A.cpp", "#include \"../io/A.h\"\n"},
    };
    const Lines expected = {
        "include/qlx/streams/frame.h:2: streams must not include anc/Parity.h",
        "src/anc/Parity.h:1: anc must not include qlx/streams/frame.h",
        "streams/A.cpp:3: streams must not include anc/Parity.h",
        "streams/B.cpp:1: streams must not include log/Log.h",
        "streams/B.cpp:2: a room of values must not include cstdio",
    };
    EXPECT_EQ(architecture::violationsIn(rooms, tree), expected);
}

TEST(IncludeRules, FindAHeavyHeaderInTooManyFilesOrOutsideTheTool) {
    const std::vector<SourceFile> tree = {
        {"src/anc/A.cpp", "#include <nlohmann/json.hpp>\n"},
        {"streams/A.cpp", "#include <nlohmann/json.hpp>\n"},
        {"tools/qlxcc/A.cpp", "#include <nlohmann/json.hpp>\n#include <CLI/CLI.hpp>\n"},
        {"tools/qlxcc/B.cpp", "#include <nlohmann/json.hpp>\n#include <CLI/App.hpp>\n"},
        {"tools/qlxcc/C.cpp", "#include <nlohmann/json_fwd.hpp>\n"},
    };
    const Lines expected = {
        "src/anc/A.cpp:1: must not include nlohmann/json.hpp",
        "streams/A.cpp:1: must not include nlohmann/json.hpp",
        "tools/qlxcc/A.cpp:1: includes CLI/, as 2 files do and no more than 1 may",
        "tools/qlxcc/B.cpp:1: includes CLI/, as 2 files do and no more than 1 may",
        "tools/qlxcc/A.cpp:1: includes nlohmann/, as 3 files do and no more than 1 may",
        "tools/qlxcc/B.cpp:1: includes nlohmann/, as 3 files do and no more than 1 may",
        "tools/qlxcc/C.cpp:1: includes nlohmann/, as 3 files do and no more than 1 may",
    };
    EXPECT_EQ(violationsIn(tree), expected);
}

TEST(IncludeRules, FindWhatTheyCannotPlace) {
    const std::vector<SourceFile> tree = {
        {"src/misc/A.cpp", "#include \"Gone.h\"\n#include HEADER\n"},
        header("QLXUnknown.h", "#include <QLXClosedCaptionsUtilities/Gone.h>\n"),
    };
    const Lines expected = {
        "src/misc/A.cpp:1: belongs to no known room",
        "src/misc/A.cpp:1: no such file: Gone.h",
        "src/misc/A.cpp:2: an include must name its file",
        "include/QLXClosedCaptionsUtilities/QLXUnknown.h:1: belongs to no known room",
        "include/QLXClosedCaptionsUtilities/QLXUnknown.h:1: no such file: QLXClosedCaptionsUtilities/Gone.h",
    };
    EXPECT_EQ(violationsIn(tree), expected);
}

TEST(IncludeRules, FindALongFileUnlessItsClassSpansSubsystems) {
    const std::string atLimit(500, '\n');
    const std::vector<SourceFile> tree = {
        {"src/anc/Limit.cpp", atLimit},
        {"src/anc/Long.cpp", atLimit + "\n"},
        header("QLXVANCPacket.h", atLimit + "\n"),
        header("QLXSubtitleRecord.h", atLimit + "\n"),
    };
    const Lines expected = {
        "src/anc/Long.cpp:501: more than 500 lines",
        "include/QLXClosedCaptionsUtilities/QLXSubtitleRecord.h:501: more than 500 lines",
    };
    EXPECT_EQ(violationsIn(tree), expected);
}

std::string contentOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

struct Step {
    std::string from;
    std::string to;
};

/// The lines `FROM -> TO` below a heading of a page.
std::vector<Step> stepsBelow(const std::string& page, const std::string& heading) {
    std::vector<Step> steps;
    std::istringstream stream(page.substr(page.find(heading) + heading.size()));
    for (std::string line; std::getline(stream, line) && !line.starts_with("## ");) {
        std::istringstream words(line);
        Step step;
        std::string arrow;
        if (words >> step.from >> arrow >> step.to && arrow == "->" && line.starts_with("    ")) {
            steps.push_back(step);
        }
    }
    return steps;
}

TEST(SourceTree, HasTheWalksOfThePage) {
    const std::string root = qlxtest::projectPath("");
    const Rooms rooms(contentOf(root + "tests/architecture/rooms.txt"));
    const std::vector<Step> steps = stepsBelow(contentOf(root + "docs/ARCHITECTURE.md"), "\n## Three walks\n");
    // Three walks, and what two of them are in the core.
    ASSERT_GE(steps.size(), 21U) << "a walk was not read";
    for (const Step& step : steps) {
        EXPECT_TRUE(std::filesystem::is_regular_file(root + step.to)) << step.to;
        EXPECT_TRUE(rooms.mayInclude(rooms.roomOf(step.from), rooms.roomOf(step.to))) << step.from << ", " << step.to;
        const std::vector<Include> includes = includesOf(contentOf(root + step.from));
        EXPECT_TRUE(std::any_of(includes.begin(), includes.end(),
                                [&step](const Include& include) {
                                    return "src/" + include.path == step.to || "include/" + include.path == step.to;
                                }))
            << step.from << " does not include " << step.to;
    }
}

/// What a table of rooms says: each room, and those behind it.
using RoomTable = std::map<std::string, std::set<std::string>>;

/// The words between backticks.
std::set<std::string> quotedWords(const std::string& text) {
    std::set<std::string> words;
    for (std::size_t open = text.find('`'); open != std::string::npos;) {
        const std::size_t close = text.find('`', open + 1);
        words.insert(text.substr(open + 1, close - open - 1));
        open = text.find('`', close + 1);
    }
    return words;
}

/// The table below a heading of the page: rows of a room, what it holds, and its arrows. Rooms that stand in no folder
/// of their own have `folder` in front of their names.
RoomTable roomsBelow(const std::string& page, const std::string& heading, const std::string& folder) {
    const std::set<std::string> formats{"v210",   "screen",   "anc",  "cc",    "cea608",
                                        "cea708", "teletext", "scte", "video", "klv"};
    RoomTable table;
    std::istringstream stream(page.substr(page.find(heading) + heading.size()));
    for (std::string line; std::getline(stream, line) && !line.starts_with("## ");) {
        const std::size_t second = line.find(" | ");
        const std::size_t third = line.rfind(" |", line.size() - 3);
        if (!line.starts_with("| `") || second == std::string::npos || third <= second) {
            continue;
        }
        const std::string arrows = line.substr(third);
        std::set<std::string> targets;
        for (const std::string& word : quotedWords(arrows)) {
            targets.insert(folder + word);
        }
        if (arrows.find("formats") != std::string::npos) {
            targets.insert(formats.begin(), formats.end());
        }
        for (const auto& [room, others] : table) {
            if (arrows.find("all of these") != std::string::npos) {
                targets.insert(room);
            }
        }
        table[folder + line.substr(3, line.find('`', 3) - 3)] = targets;
    }
    return table;
}

/// With what those may include that a room may.
std::set<std::string> reachable(const RoomTable& table, const std::string& room) {
    std::set<std::string> found{room};
    std::vector<std::string> waiting{room};
    while (!waiting.empty()) {
        const auto place = table.find(waiting.back());
        waiting.pop_back();
        if (place == table.end()) {
            continue;
        }
        for (const std::string& target : place->second) {
            if (found.insert(target).second) {
                waiting.push_back(target);
            }
        }
    }
    return found;
}

/// The rooms of rooms.txt; those of commands are one.
std::set<std::string> namesOf(const std::string& list) {
    const std::string commands = "tools/qlxcc/commands/";
    std::set<std::string> names;
    std::istringstream stream(list);
    for (std::string line; std::getline(stream, line);) {
        const std::string name = line.substr(0, line.find(':'));
        if (!line.empty() && !line.starts_with('#') && !name.ends_with(".h") && name != "umbrella") {
            names.insert(name.starts_with(commands) ? commands + "NAME" : name);
        }
    }
    return names;
}

TEST(SourceTree, HasAllOfTheCoreInItsUmbrella) {
    namespace fs = std::filesystem;
    const std::string include = qlxtest::projectPath("include/");
    std::set<std::string> reached{"qlx/qlx.h"};
    std::vector<std::string> waiting(reached.begin(), reached.end());
    while (!waiting.empty()) {
        const std::string header = waiting.back();
        waiting.pop_back();
        for (const architecture::Include& each : includesOf(contentOf(include + header))) {
            if (each.path.starts_with("qlx/") && reached.insert(each.path).second) {
                waiting.push_back(each.path);
            }
        }
    }
    std::set<std::string> there;
    for (const auto& entry : fs::recursive_directory_iterator(include + "qlx")) {
        const std::string path = "qlx/" + fs::relative(entry.path(), include + "qlx").generic_string();
        if (entry.is_regular_file() && !path.starts_with("qlx/streams/")) {
            there.insert(path);
        }
    }
    EXPECT_GT(there.size(), 50U);
    EXPECT_EQ(reached, there);
}

TEST(SourceTree, HasTheRoomsOfThePage) {
    const std::string root = qlxtest::projectPath("");
    const std::string page = contentOf(root + "docs/ARCHITECTURE.md");
    const std::string list = contentOf(root + "tests/architecture/rooms.txt");
    const Rooms rooms(list);
    RoomTable table = roomsBelow(page, "\n## Rooms\n", "");
    table.merge(roomsBelow(page, "\n## The tool\n", "tools/qlxcc/"));
    std::set<std::string> names;
    for (const auto& [name, targets] : table) {
        names.insert(name);
    }
    EXPECT_EQ(names, namesOf(list));
    const auto asListed = [](std::string name) {
        const std::size_t place = name.find("NAME");
        return place == std::string::npos ? name : name.replace(place, 4, "play");
    };
    for (const std::string& from : names) {
        const std::set<std::string> onPage = reachable(table, from);
        for (const std::string& to : names) {
            // What every room may include is not in the table: the first may include `base`, the tool's all of the core.
            const bool isTool = to.starts_with("tools/");
            if (to != "base" && isTool == from.starts_with("tools/")) {
                EXPECT_EQ(onPage.contains(to), rooms.mayInclude(asListed(from), asListed(to))) << from << " -> " << to;
            }
        }
    }
}

TEST(SourceTree, KeepsTheRules) {
    const std::string root = qlxtest::projectPath("");
    const Rooms rooms(contentOf(root + "/tests/architecture/rooms.txt"));
    EXPECT_EQ(rooms.mistakes(), Lines{});
    const std::vector<SourceFile> tree = architecture::readTree(root, rooms);
    std::size_t includes = 0;
    for (const SourceFile& file : tree) {
        includes += includesOf(file.text).size();
    }
    EXPECT_GT(tree.size(), 20U) << "this is not the whole tree";
    EXPECT_GT(includes, tree.size()) << "the includes were not read";
    EXPECT_EQ(architecture::violationsIn(rooms, tree), Lines{});
    EXPECT_EQ(architecture::namesWithoutHeader(tree), Lines{});
    EXPECT_GE(architecture::namesLookedFor(tree), 1000U) << "the names were not read";
    EXPECT_EQ(architecture::namesFromNowhere(tree), Lines{});
}

}  // namespace
