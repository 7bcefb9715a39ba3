#include "cues/CueTransmission.h"

#include "cues/CaptionFrames.h"
#include "cues/Subtitles.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/cea608/receiver.h>
#include <qlx/teletext/page.h>

#include <algorithm>
#include <span>

namespace qlx::tool {

namespace {

constexpr std::int32_t kTeletext = 2;

constexpr std::uint8_t kPageTens = 8;
constexpr std::uint8_t kPageUnits = 8;
constexpr std::uint8_t kFirstLine = 10;

/// The characters between the two cells that a row's box, or the solid space around a caption, has on its sides; none
/// when nothing of the row is to be seen.
std::optional<std::u32string> textInBox(std::span<const screen::Cell> row) {
    const auto isVisible = [](const screen::Cell& cell) { return cell.isVisible; };
    const auto first = std::find_if(row.begin(), row.end(), isVisible);
    const auto last = std::find_if(row.rbegin(), row.rend(), isVisible).base();
    if (first == row.end() || first->part == screen::CellPart::LowerHalf) {
        return std::nullopt;
    }
    std::u32string text;
    for (auto cell = first + 1; cell + 1 < last; ++cell) {
        text += cell->isVisible ? cell->shownCharacter() : U' ';
    }
    return text;
}

/// Takes one code point.
std::string_view takeOne(std::string_view& text) {
    const std::string_view whole = text;
    (void)takeCodePoint(text);
    return whole.substr(0, whole.size() - text.size());
}

std::string asString(const Data& bytes) {
    return {bytes.begin(), bytes.end()};
}

class TeletextTransmission final : public CueTransmission {
public:
    TeletextTransmission()
        : _packetizer(QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(kTeletext, true)),
          _header(_packetizer->pageHeaderPacketForPageTens_pageUnits_packetAddress_firstLineNumber_oddField_erasePage(
              kPageTens, kPageUnits, 0, kFirstLine, false, true)),
          _rows(packetsOf(_packetizer->linesPacketWithLines_oddField({}, true)).lines.size()) {}

    [[nodiscard]] std::string_view name() const override { return "a teletext subtitle"; }
    [[nodiscard]] std::size_t rows() const override { return _rows; }
    [[nodiscard]] std::size_t lengthOf(std::u32string_view shown) const override { return shown.size(); }

    [[nodiscard]] ShownRows shown(const std::shared_ptr<QLXSubtitleRecord>& cue) override {
        const auto lines = cue->subtitleLines();
        const Data rows = _packetizer->linesPacketWithLines_oddField(lines, true);
        const teletext::Sdp packet = packetsOf(rows);
        (void)_page.receive(packetsOf(_header));
        (void)_page.receive(packet);
        const screen::Screen screen = _page.screen();
        const std::span<const teletext::SdpLine> packets = packet.lines.items();
        ShownRows shown(std::min(lines.size(), packets.size()));
        for (std::size_t index = 0; index < shown.size(); ++index) {
            const std::size_t row = addressOf(packets[index]);
            const auto later = packets.subspan(index + 1, shown.size() - index - 1);
            const bool isOverwritten = std::any_of(
                later.begin(), later.end(), [row](const teletext::SdpLine& line) { return addressOf(line) == row; });
            if (row < screen.rows() && !isOverwritten) {
                shown[index] = textInBox(screen.row(row));
            }
        }
        return shown;
    }

    [[nodiscard]] std::string bytesOf(const std::string& text) override {
        const auto line = std::make_shared<QLXSubtitleTextLine>();
        line->setTextString(text);
        return asString(_packetizer->teletextLineDataWithSubtitleLine(line));
    }

    /// With the accents that are composed with it.
    [[nodiscard]] std::string_view takeCharacter(std::string_view& text) const override {
        const std::string_view whole = text;
        (void)takeCodePoint(text);
        for (std::string_view rest = text; !rest.empty(); text = rest) {
            const char32_t next = takeCodePoint(rest);
            if (next < U'\u0300' || next > U'\u036F') {
                break;
            }
        }
        return whole.substr(0, whole.size() - text.size());
    }

    /// A character is one byte.
    [[nodiscard]] std::vector<std::string> torn(std::string_view /*text*/, std::size_t /*length*/) const override {
        return {};
    }

private:
    /// The library makes whole packets only.
    static teletext::Sdp packetsOf(const Data& bytes) {
        const auto sdp = teletext::parseSdp(bytes);
        return sdp ? *sdp : teletext::Sdp();
    }

    /// The row that receivers take a packet for.
    static std::size_t addressOf(const teletext::SdpLine& line) {
        const auto packet = teletext::parsePacket(line.bytes);
        return packet ? packet->number : teletext::PageReader::kRows;
    }

    std::shared_ptr<QLXSubtitlesPacketizer> _packetizer;
    Data _header;
    std::size_t _rows;
    teletext::PageReader _page;
};

class CaptionTransmission final : public CueTransmission {
public:
    [[nodiscard]] std::string_view name() const override { return "a caption"; }
    [[nodiscard]] std::size_t rows() const override { return kSentCaptionRows; }
    [[nodiscard]] std::size_t lengthOf(std::u32string_view /*shown*/) const override { return 1; }

    [[nodiscard]] ShownRows shown(const std::shared_ptr<QLXSubtitleRecord>& cue) override {
        const Data caption = QLXSubtitlesPacketizer::cea608PageDataWithSubtitleRecord(cue);
        cea608::Receiver receiver;
        for (std::size_t offset = 0; offset + 1 < caption.size(); offset += 2) {
            (void)receiver.receive(caption[offset], caption[offset + 1]);
        }
        const screen::Screen screen = receiver.screen();
        ShownRows shown(std::min(cue->subtitleLines().size(), kSentCaptionRows));
        for (std::size_t index = 0; index < shown.size(); ++index) {
            const std::size_t row = kFirstSentCaptionRow - screen.firstRow + index;
            shown[index] = textInBox(screen.row(row)).value_or(std::u32string());
        }
        return shown;
    }

    [[nodiscard]] std::string bytesOf(const std::string& text) override {
        return asString(QLXSubtitlesPacketizer::cea608DataWithText(text));
    }

    [[nodiscard]] std::string_view takeCharacter(std::string_view& text) const override { return takeOne(text); }

    /// A special character is a pair of its own for receivers; where it begins as the second byte of a pair, its bytes
    /// are taken for something else.
    [[nodiscard]] std::vector<std::string> torn(std::string_view text, std::size_t length) const override {
        std::vector<std::string> characters;
        std::size_t offset = 0;
        for (std::size_t count = 0; count < length && !text.empty(); ++count) {
            const std::string character(takeOne(text));
            std::string_view rest = character;
            std::uint8_t high = 0;
            std::uint8_t low = 0;
            QLXSubtitlesPacketizer::cea608BytesWithUTF32Character_highByte_lowByte(takeCodePoint(rest), &high, &low);
            const bool isKnown = std::find(characters.begin(), characters.end(), character) != characters.end();
            if (high != 0 && offset % 2 != 0 && !isKnown) {
                characters.push_back(character);
            }
            offset += (high != 0 ? 1U : 0U) + (low != 0 ? 1U : 0U);
        }
        return characters;
    }
};

}  // namespace

std::unique_ptr<CueTransmission> makeTransmission(std::int32_t mode) {
    if (mode == kCea608Mode) {
        return std::make_unique<CaptionTransmission>();
    }
    return std::make_unique<TeletextTransmission>();
}

}  // namespace qlx::tool
