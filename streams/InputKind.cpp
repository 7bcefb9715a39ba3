#include <qlx/streams/input_kind.h>

#include "ts/TransportStream.h"

#include <qlx/base/utf8.h>
#include <qlx/klv/keys.h>
#include <qlx/video/access_unit.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace qlx::streams {

namespace {

struct NamedKind {
    std::string_view name;
    InputKind kind;
};

constexpr NamedKind kKindNames[] = {
    {"v210", InputKind::V210},        {"2vuy", InputKind::Yuv8},
    {"klv", InputKind::Klv},          {"jsonl", InputKind::Jsonl},
    {"scc", InputKind::Scc},          {"srt", InputKind::Srt},
    {"stl", InputKind::Stl},          {"json", InputKind::Json},
    {"h264", InputKind::H264},        {"mpeg2", InputKind::Mpeg2},
    {"h265", InputKind::H265},        {"mxf", InputKind::Mxf},
    {"mov", InputKind::Mov},          {"ts", InputKind::TransportStream},
    {"ps", InputKind::ProgramStream}, {"png", InputKind::Png},
    {"ppm", InputKind::Ppm},          {"vtt", InputKind::Vtt},
    {"mcc", InputKind::Mcc},          {"ttml", InputKind::Ttml},
    {"mkv", InputKind::Mkv},          {"ass", InputKind::Ass},
    {"flv", InputKind::Flv},
};

/// Extensions that differ from the names of the kinds.
constexpr NamedKind kMoreExtensions[] = {
    {"264", InputKind::H264},
    {"avc", InputKind::H264},
    {"265", InputKind::H265},
    {"hevc", InputKind::H265},
    {"dfxp", InputKind::Ttml},
    {"itt", InputKind::Ttml},
    {"m2t", InputKind::TransportStream},
    {"m2ts", InputKind::TransportStream},
    {"m2v", InputKind::Mpeg2},
    {"m4v", InputKind::Mov},
    {"mp4", InputKind::Mov},
    {"mpg", InputKind::ProgramStream},
    {"mpeg", InputKind::ProgramStream},
    {"mpv", InputKind::Mpeg2},
    {"mks", InputKind::Mkv},
    {"mts", InputKind::TransportStream},
    {"qt", InputKind::Mov},
    {"ssa", InputKind::Ass},
    {"uyvy", InputKind::Yuv8},
    {"vob", InputKind::ProgramStream},
    {"webm", InputKind::Mkv},
};

constexpr std::array<std::uint8_t, 8> kPng{0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
/// The identifier of the EBML header (RFC 8794, 11.2.1), with which Matroska files begin.
constexpr std::array<std::uint8_t, 4> kEbml{0x1A, 0x45, 0xDF, 0xA3};
/// The signature and version 1.
constexpr std::array<std::uint8_t, 4> kFlv{'F', 'L', 'V', 1};
constexpr std::string_view kBlanks = " \t\r\n";

/// The types of the atoms with which QuickTime and MP4 files begin.
constexpr std::string_view kFirstAtoms[] = {"ftyp", "moov", "mdat", "free", "skip", "wide",
                                            "pnot", "styp", "moof", "sidx", "pdin", "uuid"};

template <std::size_t N>
bool beginsWith(std::span<const std::uint8_t> bytes, const std::array<std::uint8_t, N>& start) {
    return bytes.size() >= N && std::equal(start.begin(), start.end(), bytes.begin());
}

std::string_view asText(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

template <std::size_t N>
bool holds(std::span<const std::uint8_t> bytes, const std::array<std::uint8_t, N>& part) {
    return std::search(bytes.begin(), bytes.end(), part.begin(), part.end()) != bytes.end();
}

bool isMov(std::span<const std::uint8_t> bytes) {
    constexpr std::size_t kAtomHeader = 8;
    if (bytes.size() < kAtomHeader) {
        return false;
    }
    return std::find(std::begin(kFirstAtoms), std::end(kFirstAtoms), asText(bytes.subspan(4, 4))) !=
           std::end(kFirstAtoms);
}

/// What begins with the first start code (00 00 01), in front of which zero bytes may stand.
std::optional<InputKind> kindOfStartCode(std::span<const std::uint8_t> bytes) {
    const auto one = std::find_if(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte != 0; });
    if (one - bytes.begin() < 2 || bytes.end() - one < 2 || *one != 1) {
        return std::nullopt;
    }
    const std::uint8_t code = one[1];
    if (code >= 0xB9) {
        // From here on start codes are those of a multiplex; a file begins with a pack, a system header or a packet.
        return code == 0xB9 ? std::nullopt : std::optional(InputKind::ProgramStream);
    }
    if (code == 0x00 || code >= 0xB0) {
        return InputKind::Mpeg2;
    }
    if (video::codecOfStartCode(bytes.subspan(static_cast<std::size_t>(one - bytes.begin()) + 1)) ==
        video::Codec::H265) {
        return InputKind::H265;
    }
    // The header of an H.264 NAL unit: a clear bit, two of importance, five of type. Streams begin with a delimiter,
    // parameter sets, a message or a slice.
    const unsigned type = code & 0x1FU;
    const bool isFirst = type == 1 || (type >= 5 && type <= 9) || type == 15;
    return code < 0x80 && isFirst ? std::optional(InputKind::H264) : std::nullopt;
}

std::string_view takeLine(std::string_view& text) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    while (!line.empty() && kBlanks.find(line.back()) != std::string_view::npos) {
        line.remove_suffix(1);
    }
    return line;
}

bool isNumber(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// Whether the outermost element of an XML text is `tt`, of whatever namespace; not where it begins too late.
bool isTtml(std::string_view text) {
    constexpr std::pair<std::string_view, std::string_view> kInFront[] = {{"<!--", "-->"}, {"<?", "?>"}, {"<!", ">"}};
    for (;;) {
        text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
        const auto* const part = std::find_if(std::begin(kInFront), std::end(kInFront),
                                              [text](const auto& each) { return text.starts_with(each.first); });
        if (part == std::end(kInFront)) {
            break;
        }
        const std::size_t end = text.find(part->second, part->first.size());
        if (end == std::string_view::npos) {
            return false;
        }
        text.remove_prefix(end + part->second.size());
    }
    if (!text.starts_with('<')) {
        return false;
    }
    text.remove_prefix(1);
    std::string_view name = text.substr(0, text.find_first_of(" \t\r\n/>"));
    const bool isWhole = name.size() < text.size();
    name.remove_prefix(name.find(':') + 1);  // 0 where there is no prefix
    return isWhole && name == "tt";
}

std::optional<InputKind> kindOfText(std::string_view text) {
    text = withoutByteOrderMark(text);
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    if (text.starts_with("Scenarist_SCC")) {
        return InputKind::Scc;
    }
    if (text.starts_with("File Format=MacCaption_MCC")) {
        return InputKind::Mcc;
    }
    constexpr std::string_view kWebVtt = "WEBVTT";
    if (text.starts_with(kWebVtt) &&
        (text.size() == kWebVtt.size() || kBlanks.find(text[kWebVtt.size()]) != std::string_view::npos)) {
        return InputKind::Vtt;
    }
    // In either case, and files that lack what stands in front of the second ones.
    constexpr std::string_view kSsa[] = {"[script info]", "[v4 styles]", "[v4+ styles]", "[events]"};
    const auto isSsaCharacter = [](char wanted, char found) {
        return (found >= 'A' && found <= 'Z' ? static_cast<char>(found + ('a' - 'A')) : found) == wanted;
    };
    if (std::any_of(std::begin(kSsa), std::end(kSsa), [&](std::string_view head) {
            return text.size() >= head.size() && std::equal(head.begin(), head.end(), text.begin(), isSsaCharacter);
        })) {
        return InputKind::Ass;
    }
    if (text.starts_with('<')) {
        return isTtml(text) ? std::optional(InputKind::Ttml) : std::nullopt;
    }
    if (text.starts_with("{\"frame\":")) {
        return InputKind::Jsonl;
    }
    if (text.starts_with('{') || text.starts_with('[')) {
        return InputKind::Json;
    }
    const std::string_view number = takeLine(text);
    const std::string_view times = takeLine(text);
    const bool isSrt = isNumber(number) && times.find("-->") != std::string_view::npos;
    return isSrt ? std::optional(InputKind::Srt) : std::nullopt;
}

bool isPpm(std::string_view text) {
    return text.size() > 2 && text.starts_with("P6") &&
           (kBlanks.find(text[2]) != std::string_view::npos || text[2] == '#');
}

/// The general subtitle information block: the number of a code page, then the disk format code.
bool isStl(std::string_view text) {
    return text.size() >= 11 && isNumber(text.substr(0, 3)) && text.substr(3, 3) == "STL" && text.substr(8, 3) == ".01";
}

}  // namespace

std::string_view nameOf(InputKind kind) noexcept {
    for (const NamedKind& named : kKindNames) {
        if (named.kind == kind) {
            return named.name;
        }
    }
    return {};
}

std::string_view containerName(InputKind kind) noexcept {
    switch (kind) {
    case InputKind::Mxf:
        return "MXF";
    case InputKind::Mov:
        return "MOV or MP4";
    case InputKind::TransportStream:
        return "MPEG-TS";
    case InputKind::Mkv:
        return "Matroska";
    case InputKind::Flv:
        return "FLV";
    default:
        return "MPEG-PS";
    }
}

std::optional<InputKind> inputKindNamed(std::string_view name) noexcept {
    for (const NamedKind& named : kKindNames) {
        if (named.name == name) {
            return named.kind;
        }
    }
    return std::nullopt;
}

std::optional<InputKind> inputKindOfName(std::string_view path) noexcept {
    const std::size_t dot = path.find_last_of("./");
    if (dot == std::string_view::npos || path[dot] == '/') {
        return std::nullopt;
    }
    const std::string_view extension = path.substr(dot + 1);
    const auto isExtension = [extension](const NamedKind& named) {
        return std::equal(
            extension.begin(), extension.end(), named.name.begin(), named.name.end(), [](char left, char right) {
                return (left >= 'A' && left <= 'Z' ? static_cast<char>(left + ('a' - 'A')) : left) == right;
            });
    };
    for (const std::span<const NamedKind> table :
         {std::span<const NamedKind>(kKindNames), std::span<const NamedKind>(kMoreExtensions)}) {
        const auto found = std::find_if(table.begin(), table.end(), isExtension);
        if (found != table.end()) {
            return found->kind;
        }
    }
    return std::nullopt;
}

bool hasBeginningOf(InputKind kind, std::span<const std::uint8_t> first) noexcept {
    constexpr std::array<std::uint8_t, 4> kPack{0x00, 0x00, 0x01, 0xBA};
    switch (kind) {
    case InputKind::Mxf:
        return holds(first, klv::kPackKeyStart);
    case InputKind::Mov:
        return isMov(first);
    case InputKind::Mkv:
        return beginsWith(first, kEbml);
    case InputKind::Flv:
        return beginsWith(first, kFlv);
    case InputKind::ProgramStream:
        return holds(first, kPack);
    case InputKind::TransportStream:
        for (std::size_t place = 0; place < std::min(first.size(), detail::kLongestTransportPacket); ++place) {
            if (detail::transportPacketSize(first.subspan(place)) != 0) {
                return true;
            }
        }
        return false;
    default:
        return true;
    }
}

std::optional<InputKind> inputKindOfBytes(std::span<const std::uint8_t> first) noexcept {
    first = first.first(std::min(first.size(), kBytesThatTellKind));
    if (beginsWith(first, klv::kPackKeyStart)) {
        return InputKind::Mxf;
    }
    if (beginsWith(first, klv::kLabelStart)) {
        return InputKind::Klv;
    }
    if (beginsWith(first, kPng)) {
        return InputKind::Png;
    }
    if (beginsWith(first, kEbml)) {
        return InputKind::Mkv;
    }
    if (beginsWith(first, kFlv)) {
        return InputKind::Flv;
    }
    if (isMov(first)) {
        return InputKind::Mov;
    }
    if (const auto kind = kindOfStartCode(first)) {
        return kind;
    }
    if (detail::transportPacketSize(first) != 0) {
        return InputKind::TransportStream;
    }
    if (isPpm(asText(first))) {
        return InputKind::Ppm;
    }
    if (isStl(asText(first))) {
        return InputKind::Stl;
    }
    return kindOfText(asText(first));
}

std::optional<InputKind> inputKind(std::span<const std::uint8_t> first, std::string_view path) noexcept {
    const std::optional<InputKind> named = inputKindOfName(path);
    if (named && hasRows(*named)) {
        return named;
    }
    const std::optional<InputKind> told = inputKindOfBytes(first);
    return told ? told : named;
}

}  // namespace qlx::streams
