// The SRT reader on arbitrary files.
#include <QLXClosedCaptionsUtilities/QLXSRTFileReader.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include "FuzzSupport.h"

#include <memory>
#include <string>

using qlxfuzz::OneFile;
using qlxfuzz::require;

namespace {

using Records = std::vector<std::shared_ptr<QLXSubtitleRecord>>;

constexpr double kFrameDuration = 1001.0 / 30000;

Records read(qlx::Data content, std::int32_t mode) {
    const OneFile file(std::move(content));
    return QLXSRTFileReader::subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration("a.srt", mode, kFrameDuration);
}

qlx::Data withCarriageReturns(const std::uint8_t* data, std::size_t size) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t index = 0; index < size; ++index) {
        if (data[index] == '\n') {
            bytes.push_back('\r');
        }
        bytes.push_back(data[index]);
    }
    return {bytes};
}

void checkLine(const QLXSubtitleTextLine& line) {
    const auto text = line.textString();
    require(text && text->find_first_of("\r\n") == std::string::npos && !qlx::firstInvalidUTF8Byte(*text));
    require(line.textColor() >= 1 && line.textColor() <= 7);
    require(line.positioningType() >= 0 && line.positioningType() <= 9);
    require(line.alignment() >= 1 && line.alignment() <= 3);
}

void checkRecord(const QLXSubtitleRecord& record) {
    require(record.isValid() && record.subtitleMode() == 0);
    require(record.endTimeInSeconds() > record.startTimeInSeconds());
    for (const auto& line : record.subtitleLines()) {
        checkLine(*line);
    }
    require(QLXSubtitleRecord::SRTTimecodeFromSeconds(record.startTimeInSeconds()).size() >= 12);
    require((record.copyWithZone() == nullptr) == record.subtitleLines().empty());
    require(!record.description().empty());
}

/// The same index and text, whatever the times and rows.
void checkSameText(const Records& left, const Records& right) {
    require(left.size() == right.size());
    for (std::size_t index = 0; index < left.size(); ++index) {
        const auto leftLines = left[index]->subtitleLines();
        const auto rightLines = right[index]->subtitleLines();
        require(left[index]->index() == right[index]->index() && leftLines.size() == rightLines.size());
        for (std::size_t line = 0; line < leftLines.size(); ++line) {
            require(leftLines[line]->textString() == rightLines[line]->textString());
            require(leftLines[line]->textColor() == rightLines[line]->textColor());
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const qlx::Data content(data, size);
    const Records records = read(content, 2);
    for (const auto& record : records) {
        checkRecord(*record);
    }
    if (qlx::firstInvalidUTF8Byte({reinterpret_cast<const char*>(data), size})) {
        require(records.empty());
    }

    // Line endings do not matter.
    const Records sameRecords = read(withCarriageReturns(data, size), 2);
    checkSameText(records, sameRecords);
    for (std::size_t index = 0; index < records.size(); ++index) {
        require(records[index]->compareStartTime(*sameRecords[index]) == 0);
        require(records[index]->JSONDictionary() == sameRecords[index]->JSONDictionary());
    }

    // Captions start earlier by the frames that they take, never before 0.
    const Records captions = read(content, 1);
    checkSameText(records, captions);
    for (std::size_t index = 0; index < captions.size(); ++index) {
        const double start = captions[index]->startTimeInSeconds();
        require(start >= 0.0 && (start == 0.0 || start <= records[index]->startTimeInSeconds()));
        require(captions[index]->endTimeInSeconds() >= 0.0 && captions[index]->numberOfCEA608Packets() >= 2);
    }
    return 0;
}
