// Arbitrary bytes as an EBU STL file that is read whole: every cue is in order, and there are no more than blocks, also
// with the comments and user data that stand with them.
#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/subtitles/stl_reader.h>
#include <qlx/subtitles/stl_writer.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <vector>

using qlxfuzz::require;
using namespace qlx::subtitles;

namespace {

/// With comments and user data there are the same cues, which can be written.
void keepBlocks(const std::vector<std::uint8_t>& bytes, std::size_t cues) {
    auto reader = StlReader::open(bytes, nullptr, {.keepsBlocks = true});
    require(reader.hasValue());
    StlWriterOptions options;
    options.gsi = reader->gsi();
    StlWriter writer(options);
    std::vector<std::uint8_t> blocks;
    std::size_t kept = 0;
    for (; const Cue* const cue = reader->next(); --cues) {
        require(cues > 0);
        for (const Property& property : cue->properties) {
            kept += property.value.size() / 2 / kTtiBytes;
        }
        static_cast<void>(writer.write(*cue, blocks));
    }
    require(cues == 0 && kept * kTtiBytes <= bytes.size());
    static_cast<void>(writer.finish(blocks));
    require(blocks.size() % kTtiBytes == 0);
}

void readFile(const std::vector<std::uint8_t>& bytes) {
    qlx::Findings findings;
    auto reader = StlReader::open(bytes, &findings);
    require(reader.hasValue() == (bytes.size() >= kGsiBytes));
    if (!reader) {
        return;
    }
    std::size_t cues = 0;
    std::size_t text = 0;
    while (const Cue* const cue = reader->next()) {
        ++cues;
        require(cue->end.value > cue->start.value && reader->offset() < bytes.size());
        std::uint64_t last = 0;
        for (const Row& row : cue->rows) {
            require(row.number <= cue->screenRows && (row.number == 0 || row.number > last));
            require(!qlx::firstInvalidUTF8Byte(row.text()));
            last = std::max(last, row.number);
            text += row.text().size();
        }
        require(cue->rows.empty() || (!cue->rows.front().runs.empty() && !cue->rows.back().runs.empty()));
    }
    require(reader->next() == nullptr);
    keepBlocks(bytes, cues);
    require((cues + reader->comments().size()) * kTtiBytes <= bytes.size());
    // A byte becomes two marked characters at most.
    require(text <= 6 * bytes.size());
    for (const qlx::Finding& finding : findings) {
        require(finding.offset <= bytes.size() && !finding.text().empty());
    }
}

}  // namespace

// A file; and its bytes as blocks of few subtitles behind an information block of our own: what comes from them is the
// first byte's choice.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    readFile({data, data + size});
    if (size == 0) {
        return 0;
    }
    Gsi gsi;
    gsi.displayStandard.characters[0] = static_cast<char>('0' + data[0] % 3);
    gsi.characterTable.characters[1] = static_cast<char>('0' + data[0] / 3 % 5);
    const qlx::Data information = writeGsi(gsi);
    std::vector<std::uint8_t> file(information.begin(), information.end());
    constexpr std::size_t kTaken = 24;
    for (std::size_t place = 1; place + kTaken <= size; place += kTaken) {
        std::vector<std::uint8_t> block(kTtiBytes, 0x8F);
        std::copy_n(data + place, kTaken, block.begin());
        // Numbers and states that belong together come up often.
        block[0] = 0;
        block[1] &= 1U;
        block[2] = 0;
        block[3] = block[3] < 0x80 ? block[3] & 3U : 0xFFU - (block[3] & 1U);
        block[4] &= 3U;
        file.insert(file.end(), block.begin(), block.end());
    }
    readFile(file);
    return 0;
}
