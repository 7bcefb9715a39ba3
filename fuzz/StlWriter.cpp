// Cues of all kinds as a file of EBU STL: the blocks are whole and counted, and what nothing is said of is read back as
// the same text.
#include "FuzzCues.h"

#include <qlx/subtitles/stl_reader.h>
#include <qlx/subtitles/stl_writer.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

using namespace qlx::subtitles;
using qlxfuzz::require;

namespace {

constexpr std::array<std::string_view, 5> kDiskFormats{"STL25.01", "STL30.01", "STL24.01", "STL50.01", "STL99.01"};
constexpr std::array<std::string_view, 6> kTables{"00", "01", "02", "03", "04", "99"};

/// The rows of a cue that have text, without the white space around it, where a file has codes. A file has one form of a
/// letter with an accent, which is read as one character, and a space for each character of white space.
std::vector<std::string> textOf(const Cue& cue) {
    constexpr std::string_view kWhiteSpace = " \t\r\n";
    constexpr std::string_view kDecomposed = "e\xCC\x81";
    std::vector<std::string> rows;
    for (const Row& row : cue.rows) {
        std::string text = row.text();
        for (std::size_t place = 0; (place = text.find(kDecomposed)) != std::string::npos;) {
            text.replace(place, kDecomposed.size(), "\xC3\xA9");
        }
        std::replace_if(
            text.begin(), text.end(), [=](char one) { return kWhiteSpace.find(one) != std::string_view::npos; }, ' ');
        const std::size_t begin = text.find_first_not_of(kWhiteSpace);
        if (begin != std::string::npos) {
            rows.push_back(text.substr(begin, text.find_last_not_of(kWhiteSpace) + 1 - begin));
        }
    }
    return rows;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    StlWriterOptions options;
    const std::uint8_t form = input.takeByte();
    options.gsi.diskFormatCode = kDiskFormats[form % kDiskFormats.size()];
    options.gsi.characterTable = kTables[input.takeByte() % kTables.size()];
    options.gsi.displayStandard = (form & 0x40U) != 0 ? "0" : "1";
    options.isDoubleHeight = (form & 0x80U) != 0;

    qlx::Findings findings;
    StlWriter writer(options, &findings);
    std::vector<std::uint8_t> blocks;
    std::vector<Cue> written;
    std::int64_t start = 0;
    for (std::size_t cues = 0; !input.empty() && cues < 8; ++cues) {
        const Cue cue = qlxfuzz::takeCue(input, start);
        const std::size_t before = findings.size();
        if (writer.write(cue, blocks)) {
            written.push_back(cue);
        } else {
            require(findings.size() > before);
        }
        require(blocks.size() % kTtiBytes == 0);
    }
    const Gsi gsi = writer.finish(blocks);
    require(blocks.size() % kTtiBytes == 0);
    require(gsi.blockCount.number() == static_cast<std::int64_t>(blocks.size() / kTtiBytes));
    require(gsi.subtitleCount.number() == static_cast<std::int64_t>(written.size()));
    for (const qlx::Finding& finding : findings) {
        require(finding.offset <= 8 && finding.text().rfind("finding ", 0) != 0);
    }

    const qlx::Data information = writeGsi(gsi);
    std::vector<std::uint8_t> file(information.begin(), information.end());
    file.insert(file.end(), blocks.begin(), blocks.end());
    qlx::Findings damage;
    auto reader = StlReader::open(file, &damage);
    require(reader.hasValue());
    std::vector<Cue> back;
    while (const Cue* const cue = reader->next()) {
        back.push_back(*cue);
    }
    if (findings.empty()) {
        require(back.size() == written.size());
        for (std::size_t place = 0; place < back.size(); ++place) {
            require(textOf(back[place]) == textOf(written[place]));
        }
    }
    return 0;
}
