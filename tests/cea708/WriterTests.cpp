// When the commands of captions are sent, and which they are.
#include <qlx/cc/slots.h>
#include <qlx/cea708/receiver.h>
#include <qlx/cea708/writer.h>

#include <gtest/gtest.h>

#include <array>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace qlx::cea708;
using qlx::FrameRate;
using qlx::screen::Cell;
using enum CaptionStyle;

using Texts = std::vector<std::string>;

/// White letters; `~` is a place through which the picture shows.
std::vector<Cell> lettersOf(std::u32string_view text) {
    std::vector<Cell> cells;
    for (const char32_t character : text) {
        cells.push_back({.character = character, .isVisible = character != U'~'});
    }
    return cells;
}

Caption serviceCaption(std::uint64_t start, std::uint64_t end, std::u32string_view text, std::uint8_t service = 1,
                       CaptionStyle style = PopOn) {
    return {.start = start,
            .end = end,
            .service = service,
            .style = style,
            .rows = {{15, columnOfLine21(0), lettersOf(text)}}};
}

std::string hexOf(std::span<const std::uint8_t> bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 15U];
    }
    return text;
}

struct SentPackets {
    std::string packets;  ///< A line a packet: frame, header, then each block.
    Texts findings;
};

SentPackets packetsOf(const std::vector<Caption>& captions, FrameRate rate = FrameRate::Fps2997,
                      const ServiceWriterOptions& options = {}) {
    Writer writer(rate, options);
    qlx::Findings findings;
    for (const Caption& caption : captions) {
        (void)writer.add(caption, &findings);
    }
    SentPackets sent;
    PacketReader reader;
    while (writer.frame() < 1000) {
        const std::uint64_t frame = writer.frame();
        for (const qlx::cc::Triplet& triplet : writer.next(&findings)) {
            for (const ReceivedPacket& received : reader.receive(triplet, &findings, frame)) {
                sent.packets += (sent.packets.empty() ? "" : "\n") + std::to_string(frame) + ":";
                for (const ServiceBlockView block : received.packet.blocks()) {
                    sent.packets += " " + std::to_string(block.service) + "/" + hexOf(block.data);
                }
            }
        }
    }
    EXPECT_TRUE(writer.isDone());
    for (const qlx::Finding& finding : findings) {
        sent.findings.push_back(std::to_string(finding.offset) + ": " + finding.text());
    }
    return sent;
}

// The window of "Hi" in row 15 at column 5: hidden, not to be resized, its lower left at line 74 and column 25, of one
// row and two columns, without a box; white, which is brighter than that of the style.
const std::string kHi = "98184a19600111913f0000486903";
const std::string kYo = "99184a19600111913f0000796f03";

TEST(PopOnServices, AreWrittenByteByByte) {
    Writer writer(FrameRate::Fps2997);
    ASSERT_TRUE(writer.add(serviceCaption(20, 40, U"Hi")));
    std::string text;
    while (!writer.isDone()) {
        for (const qlx::cc::Triplet& triplet : writer.next()) {
            text += hexOf(std::array<std::uint8_t, 3>{triplet.header, triplet.first, triplet.second}) + " ";
        }
    }
    // Three packets of 16, 4 and 4 bytes, numbered 0 to 2.
    EXPECT_EQ(text, "ff082e fe9818 fe4a19 fe6001 fe1191 fe3f00 fe0048 fe6903 ff4222 fe8901 ff8222 fe8c01 ");
    EXPECT_EQ(writer.frame(), 41U);
}

TEST(PopOnServices, AreLoadedWhileTheOneBeforeIsShown) {
    const SentPackets sent =
        packetsOf({serviceCaption(20, 40, U"Hi"), serviceCaption(60, 80, U"yo"), serviceCaption(80, 90, U"Hi")});
    EXPECT_EQ(sent.packets,
              "0: 1/" + kHi + "\n20: 1/8901" + kYo + "\n40: 1/8c01\n60: 1/8902" + kHi + "\n80: 1/8c028901\n90: 1/8c01");
    EXPECT_EQ(sent.findings, Texts());
}

