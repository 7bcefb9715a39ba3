#include "SCTE104Input.h"

#include "Errors.h"
#include "Frame.h"
#include "InputFile.h"
#include "Klv.h"
#include "Text.h"

#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <algorithm>
#include <filesystem>
#include <span>
#include <system_error>
#include <utility>

namespace qlx::tool {

namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n";
constexpr std::size_t kSniffedBytes = 4;

/// A source whose first bytes have been looked at.
class PeekedSource final : public ByteSource {
public:
    explicit PeekedSource(ByteSource& source) : _source(source), _first(kSniffedBytes) {
        _first.resize(_source.read(_first));
    }

    [[nodiscard]] std::span<const std::uint8_t> first() const { return _first; }

    [[nodiscard]] const std::string& name() const override { return _source.name(); }
    std::size_t read(std::span<std::uint8_t> to) override {
        const std::size_t taken = std::min(to.size(), _first.size() - _taken);
        std::copy_n(_first.begin() + static_cast<std::ptrdiff_t>(_taken), taken, to.begin());
        _taken += taken;
        return taken + _source.read(to.subspan(taken));
    }
    std::uint64_t skip(std::uint64_t count) override {
        const auto taken = static_cast<std::size_t>(std::min<std::uint64_t>(count, _first.size() - _taken));
        _taken += taken;
        return taken + _source.skip(count - taken);
    }
    [[nodiscard]] std::uint64_t offset() const override { return _source.offset() - (_first.size() - _taken); }
    [[nodiscard]] std::optional<std::uint64_t> size() const override { return _source.size(); }

private:
    ByteSource& _source;
    std::vector<std::uint8_t> _first;
    std::size_t _taken = 0;
};

int digitOf(char character) {
    if (character >= '0' && character <= '9') {
        return character - '0';
    }
    if (character >= 'a' && character <= 'f') {
        return character - 'a' + 10;
    }
    return character >= 'A' && character <= 'F' ? character - 'A' + 10 : -1;
}

bool isHexText(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char character) {
        return digitOf(character) >= 0 || kWhiteSpace.find(character) != std::string_view::npos;
    });
}

std::vector<std::uint8_t> readWhole(ByteSource& source) {
    std::vector<std::uint8_t> bytes(kLongestScte104Input + 1);
    bytes.resize(source.read(bytes));
    if (bytes.size() > kLongestScte104Input) {
        throw failureIn(source.name(), "too long for an SCTE-104 message");
    }
    if (bytes.empty()) {
        throw failureAtByte(source.name(), 0, "the file is empty");
    }
    return bytes;
}

Scte104Format formatOf(std::span<const std::uint8_t> first) {
    constexpr std::uint8_t kPayloadDescriptor = 0x08;
    if (first.size() == kSniffedBytes && std::equal(first.begin(), first.end(), kAncFrameElementKey.begin())) {
        return Scte104Format::Klv;
    }
    // What is a digit in a text is above 0x2F.
    return !first.empty() && first[0] == kPayloadDescriptor ? Scte104Format::Raw : Scte104Format::Hex;
}

std::vector<std::string> readKlv(ByteSource& source, const std::function<void(const Scte104Packet&)>& take) {
    std::vector<std::string> problems;
    KlvReader reader(source);
    Frame frame;
    while (reader.next(frame, problems)) {
        for (const auto& packet : frame.packets) {
            if (packet->packetType() == QLXVANCPacketTypeSCTE104) {
                const std::string place = source.name() + ": frame " + std::to_string(frame.number) + ", line " +
                                          std::to_string(packet->lineNumber());
                take({place, frame.number, packet->lineNumber(), packet->packetData()});
            }
        }
    }
    for (std::string& problem : problems) {
        problem.insert(0, source.name() + ": ");
    }
    return problems;
}

/// Whether the digits of a message were given in place of a file.
bool isMessageOnCommandLine(const std::string& input, std::optional<Scte104Format> format) {
    std::error_code error;
    return input != "-" && format.value_or(Scte104Format::Hex) == Scte104Format::Hex && isHexText(input) &&
           !std::filesystem::exists(input, error);
}

}  // namespace

Data bytesOfHex(std::string_view name, std::string_view text) {
    std::vector<std::uint8_t> bytes;
    int high = -1;
    for (std::size_t offset = 0; offset < text.size(); ++offset) {
        if (kWhiteSpace.find(text[offset]) != std::string_view::npos) {
            continue;
        }
        const int digit = digitOf(text[offset]);
        if (digit < 0) {
            const auto byte = static_cast<std::uint8_t>(text[offset]);
            throw failureAtByte(name, offset, "byte value " + hex(std::span(&byte, 1)) + " is no hexadecimal digit");
        }
        if (high < 0) {
            high = digit;
        } else {
            bytes.push_back(static_cast<std::uint8_t>(high << 4 | digit));
            high = -1;
        }
    }
    if (high >= 0) {
        throw failureAtByte(name, text.size(), "an odd number of hexadecimal digits");
    }
    return bytes;
}

std::vector<std::string> readScte104Packets(const std::string& input, std::optional<Scte104Format> format,
                                            const std::function<void(const Scte104Packet&)>& take) {
    if (isMessageOnCommandLine(input, format)) {
        const std::string name = "the message";
        take({name, std::nullopt, 0, bytesOfHex(name, input)});
        return {};
    }
    InputFile file(input);
    PeekedSource source(file);
    switch (format.value_or(formatOf(source.first()))) {
    case Scte104Format::Klv:
        return readKlv(source, take);
    case Scte104Format::Raw:
        take({source.name(), std::nullopt, 0, Data(readWhole(source))});
        break;
    case Scte104Format::Hex: {
        const std::vector<std::uint8_t> text = readWhole(source);
        const std::string_view digits(reinterpret_cast<const char*>(text.data()), text.size());
        take({source.name(), std::nullopt, 0, bytesOfHex(source.name(), digits)});
        break;
    }
    }
    return {};
}

}  // namespace qlx::tool
