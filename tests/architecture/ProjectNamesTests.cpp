// The check of where names of the project come from, on made-up trees; SourceTree has it look at the real one.

#include "ProjectNames.h"

#include <gtest/gtest.h>

namespace project_names {
namespace {

using architecture::namesFromNowhere;
using architecture::SourceFile;

using Lines = std::vector<std::string>;

const SourceFile kRow{
    "include/qlx/anc/row.h",
    "namespace qlx {\nstruct Row {\n    int value = 0;\n};\nclass QLX_EXPORT Walk final : Base {\n};\n"
    "inline constexpr int kGreatestRow = 1;\nenum class Kind { Plain };\n}\n"};

Lines inSource(const std::string& text) {
    return namesFromNowhere(
        {kRow, {"include/qlx/anc/walk.h", "#include <qlx/anc/row.h>\n"}, {"src/anc/Other.cpp", text}});
}

TEST(ProjectNames, NeedTheirHeader) {
    EXPECT_EQ(inSource("#include <qlx/anc/row.h>\nRow a;\nWalk b;\nint c = kGreatestRow;\n"), Lines{});
    EXPECT_EQ(inSource("\nRow a;\nRow b;\n"), Lines{"src/anc/Other.cpp:2: Row needs include/qlx/anc/row.h"});
    EXPECT_EQ(inSource("Walk a;\nint b = kGreatestRow;\n"),
              (Lines{"src/anc/Other.cpp:1: Walk needs include/qlx/anc/row.h",
                     "src/anc/Other.cpp:2: kGreatestRow needs include/qlx/anc/row.h"}));
}

TEST(ProjectNames, ComeThroughOtherHeaders) {
    EXPECT_EQ(inSource("#include <qlx/anc/walk.h>\nRow a;\n"), Lines{});
    EXPECT_EQ(inSource("struct Row;\nRow* a;\n"), Lines{});
}

TEST(ProjectNames, CountInCodeOnly) {
    EXPECT_EQ(inSource("// Row\n/* Walk */\nconst char* a = \"Row\";\nconst char* b = R\"(Row\nWalk)\";\n"), Lines{});
}

TEST(ProjectNames, MayBeAnother) {
    EXPECT_EQ(
        inSource("namespace {\nstruct Row {};\nconstexpr int kGreatestRow = 2;\n}\nRow a;\nint b = kGreatestRow;\n"),
        Lines{});
    EXPECT_EQ(inSource("template <class Row>\nvoid take(Row a);\n"), Lines{});
}

}  // namespace
}  // namespace project_names
