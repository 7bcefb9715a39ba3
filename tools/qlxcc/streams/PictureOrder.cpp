#include "streams/PictureOrder.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

constexpr std::size_t kStartCode = 3;
/// No header that is read here is longer; what is longer is damaged.
constexpr std::size_t kLongestHeader = 1024;

constexpr std::uint8_t kPictureHeader = 0x00;
constexpr std::uint8_t kGroupHeader = 0xB8;
constexpr std::int64_t kTemporalReferences = 1024;

constexpr unsigned kSlice = 1;
constexpr unsigned kIdrSlice = 5;
constexpr unsigned kSequenceParameters = 7;
constexpr unsigned kPictureParameters = 8;

/// The place of the next start code from `from` on, or the end.
std::size_t findStartCode(std::span<const std::uint8_t> unit, std::size_t from) {
    for (std::size_t place = from; place + kStartCode < unit.size(); ++place) {
        if (unit[place] == 0 && unit[place + 1] == 0 && unit[place + 2] == 1) {
            return place;
        }
    }
    return unit.size();
}

/// Bits from the highest on; behind the end they are 0 and hasFailed() says so.
class BitReader {
public:
    /// Takes the emulation prevention bytes out (ITU-T H.264, 7.4.1).
    explicit BitReader(std::span<const std::uint8_t> unit) {
        unit = unit.first(std::min(unit.size(), kLongestHeader));
        std::size_t zeros = 0;
        for (const std::uint8_t byte : unit) {
            if (zeros >= 2 && byte == 3) {
                zeros = 0;
                continue;
            }
            zeros = byte == 0 ? zeros + 1 : 0;
            _bytes.push_back(byte);
        }
    }

    std::uint32_t bits(unsigned count) {
        std::uint32_t value = 0;
        for (unsigned index = 0; index < count; ++index) {
            value = value << 1U | bit();
        }
        return value;
    }

    /// An Exp-Golomb code, without sign.
    std::uint32_t number() {
        constexpr unsigned kLongestCode = 31;
        unsigned zeros = 0;
        while (bit() == 0) {
            if (++zeros > kLongestCode || _hasFailed) {
                _hasFailed = true;
                return 0;
            }
        }
        return static_cast<std::uint32_t>((std::uint64_t{1} << zeros) - 1 + bits(zeros));
    }

    /// An Exp-Golomb code with sign.
    std::int64_t signedNumber() {
        const std::int64_t code = number();
        return code % 2 == 0 ? -code / 2 : (code + 1) / 2;
    }

    [[nodiscard]] bool hasFailed() const noexcept { return _hasFailed; }

private:
    std::uint32_t bit() {
        if (_position >= _bytes.size() * 8) {
            _hasFailed = true;
            return 0;
        }
        const std::uint32_t value = _bytes[_position / 8] >> (7 - _position % 8) & 1U;
        ++_position;
        return value;
    }

    std::vector<std::uint8_t> _bytes;
    std::size_t _position = 0;
    bool _hasFailed = false;
};

void skipScalingList(BitReader& reader, unsigned size) {
    std::int64_t last = 8;
    std::int64_t next = 8;
    for (unsigned index = 0; index < size && !reader.hasFailed(); ++index) {
        if (next != 0) {
            next = (last + reader.signedNumber() + 256) % 256;
        }
        last = next == 0 ? last : next;
    }
}

/// The part that only the high profiles have.
void readHighProfile(BitReader& reader, H264Sequence& sequence) {
    constexpr std::uint32_t kAllColours = 3;
    const std::uint32_t chromaFormat = reader.number();
    if (chromaFormat == kAllColours) {
        sequence.hasColourPlanes = reader.bits(1) != 0;
    }
    (void)reader.number();
    (void)reader.number();
    (void)reader.bits(1);
    if (reader.bits(1) != 0) {
        const unsigned lists = chromaFormat == kAllColours ? 12 : 8;
        for (unsigned list = 0; list < lists; ++list) {
            if (reader.bits(1) != 0) {
                skipScalingList(reader, list < 6 ? 16 : 64);
            }
        }
    }
}

constexpr std::array<std::uint32_t, 13> kHighProfiles{100, 110, 122, 244, 44, 83, 86, 118, 128, 138, 139, 134, 135};

}  // namespace

std::optional<H264Sequence> readH264Sequence(std::span<const std::uint8_t> unit, std::uint32_t& number) {
    constexpr std::uint32_t kMostBits = 16;
    BitReader reader(unit);
    H264Sequence sequence;
    const std::uint32_t profile = reader.bits(8);
    (void)reader.bits(16);
    number = reader.number();
    if (std::find(kHighProfiles.begin(), kHighProfiles.end(), profile) != kHighProfiles.end()) {
        readHighProfile(reader, sequence);
    }
    sequence.frameNumberBits = reader.number() + 4;
    sequence.orderType = reader.number();
    if (sequence.orderType == 0) {
        sequence.orderBits = reader.number() + 4;
    } else if (sequence.orderType == 1) {
        (void)reader.bits(1);
        (void)reader.number();
        (void)reader.number();
        for (std::uint32_t count = reader.number(); count > 0 && !reader.hasFailed(); --count) {
            (void)reader.number();
        }
    }
    (void)reader.number();
    (void)reader.bits(1);
    (void)reader.number();
    (void)reader.number();
    sequence.hasFramesOnly = reader.bits(1) != 0;
    if (reader.hasFailed() || sequence.frameNumberBits > kMostBits || sequence.orderBits > kMostBits) {
        return std::nullopt;
    }
    return sequence;
}

