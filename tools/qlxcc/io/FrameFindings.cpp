#include "io/FrameFindings.h"

#include "io/Text.h"

#include <qlx/streams/video.h>

#include <span>
#include <utility>

namespace qlx::tool {

namespace {

/// `near byte 5120: `, `frame 3, line 9, byte 24 of the row: `, as much of it as is known.
std::string inWords(const streams::Place& place) {
    std::string text;
    const auto add = [&text](const char* what, std::uint64_t number) {
        text += text.empty() ? "" : ", ";
        text += what + std::to_string(number);
    };
    if (place.frame) {
        add("frame ", *place.frame);
    }
    if (place.line) {
        add("line ", *place.line);
    }
    if (place.byte) {
        add("byte ", *place.byte);
        text += place.line ? " of the row" : "";
    }
    return text.empty() ? text : (place.isNearby ? "near " : "") + text + ": ";
}

/// What asked for too much memory, for the container of the given name; empty for a piece in the middle of it.
std::string memoryInWords(const Finding& finding, const std::string& container) {
    const std::string tooMuch = ": it asks for more memory than any such file needs";
    return finding.first == 1   ? "cannot be read as " + container + tooMuch
           : finding.first == 2 ? "the streams cannot be told" + tooMuch
                                : std::string();
}

}  // namespace

bool isRemark(const Finding& finding) noexcept {
    return finding.severity == Severity::Remark || finding.code == FindingCode::UserDataMarkerBitsMissing ||
           finding.code == FindingCode::UserDataMarkerBitsWrong || finding.code == FindingCode::VideoSeiTrailingBits;
}

std::string FrameFindings::libraryText(const Finding& finding) {
    if (!streams::hasLibraryText(finding.code)) {
        return {};
    }
    if (_texts.empty()) {
        _texts = _reader.takeLibraryTexts();
    }
    if (_texts.empty()) {
        return {};
    }
    std::string text = std::move(_texts.front());
    _texts.erase(_texts.begin());
    return text;
}

std::string FrameFindings::line(const Finding& finding) {
    const std::string container(streams::containerName(_kind));
    std::string library = libraryText(finding);
    switch (finding.code) {
    case FindingCode::ContainerLibraryMissing:
        return container + " files need FFmpeg's libraries, which are not there: " + library;
    case FindingCode::ContainerNotReadable:
        return "cannot be read as " + container + ": the file is cut short or damaged (" + library + ")";
    case FindingCode::StreamLibraryRemark:
        if (!streams::isContainer(_kind) && !library.empty()) {
            // The fixed search says where.
            return library;
        }
        break;
    case FindingCode::ContainerStreamsUnknown:
        return finding.text() + " (" + library + ")";
    case FindingCode::ContainerTooMuchMemory:
        if (std::string words = memoryInWords(finding, container); !words.empty()) {
            return words;
        }
        break;
    default:
        break;
    }
    return inWords(_reader.placeOf(finding)) + finding.text() + (library.empty() ? "" : ": " + library);
}

Failure FrameFindings::failure(const Finding& why) {
    if (_kind == streams::InputKind::H264 || _kind == streams::InputKind::Mpeg2 || _kind == streams::InputKind::H265) {
        const video::Codec codec = _kind == streams::InputKind::H264    ? video::Codec::H264
                                   : _kind == streams::InputKind::Mpeg2 ? video::Codec::Mpeg2
                                                                        : video::Codec::H265;
        return videoFailure(_name, codec, why);
    }
    if (streams::isContainer(_kind)) {
        const bool hasOtherWay = why.code == FindingCode::ContainerLibraryMissing && _kind == streams::InputKind::Mxf;
        return failureIn(_name, line(why) + (hasOtherWay ? "; --from-format klv finds the ANC packets in it" : ""));
    }
    if (_reader.placeUnit() == streams::PlaceUnit::TextLine && why.offset > 0) {
        return failureAtLine(_name, why.offset, why.text());
    }
    return failureAtByte(_name, why.offset, why.text());
}

Failure videoFailure(const std::string& name, video::Codec codec, const Finding& why) {
    switch (why.code) {
    case FindingCode::VideoSystemStartCode: {
        const auto code = static_cast<std::uint8_t>(why.first);
        return failureAtByte(name, why.offset,
                             "start code " + hex(std::span(&code, 1)) +
                                 " of a transport or program stream: an elementary video stream is needed");
    }
    case FindingCode::VideoUnitTooLong:
        return failureAtByte(name, why.offset,
                             "access unit of more than 64 MiB: this is no " + std::string(streams::nameOf(codec)) +
                                 " stream");
    case FindingCode::VideoStartCodeMissing: {
        const std::string_view where = why.first <= why.second ? "" : " in the first 64 MiB";
        return failureAtByte(name, 0,
                             "no start code (00 00 01)" + std::string(where) +
                                 ": this is neither H.264 or H.265 in Annex B form nor MPEG-2 video");
    }
    default:
        return failureAtByte(name, why.offset, why.text());
    }
}

}  // namespace qlx::tool
