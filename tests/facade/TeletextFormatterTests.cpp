#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>
#include <QLXClosedCaptionsUtilities/QLXTeletextLineFormatter.h>
#include <QLXClosedCaptionsUtilities/QLXTeletextPageHeaderFormatter.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

const QLXTeletextLineFormatter kLines;
const QLXTeletextPageHeaderFormatter kHeaders;
constexpr const char* kTooLong = "String too long (max. 39 characters)";

/// What the line formatter makes of a printable form.
struct Row {
    bool accepted = false;
    qlx::Value object = 42;  ///< As it stood before.
    std::optional<std::string> error = "untouched";

    friend bool operator==(const Row&, const Row&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const Row& row) {
        return stream << row.accepted << ' ' << row.object.description() << ' ' << row.error.value_or("none");
    }
};

Row rowOf(std::string_view text) {
    Row row;
    row.accepted = kLines.getObjectValue_forString_errorDescription(&row.object, text, &row.error);
    return row;
}

Row accepted(std::string text) {
    return {true, std::move(text), "untouched"};
}

const Row kRefused{false, 42, kTooLong};

TEST(TeletextLineFormatter, ShowsControlCharactersInHexadecimal) {
    EXPECT_EQ(kLines.stringForObjectValue("A\rB"), "A0x0dB");
    EXPECT_EQ(kLines.stringForObjectValue(std::string("\0\x1F", 2)), "0x000x1f");
    EXPECT_EQ(kLines.stringForObjectValue(""), "");
    EXPECT_EQ(kLines.stringForObjectValue("\x20\x7F\u0080\u00E9\U0001F4FA 0x0d"),
              "\x20\x7F\u0080\u00E9\U0001F4FA 0x0d");
    EXPECT_EQ(kLines.stringForObjectValue("caf\xE9\x01"), "caf\xE9"
                                                          "0x01");
}

TEST(TeletextLineFormatter, ShowsNothingButText) {
    EXPECT_EQ(kLines.stringForObjectValue(nullptr), std::nullopt);
    EXPECT_EQ(kLines.stringForObjectValue(13), std::nullopt);
    EXPECT_EQ(kLines.stringForObjectValue(qlx::Data{0x0D}), std::nullopt);
}

TEST(TeletextLineFormatter, KnowsEveryCode) {
    std::string digits = "0123456789abcdef";
    for (int code = 0; code < 256; ++code) {
        const std::string form = {'0', 'x', digits[static_cast<std::size_t>(code / 16)],
                                  digits[static_cast<std::size_t>(code % 16)]};
        const std::string character(1, static_cast<char>(code));
        if (code < 32) {
            EXPECT_EQ(kLines.stringForObjectValue(character), form);
            EXPECT_EQ(rowOf(form), accepted(character));
        } else {
            EXPECT_EQ(kLines.stringForObjectValue(character), character);
            EXPECT_EQ(rowOf(form), accepted(form));
        }
    }
}

TEST(TeletextLineFormatter, ReadsLowerCaseFormsOnly) {
    EXPECT_EQ(rowOf("A0x0dB"), accepted("A\rB"));
    EXPECT_EQ(rowOf("0x0D 0X0d 0xd x0d 0x 0x2"), accepted("0x0D 0X0d 0xd x0d 0x 0x2"));
    EXPECT_EQ(rowOf(""), accepted(""));
    EXPECT_EQ(rowOf("0x000x00"), accepted(std::string(2, '\0')));
}

TEST(TeletextLineFormatter, ReadsFormsThatShareADigitInTheOrderOfTheirCodes) {
    EXPECT_EQ(rowOf("0x10x01"), accepted("0x1\x01"));
    EXPECT_EQ(rowOf("0x00x01"), accepted(std::string("\0x01", 4)));
    EXPECT_EQ(rowOf("0x10x10"), accepted("\x10x10"));
    EXPECT_EQ(rowOf("00x01x02"), accepted("0\x01x02"));
}

TEST(TeletextLineFormatter, TakesUpTo39Characters) {
    EXPECT_EQ(rowOf(std::string(39, 'a')), accepted(std::string(39, 'a')));
    EXPECT_EQ(rowOf(std::string(40, 'a')), kRefused);
    EXPECT_EQ(rowOf(std::string(1000, 'a')), kRefused);
    // Characters of the row count, not those of its printable form.
    EXPECT_EQ(rowOf(std::string(38, 'a') + "0x0d"), accepted(std::string(38, 'a') + "\r"));
    EXPECT_EQ(rowOf(std::string(39, 'a') + "0x0d"), kRefused);
    EXPECT_EQ(rowOf(std::string(36, 'a') + "0x0D"), kRefused);
    EXPECT_EQ(rowOf(std::string(35, 'a') + "0x0D"), accepted(std::string(35, 'a') + "0x0D"));
    std::string accents;
    for (int index = 0; index < 39; ++index) {
        accents += "\u00E9";
    }
    EXPECT_EQ(rowOf(accents), accepted(accents));
    EXPECT_EQ(rowOf(accents + "\u00E9"), kRefused);
    // A character outside the basic plane is two UTF-16 code units.
    EXPECT_EQ(rowOf(std::string(37, 'a') + "\U0001F4FA"), accepted(std::string(37, 'a') + "\U0001F4FA"));
    EXPECT_EQ(rowOf(std::string(38, 'a') + "\U0001F4FA"), kRefused);
    EXPECT_EQ(rowOf(std::string(39, '\xE9')), accepted(std::string(39, '\xE9')));
    EXPECT_EQ(rowOf(std::string(40, '\xE9')), kRefused);
}

