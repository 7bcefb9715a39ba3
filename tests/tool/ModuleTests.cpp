// The parts of the tool that stand on large libraries, and are loaded when they are needed.

#include "io/EncodingGuess.h"
#include "io/Errors.h"
#include "io/Module.h"
#include "pictures/PngCodec.h"
#include "pictures/ScreenPainter.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using qlx::tool::Failure;
using qlx::tool::PngCodec;
using qlx::tool::ScreenPainter;

/// Why a module cannot be loaded; empty when it can.
template <class Interface>
std::string obstacle() {
    try {
        (void)qlx::tool::module<Interface>();
        return {};
    } catch (const Failure& failure) {
        return failure.what();
    }
}

std::string missing(const char* name) {
    return std::string(name) + ".so: cannot open shared object file: No such file or directory";
}

struct Nowhere {
    static constexpr const char* kModule = "qlxcc-nowhere";
};

// Other tests pass over what a module is missing for: here it is told whether one should be there.

TEST(Modules, PngIsThereWhenItWasBuilt) {
#ifdef QLX_TOOL_PNG
    EXPECT_EQ(obstacle<PngCodec>(), "");
#else
    EXPECT_EQ(obstacle<PngCodec>(), missing("qlxcc-png"));
#endif
}

TEST(Modules, ScreensAreThereWhenTheyWereBuilt) {
#ifdef QLX_TOOL_ZVBI
    EXPECT_EQ(obstacle<ScreenPainter>(), "");
#else
    EXPECT_EQ(obstacle<ScreenPainter>(), missing("qlxcc-screens"));
#endif
}

TEST(Modules, EncodingsAreThereWhenTheyWereBuilt) {
#ifdef QLX_TOOL_UCHARDET
    EXPECT_EQ(obstacle<qlx::tool::EncodingGuess>(), "");
    // Polish, in windows-1250.
    EXPECT_EQ(
        qlx::tool::module<qlx::tool::EncodingGuess>().of("Za\xBF\xF3\xB3\xE6 g\xEA\x9Cl\xB9 ja\x9F\xF1. To jest polski "
                                                         "tekst: \x9Cwiat\xB3o, \xBFycie, mi\xB3o\x9C\xE6."),
        "WINDOWS-1250");
#else
    EXPECT_EQ(obstacle<qlx::tool::EncodingGuess>(), missing("qlxcc-encodings"));
#endif
}

TEST(Modules, SayWhatIsMissingEachTime) {
    EXPECT_EQ(obstacle<Nowhere>(), missing("qlxcc-nowhere"));
    EXPECT_EQ(obstacle<Nowhere>(), missing("qlxcc-nowhere"));
}

TEST(Modules, OneOfAnotherVersionIsNotTaken) {
    try {
        (void)qlx::tool::loadModule("qlxcc-another-version");
        FAIL() << "taken";
    } catch (const Failure& failure) {
        EXPECT_NE(std::string(failure.what()).find("undefined symbol: qlxccModule_"), std::string::npos)
            << failure.what();
    }
}

}  // namespace
