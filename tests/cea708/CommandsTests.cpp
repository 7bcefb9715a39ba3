// The codes of a caption service: bytes worked out by hand, all codes by their lengths, random ones there and back.
#include "ExactBuffer.h"
#include "FindingList.h"

#include <qlx/cea708/commands.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace qlx::cea708;
namespace screen = qlx::screen;
using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::Severity;
using qlxtest::ExactBuffer;
using qlxtest::fromHex;
using qlxtest::listOf;
using qlxtest::toHex;

std::string written(const Command& command) {
    std::array<std::uint8_t, kGreatestCommandBytes> room{};
    const auto size = writeCommand(command, room);
    const auto own = writeCommand(command);
    EXPECT_EQ(size.hasValue(), own.hasValue());
    if (!size || !own) {
        return "";
    }
    EXPECT_EQ(toHex(*own), toHex(std::span(room).first(*size)));
    return toHex(*own);
}

ReservedCommand reserved(const std::string& hex) {
    ReservedCommand command;
    EXPECT_TRUE(command.bytes.assign(fromHex(hex)));
    return command;
}

TEST(CaptionCommands, AreTheBytesOfTheStandard) {
    struct Case {
        std::string bytes;
        Command command;
    };
    using enum screen::Opacity;
    const PenAttributes pen{screen::FontSize::Large,
                            screen::Offset::Superscript,
                            TextTag::SongLyrics,
                            screen::Font::Cursive,
                            screen::Edge::Uniform,
                            true,
                            true};
    const PenColor color{screen::Color::Yellow, Flash, screen::Color::Blue, Translucent, screen::Color::White};
    WindowAttributes window;
    window.justification = Justification::Center;
    window.printDirection = Direction::TopToBottom;
    window.scrollDirection = Direction::RightToLeft;
    window.wrapsWords = true;
    window.displayEffect = DisplayEffect::Wipe;
    window.effectDirection = Direction::BottomToTop;
    window.effectSpeed = 9;
    window.fill = screen::Color::Green;
    window.fillOpacity = Transparent;
    window.border = screen::Edge::RightDropShadow;
    window.borderColor = screen::Color::Red;
    const DefineWindow roll{2, 3, true, true, true, false, 74, 105, AnchorPoint::LowerCenter, 3, 32, 4, 1};
    const DefineWindow relative{7, 0, false, false, false, true, 50, 99, AnchorPoint::Center, 15, 42, 0, 7};
    const std::array cases{
        Case{"00", Control::Null},
        Case{"03", Control::EndOfText},
        Case{"08", Control::Backspace},
        Case{"0c", Control::FormFeed},
        Case{"0d", Control::CarriageReturn},
        Case{"0e", Control::HorizontalCarriageReturn},
        Case{"18ac00", WideCharacter{0xAC00}},
        Case{"41", CharacterCode{CharacterSet::G0, 0x41}},
        Case{"e9", CharacterCode{CharacterSet::G1, 0xE9}},
        Case{"1039", CharacterCode{CharacterSet::G2, 0x39}},
        Case{"10a0", CharacterCode{CharacterSet::G3, 0xA0}},
        Case{"80", SetCurrentWindow{0}},
        Case{"87", SetCurrentWindow{7}},
        Case{"88ff", WindowsCommand{WindowsAction::Clear, 0xFF}},
        Case{"8901", WindowsCommand{WindowsAction::Display, 1}},
        Case{"8a02", WindowsCommand{WindowsAction::Hide, 2}},
        Case{"8b03", WindowsCommand{WindowsAction::Toggle, 3}},
        Case{"8c80", WindowsCommand{WindowsAction::Delete, 0x80}},
        Case{"8d14", Delay{20}},
        Case{"8e", Control::DelayCancel},
        Case{"8f", Control::Reset},
        // Tag 8, offset 2, size 2; italic, underlined, edge 3, font 6.
        Case{"908ade", pen},
        // Flash and 3 3 0; translucent and 0 0 3; 3 3 3.
        Case{"917c833f", color},
        Case{"920e29", PenLocation{14, 41}},
        // Transparent and 0 3 0; border 5 = 1 01 and 3 0 0; wrap, print 2, scroll 1, centre; speed 9, direction 3, wipe.
        Case{"97cc70e69e", window},
        // Visible, rows and columns locked, priority 3; 74; 105; point 7, 3 rows; 32 columns; styles 4 and 1.
        Case{"9a3b4a69721f21", roll},
        Case{"9f00b2634e2907", relative},
    };
    for (const Case& one : cases) {
        Findings findings;
        const ExactBuffer bytes(fromHex(one.bytes));
        const auto read = parseCommand(bytes.span(), &findings);
        ASSERT_TRUE(read);
        EXPECT_TRUE(read->command == one.command) << one.bytes;
        EXPECT_EQ(read->size, bytes.size());
        EXPECT_TRUE(findings.empty()) << one.bytes;
        EXPECT_EQ(written(one.command), one.bytes);
        qlxtest::forEachTruncation(bytes.span(), [&](const ExactBuffer& part) {
            const auto cut = parseCommand(part.span());
            ASSERT_FALSE(cut);
            // EXT1 alone does not say more than that another byte follows; none says that there is one.
            const std::size_t needed = part.size() == 0 ? 1 : bytes.size();
            EXPECT_EQ(cut.error(),
                      (Finding{FindingCode::Cea708CommandCut, Severity::Error, 0, static_cast<std::int64_t>(needed),
                               static_cast<std::int64_t>(part.size())}));
        });
    }
}

