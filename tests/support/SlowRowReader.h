// Rows read and changed bit by bit, and a plain reader of the packets on them: what the library's own is held against.
#pragma once

#include <qlx/anc/row.h>

#include "RowBuilder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qlxtest {

/// Sample `index` of a row (Cb Y Cr Y ...), taken bit by bit.
inline std::uint16_t rowSample(qlx::anc::RowFormat format, std::span<const std::uint8_t> row, std::size_t index) {
    if (format == qlx::anc::RowFormat::TwoVuy) {
        return row[index];
    }
    unsigned sample = 0;
    for (std::size_t bit = 0; bit < 10; ++bit) {
        const std::size_t place = index / 3 * 32 + index % 3 * 10 + bit;
        sample |= (row[place / 8] >> place % 8 & 1U) << bit;
    }
    return static_cast<std::uint16_t>(sample);
}

/// Changes sample `index` of a row, bit by bit.
inline void setRowSample(qlx::anc::RowFormat format, std::span<std::uint8_t> row, std::size_t index,
                         std::uint16_t sample) {
    if (format == qlx::anc::RowFormat::TwoVuy) {
        row[index] = static_cast<std::uint8_t>(sample);
        return;
    }
    for (std::size_t bit = 0; bit < 10; ++bit) {
        const std::size_t place = index / 3 * 32 + index % 3 * 10 + bit;
        const auto mask = static_cast<std::uint8_t>(1U << place % 8);
        row[place / 8] = static_cast<std::uint8_t>((row[place / 8] & ~mask) | ((sample >> bit & 1U) != 0 ? mask : 0));
    }
}

/// The sample of a row that is word `index` of a channel.
inline std::size_t sampleOfWord(qlx::anc::Channel channel, std::size_t index) {
    switch (channel) {
    case qlx::anc::Channel::Luma:
        return 2 * index + 1;
    case qlx::anc::Channel::Chroma:
        return 2 * index;
    default:
        return index;
    }
}

/// Puts words onto a channel of a row.
inline void putWords(qlx::anc::RowFormat format, std::span<std::uint8_t> row, qlx::anc::Channel channel,
                     std::size_t index, std::span<const std::uint16_t> words) {
    for (const std::uint16_t word : words) {
        setRowSample(format, row, sampleOfWord(channel, index++), word);
    }
}

/// What is found of a packet.
struct SlowPacket {
    qlx::anc::Channel channel{};
    std::size_t index = 0;
    std::vector<std::uint16_t> words;
    qlx::anc::Status checksum{};
    qlx::anc::Status parity{};
};

/// Searches one channel, word by word.
class SlowChannel {
public:
    SlowChannel(std::span<const std::uint8_t> row, const qlx::anc::RowOptions& options, qlx::anc::Channel channel)
        : _options(options), _channel(channel) {
        const bool is10Bit = options.format == qlx::anc::RowFormat::V210;
        std::size_t samples = is10Bit ? row.size() / 4 * 3 : row.size();
        if (options.width != 0) {
            samples = std::min(samples, (options.width + options.width % 2) * 2);
        }
        for (std::size_t index = 0; sampleOfWord(channel, index) < samples; ++index) {
            _words.push_back(rowSample(options.format, row, sampleOfWord(channel, index)));
        }
    }

    std::vector<SlowPacket> packets() {
        std::size_t next = 0;
        std::size_t damagedEnd = 0;
        std::size_t near = 8;
        for (std::size_t index = 0; index < _words.size(); ++index) {
            const bool isNear = _options.extent == qlx::anc::Extent::WholeRow || index < near;
            if (index < next || !isNear || !isFlag(index)) {
                continue;
            }
            next = index + 3;
            const std::size_t length = index + 5 < _words.size() ? 7 + (_words[index + 5] & 0xFFU) : 0;
            if (length == 0 || index + length > _words.size()) {
                damagedEnd = index < damagedEnd ? damagedEnd : _words.size();
                continue;
            }
            const qlx::anc::Status checksum = checksumOf(index, length);
            if (index < damagedEnd && checksum != qlx::anc::Status::Right) {
                continue;
            }
            const auto first = _words.begin() + static_cast<std::ptrdiff_t>(index);
            _found.push_back(
                {_channel, index, {first, first + static_cast<std::ptrdiff_t>(length)}, checksum, parityOf(index)});
            near = std::max(near, index + length + 8);
            if (checksum == qlx::anc::Status::Wrong) {
                damagedEnd = index + length;
            } else {
                next = index + length;
            }
        }
        return _found;
    }

private:
    bool isFlag(std::size_t index) const {
        if (index + 2 >= _words.size()) {
            return false;
        }
        const unsigned a = _words[index];
        const unsigned b = _words[index + 1];
        const unsigned c = _words[index + 2];
        if (_options.format == qlx::anc::RowFormat::TwoVuy) {
            return a == 0 && b == 0xFF && c == 0xFF;
        }
        return _options.protectedFlags ? a < 4 && b >= 0x3FC && c >= 0x3FC : a == 0 && b == 0x3FF && c == 0x3FF;
    }

