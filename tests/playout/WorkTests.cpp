// The writers and readers of captions take as much work again for twice as many captions, whatever these are.
#include "CaptionRows.h"
#include "Work.h"

#include <qlx/cea608/receiver.h>
#include <qlx/cea608/writer.h>
#include <qlx/cea608/xds.h>
#include <qlx/cea708/packet.h>
#include <qlx/cea708/receiver.h>
#include <qlx/cea708/writer.h>

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

using qlx::FrameRate;
using qlxtest::cellsOf;
using qlxtest::Work;
using qlxtest::workOf;
namespace line21 = qlx::cea608;
namespace services = qlx::cea708;

constexpr std::size_t kFewest = 64;

/// N, 2 N and 4 N of something: what the second half of each takes is twice as much as before, but for a fiftieth, and
/// so is what is made of it. A step for each pair of captions would be four times as much.
/// @param run Its work is counted; gives what it has made.
void expectLinear(const std::function<std::size_t(std::size_t)>& run) {
#ifdef QLX_SANITIZED
    GTEST_SKIP() << "the sanitizers count none";
#endif
    std::array<Work, 3> works;
    for (std::size_t index = 0; index < works.size(); ++index) {
        works[index] = workOf([&] { return run(kFewest << index); });
    }
    const auto& [one, two, four] = works;
    EXPECT_GT(one.steps, kFewest);
    EXPECT_GE(one.items, kFewest);
    for (const auto part : {&Work::steps, &Work::allocations, &Work::items}) {
        const std::uint64_t first = two.*part - one.*part;
        const std::uint64_t second = four.*part - two.*part;
        EXPECT_GE(two.*part, one.*part);
        // Some that are taken once more, as rooms grow.
        EXPECT_LE(second, 2 * first + first / 10 + 8)
            << one.*part << ", " << two.*part << ", " << four.*part << " of part " << (part == &Work::steps);
    }
}

/// Two rows of 20 letters, in white and in italics.
template <class Row>
std::vector<Row> twoRows() {
    qlx::screen::Cell italics;
    italics.isItalic = true;
    return {{14, 4, cellsOf(U"And so it goes, \u00E0 la")}, {15, 4, cellsOf(U"carte \u266A or else \u00C9", italics)}};
}

line21::Caption captionOf(std::size_t number, std::uint64_t apart, line21::CaptionStyle style) {
    const std::uint64_t start = 60 + apart * number;
    return {.start = start,
            .end = start + apart * 3 / 4 + 1,
            .channel = number % 2 == 0 ? line21::kCC1 : line21::kCC2,
            .style = style,
            .rows = twoRows<line21::CaptionRow>()};
}

services::Caption serviceCaptionOf(std::size_t number, std::uint64_t apart, services::CaptionStyle style) {
    const std::uint64_t start = 60 + apart * number;
    return {.start = start,
            .end = start + apart * 3 / 4 + 1,
            .service = static_cast<std::uint8_t>(1 + number % 3),
            .style = style,
            .rows = twoRows<services::CaptionRow>()};
}

/// All pairs of both fields that are no nulls. Captions are added as the writer comes to them, or all in front of it.
template <class Take>
std::size_t write(line21::Writer& writer, std::size_t count, std::uint64_t apart, line21::CaptionStyle style,
                  bool addsAll, const Take& take) {
    std::size_t added = 0;
    std::size_t pairs = 0;
    while (added < count || !writer.isDone()) {
        while (added < count && (addsAll || 60 + apart * added < writer.frame() + 2 * apart + 120)) {
            (void)writer.add(captionOf(added++, apart, style));
        }
        const line21::FramePairs frame = writer.next();
        for (const auto& pair : {frame.field1, frame.field2}) {
            if (pair) {
                pairs += *pair == line21::kNullPair ? 0 : 1;
                take(*pair);
            }
        }
    }
    return pairs;
}

std::size_t pairsOf(std::size_t count, std::uint64_t apart, line21::CaptionStyle style, bool addsAll) {
    line21::Writer writer(FrameRate::Fps2997);
    return write(writer, count, apart, style, addsAll, [](const line21::Pair&) {});
}

constexpr std::array kStyles{line21::CaptionStyle::PopOn, line21::CaptionStyle::RollUp, line21::CaptionStyle::PaintOn};
constexpr std::array kServiceStyles{services::CaptionStyle::PopOn, services::CaptionStyle::RollUp,
                                    services::CaptionStyle::PaintOn};

// 70 pairs each: that many frames and more between two of a channel let all be on time, and with fewer they are later and
// later.
TEST(WorkOfLine21, OfTheWriterIsLinear) {
    for (const line21::CaptionStyle style : kStyles) {
        for (const std::uint64_t apart : {std::uint64_t{100}, std::uint64_t{5}}) {
            for (const bool addsAll : {false, true}) {
                SCOPED_TRACE(std::to_string(static_cast<int>(style)) + " " + std::to_string(apart) + " " +
                             std::to_string(static_cast<int>(addsAll)));
                expectLinear([&](std::size_t count) { return pairsOf(count, apart, style, addsAll); });
            }
        }
    }
}

TEST(WorkOfLine21, OfTheWriterIsLinearInExtendedDataAndText) {
    expectLinear([](std::size_t count) {
        line21::Writer writer(FrameRate::Fps2997);
        std::vector<line21::XdsPacket> packets(8);
        for (line21::XdsPacket& packet : packets) {
            packet.xdsClass = line21::XdsClass::Current;
            packet.type = 3;
            const std::array<std::uint8_t, 4> name{'N', 'e', 'w', 's'};
            (void)packet.bytes.append(name);
        }
        writer.setXds(packets, 1);
        for (std::size_t number = 0; number < count; ++number) {
            writer.addText({.start = 10 * number, .channel = line21::kT3, .rows = twoRows<line21::CaptionRow>()});
        }
        std::size_t pairs = 0;
        while (!writer.isDone() || writer.waiting(line21::kT3) > 0) {
            const line21::FramePairs frame = writer.next();
            pairs += frame.field2 && *frame.field2 != line21::kNullPair ? 1 : 0;
        }
        return pairs;
    });
}

