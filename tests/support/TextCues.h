// Cues of text formats: read in pieces, in words, and by chance.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>
#include <qlx/base/finding.h>
#include <qlx/subtitles/box.h>
#include <qlx/subtitles/cue.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qlxtest {

struct CuesRead {
    std::vector<qlx::subtitles::Cue> cues;
    std::vector<qlx::Finding> findings;

    [[nodiscard]] std::vector<qlx::FindingCode> codes() const {
        std::vector<qlx::FindingCode> codes;
        for (const qlx::Finding& finding : findings) {
            codes.push_back(finding.code);
        }
        return codes;
    }
    friend bool operator==(const CuesRead&, const CuesRead&) = default;
};

/// Each piece in an allocation of its own size.
template <class Reader, class Options>
CuesRead readCues(std::string_view text, std::size_t piece, const Options& options) {
    CuesRead result;
    qlx::Findings findings(100'000);
    Reader reader(options, &findings);
    const auto take = [&] {
        while (const qlx::subtitles::Cue* const cue = reader.next()) {
            result.cues.push_back(*cue);
        }
    };
    while (!text.empty()) {
        const std::string_view part = text.substr(0, piece);
        text.remove_prefix(part.size());
        reader.push(std::vector<std::uint8_t>(part.begin(), part.end()));
        take();
    }
    reader.finish();
    take();
    result.findings.assign(findings.begin(), findings.end());
    return result;
}

inline qlx::MediaTime milliseconds(std::int64_t value) {
    return qlx::MediaTime::make(value, 1000);
}

inline qlx::subtitles::Row rowOf(std::string text) {
    qlx::subtitles::Row row;
    row.runs.push_back({std::move(text), {}});
    return row;
}

inline qlx::subtitles::Cue cueOf(std::uint64_t number, std::int64_t start, std::int64_t end,
                                 std::vector<qlx::subtitles::Row> rows) {
    qlx::subtitles::Cue cue;
    cue.number = number;
    cue.start = milliseconds(start);
    cue.end = milliseconds(end);
    cue.rows = std::move(rows);
    return cue;
}

/// Rows with `|` between them; in front of a row `[N]` for its anchor, in front of a run that does not look like the one
/// in front of it `{...}`: `b`, `i`, `u`, `f`, `#` and the number of the colour, `on` and that of the background, `@` and
/// the milliseconds, properties.
inline std::string rowsInWords(const qlx::subtitles::Cue& cue) {
    std::string text;
    for (const auto& row : cue.rows) {
        text += &row == cue.rows.data() ? "" : "|";
        text += row.anchor == 0 ? "" : "[" + std::to_string(row.anchor) + "]";
        std::string before;
        for (const auto& run : row.runs) {
            const auto hex = [](qlx::screen::Color color) {
                constexpr std::string_view kDigits = "0123456789abcdef";
                const auto number = static_cast<unsigned>(color);
                return std::string{kDigits[number >> 4U], kDigits[number & 15U]};
            };
            std::string look;
            look += run.style.isBold ? "b" : "";
            look += run.style.isItalic ? "i" : "";
            look += run.style.isUnderlined ? "u" : "";
            look += run.style.isFlashing ? "f" : "";
            look += run.style.foreground != qlx::screen::Color::White ? "#" + hex(run.style.foreground) : "";
            look += run.style.background ? "on" + hex(*run.style.background) : "";
            look += run.from.isValid() ? "@" + std::to_string(run.from.value) : "";
            for (const auto& property : run.properties) {
                look += (look.empty() ? "" : " ") + property.name + "=" + property.value;
            }
            text += look == before ? "" : "{" + look + "}";
            text += run.text;
            before = look;
        }
    }
    return text;
}

enum class CueFormat : std::uint8_t { SubRip, WebVtt };

inline std::string randomText(std::mt19937& random) {
    constexpr std::array<std::string_view, 12> kParts{"a",  "Z", "7",      "\u00E9", " x", "\U0001F600",
                                                      "- ", "?", "\u4E00", "{y}",    ">.", "\u266A"};
    std::string text;
    for (std::size_t count = 1 + random() % 6; count > 0; --count) {
        text += kParts[random() % kParts.size()];
    }
    return text;
}

/// A cue that a file of this format can say, in the form in which its reader gives it.
inline qlx::subtitles::Cue randomCue(std::mt19937& random, std::uint64_t number, CueFormat format) {
    using namespace qlx::subtitles;
    const bool isVtt = format == CueFormat::WebVtt;
    const auto isSo = [&random] { return random() % 4 == 0; };
    const auto below = [&random](std::uint64_t count) { return static_cast<std::int64_t>(random() % count); };
    const std::int64_t start = static_cast<std::int64_t>(number) * 3000 + below(3000);
    Cue cue = cueOf(number, start, start + 1 + below(5000), {});
    constexpr std::array<std::uint8_t, 7> kVttAnchors{0, 0, 0, 0, 7, 8, 9};
    const auto anchor = isVtt ? kVttAnchors[random() % 7] : static_cast<std::uint8_t>(random() % 10);
    for (std::size_t rows = random() % 4; rows > 0; --rows) {
        Row row;
        row.anchor = anchor;
        constexpr std::array<Alignment, 3> kSides{Alignment::Right, Alignment::Left, Alignment::Center};
        row.alignment = anchor == 0 ? Alignment::Center : kSides[anchor % 3U];
        for (std::size_t runs = random() % 4; runs > 0; --runs) {
            Run run;
            run.text = randomText(random);
            run.style.isBold = isSo();
            run.style.isItalic = isSo();
            run.style.isUnderlined = isSo();
            run.style.foreground = isSo() ? qlx::screen::kBasicColors[random() % 8] : qlx::screen::Color::White;
            if (isVtt) {
                run.style.background = isSo() ? std::optional(qlx::screen::kBasicColors[random() % 8]) : std::nullopt;
                if (isSo()) {
                    run.properties.push_back({"vtt.v", "Mary Ann"});
                }
                if (isSo()) {
                    run.properties.push_back({"vtt.lang", "en-GB"});
                }
                if (isSo()) {
                    run.properties.push_back({"vtt.c", "loud"});
                }
            } else {
                if (isSo()) {
                    run.style.foreground = qlx::screen::colorOf(3, 2, 0);
                    run.properties.push_back({"color", "#ffa500"});
                }
                if (isSo()) {
                    run.properties.push_back({"font.face", "Arial"});
                }
                if (isSo()) {
                    run.properties.push_back({"strikeout", ""});
                }
                if (isSo()) {
                    run.properties.push_back({"srt.codes", "\\pos(1,2)"});
                }
            }
            // Codes stand in front of a run: what looks like it behind it is one with it.
            const auto withoutCodes = [](Properties properties) {
                std::erase_if(properties, [](const Property& property) { return property.name == "srt.codes"; });
                return properties;
            };
            const bool isSame = !row.runs.empty() && row.runs.back().style == run.style &&
                                valueOf(run.properties, "srt.codes") == nullptr &&
                                withoutCodes(row.runs.back().properties) == run.properties;
            if (isSame) {
                row.runs.back().text += run.text;
            } else {
                row.runs.push_back(std::move(run));
            }
        }
        cue.rows.push_back(std::move(row));
    }
    const bool hasPosition = std::any_of(cue.rows.begin(), cue.rows.end(), [](const Row& row) {
        return std::any_of(row.runs.begin(), row.runs.end(),
                           [](const Run& run) { return valueOf(run.properties, "srt.codes") != nullptr; });
    });
    if (hasPosition) {
        // Column 1 and row 2 of 384 by 288: from there on, around it, or up to there.
        constexpr double kX = 100.0 / 384;
        constexpr double kY = 200.0 / 288;
        const int side = anchor == 0 ? 1 : (anchor - 1) % 3;
        Box box;
        box.left = side == 0 ? kX : 0;
        box.width = side == 0 ? 100 - kX : side == 1 ? 2 * kX : kX;
        box.edge = anchor > 6 ? BoxEdge::Top : anchor > 3 ? BoxEdge::Middle : BoxEdge::Bottom;
        box.top = anchor > 6 ? kY : 0;
        box.height = anchor > 6 ? 100 - kY : anchor > 3 ? 2 * kY : kY;
        cue.box = box;
    }
    if (isSo()) {
        isVtt ? cue.properties.push_back({"vtt.size", "50%"})
              : cue.properties.push_back({"srt.coordinates", "X1:1 X2:2"});
        if (isVtt) {
            // Half of the picture: on the side where the text is, at the upper edge or below in what all receivers show.
            const Alignment side = cue.rows.empty() ? Alignment::Center : cue.rows.front().alignment;
            const double left = side == Alignment::Left ? 0 : side == Alignment::Right ? 50 : 25;
            const bool isAbove = !cue.rows.empty() && anchor != 0;
            cue.box = isAbove ? Box{left, 0, 50, 100, BoxEdge::Top} : Box{left, 10, 50, 80, BoxEdge::Bottom};
            placeRows(cue, *cue.box);
            for (Row& row : cue.rows) {
                row.anchor = anchor;
            }
        }
    }
    return cue;
}

}  // namespace qlxtest
