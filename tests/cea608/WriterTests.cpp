// When the pairs of captions are sent.
#include "CaptionRows.h"

#include <qlx/cea608/writer.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace qlx::cea608;
using qlx::Finding;
using qlx::FindingCode;
using qlx::FrameRate;
using qlxtest::cellsOf;
using enum CaptionStyle;

Caption captionOf(std::uint64_t start, std::uint64_t end, std::u32string_view text, Channel channel = kCC1,
                  CaptionStyle style = PopOn) {
    return {.start = start, .end = end, .channel = channel, .style = style, .rows = {{15, 0, cellsOf(text)}}};
}

/// All pairs of a field that are no nulls: a line for each run of them, behind the number of the first one's frame.
std::string sent(Writer& writer, std::size_t field, std::uint64_t frames, qlx::Findings& findings) {
    std::string text;
    bool isBehindPair = false;
    while (writer.frame() < frames) {
        const std::uint64_t frame = writer.frame();
        const FramePairs pairs = writer.next(&findings);
        const auto& pair = field == 1 ? pairs.field1 : pairs.field2;
        if (!pair) {
            continue;
        }
        const bool isSent = *pair != kNullPair;
        if (isSent && !isBehindPair) {
            text += (text.empty() ? "" : "\n") + std::to_string(frame) + ":";
        }
        text += isSent ? " " + qlxtest::textOf(*pair) : "";
        isBehindPair = isSent;
    }
    return text;
}

struct Sent {
    std::string pairs;
    std::vector<std::string> findings;
};

Sent sentOf(const std::vector<Caption>& captions, std::size_t field = 1, FrameRate rate = FrameRate::Fps2997,
            bool doublesCodes = false) {
    Writer writer(rate, {.doublesCodes = doublesCodes});
    qlx::Findings findings;
    for (const Caption& caption : captions) {
        (void)writer.add(caption, &findings);
    }
    Sent result;
    result.pairs = sent(writer, field, 1000, findings);
    EXPECT_TRUE(writer.isDone());
    for (const Finding& finding : findings) {
        result.findings.push_back(std::to_string(finding.offset) + ": " + finding.text());
    }
    return result;
}

using Texts = std::vector<std::string>;

TEST(PopOnCaptions, AreLoadedWhileTheOneBeforeIsShown) {
    const Sent result = sentOf({captionOf(20, 40, U"Hi"), captionOf(60, 80, U"yo"), captionOf(80, 90, U"!")});
    EXPECT_EQ(result.pairs, "0: 1420 142e 1460 4869\n20: 142f 1420 142e 1460 796f\n40: 142c\n"
                            "60: 142f 1420 142e 1460 2100\n80: 142f\n90: 142c");
    EXPECT_EQ(result.findings, Texts());
}

TEST(PopOnCaptions, AreDoubled) {
    const Sent result = sentOf({captionOf(20, 40, U"Hi")}, 1, FrameRate::Fps30, true);
    EXPECT_EQ(result.pairs, "0: 1420 1420 142e 142e 1460 1460 4869\n20: 142f 142f\n40: 142c 142c");
}

TEST(PopOnCaptions, MoveToTheSlotsOfTheirField) {
    for (const FrameRate rate : {FrameRate::Fps50, FrameRate::Fps5994, FrameRate::Fps60}) {
        // Field 1 has the even frames, field 2 the odd ones.
        EXPECT_EQ(sentOf({captionOf(21, 40, U"Hi")}, 1, rate).pairs, "0: 1420 142e 1460 4869\n22: 142f\n40: 142c");
        EXPECT_EQ(sentOf({captionOf(20, 41, U"Hi", kCC3)}, 2, rate).pairs,
                  "1: 1520 152e 1460 4869\n21: 152f\n41: 152c");
    }
    for (const FrameRate rate : qlx::kFrameRates) {
        EXPECT_EQ(sentOf({captionOf(20, 40, U"Hi")}, 2, rate).pairs, "");
        EXPECT_EQ(sentOf({captionOf(20, 40, U"Hi")}, 1, rate).pairs.substr(23), "20: 142f\n40: 142c");
    }
}

