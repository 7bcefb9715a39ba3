// The checker itself, on made-up trees; and then the real tree.

#include "IncludeRules.h"

#include <gtest/gtest.h>

namespace {

using architecture::Include;
using architecture::includesOf;
using architecture::SourceFile;
using architecture::violationsIn;

using Lines = std::vector<std::string>;

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

TEST(IncludeRules, AllowTheArrowsOfTheArchitecture) {
    const std::vector<SourceFile> tree = {
        {"src/platform/File.cpp", "#include <fcntl.h>\n#include \"platform/File.h\"\n"},
        {"src/platform/File.h", "#include <QLXClosedCaptionsUtilities/Export.h>\n"},
        {"src/base/Bytes.h", ""},
        {"src/anc/Parity.cpp", "#include \"Parity.h\"\n#include <immintrin.h>\n"},
        {"src/anc/Parity.h", "#include \"base/Bytes.h\"\n"},
        {"src/cc/A.cpp", "#include \"anc/Parity.h\"\n"},
        {"src/subtitles/A.cpp", "#include <QLXClosedCaptionsUtilities/platform/Data.h>\n#include \"anc/Parity.h\"\n"},
        {"src/facade/A.cpp", "#include \"anc/Parity.h\"\n#include \"log/Log.h\"\n#include \"platform/File.h\"\n"
                             "#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>\n"},
        {"src/log/Log.h", "#include \"../platform/File.h\"\n"},
        header("platform/Data.h", "#include <vector>\n"),
        header("QLXVANCPacket.h", "#include <QLXClosedCaptionsUtilities/platform/Data.h>\n"),
        header("QLXSubtitleRecord.h"),
        header("QLXClosedCaptionsUtilities.h", "#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>\n"
                                               "#include <QLXClosedCaptionsUtilities/Version.h>\n"),
        {"tools/qlxcc/OutputFile.cpp", "#include <unistd.h>\n"},
        {"tools/qlxcc/main.cpp", "#include \"Arguments.h\"\n"
                                 "#include <QLXClosedCaptionsUtilities/QLXClosedCaptionsUtilities.h>\n"},
        {"tools/qlxcc/Arguments.h", "#include <CLI/CLI.hpp>\n"},
        {"tools/qlxcc/Json.h", "#include <nlohmann/json.hpp>\n"},
        {"tools/qlxcc/modules/Module.cpp", "#include \"Json.h\"\n"},
    };
    EXPECT_EQ(violationsIn(tree), Lines{});
}

TEST(IncludeRules, FindAnArrowThatPointsTheWrongWay) {
    const std::vector<SourceFile> tree = {
        {"src/anc/A.cpp", "\n#include \"facade/B.h\"\n"},
        {"src/facade/B.h", ""},
        {"src/subtitles/C.cpp", "#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>\n"},
        {"src/base/D.cpp", "#include \"../anc/E.h\"\n"},
        {"src/anc/E.h", "#include <QLXClosedCaptionsUtilities/QLXClosedCaptionsUtilities.h>\n"},
        // Neighbours, and what a room might reach through them.
        {"src/scte/F.h", "#include \"cc/G.h\"\n"},
        {"src/cc/G.h", ""},
        {"src/video/H.h", "#include \"scte/F.h\"\n"},
        header("QLXCCUtilities.h"),
        header("QLXClosedCaptionsUtilities.h"),
    };
    const Lines expected = {
        "src/anc/A.cpp:2: anc must not include facade/B.h",
        "src/subtitles/C.cpp:1: subtitles must not include QLXClosedCaptionsUtilities/QLXCCUtilities.h",
        "src/base/D.cpp:1: base must not include ../anc/E.h",
        "src/anc/E.h:1: anc must not include QLXClosedCaptionsUtilities/QLXClosedCaptionsUtilities.h",
        "src/scte/F.h:1: scte must not include cc/G.h",
        "src/video/H.h:1: video must not include scte/F.h",
    };
    EXPECT_EQ(violationsIn(tree), expected);
}

TEST(IncludeRules, FindAPublicHeaderThatIncludesMoreThanPlatform) {
    const std::vector<SourceFile> tree = {
        header("QLXVANCPacket.h", "#include \"QLXSubtitleRecord.h\"\n#include <anc/Parity.h>\n#include <fcntl.h>\n"),
        header("QLXSubtitleRecord.h"),
        header("QLXCCUtilities.h", "#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>\n"),
        header("platform/Data.h", "#include \"../QLXCCUtilities.h\"\n#include \"platform/Storage.h\"\n"
                                  "#include <QLXClosedCaptionsUtilities/platform/Services.h>\n"),
        header("platform/Services.h", "#include <QLXClosedCaptionsUtilities/platform/Data.h>\n"),
        {"src/anc/Parity.h", ""},
        {"src/platform/Storage.h", ""},
    };
    const Lines expected = {
        "include/QLXClosedCaptionsUtilities/QLXVANCPacket.h:1: facade must not include QLXSubtitleRecord.h",
        "include/QLXClosedCaptionsUtilities/QLXVANCPacket.h:2: facade must not include anc/Parity.h",
        "include/QLXClosedCaptionsUtilities/QLXVANCPacket.h:3: must not include fcntl.h",
        "include/QLXClosedCaptionsUtilities/QLXCCUtilities.h:1: facade must not include "
        "QLXClosedCaptionsUtilities/QLXVANCPacket.h",
        "include/QLXClosedCaptionsUtilities/platform/Data.h:1: base must not include ../QLXCCUtilities.h",
        "include/QLXClosedCaptionsUtilities/platform/Data.h:2: base must not include platform/Storage.h",
        "include/QLXClosedCaptionsUtilities/platform/Data.h:3: base must not include "
        "QLXClosedCaptionsUtilities/platform/Services.h",
    };
    EXPECT_EQ(violationsIn(tree), expected);
}

TEST(IncludeRules, HoldForThePublicHeadersOfTheCore) {
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
    EXPECT_EQ(violationsIn(tree), expected);
}

TEST(IncludeRules, FindSystemHeadersOutsideThePlatformFolder) {
    const std::vector<SourceFile> tree = {
        {"src/anc/A.cpp", "#include <unistd.h>\n#include <sys/stat.h>\n#include <stdint.h>\n#include <cstdint>\n"},
        {"tools/qlxcc/A.cpp", "#include <unistd.h>\n"},
        {"tools/qlxcc/OutputFile.h", "#include <fcntl.h>\n"},
    };
    const Lines expected = {
        "src/anc/A.cpp:1: must not include unistd.h",           "src/anc/A.cpp:2: must not include sys/stat.h",
        "src/anc/A.cpp:3: must not include stdint.h",           "tools/qlxcc/A.cpp:1: must not include unistd.h",
        "tools/qlxcc/OutputFile.h:1: must not include fcntl.h",
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

TEST(IncludeRules, FindAHeavyHeaderInMoreThanTwoFilesOrOutsideTheTool) {
    const std::vector<SourceFile> tree = {
        {"src/anc/A.cpp", "#include <nlohmann/json.hpp>\n"},
        {"tools/qlxcc/A.cpp", "#include <nlohmann/json.hpp>\n#include <CLI/CLI.hpp>\n"},
        {"tools/qlxcc/B.cpp", "#include <nlohmann/json.hpp>\n#include <CLI/App.hpp>\n"},
        {"tools/qlxcc/C.cpp", "#include <nlohmann/json_fwd.hpp>\n"},
    };
    const Lines expected = {
        "src/anc/A.cpp:1: must not include nlohmann/json.hpp",
        "tools/qlxcc/A.cpp:1: more than 2 files include nlohmann/",
        "tools/qlxcc/B.cpp:1: more than 2 files include nlohmann/",
        "tools/qlxcc/C.cpp:1: more than 2 files include nlohmann/",
    };
    EXPECT_EQ(violationsIn(tree), expected);
}

TEST(IncludeRules, FindWhatTheyCannotPlace) {
    const std::vector<SourceFile> tree = {
        {"src/misc/A.cpp", "#include \"Gone.h\"\n#include HEADER\n"},
        {"include/other/B.h", "#include <QLXClosedCaptionsUtilities/Gone.h>\n"},
    };
    const Lines expected = {
        "src/misc/A.cpp:1: belongs to no known room",
        "src/misc/A.cpp:1: no such file: Gone.h",
        "src/misc/A.cpp:2: an include must name its file",
        "include/other/B.h:1: belongs to no known room",
        "include/other/B.h:1: no such file: QLXClosedCaptionsUtilities/Gone.h",
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

TEST(SourceTree, KeepsTheRules) {
    const std::vector<SourceFile> tree = architecture::readTree(QLX_SOURCE_DIR);
    std::size_t includes = 0;
    for (const SourceFile& file : tree) {
        includes += includesOf(file.text).size();
    }
    EXPECT_GT(tree.size(), 20U) << "this is not the whole tree";
    EXPECT_GT(includes, tree.size()) << "the includes were not read";
    EXPECT_EQ(violationsIn(tree), Lines{});
}

}  // namespace
