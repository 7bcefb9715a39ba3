// The EBU STL reader on arbitrary files: the input as it is, and as the blocks of a file.
#include <QLXClosedCaptionsUtilities/QLXSTLFileReader.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include "FuzzSupport.h"

#include <memory>
#include <string>
#include <string_view>

using qlxfuzz::OneFile;
using qlxfuzz::require;

namespace {

using Records = std::vector<std::shared_ptr<QLXSubtitleRecord>>;

constexpr std::size_t kInformationSize = 1024;
constexpr std::size_t kBlockSize = 128;

Records read(qlx::Data content) {
    const OneFile file(std::move(content));
    return QLXSTLFileReader::subtitleRecordsFromSTLFileAtPath("a.stl");
}

void checkRecord(const QLXSubtitleRecord& record) {
    require(record.isValid() && record.subtitleMode() == 0 && record.index() <= 0xFFFF);
    require(record.startTimeInSeconds() >= 0 && record.endTimeInSeconds() >= 0);
    require(record.startTimeInSeconds() < 256 * 3661 + 11 && record.subtitleLines().size() <= 111);
    for (const auto& line : record.subtitleLines()) {
        const auto text = line->textString();
        require(!text || (!qlx::firstInvalidUTF8Byte(*text) && text->size() <= 222));
        require(line->textColor() >= 1 && line->textColor() <= 7);
        require(line->alignment() >= 0 && line->alignment() <= 255 && line->verticalPosition() <= 127 + 110);
        require(!text || line->alignment() == 0 || text->empty() || (text->front() != ' ' && text->back() != ' '));
    }
    require(!record.description().empty());
}

/// A file of as many whole blocks as the input has, at either rate.
std::vector<std::uint8_t> fileOf(const std::uint8_t* data, std::size_t size) {
    const std::size_t blocks = size / kBlockSize;
    std::string head(kInformationSize, ' ');
    head.replace(3, 8, size % 2 == 0 ? "STL25.01" : "STL30.01");
    std::string count = std::to_string(blocks);
    head.replace(238, count.size(), count);
    std::vector<std::uint8_t> file(head.begin(), head.end());
    file.insert(file.end(), data, data + blocks * kBlockSize);
    return file;
}

/// Blocks that are subtitles.
std::size_t subtitlesIn(const std::uint8_t* data, std::size_t size) {
    std::size_t count = 0;
    for (std::size_t start = 0; start + kBlockSize <= size; start += kBlockSize) {
        count += data[start + 15] == 0 && data[start + 3] != 0xFE ? 1 : 0;
    }
    return count;
}

void checkText(const std::uint8_t* data, std::size_t size) {
    const auto text = QLXSTLFileReader::stringWithTTIEncodedData({data, size});
    require(!text || (!qlx::firstInvalidUTF8Byte(*text) && text->size() <= 2 * size));
    const std::string_view digits(reinterpret_cast<const char*>(data), size);
    const std::int32_t value = QLXSTLFileReader::integerWithHexString(digits.substr(0, 64));
    require(size != 0 || value == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const qlxfuzz::SilentConsole console;
    for (const auto& record : read({data, size})) {
        checkRecord(*record);
    }
    const Records records = read(fileOf(data, size));
    require(records.size() == subtitlesIn(data, size));
    for (const auto& record : records) {
        checkRecord(*record);
    }
    checkText(data, size);
    return 0;
}
