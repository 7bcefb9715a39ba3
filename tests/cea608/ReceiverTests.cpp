// The receiver of a caption channel: its two memories, its styles, its control codes, and damage.
#include "ScreenLines.h"

#include <qlx/cea608/receiver.h>

#include <gtest/gtest.h>

#include <utility>

namespace {

using namespace qlx::cea608;
namespace screen = qlx::screen;
using Lines = std::vector<std::string>;

std::uint8_t odd(unsigned code) {
    return qlx::withOddParity(code);
}

/// A receiver that is fed with codes without parity.
class FedReceiver {
public:
    explicit FedReceiver(Channel channel = kCC1, const ReceiverOptions& options = {}) : _screen(channel, options) {}

    /// A control code, sent twice as broadcasters do.
    FedReceiver& control(unsigned first, unsigned second) {
        _wasChanged = _screen.receive(odd(first), odd(second), &_findings, 1);
        EXPECT_FALSE(_screen.receive(odd(first), odd(second), &_findings, 2));
        return *this;
    }

    /// A pair, sent once.
    FedReceiver& pair(std::uint8_t first, std::uint8_t second) {
        _wasChanged = _screen.receive(first, second, &_findings, 1);
        return *this;
    }

    FedReceiver& text(std::string text) {
        text.resize((text.size() + 1) / 2 * 2, '\0');
        for (std::size_t index = 0; index < text.size(); index += 2) {
            pair(odd(static_cast<unsigned char>(text[index])), odd(static_cast<unsigned char>(text[index + 1])));
        }
        return *this;
    }

    FedReceiver& resumeLoading() { return control(0x14, 0x20); }
    FedReceiver& endOfCaption() { return control(0x14, 0x2F); }

    FedReceiver& nulls(std::size_t count) {
        while (count-- > 0) {
            pair(0x80, 0x80);
        }
        return *this;
    }

    /// What was found since the last call.
    [[nodiscard]] Lines findings() {
        Lines texts;
        for (const qlx::Finding& finding : std::exchange(_findings, qlx::Findings())) {
            EXPECT_EQ(finding.offset, 1U);
            texts.push_back(finding.text());
        }
        return texts;
    }

    [[nodiscard]] bool wasChanged() const { return _wasChanged; }
    [[nodiscard]] screen::Screen screen() const { return _screen.screen(); }
    [[nodiscard]] Lines lines() const { return qlxtest::linesOf(screen()); }