TEST(PopOnCaptions, AreShownWhenTheyAreLoaded) {
    // Four pairs and an EDM do not fit between frames 21 and 24: EOC follows three frames late.
    Sent result = sentOf({captionOf(20, 22, U"Hi"), captionOf(23, 40, U"yo")});
    EXPECT_EQ(result.pairs, "0: 1420 142e 1460 4869\n20: 142f 1420 142c 142e 1460 796f 142f\n40: 142c");
    EXPECT_EQ(result.findings, Texts{"1: caption is shown 3 frames late, 3 pairs short"});
    // EDM stands on the end's slot also where the next one was to begin there, and is late.
    result = sentOf({captionOf(20, 22, U"Hi"), captionOf(22, 40, U"yo")});
    EXPECT_EQ(result.pairs, "0: 1420 142e 1460 4869\n20: 142f 1420 142c 142e 1460 796f 142f\n40: 142c");
    EXPECT_EQ(result.findings, Texts{"1: caption is shown 4 frames late, 4 pairs short"});
    result = sentOf({captionOf(2, 22, U"Hi")}, 1, FrameRate::Fps60);
    EXPECT_EQ(result.findings, Texts{"0: caption is shown 6 frames late, 3 pairs short"});
    // Just in time.
    result = sentOf({captionOf(20, 22, U"Hi"), captionOf(26, 40, U"yo")});
    EXPECT_EQ(result.findings, Texts());
    result = sentOf({captionOf(20, 25, U"Hi"), captionOf(25, 40, U"yo")});
    EXPECT_EQ(result.pairs, "0: 1420 142e 1460 4869\n20: 142f 1420 142e 1460 796f 142f\n40: 142c");
    EXPECT_EQ(result.findings, Texts());
}

TEST(PopOnCaptions, EndLateWhenTheyAreShownLate) {
    // 20 pairs, then EOC at frame 20 and EDM at 22: on the screen for the two frames asked for, both ends 20 late.
    const Sent result = sentOf({captionOf(0, 2, std::u32string(28, U'a'))}, 1, FrameRate::Fps2997, true);
    EXPECT_EQ(result.findings,
              (Texts{"0: caption is shown 20 frames late, 20 pairs short", "0: caption ends 20 frames late"}));
}

std::u32string lettersOf(std::size_t count) {
    return std::u32string(count, U'a');
}

/// The frames of a control code, with which of several it is.
std::string framesOf(const Sent& result, std::string_view code) {
    std::string text;
    std::uint64_t frame = 0;
    std::istringstream words(result.pairs);
    for (std::string word; words >> word;) {
        if (word.back() == ':') {
            frame = std::stoull(word);
            continue;
        }
        text += word == code ? (text.empty() ? "" : " ") + std::to_string(frame) : "";
        ++frame;
    }
    return text;
}

// 17 pairs, then EOC at frame 17: an end behind that counts from there on, as it did from the start.
TEST(PopOnCaptions, ThatAreShownBehindTheirEndStayForTheirOwnLength) {
    const auto alone = [](std::uint64_t end) { return sentOf({captionOf(0, end, lettersOf(28))}); };
    EXPECT_EQ(framesOf(alone(10), "142f"), "17");
    EXPECT_EQ(framesOf(alone(10), "142c"), "27");
    EXPECT_EQ(alone(10).findings,
              (Texts{"0: caption is shown 17 frames late, 17 pairs short", "0: caption ends 17 frames late"}));
    EXPECT_EQ(framesOf(alone(17), "142c"), "34");
    EXPECT_EQ(framesOf(alone(18), "142c"), "18");
    EXPECT_EQ(alone(18).findings, Texts{"0: caption is shown 17 frames late, 17 pairs short"});
}

TEST(PopOnCaptions, ThatAreShownBehindTheirEndStayUntilTheNextThatBeginsBeforeTheyAreOver) {
    const auto both = [](std::uint64_t start, std::size_t letters) {
        return sentOf({captionOf(0, 10, lettersOf(28)), captionOf(start, 200, lettersOf(letters))});
    };
    // Loaded behind the first one's EOC, with its own in frame 35: no EDM stands in the load. It lacks all of its pairs.
    Sent result = both(10, 28);
    EXPECT_EQ(framesOf(result, "142f"), "17 35");
    EXPECT_EQ(framesOf(result, "142c"), "200");
    EXPECT_EQ(result.findings,
              (Texts{"0: caption is shown 17 frames late, 17 pairs short", "0: caption ends 25 frames late",
                     "1: caption is shown 25 frames late, 17 pairs short"}));
    // The last one that begins before the first one is over, in frame 27, also where it is late.
    EXPECT_EQ(framesOf(both(26, 28), "142f") + ", " + framesOf(both(26, 28), "142c"), "17 35, 200");
    EXPECT_EQ(framesOf(both(26, 2), "142f") + ", " + framesOf(both(26, 2), "142c"), "17 26, 200");
    EXPECT_EQ(framesOf(both(27, 2), "142f") + ", " + framesOf(both(27, 2), "142c"), "17 27, 200");
    EXPECT_EQ(framesOf(both(27, 28), "142f") + ", " + framesOf(both(27, 28), "142c"), "17 36, 27 200");
    EXPECT_EQ(framesOf(both(28, 2), "142f") + ", " + framesOf(both(28, 2), "142c"), "17 28, 27 200");
    // One that is cut counts with its own length, and one that overlaps it takes its place.
    result = sentOf({captionOf(0, 15, lettersOf(28)), captionOf(8, 200, lettersOf(28))});
    EXPECT_EQ(framesOf(result, "142f") + ", " + framesOf(result, "142c"), "17 35, 200");
    // What rolls up takes its place too.
    result = sentOf({captionOf(0, 10, lettersOf(28)), captionOf(26, 200, U"yo", kCC1, RollUp)});
    EXPECT_EQ(framesOf(result, "142f") + ", " + framesOf(result, "1425") + ", " + framesOf(result, "142c"),
              "17, 26, 200");
    // In front of what is painted EDM is over as that begins.
    result = sentOf({captionOf(0, 10, lettersOf(28)), captionOf(26, 200, U"yo", kCC1, PaintOn)});
    EXPECT_EQ(framesOf(result, "142f") + ", " + framesOf(result, "1429") + ", " + framesOf(result, "142c"),
              "17, 26, 25 200");
}

