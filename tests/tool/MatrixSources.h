// What the matrix of formats begins with: files of cues that nothing here writes, put together by hand.
#pragma once

#include "CarriedCues.h"
#include "TextTrackFiles.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qlxtest::carried {

inline bool isStruckOut(const Run& run) {
    return std::any_of(run.properties.begin(), run.properties.end(),
                       [](const auto& property) { return property.name == "strikeout"; });
}

/// By hand: nothing here writes this format.
inline std::string subStationOf(const std::vector<Cue>& cues) {
    std::string text = "[Script Info]\nPlayResX: 640\nPlayResY: 300\n[V4+ Styles]\n"
                       "Format: Name, PrimaryColour, OutlineColour, BorderStyle, Alignment\n"
                       "Style: Default,&H00FFFFFF,&H00000000,1,2\nStyle: Box,&H00FFFFFF,&H00FF0000,3,2\n"
                       "[Events]\nFormat: Start, End, Style, Text\n";
    const auto time = [](const qlx::MediaTime& at) {
        char buffer[32];
        const auto hundredths = static_cast<unsigned>(at.value / 10);
        std::snprintf(buffer, sizeof(buffer), "0:%02u:%02u.%02u", hundredths / 6000, hundredths / 100 % 60,
                      hundredths % 100);
        return std::string(buffer);
    };
    for (const Cue& cue : cues) {
        text += "Dialogue: " + time(cue.start) + "," + time(cue.end) + ",Default,";
        text += cue.rows[0].anchor == 0 ? "" : "{\\an" + std::to_string(cue.rows[0].anchor) + "}";
        for (const Row& row : cue.rows) {
            text += &row == cue.rows.data() ? "" : "\\N";
            for (const Run& run : row.runs) {
                text += run.style.background ? "{\\rBox" : "{\\r";
                text += run.style.isBold ? "\\b1" : "";
                text += run.style.isItalic ? "\\i1" : "";
                text += run.style.isUnderlined ? "\\u1" : "";
                text += run.style.foreground == Color::Yellow  ? "\\c&H00FFFF&"
                        : run.style.foreground == Color::Cyan  ? "\\c&HFFFF00&"
                        : run.style.foreground != Color::White ? "\\c&H00A5FF&"
                                                               : "";
                text += isStruckOut(run) ? "\\s1}" : "}";
                text += run.text;
            }
        }
        text += "\n";
    }
    return text;
}

/// Of a document before TTML 1, with times in frames, and of SMPTE-TT, with time codes of 25 frames a second.
enum class TtmlForm : std::uint8_t { Dfxp, Smpte };

/// A paragraph for each cue, in one of nine regions.
inline std::string ttmlOf(const std::vector<Cue>& cues, TtmlForm form) {
    const bool isOld = form == TtmlForm::Dfxp;
    const std::string space = isOld ? "http://www.w3.org/2006/10/ttaf1" : "http://www.w3.org/ns/ttml";
    std::string text = "<?xml version='1.0'?>\n<tt xmlns='" + space + "' xmlns:s='" + space +
                       (isOld ? "#style" : "#styling") + "' xmlns:p='" + space + "#parameter' p:frameRate='25'" +
                       (isOld ? ""
                              : " p:timeBase='smpte' p:dropMode='nonDrop' xmlns:m='http://www.smpte-ra.org/"
                                "schemas/2052-1/2010/smpte-tt'") +
                       " xml:lang='en'><head><layout>\n";
    constexpr std::array<std::string_view, 3> kSides{"left", "center", "right"};
    constexpr std::array<std::string_view, 3> kBands{"after", "center", "before"};
    for (std::size_t place = 0; place < 9; ++place) {
        text += "<region xml:id='r" + std::to_string(place + 1) +
                "' s:origin='10% 10%' s:extent='80% 80%' s:displayAlign='" + std::string(kBands[place / 3]) +
                "' s:textAlign='" + std::string(kSides[place % 3]) + "'/>\n";
    }
    text += "</layout></head><body><div>\n";
    const auto time = [isOld](const qlx::MediaTime& at) {
        // Whole frames, as all times of these cues are.
        const auto frames = static_cast<unsigned>(at.value / 40);
        char label[32];
        std::snprintf(label, sizeof(label), "00:%02u:%02u:%02u", frames / 1500, frames / 25 % 60, frames % 25);
        return isOld ? std::to_string(frames) + "f" : std::string(label);
    };
    for (const Cue& cue : cues) {
        const unsigned anchor = cue.rows[0].anchor == 0 ? 2U : cue.rows[0].anchor;
        text +=
            "<p begin='" + time(cue.start) + "' end='" + time(cue.end) + "' region='r" + std::to_string(anchor) + "'>";
        for (const Row& row : cue.rows) {
            text += &row == cue.rows.data() ? "" : "<br/>";
            for (const Run& run : row.runs) {
                text += "<span";
                text += run.style.isBold ? " s:fontWeight='bold'" : "";
                text += run.style.isItalic ? " s:fontStyle='italic'" : "";
                text += run.style.isUnderlined ? " s:textDecoration='underline'" : "";
                text += isStruckOut(run) ? " s:textDecoration='lineThrough'" : "";
                text += run.style.background ? " s:backgroundColor='blue'" : "";
                text += run.style.foreground == Color::Yellow  ? " s:color='yellow'>"
                        : run.style.foreground == Color::Cyan  ? " s:color='cyan'>"
                        : run.style.foreground != Color::White ? " s:color='#ffa500'>"
                                                               : ">";
                text += run.text + "</span>";
            }
        }
        text += "</p>\n";
    }
    return text + "</div></body></tt>\n";
}