/// Bytes of the codes from 0 on, by the standard's ranges.
std::size_t lengthOf(unsigned code) {
    constexpr std::array<std::size_t, 32> kC1{1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 2, 1, 1,
                                              3, 4, 3, 1, 1, 1, 1, 5, 7, 7, 7, 7, 7, 7, 7, 7};
    if (code < 0x20) {
        return code < 0x10 ? 1 : code < 0x18 ? 2 : 3;
    }
    return code >= 0x80 && code < 0xA0 ? kC1[code - 0x80] : 1;
}

/// The same behind EXT1, with it, where it does not vary.
std::size_t extendedLengthOf(unsigned code) {
    if (code < 0x20) {
        return 2 + code / 8;
    }
    return code < 0x80 || code >= 0xA0 ? 2 : code < 0x88 ? 6 : 7;
}

TEST(CaptionCommands, AreSkippedByTheirLengths) {
    for (unsigned code = 0; code < 256; ++code) {
        const std::array<std::uint8_t, 8> bytes{static_cast<std::uint8_t>(code), 0, 0, 0, 0, 0, 0, 0};
        if (code != kExt1) {
            EXPECT_EQ(sizeOfCommand(bytes), lengthOf(code)) << code;
        }
        const std::array<std::uint8_t, 8> extended{kExt1, static_cast<std::uint8_t>(code), 0, 0, 0, 0, 0, 0};
        if (code < 0x90 || code >= 0xA0) {
            EXPECT_EQ(sizeOfCommand(extended), extendedLengthOf(code)) << code;
        }
    }
    // C3 from 90h on: a byte whose low five bits say how many follow.
    const std::vector<std::uint8_t> variable = fromHex("109fc3414243");
    EXPECT_EQ(sizeOfCommand(variable), 6U);
    EXPECT_EQ(sizeOfCommand(std::span(variable).first(2)), 3U);
    EXPECT_EQ(sizeOfCommand({}), 0U);
    const std::vector<std::string> unknown{
        "01",         "11aa",         "19aabb",         "93",
        "96",         "1000",         "1008aa",         "1010aabb",
        "1018aabbcc", "1080aabbccdd", "1088aabbccddee", "1090df41" + std::string(60, '7')};
    for (const std::string& bytes : unknown) {
        Findings findings;
        const auto read = parseCommand(ExactBuffer(fromHex(bytes)).span(), &findings, 5);
        ASSERT_TRUE(read) << bytes;
        EXPECT_TRUE(read->command == Command(reserved(bytes))) << bytes;
        EXPECT_EQ(written(read->command), bytes);
        const auto code =
            static_cast<std::int64_t>(bytes.starts_with("10") ? 0x1000 + std::stoi(bytes.substr(2, 2), nullptr, 16)
                                                              : std::stoi(bytes.substr(0, 2), nullptr, 16));
        EXPECT_EQ(listOf(findings), (std::vector<Finding>{{FindingCode::Cea708CommandUnknown, Severity::Error, 5, code,
                                                           static_cast<std::int64_t>(bytes.size() / 2)}}));
    }
}

