#include "commands/scan/ContentList.h"

#include "io/Text.h"
#include "io/Times.h"
#include "streams/Json.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

namespace {

using streams::Content;
using streams::ContentKind;

std::string nameInWords(const Content& content) {
    switch (content.kind) {
    case ContentKind::CaptionChannel:
        return "captions " + content.name;
    case ContentKind::TextChannel:
        return "text " + content.name;
    case ContentKind::ExtendedData:
        return "extended data";
    case ContentKind::CaptionService:
        return "service " + content.name;
    case ContentKind::TeletextPage:
        return "teletext page " + content.name;
    }
    return content.name;
}

std::string_view jsonKind(ContentKind kind) {
    constexpr std::array<std::string_view, 5> kKinds{"captions", "text", "extendedData", "service", "teletext"};
    return kKinds[static_cast<std::size_t>(kind)];
}

/// Its time, or else its number; `-` for no frame.
std::string placeInWords(const std::optional<std::uint64_t>& frame, const std::optional<MediaTime>& time) {
    return !frame ? "-" : time ? timecode(*time) : "frame " + std::to_string(*frame);
}

}  // namespace

void ContentListWriter::write(const Frame& frame) {
    ++_frames;
    _reader.receive(frame, _findings);
}

void ContentListWriter::finish() {
    _reader.finish(_findings);
    const std::vector<Content> contents = _reader.contents();
    if (_asJson) {
        writeJson(contents);
    } else {
        writeTable(contents);
    }
}

void ContentListWriter::writeTable(const std::vector<Content>& contents) {
    constexpr std::size_t kNameWidth = 18;
    constexpr std::size_t kLanguageWidth = 8;
    constexpr std::size_t kTimeWidth = 14;
    constexpr std::size_t kCountWidth = 8;
    if (!contents.empty() || !_tracks.empty()) {
        _output.write(padded("what", kNameWidth) + "  " + padded("language", kLanguageWidth) + "  " +
                      padded("first", kTimeWidth) + "  " + padded("last", kTimeWidth) + "  captions\n");
    }
    for (const Content& content : contents) {
        _output.write(padded(nameInWords(content), kNameWidth) + "  " +
                      padded(content.language.empty() ? "-" : content.language, kLanguageWidth) + "  " +
                      padded(placeInWords(content.firstFrame, content.first), kTimeWidth) + "  " +
                      padded(placeInWords(content.lastFrame, content.last), kTimeWidth) + "  " +
                      rightAligned(content.captions, kCountWidth) +
                      (content.kind == ContentKind::ExtendedData ? " (packets)" : "") + "\n");
    }
    for (std::size_t index = 0; index < _tracks.size(); ++index) {
        const streams::TextTrack& track = _tracks[index];
        _output.write(padded("text track " + std::to_string(index + 1), kNameWidth) + "  " +
                      padded(track.language.empty() ? "-" : printable(track.language), kLanguageWidth) + "  " +
                      padded("-", kTimeWidth) + "  " + padded("-", kTimeWidth) + "  " +
                      std::string(kCountWidth - 1, ' ') + "- (" + std::string(nameOf(track.kind)) + ")\n");
    }
    const bool isNothing = contents.empty() && _tracks.empty();
    _output.write((isNothing ? std::string("no captions in ") : std::string("in ")) + counted(_frames, "frame") + "\n");
}

void ContentListWriter::writeJson(const std::vector<Content>& contents) {
    Array array;
    for (const Content& content : contents) {
        array.emplace_back(Dictionary{
            {"kind", jsonKind(content.kind)},
            {"name", content.name},
            {"language", content.language.empty() ? Value() : Value(content.language)},
            {"captions", content.captions},
            {"firstFrame", content.firstFrame ? Value(*content.firstFrame) : Value()},
            {"lastFrame", content.lastFrame ? Value(*content.lastFrame) : Value()},
            {"first", jsonTime(content.first)},
            {"last", jsonTime(content.last)},
        });
    }
    for (std::size_t index = 0; index < _tracks.size(); ++index) {
        const std::string& language = _tracks[index].language;
        array.emplace_back(Dictionary{
            {"kind", "textTrack"},
            {"name", std::to_string(index + 1)},
            {"format", nameOf(_tracks[index].kind)},
            {"language", language.empty() ? Value() : Value(language)},
            {"captions", Value()},
            {"firstFrame", Value()},
            {"lastFrame", Value()},
            {"first", Value()},
            {"last", Value()},
        });
    }
    _output.write(jsonText(Value(Dictionary{
                      {"schema", "qlxcc/contents/1"}, {"frames", _frames}, {"contents", std::move(array)}})) +
                  "\n");
}

}  // namespace qlx::tool
