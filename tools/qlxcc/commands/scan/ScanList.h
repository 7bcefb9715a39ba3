// The list that qlxcc scan prints.
#pragma once

#include "io/Frame.h"
#include "io/LimitedMessages.h"
#include "io/OutputFile.h"
#include "streams/FrameMessages.h"
#include "streams/ServiceWords.h"
#include "streams/SplicePoints.h"

#include <qlx/cea608/xds.h>
#include <qlx/cea708/packet.h>
#include <qlx/teletext/packet.h>
#include <qlx/teletext/sdp.h>

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace qlx::tool {

/// The teletext packets of OP-47 packets, one after the other, in words: a line for each page header
/// (`page 888, erased, subtitle`) and each row (`row 22: text`), none for what only fills its place. Rows have the
/// numbers under which standard receivers show them.
class TeletextList {
public:
    /// @param inColours Rows with the codes of a terminal for their colours.
    /// @param region Of receivers, as teletext::PageReader takes it.
    explicit TeletextList(bool inColours, std::uint8_t region = 0) : _inColours(inColours), _region(region) {}

    [[nodiscard]] std::vector<std::string> linesOf(std::span<const std::uint8_t> subtitlingPacket);

    /// The same of lines that came in another way.
    [[nodiscard]] std::vector<std::string> linesOf(std::span<const teletext::SdpLine> teletextLines);

private:
    [[nodiscard]] std::string headerLine(const teletext::Packet& packet);
    [[nodiscard]] std::string rowLine(const teletext::Packet& packet) const;
    void takeDesignation(const teletext::Packet& packet);

    /// What is known of the sets of a magazine's rows.
    struct Magazine {
        std::uint8_t nationalOption = 4;           ///< French until a header says another, as this system sends it.
        std::optional<std::uint8_t> ofPage;        ///< Designation of the page that is being sent.
        std::optional<std::uint8_t> ofMagazine{};  ///< Of all pages.
    };

    bool _inColours;
    std::uint8_t _region;
    std::array<Magazine, 8> _magazines{};  ///< 8, 1, 2 ..
};

/// What captions hold that takes more than one frame, as lines: extended data (`XDS programme name: "Film"`), service
/// blocks (`service 1: DF0 hidden, "Hello", ETX`).
class CaptionContents {
public:
    CaptionContents(bool ignoresParity, WideCharacters wideCharacters)
        : _xds({.ignoresParity = ignoresParity}), _services(std::move(wideCharacters)) {}

    /// Who gets what is wrong with packets of extended data and of services; the offset is 0.
    void setFindings(FindingSink* findings) noexcept { _findings = findings; }

    /// What is complete with these triplets.
    [[nodiscard]] std::vector<std::string> linesOf(std::span<const cc::Triplet> triplets);

    /// Says of which packets the end is missing.
    void finish();

private:
    cea608::XdsReader _xds;
    cea708::PacketReader _packets;
    ServiceWords _services;
    FindingSink* _findings = nullptr;
};

/// How a list is written.
struct ListOptions {
    bool inColours = false;         ///< With the codes of a terminal for colours.
    bool ignoresParity = false;     ///< Parity bits of CEA-608 are not looked at.
    WideCharacters wideCharacters;  ///< The 16-bit characters of caption services.
    std::uint8_t region = 0;        ///< Of teletext receivers, as teletext::PageReader takes it.
};

/// Writes a line a packet, more below it for what captions, messages and teletext packets hold; one for the captions that
/// came with a frame's picture; and at the end how many there were. Times are shown when the first frame that is listed
/// has one.
class ListWriter final : public FrameWriter {
public:
    ListWriter(OutputFile& output, ListOptions options)
        : _output(output), _teletext(options.inColours, options.region),
          _captions(options.ignoresParity, std::move(options.wideCharacters)) {}

    /// Who gets what is wrong with what captions hold; the offset is 0. It must outlive this.
    void setFindings(FindingSink* findings) noexcept { _captions.setFindings(findings); }

    void write(const Frame& frame) override;

    void writeSummary();

private:
    void writeTitle(const Frame& frame);
    [[nodiscard]] std::string placeOf(const Frame& frame) const;
    [[nodiscard]] std::vector<std::string> detailsOf(const anc::Packet& packet);

    OutputFile& _output;
    TeletextList _teletext;
    CaptionContents _captions;
    std::uint64_t _frames = 0;
    std::uint64_t _packets = 0;
    std::uint64_t _pictures = 0;        ///< That came with captions.
    std::uint64_t _trackFrames = 0;     ///< With captions in a track.
    std::uint64_t _teletextFrames = 0;  ///< With teletext in no packet.
    bool _showsTimes = false;
};

/// Writes the splice points of the frames' SCTE-104 messages in place of a list, and what follows from them.
class ChangeWriter final : public FrameWriter {
public:
    /// @param name Of the file, for messages.
    ChangeWriter(OutputFile& output, std::string name);

    void write(const Frame& frame) override;

    /// The points; `no splice points` where there are none.
    void writePoints();

    /// Where what follows from other messages goes.
    [[nodiscard]] SplicePoints& points() noexcept { return _points; }

    /// How many messages, or pieces of one, could not be read; each has been said.
    [[nodiscard]] std::uint64_t problems() const noexcept { return _problems; }

private:
    void take(const std::string& place, const Data& data);

    OutputFile& _output;
    std::string _name;
    FrameMessages _messages;
    SplicePoints _points;
    LimitedMessages _said;
    std::uint64_t _problems = 0;
};

}  // namespace qlx::tool