TEST(WorkOfLine21, OfTheReaderIsLinear) {
    for (const line21::CaptionStyle style : kStyles) {
        expectLinear([style](std::size_t count) {
            line21::Writer writer(FrameRate::Fps2997);
            line21::Receiver receiver(line21::kCC1);
            std::size_t read = 0;
            (void)write(writer, count, 100, style, false, [&](const line21::Pair& pair) {
                ++read;
                (void)receiver.receive(pair.first, pair.second);
            });
            return read;
        });
    }
}

// Each code of both bytes, in every mode, as often as there are captions: none makes the next one dearer.
TEST(WorkOfLine21, OfTheReaderIsLinearInEveryCode) {
    for (const unsigned mode : {0x20U, 0x25U, 0x27U, 0x29U, 0x2AU}) {
        expectLinear([mode](std::size_t count) {
            line21::Receiver receiver(mode == 0x2A ? line21::kT1 : line21::kCC1);
            const auto receive = [&](unsigned first, unsigned second) {
                (void)receiver.receive(qlx::withOddParity(first), qlx::withOddParity(second));
            };
            receive(0x14, mode);
            std::size_t read = 0;
            for (std::size_t round = 0; round < count / 16; ++round) {
                for (unsigned first = 0x10; first < 0x24; ++first) {
                    for (unsigned second = 0x20; second < 0x80; second += 3, ++read) {
                        receive(first, second);
                    }
                }
                receive(0x14, mode);
            }
            return read;
        });
    }
}

// Packets that are begun and gone on with in turn, and never ended, or ended with a wrong checksum.
TEST(WorkOfLine21, OfTheReaderOfExtendedDataIsLinear) {
    for (const bool ends : {false, true}) {
        expectLinear([ends](std::size_t count) {
            line21::XdsReader reader;
            std::size_t read = 0;
            for (unsigned number = 0; number < count; ++number) {
                for (const auto& [first, second] :
                     {std::pair(1 + 2 * (number % 7), 1 + number % 100), std::pair(0x41U, 0x42U),
                      std::pair(2 + 2 * (number % 5), 1 + number % 90), std::pair(0x43U, 0x44U),
                      std::pair(ends ? 0x0FU : 0x45U, 0x20U)}) {
                    (void)reader.receive(qlx::withOddParity(first), qlx::withOddParity(second));
                    ++read;
                }
            }
            return read;
        });
    }
}

template <class Take>
std::size_t write(services::Writer& writer, std::size_t count, std::uint64_t apart, services::CaptionStyle style,
                  bool addsAll, const Take& take) {
    std::size_t added = 0;
    std::size_t triplets = 0;
    while (added < count || !writer.isDone()) {
        while (added < count && (addsAll || 60 + apart * added < writer.frame() + 2 * apart + 120)) {
            (void)writer.add(serviceCaptionOf(added++, apart, style));
        }
        for (const qlx::cc::Triplet& triplet : writer.next()) {
            ++triplets;
            take(triplet);
        }
    }
    return triplets;
}

// 80 bytes each and more: 11 triplets a frame take four frames.
TEST(WorkOfServices, OfTheWriterIsLinear) {
    for (const services::CaptionStyle style : kServiceStyles) {
        for (const std::uint64_t apart : {std::uint64_t{50}, std::uint64_t{1}}) {
            for (const bool addsAll : {false, true}) {
                SCOPED_TRACE(std::to_string(static_cast<int>(style)) + " " + std::to_string(apart) + " " +
                             std::to_string(static_cast<int>(addsAll)));
                expectLinear([&](std::size_t count) {
                    services::Writer writer(FrameRate::Fps50);
                    return write(writer, count, apart, style, addsAll, [](const qlx::cc::Triplet&) {});
                });
            }
        }
    }
}

TEST(WorkOfServices, OfTheReaderIsLinear) {
    for (const services::CaptionStyle style : kServiceStyles) {
        expectLinear([style](std::size_t count) {
            services::Writer writer(FrameRate::Fps50);
            services::PacketReader packets;
            services::Receiver receiver(1);
            std::size_t read = 0;
            (void)write(writer, count, 50, style, false, [&](const qlx::cc::Triplet& triplet) {
                ++read;
                for (const services::ReceivedPacket& packet : packets.receive(triplet)) {
                    (void)receiver.receive(packet);
                }
            });
            return read;
        });
    }
}

// Each byte behind each other one, in windows with text, and delays in front of some, which frames end.
TEST(WorkOfServices, OfTheReaderIsLinearInEveryCommand) {
    expectLinear([](std::size_t count) {
        services::Receiver receiver(1);
        const std::array<std::uint8_t, 7> window{0x98, 0x38, 0x4A, 0x00, 0x0E, 0x29, 0x11};
        std::uint32_t state = 708;
        std::size_t read = 0;
        for (std::size_t number = 0; number < count; ++number) {
            (void)receiver.receive(window);
            std::array<std::uint8_t, 31> block{};
            for (std::uint8_t& byte : block) {
                state = state * 1'664'525U + 1'013'904'223U;
                byte = static_cast<std::uint8_t>(state >> 24U);
                ++read;
            }
            (void)receiver.receive(block);
            (void)receiver.nextFrame(FrameRate::Fps2997);
        }
        return read;
    });
}

}  // namespace
