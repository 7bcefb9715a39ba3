// MP4 and Matroska files with text tracks, put together byte by byte.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qlxtest::tracks {

inline std::string number(std::uint64_t value, std::size_t bytes) {
    std::string text;
    for (; bytes > 0; --bytes) {
        text += static_cast<char>(value >> (8 * (bytes - 1)) & 0xFFU);
    }
    return text;
}

inline std::string box(std::string_view type, const std::string& content) {
    return number(content.size() + 8, 4) + std::string(type) + content;
}

inline std::string fullBox(std::string_view type, const std::string& content) {
    return box(type, number(0, 4) + content);
}

inline std::string zeros(std::size_t count) {
    return std::string(count, '\0');
}

struct Sample {
    std::string bytes;
    std::uint32_t milliseconds = 0;
};

struct Mp4Track {
    std::string_view language = "und";
    std::string_view handler;
    std::string entry;  ///< The sample description (ISO/IEC 14496-12, 8.5.2).
    std::vector<Sample> samples;
    std::string edits{};  ///< The box of an edit list (8.6.5), if there is one.
};

/// An entry of an edit list: a duration in the movie's milliseconds, and when in the media it begins, -1 for nothing.
inline std::string edit(std::uint32_t milliseconds, std::int32_t mediaTime, std::uint32_t rate = 0x10000) {
    return number(milliseconds, 4) + number(static_cast<std::uint32_t>(mediaTime), 4) + number(rate, 4);
}

/// The same with numbers of 64 bits.
inline std::string longEdit(std::uint64_t milliseconds, std::int64_t mediaTime) {
    return number(milliseconds, 8) + number(static_cast<std::uint64_t>(mediaTime), 8) + number(0x10000, 4);
}

inline std::string editBox(const std::string& edits, unsigned version = 0) {
    const std::size_t entry = version == 0 ? 12 : 20;
    return edits.empty()
               ? std::string()
               : box("edts", box("elst", number(version, 1) + zeros(3) + number(edits.size() / entry, 4) + edits));
}

inline std::string mp4Track(const Mp4Track& track, std::size_t id, std::size_t place) {
    std::string times;
    std::string sizes;
    std::string places;
    std::uint64_t duration = 0;
    for (const Sample& sample : track.samples) {
        times += number(1, 4) + number(sample.milliseconds, 4);
        sizes += number(sample.bytes.size(), 4);
        places += number(place, 4);
        place += sample.bytes.size();
        duration += sample.milliseconds;
    }
    const std::string count = number(track.samples.size(), 4);
    const std::string table =
        box("stbl", fullBox("stsd", number(1, 4) + track.entry) + fullBox("stts", count + times) +
                        fullBox("stsc", number(1, 4) + number(1, 4) + number(1, 4) + number(1, 4)) +
                        fullBox("stsz", number(0, 4) + count + sizes) + fullBox("stco", count + places));
    std::uint64_t language = 0;
    for (const char letter : track.language) {
        language = language << 5U | static_cast<std::uint64_t>(letter - 0x60);
    }
    const std::string media =
        box("mdia", fullBox("mdhd", zeros(8) + number(1000, 4) + number(duration, 4) + number(language, 2) + zeros(2)) +
                        fullBox("hdlr", zeros(4) + std::string(track.handler) + zeros(13)) +
                        box("minf", fullBox("nmhd", "") +
                                        box("dinf", fullBox("dref", number(1, 4) + fullBox("url ", ""))) + table));
    return box("trak",
               box("tkhd", number(1, 4) + zeros(8) + number(id, 4) + zeros(4) + number(duration, 4) + zeros(60)) +
                   track.edits + media);
}

/// A file with these tracks, whose samples stand in front of the index, or behind it.
/// @param padding Bytes in front of the tracks in the index.
/// @param scale Units of edit lists in a second.
inline std::string mp4(const std::vector<Mp4Track>& tracks, bool isIndexInFront = false, std::size_t padding = 0,
                       std::uint32_t scale = 1000) {
    const std::string first = box("ftyp", "isom" + zeros(4) + "isom");
    std::string data;
    std::uint64_t longest = 0;
    const auto index = [&](std::size_t place) {
        std::string all;
        data.clear();
        for (std::size_t id = 1; id <= tracks.size(); ++id) {
            all += mp4Track(tracks[id - 1], id, place + data.size());
            std::uint64_t duration = 0;
            for (const Sample& sample : tracks[id - 1].samples) {
                data += sample.bytes;
                duration += sample.milliseconds;
            }
            longest = std::max(longest, duration);
        }
        const std::string header = fullBox("mvhd", zeros(8) + number(scale, 4) + number(longest, 4) + zeros(80));
        return box("moov", header + (padding == 0 ? "" : box("free", zeros(padding))) + all);
    };
    const std::size_t behind = first.size() + 8;
    if (isIndexInFront) {
        // The index is as long whatever the places in it are.
        const std::string all = index(behind + index(0).size());
        return first + all + box("mdat", data);
    }
    const std::string all = index(behind);
    return first + box("mdat", data) + all;
}