TEST(PopOnServices, AreOnTimeWhenTheyFitToTheByte) {
    // Nine triplets a frame: packet header, block header, and 16 bytes, of which two show the window.
    SentPackets sent = packetsOf({serviceCaption(0, 40, U"Hi")}, FrameRate::Fps5994);
    EXPECT_EQ(sent.packets, "0: 1/" + kHi + "8901\n40: 1/8c01");
    EXPECT_EQ(sent.findings, Texts());
    sent = packetsOf({serviceCaption(0, 40, U"Hi!")}, FrameRate::Fps5994);
    EXPECT_EQ(sent.packets, "0: 1/98184a19600211913f000048692103\n1: 1/8901\n40: 1/8c01");
    EXPECT_EQ(sent.findings, Texts{"0: caption is shown 1 frame late"});
    // Behind the first one 4 bytes take its place: 16, 16 and 12 are left in frames 10 to 12.
    const auto next = [](std::size_t letters) {
        return packetsOf({serviceCaption(10, 12, U"Hi"), serviceCaption(12, 40, std::u32string(letters, U'a'))},
                         FrameRate::Fps60)
            .findings;
    };
    EXPECT_EQ(next(2 + 16 + 2), Texts());
    // A service with two header bytes has one byte less.
    EXPECT_EQ(packetsOf({serviceCaption(0, 40, U"H", 7)}, FrameRate::Fps5994).findings, Texts());
    EXPECT_EQ(packetsOf({serviceCaption(0, 40, U"Hi", 7)}, FrameRate::Fps5994).findings,
              Texts{"0: caption is shown 1 frame late"});
}

TEST(PopOnServices, ShareTheFrame) {
    // Two at once: what is due goes first; the one that begins earlier is loaded first.
    const SentPackets sent =
        packetsOf({serviceCaption(30, 40, U"Hi", 1), serviceCaption(20, 40, U"Hi", 63)}, FrameRate::Fps5994);
    EXPECT_EQ(sent.packets, "0: 63/" + kHi + "\n1: 1/" + kHi + "\n20: 63/8901\n30: 1/8901\n40: 1/8c01 63/8c01");
    EXPECT_EQ(sent.findings, Texts());
}

TEST(PopOnServices, AreLateWhenTooManyAreDue) {
    // A frame of 17 bytes holds the blocks of three services that show a window and of two headers more.
    std::vector<Caption> captions;
    for (std::uint8_t service = 1; service <= 6; ++service) {
        captions.push_back(serviceCaption(20, 40, U"Hi", service));
    }
    const SentPackets sent = packetsOf(captions, FrameRate::Fps50);
    EXPECT_EQ(sent.findings, Texts());
    EXPECT_EQ(packetsOf(captions, FrameRate::Fps5994).findings,
              (Texts{"5: caption is shown 1 frame late", "5: caption ends 1 frame late"}));
}

// What another one cuts stays for it, when that is late, and no longer than up to its own end.
TEST(PopOnServices, StayForALateOneThatCutsThemUpToTheirOwnEnd) {
    // From frame 20 on 16 bytes go out in each: the window of 37 letters, 50 bytes, is there in frame 23.
    const auto deletion = [](std::uint64_t end) {
        const SentPackets sent = packetsOf(
            {serviceCaption(20, end, U"Hi"), serviceCaption(21, 60, std::u32string(37, U'a'))}, FrameRate::Fps5994);
        const std::size_t place = sent.packets.find("8c01");
        return sent.packets.substr(sent.packets.rfind('\n', place) + 1, 3) + sent.packets.substr(place, 8) + " " +
               sent.findings[1] + ", " + sent.findings[2];
    };
    EXPECT_EQ(deletion(50), "23:8c018902 0: caption ends 2 frames late, 1: caption is shown 2 frames late");
    EXPECT_EQ(deletion(22).substr(0, 7), "22:8c01");
    EXPECT_EQ(deletion(22).substr(11), " 0: caption ends 1 frame late, 1: caption is shown 2 frames late");
}

/// A line a packet that shows or deletes windows: its frame, and what it does.
std::string turnsOf(const SentPackets& sent) {
    std::string text;
    std::istringstream lines(sent.packets);
    for (std::string line; std::getline(lines, line);) {
        std::string turns;
        for (const std::string_view turn : {"8c01", "8c02", "8901", "8902"}) {
            turns += line.find(turn) == std::string::npos ? "" : " " + std::string(turn);
        }
        text += turns.empty() ? "" : (text.empty() ? "" : ", ") + line.substr(0, line.find(':') + 1) + turns;
    }
    return text;
}

