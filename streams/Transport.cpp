#include <qlx/streams/transport.h>

#include "TransportTeletext.h"

#include <span>
#include <utility>

namespace qlx::streams {

namespace {

/// A source whose bytes somebody else reads along.
class SharedSource final : public ByteSource {
public:
    SharedSource(ByteSource& source, detail::TransportTeletext& teletext) : _source(source), _teletext(teletext) {}

    std::size_t read(std::span<std::uint8_t> to) override {
        const std::uint64_t place = _source.offset();
        const std::size_t got = _source.read(to);
        _teletext.take(place, to.first(got));
        return got;
    }
    [[nodiscard]] std::span<const std::uint8_t> peek(std::size_t count) override { return _source.peek(count); }
    std::uint64_t skip(std::uint64_t count) override { return _source.skip(count); }
    bool seek(std::uint64_t offset) override { return _source.seek(offset); }
    [[nodiscard]] std::uint64_t offset() const override { return _source.offset(); }
    [[nodiscard]] std::optional<std::uint64_t> size() const override { return _source.size(); }
    [[nodiscard]] std::optional<Finding> error() const override { return _source.error(); }

private:
    ByteSource& _source;
    detail::TransportTeletext& _teletext;
};

}  // namespace

class TransportReader::Reading {
public:
    Reading(ByteSource& source, const TransportOptions& options)
        : _source(source), _teletext(ts::VbiReaderOptions{options.teletextPid}), _shared(source, _teletext),
          _pictures(_shared, InputKind::TransportStream, options.container) {}

    std::optional<Finding> open();
    Result<bool> next(Frame& frame, FindingSink* findings);
    [[nodiscard]] ContainerReader& pictures() { return _pictures; }
    [[nodiscard]] const detail::TransportTeletext& teletext() const { return _teletext; }

private:
    bool give(Frame&& from, Frame& frame);
    Result<bool> readPictures(FindingSink* findings);

    ByteSource& _source;
    detail::TransportTeletext _teletext;
    SharedSource _shared;
    ContainerReader _pictures;
    std::optional<Frame> _picture;         ///< Teletext may come in front of it.
    std::optional<Finding> _failure;       ///< Why there is nothing, or no more.
    std::optional<Finding> _otherFailure;  ///< Why there is nothing but teletext.
    std::uint64_t _given = 0;              ///< Frames.
    bool _isOpen = false;
    bool _isAlone = false;  ///< There is nothing but teletext.
    bool _isAtEnd = false;
};

std::optional<Finding> TransportReader::Reading::open() {
    if (_isOpen) {
        return _given == 0 && !_isAlone ? _failure : std::nullopt;
    }
    _isOpen = true;
    _failure = _pictures.open();
    if (_failure && !_source.error() && _teletext.lookIn(_source)) {
        _isAlone = true;
        const std::optional<Finding> error = std::exchange(_failure, std::nullopt);
        if (error->code != FindingCode::ContainerWithoutTracks) {
            _otherFailure = error;
            _otherFailure->severity = Severity::Warning;
        }
    } else if (_failure && _failure->code == FindingCode::ContainerWithoutTracks) {
        const auto why = _teletext.whyNothing();
        _failure = why ? why : _failure;
    }
    _isAtEnd = _failure.has_value();
    return _failure;
}

bool TransportReader::Reading::give(Frame&& from, Frame& frame) {
    frame = std::move(from);
    frame.number = _given++;
    return true;
}

/// Reads the next frame of the pictures; false at their end.
Result<bool> TransportReader::Reading::readPictures(FindingSink* findings) {
    Frame frame;
    Result<bool> more = _pictures.next(frame, findings);
    if (more && *more) {
        _picture = std::move(frame);
    }
    return more;
}

Result<bool> TransportReader::Reading::next(Frame& frame, FindingSink* findings) {
    if (const std::optional<Finding> error = open()) {
        return *error;
    }
    if (_otherFailure && findings != nullptr) {
        findings->add(*_otherFailure);
    }
    _otherFailure.reset();
    for (;;) {
        if (!_picture && !_isAtEnd && !_isAlone) {
            const Result<bool> more = readPictures(findings);
            _isAtEnd = !more || !*more;
            if (_isAtEnd) {
                _teletext.finish();
                _failure = more ? std::nullopt : std::optional(more.error());
            }
        }
        _teletext.report(findings, _isAlone);
        const auto limit = _picture ? _picture->pts : std::nullopt;
        if (auto lines = _teletext.takeUpTo(limit, _isAlone || !_picture)) {
            return give(std::move(*lines), frame);
        }
        if (_picture) {
            return give(std::move(*std::exchange(_picture, std::nullopt)), frame);
        }
        if (_isAtEnd) {
            const bool isEmpty = _failure && _failure->code == FindingCode::ContainerWithoutFrames && _given > 0;
            return _failure && !isEmpty ? Result<bool>(*_failure) : Result<bool>(false);
        }
        _isAtEnd = !_teletext.readFrom(_source);
        _failure = _source.error();
    }
}

TransportReader::TransportReader(ByteSource& source, const TransportOptions& options)
    : _reading(std::make_unique<Reading>(source, options)) {}
TransportReader::~TransportReader() = default;

std::optional<Finding> TransportReader::open() {
    return _reading->open();
}

Result<bool> TransportReader::next(Frame& frame, FindingSink* findings) {
    return _reading->next(frame, findings);
}

Place TransportReader::placeOf(const Finding& finding) const {
    return _reading->pictures().placeOf(finding);
}

std::vector<std::string> TransportReader::takeLibraryTexts() {
    return _reading->pictures().takeLibraryTexts();
}

std::vector<ts::TeletextPage> TransportReader::teletextPages() const {
    return _reading->teletext().pages();
}

}  // namespace qlx::streams