// 20 pairs and EOC twice: the load of the second one begins in frame 22. Its second preamble is in the frames 30 and 31, of
// which the latter is that where the first one is over.
TEST(PopOnCaptions, LeaveNoPairUnusedForAnErasureThatIsNotSent) {
    Caption second = captionOf(10, 200, U"aaaa");
    second.rows.insert(second.rows.begin(), {14, 0, cellsOf(U"aaaa")});
    const Sent result = sentOf({captionOf(0, 11, lettersOf(28)), second}, 1, FrameRate::Fps2997, true);
    EXPECT_EQ(framesOf(result, "142f"), "20 21 34 35");
    EXPECT_EQ(framesOf(result, "142c"), "200 201");
}

// Seven pairs and EOC twice: the load of the second one begins in frame 9. It is nine pairs, of which the last three belong
// together, and there are eight in front of frame 17, where the first one ends: EOC follows at once behind the ninth.
TEST(PopOnCaptions, AreLoadedOverTheEndOfTheOneBeforeWhereTheyFollowItAtOnce) {
    const Sent result = sentOf({captionOf(0, 17, U"Hi"), captionOf(17, 200, U"\u00C0")}, 1, FrameRate::Fps2997, true);
    EXPECT_EQ(framesOf(result, "142f"), "7 8 18 19");
    EXPECT_EQ(framesOf(result, "142c"), "200 201");
    EXPECT_EQ(result.findings,
              (Texts{"0: caption is shown 7 frames late, 7 pairs short", "0: caption ends 1 frame late",
                     "1: caption is shown 1 frame late, 1 pair short"}));
}

// The row of CC1 ends in frame 10 and stays for the next one. Nine pairs of CC2, in pairs of two and one of three, stand
// behind its seven.
TEST(PopOnCaptions, LeaveNoPairUnusedForAnotherChannelThatIsNotErased) {
    const Sent result = sentOf({captionOf(0, 10, U"Hi", kCC1, RollUp), captionOf(40, 90, U"yo", kCC1, RollUp),
                                captionOf(16, 200, U"\u00C0", kCC2)},
                               1, FrameRate::Fps2997, true);
    EXPECT_EQ(framesOf(result, "1c2f"), "16 17");
    EXPECT_EQ(framesOf(result, "142c"), "90 91");
    EXPECT_EQ(result.findings, Texts());
}

// CC2 has nine pairs to load from frame 17 on, where its first one ends: that is erased, and CC1's row, whose code would
// take that frame, waits.
TEST(PopOnCaptions, AreErasedInTimeAlsoWhereAnotherChannelBegins) {
    const Sent result = sentOf(
        {captionOf(0, 17, U"Hi", kCC2), captionOf(17, 200, U"abcdef", kCC2), captionOf(16, 60, U"yo", kCC1, RollUp)}, 1,
        FrameRate::Fps2997, true);
    EXPECT_EQ(framesOf(result, "1c2c"), "17 18 200 201");
    EXPECT_TRUE(framesOf(result, "1425").starts_with("19 20")) << framesOf(result, "1425");
}