// 16 bytes a frame from frame 0 on: the window of 37 letters, 49 bytes, is shown in frame 3. Behind that 13 bytes are left
// there, and 16 in each frame, so that a second one of 37 letters is there in frame 6.
TEST(PopOnServices, ThatAreShownBehindTheirEndStayForTheirOwnLengthOrTheNextOne) {
    const auto sentOf = [](std::uint64_t end, std::uint64_t start, std::size_t letters) {
        std::vector<Caption> captions{serviceCaption(0, end, std::u32string(37, U'a'))};
        if (letters > 0) {
            captions.push_back(serviceCaption(start, 60, std::u32string(letters, U'a')));
        }
        return packetsOf(captions, FrameRate::Fps5994);
    };
    EXPECT_EQ(turnsOf(sentOf(3, 0, 0)), "3: 8901, 6: 8c01");
    EXPECT_EQ(sentOf(3, 0, 0).findings, (Texts{"0: caption is shown 3 frames late", "0: caption ends 3 frames late"}));
    EXPECT_EQ(turnsOf(sentOf(4, 0, 0)), "3: 8901, 4: 8c01");
    // One that begins before frame 5, in which the first one is over, takes its place, also when it is late.
    EXPECT_EQ(turnsOf(sentOf(2, 2, 37)), "3: 8901, 6: 8c01 8902, 60: 8c02");
    EXPECT_EQ(sentOf(2, 2, 37).findings, (Texts{"0: caption is shown 3 frames late", "0: caption ends 4 frames late",
                                                "1: caption is shown 4 frames late"}));
    EXPECT_EQ(turnsOf(sentOf(2, 4, 37)), "3: 8901, 6: 8c01 8902, 60: 8c02");
    EXPECT_EQ(turnsOf(sentOf(2, 5, 37)), "3: 8901, 5: 8c01, 6: 8902, 60: 8c02");
    EXPECT_EQ(turnsOf(sentOf(2, 30, 37)), "3: 8901, 5: 8c01, 30: 8902, 60: 8c02");
}

// Shown in frame 3, in time before its end. The second one cuts it to an end in front of that, and is loaded in frames 4
// to 7.
TEST(PopOnServices, StayForOneThatCutsThemAlsoWhereThatIsAddedLate) {
    Writer writer(FrameRate::Fps5994);
    const std::u32string letters(37, U'a');
    ASSERT_TRUE(writer.add(serviceCaption(0, 6, letters)));
    std::vector<std::pair<std::uint64_t, CaptionEvent>> events;
    while (!writer.isDone()) {
        const std::uint64_t frame = writer.frame();
        if (frame == 4) {
            ASSERT_TRUE(writer.add(serviceCaption(1, 60, letters)));
        }
        (void)writer.next();
        for (const CaptionEvent& event : writer.events()) {
            events.emplace_back(frame, event);
        }
    }
    using enum CaptionStep;
    EXPECT_EQ(
        events,
        (std::vector<std::pair<std::uint64_t, CaptionEvent>>{
            {0, {0, Begun}}, {3, {0, Shown}}, {4, {1, Begun}}, {7, {0, Ended}}, {7, {1, Shown}}, {60, {1, Ended}}}));
}

TEST(RollUpServices, ThatBeginBehindTheirEndStayForTheirOwnLength) {
    // 16 bytes a frame: 37 letters behind the definition, CR, pen and colour end in frame 13, where 6 bytes are left. The
    // next one is written in frames 14 and 15, and stays for three.
    const SentPackets sent = packetsOf(
        {serviceCaption(10, 11, std::u32string(37, U'a'), 1, RollUp), serviceCaption(11, 14, U"yo", 1, RollUp)},
        FrameRate::Fps5994);
    EXPECT_EQ(sent.packets.substr(sent.packets.rfind('\n') + 1), "17: 1/8c04");
    const std::string words = " frames late: it has not been on the screen in time as a whole";
    EXPECT_EQ(sent.findings, (Texts{"0: text of the caption is complete 3" + words, "1: caption is shown 3 frames late",
                                    "1: text of the caption is complete 2" + words, "1: caption ends 3 frames late"}));
}

