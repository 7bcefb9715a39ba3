// The CEA-608 writer: whatever captions, texts and extended data it is given, each of its pairs has a meaning, no pair is torn from what it
// belongs to, all is sent within a bounded time, and nothing stays on the screen.
#include "FuzzSupport.h"

#include <qlx/cea608/receiver.h>
#include <qlx/cea608/writer.h>
#include <qlx/cea608/xds.h>

#include <algorithm>
#include <array>
#include <optional>

using namespace qlx::cea608;
using qlx::screen::Cell;
using qlxfuzz::require;

namespace {

char32_t characterOf(std::uint8_t byte) {
    constexpr std::array<char32_t, 8> kOthers{U'\0',         U'\n',     U'\u2019',  U'\u0416',
                                              U'\U0001F3B5', U'\u00A0', 0xFFFFFFFF, U' '};
    const std::size_t set = byte >> 6U;
    const std::u32string_view characters = kCharacters[set];
    const std::size_t place = byte & 0x3FU;
    return place < characters.size() ? characters[place] : kOthers[place % kOthers.size()];
}

std::vector<Cell> takeCells(qlxfuzz::Input& input) {
    std::vector<Cell> cells(input.takeByte() % 70);
    Cell look{.isVisible = true};
    for (Cell& cell : cells) {
        const std::uint8_t change = input.takeByte();
        if (change >= 0xC0) {
            look.foreground = static_cast<qlx::screen::Color>(change & 0x3FU);
            look.isItalic = (change & 1U) != 0;
        } else if (change >= 0xA0) {
            look.background = static_cast<qlx::screen::Color>((change & 0x1FU) << 1U);
            look.backgroundOpacity = static_cast<qlx::screen::Opacity>(change & 3U);
        } else if (change >= 0x90) {
            look.isUnderlined = (change & 1U) != 0;
            look.isFlashing = (change & 2U) != 0;
        }
        cell = look;
        cell.isVisible = change != 0x8F;
        cell.character = (change & 3U) == 0 ? U' ' : characterOf(input.takeByte());
    }
    return cells;
}

std::vector<XdsPacket> takePackets(qlxfuzz::Input& input) {
    std::vector<XdsPacket> packets(input.takeByte() % 3);
    for (XdsPacket& packet : packets) {
        packet.xdsClass = static_cast<XdsClass>(input.takeByte() % 7);
        packet.type = input.takeByte();
        std::vector<std::uint8_t> bytes(input.takeByte() % 33);
        std::generate(bytes.begin(), bytes.end(),
                      [&input]() { return static_cast<std::uint8_t>(input.takeByte() | 0x20U); });
        require(packet.bytes.assign(bytes));
    }
    return packets;
}

std::vector<Caption> takeCaptions(qlxfuzz::Input& input) {
    std::vector<Caption> captions;
    std::uint64_t start = 0;
    while (!input.empty() && captions.size() < 6) {
        const std::uint8_t kind = input.takeByte();
        Caption caption;
        caption.channel = kChannels[kind & 3U];
        caption.channel.isText = (kind & 0x0CU) == 0x0CU;
        caption.style = static_cast<CaptionStyle>((kind >> 2U) % 3);
        caption.rollUpRows = kind >> 5U;
        start += input.takeByte();
        caption.start = start;
        caption.end = start + input.takeByte();
        for (std::size_t rows = input.takeByte() % 6; rows > 0; --rows) {
            CaptionRow row;
            row.row = input.takeByte() % 20;
            row.column = input.takeByte() % 40;
            row.cells = takeCells(input);
            caption.rows.push_back(std::move(row));
        }
        captions.push_back(std::move(caption));
    }
    return captions;
}

/// Each pair of a field has a meaning, and odd parity, and each code its repetition, where there are any.
class FieldChecker {
public:
    FieldChecker(std::size_t field, bool doublesCodes) : _field(field), _doublesCodes(doublesCodes) {}

    void take(const Pair& pair) {
        require(pair == withOddParity(pair));
        const Code code = codeOf(pair.first, pair.second);
        require(code.kind != CodeKind::Unknown && (code.kind != CodeKind::ExtendedData || _field == 2));
        require(code.kind != CodeKind::Control || code.isOfField2 == (_field == 2));
        const bool isExtended =
            code.kind == CodeKind::Extended || code.kind == CodeKind::Background || code.kind == CodeKind::Foreground;
        const bool isRepetition = _expected && *_expected == pair;
        require(!_expected || isRepetition);
        require(!isExtended || isRepetition || _isBehindText);
        _isBehindText = code.kind == CodeKind::Text;
        _expected =
            _doublesCodes && code.kind >= CodeKind::Control && !isRepetition ? std::optional(pair) : std::nullopt;
    }
    void finish() const { require(!_expected); }

private:
    std::size_t _field;
    bool _doublesCodes;
    bool _isBehindText = false;
    std::optional<Pair> _expected;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const std::uint8_t options = input.takeByte();
    const qlx::FrameRate rate = qlx::kFrameRates[options & 7U];
    const bool doublesCodes = (options & 8U) != 0;
    const std::vector<XdsPacket> packets = (options & 0x10U) != 0 ? takePackets(input) : std::vector<XdsPacket>();
    const std::vector<Caption> captions = takeCaptions(input);
    Writer writer(rate, {.doublesCodes = doublesCodes, .clearAfter = options / 64U});
    qlx::Findings findings;
    writer.setXds(packets, 1);
    for (const Caption& caption : captions) {
        if (caption.channel.isText) {
            writer.addText({caption.start, caption.channel, (caption.end & 1U) != 0, caption.rows}, &findings);
        } else {
            (void)writer.add(caption, &findings);
        }
    }
    XdsReader reader;
    qlx::Findings damage;
    std::array<FieldChecker, 2> fields{FieldChecker(1, doublesCodes), FieldChecker(2, doublesCodes)};
    std::array<Receiver, 4> receivers{Receiver(kCC1), Receiver(kCC2), Receiver(kCC3), Receiver(kCC4)};
    // Captions of 600 pairs each, twice a frame, and their times.
    constexpr std::uint64_t kMostFrames = 6 * (512 + 2 * 2 * 600);
    while (!writer.isDone()) {
        require(writer.frame() < kMostFrames);
        const FramePairs pairs = writer.next(&findings);
        for (std::size_t field = 0; field < 2; ++field) {
            const auto& pair = field == 0 ? pairs.field1 : pairs.field2;
            if (pair) {
                fields[field].take(*pair);
                const auto packet = field == 1 ? reader.receive(pair->first, pair->second, &damage) : std::nullopt;
                require(!packet || std::find(packets.begin(), packets.end(), *packet) != packets.end());
                (void)receivers[2 * field].receive(pair->first, pair->second);
                (void)receivers[2 * field + 1].receive(pair->first, pair->second);
            }
        }
    }
    for (const FieldChecker& field : fields) {
        field.finish();
    }
    require(damage.empty());
    for (const Receiver& receiver : receivers) {
        require(!receiver.screen().hasText());
    }
    for (const qlx::Finding& finding : findings) {
        require(finding.offset < captions.size() && finding.text().rfind("finding ", 0) != 0);
    }
    return 0;
}
