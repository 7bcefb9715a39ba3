// The check of what files use of the language's library, on made-up trees; SourceTree has it look at the real one.

#include "StandardNames.h"

#include <gtest/gtest.h>

namespace {

using architecture::namesWithoutHeader;
using architecture::SourceFile;

using Lines = std::vector<std::string>;

Lines inSource(const std::string& text) {
    return namesWithoutHeader({{"src/anc/Row.cpp", text}});
}

TEST(StandardNames, NeedTheirHeader) {
    EXPECT_EQ(inSource("#include <vector>\nstd::vector<int> a;\n"), Lines{});
    EXPECT_EQ(inSource("#include <string>\n\nstd::vector<int> a;\nstd::vector<int> b;\n"),
              Lines{"src/anc/Row.cpp:3: std::vector needs <vector>"});
    EXPECT_EQ(inSource("// #include <map>\nint a = std::min(1, 2);\nstd::map<int, int> b;\n"),
              (Lines{"src/anc/Row.cpp:3: std::map needs <map>", "src/anc/Row.cpp:2: std::min needs <algorithm>"}));
}

TEST(StandardNames, MayStandInSeveralHeaders) {
    EXPECT_EQ(inSource("#include <algorithm>\nint a = std::move(1);\n"), Lines{});
    EXPECT_EQ(inSource("#include <utility>\nint a = std::move(1);\n"), Lines{});
    EXPECT_EQ(inSource("#include <map>\nint a = std::move(1);\n"),
              Lines{"src/anc/Row.cpp:2: std::move needs <algorithm>"});
}

TEST(StandardNames, CountInCodeOnly) {
    EXPECT_EQ(inSource("// A std::vector.\n/* std::map\n */ int a;\nint b = mystd::deque();\n"), Lines{});
}

TEST(StandardNames, ComeThroughHeadersOfTheProject) {
    const std::string use = "std::vector<std::string> a;\n";
    const std::vector<SourceFile> tree{{"include/qlx/anc/row.h", "#include \"../base/data.h\"\n#include <string>\n"},
                                       {"include/qlx/base/data.h", "#include <qlx/anc/row.h>\n#include <vector>\n"},
                                       {"src/anc/Other.cpp", "#include <qlx/anc/none.h>\n" + use},
                                       {"src/anc/Row.cpp", "#include <qlx/anc/row.h>\n" + use}};
    EXPECT_EQ(namesWithoutHeader(tree), (Lines{"src/anc/Other.cpp:2: std::string needs <string>",
                                               "src/anc/Other.cpp:2: std::vector needs <vector>"}));
}

TEST(StandardNames, MustBeKnown) {
    EXPECT_EQ(inSource("std::unheard a;\n"),
              Lines{"src/anc/Row.cpp:1: std::unheard is not in the table of tests/architecture/StandardNames.cpp"});
}

}  // namespace