// The first one is shown in frame 17, in time before its end. The second one cuts it to an end in front of that, and is
// loaded in frames 20 to 55.
TEST(PopOnCaptions, StayForOneThatCutsThemAlsoWhereThatIsAddedLate) {
    Writer writer(FrameRate::Fps2997, {.doublesCodes = false});
    qlx::Findings findings;
    ASSERT_TRUE(writer.add(captionOf(0, 40, lettersOf(28)), &findings));
    Sent result{sent(writer, 1, 20, findings), {}};
    Caption second = captionOf(5, 200, lettersOf(32));
    second.rows.insert(second.rows.begin(), {14, 0, cellsOf(lettersOf(32))});
    ASSERT_TRUE(writer.add(second, &findings));
    result.pairs += "\n" + sent(writer, 1, 300, findings);
    EXPECT_EQ(framesOf(result, "142f"), "17 56");
    EXPECT_EQ(framesOf(result, "142c"), "200");
    ASSERT_EQ(findings.size(), 4U);
    EXPECT_EQ(findings[2].text(), "caption ends 51 frames late");
    EXPECT_EQ(findings[3].text(), "caption is shown 51 frames late, 36 pairs short");
}

TEST(WrittenCaptions, ThatBeginBehindTheirEndStayForTheirOwnLength) {
    // 19 pairs from frame 10 on: the second one begins in frame 29, and is over nine frames later.
    Sent result = sentOf({captionOf(10, 11, lettersOf(32), kCC1, RollUp), captionOf(11, 20, U"yo", kCC1, RollUp)});
    EXPECT_EQ(framesOf(result, "1425") + ", " + framesOf(result, "142c"), "10 29, 38");
    EXPECT_EQ(result.findings,
              (Texts{"1: caption is shown 18 frames late, 18 pairs short", "1: caption ends 18 frames late"}));
    // 18 pairs from frame 10 on, EDM, and RDC in frame 29.
    result = sentOf({captionOf(10, 11, lettersOf(32), kCC1, PaintOn), captionOf(11, 20, U"yo", kCC1, PaintOn)});
    EXPECT_EQ(framesOf(result, "1429") + ", " + framesOf(result, "142c"), "10 29, 28 38");
    EXPECT_EQ(result.findings,
              (Texts{"0: caption ends 17 frames late", "1: caption is shown 18 frames late, 18 pairs short",
                     "1: caption ends 18 frames late"}));
    // Rows roll on if the next one begins within four seconds behind the end that counts: frame 158.
    const auto second = [](std::uint64_t start) {
        return framesOf(sentOf({captionOf(10, 11, lettersOf(32), kCC1, RollUp), captionOf(11, 20, U"yo", kCC1, RollUp),
                                captionOf(start, 400, U"Hi", kCC1, RollUp)}),
                        "142c");
    };
    EXPECT_EQ(second(158), "400");
    EXPECT_EQ(second(159), "38 400");
}

// What another one cuts stays until that one is there: three frames late, as its four pairs go out behind EOC.
TEST(PopOnCaptions, StayUntilALateOneThatCutsThemIsShown) {
    const Sent result = sentOf({captionOf(20, 60, U"Hi"), captionOf(22, 40, U"yo")});
    EXPECT_EQ(result.pairs, "0: 1420 142e 1460 4869\n20: 142f 1420 142e 1460 796f 142f\n40: 142c");
    ASSERT_EQ(result.findings.size(), 3U);
    EXPECT_EQ(result.findings[1], "0: caption ends 3 frames late");
    EXPECT_EQ(result.findings[2], "1: caption is shown 3 frames late, 3 pairs short");
}

// But no longer than it was to be shown: EDM in frame 24, where one pair is still to come.
TEST(PopOnCaptions, AreErasedAtTheirOwnEndInFrontOfALateOneThatCutsThem) {
    const Sent result = sentOf({captionOf(20, 24, U"Hi"), captionOf(22, 40, U"yoyo")});
    EXPECT_EQ(result.pairs, "0: 1420 142e 1460 4869\n20: 142f 1420 142e 1460 142c 796f 796f 142f\n40: 142c");
    ASSERT_EQ(result.findings.size(), 3U);
    EXPECT_EQ(result.findings[1], "0: caption ends 2 frames late");
    EXPECT_EQ(result.findings[2], "1: caption is shown 5 frames late, 5 pairs short");
}

TEST(PopOnCaptions, AreNotErasedWhenTheNextFollowsAtOnce) {
    // Between frames 40 and 41 there is no room for both EDM.
    Sent result = sentOf({captionOf(20, 40, U"Hi"), captionOf(41, 60, U"yo")}, 1, FrameRate::Fps25, true);
    EXPECT_NE(result.pairs.find("796f\n41: 142f 142f\n60: 142c 142c"), std::string::npos) << result.pairs;
    EXPECT_EQ(result.findings, Texts{"0: caption ends 1 frame late"});
    result = sentOf({captionOf(20, 40, U"Hi"), captionOf(42, 60, U"yo")}, 1, FrameRate::Fps25, true);
    EXPECT_NE(result.pairs.find("40: 142c 142c 142f 142f\n60: 142c 142c"), std::string::npos) << result.pairs;
    EXPECT_EQ(result.findings, Texts());
}