TEST(CaptionCommands, SayWhatIsNotDefined) {
    struct Case {
        std::string bytes;
        std::vector<Finding> findings;
    };
    using enum FindingCode;
    const std::array cases{
        // Tag 12, offset 3, size 3; edge 6. Tag 15 is defined.
        Case{"90cf30",
             {{Cea708NumberUndefined, Severity::Warning, 1, 0x90, 12},
              {Cea708NumberUndefined, Severity::Warning, 1, 0x90, 3},
              {Cea708NumberUndefined, Severity::Warning, 1, 0x90, 3},
              {Cea708NumberUndefined, Severity::Warning, 2, 0x90, 6}}},
        Case{"90f500", {}},
        Case{"91000040", {{Cea708ReservedBitsWrong, Severity::Warning, 3, 0x40, 0}}},
        Case{"921240",
             {{Cea708ReservedBitsWrong, Severity::Warning, 1, 0x12, 2},
              {Cea708ReservedBitsWrong, Severity::Warning, 2, 0x40, 0}}},
        // Border 6 = 1 10; effect 3.
        Case{"9700808003",
             {{Cea708NumberUndefined, Severity::Warning, 2, 0x97, 6},
              {Cea708NumberUndefined, Severity::Warning, 4, 0x97, 3}}},
        // Reserved bits in three bytes, anchor point 9.
        Case{"98800000908040",
             {{Cea708ReservedBitsWrong, Severity::Warning, 1, 0x80, 0},
              {Cea708NumberUndefined, Severity::Warning, 4, 0x98, 9},
              {Cea708ReservedBitsWrong, Severity::Warning, 5, 0x80, 0},
              {Cea708ReservedBitsWrong, Severity::Warning, 6, 0x40, 0}}},
    };
    for (const Case& one : cases) {
        Findings findings;
        ASSERT_TRUE(parseCommand(fromHex(one.bytes), &findings));
        EXPECT_EQ(listOf(findings), one.findings) << one.bytes;
    }
}

TEST(CaptionCommands, AreRefusedWhereTheyDoNotFit) {
    DefineWindow empty;
    empty.rows = 0;
    PenAttributes pen;
    pen.edge = static_cast<screen::Edge>(8);
    for (const Command& command :
         {Command(SetCurrentWindow{8}), Command(PenLocation{16, 0}), Command(PenLocation{0, 64}), Command(empty),
          Command(pen), Command(DefineWindow{0, 8}), Command(CharacterCode{CharacterSet::G0, 0x80}),
          Command(CharacterCode{CharacterSet::G3, 0x00}), Command(ReservedCommand()), Command(reserved("11aabb"))}) {
        std::array<std::uint8_t, 8> room{};
        EXPECT_EQ(writeCommand(command, room).error().code, FindingCode::Cea708ValueTooGreat);
        EXPECT_EQ(room, (std::array<std::uint8_t, 8>{}));
        EXPECT_EQ(writeCommand(command).error().code, FindingCode::Cea708ValueTooGreat);
    }
    std::array<std::uint8_t, 2> room{};
    EXPECT_EQ(writeCommand(PenColor(), room).error(), (Finding{FindingCode::OutputTooSmall, Severity::Error, 0, 4, 2}));
}

TEST(CaptionCommands, AreRefusedWhereTheyAreNone) {
    constexpr std::array<unsigned, 8> kControls{0x00, 0x03, 0x08, 0x0C, 0x0D, 0x0E, 0x8E, 0x8F};
    for (unsigned code = 0; code < 256; ++code) {
        std::array<std::uint8_t, 2> room{};
        const auto isRefused = [&room](const Command& command) {
            const auto size = writeCommand(command, room);
            return !size && size.error().code == FindingCode::Cea708ValueTooGreat;
        };
        const bool isControl = std::find(kControls.begin(), kControls.end(), code) != kControls.end();
        EXPECT_EQ(isRefused(static_cast<Control>(code)), !isControl) << code;
        const bool isAction = code >= 0x88 && code <= 0x8C;
        EXPECT_EQ(isRefused(WindowsCommand{static_cast<WindowsAction>(code), 1}), !isAction) << code;
    }
}

TEST(CaptionCommands, ComeBackFromRandomBytes) {
    std::mt19937 random(708);
    std::size_t exact = 0;
    for (int count = 0; count < 40000; ++count) {
        std::vector<std::uint8_t> bytes(kGreatestCommandBytes);
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
        if (count % 3 == 0) {
            bytes[0] = kExt1;
        }
        Findings findings;
        const auto read = parseCommand(bytes, &findings);
        ASSERT_TRUE(read);
        const std::string back = written(read->command);
        const bool isReserved = std::holds_alternative<ReservedCommand>(read->command);
        const bool isKept = std::all_of(findings.begin(), findings.end(), [](const Finding& one) {
            return one.code == FindingCode::Cea708NumberUndefined;
        });
        if (isReserved || isKept) {
            ++exact;
            ASSERT_EQ(back, toHex(std::span(bytes).first(read->size)));
        }
        const auto again = parseCommand(fromHex(back));
        ASSERT_TRUE(again && again->command == read->command);
    }
    // All but those with reserved bits.
    EXPECT_GT(exact, 30000U);
}

