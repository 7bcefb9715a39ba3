#include <qlx/klv/klv.h>

#include <algorithm>
#include <array>

namespace qlx::klv {

void Reader::push(std::span<const std::uint8_t> bytes) {
    drop(_given);
    _given = 0;
    bytes = _budget.take(bytes);
    if (_state == State::Passing && !_isInDoubt && _begin == _buffer.size()) {
        // What is not kept need not be copied.
        const std::size_t passed = static_cast<std::size_t>(std::min<std::uint64_t>(_left, bytes.size()));
        _left -= passed;
        _offset += passed;
        bytes = bytes.subspan(passed);
    }
    // Bytes are moved at most as often as they were pushed: only when no more than half of the buffer stays.
    if (_begin > 0 && _begin >= _buffer.size() - _begin) {
        _buffer.erase(_buffer.begin(), _buffer.begin() + static_cast<std::ptrdiff_t>(_begin));
        _begin = 0;
    }
    _buffer.insert(_buffer.end(), bytes.begin(), bytes.end());
}

std::optional<TripletView> Reader::next() {
    drop(_given);
    _given = 0;
    while (!_budget.hasEnded()) {
        Step step = Step::Wait;
        switch (_state) {
        case State::AtTriplet:
            step = readTriplet();
            break;
        case State::Searching:
            step = search();
            break;
        case State::Passing:
            step = passValue();
            break;
        }
        if (step == Step::Give && _budget.takeItem()) {
            return _triplet;
        }
        if (step == Step::Wait) {
            break;
        }
    }
    if (const auto finding = _budget.takeFinding(_offset); finding && _findings != nullptr) {
        _findings->add(*finding);
    }
    return std::nullopt;
}

std::uint64_t Reader::wanted() const {
    if (_state == State::Passing && (!_isInDoubt || rest().empty())) {
        return _left;
    }
    const auto bytes = rest().subspan(std::min(_searched + _given, rest().size()));
    const Result<TripletHeader> header = parseTripletHeader(bytes);
    const std::uint64_t needed = header ? header->size() + header->length.value + kLabelStart.size()
                                 : header.error().code == FindingCode::KlvCut
                                     ? static_cast<std::uint64_t>(header.error().first)
                                     : 0;
    return needed > bytes.size() ? needed - bytes.size() : 1;
}

Reader::Step Reader::readTriplet() {
    const auto bytes = rest();
    // What is wrong with a key is said of its first four bytes, however they come.
    if (bytes.empty() || (bytes.size() < kLabelStart.size() && !isEndThere())) {
        return Step::Wait;
    }
    const Result<TripletHeader> header = parseTripletHeader(bytes);
    if (!header) {
        if (header.error().code != FindingCode::KlvCut) {
            doubt(header.error());
            return Step::Again;
        }
        if (isEndThere()) {
            report(FindingCode::KlvCut, Severity::Error, _offset, static_cast<std::uint64_t>(header.error().first),
                   bytes.size());
            drop(bytes.size());
        }
        return Step::Wait;
    }
    const std::uint64_t length = header->length.value;
    if (isAncFrameElement(header->key) && length > kGreatestAncFrameElement) {
        doubt({FindingCode::KlvLengthTooGreat, Severity::Warning, header->key.size(), static_cast<std::int64_t>(length),
               static_cast<std::int64_t>(kGreatestAncFrameElement)});
        return Step::Again;
    }
    if (length > _options.greatestValue) {
        _triplet = {*header, _offset, {}, false};
        _left = length;
        _state = State::Passing;
        drop(header->size());
        _isInDoubt = !endsAtKey(_offset + length);
        return Step::Again;
    }
    switch (leadsOn(*header, bytes)) {
    case Leads::On:
        return give(*header, true);
    case Leads::Unknown:
        return Step::Wait;
    case Leads::Nowhere:
        break;
    }
    return readDoubtful(*header);
}

/// Reads a triplet behind which no key stands: its length may be wrong, or the key behind it.
Reader::Step Reader::readDoubtful(const TripletHeader& header) {
    const std::size_t there = rest().size();
    const std::uint64_t size = header.size() + header.length.value;
    switch (searchInside(static_cast<std::size_t>(std::min<std::uint64_t>(size, there)))) {
    case Leads::Unknown:
        return Step::Wait;
    case Leads::On:
        report(FindingCode::KlvLengthLeadsNowhere, Severity::Warning, _offset, header.length.value, 0);
        report(FindingCode::KlvSkipped, Severity::Error, _offset, _searched, 0);
        drop(_searched);
        return Step::Again;
    case Leads::Nowhere:
        break;
    }
    if (there < size) {
        report(FindingCode::KlvValueCut, Severity::Error, _offset, header.length.value, there - header.size());
        drop(there);
        return Step::Wait;
    }
    return give(header, true);
}

Reader::Step Reader::give(const TripletHeader& header, bool isValueKept) {
    const auto length = static_cast<std::size_t>(header.length.value);
    _triplet = {header, _offset, rest().subspan(header.size(), length), isValueKept};
    _given = header.size() + length;
    return Step::Give;
}

/// Whether a value that is not kept, and ends there, is seen to end in front of a key or at the end of the stream.
bool Reader::endsAtKey(std::uint64_t end) const {
    if (!_options.lookAhead) {
        return false;
    }
    // With its last byte: what ends behind the end is not there.
    std::array<std::uint8_t, 1 + kLabelStart.size()> room{};
    const std::size_t there = end < _offset ? 0 : _options.lookAhead(end - 1, room);
    return there > 0 && beginsLabel(std::span(room).first(std::min(there, room.size())).subspan(1));
}

/// Goes through a value that is not kept, up to a triplet that leads on where its length is in doubt.
Reader::Step Reader::passValue() {
    auto passed = static_cast<std::size_t>(std::min<std::uint64_t>(_left, rest().size()));
    const Leads found = _isInDoubt ? searchInside(passed) : Leads::Nowhere;
    if (found == Leads::On) {
        const std::uint64_t place = _offset + _searched;
        report(FindingCode::KlvValueHoldsTriplets, Severity::Warning, _triplet.offset, _triplet.header.length.value,
               place);
        report(FindingCode::KlvSkipped, Severity::Error, _triplet.offset, place - _triplet.offset, 0);
        drop(_searched);
        _state = State::AtTriplet;
        return Step::Again;
    }
    if (found == Leads::Unknown) {
        passed = _searched;
    }
    drop(passed);
    _left -= passed;
    if (found == Leads::Unknown) {
        return Step::Wait;
    }
    if (_left == 0) {
        _state = State::AtTriplet;
        return Step::Give;
    }
    if (isEndThere()) {
        const std::uint64_t length = _triplet.header.length.value;
        report(FindingCode::KlvValueCut, Severity::Error, _triplet.offset, length, length - _left);
        _state = State::AtTriplet;
    }
    return Step::Wait;
}

/// Looks for the next triplet that leads on, behind damage.
Reader::Step Reader::search() {
    const Leads found = searchInside(rest().size());
    drop(_searched);
    if (found != Leads::On && !_isFinished) {
        return Step::Wait;
    }
    report(FindingCode::KlvSkipped, Severity::Error, _damageAt, _offset - _damageAt, 0);
    _state = State::AtTriplet;
    return Step::Again;
}

/// Goes from `_searched` on to the first triplet that begins before `end` and leads on. Where that is not known yet it
/// stays in front of the triplet, or of what may begin one.
Reader::Leads Reader::searchInside(std::size_t end) {
    const auto bytes = rest();
    while (_searched < end) {
        const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(_searched);
        const auto found = std::find(from, bytes.begin() + static_cast<std::ptrdiff_t>(end), kLabelStart.front());
        _searched = static_cast<std::size_t>(found - bytes.begin());
        if (_searched == end) {
            break;
        }
        const Leads leads = leadsOn(_searched);
        if (leads != Leads::Nowhere) {
            return leads;
        }
        ++_searched;
    }
    return Leads::Nowhere;
}

/// Whether a triplet begins here behind which another key stands, or the end of the stream.
Reader::Leads Reader::leadsOn(std::size_t at) const {
    const auto bytes = rest().subspan(at);
    // Most bytes of damage are no label.
    if (!beginsLabel(bytes)) {
        return Leads::Nowhere;
    }
    const Result<TripletHeader> header = parseTripletHeader(bytes);
    if (!header) {
        return header.error().code == FindingCode::KlvCut && !isEndThere() ? Leads::Unknown : Leads::Nowhere;
    }
    return header->length.value > _options.greatestValue ? Leads::Nowhere : leadsOn(*header, bytes);
}

/// The same of a triplet whose key and length have been read.
Reader::Leads Reader::leadsOn(const TripletHeader& header, std::span<const std::uint8_t> bytes) const {
    const std::uint64_t size = header.size() + header.length.value;
    if (size > bytes.size()) {
        return isEndThere() ? Leads::Nowhere : Leads::Unknown;
    }
    const auto behind = bytes.subspan(static_cast<std::size_t>(size));
    if (!beginsLabel(behind)) {
        return Leads::Nowhere;
    }
    return behind.size() >= kLabelStart.size() || _isFinished ? Leads::On : Leads::Unknown;
}

/// Says what is wrong here, and begins to look for the next triplet.
void Reader::doubt(const Finding& why) {
    report(why.code, Severity::Warning, _offset + why.offset, static_cast<std::uint64_t>(why.first),
           static_cast<std::uint64_t>(why.second));
    _damageAt = _offset;
    _searched = 1;
    _state = State::Searching;
}

void Reader::drop(std::size_t count) noexcept {
    _begin += count;
    _offset += count;
    _searched = _searched > count ? _searched - count : 0;
}

void Reader::report(FindingCode code, Severity severity, std::uint64_t offset, std::uint64_t first,
                    std::uint64_t second) {
    if (_findings != nullptr) {
        _findings->add({code, severity, offset, static_cast<std::int64_t>(first), static_cast<std::int64_t>(second)});
    }
}

}  // namespace qlx::klv