/// A fragment of a file with one track.
struct Fragment {
    std::uint64_t begin = 0;  ///< In milliseconds.
    std::vector<Sample> samples;
};

/// A file whose index has no samples (8.8), but says of the one track what else there is to say.
inline std::string fragmentedMp4(Mp4Track track, const std::vector<Fragment>& fragments) {
    track.samples.clear();
    const std::string extends = box("mvex", fullBox("trex", number(1, 4) + number(1, 4) + zeros(12)));
    std::string file = box("ftyp", "iso6" + zeros(4) + "iso6") +
                       box("moov", fullBox("mvhd", zeros(8) + number(1000, 4) + number(0, 4) + zeros(80)) +
                                       mp4Track(track, 1, 0) + extends);
    for (const Fragment& fragment : fragments) {
        std::string table;
        std::string data;
        for (const Sample& sample : fragment.samples) {
            table += number(sample.milliseconds, 4) + number(sample.bytes.size(), 4);
            data += sample.bytes;
        }
        const auto head = [&](std::size_t offset) {
            // Samples begin behind the fragment; each has a duration and a size.
            const std::string run =
                box("trun", number(0x301, 4) + number(fragment.samples.size(), 4) + number(offset, 4) + table);
            const std::string track1 =
                box("tfhd", number(0x20000, 4) + number(1, 4)) + fullBox("tfdt", number(fragment.begin, 4)) + run;
            return box("moof", fullBox("mfhd", number(1, 4)) + box("traf", track1));
        };
        file += head(head(0).size() + 8) + box("mdat", data);
    }
    return file;
}

// Matroska (RFC 9559)

inline std::string element(std::uint64_t name, const std::string& content) {
    std::size_t bytes = 1;
    while (name >> (8 * bytes) != 0) {
        ++bytes;
    }
    constexpr std::uint64_t kEightBytes = std::uint64_t{1} << 56U;
    return number(name, bytes) + number(kEightBytes | content.size(), 8) + content;
}

struct MatroskaText {
    unsigned track = 1;
    std::uint64_t begin = 0;
    std::uint64_t duration = 0;
    std::string text;
    std::string addition{};  ///< Settings and name of a WebVTT cue.
};

struct MatroskaTrack {
    std::string codec;
    std::string language;
    std::string header{};
};

inline std::string matroska(const std::vector<MatroskaTrack>& described, const std::vector<MatroskaText>& texts) {
    std::string tracks;
    for (std::size_t index = 0; index < described.size(); ++index) {
        tracks += element(0xAE, element(0xD7, number(index + 1, 1)) + element(0x73C5, number(index + 1, 1)) +
                                    element(0x83, number(0x11, 1)) + element(0x86, described[index].codec) +
                                    element(0x22B59C, described[index].language) +
                                    (described[index].header.empty() ? "" : element(0x63A2, described[index].header)));
    }
    // The time of a block is one of 16 bits behind that of its cluster.
    constexpr std::uint64_t kCluster = 30'000;
    std::string clusters;
    std::string groups;
    std::uint64_t cluster = 0;
    const auto endCluster = [&](std::uint64_t next) {
        clusters += groups.empty() ? "" : element(0x1F43B675, element(0xE7, number(cluster * kCluster, 4)) + groups);
        groups.clear();
        cluster = next;
    };
    for (const MatroskaText& text : texts) {
        endCluster(text.begin / kCluster);
        groups = element(
            0xA0,
            element(0xA1, number(0x80U | text.track, 1) + number(text.begin % kCluster, 2) + zeros(1) + text.text) +
                (text.duration == 0 ? "" : element(0x9B, number(text.duration, 4))) +
                (text.addition.empty()
                     ? ""
                     : element(0x75A1, element(0xA6, element(0xEE, number(1, 1)) + element(0xA5, text.addition)))));
    }
    endCluster(0);
    return element(0x1A45DFA3, element(0x4282, "matroska")) +
           element(0x18538067, element(0x1549A966, element(0x2AD7B1, number(1'000'000, 4))) +
                                   element(0x1654AE6B, tracks) + clusters);
}

}  // namespace qlxtest::tracks