/// webVttOf() taken apart.
struct WebVttParts {
    struct Part {
        std::string name;
        std::string settings;  ///< Without the space in front of them.
        std::string text;
    };
    std::string head;
    std::vector<Part> cues;
};

inline WebVttParts webVttPartsOf(const std::vector<Cue>& cues) {
    const std::string text = webVttOf(cues);
    std::vector<std::string> blocks;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find("\n\n", begin), text.size());
        blocks.push_back(text.substr(begin, end - begin));
        begin = end + 2;
    }
    // The signature and the region stand in front.
    WebVttParts parts;
    parts.head = blocks.at(0) + "\n\n" + blocks.at(1);
    for (std::size_t index = 2; index < blocks.size(); ++index) {
        const std::string& block = blocks[index];
        constexpr std::string_view kTimes = "00:00:00.000 --> 00:00:00.000";
        const std::size_t settings = block.find('\n') + 1 + kTimes.size();
        const std::size_t payload = block.find('\n', settings) + 1;
        parts.cues.push_back({block.substr(0, block.find('\n')),
                              block.substr(settings, payload - 1 - settings).substr(payload - 1 == settings ? 0 : 1),
                              block.substr(payload)});
    }
    return parts;
}

/// They as samples of a `wvtt` track (ISO/IEC 14496-30), with empty ones between them.
inline std::string wvttOf(const std::vector<Cue>& cues) {
    const WebVttParts parts = webVttPartsOf(cues);
    std::vector<tracks::Sample> samples;
    std::int64_t last = 0;
    for (std::size_t index = 0; index < cues.size(); ++index) {
        const auto& [name, settings, text] = parts.cues.at(index);
        samples.push_back({tracks::box("vtte", ""), static_cast<std::uint32_t>(cues[index].start.value - last)});
        samples.push_back(
            {tracks::box("vttc", tracks::box("iden", name) + (settings.empty() ? "" : tracks::box("sttg", settings)) +
                                     tracks::box("payl", text)),
             static_cast<std::uint32_t>(cues[index].end.value - cues[index].start.value)});
        last = cues[index].end.value;
    }
    const std::string head = tracks::box("vttC", parts.head);
    return tracks::mp4({{"eng", "text", tracks::box("wvtt", tracks::zeros(6) + tracks::number(1, 2) + head), samples}});
}

/// They as blocks of a WebVTT track of Matroska, in which times count from the block's.
inline std::string webVttMatroskaOf(const std::vector<Cue>& cues) {
    const WebVttParts parts = webVttPartsOf(cues);
    std::vector<tracks::MatroskaText> texts;
    for (std::size_t index = 0; index < cues.size(); ++index) {
        auto [name, settings, text] = parts.cues.at(index);
        if (const std::size_t time = text.find("<00:"); time != std::string::npos) {
            // Half a second behind the start, as webVttOf() has it.
            text.replace(time, text.find('>', time) - time, "<00:00:00.500");
        }
        texts.push_back({1, static_cast<std::uint64_t>(cues[index].start.value),
                         static_cast<std::uint64_t>(cues[index].end.value - cues[index].start.value), text,
                         settings + "\n" + name + "\n"});
    }
    return tracks::matroska({{"S_TEXT/WEBVTT", "eng", parts.head}}, texts);
}

/// The events of subStationOf() as blocks of Matroska, with what stands in front of them as the head.
inline std::string subStationMatroskaOf(const std::vector<Cue>& cues) {
    const std::string text = subStationOf(cues);
    std::vector<tracks::MatroskaText> texts;
    std::size_t line = 0;
    for (std::size_t index = 0; index < cues.size(); ++index) {
        line = text.find("Dialogue: ", line) + 1;
        const std::size_t style = text.find("Default,", line);
        const std::size_t words = style + std::string_view("Default,").size();
        texts.push_back(
            {1, static_cast<std::uint64_t>(cues[index].start.value),
             static_cast<std::uint64_t>(cues[index].end.value - cues[index].start.value),
             std::to_string(index) + ",0,Default,,0,0,0,," + text.substr(words, text.find('\n', words) - words)});
    }
    return tracks::matroska({{"S_TEXT/ASS", "eng", text.substr(0, text.find("[Events]"))}}, texts);
}

/// A document as two samples of a `stpp` track, the second of which begins within a cue.
inline std::string stppOf(const std::string& document, const std::vector<Cue>& cues) {
    const std::int64_t middle = cues[cues.size() / 2].start.value + 600;
    const std::int64_t all = cues.back().end.value;
    const std::string entry =
        tracks::box("stpp", tracks::zeros(6) + tracks::number(1, 2) + "http://www.w3.org/ns/ttml" + tracks::zeros(3));
    return tracks::mp4(
        {{"eng",
          "subt",
          entry,
          {{document, static_cast<std::uint32_t>(middle)}, {document, static_cast<std::uint32_t>(all - middle)}}}});
}

/// Rows of `v210` as rows of `2vuy`: of luma the lower eight bits, in which packets are, of chroma the upper ones.
inline std::string twoVuyOf(std::string_view v210) {
    std::string bytes;
    bytes.reserve(v210.size() / 4 * 3);
    for (std::size_t place = 0; place + 3 < v210.size(); place += 4) {
        std::uint32_t word = 0;
        for (std::size_t byte = 0; byte < 4; ++byte) {
            word |= std::uint32_t{static_cast<std::uint8_t>(v210[place + byte])} << 8U * byte;
        }
        for (unsigned sample = 0; sample < 3; ++sample) {
            const std::uint32_t value = word >> 10U * sample & 0x3FFU;
            const bool isLuma = bytes.size() % 2 != 0;
            bytes += static_cast<char>(isLuma ? value & 0xFFU : value >> 2U);
        }
    }
    return bytes;
}

}  // namespace qlxtest::carried
