// Two hours at 59.94 frames a second of caption distribution packets that are full of DTVCC, read to screens: pop-on
// captions of two rows, one behind the other without a pause, and roll-up captions that change in each frame. Beside
// them the same packets read, and their triplets walked, without being understood.
#include <qlx/cc/cdp.h>
#include <qlx/cc/slots.h>
#include <qlx/cea708/receiver.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace qlx::cea708;
using qlx::cc::Triplet;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kFrames = 17982;  // five minutes
constexpr std::size_t kPasses = 24;     // two hours
constexpr std::size_t kDtvcc = qlx::cc::slotsOf(qlx::FrameRate::Fps5994).greatestDtvcc;

/// The commands of a service, cut into blocks and packets, as triplets.
class Channel {
public:
    void send(std::span<const std::uint8_t> commands) {
        while (!commands.empty()) {
            const std::size_t count = std::min(commands.size(), kGreatestBlockData);
            if (!_packet.addBlock(1, commands.first(count))) {
                flush();
                continue;
            }
            commands = commands.subspan(count);
        }
    }
    void flush() {
        std::array<Triplet, kGreatestPacketBytes / 2> room{};
        const std::size_t count = *writeTriplets(_packet, room);
        _triplets.insert(_triplets.end(), room.begin(), room.begin() + static_cast<std::ptrdiff_t>(count));
        const unsigned number = _packet.sequenceNumber() + 1U;
        _packet = {};
        _packet.setSequenceNumber(number);
    }
    [[nodiscard]] const std::vector<Triplet>& triplets() const { return _triplets; }

private:
    Packet _packet;
    std::vector<Triplet> _triplets;
};

Bytes bytesOf(std::span<const Command> commands, std::string_view text) {
    Bytes bytes;
    for (const Command& command : commands) {
        std::array<std::uint8_t, kGreatestCommandBytes> room{};
        const std::size_t size = *writeCommand(command, room);
        bytes.insert(bytes.end(), room.begin(), room.begin() + static_cast<std::ptrdiff_t>(size));
    }
    bytes.insert(bytes.end(), text.begin(), text.end());
    return bytes;
}

struct Stream {
    std::vector<Bytes> cdps;
    std::size_t captions = 0;  ///< Whole ones in the stream.
};

/// Packets of a CDP each, full of what `caption` gives.
template <class Caption>
Stream streamOf(Caption caption) {
    Channel channel;
    std::vector<std::size_t> ends;
    while (channel.triplets().size() < kFrames * kDtvcc) {
        channel.send(caption(ends.size()));
        channel.flush();
        ends.push_back(channel.triplets().size());
    }
    Stream stream;
    stream.captions = static_cast<std::size_t>(
        std::count_if(ends.begin(), ends.end(), [](std::size_t end) { return end <= kFrames * kDtvcc; }));
    for (std::size_t frame = 0; frame < kFrames; ++frame) {
        std::vector<Triplet> triplets{Triplet::make(qlx::cc::CcType::Field1, 0x80, 0x80)};
        const auto begin = channel.triplets().begin() + static_cast<std::ptrdiff_t>(frame * kDtvcc);
        triplets.insert(triplets.end(), begin, begin + static_cast<std::ptrdiff_t>(kDtvcc));
        qlx::cc::Cdp cdp;
        cdp.setFrameRate(qlx::FrameRate::Fps5994);
        cdp.setSequenceCounter(static_cast<std::uint16_t>(frame));
        Bytes bytes(qlx::cc::kGreatestCdpBytes);
        if (!cdp.setTriplets(triplets)) {
            std::abort();
        }
        bytes.resize(*writeCdp(cdp, bytes));
        stream.cdps.push_back(bytes);
    }
    return stream;
}

DefineWindow windowOf(std::size_t number, bool isVisible) {
    DefineWindow window;
    window.window = static_cast<std::uint8_t>(number);
    window.isVisible = isVisible;
    window.anchorPoint = AnchorPoint::LowerCenter;
    window.anchorVertical = 74;
    window.anchorHorizontal = 105;
    window.rows = 2;
    window.columns = 32;
    window.windowStyle = 1;
    window.penStyle = 1;
    return window;
}