TEST(PopOnCaptions, KeepJoinedPairsTogether) {
    // The pair of `A`, and its code twice, would reach into the EDM of frame 24 that is due while they are loaded.
    const Sent result = sentOf({captionOf(20, 29, U"Hi"), captionOf(60, 80, U"\u00C0")}, 1, FrameRate::Fps24, true);
    EXPECT_NE(result.pairs.find("20: 142f 142f 1420 1420 142e 142e 1460 1460\n29: 142c 142c 4100 1230 1230\n60:"),
              std::string::npos)
        << result.pairs;
}

/// What is sent from the EOC of a first caption on, which is shown from frame 20 to `end` and loaded before, and the
/// findings of the second one, which is loaded from frame 22 on (21 where codes are sent once).
Sent sentBehindEdm(std::u32string_view text, std::uint64_t end, std::uint64_t start, bool doublesCodes = true) {
    Sent result = sentOf({captionOf(20, end, U"Hi"), captionOf(start, 80, text)}, 1, FrameRate::Fps24, doublesCodes);
    result.pairs = result.pairs.substr(result.pairs.find("20: ") + 4);
    EXPECT_EQ(result.pairs.substr(result.pairs.size() - (doublesCodes ? 13 : 8)),
              doublesCodes ? "80: 142c 142c" : "80: 142c");
    result.pairs.resize(result.pairs.size() - (doublesCodes ? 14 : 9));
    return result;
}

Texts lateBy(int pairs) {
    const std::string number = std::to_string(pairs);
    return {"1: caption is shown " + number + (pairs == 1 ? " frame" : " frames") + " late, " + number +
            (pairs == 1 ? " pair" : " pairs") + " short"};
}

// RCL, ENM and preamble twice, a stand-in with its character twice: nine pairs in groups of 2, 2, 2 and 3, and EDM twice.
// The eleven pairs of the frames 22 to 32 hold them when EDM stands between groups: behind 0, 2, 4, 6 or 9 pairs of the
// load. Elsewhere the pairs between the last group that ends in front of EDM and EDM itself stay unused.
TEST(PopOnCaptions, AreOnTimeWhenTheyFitToThePair) {
    const std::string begin = "142f 142f 1420 1420 142e 142e";
    Sent result = sentBehindEdm(U"\u00C0", 28, 33);
    EXPECT_EQ(result.pairs, begin + " 1460 1460 142c 142c 4100 1230 1230 142f 142f");
    EXPECT_EQ(result.findings, Texts());
    result = sentBehindEdm(U"\u00C0", 31, 33);
    EXPECT_EQ(result.pairs, begin + " 1460 1460 4100 1230 1230 142c 142c 142f 142f");
    EXPECT_EQ(result.findings, Texts());
    for (const std::uint64_t end : {22U, 24U, 26U}) {
        EXPECT_EQ(sentBehindEdm(U"\u00C0", end, 33).findings, Texts()) << end;
    }
    // Behind 5 pairs: frame 26 stays unused, 12 pairs are needed. Behind 7: frame 28. Behind 8: 28 and 29.
    result = sentBehindEdm(U"\u00C0", 27, 33);
    EXPECT_EQ(result.pairs, begin + "\n27: 142c 142c 1460 1460 4100 1230 1230 142f 142f");
    EXPECT_EQ(result.findings, lateBy(1));
    result = sentBehindEdm(U"\u00C0", 29, 33);
    EXPECT_EQ(result.pairs, begin + " 1460 1460\n29: 142c 142c 4100 1230 1230 142f 142f");
    EXPECT_EQ(result.findings, lateBy(1));
    result = sentBehindEdm(U"\u00C0", 30, 33);
    EXPECT_EQ(result.pairs, begin + " 1460 1460\n30: 142c 142c 4100 1230 1230 142f 142f");
    EXPECT_EQ(result.findings, lateBy(2));
    // With as many pairs more they fit.
    EXPECT_EQ(sentBehindEdm(U"\u00C0", 27, 34).findings, Texts());
    EXPECT_EQ(sentBehindEdm(U"\u00C0", 29, 34).findings, Texts());
    EXPECT_EQ(sentBehindEdm(U"\u00C0", 30, 34).findings, lateBy(1));
    EXPECT_EQ(sentBehindEdm(U"\u00C0", 30, 35).findings, Texts());
    // Two of them, with a letter between: 12 pairs in groups of 2, 2, 2, 3 and 3, and EDM behind 11 of them.
    result = sentBehindEdm(U"\u00D6b\u00D6", 33, 36);
    EXPECT_EQ(result.pairs, begin + " 1460 1460 4f00 1332 1332\n33: 142c 142c 624f 1332 1332 142f 142f");
    EXPECT_EQ(result.findings, lateBy(2));
}

