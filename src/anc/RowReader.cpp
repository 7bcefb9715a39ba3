#include <qlx/anc/row.h>

#include "anc/AncWord.h"
#include "anc/FlagKernels.h"
#include "anc/RowWords.h"

#include <algorithm>
#include <cstring>

namespace qlx::anc {

using detail::byteOf;
using detail::sampleOf;

namespace {

constexpr std::size_t kFlagWords = kDataFlag.size();
constexpr std::size_t kOfWord = v210::kSamplesOfWord;
constexpr std::size_t kHeaderWords = 3;  ///< DID, SDID or DBN, data count.

/// The byte of an 8-bit row's sample where there is no picture and no packet.
constexpr std::uint16_t blanking8(std::size_t sample) noexcept {
    return sample % 2 == 0 ? 0x80 : 0x10;
}

}  // namespace

struct PacketIterator::Reading {
    Channel channel = Channel::Luma;
    std::size_t there = 0;   ///< Words from the flag to the row's end.
    std::size_t length = 0;  ///< Words of the packet as its data count says; the least there is where that is cut off.
    std::array<std::uint16_t, kHeaderWords> header{};
    std::uint16_t checksum = 0;       ///< As it stands on the row.
    std::uint16_t rightChecksum = 0;  ///< As it should.
    Status status = Status::Wrong;    ///< Of the checksum.

    [[nodiscard]] bool isCut() const noexcept { return length > there; }
};

void PacketIterator::advance() {
    bool isFound = searchRow();
    while (!isFound && openRow()) {
        // Most rows have nothing: that is found out without what a search in the middle of a row asks.
        _sample = findFlag(0);
        isFound = _sample < _samples && (take(_sample++) || searchRow());
    }
    _atEnd = !isFound;
}

/// Goes to the beginning of the next row; false when there is none.
inline bool PacketIterator::openRow() {
    if (_nextRowOffset >= _rows.size()) {
        return false;
    }
    if (_stride == 0) {
        report(FindingCode::AncRowTooShort, Severity::Error, 0,
               detail::leastRowBytes(_options.format, std::max<std::size_t>(_options.width, 1)), 0);
        return false;
    }
    const std::size_t bytes = std::min(_stride, _rows.size() - _nextRowOffset);
    _row = _rows.data() + _nextRowOffset;
    _nextRowOffset += bytes;
    ++_line;
    _samples = detail::samplesOf(_options.format, bytes, _options.width);
    _sample = 0;
    if (_hasProgress) {
        beginProgress();
    }
    if (_findings && _options.width != 0) {
        reportShortRow(bytes);
    }
    return true;
}

/// Not inline: most rows have nothing that is to be forgotten in the next one.
[[gnu::noinline]] void PacketIterator::beginProgress() {
    for (Progress& progress : _progress) {
        progress = {};
        progress.stop = kNearWords;
    }
    _hasProgress = false;
}

/// Says when a row is shorter than its width.
[[gnu::noinline]] void PacketIterator::reportShortRow(std::size_t bytes) const {
    const std::size_t needed = detail::leastRowBytes(_options.format, _options.width);
    if (bytes < needed) {
        report(FindingCode::AncRowTooShort, Severity::Warning, 0, needed, bytes);
    }
}

/// Goes to the next packet of the row; false when there is none.
inline bool PacketIterator::searchRow() {
    while (_sample < _samples) {
        _sample = findFlag(_sample);
        if (_sample < _samples && take(_sample++)) {
            return true;
        }
    }
    return false;
}

/// The first sample from `from` on at which a flag of a searched channel begins; `_samples` when there is none.
inline std::size_t PacketIterator::findFlag(std::size_t from) const noexcept {
    const std::size_t behind = (kFlagWords - 1) * step();
    std::size_t starts = _samples > behind ? _samples - behind : 0;
    if (isLimited()) {
        starts = std::min(starts, std::max(_progress[0].stop, _progress[1].stop) * step());
    }
    if (from >= starts) {
        return _samples;
    }
    return _options.format == RowFormat::V210 ? findFlagOfV210(from, starts) : findFlagOfTwoVuy(from, starts);
}

/// The same among the samples from `from` up to, not including, `starts`.
inline std::size_t PacketIterator::findFlagOfV210(std::size_t from, std::size_t starts) const noexcept {
    const std::size_t words = (starts + (kFlagWords - 1) * step() + kOfWord - 1) / kOfWord;
    const std::size_t word = findOuterOnes(from, words);
    return word == words ? _samples : findFlagAround(word, from, starts, words);
}

/// The first of the words up to, not including, `words` in which a flag that begins at `from` or behind has its second
/// or its third word, whichever comes first: no flag has both in front of what is found, as one of the two would be.
inline std::size_t PacketIterator::findOuterOnes(std::size_t from, std::size_t words) const noexcept {
    return detail::findOuterOnes()(row(), (from + step()) / kOfWord, words,
                                   _options.protectedFlags ? detail::kAroundProtectedSamples
                                                           : detail::kAroundOuterSamples);
}

/// Goes on with findFlagOfV210() at what findOuterOnes() has found. Not inline: most rows have nothing for it.
[[gnu::noinline]] std::size_t PacketIterator::findFlagAround(std::size_t word, std::size_t from, std::size_t starts,
                                                             std::size_t words) const noexcept {
    const std::size_t behind = (kFlagWords - 1) * step();
    while (word != words) {
        const std::size_t sample = word * kOfWord;
        const std::size_t next = std::min(sample + kOfWord - step(), starts);
        for (from = std::max(from, sample - std::min(sample, behind)); from < next; ++from) {
            if (isFlag(from)) {
                return from;
            }
        }
        if (next == starts) {
            break;
        }
        from = next;
        word = findOuterOnes(from, words);
    }
    return _samples;
}

[[gnu::noinline]] std::size_t PacketIterator::findFlagOfTwoVuy(std::size_t from, std::size_t starts) const noexcept {
    while (from < starts) {
        const std::size_t second = from + step();
        const void* const found = std::memchr(row() + second, 0xFF, starts + step() - second);
        if (!found) {
            break;
        }
        from = static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - row()) - step();
        if (isFlag(from)) {
            return from;
        }
        ++from;
    }
    return _samples;
}

