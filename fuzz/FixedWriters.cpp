// What the fixed operations write, and what stands beside them: rows, samples of captions, texts as captions, texts in
// other encodings, the settings' file. The first byte says which.
#include "facade/CEA608Caption.h"
#include "platform/SettingsFile.h"

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <QLXClosedCaptionsUtilities/platform/TextEncoding.h>

#include "FuzzSupport.h"

#include <bit>
#include <memory>
#include <set>
#include <string>

using qlxfuzz::Input;
using qlxfuzz::require;

namespace {

constexpr std::int32_t kLine = 9;

using Packets = std::vector<std::shared_ptr<QLXVANCPacket>>;

Packets packetsOf(Input& input) {
    Packets packets;
    for (unsigned count = input.takeByte() % 6; count > 0; --count) {
        const std::uint8_t kind = input.takeByte();
        std::vector<std::uint8_t> data(kind % 16 == 0 ? std::size_t{300} : kind);
        for (std::uint8_t& byte : data) {
            byte = input.empty() ? kind : input.takeByte();
        }
        auto packet = std::make_shared<QLXVANCPacket>();
        packet->setPacketDID(input.takeByte());
        packet->setPacketSDID(input.takeByte());
        packet->setLineNumber(kind % 8 == 1 ? kLine + 1 : kLine);
        packet->setPacketData(qlx::Data(data));
        packets.push_back(kind % 32 == 2 ? nullptr : std::move(packet));
    }
    return packets;
}

/// Into rows of exactly the bytes that the operations state.
void fillRows(Input& input) {
    const Packets packets = packetsOf(input);
    const std::size_t size = 1 + std::size_t{input.takeByte()} * 8 + input.takeByte();
    std::vector<std::uint8_t> row(size);
    QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(row.data(), packets,
                                                                                                 size, kLine);
    std::vector<std::uint8_t> row8(std::max<std::size_t>(size + 3, 12));
    QLXCCUtilities::fillYComponentIn8BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(row8.data(), packets,
                                                                                                size, kLine);
    const std::vector<std::uint8_t> data = input.rest();
    const std::size_t samples = data.size() + 7;
    // Of six luma samples in four words the last one stands in the fourth.
    std::vector<std::uint8_t> exact((samples / 6 + 1) * 16);
    QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCDataBuffer_size_did_sdid(exact.data(), data.data(), data.size(),
                                                                                 0x61, 0x01);
}

/// Of bytes as samples of captions: what is made of them can be taken apart again.
void makeSamples(Input& input) {
    constexpr std::int32_t kTimescales[] = {24'000, 24, 25, 30'000, 30, 50, 60'000, 60, 1, 0};
    const std::uint8_t rate = input.takeByte();
    const qlx::MediaTime duration =
        qlx::MediaTime::make(rate % 10 == 0 || rate % 10 == 3 || rate % 10 == 6 ? 1001 : 1, kTimescales[rate % 10]);
    const std::uint16_t counter = input.takeByte();
    const qlx::Data bytes(input.rest());
    const qlx::SampleTimingInfo timing{};
    const auto packet = std::make_shared<QLXVANCPacket>();
    packet->setPacketData(bytes);
    const std::shared_ptr<qlx::SampleBuffer> made[] = {
        QLXCCUtilities::createCEA708SampleBufferWithSampleTimingInfo_frameDuration_sequenceCounter_cea608Data(
            timing, duration, counter, bytes),
        QLXCCUtilities::createCEA708SampleBufferWithSampleTimingInfo_frameDuration_sequenceCounter_a53Data(
            timing, duration, counter, bytes),
        QLXCCUtilities::createCEA708SampleBufferWithSampleTimingInfo_frameDuration_sequenceCounter_VANCPacket(
            timing, duration, counter, packet),
        QLXCCUtilities::createOP47SampleBufferFromDataBuffers_timingInfo({bytes, {}, bytes}, timing)};
    for (const auto& sample : made) {
        std::shared_ptr<qlx::SampleBuffer> first;
        std::shared_ptr<qlx::SampleBuffer> second;
        if (QLXCCUtilities::splitSampleBuffer_toSampleBuffer_andSampleBuffer_frameDuration(sample, &first, &second,
                                                                                           duration)) {
            (void)QLXCCUtilities::createConcatenatedSampleBufferWithSampleBuffer_andSampleBuffer_frameDuration(
                first, second, duration);
        }
        (void)QLXCCUtilities::conformSampleBufferToCEA708_frameDuration(sample, duration);
        (void)QLXCCUtilities::extractCaptionsDataFromSampleBuffer(sample);
    }
    qlx::Data first;
    qlx::Data second;
    (void)QLXCCUtilities::extractCaptionTripletsFromData_fromOffset_CC1Data_CC2Data(bytes, counter, &first, &second);
    (void)QLXCCUtilities::a53CCDataFromCCData(bytes);
}

/// Rows of a caption are pairs of bytes.
void makeCaption(Input& input) {
    const std::vector<std::uint8_t> bytes = input.rest();
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    std::vector<std::uint8_t> caption;
    qlx::facade::appendBeginning(caption);
    for (std::size_t row = 0; row < qlx::facade::kMaxRows; ++row) {
        qlx::facade::appendRow(caption, row, text);
    }
    qlx::facade::appendEnd(caption);
    require(caption.size() % 2 == 0 && caption.size() < 200);
}

void decode(Input& input) {
    using enum qlx::TextEncoding;
    constexpr qlx::TextEncoding kAll[] = {ASCII, UTF8, Latin1, LatinCyrillic, LatinArabic, LatinGreek, LatinHebrew};
    const qlx::TextEncoding encoding = kAll[input.takeByte() % std::size(kAll)];
    const auto text = qlx::decodedText(input.rest(), encoding);
    require(!text || !qlx::firstInvalidUTF8Byte(*text));
}

/// What is written into any text is read back, and all else stays.
void changeSettings(Input& input) {
    qlx::Dictionary settings;
    std::set<std::string, std::less<>> erased;
    for (unsigned count = input.takeByte() % 8; count > 0; --count) {
        std::string key(1, static_cast<char>(input.takeByte()));
        std::string value(input.takeByte() % 4, static_cast<char>(input.takeByte()));
        if (input.takeByte() % 4 == 0) {
            erased.insert(key);
        } else {
            settings.set(key, std::move(value));
        }
    }
    const std::vector<std::uint8_t> bytes = input.rest();
    const std::string text(bytes.begin(), bytes.end());
    const std::string changed = qlx::textWithSettings(text, settings, erased);
    const qlx::Dictionary before = qlx::settingsIn(text);
    const qlx::Dictionary now = qlx::settingsIn(changed);
    for (const qlx::Dictionary::Entry& entry : settings) {
        require(now.find(entry.key) != nullptr && *now.find(entry.key) == entry.value);
    }
    for (const qlx::Dictionary::Entry& entry : before) {
        const bool isSame = settings.find(entry.key) == nullptr && !erased.contains(entry.key);
        require(!isSame || (now.find(entry.key) != nullptr && *now.find(entry.key) == entry.value));
    }
    require(qlx::textWithSettings(changed, settings, erased) == changed);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const qlxfuzz::SilentConsole console;
    Input input(data, size);
    constexpr void (*kWhich[])(Input&) = {fillRows, makeSamples, makeCaption, decode, changeSettings};
    kWhich[input.takeByte() % std::size(kWhich)](input);
    return 0;
}