// RCL, ENM and the preamble, twice each, then a letter: seven pairs, and EDM twice, are nine. With EDM behind the first
// pair no code and its repetition fit in front of it: that one stays unused, and nine pairs do not hold the load.
TEST(PopOnCaptions, HaveAllCodesTwiceAlsoWhereThatMakesThemLate) {
    Sent result = sentBehindEdm(U"yo", 22, 31);
    EXPECT_EQ(result.pairs, "142f 142f 142c 142c 1420 1420 142e 142e 1460 1460 796f 142f 142f");
    EXPECT_EQ(result.findings, Texts());
    result = sentBehindEdm(U"yo", 23, 31);
    EXPECT_EQ(result.pairs, "142f 142f\n23: 142c 142c 1420 1420 142e 142e 1460 1460 796f 142f 142f");
    EXPECT_EQ(result.findings, lateBy(1));
    EXPECT_EQ(sentBehindEdm(U"yo", 23, 32).pairs, result.pairs);
    EXPECT_EQ(sentBehindEdm(U"yo", 23, 32).findings, Texts());
    result = sentBehindEdm(U"yo", 29, 31);
    EXPECT_EQ(result.pairs, "142f 142f 1420 1420 142e 142e 1460 1460 796f 142c 142c 142f 142f");
    EXPECT_EQ(result.findings, Texts());
    // Alternating fields: a pair is two frames. Nine pairs of field 1 from frame 44 on, and EDM at 46.
    result = sentOf({captionOf(40, 46, U"Hi"), captionOf(62, 160, U"yo")}, 1, FrameRate::Fps5994, true);
    EXPECT_EQ(result.findings, Texts{"1: caption is shown 2 frames late, 1 pair short"});
}

// RCL, ENM, preamble, stand-in and its character, once each, are five pairs, and EDM is one: six. With EDM behind the
// fourth nothing can stand in its place.
TEST(PopOnCaptions, AreAPairLateWhereEdmWouldPartAStandInFromItsCharacter) {
    for (const std::uint64_t end : {21U, 22U, 23U, 24U, 26U}) {
        EXPECT_EQ(sentBehindEdm(U"\u00C0", end, 27, false).findings, Texts()) << end;
    }
    const Sent late = sentBehindEdm(U"\u00C0", 25, 27, false);
    EXPECT_EQ(late.pairs, "142f 1420 142e 1460\n25: 142c 4100 1230 142f");
    EXPECT_EQ(late.findings, lateBy(1));
    EXPECT_EQ(sentBehindEdm(U"\u00C0", 25, 28, false).findings, Texts());
}

// Of equal codes that stand side by side a receiver takes every other one for a repetition: two notes are four pairs also
// where codes are sent once. With RCL, ENM, preamble and EDM they are eight, from frame 21 on, and EDM parts no note from
// its repetition.
TEST(PopOnCaptions, HaveEqualCharactersTwiceEach) {
    for (const std::uint64_t end : {21U, 22U, 23U, 24U, 26U, 28U}) {
        EXPECT_EQ(sentBehindEdm(U"\u266A\u266A", end, 29, false).findings, Texts()) << end;
    }
    Sent result = sentBehindEdm(U"\u266A\u266A", 25, 29, false);
    EXPECT_EQ(result.pairs, "142f 1420 142e 1460\n25: 142c 1137 1137 1137 1137 142f");
    EXPECT_EQ(result.findings, lateBy(1));
    EXPECT_EQ(sentBehindEdm(U"\u266A\u266A", 27, 29, false).findings, lateBy(1));
    // All codes twice: ten pairs in groups of two, EDM behind seven of them, and one pair that stays unused, from 22 on.
    const std::string expected = "142f 142f 1420 1420 142e 142e 1460 1460\n29: 142c 142c 1137 1137 1137 1137 142f 142f";
    result = sentBehindEdm(U"\u266A\u266A", 29, 34);
    EXPECT_EQ(result.pairs, expected);
    EXPECT_EQ(result.findings, lateBy(1));
    result = sentBehindEdm(U"\u266A\u266A", 29, 35);
    EXPECT_EQ(result.pairs, expected);
    EXPECT_EQ(result.findings, Texts());
}

