#include <qlx/anc/element.h>

#include "anc/AncWord.h"
#include "anc/ElementLayout.h"

#include <algorithm>

namespace qlx::anc {

namespace layout = elementlayout;

namespace {

/// The ten bits of a sample in an array that has it.
std::uint16_t tenBitSample(const std::uint8_t* array, std::size_t index) noexcept {
    const auto word = loadBig<std::uint32_t>(array + index / layout::kTenBitWordSamples * layout::kTenBitWordBytes);
    return static_cast<std::uint16_t>(word >> layout::tenBitShift(index) & 0x3FFU);
}

/// Calls `take` with the samples from `first` to `end`, word by word.
template <class Take>
void eachTenBitSample(const std::uint8_t* array, std::size_t first, std::size_t end, Take take) {
    for (; first < end && first % layout::kTenBitWordSamples != 0; ++first) {
        take(tenBitSample(array, first));
    }
    const std::uint8_t* bytes = array + layout::tenBitBytes(first);
    for (; first + layout::kTenBitWordSamples <= end; first += layout::kTenBitWordSamples) {
        const auto word = loadBig<std::uint32_t>(bytes);
        take(static_cast<std::uint16_t>(word >> layout::tenBitShift(0)));
        take(static_cast<std::uint16_t>(word >> layout::tenBitShift(1) & 0x3FFU));
        take(static_cast<std::uint16_t>(word >> layout::tenBitShift(2) & 0x3FFU));
        bytes += layout::kTenBitWordBytes;
    }
    for (; first < end; ++first) {
        take(tenBitSample(array, first));
    }
}

/// Samples that `bytes` of an array hold.
std::size_t samplesIn(SampleCoding coding, std::size_t bytes) noexcept {
    return isTenBit(coding) ? bytes / layout::kTenBitWordBytes * layout::kTenBitWordSamples : bytes;
}

/// Bytes of an array with so many samples, without padding.
std::size_t bytesOf(SampleCoding coding, std::size_t samples) noexcept {
    return isTenBit(coding) ? layout::tenBitBytes(samples) : samples;
}

}  // namespace

// MARK: - A packet's place

std::span<const std::uint8_t> ElementPacketView::padding() const noexcept {
    return _array.subspan(std::min(bytesOf(_coding, usedSamples()), _array.size()));
}

std::span<std::uint8_t> ElementPacketView::userData(std::span<std::uint8_t> room) const noexcept {
    if (_array.empty()) {
        return {};
    }
    const std::size_t count = std::min<std::size_t>(_dataCount, room.size());
    if (!isTenBit(_coding)) {
        std::copy_n(_array.begin() + layout::kSamplesInFront, count, room.begin());
        return room.first(count);
    }
    std::uint8_t* out = room.data();
    eachTenBitSample(_array.data(), layout::kSamplesInFront, layout::kSamplesInFront + count,
                     [&out](std::uint16_t one) { *out++ = static_cast<std::uint8_t>(one); });
    return room.first(count);
}

std::span<std::uint16_t> ElementPacketView::samples(std::span<std::uint16_t> room) const noexcept {
    if (_array.empty()) {
        return {};
    }
    const std::size_t count = std::min(usedSamples(), room.size());
    if (!isTenBit(_coding)) {
        std::copy_n(_array.begin(), count, room.begin());
        return room.first(count);
    }
    std::uint16_t* out = room.data();
    eachTenBitSample(_array.data(), 0, count, [&out](std::uint16_t one) { *out++ = one; });
    return room.first(count);
}

Packet ElementPacketView::toPacket() const {
    Packet packet{_did, _sdid, std::vector<std::uint8_t>(_dataCount), _line, 0, channel()};
    userData(packet.userData);
    return packet;
}

ElementPacket ElementPacketView::toElementPacket() const {
    ElementPacket result{toPacket(), _wrapping, _coding, {}, std::nullopt};
    std::array<std::uint16_t, kGreatestElementSamples> room{};
    const auto words = samples(room);
    if (isTenBit(_coding)) {
        const auto isUsual = [](std::uint16_t one) { return one == word(static_cast<std::uint8_t>(one)); };
        if (_checksum != Status::Right || !std::all_of(words.begin(), words.end() - 1, isUsual)) {
            result.words.assign(words.begin(), words.end());
        }
    }
    const auto behind = padding();
    const std::size_t used = _array.size() - behind.size();
    const bool isUsual = behind.size() == (layout::kAlignment - used % layout::kAlignment) % layout::kAlignment &&
                         std::all_of(behind.begin(), behind.end(), [](std::uint8_t byte) { return byte == 0; });
    if (!isUsual) {
        result.padding.emplace(behind.begin(), behind.end());
    }
    return result;
}

// MARK: - The walk

void ElementIterator::start() {
    if (_element.size() < layout::kCountBytes) {
        report(FindingCode::AncElementCut, Severity::Error, 0, layout::kCountBytes, _element.size());
        _atEnd = true;
        return;
    }
    _count = loadBig<std::uint16_t>(_element.data());
    _next = layout::kCountBytes;
    advance();
}

void ElementIterator::advance() {
    while (_begun < _count && _next < _element.size()) {
        ++_begun;
        if (readPacket()) {
            return;
        }
    }
    checkEnd();
    // What could not be used is not seen through an iterator at its end.
    _packet = {};
    _atEnd = true;
}

void ElementIterator::checkEnd() {
    if (_begun < _count) {
        report(FindingCode::AncElementCountWrong, Severity::Error, _element.size(), _count, _begun);
        return;
    }
    const auto rest = _element.subspan(_next);
    if (rest.empty()) {
        return;
    }
    // A few zeros fill the element up.
    const bool isFilled = rest.size() < layout::kAlignment &&
                          std::all_of(rest.begin(), rest.end(), [](std::uint8_t byte) { return byte == 0; });
    report(FindingCode::AncElementTrailingBytes, isFilled ? Severity::Remark : Severity::Error, _next, rest.size(),
           _count);
}

/// Reads the packet at `_next` and goes behind it; whether it can be used.
bool ElementIterator::readPacket() {
    const std::size_t offset = _next;
    const std::size_t rest = _element.size() - offset;
    if (rest < layout::kArray) {
        report(FindingCode::AncElementCut, Severity::Error, offset, layout::kArray, rest);
        _next = _element.size();
        return false;
    }
    readHeader();
    const std::uint64_t bytes = arrayBytes();
    const std::size_t there = static_cast<std::size_t>(std::min<std::uint64_t>(bytes, rest - layout::kArray));
    const bool isCut = there < bytes;
    _packet._array = _element.subspan(offset + layout::kArray, there);
    _next = offset + layout::kArray + there;

    if (!isKnown(_packet._wrapping)) {
        report(FindingCode::AncElementWrappingUnknown, Severity::Warning, offset + layout::kWrapping,
               static_cast<std::uint8_t>(_packet._wrapping), 0);
    }
    const bool isCodingKnown = isKnown(_packet._coding);
    if (!isCodingKnown) {
        report(FindingCode::AncElementCodingUnknown, Severity::Error, offset + layout::kSampleCoding,
               static_cast<std::uint8_t>(_packet._coding), there);
    } else if (hasParityError(_packet._coding)) {
        report(FindingCode::AncElementParityError, Severity::Warning, offset + layout::kSampleCoding,
               static_cast<std::uint8_t>(_packet._coding), 0);
    }
    const bool isUsable = isCodingKnown && readPayload();
    if (isUsable) {
        checkSampleCount();
    }
    if (isCut) {
        report(FindingCode::AncElementCut, isUsable ? Severity::Warning : Severity::Error, offset + layout::kArrayCount,
               layout::kArray + bytes, rest);
    }
    if (_packet._arrayElementLength != 1) {
        report(FindingCode::AncElementArrayLengthWrong, Severity::Warning, offset + layout::kArrayElementLength,
               _packet._arrayElementLength, 1);
    }
    if (isCodingKnown) {
        checkPayload(isUsable, isCut);
    }
    passPadding();
    return isUsable;
}

void ElementIterator::readHeader() {
    const layout::Header header = layout::loadHeader(_element.data() + _next);
    _packet = {};
    _packet._offset = _next;
    _packet._line = header.line;
    _packet._wrapping = static_cast<Wrapping>(header.wrapping);
    _packet._coding = static_cast<SampleCoding>(header.coding);
    _packet._sampleCount = header.sampleCount;
    _packet._arrayCount = header.arrayCount;
    _packet._arrayElementLength = header.arrayElementLength;
}

/// Bytes of the array. Some writers put into the length what is no length of an element of it: their count alone
/// counts the bytes then.
std::uint64_t ElementIterator::arrayBytes() const noexcept {
    const std::uint64_t count = _packet._arrayCount;
    const std::uint64_t product = count * _packet._arrayElementLength;
    return product > count && leadsOn(product) ? product : count;
}

/// Whether a packet or the element's end is behind an array of so many bytes.
bool ElementIterator::leadsOn(std::uint64_t bytes) const noexcept {
    const std::size_t rest = _element.size() - _packet._offset - layout::kArray;
    if (bytes >= rest) {
        return bytes == rest;
    }
    const auto behind = _element.last(rest - static_cast<std::size_t>(bytes));
    if (behind.size() < layout::kArray) {
        return false;
    }
    const layout::Header header = layout::loadHeader(behind.data());
    return isKnown(static_cast<Wrapping>(header.wrapping)) && isKnown(static_cast<SampleCoding>(header.coding));
}

/// Goes behind zeros that fill an array up and that its count leaves out: the next packet's header is behind them then,
/// and none in front of them.
void ElementIterator::passPadding() {
    const std::size_t bytes = _next - _packet._offset - layout::kArray;
    const std::size_t padding = (layout::kAlignment - bytes % layout::kAlignment) % layout::kAlignment;
    if (padding == 0 || _begun >= _count || padding >= _element.size() - _next || leadsOn(bytes) ||
        !leadsOn(bytes + padding)) {
        return;
    }
    const auto zeros = _element.subspan(_next, padding);
    if (std::all_of(zeros.begin(), zeros.end(), [](std::uint8_t byte) { return byte == 0; })) {
        report(FindingCode::AncElementPaddingUncounted, Severity::Remark, _next, padding, bytes);
        _next += padding;
    }
}

/// Reads what stands in the array; whether the user data are there.
bool ElementIterator::readPayload() {
    const std::size_t there = samplesIn(_packet._coding, _packet._array.size());
    if (there < layout::kSamplesInFront) {
        return false;
    }
    const std::uint8_t* const array = _packet._array.data();
    const bool isTenBits = isTenBit(_packet._coding);
    const std::array<std::uint16_t, layout::kSamplesInFront> front =
        isTenBits ? std::array{tenBitSample(array, 0), tenBitSample(array, 1), tenBitSample(array, 2)}
                  : std::array<std::uint16_t, layout::kSamplesInFront>{array[0], array[1], array[2]};
    _packet._did = static_cast<std::uint8_t>(front[0]);
    _packet._sdid = static_cast<std::uint8_t>(front[1]);
    _packet._dataCount = static_cast<std::uint8_t>(front[2]);
    const std::size_t samples = _packet.usedSamples();
    if (there < samples) {
        return false;
    }
    if (!isTenBits) {
        _packet._parity = hasParityError(_packet._coding) ? Status::Wrong : Status::NotCarried;
        return true;
    }
    const bool isParityRight = std::all_of(
        front.begin(), front.end(), [](std::uint16_t one) { return one == word(static_cast<std::uint8_t>(one)); });
    _packet._parity = isParityRight ? Status::Right : Status::Wrong;
    _packet._hasChecksum = there > samples && _packet._sampleCount != samples;
    if (_packet._hasChecksum) {
        _packet._checksum =
            tenBitSample(_packet._array.data(), samples) == rightChecksum() ? Status::Right : Status::Wrong;
    }
    return true;
}

/// The checksum that the words of the packet should have.
std::uint16_t ElementIterator::rightChecksum() const noexcept {
    std::uint32_t sum = 0;
    eachTenBitSample(_packet._array.data(), 0, layout::kSamplesInFront + _packet._dataCount,
                     [&sum](std::uint16_t one) { sum += one; });
    return checksumWord(sum);
}

void ElementIterator::checkSampleCount() const {
    const std::size_t right = layout::kSamplesInFront + _packet._dataCount + std::size_t{isTenBit(_packet._coding)};
    if (_packet._sampleCount != right) {
        report(FindingCode::AncElementSampleCountWrong, Severity::Warning, _packet._offset + layout::kSampleCount,
               _packet._sampleCount, right);
    }
}

/// Says what is wrong with the samples.
void ElementIterator::checkPayload(bool isUsable, bool isCut) const {
    const std::size_t offset = _packet._offset + layout::kArray;
    const std::size_t there = samplesIn(_packet._coding, _packet._array.size());
    const std::size_t announced = layout::kSamplesInFront + _packet._dataCount + std::size_t{isTenBit(_packet._coding)};
    if (there < announced && !isCut) {
        report(FindingCode::AncElementArrayTooShort, isUsable ? Severity::Warning : Severity::Error, offset, announced,
               there);
    }
    if (!isUsable || !isTenBit(_packet._coding)) {
        return;
    }
    for (std::size_t index = 0; index < layout::kSamplesInFront; ++index) {
        const std::uint16_t one = tenBitSample(_packet._array.data(), index);
        const std::uint16_t right = word(static_cast<std::uint8_t>(one));
        if (one != right) {
            report(FindingCode::AncHeaderParityWrong, Severity::Warning, offset, one, right);
        }
    }
    if (const std::size_t count = wordsOfTenBits(); count > 0) {
        report(FindingCode::AncUserDataOfTenBits, Severity::Remark, offset, count, 0);
    }
    checkSpareBits();
    if (_packet._checksum == Status::Wrong) {
        const std::size_t index = layout::kSamplesInFront + _packet._dataCount;
        report(FindingCode::AncChecksumWrong, Severity::Warning,
               offset + index / layout::kTenBitWordSamples * layout::kTenBitWordBytes,
               tenBitSample(_packet._array.data(), index), rightChecksum());
    }
}

/// User data words whose upper two bits are not those of their bytes. Where the checksum is not right, that says it.
std::size_t ElementIterator::wordsOfTenBits() const noexcept {
    std::size_t count = 0;
    if (_packet._checksum == Status::Right) {
        eachTenBitSample(_packet._array.data(), layout::kSamplesInFront, layout::kSamplesInFront + _packet._dataCount,
                         [&count](std::uint16_t one) { count += one != word(static_cast<std::uint8_t>(one)) ? 1 : 0; });
    }
    return count;
}

/// Says where bits are set that belong to no sample.
void ElementIterator::checkSpareBits() const {
    const std::size_t samples = _packet.usedSamples();
    const std::size_t words = layout::tenBitBytes(samples) / layout::kTenBitWordBytes;
    for (std::size_t index = 0; index < words; ++index) {
        const std::size_t used = std::min(samples - index * layout::kTenBitWordSamples, layout::kTenBitWordSamples);
        const std::size_t at = index * layout::kTenBitWordBytes;
        const auto spare = loadBig<std::uint32_t>(_packet._array.data() + at) & (0xFFFF'FFFFU >> used * 10);
        if (spare != 0) {
            report(FindingCode::AncElementSpareBitsSet, Severity::Remark, _packet._offset + layout::kArray + at, spare,
                   0);
        }
    }
}

void ElementIterator::report(FindingCode code, Severity severity, std::size_t offset, std::uint64_t first,
                             std::uint64_t second) const {
    if (_findings != nullptr) {
        _findings->add({code, severity, offset, static_cast<std::int64_t>(first), static_cast<std::int64_t>(second)});
    }
}

// MARK: - Values

std::vector<ElementPacket> parseElement(std::span<const std::uint8_t> element, FindingSink* findings) {
    std::vector<ElementPacket> packets;
    for (const ElementPacketView& packet : elementPackets(element, findings)) {
        packets.push_back(packet.toElementPacket());
    }
    return packets;
}

}  // namespace qlx::anc
