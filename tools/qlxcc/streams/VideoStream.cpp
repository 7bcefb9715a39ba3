#include "streams/VideoStream.h"

#include "io/Errors.h"
#include "io/Text.h"

#include <string>

namespace qlx::tool {

namespace {

constexpr std::size_t kReadChunk = std::size_t{256} * 1024;
constexpr std::string_view kNoVideo = "this is neither H.264 in Annex B form nor MPEG-2 video";

}  // namespace

std::string_view nameOf(VideoCodec codec) noexcept {
    return codec == VideoCodec::H264 ? "H.264" : "MPEG-2";
}

void AccessUnitReader::fail(const Finding& why) const {
    const std::string& name = _source.name();
    const std::uint64_t place = _begin + why.offset;
    if (why.code == FindingCode::VideoSystemStartCode) {
        const auto code = static_cast<std::uint8_t>(why.first);
        throw failureAtByte(name, place,
                            "start code " + hex(std::span(&code, 1)) +
                                " of a transport or program stream: an elementary video stream is needed");
    }
    if (why.code == FindingCode::VideoUnitTooLong) {
        throw failureAtByte(name, place,
                            "access unit of more than 64 MiB: this is no " + std::string(nameOf(codec())) + " stream");
    }
    const std::string_view where = why.first <= why.second ? "" : " in the first 64 MiB";
    throw failureAtByte(name, 0, "no start code (00 00 01)" + std::string(where) + ": " + std::string(kNoVideo));
}

bool AccessUnitReader::next(AccessUnit& unit) {
    for (;;) {
        if (const std::optional<video::AccessUnitView> found = _reader.next()) {
            unit.number = found->number;
            unit.offset = _begin + found->offset;
            unit.bytes.assign(found->bytes.begin(), found->bytes.end());
            return true;
        }
        if (_reader.error()) {
            fail(*_reader.error());
        }
        if (_isAtEnd) {
            if (_source.offset() == 0) {
                throw failureAtByte(_source.name(), 0, "the file is empty");
            }
            return false;
        }
        _piece.resize(kReadChunk);
        const std::size_t got = _source.read(_piece);
        _reader.push(std::span<const std::uint8_t>(_piece).first(got));
        if (got < kReadChunk) {
            _isAtEnd = true;
            _reader.finish();
        }
    }
}

}  // namespace qlx::tool
