// What the examples of the headers' comments leave to their reader: names that a host has anyway. Each example is a
// function in a namespace that is named after its header, inside of this one: what a name means to the examples of one
// header alone stands in that namespace. Nothing is defined: examples are compiled, and do not run.
#pragma once

#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <qlx/qlx.h>
#include <qlx/streams/frame.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace example {

// What a host does with what it got.
template <class... T>
void use(const T&... values);
template <class... T>
void report(const T&... values);
template <class... T>
void show(const T&... values);
template <class... T>
void send(const T&... values);
template <class... T>
void draw(const T&... values);
template <class... T>
void take(const T&... values);
template <class... T>
void write(const T&... values);

// Bytes that it has, and pieces of a file.
extern std::span<const std::uint8_t> bytes, data, element, firstBytes, lastBytes, picture, piece, row, stream, userData,
    value;
extern std::uint8_t byte;
bool more(std::span<const std::uint8_t>& piece);

// What it has read.
extern qlx::Findings findings;
extern qlx::FrameRate rate;
extern qlx::streams::Frame frame;
extern qlx::cc::Cdp cdp;
extern std::span<const qlx::cc::Triplet> triplets;
extern qlx::cea608::Receiver receiver;
extern qlx::klv::Key key;
extern qlx::scte::SpliceInfoSection section;