TEST(Services, SayWhatBecomesOfThem) {
    Writer writer(FrameRate::Fps2997, {.firstFrame = 5});
    EXPECT_FALSE(writer.add(serviceCaption(5, kGreatestCaptionFrame + 1, U"a")));
    for (const std::uint64_t start : {20U, 30U}) {
        EXPECT_TRUE(writer.add(serviceCaption(start, start + 10, U"Hi")));
    }
    EXPECT_TRUE(writer.add(serviceCaption(33, 39, U"Hi", 1, RollUp)));
    std::string text;
    while (!writer.isDone()) {
        const std::uint64_t frame = writer.frame();
        (void)writer.next();
        for (const CaptionEvent& event : writer.events()) {
            constexpr std::array<std::string_view, 3> kSteps{"begun", "shown", "ended"};
            text += std::to_string(frame) + " " + std::to_string(event.number) + " ";
            text += kSteps[static_cast<std::size_t>(event.step)];
            text += "\n";
        }
    }
    EXPECT_EQ(text, "5 1 begun\n20 1 shown\n20 2 begun\n30 1 ended\n30 2 shown\n33 2 ended\n33 3 begun\n33 3 shown\n"
                    "39 3 ended\n");
}

TEST(Services, AreRefusedWhenTheirTimesAreWrong) {
    const SentPackets sent =
        packetsOf({serviceCaption(20, 20, U"a"), serviceCaption(20, 40, U"Hi"), serviceCaption(20, 50, U"c"),
                   serviceCaption(30, 50, U"~"), serviceCaption(30, 50, U"yo"), serviceCaption(30, 50, U"a", 64),
                   serviceCaption(30, 50, U"a", 0)});
    EXPECT_EQ(
        sent.findings,
        (Texts{"0: caption from frame 20 to 20 is left out: it has no duration, or does not begin behind the last one",
               "2: caption from frame 20 to 50 is left out: it has no duration, or does not begin behind the last one",
               "3: caption without text is left out",
               "4: caption begins at frame 30, before the one in front of it ends at 40",
               "5: caption is left out: there is no service 64", "6: caption is left out: there is no service 0"}));
    EXPECT_EQ(sent.packets, "0: 1/" + kHi + "\n20: 1/8901" + kYo + "\n30: 1/8c018902\n50: 1/8c02");
}

TEST(RollUpServices, AreWrittenFromTheirStartOn) {
    const auto rollUp = [](std::uint64_t start, std::uint64_t end, std::u32string_view text) {
        return serviceCaption(start, end, text, 1, RollUp);
    };
    // Window 2, shown, of two rows and 42 columns up to line 74; CR, row 1 column 5, pen, colour.
    const std::string begin = "9a384a00612929";
    const std::string text = "0d920105900500913f0000";
    const SentPackets sent = packetsOf({rollUp(10, 20, U"Hi"), rollUp(140, 200, U"yo"), rollUp(321, 330, U"!")});
    // Four seconds are 120 frames.
    EXPECT_EQ(sent.packets, "10: 1/" + begin + text + "486903\n140: 1/" + begin + text +
                                "796f03\n200: 1/8c04\n321: 1/" + begin + text + "2103\n330: 1/8c04");
    EXPECT_EQ(sent.findings, Texts());
    // Other rows begin with an empty window.
    Caption three = rollUp(30, 40, U"yo");
    three.rollUpRows = 3;
    EXPECT_EQ(packetsOf({rollUp(10, 20, U"Hi"), three}).packets,
              "10: 1/" + begin + text + "486903\n30: 1/8c049a384a006229290d920205900500913f0000796f03\n40: 1/8c04");
}

TEST(PaintOnServices, AreWrittenIntoAWindowThatIsShown) {
    const SentPackets sent =
        packetsOf({serviceCaption(10, 20, U"Hi", 2, PaintOn), serviceCaption(20, 30, U"yo", 2, PaintOn)});
    EXPECT_EQ(sent.packets, "10: 2/98384a19600111913f0000486903\n20: 2/8c0199384a19600111913f0000796f03\n30: 2/8c02");
    EXPECT_EQ(sent.findings, Texts());
}

TEST(PaintOnServices, SayWhenTheirTextIsCompleteTooLate) {
    // Nine triplets a frame, less the headers of packet and block: 16 bytes. The definition, the colours and 5 letters,
    // 16 letters; what is more comes in frame 12, in which the caption ends. The mark behind the text may.
    const auto findingsOf = [](std::size_t letters, std::uint64_t end) {
        return packetsOf({serviceCaption(10, end, std::u32string(letters, U'x'), 1, PaintOn)}, FrameRate::Fps5994)
            .findings;
    };
    const std::string words = " late: it has not been on the screen in time as a whole";
    EXPECT_EQ(findingsOf(21, 12), (Texts{"0: caption ends 1 frame late"}));
    EXPECT_EQ(findingsOf(22, 12),
              (Texts{"0: text of the caption is complete 1 frame" + words, "0: caption ends 1 frame late"}));
    EXPECT_EQ(findingsOf(22, 11),
              (Texts{"0: text of the caption is complete 2 frames" + words, "0: caption ends 2 frames late"}));
    EXPECT_EQ(findingsOf(22, 13), Texts{});
}

