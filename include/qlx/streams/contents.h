// What is in a stream: which caption channels, texts, services, extended data and teletext pages, from when to when, and
// how much.
//
//     qlx::streams::ContentReader reader;
//     for (const qlx::streams::Frame& frame : frames) {
//         reader.receive(frame);
//     }
//     for (const qlx::streams::Content& content : reader.contents()) {
//         use(content.name, content.language, content.captions);
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <qlx/base/finding.h>
#include <qlx/streams/export.h>
#include <qlx/streams/frame.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::streams {

/// What something is that a stream carries.
enum class ContentKind : std::uint8_t {
    CaptionChannel,  ///< Captions of CEA-608: CC1 to CC4.
    TextChannel,     ///< Text of CEA-608: T1 to T4.
    ExtendedData,    ///< Extended data services (XDS) of CEA-608.
    CaptionService,  ///< A service of CEA-708.
    TeletextPage,    ///< A page of OP-47 packets.
};

/// One of the things that a stream carries.
struct Content {
    ContentKind kind = ContentKind::CaptionChannel;  ///< What it is.
    std::string name;                                ///< `CC1`, `T1`, `XDS`, `1` to `63` of a service, `888` of a page.
    /// Three letters of ISO 639-2; empty where the stream does not say it. Of a page what ContentReader::nameLanguage() has
    /// said, or else that of its character set, where this is made for one language alone.
    std::string language;
    /// Captions that came to the screen; of extended data its packets. A screen with text is another caption when it has
    /// something new, and not all rows of the screen before stand in it as they were or longer: what is written letter by
    /// letter is one, and what rolls up is one with each row.
    std::uint64_t captions = 0;
    std::optional<std::uint64_t> firstFrame;  ///< The frame in which the first of them came; none without any.
    std::optional<std::uint64_t>
        lastFrame;  ///< The last frame with text on the screen; of extended data, with a packet.
    /// The time of `firstFrame`, where it is known: that which came with the frame, or, where no frame came with one and
    /// all CDPs name the same rate, counted from frame 0 at 0 s.
    std::optional<MediaTime> first;
    /// The time of `lastFrame`, the same. Where frames come only with something new, that is the one in front of the frame
    /// that changes the screen: of teletext in a transport stream 1/25 s.
    std::optional<MediaTime> last;

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Content&, const Content&) = default;
};

/// How a stream is read.
struct ContentOptions {
    bool ignoresParity = false;  ///< CEA-608: parity bits are not looked at.
};

/// Finds out what is in a stream. Of what is wrong it says what extended data and packets of services have: OnAir says the
/// rest.
class QLX_STREAMS_EXPORT ContentReader {
public:
    /// Has seen nothing yet.
    explicit ContentReader(const ContentOptions& options = {});
    ContentReader(const ContentReader&) = delete;
    ContentReader& operator=(const ContentReader&) = delete;
    ~ContentReader();

    /// Takes a frame.
    /// @param frame The next one.
    /// @param findings Gets what is wrong with packets of extended data (cea608::XdsReader and cea608::xdsValue()) and of
    /// services (cea708::PacketReader); the offset is 0.
    void receive(const Frame& frame, FindingSink* findings = nullptr);

    /// The stream is over: what came of a packet of services that has no end is taken.
    /// @param findings Gets that packets of services or extended data have no end; the offset is 0.
    void finish(FindingSink* findings = nullptr);

    /// Says the language of a teletext page, as the teletext descriptor of a program's map names it (ETSI EN 300 468, clause
    /// 6.2.43): it comes before that of the page's character set.
    /// @param page Magazine, tens and units as hexadecimal digits, as in qlx::streams::ts::TeletextPage.
    /// @param language Three letters of ISO 639-2; anything else, and "und", says nothing.
    void nameLanguage(std::uint16_t page, std::string_view language);

    /// What there has been: channels of captions, of text, extended data, services, pages, each in the order of their
    /// numbers. Channels and pages that had nothing to read are left out; services without text are named where they came or
    /// the service information of a CDP names them.
    [[nodiscard]] std::vector<Content> contents() const;

private:
    class State;
    std::unique_ptr<State> _state;
};

}  // namespace qlx::streams
