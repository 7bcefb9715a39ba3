#include <qlx/anc/element.h>

#include "anc/AncWord.h"
#include "anc/ElementLayout.h"

#include <algorithm>

namespace qlx::anc {

namespace layout = elementlayout;

namespace {

/// What is written of a packet, whoever owns it.
struct Source {
    PacketContentView content;
    std::uint32_t line = 0;
    Wrapping wrapping = Wrapping::VancFrame;
    SampleCoding coding = SampleCoding::Luma8;
    std::span<const std::uint16_t> words;
    std::optional<std::span<const std::uint8_t>> padding;
};

Source sourceOf(const ElementPacket& packet, const ElementWriteOptions& /*options*/) {
    Source source{packet.packet, packet.packet.line, packet.wrapping, packet.coding, {}, std::nullopt};
    if (isTenBit(packet.coding)) {
        source.words = packet.words;
    }
    if (packet.padding) {
        source.padding = *packet.padding;
    }
    return source;
}

Source sourceOf(const Packet& packet, const ElementWriteOptions& options) {
    return {packet, packet.line, options.wrapping, sampleCoding(packet.channel, options.isTenBits), {}, std::nullopt};
}

std::size_t sampleCount(const Source& source) noexcept {
    return source.words.empty()
               ? layout::kSamplesInFront + source.content.userData.size() + std::size_t{isTenBit(source.coding)}
               : source.words.size();
}

std::size_t sampleBytes(const Source& source) noexcept {
    const std::size_t samples = sampleCount(source);
    return isTenBit(source.coding) ? layout::tenBitBytes(samples) : samples;
}

std::size_t arrayBytes(const Source& source) noexcept {
    const std::size_t samples = sampleBytes(source);
    return source.padding ? samples + source.padding->size()
                          : (samples + layout::kAlignment - 1) / layout::kAlignment * layout::kAlignment;
}

/// Writes ten-bit samples one after the other.
class TenBitWriter {
public:
    explicit TenBitWriter(std::uint8_t* array) noexcept : _array(array) {}

    void put(std::uint16_t sample) noexcept {
        _word |= (sample & 0x3FFU) << layout::tenBitShift(_samples);
        if (++_samples == layout::kTenBitWordSamples) {
            finish();
        }
    }