/// The picture's temporal reference, counted on over the groups of pictures (ISO/IEC 13818-2, 6.3.9).
std::int64_t PictureOrder::mpeg2Order(std::span<const std::uint8_t> unit) {
    for (std::size_t place = findStartCode(unit, 0); place < unit.size();
         place = findStartCode(unit, place + kStartCode)) {
        const std::uint8_t code = unit[place + kStartCode];
        if (code == kGroupHeader) {
            beginAnew();
            _high = 0;
            _low = 0;
        } else if (code == kPictureHeader && place + kStartCode + 2 < unit.size()) {
            const std::int64_t reference = unit[place + 4] << 2U | unit[place + 5] >> 6U;
            if (reference < _low - kTemporalReferences / 2) {
                _high += kTemporalReferences;
            } else if (reference > _low + kTemporalReferences / 2 && _high > 0) {
                return _base + _high - kTemporalReferences + reference;
            }
            _low = reference;
            return _base + _high + reference;
        }
    }
    return _greatest + 1;
}

void PictureOrder::readParameters(std::span<const std::uint8_t> unit, unsigned type) {
    if (type == kSequenceParameters) {
        std::uint32_t number = 0;
        if (const auto sequence = readH264Sequence(unit, number); sequence && number < 32) {
            _sequences[number] = *sequence;
        }
        return;
    }
    BitReader reader(unit);
    const std::uint32_t picture = reader.number();
    const std::uint32_t sequence = reader.number();
    if (!reader.hasFailed() && picture < 256) {
        _sequenceOfPicture[picture] = sequence;
    }
}

/// A slice's picture order count (ITU-T H.264, 8.2.1.1) in its sequence; none where the pictures are presented as they
/// stand, or the parameters are missing.
/// @param slice With the NAL unit header.
std::optional<std::int64_t> PictureOrder::sliceOrder(std::span<const std::uint8_t> slice) {
    const bool isIdr = (slice[0] & 0x1FU) == kIdrSlice;
    const bool isReference = (slice[0] & 0x60U) != 0;
    if (isIdr) {
        beginAnew();
        _high = 0;
        _low = 0;
    }
    BitReader reader(slice.subspan(1));
    (void)reader.number();
    (void)reader.number();
    const auto picture = _sequenceOfPicture.find(reader.number());
    const auto found = picture == _sequenceOfPicture.end() ? _sequences.end() : _sequences.find(picture->second);
    if (found == _sequences.end() || found->second.orderType != 0) {
        return std::nullopt;
    }
    const H264Sequence& sequence = found->second;
    (void)reader.bits(sequence.hasColourPlanes ? 2 : 0);
    (void)reader.bits(sequence.frameNumberBits);
    if (!sequence.hasFramesOnly && reader.bits(1) != 0) {
        (void)reader.bits(1);
    }
    if (isIdr) {
        (void)reader.number();
    }
    const std::int64_t low = reader.bits(sequence.orderBits);
    if (reader.hasFailed()) {
        return std::nullopt;
    }
    const std::int64_t turn = std::int64_t{1} << sequence.orderBits;
    std::int64_t high = _high;
    if (low < _low && _low - low >= turn / 2) {
        high += turn;
    } else if (low > _low && low - _low > turn / 2) {
        high -= turn;
    }
    if (isReference) {
        _high = high;
        _low = low;
    }
    return _base + high + low;
}

std::int64_t PictureOrder::h264Order(std::span<const std::uint8_t> unit) {
    for (std::size_t place = findStartCode(unit, 0); place < unit.size();) {
        const std::size_t end = findStartCode(unit, place + kStartCode);
        const auto nal = unit.subspan(place + kStartCode, end - place - kStartCode);
        const unsigned type = nal.empty() ? 0 : nal.front() & 0x1FU;
        if (type == kSequenceParameters || type == kPictureParameters) {
            readParameters(nal.subspan(1), type);
        } else if (type == kSlice || type == kIdrSlice) {
            return sliceOrder(nal).value_or(_greatest + 1);
        }
        place = end;
    }
    return _greatest + 1;
}

void PictureOrder::add(std::span<const std::uint8_t> unit, Frame frame) {
    const std::int64_t order = _codec == VideoCodec::Mpeg2 ? mpeg2Order(unit) : h264Order(unit);
    _greatest = std::max(_greatest, order);
    _waiting.emplace(order, std::move(frame));
}

std::optional<Frame> PictureOrder::take() {
    // What stands in front of the sequence or group that came last is complete, but for the first pictures of an open
    // group, which have places of their own in it.
    const bool isKnown =
        _isAtEnd || _waiting.size() > kLongestWait || (!_waiting.empty() && _waiting.begin()->first < _base);
    if (_waiting.empty() || !isKnown) {
        return std::nullopt;
    }
    Frame frame = std::move(_waiting.begin()->second);
    _waiting.erase(_waiting.begin());
    frame.number = _frames++;
    return frame;
}

}  // namespace qlx::tool