    qlx::anc::Status checksumOf(std::size_t index, std::size_t length) const {
        unsigned sum = 0;
        for (std::size_t word = 3; word < length - 1; ++word) {
            sum += _words[index + word] & 0x1FFU;
        }
        const unsigned there = _words[index + length - 1];
        if (_options.format == qlx::anc::RowFormat::TwoVuy) {
            const unsigned blanking = sampleOfWord(_channel, index + length - 1) % 2 == 1 ? 0x10 : 0x80;
            return there == sum % 256  ? qlx::anc::Status::Right
                   : there == blanking ? qlx::anc::Status::NotCarried
                                       : qlx::anc::Status::Wrong;
        }
        sum %= 512;
        return there == (sum < 256 ? sum + 512 : sum) ? qlx::anc::Status::Right : qlx::anc::Status::Wrong;
    }

    qlx::anc::Status parityOf(std::size_t index) const {
        if (_options.format == qlx::anc::RowFormat::TwoVuy) {
            return qlx::anc::Status::NotCarried;
        }
        for (std::size_t word = index + 3; word < index + 6; ++word) {
            if (_words[word] != parityWord(static_cast<std::uint8_t>(_words[word]))) {
                return qlx::anc::Status::Wrong;
            }
        }
        return qlx::anc::Status::Right;
    }

    qlx::anc::RowOptions _options;
    qlx::anc::Channel _channel;
    std::vector<std::uint16_t> _words;
    std::vector<SlowPacket> _found;
};

/// The packets of a row in the order in which they begin.
inline std::vector<SlowPacket> slowPackets(std::span<const std::uint8_t> row, const qlx::anc::RowOptions& options) {
    using qlx::anc::Channel;
    using qlx::anc::Channels;
    std::vector<SlowPacket> all;
    const auto search = [&](Channel channel) {
        const std::vector<SlowPacket> found = SlowChannel(row, options, channel).packets();
        all.insert(all.end(), found.begin(), found.end());
    };
    if (options.channels == Channels::SdMultiplex) {
        search(Channel::SdMultiplex);
    }
    if (options.channels == Channels::Chroma || options.channels == Channels::Both) {
        search(Channel::Chroma);
    }
    if (options.channels == Channels::Luma || options.channels == Channels::Both) {
        search(Channel::Luma);
    }
    std::stable_sort(all.begin(), all.end(), [](const SlowPacket& left, const SlowPacket& right) {
        return sampleOfWord(left.channel, left.index) < sampleOfWord(right.channel, right.index);
    });
    return all;
}

/// True when a packet that the library gives is the one that the plain reader gives.
inline bool isSame(const qlx::anc::PacketView& view, const SlowPacket& slow) {
    std::vector<std::uint16_t> words(qlx::anc::kGreatestPacketWords);
    std::vector<std::uint8_t> data(qlx::anc::kGreatestUserData);
    const auto readWords = view.words(words);
    const auto readData = view.userData(data);
    return view.channel() == slow.channel && view.horizontalOffset() == slow.index &&
           view.did() == (slow.words[3] & 0xFFU) && view.sdid() == (slow.words[4] & 0xFFU) &&
           view.dataCount() == slow.words.size() - 7 && view.checksum() == slow.checksum &&
           view.parity() == slow.parity &&
           std::equal(readWords.begin(), readWords.end(), slow.words.begin(), slow.words.end()) &&
           std::equal(readData.begin(), readData.end(), slow.words.begin() + 6, slow.words.end() - 1,
                      [](std::uint8_t byte, std::uint16_t word) { return byte == (word & 0xFFU); });
}

/// True when the library gives the packets that the plain reader gives.
inline bool readsAlike(std::span<const std::uint8_t> row, const qlx::anc::RowOptions& options) {
    const std::vector<SlowPacket> expected = slowPackets(row, options);
    std::size_t count = 0;
    for (const qlx::anc::PacketView packet : qlx::anc::packets(row, options)) {
        if (count == expected.size() || packet.line() != options.line || !isSame(packet, expected[count])) {
            return false;
        }
        ++count;
    }
    return count == expected.size();
}

}  // namespace qlxtest