TEST(CaptionCharacters, AreThoseOfTheSets) {
    const auto characters = [](CharacterSet set, unsigned first, unsigned last) {
        std::u32string all;
        for (unsigned code = first; code <= last; ++code) {
            all += characterOf({set, static_cast<std::uint8_t>(code)}).value_or(kReplacement);
        }
        return all;
    };
    EXPECT_EQ(characters(CharacterSet::G0, 0x20, 0x2F), U" !\"#$%&'()*+,-./");
    EXPECT_EQ(characters(CharacterSet::G0, 0x70, 0x7F), U"pqrstuvwxyz{|}~♪");
    EXPECT_EQ(characters(CharacterSet::G1, 0xE0, 0xEF), U"àáâãäåæçèéêëìíîï");
    EXPECT_EQ(characters(CharacterSet::G2, 0x22, 0x2F), U"___…____Š_Œ___");
    EXPECT_EQ(characters(CharacterSet::G2, 0x30, 0x3F), U"█‘’“”•___™š_œ℠_Ÿ");
    EXPECT_EQ(characters(CharacterSet::G2, 0x40, 0x75), std::u32string(0x36, U'_'));
    EXPECT_EQ(characters(CharacterSet::G2, 0x76, 0x7F), U"⅛⅜⅝⅞│┐└─┘┌");
    EXPECT_EQ(characters(CharacterSet::G3, 0xA1, 0xFF), std::u32string(0x5F, U'_'));
    EXPECT_EQ(characterOf({CharacterSet::G2, 0x20}), kTransparentSpace);
    EXPECT_EQ(characterOf({CharacterSet::G2, 0x21}), kNonBreakingTransparentSpace);
    EXPECT_EQ(characterOf({CharacterSet::G3, 0xA0}), kClosedCaptionIcon);
    EXPECT_FALSE(characterOf({CharacterSet::G0, 0x1F}));
    EXPECT_FALSE(characterOf({CharacterSet::G1, 0x9F}));
    std::size_t count = 0;
    for (char32_t character = 0; character < 0x11000; ++character) {
        if (const auto code = characterCode(character)) {
            ++count;
            ASSERT_EQ(characterOf(*code), character);
        }
    }
    EXPECT_EQ(count, 96U + 96U + 26U + 1U);
}

TEST(PredefinedStyles, AreThoseOfTheStandard) {
    using enum Direction;
    // Rows of the table of window styles: justification, print, scroll, wrap, fill.
    const auto isStyle = [](std::uint8_t style, Justification justification, Direction print, Direction scroll,
                            bool wraps, screen::Opacity fill) {
        WindowAttributes expected;
        expected.justification = justification;
        expected.printDirection = print;
        expected.scrollDirection = scroll;
        expected.wrapsWords = wraps;
        expected.fillOpacity = fill;
        return predefinedWindow(style) == expected;
    };
    using enum screen::Opacity;
    EXPECT_TRUE(isStyle(1, Justification::Left, LeftToRight, BottomToTop, false, Solid));
    EXPECT_TRUE(isStyle(2, Justification::Left, LeftToRight, BottomToTop, false, Transparent));
    EXPECT_TRUE(isStyle(3, Justification::Center, LeftToRight, BottomToTop, false, Solid));
    EXPECT_TRUE(isStyle(4, Justification::Left, LeftToRight, BottomToTop, true, Solid));
    EXPECT_TRUE(isStyle(5, Justification::Left, LeftToRight, BottomToTop, true, Transparent));
    EXPECT_TRUE(isStyle(6, Justification::Center, LeftToRight, BottomToTop, true, Solid));
    EXPECT_TRUE(isStyle(7, Justification::Left, TopToBottom, RightToLeft, false, Solid));
    EXPECT_EQ(predefinedWindow(0), predefinedWindow(1));
    for (std::uint8_t style = 1; style <= 7; ++style) {
        const Pen pen = predefinedPen(style);
        constexpr std::array<int, 8> kFonts{0, 0, 1, 2, 3, 4, 3, 4};
        EXPECT_EQ(static_cast<int>(pen.attributes.font), kFonts[style]);
        EXPECT_EQ(pen.attributes.edge, style < 6 ? screen::Edge::None : screen::Edge::Uniform);
        EXPECT_EQ(pen.color.backgroundOpacity, style < 6 ? Solid : Transparent);
        EXPECT_EQ(pen.color.foreground, screen::colorOf(2, 2, 2));
        EXPECT_EQ(pen.color.background, screen::Color::Black);
        EXPECT_FALSE(pen.attributes.isItalic || pen.attributes.isUnderlined);
    }
    EXPECT_EQ(predefinedPen(8), predefinedPen(1));
}

}  // namespace
