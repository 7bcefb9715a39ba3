#include <QLXClosedCaptionsUtilities/QLXSTLFileReader.h>

#include "base/Hex.h"
#include "subtitles/StlCharacters.h"
#include "subtitles/StlText.h"
#include "subtitles/TextEditing.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/platform/Format.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>
#include <qlx/subtitles/stl.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <span>
#include <utility>

namespace {

using qlx::subtitles::StlTimeCode;
using qlx::subtitles::Tti;

constexpr std::string_view kQueueName = ".STLFileReader.readingQueue";
constexpr std::size_t kTimeCodeSize = 4;

/// The frames of a second; 0 for a format that these operations do not know.
double framesPerSecondOf(const qlx::subtitles::Gsi& gsi) noexcept {
    const auto rate = gsi.rate();
    const bool isKnown = rate == qlx::FrameRate::Fps25 || rate == qlx::FrameRate::Fps30;
    return isKnown ? qlx::nominalFramesPerSecond(*rate) : 0.0;
}

/// How many blocks the file announces; 0 for a field that is not ASCII, or no number.
std::uint64_t announcedBlocks(const qlx::subtitles::Gsi& gsi) noexcept {
    const auto& field = gsi.blockCount.characters;
    const bool isAscii =
        std::all_of(field.begin(), field.end(), [](char byte) { return static_cast<std::uint8_t>(byte) < 0x80; });
    const std::int64_t count = gsi.blockCount.number();
    return isAscii && count > 0 ? static_cast<std::uint64_t>(count) : 0;
}

}  // namespace

/// Makes the record of one text and timing block.
class QLXSTLFileReader::BlockReader {
public:
    explicit BlockReader(const Tti& block) : _block(block), _firstRow(qlx::stl::firstRow(block.verticalPosition)) {}

    std::shared_ptr<QLXSubtitleRecord> run(double framesPerSecond) {
        constexpr auto kRelaxed = std::memory_order_relaxed;
        // Text that no line break or unused space follows is not shown.
        (void)qlx::stl::walkText(_block.text, *this);
        auto record = std::make_shared<QLXSubtitleRecord>();
        record->_index.store(_block.number, kRelaxed);
        record->_isValid.store(true, kRelaxed);
        record->_startTimeInSeconds.store(_block.timeCodeIn.inSeconds(framesPerSecond), kRelaxed);
        record->_endTimeInSeconds.store(_block.timeCodeOut.inSeconds(framesPerSecond), kRelaxed);
        record->_subtitleLines = std::move(_lines);
        return record;
    }

    void color(std::int32_t constant) noexcept { _color = constant; }
    void character(std::uint8_t byte) noexcept { _buffer[_used++] = byte; }
    void passed(std::uint8_t /*code*/) noexcept {}
    void lineEnd() {
        constexpr auto kRelaxed = std::memory_order_relaxed;
        auto text = qlx::stl::decodedLine(std::span(_buffer).first(_used));
        _used = 0;
        const auto alignment = static_cast<std::int32_t>(_block.justification);
        if (text && alignment != 0) {
            if (const std::string_view inner = qlx::subtitles::trimmed(*text); inner.size() != text->size()) {
                text = std::string(inner);
            }
        }
        auto line = std::make_shared<QLXSubtitleTextLine>();
        line->_textString = std::move(text);
        line->_alignment.store(alignment, kRelaxed);
        line->_textColor.store(_color, kRelaxed);
        line->_verticalPosition.store(_firstRow + _lines.size(), kRelaxed);
        _lines.push_back(std::move(line));
    }

private:
    const Tti& _block;
    const std::uint64_t _firstRow;
    std::vector<std::shared_ptr<QLXSubtitleTextLine>> _lines;
    std::int32_t _color = qlx::stl::kWhite;
    std::array<std::uint8_t, qlx::subtitles::kTtiTextBytes> _buffer{};
    std::size_t _used = 0;
};

std::vector<std::shared_ptr<QLXSubtitleRecord>> QLXSTLFileReader::subtitleRecordsFromSTLFileAtPath(
    const std::string& path) {
    std::vector<std::shared_ptr<QLXSubtitleRecord>> records;
    const qlx::Data contents = qlx::services().get<qlx::FileReader>().contentsOfFile(path);
    const auto file = qlx::subtitles::parseStl(contents);
    if (!file) {
        return records;
    }
    const double framesPerSecond = framesPerSecondOf(file->gsi);
    const std::uint64_t blocks = announcedBlocks(file->gsi);
    if (framesPerSecond == 0.0 || file->blocks() < blocks) {
        return records;
    }
    records.reserve(static_cast<std::size_t>(blocks));
    for (std::size_t index = 0; index < blocks; ++index) {
        if (const Tti block = file->block(index); block.isSubtitle()) {
            records.push_back(BlockReader(block).run(framesPerSecond));
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
        std::vector<std::shared_ptr<QLXSubtitleRecord>> records;
        try {
            records = subtitleRecordsFromSTLFileAtPath(path);
        } catch (...) {
            // Memory has run out, or the file reader of a host throws. What waits for the records is told that there are none.
            records.clear();
        }
        qlx::services().get<qlx::MainQueue>().post(
            [handler = std::move(handler), records = std::move(records)]() mutable { handler(std::move(records)); });
    };
    // What is queued still runs when the queue object goes away.
    qlx::SerialQueue queue(qlx::services().get<qlx::Application>().identifier() + std::string(kQueueName));
    queue.async(std::move(read));
}

double QLXSTLFileReader::secondsFromSTLBytes_length_framesPerSecond(const std::uint8_t* bytes, std::uint64_t length,
                                                                    double framesPerSecond) noexcept {
    if (bytes == nullptr || length != kTimeCodeSize) {
        return 0.0;
    }
    return StlTimeCode{bytes[0], bytes[1], bytes[2], bytes[3]}.inSeconds(framesPerSecond);
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
