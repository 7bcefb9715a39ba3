#include "streams/InputKind.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>

namespace qlx::tool {

namespace {

/// What to call a file of a kind in sentences, and the commands that read it.
struct KindInWords {
    InputKind kind;
    std::string_view file;
    std::string_view commands;
};

constexpr KindInWords kKindsInWords[] = {
    {InputKind::V210, "a v210 file", "scan, show, extract, rate, convert and scte104 parse"},
    {InputKind::Yuv8, "a 2vuy file", "scan, show, extract, rate, convert and scte104 parse"},
    {InputKind::Klv, "a KLV file", "scan, show, extract, rate, convert and scte104 parse"},
    {InputKind::Jsonl, "a file of a JSON line a frame", "scan, show, extract, rate and convert"},
    {InputKind::Scc, "a Scenarist caption file", "scan, show, subs, play and convert"},
    {InputKind::Srt, "an SRT file", "subs, play and convert"},
    {InputKind::Stl, "an EBU STL file", "subs, play and convert"},
    {InputKind::Json, "a JSON file", "subs, play and convert, or scte104 build"},
    {InputKind::H264, "an H.264 stream", "scan, show, extract, rate and convert"},
    {InputKind::Mpeg2, "an MPEG-2 stream", "scan, show, extract, rate and convert"},
    {InputKind::H265, "an H.265 stream", "scan, show, extract, rate and convert"},
    {InputKind::Mxf, "an MXF file", "scan, show, extract, rate and convert"},
    {InputKind::Mov, "a MOV or MP4 file", "scan, show, extract, rate and convert"},
    {InputKind::TransportStream, "an MPEG-TS file", "scan, show, extract, rate and convert"},
    {InputKind::ProgramStream, "an MPEG-PS file", "scan, show, extract, rate and convert"},
    {InputKind::Png, "a PNG picture", "line21"},
    {InputKind::Ppm, "a PPM picture", "line21"},
    {InputKind::Vtt, "a WebVTT file", "subs, play and convert"},
    {InputKind::Mcc, "an MCC file", "scan, show, extract, rate, subs, play and convert"},
    {InputKind::Mkv, "a Matroska file", "scan, show, extract, rate and convert"},
    {InputKind::Ttml, "a TTML file", "subs, play and convert"},
    {InputKind::Ass, "a SubStation Alpha file", "subs, play and convert"},
    {InputKind::Flv, "an FLV file", "scan, show, extract, rate and convert"},
};

}  // namespace

UsageError otherKind(std::string_view name, InputKind kind, std::string_view what, bool isByName) {
    const KindInWords& words = *std::find_if(std::begin(kKindsInWords), std::end(kKindsInWords),
                                             [kind](const KindInWords& each) { return each.kind == kind; });
    return UsageError(std::string(name) + " is " + std::string(words.file) + (isByName ? " by its name, " : ", ") +
                      std::string(what) + ": such files are for qlxcc " + std::string(words.commands));
}

void refuseOtherKinds(std::span<const std::uint8_t> first, std::string_view name, bool (*reads)(InputKind),
                      std::string_view what) {
    const std::optional<InputKind> told = inputKindOfBytes(first);
    const std::optional<InputKind> kind = told || first.empty() ? told : inputKindOfName(name);
    if (kind && !reads(*kind)) {
        throw otherKind(name, *kind, what, !told);
    }
}

}  // namespace qlx::tool
