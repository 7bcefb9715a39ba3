// Arbitrary bytes as timed text in XML: what is read, written in each profile and read again has the same text and times.
#include <qlx/streams/ttml.h>
#include <qlx/subtitles/times.h>

#include "FuzzTextCues.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qlx::streams;
    using qlx::subtitles::Cue;
    // An allocation of its own size.
    const std::vector<std::uint8_t> bytes(data, data + size);
    std::vector<Cue> first;
    qlx::Findings findings;
    const auto file = readTtml(
        bytes, [&](Cue cue) { first.push_back(std::move(cue)); }, {.mostTimes = 50}, &findings);
    if (!file) {
        qlxfuzz::require(!file.error().text().empty());
        return 0;
    }
    for (const TtmlProfile profile : {TtmlProfile::Imsc11Text, TtmlProfile::EbuTtD}) {
        TtmlWriter writer(*file, {.profile = profile}, &findings);
        std::vector<const Cue*> written;
        for (const Cue& cue : first) {
            qlxfuzz::require(cue.start.isValid() && cue.end.isValid() && !cue.rows.empty());
            if (writer.write(cue)) {
                written.push_back(&cue);
            }
        }
        const std::string text = writer.finish();
        std::vector<Cue> second;
        qlxfuzz::require(
            readTtml(qlxfuzz::bytesOf(text), [&](Cue cue) { second.push_back(std::move(cue)); }).hasValue());
        const bool hasTimes = std::any_of(first.begin(), first.end(), [](const Cue& cue) {
            return std::any_of(cue.rows.begin(), cue.rows.end(), [](const auto& row) {
                return std::any_of(row.runs.begin(), row.runs.end(),
                                   [](const auto& run) { return run.from.isValid(); });
            });
        });
        if (hasTimes) {
            // Parts that appear within the same millisecond are one.
            continue;
        }
        qlxfuzz::require(second.size() == written.size());
        for (std::size_t index = 0; index < second.size(); ++index) {
            constexpr std::int32_t kMilliseconds = 1000;
            const auto span = spanIn(*written[index], kMilliseconds);
            const auto back = spanIn(second[index], kMilliseconds);
            qlxfuzz::require(span.start == back.start && span.end == back.end);
            qlxfuzz::require(second[index].rows.size() == written[index]->rows.size());
        }
    }
    return 0;
}
