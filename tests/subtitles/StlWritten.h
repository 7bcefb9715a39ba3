// Cues as an EBU STL file and back, for the tests of its writer.
#pragma once

#include <qlx/subtitles/stl_reader.h>
#include <qlx/subtitles/stl_writer.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace qlxtest {

struct StlWritten {
    qlx::subtitles::Gsi gsi;
    std::vector<std::uint8_t> blocks;
    std::vector<qlx::Finding> findings;

    [[nodiscard]] std::vector<qlx::FindingCode> codes() const {
        std::vector<qlx::FindingCode> codes;
        for (const qlx::Finding& finding : findings) {
            codes.push_back(finding.code);
        }
        return codes;
    }
    [[nodiscard]] qlx::subtitles::Tti block(std::size_t index) const {
        return *qlx::subtitles::parseTti(std::span(blocks).subspan(index * qlx::subtitles::kTtiBytes));
    }
    [[nodiscard]] std::vector<std::uint8_t> file() const {
        const qlx::Data information = qlx::subtitles::writeGsi(gsi);
        std::vector<std::uint8_t> file(information.begin(), information.end());
        file.insert(file.end(), blocks.begin(), blocks.end());
        return file;
    }
};

inline qlx::subtitles::StlWriterOptions usualStl() {
    qlx::subtitles::StlWriterOptions options;
    options.gsi.languageCode = "09";
    options.gsi.creationDate = "261122";
    options.gsi.revisionDate = "261122";
    return options;
}

inline StlWritten writeStl(const std::vector<qlx::subtitles::Cue>& cues,
                           const qlx::subtitles::StlWriterOptions& options = usualStl()) {
    StlWritten written;
    qlx::Findings findings(100'000);
    qlx::subtitles::StlWriter writer(options, &findings);
    for (const qlx::subtitles::Cue& cue : cues) {
        (void)writer.write(cue, written.blocks);
    }
    written.gsi = writer.finish(written.blocks);
    written.findings.assign(findings.begin(), findings.end());
    return written;
}

inline std::vector<qlx::subtitles::Cue> readStlBack(const StlWritten& written) {
    const std::vector<std::uint8_t> file = written.file();
    qlx::Findings findings;
    auto reader = qlx::subtitles::StlReader::open(file, &findings);
    std::vector<qlx::subtitles::Cue> cues;
    while (const qlx::subtitles::Cue* const cue = reader->next()) {
        cues.push_back(*cue);
    }
    EXPECT_TRUE(findings.empty()) << findings.begin()->text();
    return cues;
}

inline qlx::subtitles::StlWriterOptions openSubtitling(std::string_view rows = "23") {
    qlx::subtitles::StlWriterOptions options = usualStl();
    options.gsi.displayStandard = "0";
    options.gsi.rows = rows;
    return options;
}

}  // namespace qlxtest
