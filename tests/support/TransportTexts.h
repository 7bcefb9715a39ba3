// Texts of teletext pages, by language or at random, and the transport stream in which they are sent.
#pragma once

#include "TeletextTexts.h"

#include <qlx/base/finding.h>
#include <qlx/screen/screen.h>
#include <qlx/streams/byte_source.h>
#include <qlx/streams/frame.h>
#include <qlx/streams/transport_writer.h>
#include <qlx/teletext/page_text.h>
#include <qlx/teletext/row_encoder.h>
#include <qlx/teletext/sdp.h>
#include <qlx/teletext/sets.h>
#include <qlx/teletext/writer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlxtest {

/// Frames from the start of a text to that of the next one.
inline constexpr std::uint64_t kFramesOfText = 5;

/// A row of this text, of which each cell is one of the screen.
inline qlx::teletext::PageRow pageRow(std::u32string_view text, std::uint8_t row,
                                      const qlx::teletext::CharacterSet& set,
                                      qlx::screen::Color color = qlx::screen::Color::White) {
    qlx::teletext::PageRow result{.row = row, .column = 4};
    for (const qlx::teletext::DisplayCell& cell : qlx::teletext::displayCells(text, set)) {
        result.cells.push_back({.character = cell.character, .foreground = color, .isVisible = true});
    }
    return result;
}

/// The characters of a row from the left to the right.
inline std::u32string shownText(const qlx::teletext::PageRow& row) {
    std::u32string text;
    for (const qlx::screen::Cell& cell : row.cells) {
        text += cell.character;
    }
    return text;
}

/// Each of these rows on a page of its own, one page after the other.
inline std::vector<qlx::teletext::PageText> textsOfRows(std::span<const std::u32string_view> rows,
                                                        std::uint8_t designation) {
    std::vector<qlx::teletext::PageText> texts;
    for (const std::u32string_view row : rows) {
        qlx::teletext::PageText text;
        text.start = 10 + texts.size() * kFramesOfText;
        text.end = text.start + kFramesOfText - 2;
        text.designation = designation;
        text.rows.push_back(pageRow(row, 22, *qlx::teletext::characterSetOf(designation)));
        texts.push_back(std::move(text));
    }
    return texts;
}

/// Pages of one to three rows of words that are made of a language's letters, each row in a colour. (Of a set that is
/// written from the left to the right.)
inline std::vector<qlx::teletext::PageText> randomTexts(std::mt19937& random, const LanguageLetters& language,
                                                        std::uint8_t designation, std::size_t count) {
    std::u32string letters;
    for (const std::u32string_view row : language.rows) {
        letters += row;
    }
    std::erase(letters, U' ');
    const qlx::teletext::CharacterSet set = *qlx::teletext::characterSetOf(designation);
    std::vector<qlx::teletext::PageText> texts;
    for (; count > 0; --count) {
        qlx::teletext::PageText text;
        text.start = 10 + texts.size() * kFramesOfText;
        text.end = text.start + kFramesOfText - 2;
        text.designation = designation;
        auto row = static_cast<std::uint8_t>(22 - 2 * (random() % 3));
        for (; row <= 22; row = static_cast<std::uint8_t>(row + 2)) {
            std::u32string words;
            for (std::size_t size = 1 + random() % 36; size > 0; --size) {
                const bool isBetween = size > 1 && !words.empty() && words.back() != U' ' && random() % 6 == 0;
                words += isBetween ? U' ' : letters[random() % letters.size()];
            }
            text.rows.push_back(pageRow(words, row, set, qlx::screen::kBasicColors[1 + random() % 7]));
        }
        texts.push_back(std::move(text));
    }
    return texts;
}

/// Keeps what is written.
class KeptTransport final : public qlx::streams::ByteSink {
public:
    std::optional<qlx::Finding> write(std::span<const std::uint8_t> bytes) override {
        kept.insert(kept.end(), bytes.begin(), bytes.end());
        return std::nullopt;
    }
    std::vector<std::uint8_t> kept;
};

/// Texts in the order of their starts, as a transport stream.
inline std::vector<std::uint8_t> streamOfTexts(const std::vector<qlx::teletext::PageText>& texts,
                                               const qlx::streams::TransportWriterOptions& options,
                                               std::uint8_t packetsPerField = 5, qlx::FindingSink* findings = nullptr) {
    qlx::teletext::Writer writer(options.rate, {.packetsPerField = packetsPerField});
    KeptTransport sink;
    qlx::streams::TransportWriter transport(sink, options);
    std::size_t added = 0;
    for (std::uint64_t number = 0; added < texts.size() || !writer.isDone(); ++number) {
        while (added < texts.size() && texts[added].start < number + 25) {
            EXPECT_TRUE(writer.add(texts[added++], findings));
        }
        qlx::streams::Frame frame;
        frame.number = number;
        for (unsigned field = 0; field < writer.fieldsPerFrame(); ++field) {
            const qlx::teletext::FieldPackets packets = writer.next(findings);
            for (std::size_t index = 0; index < packets.packets.size(); ++index) {
                qlx::teletext::SdpLine line;
                line.descriptor = qlx::teletext::sdpDescriptor(static_cast<unsigned>(7 + index), packets.isOdd);
                EXPECT_TRUE(writePacket(packets.packets[index], line.bytes));
                frame.teletext.push_back(line);
            }
        }
        EXPECT_FALSE(transport.write(frame, findings));
    }
    EXPECT_FALSE(transport.finish());
    return sink.kept;
}

}  // namespace qlxtest