bool PacketIterator::isFlag(std::size_t sample) const noexcept {
    const bool isLuma = sample % 2 != 0;
    if ((_options.channels == Channels::Luma && !isLuma) || (_options.channels == Channels::Chroma && isLuma)) {
        return false;
    }
    const std::size_t second = sample + step();
    const std::size_t third = second + step();
    if (_options.format == RowFormat::TwoVuy) {
        return row()[sample] == 0x00 && row()[second] == 0xFF && row()[third] == 0xFF;
    }
    using Words = v210::Samples<v210::Stream::All>;
    const unsigned others = _options.protectedFlags ? 0x3FC : 0x3FF;
    return (Words::at(row(), sample) & others) == 0 && (Words::at(row(), second) & others) == others &&
           (Words::at(row(), third) & others) == others;
}

/// Looks at the flag that begins at `sample`; true when a packet is given.
bool PacketIterator::take(std::size_t sample) {
    const bool isMultiplex = _options.channels == Channels::SdMultiplex;
    const bool isLuma = !isMultiplex && sample % 2 != 0;
    const std::size_t index = sample / step();
    Progress& progress = _progress[isLuma ? 1 : 0];
    _hasProgress = true;
    if (index < progress.next || (isLimited() && index >= progress.stop)) {
        return false;
    }
    const Reading reading = read(isMultiplex ? Channel::SdMultiplex : isLuma ? Channel::Luma : Channel::Chroma, index);
    if (reading.isCut() || (index < progress.damagedEnd && reading.status != Status::Right)) {
        pass(progress, sample, index, reading);
        return false;
    }
    give(progress, sample, index, reading);
    return true;
}

PacketIterator::Reading PacketIterator::read(Channel channel, std::size_t index) const noexcept {
    Reading reading;
    reading.channel = channel;
    reading.there = detail::wordsOf(channel, _samples) - index;
    reading.length = packetWords(0);
    if (reading.there < kFlagWords + kHeaderWords) {
        return reading;
    }
    detail::withWords(_options.format, channel, [&](auto words) {
        const std::size_t header = index + kFlagWords;
        reading.header = {words.at(row(), header), words.at(row(), header + 1), words.at(row(), header + 2)};
        reading.length = packetWords(reading.header[2] & 0xFFU);
        if (reading.isCut()) {
            return;
        }
        const std::size_t last = index + reading.length - 1;
        const std::uint32_t sum = words.sum(row(), header, last);
        const bool is8Bit = _options.format == RowFormat::TwoVuy;
        reading.checksum = words.at(row(), last);
        reading.rightChecksum = is8Bit ? static_cast<std::uint16_t>(sum & 0xFFU) : checksumWord(sum);
        if (reading.checksum == reading.rightChecksum) {
            reading.status = Status::Right;
        } else if (is8Bit && reading.checksum == blanking8(sampleOf(channel, last))) {
            reading.status = Status::NotCarried;
        }
    });
    return reading;
}

