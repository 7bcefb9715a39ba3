// A small QuickTime file with one caption track (`c708`), put together by hand.
#pragma once

#include "ExactBuffer.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace qlxtest {

class MovFile {
public:
    /// @param samples The samples of the track in hexadecimal digits, one a frame at 25 frames a second.
    /// @param isIndexInFront The index (moov) stands in front of the samples, not behind them.
    static std::vector<std::uint8_t> withCaptionTrack(const std::vector<std::string>& samples,
                                                      bool isIndexInFront = false) {
        const std::string first = atom("ftyp", type("qt  ") + number(0) + type("qt  "));
        std::string data;
        for (const std::string& sample : samples) {
            data += sample;
        }
        const std::size_t place = first.size() / 2 + 8;
        if (!isIndexInFront) {
            return fromHex(first + atom("mdat", data) + index(samples, place));
        }
        // The index is as long whatever the places in it are.
        return fromHex(first + index(samples, place + index(samples, 0).size() / 2) + atom("mdat", data));
    }

    static std::string atom(std::string_view name, const std::string& content) {
        return number(content.size() / 2 + 8) + type(name) + content;
    }

private:
    /// @param place The byte at which the first sample begins.
    static std::string index(const std::vector<std::string>& samples, std::size_t place) {
        std::string sizes = number(0) + number(0) + number(samples.size());
        for (const std::string& sample : samples) {
            sizes += number(sample.size() / 2);
        }
        const std::string count = number(samples.size());
        const std::string entry = atom("c708", number(0) + "00000001");
        const std::string table =
            atom("stbl", atom("stsd", number(0) + number(1) + entry) +
                             atom("stts", number(0) + number(1) + count + number(1)) +
                             atom("stsc", number(0) + number(1) + number(1) + count + number(1)) + atom("stsz", sizes) +
                             atom("stco", number(0) + number(1) + number(place)));
        const std::string information = atom("minf", atom("nmhd", number(0)) + table);
        const std::string header = number(0) + number(0) + number(0) + number(25) + count;
        const std::string media = atom("mdia", atom("mdhd", header + number(0)) +
                                                   atom("hdlr", number(0) + type("mhlr") + type("clcp") + number(0) +
                                                                    number(0) + number(0) + "00") +
                                                   information);
        const std::string track =
            atom("trak",
                 atom("tkhd", number(1) + number(0) + number(0) + number(1) + number(0) + count + zeros(60)) + media);
        return atom("moov", atom("mvhd", header + zeros(80)) + track);
    }

    static std::string number(std::uint64_t value) {
        char text[17];
        std::snprintf(text, sizeof text, "%08llx", static_cast<unsigned long long>(value));
        return text;
    }

    static std::string type(std::string_view name) {
        std::string text;
        for (const char character : name) {
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(static_cast<unsigned char>(character)));
            text += digits;
        }
        return text;
    }

    static std::string zeros(int count) { return std::string(static_cast<std::size_t>(count) * 2, '0'); }
};

}  // namespace qlxtest