TEST(Captions, AreRefusedWhenTheirTimesAreWrong) {
    const Sent result = sentOf({captionOf(20, 20, U"a"), captionOf(20, 40, U"b"), captionOf(20, 50, U"c"),
                                captionOf(30, 50, U"~"), captionOf(30, 50, U"d")});
    EXPECT_EQ(
        result.findings,
        (Texts{
            "0: caption from frame 20 to 20 is left out: it has no duration, does not begin behind the last one, or is "
            "too far off",
            "2: caption from frame 20 to 50 is left out: it has no duration, does not begin behind the last one, or is "
            "too far off",
            "3: caption without text is left out",
            "4: caption begins at frame 30, before the one in front of it ends at 40"}));
    EXPECT_EQ(result.pairs, "0: 1420 142e 1460 6200\n20: 142f 1420 142e 1460 6400\n30: 142f\n50: 142c");
}

TEST(Captions, AreRefusedWhereTheirFramesCouldNotBeCounted) {
    constexpr std::uint64_t kLast = qlx::cea608::kGreatestCaptionFrame;
    for (const FrameRate rate : {FrameRate::Fps30, FrameRate::Fps5994}) {
        Writer writer(rate, {.firstFrame = kLast - 40});
        qlx::Findings findings;
        EXPECT_FALSE(writer.add(captionOf(5, UINT64_MAX, U"a"), &findings));
        EXPECT_FALSE(writer.add(captionOf(UINT64_MAX - 1, UINT64_MAX, U"a"), &findings));
        EXPECT_FALSE(writer.add(captionOf(5, kLast + 1, U"a"), &findings));
        writer.addText({.start = UINT64_MAX, .rows = captionOf(0, 1, U"a").rows}, &findings);
        ASSERT_EQ(findings.size(), 4U);
        for (const qlx::Finding& finding : findings) {
            EXPECT_EQ(finding.code, qlx::FindingCode::Cea608TimesWrong);
        }
        EXPECT_TRUE(writer.isDone());
        // The last one that there can be is shown for a frame of its field, and erased.
        EXPECT_TRUE(writer.add(captionOf(kLast - 4, kLast, U"a"), &findings));
        std::vector<qlx::cea608::CaptionEvent> events;
        std::vector<std::uint64_t> frames;
        for (int count = 0; count < 60 && !writer.isDone(); ++count) {
            const std::uint64_t frame = writer.frame();
            (void)writer.next(&findings);
            for (const qlx::cea608::CaptionEvent& event : writer.events()) {
                events.push_back(event);
                frames.push_back(kLast - frame);
            }
        }
        EXPECT_TRUE(writer.isDone());
        using qlx::cea608::CaptionStep;
        EXPECT_EQ(events, (std::vector<qlx::cea608::CaptionEvent>{
                              {4, CaptionStep::Begun}, {4, CaptionStep::Shown}, {4, CaptionStep::Ended}}));
        EXPECT_EQ(frames, (std::vector<std::uint64_t>{40, 4, 0}));
        EXPECT_EQ(findings.size(), 4U);
    }
}

TEST(RollUpCaptions, AreWrittenFromTheirStartOn) {
    const auto rollUp = [](std::uint64_t start, std::uint64_t end, std::u32string_view text) {
        return captionOf(start, end, text, kCC1, RollUp);
    };
    // Four seconds are 120 frames.
    const Sent result = sentOf({rollUp(10, 20, U"Hi"), rollUp(140, 200, U"yo"), rollUp(321, 330, U"!")});
    EXPECT_EQ(result.pairs, "10: 1425 142d 1460 4869\n140: 1425 142d 1460 796f\n200: 142c\n"
                            "321: 1425 142d 1460 2100\n330: 142c");
    EXPECT_EQ(result.findings, Texts());
    // What is still being written makes the next one late.
    EXPECT_EQ(sentOf({rollUp(10, 11, U"Hi"), rollUp(11, 20, U"yo")}).findings,
              Texts{"1: caption is shown 3 frames late, 3 pairs short"});
}