/// Loaded into the window that is hidden, then both are toggled.
Bytes popOn(std::size_t number) {
    const std::size_t window = number % 2;
    const auto others = static_cast<std::uint8_t>(2U >> window);
    Bytes bytes =
        bytesOf(std::array<Command, 2>{WindowsCommand{WindowsAction::Delete, static_cast<std::uint8_t>(1U << window)},
                                       windowOf(window, false)},
                "A caption of two rows that are");
    const Bytes end = bytesOf(std::array<Command, 1>{Control::CarriageReturn}, "not much shorter than they can");
    bytes.insert(bytes.end(), end.begin(), end.end());
    const Bytes swap =
        bytesOf(std::array<Command, 2>{WindowsCommand{WindowsAction::Display, static_cast<std::uint8_t>(1U << window)},
                                       WindowsCommand{WindowsAction::Hide, others}},
                "");
    bytes.insert(bytes.end(), swap.begin(), swap.end());
    return bytes;
}

/// A few letters: a packet ends in each frame.
Bytes rollUp(std::size_t number) {
    if (number % 4 == 0) {
        return bytesOf(std::array<Command, 2>{windowOf(0, true), Control::CarriageReturn}, "Some");
    }
    return bytesOf({}, " letters");
}

const Stream& popOnStream() {
    static const Stream kStream = streamOf(popOn);
    return kStream;
}

const Stream& rollUpStream() {
    static const Stream kStream = streamOf(rollUp);
    return kStream;
}

/// How many screens were new; the last one is left in `screen`.
std::size_t read(const Stream& stream, qlx::screen::Screen& screen, qlx::Findings& findings) {
    PacketReader packets;
    Receiver receiver;
    std::size_t screens = 0;
    for (std::uint64_t frame = 0; frame < stream.cdps.size(); ++frame) {
        bool isNew = receiver.nextFrame(qlx::FrameRate::Fps5994, &findings, frame);
        const auto cdp = qlx::cc::parseCdp(stream.cdps[frame], &findings);
        for (const Triplet& triplet : qlx::cc::dtvccTriplets(cdp->triplets())) {
            for (const ReceivedPacket& packet : packets.receive(triplet, &findings, frame)) {
                isNew = receiver.receive(packet, &findings, frame) || isNew;
            }
        }
        if (isNew) {
            receiver.drawScreen(screen);
            ++screens;
        }
    }
    return screens;
}

std::string textOf(const qlx::screen::Screen& screen, std::size_t row) {
    std::string text;
    for (const qlx::screen::Cell& cell : screen.row(row)) {
        text += cell.isVisible ? static_cast<char>(cell.character) : '.';
    }
    return text;
}

/// All captions are seen, or nothing is timed.
bool check() {
    qlx::screen::Screen screen;
    qlx::Findings findings;
    const std::size_t captions = read(popOnStream(), screen, findings);
    const std::string first = textOf(screen, 13);
    const std::string second = textOf(screen, 14);
    const std::size_t changes = read(rollUpStream(), screen, findings);
    if (!findings.empty() || captions != popOnStream().captions || changes != kFrames ||
        first != ".....A caption of two rows that are  ....." ||
        second != ".....not much shorter than they can  .....") {
        std::cerr << "the captions are not read: " << captions << " of " << popOnStream().captions << ", " << changes
                  << " of " << kFrames << ", '" << first << "', '" << second << "'\n";
        std::exit(1);
    }
    return true;
}

const bool kIsChecked = check();

void readTwoHours(benchmark::State& state, const Stream& stream) {
    qlx::screen::Screen screen;
    qlx::Findings findings;
    for (auto _ : state) {
        for (std::size_t pass = 0; pass < kPasses; ++pass) {
            benchmark::DoNotOptimize(read(stream, screen, findings));
        }
    }
}

void TwoHoursOfPopOn(benchmark::State& state) {
    readTwoHours(state, popOnStream());
}
BENCHMARK(TwoHoursOfPopOn)->Unit(benchmark::kMillisecond);

void TwoHoursOfRollUp(benchmark::State& state) {
    readTwoHours(state, rollUpStream());
}
BENCHMARK(TwoHoursOfRollUp)->Unit(benchmark::kMillisecond);

void TwoHoursOfPacketsAlone(benchmark::State& state) {
    qlx::Findings findings;
    for (auto _ : state) {
        unsigned sum = 0;
        for (std::size_t pass = 0; pass < kPasses; ++pass) {
            for (const Bytes& bytes : popOnStream().cdps) {
                const auto cdp = qlx::cc::parseCdp(bytes, &findings);
                for (const Triplet& triplet : qlx::cc::dtvccTriplets(cdp->triplets())) {
                    sum += triplet.first;
                }
            }
        }
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(TwoHoursOfPacketsAlone)->Unit(benchmark::kMillisecond);

}  // namespace
