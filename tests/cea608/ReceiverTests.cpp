// The receiver of a caption channel: its two memories, its styles, its control codes, and damage.
#include "FedReceiver.h"

namespace {

using namespace qlxtest;

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

// A colour, italics and black each end flashing (47 CFR 15.119 (h)(1)(iii); CTA-608-E, 6.2).
TEST(MidRow, EndsFlashing) {
    for (const auto& [first, second] :
         {std::pair(0x11U, 0x28U), std::pair(0x11U, 0x2EU), std::pair(0x17U, 0x2EU), std::pair(0x17U, 0x2FU)}) {
        FedReceiver receiver;
        receiver.resumeLoading().control(0x14, 0x60).control(0x14, 0x28).text("a ").control(first, second).text("b");
        receiver.endOfCaption();
        const std::size_t column = first == 0x17 ? 3 : 4;
        EXPECT_TRUE(receiver.cell(15, 1).isFlashing);
        EXPECT_EQ(receiver.cell(15, column).character, U'b');
        EXPECT_FALSE(receiver.cell(15, column).isFlashing) << first << " " << second;
    }
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
    EXPECT_EQ(receiver.findings(), Lines());
    // Field 1 has no extended data: of a pair that looks like it the first byte alone is passed over (47 CFR 15.119 (i)(1)).
    receiver.pair(odd(0x01), odd('x')).pair(odd(0x0F), 0x80).text("c").pair(odd('d'), odd(0x05));
    EXPECT_EQ(receiver.lines(), Lines{"  15   abxcd"});
    EXPECT_EQ(receiver.findings(),
              (Lines{"code 178 has no meaning", "code f00 has no meaning", "code 6405 has no meaning"}));
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
