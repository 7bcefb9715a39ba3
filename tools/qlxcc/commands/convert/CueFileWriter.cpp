#include "commands/convert/CueFileWriter.h"

#include <algorithm>
#include <utility>

namespace qlx::tool {

namespace {

/// Cues, and bytes that they take, that are looked at for the head of a WebVTT file.
constexpr std::size_t kMostHeld = 1000;
constexpr std::size_t kMostHeldBytes = std::size_t{4} << 20U;

/// The same head with another time in a stream (RFC 8216, 3.5).
subtitles::WebVttFile withTimestampMap(subtitles::WebVttFile file, std::uint64_t time) {
    std::erase_if(file.header, [](const std::string& line) { return line.starts_with("X-TIMESTAMP-MAP"); });
    file.header.insert(file.header.begin(), "X-TIMESTAMP-MAP=LOCAL:00:00:00.000,MPEGTS:" + std::to_string(time));
    return file;
}

}  // namespace

CueFileWriter::CueFileWriter(const ConvertOptions& options, const TimeChange& times, OutputFile& output,
                             FindingSink* findings)
    : _options(options), _format(options.format), _output(output), _findings(findings), _subRip(findings),
      _webVtt(findings), _stl(options.stl, times.toStart, findings), _json(options.isDeployedJson, findings) {}

void CueFileWriter::write(const subtitles::Cue& cue, const CueInput& input) {
    if (!_options.hasStyleSheet || _isBegun) {
        writeBehindHead(cue, input);
        return;
    }
    // The head of the file says which colours there are.
    addColorsOf(cue, _head);
    _heldBytes += bytesOf(cue);
    _held.push_back(cue);
    if (_held.size() >= kMostHeld || _heldBytes >= kMostHeldBytes) {
        writeHeld(input);
    }
}

void CueFileWriter::finish(const CueInput& input) {
    writeHeld(input);
    _text.clear();
    begin(input);
    if (_format == CueFormat::Vtt) {
        _webVtt.finish(input.file, _text);
    } else if (_format == CueFormat::Stl) {
        _text = _stl.finish(input);
    } else if (_ttml) {
        _text = _ttml->finish();
    } else if (_format == CueFormat::Json) {
        _json.finish(input, _text);
    }
    _output.write(_text);
}

void CueFileWriter::writeHeld(const CueInput& input) {
    for (const subtitles::Cue& cue : std::exchange(_held, {})) {
        writeBehindHead(cue, input);
    }
}

void CueFileWriter::writeBehindHead(const subtitles::Cue& cue, const CueInput& input) {
    _text.clear();
    begin(input);
    ++_given;
    const bool isWritten = _ttml                        ? writeTtml(cue)
                           : _format == CueFormat::Srt  ? _subRip.write(cue, _text)
                           : _format == CueFormat::Vtt  ? writeWebVtt(cue, input)
                           : _format == CueFormat::Json ? _json.write(cue, _text)
                                                        : _stl.write(cue, input);
    _cues += isWritten ? 1 : 0;
    _output.write(_text);
}

/// Regions of TTML are not in the head of a WebVTT file: what is in one has its box there.
bool CueFileWriter::writeWebVtt(const subtitles::Cue& cue, const CueInput& input) {
    const bool isElsewhere = input.ttml && !cue.region.empty();
    return isElsewhere ? _webVtt.write(withoutRegion(cue), _text) : _webVtt.write(cue, _text);
}

/// A cue that is not where its region of WebVTT is (a position within it) has a box of its own.
bool CueFileWriter::writeTtml(const subtitles::Cue& cue) {
    const auto region = _regions.find(cue.region);
    const bool isElsewhere = region != _regions.end() && cue.box && *cue.box != region->second;
    return isElsewhere ? _ttml->write(withoutRegion(cue)) : _ttml->write(cue);
}

subtitles::Cue CueFileWriter::withoutRegion(const subtitles::Cue& cue) const {
    subtitles::Cue placed = cue;
    placed.region.clear();
    if (_findings != nullptr) {
        _findings->add({FindingCode::SubtitleRegionLost, cue.box ? Severity::Remark : Severity::Warning, _given,
                        static_cast<std::int64_t>(cue.region.size())});
    }
    return placed;
}

void CueFileWriter::begin(const CueInput& input) {
    if (std::exchange(_isBegun, true)) {
        return;
    }
    if (_format == CueFormat::Vtt) {
        subtitles::WebVttFile file = input.file;
        file.colors = _head.colors;
        if (input.ttml && !input.ttml->language.empty()) {
            file.header.push_back("Language: " + input.ttml->language);
        }
        if (_options.timestampMap) {
            file = withTimestampMap(std::move(file), *_options.timestampMap);
        }
        _webVtt.begin(file, _text);
    } else if (_format == CueFormat::Json) {
        _json.begin(input, _text);
    } else if (_format == CueFormat::Ttml || _format == CueFormat::EbuTtD) {
        streams::TtmlFile file = input.ttml.value_or(streams::TtmlFile());
        file.language = _options.language.value_or(file.language);
        if (!input.ttml) {
            _regions = regionBoxesOf(input.file);
            for (const auto& [name, box] : _regions) {
                file.regions.push_back(streams::regionOf(name, box));
            }
        }
        streams::TtmlWriteOptions options;
        options.profile = _format == CueFormat::EbuTtD ? streams::TtmlProfile::EbuTtD : options.profile;
        _ttml.emplace(std::move(file), options, _findings);
    }
}

}  // namespace qlx::tool
