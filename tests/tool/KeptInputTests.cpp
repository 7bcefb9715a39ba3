// The inputs that the fuzz targets keep, read by the tool as it is shipped: it ends, with little memory.
#include "Places.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;
using qlxtest::runTool;
using qlxtest::ToolResult;
using Words = std::vector<std::string>;

struct KeptInputs {
    std::string target;     ///< Whose inputs they are.
    std::size_t front = 0;  ///< Bytes in front of the file that only steer the target.
    Words command;          ///< What reads them; the file comes from standard input.
};

void PrintTo(const KeptInputs& kept, std::ostream* out) {
    *out << kept.target << " by " << kept.command.front();
}

std::vector<KeptInputs> allKept() {
    std::vector<KeptInputs> all{{"PictureFile", 0, {"line21", "read", "-"}},
                                {"SubtitleFile", 0, {"subs", "-"}},
                                {"RowFile", 1, {"scan", "-", "--from-format", "v210", "--width", "31"}},
                                {"RowFile", 1, {"scan", "-", "--from-format", "2vuy", "--width", "768"}}};
    for (const char* kind : {"mov", "mxf", "ts", "ps", "mkv", "flv"}) {
        all.push_back({"ContainerStructure", 1, {"scan", "-", "--from-format", kind}});
        all.push_back({"Containers", 1, {"extract", "-", "--from-format", kind, "--to-format", "triplets"}});
    }
    for (const auto& [target, kind] : std::vector<std::pair<std::string, std::string>>{{"KlvFile", "klv"},
                                                                                       {"KlvReader", "klv"},
                                                                                       {"FrameTexts", "jsonl"},
                                                                                       {"SccFile", "scc"},
                                                                                       {"MccFile", "mcc"},
                                                                                       {"H264Captions", "h264"},
                                                                                       {"MPEG2Captions", "mpeg2"},
                                                                                       {"SpliceStream", "ts"},
                                                                                       {"AccessUnits", "h264"}}) {
        all.push_back({target, 0, {"scan", "-", "--from-format", kind}});
    }
    for (const auto& [target, kind] : std::vector<std::pair<std::string, std::string>>{{"SRTFile", "srt"},
                                                                                       {"SrtReader", "srt"},
                                                                                       {"SubRipCues", "srt"},
                                                                                       {"STLFile", "stl"},
                                                                                       {"StlBlocks", "stl"},
                                                                                       {"SubtitleJSON", "json"},
                                                                                       {"SsaCues", "ass"},
                                                                                       {"TtmlCues", "ttml"},
                                                                                       {"WebVttCues", "vtt"}}) {
        all.push_back({target, 0, {"convert", "-", "--from-format", kind, "--to-format", "srt", "-o", "-"}});
    }
    return all;
}

class KeptInput : public ::testing::TestWithParam<KeptInputs> {};

TEST_P(KeptInput, IsReadInLittleMemory) {
    [[maybe_unused]] constexpr std::uint64_t kMostMemory = std::uint64_t{256} * 1024 * 1024;
    std::size_t count = 0;
    for (const fs::directory_entry& file :
         fs::directory_iterator(fs::path(qlxtest::projectPath("fuzz/corpus")) / GetParam().target)) {
        std::ifstream stream(file.path(), std::ios::binary);
        std::string bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
        bytes.erase(0, GetParam().front);
        const ToolResult result = runTool(GetParam().command, {.input = bytes});
        EXPECT_EQ(result.signal, 0) << file.path().filename();
        // Usage would be wrong with 2.
        EXPECT_TRUE(result.exitCode == 0 || result.exitCode == 1) << file.path().filename() << '\n' << result.err;
#ifndef QLX_SANITIZED
        EXPECT_LT(result.peakMemory, kMostMemory) << file.path().filename();
#endif
        ++count;
    }
    EXPECT_GT(count, 0U);
}

INSTANTIATE_TEST_SUITE_P(All, KeptInput, ::testing::ValuesIn(allKept()));

}  // namespace
