#include <QLXClosedCaptionsUtilities/QLXSTLFileReader.h>

#include "base/Hex.h"
#include "subtitles/STLBlocks.h"
#include "subtitles/STLCharacters.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/platform/Format.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <array>
#include <cstddef>
#include <span>
#include <utility>

namespace {

constexpr std::string_view kQueueName = ".STLFileReader.readingQueue";
constexpr std::string_view kBlanks = " \t";

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace

/// Makes the record of one text and timing block.
class QLXSTLFileReader::BlockReader {
public:
    explicit BlockReader(qlx::stl::Block block) : _block(block) {}

    std::shared_ptr<QLXSubtitleRecord> run(double framesPerSecond) {
        constexpr auto kRelaxed = std::memory_order_relaxed;
        readText();
        auto record = std::make_shared<QLXSubtitleRecord>();
        record->_index.store(_block.subtitleNumber(), kRelaxed);
        record->_isValid.store(true, kRelaxed);
        record->_startTimeInSeconds.store(qlx::stl::secondsOf(_block.timeCodeIn(), framesPerSecond), kRelaxed);
        record->_endTimeInSeconds.store(qlx::stl::secondsOf(_block.timeCodeOut(), framesPerSecond), kRelaxed);
        record->_subtitleLines = std::move(_lines);
        return record;
    }

private:
    /// Text that no line break or unused space follows is not shown.
    void readText() {
        for (const std::uint8_t byte : _block.text()) {
            if (byte < 0x20) {
                if (const std::int32_t color = qlx::stl::colorOfCode(byte); color != 0) {
                    _color = color;
                }
            } else if (byte < 0x80 || byte > 0xA0) {
                _buffer[_used++] = byte;
            } else if (byte == qlx::stl::kLineBreak) {
                closeLine();
                ++_lineNumber;
            } else if (byte == qlx::stl::kUnusedSpace) {
                closeLine();
                return;
            }
        }
    }

    void closeLine() {
        constexpr auto kRelaxed = std::memory_order_relaxed;
        auto text = qlx::stl::decodedLine(std::span(_buffer).first(_used));
        _used = 0;
        const std::int32_t alignment = _block.justification();
        if (text && alignment != 0) {
            if (const std::string_view inner = trimmed(*text); inner.size() != text->size()) {
                text = std::string(inner);
            }
        }
        auto line = std::make_shared<QLXSubtitleTextLine>();
        line->_textString = std::move(text);
        line->_alignment.store(alignment, kRelaxed);
        line->_textColor.store(_color, kRelaxed);
        line->_verticalPosition.store(_lineNumber + _block.firstRow(), kRelaxed);
        _lines.push_back(std::move(line));
    }

    const qlx::stl::Block _block;
    std::vector<std::shared_ptr<QLXSubtitleTextLine>> _lines;
    std::uint64_t _lineNumber = 0;
    std::int32_t _color = 7;
    std::array<std::uint8_t, qlx::stl::kTextSize> _buffer{};
    std::size_t _used = 0;
};

std::vector<std::shared_ptr<QLXSubtitleRecord>> QLXSTLFileReader::subtitleRecordsFromSTLFileAtPath(
    const std::string& path) {
    std::vector<std::shared_ptr<QLXSubtitleRecord>> records;
    const qlx::Data file = qlx::services().get<qlx::FileReader>().contentsOfFile(path);
    const auto information = qlx::stl::readInformation(file);
    if (!information || (file.size() - qlx::stl::kInformationSize) / qlx::stl::kBlockSize < information->blockCount) {
        return records;
    }
    records.reserve(static_cast<std::size_t>(information->blockCount));
    for (std::uint64_t index = 0; index < information->blockCount; ++index) {
        if (const auto block = qlx::stl::blockAt(file, index); block.isSubtitle()) {
            records.push_back(BlockReader(block).run(information->framesPerSecond));
        }
    }
    return records;
}

void QLXSTLFileReader::subtitleRecordsFromSTLFileAtPath_withCompletionHandler(
    std::string path, std::function<void(std::vector<std::shared_ptr<QLXSubtitleRecord>>)> completionHandler) {
    if (!completionHandler) {
        return;
    }
    auto read = [path = std::move(path), handler = std::move(completionHandler)]() mutable {
        auto records = subtitleRecordsFromSTLFileAtPath(path);
        qlx::services().get<qlx::MainQueue>().post(
            [handler = std::move(handler), records = std::move(records)]() mutable { handler(std::move(records)); });
    };
    // What is queued still runs when the queue object goes away.
    qlx::SerialQueue queue(qlx::services().get<qlx::Application>().identifier() + std::string(kQueueName));
    queue.async(std::move(read));
}

double QLXSTLFileReader::secondsFromSTLBytes_length_framesPerSecond(const std::uint8_t* bytes, std::uint64_t length,
                                                                    double framesPerSecond) noexcept {
    using qlx::stl::kTimeCodeSize;
    return bytes != nullptr && length == kTimeCodeSize
               ? qlx::stl::secondsOf(std::span<const std::uint8_t, kTimeCodeSize>(bytes, kTimeCodeSize),
                                     framesPerSecond)
               : 0.0;
}

std::optional<std::string> QLXSTLFileReader::stringWithBytes_length_encoding(const std::uint8_t* bytes,
                                                                             std::uint64_t length,
                                                                             qlx::TextEncoding encoding) {
    if (bytes == nullptr && length != 0) {
        return std::nullopt;
    }
    return qlx::decodedText({bytes, static_cast<std::size_t>(length)}, encoding);
}

std::optional<std::string> QLXSTLFileReader::stringWithTTIEncodedData(const qlx::Data& data) {
    return qlx::stl::decodedLine(data);
}

std::uint16_t QLXSTLFileReader::UTF8CharacterWithByte1_byte2(std::uint8_t byte1, std::uint8_t byte2) noexcept {
    return qlx::stl::utf8Character(byte1, byte2);
}

qlx::TextEncoding QLXSTLFileReader::stringEncodingWithCharacterCodeTable(std::int32_t table) noexcept {
    switch (table) {
    case 1:
        return qlx::TextEncoding::LatinCyrillic;
    case 2:
        return qlx::TextEncoding::LatinArabic;
    case 3:
        return qlx::TextEncoding::LatinGreek;
    case 4:
        return qlx::TextEncoding::LatinHebrew;
    default:
        return qlx::TextEncoding::Latin1;
    }
}

std::int32_t QLXSTLFileReader::integerWithHexString(std::string_view text) {
    std::vector<std::uint8_t> digits;
    qlx::forEachHexDigit(text, true, [&digits](std::uint8_t digit) { digits.push_back(digit); });
    std::uint32_t value = 0;
    unsigned shift = 0;
    for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit) {
        qlx::services().get<qlx::Console>().log(qlx::formatted("%i", *digit));
        if (shift < 32) {
            value |= std::uint32_t{*digit} << shift;
            shift += 4;
        }
    }
    return static_cast<std::int32_t>(value);
}