    /// A cell by its column, counted from 0 without the margin.
    [[nodiscard]] screen::Cell cell(std::size_t row, std::size_t column) const {
        return screen().row(row - 1)[column + 1];
    }

private:
    Receiver _screen;
    qlx::Findings _findings;
    bool _wasChanged = false;
};

// Row 15, column 0, white: 0x14 0x60; row 14: 0x14 0x40; row 1: 0x11 0x40.

TEST(CaptionChannels, HaveNames) {
    EXPECT_EQ(channelNamed("CC1"), (Channel{1, 1}));
    EXPECT_EQ(channelNamed("cc2"), (Channel{1, 2}));
    EXPECT_EQ(channelNamed("CC3"), (Channel{2, 1}));
    EXPECT_EQ(channelNamed("Cc4"), (Channel{2, 2}));
    EXPECT_EQ(channelNamed("t3"), kT3);
    EXPECT_EQ(nameOf(kT4), "T4");
    EXPECT_FALSE(channelNamed("CC5"));
    EXPECT_FALSE(channelNamed(""));
    EXPECT_EQ(nameOf(Channel{2, 2}), "CC4");
}

TEST(PopOn, AppearsWithEndOfCaption) {
    FedReceiver receiver;
    receiver.resumeLoading().control(0x14, 0x2E).control(0x14, 0x60).text("One");
    EXPECT_FALSE(receiver.wasChanged());
    EXPECT_EQ(receiver.lines(), Lines());
    receiver.endOfCaption();
    EXPECT_TRUE(receiver.wasChanged());
    EXPECT_EQ(receiver.lines(), Lines{"  15   One"});
    // The next one is loaded while this one is shown.
    receiver.resumeLoading().control(0x14, 0x2E).control(0x14, 0x40).text("Two");
    EXPECT_EQ(receiver.lines(), Lines{"  15   One"});
    receiver.endOfCaption();
    EXPECT_EQ(receiver.lines(), Lines{"  14   Two"});
    // Without erasing, the memory that was shown before is there again.
    receiver.endOfCaption();
    EXPECT_EQ(receiver.lines(), Lines{"  15   One"});
    receiver.control(0x14, 0x2C);
    EXPECT_TRUE(receiver.wasChanged());
    EXPECT_EQ(receiver.lines(), Lines());
    receiver.control(0x14, 0x2E).endOfCaption();
    EXPECT_EQ(receiver.lines(), Lines());
}

TEST(PopOn, ShowsWhatThisSystemSends) {
    // Resume caption loading, erase, resume; rows 12 and 13; erase displayed memory, end of caption.
    FedReceiver receiver;
    receiver.pair(0x94, 0x20).pair(0x94, 0xAE).pair(0x94, 0x20);
    receiver.pair(0x13, 0x40).text("First row").pair(0x13, 0xE0).text("Second");
    receiver.pair(0x94, 0x2C).pair(0x94, 0x2F);
    EXPECT_EQ(receiver.lines(), (Lines{"  12   First row", "  13   Second"}));
}

TEST(Preamble, SetsRowColumnAndStyle) {
    // First byte, and 0x00 or 0x20 for the second, of the rows 1 to 15 (47 CFR 15.119).
    constexpr std::array<std::array<unsigned, 2>, 15> kRows{{{0x11, 0x40},
                                                             {0x11, 0x60},
                                                             {0x12, 0x40},
                                                             {0x12, 0x60},
                                                             {0x15, 0x40},
                                                             {0x15, 0x60},
                                                             {0x16, 0x40},
                                                             {0x16, 0x60},
                                                             {0x17, 0x40},
                                                             {0x17, 0x60},
                                                             {0x10, 0x40},
                                                             {0x13, 0x40},
                                                             {0x13, 0x60},
                                                             {0x14, 0x40},
                                                             {0x14, 0x60}}};
    FedReceiver receiver;
    receiver.resumeLoading();
    Lines expected;
    for (std::size_t row = 0; row < kRows.size(); ++row) {
        // Indents of 0, 4 .. 28 columns: 0x10, 0x12 .. 0x1E.
        receiver.control(kRows[row][0], kRows[row][1] | 0x10U | static_cast<unsigned>(row % 8) << 1U).text("x");
        const std::string number = std::to_string(row + 1);
        expected.push_back(std::string(4 - number.size(), ' ') + number + "  " + std::string(1 + row % 8 * 4, ' ') +
                           "x");
    }
    // There is no second row to 0x10.
    receiver.control(0x10, 0x60).endOfCaption();
    EXPECT_EQ(receiver.lines(), expected);
    using enum screen::Color;
    constexpr std::array<screen::Color, 7> kColours{White, Green, Blue, Cyan, Red, Yellow, Magenta};
    for (unsigned style = 0; style < 8; ++style) {
        FedReceiver styled;
        styled.resumeLoading().control(0x11, 0x40 | style << 1U | 1U).text("x").endOfCaption();
        EXPECT_EQ(styled.cell(1, 0).foreground, style < 7 ? kColours[style] : White);
        EXPECT_EQ(styled.cell(1, 0).isItalic, style == 7);
        EXPECT_TRUE(styled.cell(1, 0).isUnderlined);
    }
}

TEST(MidRow, TakesASpaceAndChangesTheStyle) {
    FedReceiver receiver;
    receiver.resumeLoading().control(0x14, 0x60).text("a").control(0x11, 0x28).text("b");
    receiver.control(0x11, 0x2F).text("c").control(0x11, 0x20).text("d").control(0x14, 0x28).text("e");
    receiver.endOfCaption();
    EXPECT_EQ(receiver.lines(), Lines{"  15   a b c d e"});
    EXPECT_EQ(receiver.cell(15, 0).foreground, screen::Color::White);
    EXPECT_EQ(receiver.cell(15, 2).foreground, screen::Color::Red);
    EXPECT_FALSE(receiver.cell(15, 2).isItalic);
    // Italics leave the colour, a colour ends italics.
    EXPECT_EQ(receiver.cell(15, 4).foreground, screen::Color::Red);
    EXPECT_TRUE(receiver.cell(15, 4).isItalic);
    EXPECT_TRUE(receiver.cell(15, 4).isUnderlined);
    EXPECT_EQ(receiver.cell(15, 6).foreground, screen::Color::White);
    EXPECT_FALSE(receiver.cell(15, 6).isItalic);
    EXPECT_FALSE(receiver.cell(15, 6).isFlashing);
    EXPECT_TRUE(receiver.cell(15, 8).isFlashing);
}

TEST(Background, TakesThePlaceOfASpace) {
    FedReceiver receiver;
    // Blue (2 x 2), then black characters underlined (0x17 0x2F).
    receiver.resumeLoading()
        .control(0x14, 0x60)
        .text("a ")
        .control(0x10, 0x24)
        .text("b ")
        .control(0x17, 0x2F)
        .text("c");
    receiver.endOfCaption();
    EXPECT_EQ(receiver.lines(), Lines{"  15   a b c"});
    EXPECT_EQ(receiver.cell(15, 0).background, screen::Color::Black);
    EXPECT_EQ(receiver.cell(15, 1).background, screen::Color::Blue);
    EXPECT_EQ(receiver.cell(15, 4).background, screen::Color::Blue);
    EXPECT_EQ(receiver.cell(15, 4).foreground, screen::Color::Black);
    EXPECT_TRUE(receiver.cell(15, 4).isUnderlined);
}

TEST(Characters, ComeFromAllSets) {
    FedReceiver receiver;
    // Basic: 0x2A is a acute, 0x5C e acute, 0x7F the block. Special: 0x11 0x38 is a grave, 0x39 a transparent space.
    receiver.resumeLoading().control(0x14, 0x60).text("*\\\x7F").control(0x11, 0x38).control(0x11, 0x39).text("z");
    // Extended ones take the place of the character before: 0x12 0x30 is A grave, 0x13 0x34 sharp s.
    receiver.control(0x14, 0x40).text("A").control(0x12, 0x30).text("ss").control(0x13, 0x34).endOfCaption();
    EXPECT_EQ(receiver.lines(), (Lines{"  14   Àsß", "  15   áé█à z"}));
    EXPECT_TRUE(receiver.cell(15, 3).isVisible);
    // A solid space stands on both sides of text, also where the transparent one is.
    EXPECT_TRUE(receiver.cell(15, 4).isVisible);
    EXPECT_EQ(receiver.cell(15, 4).character, U' ');
    EXPECT_FALSE(receiver.cell(15, 7).isVisible);
}

TEST(Characters, AreThoseOfAScreen) {
    FedReceiver receiver;
    receiver.control(0x14, 0x29).control(0x14, 0x60).control(0x11, 0x37);
    // Each takes the place of the letter that is sent before it for receivers that do not know it.
    for (const unsigned code : {0x26U, 0x29U, 0x2AU, 0x2EU, 0x2FU}) {
        receiver.text("x").control(0x12, code);
    }
    for (const unsigned code : {0x36U, 0x3CU, 0x3DU, 0x3EU, 0x3FU}) {
        receiver.text("x").control(0x13, code);
    }
    EXPECT_EQ(receiver.lines(), Lines{"  15   ♪‘'—“”¤┌┐└┘"});
}

TEST(Cursor, MovesWithTabsAndBackspace) {
    FedReceiver receiver;
    receiver.resumeLoading().control(0x14, 0x60).control(0x17, 0x21).text("a").control(0x17, 0x22).text("b");
    receiver.control(0x17, 0x23).text("c").control(0x14, 0x21).text("d").endOfCaption();
    EXPECT_EQ(receiver.lines(), Lines{"  15    a  b   d"});
    // Delete to end of row erases from the cursor on; in column 0 a backspace does nothing.
    receiver.resumeLoading().control(0x14, 0x2E).control(0x14, 0x60).control(0x14, 0x21).text("abcdef");
    receiver.control(0x14, 0x60).control(0x17, 0x22).control(0x14, 0x24).endOfCaption();
    EXPECT_EQ(receiver.lines(), Lines{"  15   ab"});
}

TEST(Cursor, StaysInTheLastColumn) {
    FedReceiver receiver;
    // Indent 28, four characters, and more of them.
    receiver.resumeLoading().control(0x14, 0x7E).text("abcdef").endOfCaption();
    EXPECT_EQ(receiver.lines(), Lines{"  15  " + std::string(29, ' ') + "abcf"});
    receiver.resumeLoading().control(0x14, 0x2E).control(0x14, 0x7E).text("abcd").control(0x14, 0x21).text("x");
    receiver.control(0x12, 0x21).endOfCaption();
    EXPECT_EQ(receiver.lines(), Lines{"  15  " + std::string(29, ' ') + "abcÉ"});
    receiver.resumeLoading().control(0x14, 0x2E).control(0x14, 0x7E).control(0x17, 0x23).control(0x17, 0x23).text("a");
    receiver.endOfCaption();
    EXPECT_EQ(receiver.lines(), Lines{"  15  " + std::string(32, ' ') + "a"});
}

TEST(PaintOn, AppearsAtOnce) {
    FedReceiver receiver;
    receiver.control(0x14, 0x29).control(0x14, 0x60).text("ab");
    EXPECT_TRUE(receiver.wasChanged());
    EXPECT_EQ(receiver.lines(), Lines{"  15   ab"});
    receiver.control(0x14, 0x40).text("cd").control(0x14, 0x21);
    EXPECT_EQ(receiver.lines(), (Lines{"  14   c", "  15   ab"}));
    // A carriage return is for roll-up captions only.
    receiver.control(0x14, 0x2D);
    EXPECT_FALSE(receiver.wasChanged());
    EXPECT_EQ(receiver.lines(), (Lines{"  14   c", "  15   ab"}));
}

TEST(RollUp, MovesItsRows) {
    FedReceiver receiver;
    receiver.resumeLoading().control(0x11, 0x40).text("pop").endOfCaption();
    // Two rows: the caption of another kind goes away.
    receiver.control(0x14, 0x25);
    EXPECT_EQ(receiver.lines(), Lines());
    receiver.control(0x14, 0x2D).control(0x14, 0x60).text("one");
    EXPECT_EQ(receiver.lines(), Lines{"  15   one"});
    receiver.control(0x14, 0x2D).text("two");
    EXPECT_EQ(receiver.lines(), (Lines{"  14   one", "  15   two"}));
    receiver.control(0x14, 0x2D).text("three");
    EXPECT_EQ(receiver.lines(), (Lines{"  14   two", "  15   three"}));
    // Three rows from now on.
    receiver.control(0x14, 0x26).control(0x14, 0x2D).text("four");
    EXPECT_EQ(receiver.lines(), (Lines{"  13   two", "  14   three", "  15   four"}));
    // Another base row moves all of them: row 11.
    receiver.control(0x10, 0x40).text("FOUR");
    EXPECT_EQ(receiver.lines(), (Lines{"   9   two", "  10   three", "  11   FOUR"}));
    receiver.control(0x14, 0x25);
    EXPECT_EQ(receiver.lines(), (Lines{"  10   three", "  11   FOUR"}));
    receiver.control(0x14, 0x2C).control(0x14, 0x2D).text("five");
    EXPECT_EQ(receiver.lines(), Lines{"  11   five"});
}

TEST(RollUp, StaysOnTheScreen) {
    FedReceiver receiver;
    receiver.control(0x14, 0x27);
    for (const char* const word : {"one", "two", "three", "four", "five"}) {
        receiver.control(0x14, 0x2D).text(word);
    }
    EXPECT_EQ(receiver.lines(), (Lines{"  12   two", "  13   three", "  14   four", "  15   five"}));
    // Row 1 as base has no room for four.
    receiver.control(0x11, 0x40).text("FIVE");
    EXPECT_EQ(receiver.lines(), (Lines{"   1   two", "   2   three", "   3   four", "   4   FIVE"}));
}

TEST(RollUp, MovesDownWhenMoreRowsNeedRoom) {
    FedReceiver receiver;
    // Two rows whose lowest is row 2; four rows need row 4.
    receiver.control(0x14, 0x25).control(0x14, 0x2D).control(0x11, 0x60).text("one").control(0x14, 0x2D).text("two");
    EXPECT_EQ(receiver.lines(), (Lines{"   1   one", "   2   two"}));
    receiver.control(0x14, 0x27);
    EXPECT_EQ(receiver.lines(), (Lines{"   3   one", "   4   two"}));
    receiver.control(0x14, 0x2D).text("three");
    EXPECT_EQ(receiver.lines(), (Lines{"   2   one", "   3   two", "   4   three"}));
}

TEST(ControlCode, CountsOnceWhenItComesTwice) {
    FedReceiver receiver;
    receiver.control(0x14, 0x29).control(0x14, 0x60);
    // Twice is once, three times are two.
    receiver.pair(odd(0x11), odd(0x37)).pair(odd(0x11), odd(0x37)).pair(odd(0x11), odd(0x37)).text("a");
    EXPECT_EQ(receiver.lines(), Lines{"  15   ♪♪a"});
    // With something in between it is another one.
    receiver.pair(odd(0x11), odd(0x37)).text("b").pair(odd(0x11), odd(0x37));
    EXPECT_EQ(receiver.lines(), Lines{"  15   ♪♪a♪b♪"});
}

TEST(ControlCode, IsNoRepetitionBehindAGap) {
    Receiver screen;
    for (const std::uint8_t code : {std::uint8_t{0x29}, std::uint8_t{0x60}}) {
        (void)screen.receive(odd(0x14), odd(code));
    }
    EXPECT_TRUE(screen.receive(odd(0x11), odd(0x37)));
    screen.expectNoRepetition();
    EXPECT_TRUE(screen.receive(odd(0x11), odd(0x37)));
    EXPECT_FALSE(screen.receive(odd(0x11), odd(0x37)));
    EXPECT_EQ(qlxtest::linesOf(screen.screen()), Lines{"  15   ♪♪"});
}

TEST(ControlCode, CountsOnceWithOneNullPairBetween) {
    // In departure from the standard, as real streams have it.
    FedReceiver receiver;
    receiver.control(0x14, 0x29).control(0x14, 0x60);
    const auto note = [&] { receiver.pair(odd(0x11), odd(0x37)); };
    note();
    receiver.nulls(1);
    note();
    EXPECT_EQ(receiver.lines(), Lines{"  15   ♪"});
    // A third one is new, and so is one behind two null pairs, of which a null may have no parity bits.
    note();
    receiver.nulls(1).pair(0x00, 0x00);
    note();
    EXPECT_EQ(receiver.lines(), Lines{"  15   ♪♪♪"});
    // Behind letters, and behind another code.
    receiver.nulls(1).text("a");
    note();
    receiver.control(0x11, 0x30);
    note();
    EXPECT_EQ(receiver.lines(), Lines{"  15   ♪♪♪a♪®♪"});
    EXPECT_EQ(receiver.findings(), Lines());
}

TEST(Background, InTheFirstColumnGivesWayTo32Letters) {
    FedReceiver receiver;
    // Blue behind a preamble takes the first column; 31 letters have room behind it.
    receiver.resumeLoading().control(0x14, 0x60).control(0x10, 0x24).text(std::string(31, 'a')).endOfCaption();
    EXPECT_EQ(receiver.lines(), Lines{"  15    " + std::string(31, 'a')});
    EXPECT_EQ(receiver.cell(15, 0).background, screen::Color::Blue);
    EXPECT_EQ(receiver.findings(), Lines());
    receiver.resumeLoading().control(0x14, 0x2E).control(0x14, 0x60).control(0x10, 0x24);
    receiver.text("b" + std::string(30, 'a') + "c").endOfCaption();
    EXPECT_EQ(receiver.lines(), Lines{"  15   b" + std::string(30, 'a') + "c"});
    EXPECT_EQ(receiver.findings(), Lines{"background code at row 15, column 0 takes no column"});
    // The 33rd letter takes the place of the last one, and so does the 32nd where the code has the place of a space.
    receiver.resumeLoading().control(0x14, 0x2E).control(0x14, 0x60).control(0x10, 0x24);
    receiver.text("b" + std::string(31, 'a') + "cc").endOfCaption();
    EXPECT_EQ(receiver.lines(), Lines{"  15   b" + std::string(30, 'a') + "c"});
    EXPECT_EQ(receiver.findings().size(), 3U);
    receiver.resumeLoading().control(0x14, 0x2E).control(0x14, 0x60).text(" ").control(0x10, 0x24);
    receiver.text(std::string(31, 'a') + "c").endOfCaption();
    EXPECT_EQ(receiver.lines(), Lines{"  15    " + std::string(30, 'a') + "c"});
    EXPECT_EQ(receiver.findings(), Lines{"letter at row 15, column 31 takes the place of 61"});
}

TEST(Stream, MayBeginInsideACaption) {
    FedReceiver receiver;
    receiver.text("lost").control(0x14, 0x60).text("one");
    EXPECT_EQ(receiver.lines(), Lines());
    EXPECT_EQ(receiver.findings(), Lines{"text at row 15, column 0 begins inside a caption: it is taken as one that is "
                                         "being loaded"});
    receiver.endOfCaption();
    EXPECT_EQ(receiver.lines(), Lines{"  15   one"});
    EXPECT_EQ(receiver.findings(), Lines());
    // Where a code says the mode before there is a letter, nothing is assumed.
    FedReceiver painted;
    painted.control(0x14, 0x60).control(0x14, 0x29).text("two");
    EXPECT_EQ(painted.lines(), Lines{"  15   two"});
    EXPECT_EQ(painted.findings(), Lines());
    // The other channel's preamble is none of this one's.
    FedReceiver other;
    other.control(0x1C, 0x60).text("x").control(0x14, 0x2F);
    EXPECT_EQ(other.lines(), Lines());
}

TEST(Parity, IsMissedOnce) {
    FedReceiver receiver;
    FedReceiver reading(kCC1, {.ignoresParity = true});
    // 14 29, 14 60, and 61 pairs of letters without parity bits; nulls say nothing.
    std::vector<Pair> pairs{{0x14, 0x29}, {0x14, 0x60}, {0, 0}};
    pairs.insert(pairs.end(), 61, {0x08, 0x41});
    pairs.push_back({'H', 'i'});
    for (const Pair& pair : pairs) {
        receiver.pair(pair.first, pair.second);
        reading.pair(pair.first, pair.second);
    }
    EXPECT_EQ(receiver.findings(), Lines{"no parity bit in 64 pairs"});
    receiver.pair('H', 'i');
    EXPECT_EQ(receiver.findings(), Lines());
    EXPECT_EQ(receiver.lines(), Lines());
    EXPECT_EQ(reading.lines(), Lines{"  15   Hi"});
    EXPECT_EQ(reading.findings(), Lines());
}

TEST(Text, HasAScreenOfItsOwn) {
    FedReceiver receiver(kT1);
    FedReceiver captions;
    for (FedReceiver* const one : {&receiver, &captions}) {
        // Captions, then text from its top on; of a preamble its indent and colour count, and not its row.
        one->control(0x14, 0x29).control(0x14, 0x60).text("cc").control(0x14, 0x2A).text("one");
        one->control(0x14, 0x2D).control(0x11, 0x52).text("two").control(0x14, 0x2D).control(0x11, 0x48).text("red");
        // Back to captions, whose codes do not touch the text, and once more to where it was.
        one->control(0x14, 0x29).text("!").control(0x14, 0x2C).control(0x14, 0x2E).control(0x14, 0x2B).text("?");
    }
    EXPECT_EQ(receiver.lines(), (Lines{"   1   one", "   2       two", "   3   red?"}));
    EXPECT_EQ(receiver.cell(3, 3).foreground, screen::Color::Red);
    EXPECT_EQ(captions.lines(), Lines());
    EXPECT_EQ(receiver.findings(), Lines());
    // The 16th row rolls up the first; TR begins anew.
    for (int row = 4; row <= 16; ++row) {
        receiver.control(0x14, 0x2D).text("x");
    }
    EXPECT_EQ(receiver.lines().front(), "   1       two");
    EXPECT_EQ(receiver.lines().back(), "  15   x");
    receiver.control(0x14, 0x2A);
    EXPECT_TRUE(receiver.wasChanged());
    EXPECT_EQ(receiver.lines(), Lines());
}

TEST(Damage, IsSaid) {
    FedReceiver receiver;
    receiver.control(0x14, 0x29).control(0x14, 0x60);
    receiver.pair(odd('a'), odd('b') ^ 0x80U).pair(odd(0x14), odd(0x2C) ^ 0x80U).pair(odd(0x16), odd(0x20));
    // 61 E2 with its bit turned, 2C the same; the other channel's damage is its own.
    receiver.pair(odd(0x1C), odd(0x2C) ^ 0x80U);
    EXPECT_EQ(receiver.findings(),
              (Lines{"wrong parity in pair 61e2", "wrong parity in pair 94ac", "code 1620 has no meaning"}));
}

TEST(Damage, IsShownOrIgnored) {
    FedReceiver receiver;
    receiver.control(0x14, 0x29).control(0x14, 0x60);
    // A character with a wrong parity bit is a block; null bytes show nothing, with or without parity.
    receiver.pair(odd('a'), odd('b') ^ 0x80U).pair(odd('c') ^ 0x80U, odd('d')).pair(0x80, 0x80).pair(0x00, 0x00);
    EXPECT_EQ(receiver.lines(), Lines{"  15   a██d"});
    // A control code whose second byte is wrong does nothing; its repetition counts.
    receiver.pair(odd(0x14), odd(0x2C) ^ 0x80U);
    EXPECT_FALSE(receiver.wasChanged());
    receiver.pair(odd(0x14), odd(0x2C));
    EXPECT_EQ(receiver.lines(), Lines());
    // Codes below 0x20 and codes without a meaning show nothing.
    receiver.text("\x01\x1F").pair(odd(0x16), odd(0x20)).pair(odd(0x14), odd(0x3F)).pair(odd(0x14), odd(0x10));
    EXPECT_EQ(receiver.lines(), Lines());
}

TEST(Damage, OfARepetitionIsIgnored) {
    FedReceiver receiver;
    receiver.control(0x14, 0x29).control(0x14, 0x60);
    // The first byte is wrong and the second is the one that is expected: nothing is shown, and nothing comes again.
    receiver.pair(odd(0x11), odd(0x37)).pair(odd(0x11) ^ 0x80U, odd(0x37)).text("a");
    EXPECT_EQ(receiver.lines(), Lines{"  15   ♪a"});
    receiver.pair(odd(0x11), odd(0x37)).pair(odd(0x11) ^ 0x80U, odd(0x37)).pair(odd(0x11), odd(0x37));
    EXPECT_EQ(receiver.lines(), Lines{"  15   ♪a♪♪"});
    // Another second byte is a character.
    receiver.text("b").pair(odd(0x11), odd(0x37)).pair(odd(0x11) ^ 0x80U, odd('8'));
    EXPECT_EQ(receiver.lines(), Lines{"  15   ♪a♪♪b♪█8"});
}

TEST(Channels, AreKeptApart) {
    FedReceiver first;
    FedReceiver second({1, 2});
    for (FedReceiver* const receiver : {&first, &second}) {
        EXPECT_EQ(receiver->lines(), Lines());
        // Characters before any code are for nobody.
        receiver->text("xx").control(0x14, 0x29).control(0x14, 0x60).text("one");
        receiver->control(0x1C, 0x29).control(0x1C, 0x60).text("two");
        receiver->control(0x14, 0x60).control(0x17, 0x23).text("!");
    }
    EXPECT_EQ(first.lines(), Lines{"  15   one!"});
    EXPECT_EQ(second.lines(), Lines{"  15   two"});
}

TEST(Channels, PassOverTextAndExtendedData) {
    FedReceiver receiver;
    receiver.control(0x14, 0x29).control(0x14, 0x60).text("a").control(0x14, 0x2B).text("text").control(0x14, 0x2D);
    receiver.control(0x14, 0x29).text("b");
    EXPECT_EQ(receiver.lines(), Lines{"  15   ab"});
    // Field 1 has no extended data; a pair that looks like it shows nothing, and what follows is text again.
    receiver.pair(odd(0x01), odd('x')).text("c");
    EXPECT_EQ(receiver.lines(), Lines{"  15   abc"});
    // Field 2: a packet (here a programme's name) begins with a class and a type, and ends with 0x0F and its checksum.
    FedReceiver other({2, 1});
    other.control(0x15, 0x29).control(0x14, 0x60).text("a").pair(odd(0x01), odd(0x03)).text("NAME");
    other.pair(odd(0x0F), odd(0x1D)).text("b").pair(odd(0x02), odd(0x03)).text("NAME").control(0x15, 0x29).text("c");
    EXPECT_EQ(other.lines(), Lines{"  15   abc"});
}

TEST(Background, MayLetThePictureThrough) {
    FedReceiver receiver;
    receiver.control(0x14, 0x29).control(0x14, 0x60).text("a ").control(0x10, 0x25).text("b ").control(0x17, 0x2D);
    receiver.text("c ").control(0x10, 0x24).text("d");
    using qlx::screen::Opacity;
    EXPECT_EQ(receiver.cell(15, 0).backgroundOpacity, Opacity::Solid);
    EXPECT_EQ(receiver.cell(15, 2).backgroundOpacity, Opacity::Translucent);
    EXPECT_EQ(receiver.cell(15, 2).background, screen::Color::Blue);
    EXPECT_EQ(receiver.cell(15, 4).backgroundOpacity, Opacity::Transparent);
    EXPECT_EQ(receiver.cell(15, 6).backgroundOpacity, Opacity::Solid);
    EXPECT_EQ(receiver.lines(), Lines{"  15   a b c d"});
}

}  // namespace