    void finish() noexcept {
        if (_samples != 0) {
            storeBig(_array, _word);
            _array += layout::kTenBitWordBytes;
            _word = 0;
            _samples = 0;
        }
    }

private:
    std::uint8_t* _array;
    std::uint32_t _word = 0;
    std::size_t _samples = 0;
};

void writeTenBits(const Source& source, std::uint8_t* array) noexcept {
    TenBitWriter writer(array);
    if (!source.words.empty()) {
        std::for_each(source.words.begin(), source.words.end(), [&writer](std::uint16_t one) { writer.put(one); });
        writer.finish();
        return;
    }
    std::uint32_t sum = 0;
    const auto put = [&](std::uint8_t byte) {
        writer.put(word(byte));
        sum += word(byte);
    };
    put(source.content.did);
    put(source.content.sdid);
    put(static_cast<std::uint8_t>(source.content.userData.size()));
    std::for_each(source.content.userData.begin(), source.content.userData.end(), put);
    writer.put(checksumWord(sum));
    writer.finish();
}

void writeEightBits(const Source& source, std::uint8_t* array) noexcept {
    array[0] = source.content.did;
    array[1] = source.content.sdid;
    array[2] = static_cast<std::uint8_t>(source.content.userData.size());
    std::copy(source.content.userData.begin(), source.content.userData.end(), array + layout::kSamplesInFront);
}

/// Writes a packet and gives the place behind it.
std::uint8_t* writePacket(const Source& source, std::uint8_t* bytes) noexcept {
    const std::size_t size = arrayBytes(source);
    layout::storeHeader(bytes, {static_cast<std::uint16_t>(source.line), static_cast<std::uint8_t>(source.wrapping),
                                static_cast<std::uint8_t>(source.coding),
                                static_cast<std::uint16_t>(sampleCount(source)), static_cast<std::uint32_t>(size), 1});
    std::uint8_t* const array = bytes + layout::kArray;
    if (isTenBit(source.coding)) {
        writeTenBits(source, array);
    } else {
        writeEightBits(source, array);
    }
    std::uint8_t* const behind = array + sampleBytes(source);
    if (source.padding) {
        std::copy(source.padding->begin(), source.padding->end(), behind);
    } else {
        std::fill(behind, array + size, std::uint8_t{0});
    }
    return array + size;
}

Finding finding(FindingCode code, std::size_t index, std::size_t first, std::size_t second) noexcept {
    return {code, Severity::Error, index, static_cast<std::int64_t>(first), static_cast<std::int64_t>(second)};
}

/// Why a packet cannot be written.
std::optional<Finding> refusal(const Source& source, std::size_t index) noexcept {
    constexpr std::size_t kGreatestLine = 0xFFFF;
    if (!isKnown(source.coding)) {
        return finding(FindingCode::AncElementCodingUnknown, index, static_cast<std::size_t>(source.coding), 0);
    }
    const std::size_t data =
        std::max(source.content.userData.size(), source.words.size() - std::min<std::size_t>(source.words.size(), 4));
    if (data > kGreatestUserData) {
        return finding(FindingCode::AncTooManyUserDataWords, index, data, kGreatestUserData);
    }
    if (source.line > kGreatestLine) {
        return finding(FindingCode::AncElementLineTooGreat, index, source.line, kGreatestLine);
    }
    return std::nullopt;
}

template <class Packets>
std::size_t sizeOf(const Packets& packets, const ElementWriteOptions& options) noexcept {
    std::size_t size = layout::kCountBytes;
    for (const auto& packet : packets) {
        size += layout::kArray + arrayBytes(sourceOf(packet, options));
    }
    return size;
}

/// Why these packets cannot be written.
template <class Packets>
std::optional<Finding> refusalOf(const Packets& packets, const ElementWriteOptions& options) noexcept {
    if (packets.size() > kGreatestElementPackets) {
        return finding(FindingCode::AncElementTooManyPackets, 0, packets.size(), kGreatestElementPackets);
    }
    std::size_t index = 0;
    for (const auto& packet : packets) {
        if (const auto why = refusal(sourceOf(packet, options), index++)) {
            return why;
        }
    }
    return std::nullopt;
}

template <class Packets>
void write(const Packets& packets, const ElementWriteOptions& options, std::uint8_t* bytes) noexcept {
    storeBig(bytes, static_cast<std::uint16_t>(packets.size()));
    bytes += layout::kCountBytes;
    for (const auto& packet : packets) {
        bytes = writePacket(sourceOf(packet, options), bytes);
    }
}

template <class Packets>
Result<std::size_t> writeInto(const Packets& packets, std::span<std::uint8_t> room,
                              const ElementWriteOptions& options) {
    if (const auto why = refusalOf(packets, options)) {
        return *why;
    }
    const std::size_t size = sizeOf(packets, options);
    if (size > room.size()) {
        return finding(FindingCode::OutputTooSmall, 0, size, room.size());
    }
    write(packets, options, room.data());
    return size;
}

template <class Packets>
Result<Data> writeData(const Packets& packets, const ElementWriteOptions& options) {
    if (const auto why = refusalOf(packets, options)) {
        return *why;
    }
    return Data::make(sizeOf(packets, options),
                      [&packets, &options](std::uint8_t* bytes) { write(packets, options, bytes); });
}

}  // namespace

std::size_t elementSize(std::span<const ElementPacket> packets) noexcept {
    return sizeOf(packets, {});
}

std::size_t elementSize(std::span<const Packet> packets, const ElementWriteOptions& options) noexcept {
    return sizeOf(packets, options);
}

Result<std::size_t> writeElement(std::span<const ElementPacket> packets, std::span<std::uint8_t> room) {
    return writeInto(packets, room, {});
}

Result<std::size_t> writeElement(std::span<const Packet> packets, std::span<std::uint8_t> room,
                                 const ElementWriteOptions& options) {
    return writeInto(packets, room, options);
}

Result<Data> writeElement(std::span<const ElementPacket> packets) {
    return writeData(packets, {});
}

Result<Data> writeElement(std::span<const Packet> packets, const ElementWriteOptions& options) {
    return writeData(packets, options);
}

}  // namespace qlx::anc
