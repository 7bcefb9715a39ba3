// The CEA-708 writer: whatever captions it is given, each frame has one whole packet within its slots, which is read
// without a finding; what is loaded is shown as the caption says, or a finding says in what it differs; all is sent within a bounded time, and
// nothing stays on the screen.
#include "FuzzSupport.h"

#include <qlx/cc/slots.h>
#include <qlx/cea708/receiver.h>
#include <qlx/cea708/writer.h>

#include <algorithm>
#include <array>

using namespace qlx::cea708;
using qlx::screen::Cell;
using qlxfuzz::require;

namespace {

std::vector<Cell> takeCells(qlxfuzz::Input& input) {
    constexpr std::array<char32_t, 8> kOthers{U'\0',         U'\n',     U'\u2019',  U'\u0416',
                                              U'\U0001F3B5', U'\u00A0', 0xFFFFFFFF, U'\uFEFF'};
    std::vector<Cell> cells(input.takeByte() % 50);
    Cell look{.isVisible = true};
    for (Cell& cell : cells) {
        const std::uint8_t change = input.takeByte();
        if (change >= 0xC0) {
            look.foreground = static_cast<qlx::screen::Color>(change + 0x40U);
            look.edge = static_cast<qlx::screen::Edge>(change & 7U);
            look.font = static_cast<qlx::screen::Font>(change & 0x0FU);
        } else if (change >= 0xA0) {
            look.background = static_cast<qlx::screen::Color>((change & 0x1FU) << 2U);
            look.backgroundOpacity = static_cast<qlx::screen::Opacity>(change & 7U);
            look.isFlashing = (change & 8U) != 0;
        } else if (change >= 0x90) {
            look.isUnderlined = (change & 1U) != 0;
            look.isItalic = (change & 2U) != 0;
            look.isConcealed = (change & 4U) != 0;
        }
        cell = look;
        cell.isVisible = change != 0x8F;
        const std::uint8_t character = input.takeByte();
        cell.character = character < 0x20 ? kOthers[character % kOthers.size()] : char32_t{character};
    }
    return cells;
}

std::vector<Caption> takeCaptions(qlxfuzz::Input& input) {
    std::vector<Caption> captions;
    std::uint64_t start = 0;
    while (!input.empty() && captions.size() < 8) {
        const std::uint8_t kind = input.takeByte();
        Caption caption;
        constexpr std::array<std::uint8_t, 4> kServices{1, 2, 7, 63};
        caption.service = kind >= 0xF0 ? static_cast<std::uint8_t>(kind - 0xC0) : kServices[kind & 3U];
        caption.style = static_cast<CaptionStyle>((kind >> 2U) % 3);
        caption.rollUpRows = kind >> 5U;
        caption.anchor = static_cast<AnchorPoint>(input.takeByte() % 11);
        start += input.takeByte() / 8;
        caption.start = start;
        caption.end = start + input.takeByte();
        for (std::size_t rows = input.takeByte() % 6; rows > 0; --rows) {
            CaptionRow row;
            row.row = input.takeByte() % 20;
            row.column = input.takeByte() % 50;
            row.cells = takeCells(input);
            caption.rows.push_back(std::move(row));
        }
        captions.push_back(std::move(caption));
    }
    return captions;
}

/// The cells of a caption that has no findings, where it asks for them.
void checkShown(const Caption& caption, const qlx::screen::Screen& screen) {
    for (const CaptionRow& row : caption.rows) {
        for (std::size_t index = 0; index < row.cells.size(); ++index) {
            const Cell& cell = row.cells[index];
            if (!cell.isVisible) {
                continue;
            }
            require(row.row >= 1 && row.row <= kRows && row.column + index < screen.columns);
            const Cell& seen = screen.row(row.row - std::size_t{1})[row.column + index];
            require(seen.isVisible && seen.character == cell.character && seen.foreground == cell.foreground &&
                    seen.background == cell.background && seen.backgroundOpacity == cell.backgroundOpacity &&
                    seen.isItalic == cell.isItalic && seen.isUnderlined == cell.isUnderlined &&
                    seen.isFlashing == cell.isFlashing && seen.edge == cell.edge && seen.font == cell.font);
        }
    }
}

/// One caption by itself: it is shown as it is, or there is a finding.
void checkAlone(Caption caption, const ServiceWriterOptions& options) {
    caption.start = 100;
    caption.end = 200;
    Writer writer(qlx::FrameRate::Fps24, options);
    qlx::Findings findings;
    if (!writer.add(caption, &findings)) {
        require(!findings.empty());
        return;
    }
    const bool isExact = findings.empty();
    PacketReader packets;
    Receiver receiver(caption.service, {.aspectRatio = options.aspectRatio, .wideCharacter = {}});
    while (writer.frame() < 150) {
        for (const qlx::cc::Triplet& triplet : writer.next(&findings)) {
            for (const ReceivedPacket& packet : packets.receive(triplet)) {
                (void)receiver.receive(packet);
            }
        }
    }
    if (isExact && caption.style != CaptionStyle::RollUp && findings.empty()) {
        checkShown(caption, receiver.screen());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const std::uint8_t choice = input.takeByte();
    const qlx::FrameRate rate = qlx::kFrameRates[choice & 7U];
    const ServiceWriterOptions options{
        .aspectRatio = (choice & 8U) != 0 ? AspectRatio::Standard : AspectRatio::Wide,
        .usesWideCharacters = (choice & 0x10U) != 0,
        .clearAfter = choice / 64U,
    };
    const std::vector<Caption> captions = takeCaptions(input);
    Writer writer(rate, options);
    qlx::Findings findings;
    for (const Caption& caption : captions) {
        (void)writer.add(caption, &findings);
        checkAlone(caption, options);
    }
    PacketReader packets;
    qlx::Findings damage;
    std::vector<Receiver> receivers;
    for (std::uint8_t service = 1; service <= kGreatestService; ++service) {
        receivers.emplace_back(service, ReceiverOptions{options.aspectRatio, {}});
    }
    // Starts, ends, and eight captions of 2,500 bytes.
    constexpr std::uint64_t kMostFrames = 8 * 32 + 256 + 8 * 2500;
    while (!writer.isDone()) {
        require(writer.frame() < kMostFrames);
        const auto triplets = writer.next(&findings);
        require(triplets.size() <= qlx::cc::slotsOf(rate).greatestDtvcc);
        for (const qlx::cc::Triplet& triplet : triplets) {
            for (const ReceivedPacket& packet : packets.receive(triplet, &damage)) {
                for (const ServiceBlockView block : packet.packet.blocks()) {
                    (void)receivers[block.service - std::size_t{1}].receive(block.data, &damage);
                }
            }
        }
        require(!packets.isInPacket());
    }
    require(damage.empty());
    for (const Receiver& receiver : receivers) {
        for (std::size_t window = 0; window < kWindows; ++window) {
            require(!receiver.window(window).isDefined());
        }
    }
    for (const qlx::Finding& finding : findings) {
        require(finding.offset < captions.size() && finding.text().rfind("finding ", 0) != 0);
    }
    return 0;
}