TEST(PaintOnCaptions, AreErasedAtTheirEnd) {
    const auto paintOn = [](std::uint64_t start, std::uint64_t end, std::u32string_view text) {
        return captionOf(start, end, text, kCC2, PaintOn);
    };
    const Sent result = sentOf({paintOn(10, 20, U"Hi"), paintOn(20, 30, U"yo")});
    EXPECT_EQ(result.pairs, "10: 1c29 1c60 4869\n19: 1c2c 1c29 1c60 796f\n30: 1c2c");
    EXPECT_EQ(result.findings, Texts());
    // RDC is on the start's slot, whatever is erased in front of it; a gap that holds EDM has it at the end.
    const auto behind = [&](CaptionStyle style, std::uint64_t end, FrameRate rate) {
        Caption first = paintOn(20, end, U"Hi");
        first.style = style;
        const Sent both = sentOf({first, paintOn(80, 200, U"yo")}, 1, rate, true);
        EXPECT_EQ(both.findings, Texts());
        return both.pairs.substr(both.pairs.rfind("4869") + 4);
    };
    const std::string yo = "1c29 1c29 1c60 1c60 796f\n200: 1c2c 1c2c";
    EXPECT_EQ(behind(PaintOn, 80, FrameRate::Fps2997), "\n78: 1c2c 1c2c " + yo);
    EXPECT_EQ(behind(PaintOn, 79, FrameRate::Fps2997), "\n78: 1c2c 1c2c " + yo);
    EXPECT_EQ(behind(PaintOn, 78, FrameRate::Fps2997), "\n78: 1c2c 1c2c " + yo);
    EXPECT_EQ(behind(PaintOn, 77, FrameRate::Fps2997), "\n77: 1c2c 1c2c\n80: " + yo);
    EXPECT_EQ(behind(PaintOn, 80, FrameRate::Fps5994), "\n76: 1c2c 1c2c " + yo);
    EXPECT_EQ(behind(PopOn, 80, FrameRate::Fps2997), "\n20: 1c2f 1c2f\n78: 1c2c 1c2c " + yo);
}

TEST(PaintOnCaptions, SayHowLateTheyAre) {
    const auto pairsOfLetters = [](std::size_t count) {
        std::string text;
        while (count-- > 0) {
            text += " 6161";
        }
        return text;
    };
    // 20 pairs from frame 10 on, EDM at frame 30, RDC at 32 in place of 12.
    Sent result =
        sentOf({captionOf(10, 12, std::u32string(32, U'a'), kCC1, PaintOn), captionOf(12, 80, U"yo", kCC1, PaintOn)}, 1,
               FrameRate::Fps2997, true);
    EXPECT_EQ(result.pairs,
              "10: 1429 1429 1460 1460" + pairsOfLetters(16) + " 142c 142c 1429 1429 1460 1460 796f\n80: 142c 142c");
    EXPECT_EQ(result.findings,
              (Texts{"0: caption ends 18 frames late", "1: caption is shown 20 frames late, 20 pairs short"}));
    // 20 pairs from frame 0 on, EOC at frame 20, EDM at 22, RDC at 24 in place of 3.
    result = sentOf({captionOf(0, 3, std::u32string(28, U'a')), captionOf(3, 80, U"yo", kCC1, PaintOn)}, 1,
                    FrameRate::Fps2997, true);
    EXPECT_EQ(result.pairs, "0: 1420 1420 142e 142e 1460 1460" + pairsOfLetters(14) +
                                " 142f 142f 142c 142c 1429 1429 1460 1460 796f\n80: 142c 142c");
    EXPECT_EQ(result.findings,
              (Texts{"0: caption is shown 20 frames late, 20 pairs short", "0: caption ends 19 frames late",
                     "1: caption is shown 21 frames late, 21 pairs short"}));
}

TEST(Captions, OfTwoChannelsShareAField) {
    // CC2 goes on with its mode code; what is due goes first.
    const Sent result = sentOf({captionOf(6, 20, U"Hi", kCC2), captionOf(4, 20, U"yo"), captionOf(50, 60, U"a"),
                                captionOf(50, 60, U"b", kCC2)});
    EXPECT_EQ(result.pairs, "0: 1420 142e 1460 796f 142f 1420 142e 1460 6100 1c20 1c2e 1c60 4869 1c2f 1c20 1c2e 1c60 "
                            "6200\n20: 142c 1c2c\n50: 142f 1c2f\n60: 142c 1c2c");
    EXPECT_EQ(result.findings,
              (Texts{"0: caption is shown 7 frames late, 7 pairs short", "0: caption ends 1 frame late",
                     "3: caption is shown 1 frame late, 1 pair short", "3: caption ends 1 frame late"}));
}

TEST(Captions, OfAnInterruptedChannelGoOnBehindItsModeCode) {
    Writer writer(FrameRate::Fps2997, {.doublesCodes = false});
    ASSERT_TRUE(writer.add(captionOf(100, 200, U"abcdef", kCC4)));
    qlx::Findings findings;
    EXPECT_EQ(sent(writer, 2, 4, findings), "0: 1d20 1d2e 1c60 6162");
    ASSERT_TRUE(writer.add(captionOf(50, 60, U"x", kCC3)));
    EXPECT_EQ(sent(writer, 2, 300, findings), "4: 1520 152e 1460 7800 1d20 6364 6566\n50: 152f\n60: 152c\n"
                                              "100: 1d2f\n200: 1d2c");
    EXPECT_TRUE(findings.empty());
}

}  // namespace