/// Leaves out what a flag begins, and goes on behind the flag.
void PacketIterator::pass(Progress& progress, std::size_t sample, std::size_t index, const Reading& reading) {
    const std::size_t byte = byteOf(_options.format, sample);
    if (index < progress.damagedEnd) {
        report(FindingCode::AncFlagInsidePacket, Severity::Remark, byte, reading.length, reading.there);
    } else {
        report(FindingCode::AncPacketCut, Severity::Error, byte, reading.length, reading.there);
        progress.damagedEnd = index + reading.there;
    }
    progress.next = index + kFlagWords;
}

void PacketIterator::give(Progress& progress, std::size_t sample, std::size_t index, const Reading& reading) {
    const auto& header = reading.header;
    const bool isRight = std::all_of(header.begin(), header.end(),
                                     [](std::uint16_t one) { return one == word(static_cast<std::uint8_t>(one)); });
    _packet._row = row();
    _packet._line = _line;
    _packet._index = static_cast<std::uint32_t>(index);
    _packet._format = _options.format;
    _packet._channel = reading.channel;
    _packet._did = static_cast<std::uint8_t>(header[0]);
    _packet._sdid = static_cast<std::uint8_t>(header[1]);
    _packet._dataCount = static_cast<std::uint8_t>(header[2]);
    _packet._checksum = reading.status;
    _packet._parity = _options.format == RowFormat::TwoVuy ? Status::NotCarried
                      : isRight                            ? Status::Right
                                                           : Status::Wrong;
    if (_findings) {
        reportPacket(sample, index, progress, reading);
    }
    progress.end = index + reading.length;
    progress.next = progress.end;
    if (reading.status == Status::Wrong) {
        progress.next = index + kFlagWords;
        progress.damagedEnd = progress.end;
    }
    if (isLimited()) {
        progress.stop = std::max(progress.stop, progress.end + kNearWords);
    }
}

/// Says what is wrong with a packet that is given.
void PacketIterator::reportPacket(std::size_t sample, std::size_t index, const Progress& progress,
                                  const Reading& reading) const {
    const auto byteOfWord = [&](std::size_t word) {
        return byteOf(_options.format, sampleOf(reading.channel, index + word));
    };
    if (index > progress.end && index >= progress.damagedEnd) {
        report(FindingCode::AncPacketNotContiguous, Severity::Remark, byteOf(_options.format, sample), index,
               progress.end);
    }
    for (std::size_t place = 0; place < kHeaderWords && _packet._parity == Status::Wrong; ++place) {
        const std::uint16_t there = reading.header[place];
        const std::uint16_t right = word(static_cast<std::uint8_t>(there));
        if (there != right) {
            report(FindingCode::AncHeaderParityWrong, Severity::Warning, byteOfWord(kFlagWords + place), there, right);
        }
    }
    if (const std::size_t count = reading.status == Status::Right ? wordsOfTenBits() : 0; count > 0) {
        report(FindingCode::AncUserDataOfTenBits, Severity::Remark, byteOf(_options.format, sample), count, 0);
    }
    if (reading.status != Status::Right) {
        const bool isWrong = reading.status == Status::Wrong;
        report(isWrong ? FindingCode::AncChecksumWrong : FindingCode::AncChecksumNotCarried,
               isWrong ? Severity::Warning : Severity::Remark, byteOfWord(reading.length - 1), reading.checksum,
               reading.rightChecksum);
    }
}

/// How many user data words of the packet say more than PacketView::userData() gives of them.
std::size_t PacketIterator::wordsOfTenBits() const noexcept {
    if (_options.format != RowFormat::V210) {
        return 0;
    }
    std::size_t count = 0;
    const std::size_t first = _packet._index + kFlagWords + kHeaderWords;
    detail::withWords(_options.format, _packet._channel, [&](auto words) {
        words.each(row(), first, first + _packet._dataCount,
                   [&count](std::uint16_t one) { count += one != word(static_cast<std::uint8_t>(one)) ? 1 : 0; });
    });
    return count;
}

/// `byte` counts from the beginning of the row.
[[gnu::noinline]] void PacketIterator::report(FindingCode code, Severity severity, std::size_t byte, std::size_t first,
                                              std::size_t second) const {
    if (_findings) {
        const std::size_t rowOffset = _row ? static_cast<std::size_t>(_row - _rows.data()) : 0;
        _findings->add(
            {code, severity, rowOffset + byte, static_cast<std::int64_t>(first), static_cast<std::int64_t>(second)});
    }
}

}  // namespace qlx::anc