TEST(CaptionWindows, StandAtTheirAnchors) {
    // A row in the middle of line 21, and one of a single letter.
    for (const AspectRatio ratio : {AspectRatio::Wide, AspectRatio::Standard}) {
        for (unsigned point = 0; point < 9; ++point) {
            for (const std::size_t width : {1U, 6U, 31U}) {
                Caption caption;
                caption.anchor = static_cast<AnchorPoint>(point);
                caption.rows = {{3, columnOfLine21(1, ratio), lettersOf(std::u32string(width, U'a'))},
                                {6, columnOfLine21(1, ratio), lettersOf(U"b")}};
                std::vector<std::uint8_t> bytes;
                qlx::Findings findings;
                encodeCaption(caption, {.aspectRatio = ratio}, bytes, &findings);
                const auto command = parseCommand(bytes, &findings);
                ASSERT_TRUE(command);
                const auto& definition = std::get<DefineWindow>(command->command);
                EXPECT_EQ(definition.anchorPoint, caption.anchor);
                EXPECT_EQ(definition.rows, 4U);
                EXPECT_EQ(definition.columns, width);
                const std::size_t column = ratio == AspectRatio::Wide ? 6 : 1;
                EXPECT_EQ(placeOf(definition, ratio, &findings), (WindowPlace{2, column})) << point << " " << width;
                EXPECT_TRUE(findings.empty());
            }
        }
    }
}

/// Rows of letters, each in column 5.
Caption rowsOf(std::uint64_t start, std::uint64_t end, const std::vector<std::pair<std::uint8_t, std::u32string>>& rows,
               CaptionStyle style = CaptionStyle::PopOn) {
    Caption caption = serviceCaption(start, end, U"", 1, style);
    caption.rows.clear();
    for (const auto& [row, text] : rows) {
        caption.rows.push_back({row, 5, lettersOf(text)});
    }
    return caption;
}

// Text at the top and at the bottom is in two windows, which come and go together.
TEST(CaptionWindows, AreTwoForRowsFarFromOneAnother) {
    const Caption both = rowsOf(20, 40, {{1, U"Hi"}, {15, U"yo"}});
    // The upper left of the one at line 0, the lower left of the other at line 74.
    const std::string upper = "18001900011191"
                              "3f0000486903";
    const std::string lower = "184a1960011191"
                              "3f0000796f03";
    const std::string one = "98" + upper + "9b" + lower;
    const SentPackets sent =
        packetsOf({both, rowsOf(40, 60, {{1, U"Hi"}, {15, U"yo"}}), serviceCaption(60, 80, U"Hi")});
    EXPECT_EQ(sent.packets, "0: 1/" + one + "\n20: 1/890999" + upper + "9c" + lower + "\n40: 1/8c098912" + kHi +
                                "\n60: 1/8c128901\n80: 1/8c01");
    EXPECT_EQ(sent.findings, Texts());
    EXPECT_EQ(packetsOf({rowsOf(20, 40, {{1, U"Hi"}, {15, U"yo"}}, PaintOn)}).packets,
              "20: 1/9838" + upper.substr(2) + "9b38" + lower.substr(2) + "\n40: 1/8c09");
}

