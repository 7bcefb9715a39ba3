#include "commands/scan/ScanList.h"

#include "commands/scan/PacketWords.h"
#include "io/Errors.h"
#include "io/Text.h"
#include "io/Times.h"
#include "pictures/ScreenText.h"
#include "streams/Cdp.h"
#include "streams/PacketNames.h"
#include "streams/SCTE104Message.h"
#include "streams/XdsWords.h"

#include <qlx/anc/payloads.h>
#include <qlx/teletext/page.h>

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace qlx::tool {

namespace {

constexpr std::size_t kFrameWidth = 8;
constexpr std::size_t kLineWidth = 5;
constexpr std::size_t kNameWidth = 17;
constexpr std::size_t kSizeWidth = 5;

std::string listLine(const std::string& place, const anc::Packet& packet) {
    return place + "  " + rightAligned(packet.line, kLineWidth) + "  " + hex(std::span(&packet.did, 1)) + "/" +
           hex(std::span(&packet.sdid, 1)) + "     " + padded(packetName(packet), kNameWidth) + "  " +
           rightAligned(packet.userData.size(), kSizeWidth) + "  " + hex(packet.userData) + "\n";
}

/// `chroma, word 12`: where a packet is on its row, as far as that is not in luma and at the beginning or right behind
/// the packet before it.
std::string unusualPlace(const anc::Packet& packet, const anc::Packet* before) {
    const bool isBehind =
        before != nullptr && before->line == packet.line && before->channel == packet.channel &&
        packet.horizontalOffset == before->horizontalOffset + anc::packetWords(before->userData.size());
    std::string text;
    if (packet.channel != anc::Channel::Luma) {
        text = nameOf(packet.channel);
    }
    if (packet.horizontalOffset != 0 && !isBehind) {
        text += (text.empty() ? "luma" : "") + std::string(", word ") + std::to_string(packet.horizontalOffset);
    }
    return text;
}

std::string captionLine(const std::string& place, const Frame& frame) {
    const std::string_view where = frame.captionPlace == CaptionPlace::Picture ? "in the picture" : "caption track";
    return place + "  " + std::string(kLineWidth - 1, ' ') + "-  -         " + padded(std::string(where), kNameWidth) +
           "  " + rightAligned(frame.triplets.size(), kSizeWidth) + "  " + hex(frame.triplets) + "\n";
}

/// Bytes are those of the packets from their addresses on.
std::string teletextLine(const std::string& place, const Frame& frame) {
    return place + "  " + std::string(kLineWidth - 1, ' ') + "-  -         " + padded("teletext", kNameWidth) + "  " +
           rightAligned(frame.teletext.size() * teletext::kPacketBytes, kSizeWidth) + "\n";
}

}  // namespace

std::string TeletextList::headerLine(const teletext::Packet& packet) {
    const auto header = teletext::parseHeader(packet);
    if (!header) {
        return "damaged page header of magazine " + std::to_string(packet.magazine);
    }
    Magazine& magazine = _magazines[packet.magazine & 7U];
    magazine.nationalOption = header->nationalOption;
    magazine.ofPage.reset();
    std::string text = "page " + teletext::pageName(header->page) + (header->erasesPage ? ", erased" : "");
    return text + (header->isSubtitle ? ", subtitle" : "");
}

std::string TeletextList::rowLine(const teletext::Packet& packet) const {
    std::array<std::uint8_t, teletext::kDataBytes> codes;
    codes.fill(0x20);
    (void)teletext::takeCodes(packet.data, codes);
    // Without its page, whether only boxes are shown is told by the row itself.
    constexpr std::uint8_t kStartBox = codeOf(teletext::SpacingAttribute::StartBox);
    teletext::RowStyle style;
    const Magazine& magazine = _magazines[packet.magazine & 7U];
    const teletext::CharacterSet set =
        teletext::shownSet(magazine.ofPage.value_or(magazine.ofMagazine.value_or(_region)), magazine.nationalOption);
    style.nationalOption = set.option;
    style.g0 = set.g0;
    style.showsBoxesOnly = std::find(codes.begin(), codes.end(), kStartBox) != codes.end();
    std::array<screen::Cell, teletext::kDataBytes> cells;
    (void)teletext::drawRow(codes, style, cells);
    const std::string text = rowText(cells, false, _inColours);
    return "row " + std::to_string(packet.number) + ": " + (text.empty() ? "empty" : text);
}

/// What says which sets the rows behind it have.
void TeletextList::takeDesignation(const teletext::Packet& packet) {
    if (packet.number != teletext::kPageDesignation && packet.number != teletext::kMagazineDesignation) {
        return;
    }
    const auto triplets = teletext::parseTriplets(packet);
    const auto designation = triplets ? teletext::designationIn(*triplets) : std::nullopt;
    if (designation) {
        Magazine& magazine = _magazines[packet.magazine & 7U];
        (packet.number == teletext::kPageDesignation ? magazine.ofPage : magazine.ofMagazine) = designation;
    }
}

std::vector<std::string> TeletextList::linesOf(std::span<const std::uint8_t> subtitlingPacket) {
    const auto sdp = teletext::parseSdp(subtitlingPacket);
    if (!sdp) {
        return {"no subtitling data packet"};
    }
    return linesOf(sdp->lines.items());
}

std::vector<std::string> TeletextList::linesOf(std::span<const teletext::SdpLine> teletextLines) {
    std::vector<std::string> lines;
    for (const teletext::SdpLine& line : teletextLines) {
        const auto packet = teletext::parsePacket(line.bytes);
        if (!packet) {
            lines.emplace_back("damaged teletext packet");
        } else if (packet->isHeader()) {
            lines.push_back(headerLine(*packet));
        } else if (packet->isRow()) {
            lines.push_back(rowLine(*packet));
        } else if (!packet->isFilling()) {
            takeDesignation(*packet);
            lines.push_back("packet " + std::to_string(packet->number) + " of magazine " +
                            std::to_string(packet->magazine));
        }
    }
    return lines;
}

std::vector<std::string> CaptionContents::linesOf(std::span<const cc::Triplet> triplets) {
    std::vector<std::string> lines;
    for (const cc::Triplet& pair : cc::fieldPairs(triplets, cc::CcType::Field2)) {
        if (const auto packet = _xds.receive(pair.first, pair.second, _findings)) {
            lines.push_back("XDS " + xdsInWords(*packet));
        }
    }
    for (const cc::Triplet& triplet : cc::dtvccTriplets(triplets)) {
        for (const cea708::ReceivedPacket& packet : _packets.receive(triplet, _findings)) {
            const auto blocks = _services.linesOf(packet);
            lines.insert(lines.end(), blocks.begin(), blocks.end());
        }
    }
    return lines;
}

void CaptionContents::finish() {
    _xds.finish(_findings);
    (void)_packets.finish(_findings);
}

std::vector<std::string> ListWriter::detailsOf(const anc::Packet& packet) {
    const anc::PacketId id = packet.id();
    if (id == anc::ids::kCdp) {
        std::vector<std::string> lines{cdpInWords(packet.userData)};
        if (const auto cdp = cc::parseCdp(packet.userData)) {
            const auto contents = _captions.linesOf(cdp->triplets());
            lines.insert(lines.end(), contents.begin(), contents.end());
        }
        return lines;
    }
    if (id == anc::ids::kScte104) {
        return {scte104InWords(packet.userData)};
    }
    if (id == anc::ids::kOp47) {
        return _teletext.linesOf(packet.userData);
    }
    const std::string words = packetInWords(packet);
    std::vector<std::string> lines = words.empty() ? std::vector<std::string>() : std::vector{words};
    if (const auto pair =
            id == anc::ids::kCea608 ? anc::parseCea608Payload(packet.userData) : Result<anc::Cea608Payload>(Finding{});
        pair && !pair->isFirstField) {
        const auto contents =
            _captions.linesOf(std::array{cc::Triplet::make(cc::CcType::Field2, pair->pair[0], pair->pair[1])});
        lines.insert(lines.end(), contents.begin(), contents.end());
    }
    return lines;
}

void ListWriter::writeTitle(const Frame& frame) {
    if (_packets > 0 || _pictures > 0 || _trackFrames > 0 || _teletextFrames > 0) {
        return;
    }
    _showsTimes = frame.pts.has_value();
    _output.write(std::string("   frame") + (_showsTimes ? "  time        " : "") +
                  "   line  DID/SDID  name               bytes  data\n");
}

std::string ListWriter::placeOf(const Frame& frame) const {
    return rightAligned(frame.number, kFrameWidth) + (_showsTimes ? " " + timecodeColumn(frame.pts) : std::string());
}

void ListWriter::write(const Frame& frame) {
    ++_frames;
    if (frame.packets.empty() && frame.triplets.empty() && frame.teletext.empty()) {
        return;
    }
    writeTitle(frame);
    const std::string place = placeOf(frame);
    const std::string indent(kFrameWidth + kLineWidth + 4, ' ');
    const anc::Packet* before = nullptr;
    for (const auto& packet : frame.packets) {
        _output.write(listLine(place, packet));
        if (const std::string unusual = unusualPlace(packet, before); !unusual.empty()) {
            _output.write(indent + unusual + "\n");
        }
        before = &packet;
        for (const std::string& line : detailsOf(packet)) {
            _output.write(indent + line + "\n");
        }
    }
    _packets += frame.packets.size();
    if (!frame.teletext.empty()) {
        _output.write(teletextLine(place, frame));
        for (const std::string& line : _teletext.linesOf(std::span(frame.teletext))) {
            _output.write(indent + line + "\n");
        }
        ++_teletextFrames;
    }
    if (!frame.triplets.empty()) {
        _output.write(captionLine(place, frame));
        _output.write(indent + tripletsInWords(frame.triplets) + "\n");
        for (const std::string& line : _captions.linesOf(readTriplets(frame.triplets))) {
            _output.write(indent + line + "\n");
        }
        ++(frame.captionPlace == CaptionPlace::Picture ? _pictures : _trackFrames);
    }
}

void ListWriter::writeSummary() {
    _captions.finish();
    _output.write(
        counted(_packets, "packet") + " in " + counted(_frames, "frame") +
        (_pictures > 0 ? ", " + counted(_pictures, "frame") + " with captions in the picture" : std::string()) +
        (_teletextFrames > 0 ? ", " + counted(_teletextFrames, "frame") + " with teletext in a transport stream"
                             : std::string()) +
        (_trackFrames > 0 ? ", " + counted(_trackFrames, "frame") + " with captions in a track" : std::string()) +
        "\n");
}

ChangeWriter::ChangeWriter(OutputFile& output, std::string name)
    : _output(output), _name(std::move(name)),
      _messages([this](std::uint64_t frame, std::uint64_t line, const Data& data) {
          take(tool::placeOf(frame, line), data);
      }) {}

void ChangeWriter::take(const std::string& place, const Data& data) {
    const Scte104Message message = readScte104(data);
    const auto say = [&](const Scte104Problem& problem) {
        ++_problems;
        _said.say(withoutDigits(problem.what),
                  _name + ": " + place + ": byte " + std::to_string(problem.offset) + ": " + problem.what);
    };
    if (message.refusal) {
        say(*message.refusal);
        return;
    }
    std::for_each(message.problems.begin(), message.problems.end(), say);
    if (const auto whole = scte::parseMultipleOperationMessage(std::span<const std::uint8_t>(data).subspan(1))) {
        _points.take(place, *whole);
    }
}

void ChangeWriter::write(const Frame& frame) {
    std::vector<FrameProblem> problems;
    _messages.read(frame, problems);
    for (const FrameProblem& problem : problems) {
        ++_problems;
        _said.say(std::to_string(static_cast<std::uint32_t>(problem.kind)), _name + ": " + problem.text);
    }
}

void ChangeWriter::writePoints() {
    _said.finish();
    const std::vector<std::string> lines = _points.lines();
    for (const std::string& line : lines) {
        _output.write(line + "\n");
    }
    if (lines.empty()) {
        _output.write("no splice points\n");
    }
}

}  // namespace qlx::tool
