// Teletext lines of a transport stream as OP-47 packets of the same frame.
//
//     qlx::streams::TeletextPackets packets;
//     qlx::streams::TransportReader reader(source);
//     qlx::streams::JsonlWriter writer(sink);
//     qlx::streams::Frame frame;
//     for (auto more = reader.next(frame, &findings); more && *more; more = reader.next(frame, &findings)) {
//         packets.put(frame, &findings);
//         if (const auto failure = writer.write(frame, &findings)) { report(failure->text()); }
//     }
#pragma once

#include <qlx/base/finding.h>
#include <qlx/streams/export.h>
#include <qlx/streams/frame.h>
#include <qlx/teletext/sdp_stream.h>

#include <cstdint>

namespace qlx::streams {

/// Where packets of teletext lines stand.
struct TeletextPacketOptions {
    std::uint32_t firstLine = teletext::kFirstSdpLine;    ///< Those of lines of the first (odd) field.
    std::uint32_t secondLine = teletext::kSecondSdpLine;  ///< Those of the second one; of progressive frames the same.
};

/// Puts the teletext lines of frames that are in no packet into subtitling distribution packets (SMPTE RDD 8), and counts
/// these.
class QLX_STREAMS_EXPORT TeletextPackets {
public:
    /// @param options Where they stand.
    explicit TeletextPackets(const TeletextPacketOptions& options = {}) noexcept : _options(options) {}

    /// Puts a packet for every five lines of a field behind the other packets of the frame, those of the first field first;
    /// the frame has no lines beside its packets then. Teletext packets and their order stay as they are, and so do fields
    /// and line numbers, unless those of a field do not ascend or are not 7 to 22: they are numbered from 7 on then.
    /// @param frame As a reader of transport streams gives it.
    /// @param findings StreamTeletextLeftOut for lines behind the sixteenth of a field; may be null.
    void put(Frame& frame, FindingSink* findings = nullptr);

private:
    TeletextPacketOptions _options;
    std::uint16_t _counter = 0;
};

}  // namespace qlx::streams
