// The receiver with streams as they come: repetitions, beginnings, damage, missing parity, and text mode.
#include "FedReceiver.h"

namespace {

using namespace qlxtest;

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
    EXPECT_EQ(receiver.findings(),
              (Lines{"text in front of the first code is passed over (first pair ecef)",
                     "text at row 15, column 0 begins inside a caption: it is taken as one that is "
                     "being loaded"}));
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

TEST(Stream, MayBeginWithTextInFrontOfAnyCode) {
    // "xxyy" in front of all codes of the field is of no channel: each says so once.
    const Lines told{"text in front of the first code is passed over (first pair f8f8)"};
    for (const Channel channel : {kCC1, kCC2, kCC3, kT1}) {
        FedReceiver receiver(channel);
        receiver.text("xxyy");
        EXPECT_EQ(receiver.findings(), told) << nameOf(channel);
        receiver.text("zz").nulls(3).text("zz");
        EXPECT_EQ(receiver.findings(), Lines());
        EXPECT_EQ(receiver.lines(), Lines());
    }
    // So is text behind a code that does not say what it is for (ENM), up to one that does.
    FedReceiver receiver;
    receiver.control(0x14, 0x2E).text("xx").text("yy");
    EXPECT_EQ(receiver.findings(), told);
    receiver.resumeLoading().text("one").endOfCaption();
    EXPECT_EQ(receiver.lines(), Lines{"  15   one"});
    EXPECT_EQ(receiver.findings(), Lines());
    // That of another channel is none of this one's, nor are extended data and damage.
    FedReceiver other;
    other.control(0x1C, 0x20).text("xx").control(0x14, 0x20).text("Hi");
    EXPECT_EQ(other.findings(), Lines());
    FedReceiver field2(kCC3);
    field2.pair(odd(0x01), odd(0x03)).text("Film");
    EXPECT_EQ(field2.findings(), Lines());
    FedReceiver damaged;
    damaged.pair(0x78, 0x79);
    EXPECT_EQ(damaged.findings(), Lines());
}

TEST(Parity, IsMissedOnce) {
    FedReceiver receiver;
    FedReceiver reading(kCC1, {.ignoresParity = true});
    // 14 29, 14 60, and 61 backspaces in column 1 without parity bits; nulls say nothing.
    std::vector<Pair> pairs{{0x14, 0x29}, {0x14, 0x60}, {0, 0}};
    pairs.insert(pairs.end(), 61, {0x14, 0x21});
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
    // Null pairs may have parity bits all the same; letters that have them bring it back.
    receiver.nulls(2).pair('H', 'i');
    EXPECT_EQ(receiver.findings(), Lines());
    receiver.resumeLoading().pair('A', 'B');
    EXPECT_EQ(receiver.findings(), Lines{"wrong parity in pair 4142"});
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

TEST(CaptionReceiver, SaysInWhichWaysTheScreenChanges) {
    constexpr screen::Change kWritten{.isWritten = true};
    constexpr screen::Change kRolled{.isRolled = true};
    constexpr screen::Change kReplaced{.isReplaced = true};
    FedReceiver receiver;
    EXPECT_EQ(receiver.resumeLoading().control(0x14, 0x70).text("ab").takeChange(), screen::Change());
    EXPECT_EQ(receiver.endOfCaption().takeChange(), kReplaced);
    // Roll-up erases it; then letters, a backspace, CR, a preamble of another row and of the same one, EDM.
    EXPECT_EQ(receiver.control(0x14, 0x25).takeChange(), kReplaced);
    EXPECT_EQ(receiver.text("ab").takeChange(), kWritten);
    EXPECT_EQ(receiver.control(0x14, 0x21).takeChange(), kWritten);
    EXPECT_EQ(receiver.control(0x14, 0x2D).takeChange(), kRolled);
    EXPECT_EQ(receiver.control(0x14, 0x50).takeChange(), kRolled);
    EXPECT_EQ(receiver.control(0x14, 0x50).control(0x14, 0x25).takeChange(), screen::Change());
    EXPECT_EQ(receiver.text("c").control(0x14, 0x2D).takeChange(),
              (screen::Change{.isWritten = true, .isRolled = true}));
    EXPECT_EQ(receiver.control(0x14, 0x2C).takeChange(), kReplaced);
    EXPECT_EQ(receiver.takeChange(), screen::Change());
}

}  // namespace