namespace anc_caption_atom {
extern std::span<const std::uint8_t> sample;
void showPacket(const qlx::Result<qlx::cc::Cdp>& cdp);
void showPairs(std::span<const std::uint8_t> pairs, bool isFieldTwo);
}  // namespace anc_caption_atom
namespace anc_payloads {
extern qlx::anc::Packet packet;
}
namespace anc_registry {
extern qlx::anc::Packet packet;
}
namespace anc_rate {
extern qlx::anc::Packet packet;
extern std::uint64_t frame, outputFrame;
}  // namespace anc_rate
namespace base_finding_code {
extern qlx::Finding finding;
}
namespace cc_a53 {
extern std::span<const std::uint8_t> payload;
}
namespace cc_cdp {
extern std::uint16_t counter;
extern std::vector<qlx::cc::Cdp> cdps;
}  // namespace cc_cdp
namespace cc_rate {
struct CdpSource {
    bool read(qlx::cc::Cdp& cdp);
};
extern CdpSource reader;
}  // namespace cc_rate
namespace cc_slots {
extern qlx::cea608::Pair pair;
}
namespace cea608_caption {
extern std::vector<qlx::screen::Cell> cells;
}
namespace cea608_parity {
extern qlx::cea608::Pair pair;
void warn(const char* text);
}  // namespace cea608_parity
namespace cea608_writer {
extern qlx::cea608::Caption caption;
}
namespace cea608_xds {
extern std::uint8_t first, second;
}
namespace cea708_caption {
extern std::vector<qlx::screen::Cell> cells;
}
namespace cea708_packet {
extern std::uint8_t number;
extern std::span<const std::uint8_t> text;
}  // namespace cea708_packet
namespace cea708_receiver {
extern std::uint64_t frame;
}
namespace cea708_window {
extern qlx::cea708::Receiver receiver;
}
namespace cea708_writer {
extern qlx::cea708::Caption caption;
}
namespace facade_cue {
extern std::shared_ptr<QLXSubtitleRecord> record;
}
namespace facade_frames {
extern std::shared_ptr<QLXSubtitlesPacketizer> packetizer;
extern qlx::MediaTime pts, frameDuration;
}  // namespace facade_frames
namespace facade_numbers {
extern QLXSubtitleTextLine& line;
}
namespace facade_packet {
extern std::shared_ptr<QLXVANCPacket> packet;
}
namespace playout_broadcast {
extern qlx::subtitles::Cue cue;
}
namespace playout_captions {
extern qlx::subtitles::Cue cue;
}
namespace playout_teletext {
extern qlx::subtitles::Cue cue;
}
namespace playout_timeline {
extern std::shared_ptr<const qlx::subtitles::Cue> cue;
extern std::int64_t frames;
}  // namespace playout_timeline
namespace screen_screen {
extern qlx::teletext::PageReader page;
}
namespace scte_conversion {
extern qlx::scte::MultipleOperationMessage message;
extern std::uint64_t pts;
}  // namespace scte_conversion
namespace scte_scte104_packets {
extern std::span<const std::uint8_t> message;
extern std::array<std::uint8_t, qlx::anc::kGreatestUserData> room;
}  // namespace scte_scte104_packets
namespace streams_container {
extern qlx::streams::ByteSource& source;
}
namespace streams_contents {
extern std::vector<qlx::streams::Frame> frames;
}
namespace streams_frame_reader {
extern qlx::streams::FrameReader& reader;
}
namespace streams_input_kind {
void openContainer();
}
namespace streams_jsonl {
extern qlx::streams::ByteSource& source;
extern qlx::streams::ByteSink& sink;
}  // namespace streams_jsonl
namespace streams_klv {
extern qlx::streams::ByteSource& source;
extern qlx::streams::ByteSink& sink;
}  // namespace streams_klv
namespace streams_mcc {
extern qlx::streams::ByteSource& source;
extern qlx::streams::ByteSink& sink;
}  // namespace streams_mcc
namespace streams_on_air {
extern std::vector<qlx::streams::Frame> frames;
}
namespace streams_open {
extern qlx::streams::ByteSource& source;
}
namespace streams_rows {
extern qlx::streams::ByteSource& source;
extern qlx::streams::ByteSink& sink;
}  // namespace streams_rows
namespace streams_teletext_packets {
extern qlx::streams::ByteSource& source;
extern qlx::streams::ByteSink& sink;
}  // namespace streams_teletext_packets
namespace streams_text_tracks {
extern qlx::streams::ByteSource& source;
}
namespace streams_ts_section {
extern qlx::streams::ts::PacketView packet;
}
namespace streams_ts_pes {
extern qlx::streams::ts::PacketView packet;
}
namespace streams_ts_program_map {
extern qlx::streams::ts::PacketReader reader;
}
namespace streams_ts_vbi {
extern qlx::streams::ts::PesView pes;
}
namespace streams_transport {
extern qlx::streams::ByteSource& source;
}
namespace streams_transport_writer {
extern qlx::streams::ByteSink& sink;
}
namespace streams_scc {
extern qlx::streams::ByteSink& sink;
}
namespace streams_video {
extern qlx::streams::ByteSource& source;
}
namespace streams_ttml {
extern qlx::streams::TtmlFile file;
extern qlx::subtitles::Cue cue;
}  // namespace streams_ttml
namespace subtitles_box {
extern qlx::subtitles::Cue cue;
}
namespace subtitles_cue {
extern qlx::subtitles::Cue cue;
}
namespace subtitles_shown_together {
extern std::vector<qlx::subtitles::Cue> cues;
extern qlx::playout::CaptionPlayout playout;
}  // namespace subtitles_shown_together
namespace subtitles_stl_writer {
extern std::vector<qlx::subtitles::Cue> cues;
}
namespace subtitles_subrip {
extern qlx::subtitles::Cue cue;
}  // namespace subtitles_subrip
namespace subtitles_times {
extern qlx::subtitles::Cue cue;
}
namespace subtitles_value {
extern qlx::subtitles::Cue cue;
}
namespace subtitles_webvtt {
extern qlx::subtitles::Cue cue;
extern qlx::subtitles::WebVttFile file;
}  // namespace subtitles_webvtt
namespace teletext_page {
extern qlx::Result<qlx::teletext::Sdp> sdp;
}
namespace teletext_page_text {
extern std::vector<qlx::screen::Cell> cells;
}
namespace teletext_sdp_stream {
extern qlx::teletext::Writer writer;
extern std::array<std::uint8_t, qlx::teletext::kGreatestSdpBytes> room;
}  // namespace teletext_sdp_stream
namespace teletext_writer {
extern qlx::teletext::PageText text;
}
namespace video_nal {
extern qlx::video::UnitView unit;
}
namespace video_order {
using Captions = std::vector<qlx::cc::Triplet>;
extern std::optional<qlx::video::UnitView> unit;
Captions captionsOf(const qlx::video::UnitView& unit);
}  // namespace video_order
namespace video_sei {
extern qlx::video::UnitView unit;
}

}  // namespace example