TEST(CaptionWindows, AreHeldWhereTheyStand) {
    struct Case {
        std::vector<std::uint8_t> rows;
        AnchorPoint anchor;
        std::string expected;  ///< Of each window its number, first row, rows, and anchor point.
    };
    const Case cases[] = {
        // Two blank rows do not part a caption, three do.
        {{12, 15}, AnchorPoint::LowerCenter, "0:11+4@7 "},
        {{11, 15}, AnchorPoint::LowerCenter, "0:10+1@7 3:14+1@7 "},
        {{1, 5}, AnchorPoint::LowerRight, "0:0+1@2 3:4+1@2 "},
        {{1, 2, 14, 15}, AnchorPoint::Center, "0:0+2@1 3:13+2@7 "},
        // At the widest gap, the lowest of equal ones; over the middle as the caption asks.
        {{1, 5, 10}, AnchorPoint::UpperLeft, "0:0+5@0 3:9+1@6 "},
        {{1, 8, 15}, AnchorPoint::MiddleLeft, "0:0+8@3 3:14+1@6 "},
    };
    for (const Case& one : cases) {
        Caption caption = rowsOf(0, 1, {});
        caption.anchor = one.anchor;
        for (const std::uint8_t row : one.rows) {
            caption.rows.push_back({row, 3, lettersOf(U"ab")});
        }
        std::vector<std::uint8_t> bytes;
        qlx::Findings findings;
        const std::uint8_t windows = encodeCaption(caption, {}, bytes, &findings);
        EXPECT_TRUE(findings.empty());
        Receiver receiver;
        (void)receiver.receive(bytes, &findings);
        EXPECT_TRUE(findings.empty()) << findings[0].text();
        std::string text;
        for (std::size_t number = 0; number < kWindows; ++number) {
            const Window& window = receiver.window(number);
            EXPECT_EQ(window.isDefined(), (windows >> number & 1U) != 0);
            if (window.isDefined()) {
                text += std::to_string(number) + ":" + std::to_string(window.place().row) + "+" +
                        std::to_string(window.rows()) + "@" +
                        std::to_string(static_cast<int>(window.definition().anchorPoint)) + " ";
            }
        }
        EXPECT_EQ(text, one.expected);
    }
    // Without a second window the first one has all rows.
    std::vector<std::uint8_t> bytes;
    EXPECT_EQ(encodeCaption(rowsOf(0, 1, {{1, U"a"}, {15, U"b"}}), {.window = 3}, bytes), 1U << 3U);
    Receiver receiver;
    (void)receiver.receive(bytes);
    EXPECT_EQ(receiver.window(3).rows(), 15U);
}

TEST(CaptionCommands, SayWhatTheyCannotSend) {
    const auto encoded = [](const Caption& caption, bool usesWideCharacters = false) {
        std::vector<std::uint8_t> bytes;
        qlx::Findings findings;
        encodeCaption(caption, {.usesWideCharacters = usesWideCharacters, .findingsOffset = 3}, bytes, &findings);
        SentPackets sent{hexOf(std::span(bytes).subspan(std::min<std::size_t>(bytes.size(), 11))), {}};
        for (const qlx::Finding& finding : findings) {
            EXPECT_EQ(finding.offset, 3U);
            sent.findings.push_back(finding.text());
        }
        return sent;
    };
    // G0, G1, G2 and G3 have these.
    SentPackets sent = encoded(serviceCaption(0, 1, U"a\u266A\u00E9\u2026\u33C4"));
    EXPECT_EQ(sent.packets, "617fe9102510a003");
    EXPECT_EQ(sent.findings, Texts());
    const std::u32string_view others = U"\u2014\u0142\u0416\U0001F3B5";
    sent = encoded(serviceCaption(0, 1, others));
    EXPECT_EQ(sent.packets, "2d6c3f7f03");
    EXPECT_EQ(sent.findings, (Texts{"character 2014 is sent as 2d", "character 142 is sent as 6c",
                                    "character 416 is sent as 3f", "character 1f3b5 is sent as 266a"}));
    sent = encoded(serviceCaption(0, 1, others), true);
    EXPECT_EQ(sent.packets, "182014180142180416"
                            "18d83c18dfb5"
                            "03");
    EXPECT_EQ(sent.findings, Texts());
    // Places and columns.
    Caption caption = serviceCaption(0, 1, std::u32string(44, U'a'));
    caption.rows.push_back({15, 41, lettersOf(U"~bc")});
    caption.rows[0].cells[1].isConcealed = true;
    caption.rows[0].cells[2].edge = static_cast<qlx::screen::Edge>(6);
    sent = encoded(caption);
    EXPECT_EQ(sent.findings,
              (Texts{"row is cut: 2 columns from row 15, column 42 on are left out",
                     "text of row 15, column 0 is shown at row 14, column 0",
                     "text of row 15, column 1 is shown at row 15, column 40",
                     "1 column from row 14, column 2 on have the usual style: there is none as it is asked for",
                     "1 column from row 14, column 1 on are sent as spaces: concealed, or second halves of letters"}));
}

}  // namespace