TEST(TeletextLineFormatter, NeedsNoPlaceForItsResults) {
    EXPECT_TRUE(kLines.getObjectValue_forString_errorDescription(nullptr, "a"));
    EXPECT_FALSE(kLines.getObjectValue_forString_errorDescription(nullptr, std::string(40, 'a')));
    qlx::Value object;
    EXPECT_FALSE(kLines.getObjectValue_forString_errorDescription(&object, std::string(40, 'a')));
    EXPECT_EQ(object, qlx::Value());
}

TEST(TeletextPageHeaderFormatter, ShowsSixBytes) {
    EXPECT_EQ(kHeaders.stringForObjectValue(qlx::Data{0x15, 0xD0, 0x15, 0xD0, 0x73, 0x49}), "15 d0 15 d0 73 49");
    EXPECT_EQ(kHeaders.stringForObjectValue(qlx::Data{0x00, 0x01, 0x0A, 0xA0, 0xFF, 0x7F}), "00 01 0a a0 ff 7f");
    EXPECT_EQ(kHeaders.stringForObjectValue(QLXSubtitlesPacketizer::pageHeaderDataWithErasePage(true)),
              "15 d0 15 d0 73 49");
}

TEST(TeletextPageHeaderFormatter, ShowsNothingElse) {
    EXPECT_EQ(kHeaders.stringForObjectValue(qlx::Data{1, 2, 3, 4, 5}), std::nullopt);
    EXPECT_EQ(kHeaders.stringForObjectValue(qlx::Data{1, 2, 3, 4, 5, 6, 7}), std::nullopt);
    EXPECT_EQ(kHeaders.stringForObjectValue(qlx::Data(Bytes{})), std::nullopt);
    EXPECT_EQ(kHeaders.stringForObjectValue(qlx::Data()), std::nullopt);
    EXPECT_EQ(kHeaders.stringForObjectValue(nullptr), std::nullopt);
    EXPECT_EQ(kHeaders.stringForObjectValue("abcdef"), std::nullopt);
    EXPECT_EQ(kHeaders.stringForObjectValue(6), std::nullopt);
}

TEST(TeletextPageHeaderFormatter, ReadsHexadecimalDigits) {
    const auto data = QLXTeletextPageHeaderFormatter::dataFromHex;
    EXPECT_EQ(data("15d015 d0 7349"), (qlx::Data{0x15, 0xD0, 0x15, 0xD0, 0x73, 0x49}));
    EXPECT_EQ(data("1G"), qlx::Data{0x10});
    EXPECT_EQ(data("ABC"), qlx::Data{0xAB});
    EXPECT_EQ(data("abCDefF0"), (qlx::Data{0xAB, 0xCD, 0xEF, 0xF0}));
    EXPECT_EQ(data("1 2 3"), qlx::Data{0x12});
    EXPECT_EQ(data("0x1f"), (qlx::Data{0x00, 0x1F}));
    EXPECT_EQ(data("1\t2\n"), (qlx::Data{0x10, 0x20}));
    EXPECT_EQ(data("/:@`g["), (qlx::Data{0, 0, 0}));
    for (const char* text : {"", " ", "   ", "a", " a "}) {
        EXPECT_EQ(data(text), qlx::Data(Bytes{})) << text;
    }
}

TEST(TeletextPageHeaderFormatter, TakesACharacterForADigit) {
    const auto data = QLXTeletextPageHeaderFormatter::dataFromHex;
    EXPECT_EQ(data("\u00E91"), qlx::Data{0x01});
    EXPECT_EQ(data("1\u20AC2"), qlx::Data{0x10});
    EXPECT_EQ(data("1\U0001F4FA2"), (qlx::Data{0x10, 0x02}));  // two UTF-16 code units
    EXPECT_EQ(data("\xFF"
                   "1"),
              qlx::Data{0x01});
}

TEST(TeletextPageHeaderFormatter, TakesEveryText) {
    const std::vector<std::pair<std::string, qlx::Data>> cases{
        {"15 d0 15 d0 73 49", {0x15, 0xD0, 0x15, 0xD0, 0x73, 0x49}},
        {"", std::vector<std::uint8_t>()},
        {std::string(999, 'f'), std::vector<std::uint8_t>(499, 0xFF)},
    };
    for (const auto& [text, expected] : cases) {
        qlx::Value object = 42;
        std::optional<std::string> error = "untouched";
        EXPECT_TRUE(kHeaders.getObjectValue_forString_errorDescription(&object, text, &error));
        EXPECT_EQ(object, qlx::Value(expected));
        EXPECT_EQ(error, "untouched");
    }
    EXPECT_TRUE(kHeaders.getObjectValue_forString_errorDescription(nullptr, "15"));
}

}  // namespace
