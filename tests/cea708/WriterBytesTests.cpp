// What the writer of services sends, byte by byte and frame by frame, by the tables of CTA-708.
#include "ExactBuffer.h"

#include <qlx/cc/slots.h>
#include <qlx/cea708/caption.h>
#include <qlx/cea708/packet.h>
#include <qlx/cea708/writer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace qlx::cea708;
namespace screen = qlx::screen;
using qlx::FrameRate;
using qlxtest::toHex;

screen::Cell penLetter(char32_t character) {
    screen::Cell cell{.character = character, .foreground = kPenWhite};
    cell.isVisible = true;
    return cell;
}

// SPA 90h: text tag (4 bits), offset (2), size (2); italics, underline, edge (3), font (3). SPC 91h: opacity (2) and
// colour (6) of the letters, of what is behind them, and the colour of the edge.
TEST(ServicePens, AreTheBytesOfTheStandard) {
    Caption caption{.start = 0, .end = 1};
    std::vector<screen::Cell> cells{penLetter(U'a'), penLetter(U'b'), penLetter(U'c'), penLetter(U'd'),
                                    penLetter(U'e')};
    for (std::size_t index = 1; index < 4; ++index) {
        cells[index].isItalic = true;
        cells[index].isUnderlined = true;
    }
    for (std::size_t index = 2; index < 4; ++index) {
        cells[index].size = screen::FontSize::Large;
        cells[index].offset = screen::Offset::Subscript;
        cells[index].font = screen::Font::Cursive;
        cells[index].edge = screen::Edge::Raised;
    }
    cells[3].foreground = screen::Color::Yellow;
    cells[3].foregroundOpacity = screen::Opacity::Translucent;
    cells[3].background = screen::Color::Blue;
    cells[3].backgroundOpacity = screen::Opacity::Flash;
    cells[3].edgeColor = screen::Color::Red;
    caption.rows.push_back({15, 5, cells});
    std::vector<std::uint8_t> bytes;
    qlx::Findings findings;
    EXPECT_EQ(encodeCaption(caption, {}, bytes, &findings), 1U);
    EXPECT_TRUE(findings.empty()) << findings[0].text();
    // The first letter has the pen of style 1, white of two parts in three. Window 0 of five columns, style 2 and pen 1.
    EXPECT_EQ(toHex(bytes), "98184a19600411"
                            "61"
                            "9005c0"
                            "62"
                            "9002ce"
                            "63"
                            "91bc4330"
                            "64"
                            "900500"
                            "912a0000"
                            "6503");
}

// The white letters of a window: 7 bytes define it, 4 colour it; 37 letters and ETX. A packet has a byte as its header, a
// block another one and at most 31 bytes; DTVCC has 22, 18, 11 or 9 triplets of two bytes in a frame.
TEST(ServiceSchedule, FillsTheFramesOfEachRate) {
    struct Case {
        FrameRate rate;
        std::vector<std::vector<std::size_t>> blocks;  ///< Bytes of each block, by frame.
    };
    const std::vector<std::vector<std::size_t>> slow{{31, 10}, {8}};
    const std::vector<std::vector<std::size_t>> middle{{31, 2}, {16}};
    const std::vector<std::vector<std::size_t>> fast{{16}, {16}, {16}, {1}};
    const std::array cases{Case{FrameRate::Fps23976, slow}, Case{FrameRate::Fps24, slow},
                           Case{FrameRate::Fps25, slow},    Case{FrameRate::Fps2997, middle},
                           Case{FrameRate::Fps30, middle},  Case{FrameRate::Fps50, {{20}, {20}, {9}}},
                           Case{FrameRate::Fps5994, fast},  Case{FrameRate::Fps60, fast}};
    std::vector<screen::Cell> cells(37, penLetter(U'a'));
    for (screen::Cell& cell : cells) {
        cell.foreground = screen::Color::White;
    }
    for (const Case& one : cases) {
        Writer writer(one.rate);
        Caption caption{.start = 10, .end = 20};
        caption.rows.push_back({15, 0, cells});
        ASSERT_TRUE(writer.add(caption));
        PacketReader reader;
        std::vector<std::vector<std::size_t>> blocks;
        std::string bytes;
        for (std::uint64_t frame = 0; !writer.isDone(); ++frame) {
            for (const qlx::cc::Triplet& triplet : writer.next()) {
                for (const ReceivedPacket& received : reader.receive(triplet)) {
                    EXPECT_TRUE(frame < 10 || frame == 10 || frame == 20) << frame;
                    std::vector<std::size_t> sizes;
                    for (const ServiceBlockView block : received.packet.blocks()) {
                        sizes.push_back(block.data.size());
                        bytes += toHex(block.data);
                    }
                    if (frame < 10) {
                        EXPECT_EQ(blocks.size(), frame);
                        blocks.push_back(sizes);
                    } else {
                        EXPECT_EQ(sizes, std::vector<std::size_t>{2});
                    }
                }
            }
        }
        EXPECT_EQ(blocks, one.blocks);
        std::string letters;
        for (int count = 0; count < 37; ++count) {
            letters += "61";
        }
        // Shown and deleted in the frames of its times.
        EXPECT_EQ(bytes, "98184a00602411"
                         "913f0000" +
                             letters +
                             "03"
                             "8901"
                             "8c01");
    }
}

// A receiver takes 9600 bits a second from the channel. Were a service no faster than that, its buffer of 128 bytes would
// not be full at any rate, whatever is sent: one service, and four of them, as much as there is room for.
TEST(ServiceBuffers, AreNeverFull) {
    constexpr double kBytesASecond = 9600.0 / 8.0;
    constexpr double kBuffer = 128.0;
    for (const FrameRate rate : qlx::kFrameRates) {
        for (const unsigned services : {1U, 4U}) {
            std::mt19937 random(708U + services);
            Writer writer(rate);
            qlx::Findings findings(1'000'000);
            for (std::uint64_t start = 0; start < 4000; start += 1 + random() % 60) {
                for (std::uint8_t service = 1; service <= services; ++service) {
                    Caption caption{.start = start, .end = start + 1 + random() % 60, .service = service};
                    caption.style = static_cast<CaptionStyle>(random() % 3);
                    for (std::uint8_t row = 12; row <= 15; ++row) {
                        caption.rows.push_back({row, 0, std::vector<screen::Cell>(1 + random() % 42, penLetter(U'a'))});
                        caption.rows.back().cells[0].isItalic = random() % 2 == 0;
                    }
                    (void)writer.add(caption, &findings);
                }
            }
            const double drained = kBytesASecond / (static_cast<double>(qlx::nominalFramesPerSecond(rate)));
            std::array<double, 5> held{};
            double most = 0;
            PacketReader reader;
            while (!writer.isDone()) {
                for (double& one : held) {
                    one = std::max(0.0, one - drained);
                }
                for (const qlx::cc::Triplet& triplet : writer.next(&findings)) {
                    for (const ReceivedPacket& received : reader.receive(triplet)) {
                        for (const ServiceBlockView block : received.packet.blocks()) {
                            held.at(block.service) += static_cast<double>(block.data.size());
                            most = std::max(most, held.at(block.service));
                        }
                    }
                }
            }
            EXPECT_LT(most, kBuffer);
            // All that the slots of a frame can carry has been there.
            EXPECT_GE(most, 2.0 * static_cast<double>(qlx::cc::slotsOf(rate).greatestDtvcc) - 6);
        }
    }
}

}  // namespace
