// Files of a JSON line a frame:
//
//   {"frame":1,"pts":{"value":1,"timescale":25,"seconds":0.04},
//    "packets":[{"line":12,"did":67,"sdid":2,"type":"OP-47","data":"51.."}]}
//
// The first line has `"schema":"qlxcc/frames/1"` behind that. `pts` is there only where it is known; of it `value` and
// `timescale` are read. A packet that is not in luma has `"channel":"chroma"` (or `"multiplex"`) behind
// its SDID, and one that does not begin its row `"horizontalOffset":12`, in words of the channel. Captions that are in no
// packet stand behind the packets: `"captions":{"data":"fc942c.."}`.
//
//     qlx::streams::JsonlReader reader(source);
//     qlx::streams::JsonlWriter writer(sink);
//     qlx::streams::Frame frame;
//     for (auto more = reader.next(frame, nullptr); more && *more; more = reader.next(frame, nullptr)) {
//         if (const auto failure = writer.write(frame, nullptr)) {
//             report(failure->text());
//         }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <qlx/anc/packet.h>
#include <qlx/streams/byte_source.h>
#include <qlx/streams/export.h>
#include <qlx/streams/frame_reader.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::streams {

/// What the first line of such a file is marked with.
inline constexpr std::string_view kFramesSchema = "qlxcc/frames/1";

/// Reads such files; blank lines are passed over, and so are lists of splices (`"schema":"qlxcc/splices/1"`) and what a
/// line says beside the frame's number, time, packets and triplets.
class QLX_STREAMS_EXPORT JsonlReader final : public FrameReader {
public:
    /// @param source Read from where it stands; must outlive the reader.
    explicit JsonlReader(ByteSource& source);
    ~JsonlReader() override;

    Result<bool> next(Frame& frame, FindingSink* findings) override;
    [[nodiscard]] PlaceUnit placeUnit() const noexcept override { return PlaceUnit::TextLine; }

private:
    class Lines;
    std::unique_ptr<Lines> _lines;
};

/// What a host says of frames beside what a reader needs. What it appends are whole members, each with a comma in front:
/// `,"cdp":{..}`.
class JsonlMembers {
public:
    JsonlMembers() = default;
    JsonlMembers(const JsonlMembers&) = delete;
    JsonlMembers& operator=(const JsonlMembers&) = delete;
    virtual ~JsonlMembers() = default;

    /// Appends what is said of a packet behind its data.
    virtual void appendOfPacket(std::string& text, const anc::Packet& packet) const = 0;
    /// Appends what is said of captions that are in no packet, behind their data.
    virtual void appendOfCaptions(std::string& text, const Data& triplets) const = 0;
};

/// Puts the line of a frame, without a line feed and a schema, behind a text.
/// @param members What is said beside that; may be null.
QLX_STREAMS_EXPORT void appendJsonLine(std::string& text, const Frame& frame, const JsonlMembers* members = nullptr);

/// Writes such files.
class QLX_STREAMS_EXPORT JsonlWriter final : public FrameWriter {
public:
    /// @param sink Must outlive the writer.
    /// @param members What is said of frames beside what a reader needs; may be null, else it must outlive the writer.
    explicit JsonlWriter(ByteSink& sink, const JsonlMembers* members = nullptr) : _sink(sink), _members(members) {}

    /// Fails when a number is greater than readers take: JsonlFrameWrong, JsonlValueWrong, JsonlTimescaleWrong or
    /// JsonlTimescaleZero, JsonlLineWrong, JsonlHorizontalOffsetWrong. Wrapping types of packets have no place in such files
    /// (StreamWrappingLeftOut).
    [[nodiscard]] std::optional<Finding> write(const Frame& frame, FindingSink* findings) override;

private:
    ByteSink& _sink;
    const JsonlMembers* _members;
    std::string _line;
    bool _isFirst = true;  ///< No line has been written.
};

}  // namespace qlx::streams
