// Making subtitle records and reading SRT and EBU STL files, against plain readers that make the same records.
#include <QLXClosedCaptionsUtilities/QLXSRTFileReader.h>
#include <QLXClosedCaptionsUtilities/QLXSTLFileReader.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <qlx/subtitles/subrip.h>
#include <qlx/subtitles/webvtt.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using Records = std::vector<std::shared_ptr<QLXSubtitleRecord>>;

constexpr double kFrameDuration = 1.0 / 25;

/// `cueCount` cues of about 75 bytes, two lines each, two seconds apart.
std::string makeFile(std::int64_t cueCount) {
    constexpr std::array<const char*, 4> kLines{"Where were you at", "nine that evening?", "I was out walking",
                                                "beside the old oak"};
    std::string file;
    for (std::int64_t cue = 0; cue < cueCount; ++cue) {
        std::array<char, 96> head{};
        const auto seconds = cue * 2;
        const int length = std::snprintf(
            head.data(), head.size(), "%d\n%02d:%02d:%02d,120 --> %02d:%02d:%02d,840\n", static_cast<int>(cue + 1),
            static_cast<int>(seconds / 3600), static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60),
            static_cast<int>((seconds + 1) / 3600), static_cast<int>((seconds + 1) / 60 % 60),
            static_cast<int>((seconds + 1) % 60));
        file.append(head.data(), static_cast<std::size_t>(length));
        for (std::int64_t line = 0; line < 2; ++line) {
            file += kLines[static_cast<std::size_t>((cue + line) % 4)];
            file += '\n';
        }
        file += '\n';
    }
    return file;
}

/// Hands out one text as every file.
class MemoryFileReader final : public qlx::FileReader {
public:
    explicit MemoryFileReader(const std::string& text)
        : _file(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()) {}
    qlx::Data contentsOfFile(const std::string& /*path*/) override { return _file; }

private:
    qlx::Data _file;
};

double plainSeconds(const std::string& timecode) {
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int milliseconds = 0;
    std::sscanf(timecode.c_str(), "%d:%d:%d,%d", &hours, &minutes, &seconds, &milliseconds);
    return milliseconds / 1000.0 + (hours * 3600 + minutes * 60 + seconds);
}

/// What one writes first: lines from a stream, sscanf for the times, no markup; well-formed files only.
Records readPlainly(const std::string& path) {
    const qlx::Data file = qlx::services().get<qlx::FileReader>().contentsOfFile(path);
    std::istringstream stream(std::string(file.begin(), file.end()));
    Records records;
    std::string line;
    while (std::getline(stream, line)) {
        auto record = std::make_shared<QLXSubtitleRecord>();
        record->setIndex(std::stoull(line));
        std::getline(stream, line);
        const std::size_t arrow = line.find(" --> ");
        record->setStartTimeInSeconds(plainSeconds(line.substr(0, arrow)));
        record->setEndTimeInSeconds(plainSeconds(line.substr(arrow + 5)));
        record->setIsValid(true);
        std::vector<std::shared_ptr<QLXSubtitleTextLine>> lines;
        while (std::getline(stream, line) && !line.empty()) {
            auto textLine = std::make_shared<QLXSubtitleTextLine>();
            textLine->setTextString(line);
            lines.push_back(std::move(textLine));
        }
        record->setSubtitleLines(std::move(lines));
        record->updatePositioningForSubtitleMode(2);
        records.push_back(std::move(record));
    }
    return records;
}

Records readWithLibrary(const std::string& path) {
    return QLXSRTFileReader::subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration(path, 2, kFrameDuration);
}

Records readForCEA608(const std::string& path) {
    return QLXSRTFileReader::subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration(path, 1, kFrameDuration);
}

bool equal(const QLXSubtitleTextLine& left, const QLXSubtitleTextLine& right) {
    return left.textString() == right.textString() && left.bold() == right.bold() && left.italic() == right.italic() &&
           left.underline() == right.underline() && left.textColor() == right.textColor() &&
           left.alignment() == right.alignment() && left.positioningType() == right.positioningType() &&
           left.verticalPosition() == right.verticalPosition();
}

bool equal(const QLXSubtitleRecord& left, const QLXSubtitleRecord& right) {
    const auto leftLines = left.subtitleLines();
    const auto rightLines = right.subtitleLines();
    if (left.index() != right.index() || left.isValid() != right.isValid() ||
        left.startTimeInSeconds() != right.startTimeInSeconds() ||
        left.endTimeInSeconds() != right.endTimeInSeconds() || leftLines.size() != rightLines.size()) {
        return false;
    }
    for (std::size_t index = 0; index < leftLines.size(); ++index) {
        if (!equal(*leftLines[index], *rightLines[index])) {
            return false;
        }
    }
    return true;
}

bool equal(const Records& left, const Records& right) {
    if (left.size() != right.size()) {
        return false;
    }
    for (std::size_t index = 0; index < left.size(); ++index) {
        if (!equal(*left[index], *right[index])) {
            return false;
        }
    }
    return true;
}

/// Times `read` on a file of as many cues as the benchmark's argument says; the records' destruction is included.
template <class Read>
void readCues(benchmark::State& state, Read read) {
    const std::string text = makeFile(state.range(0));
    MemoryFileReader reader(text);
    const qlx::ScopedService<qlx::FileReader> service(reader);
    const Records records = readWithLibrary("demo.srt");
    if (records.size() != static_cast<std::size_t>(state.range(0)) || !equal(records, readPlainly("demo.srt"))) {
        state.SkipWithError("the two readers differ");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(read("demo.srt"));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
    state.counters["s/cue"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * static_cast<double>(state.range(0)),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void readSRT(benchmark::State& state) {
    readCues(state, readWithLibrary);
}
void readSRTForCEA608(benchmark::State& state) {
    readCues(state, readForCEA608);
}
void readSRTPlainly(benchmark::State& state) {
    readCues(state, readPlainly);
}

/// An EBU STL file of two-line blocks, two seconds apart, with one accent in each.
std::string makeSTLFile(std::int64_t blockCount) {
    std::string file(1024, ' ');
    file.replace(3, 8, "STL25.01");
    const std::string count = std::to_string(blockCount);
    file.replace(238, count.size(), count);
    for (std::int64_t block = 0; block < blockCount; ++block) {
        std::string bytes(128, '\x8F');
        const auto put = [&bytes](std::size_t offset, std::int64_t value) { bytes[offset] = static_cast<char>(value); };
        put(1, block % 256);
        put(2, block / 256 % 256);
        const std::int64_t seconds = block * 2;
        for (const std::size_t offset : {5U, 9U}) {
            put(offset, seconds / 3600 % 256);
            put(offset + 1, seconds / 60 % 60);
            put(offset + 2, seconds % 60);
            put(offset + 3, offset == 5 ? 3 : 23);
        }
        put(13, 20);
        put(14, 2);
        put(15, 0);
        constexpr std::string_view kText =
            "\x03\x0D\x0B\x0BWhere were you at\x8A\x0D\x0B\x0Bthe caf\xC2\x65 that night?";
        bytes.replace(16, kText.size(), kText);
        file += bytes;
    }
    return file;
}

/// The text of a line, as far as the files of these benchmarks go.
std::string plainSTLText(const std::string& bytes) {
    std::string text;
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        if (bytes.substr(index, 2) == "\xC2\x65") {
            text += "\u00E9";
            ++index;
        } else {
            text += bytes[index];
        }
    }
    return text;
}

/// What one writes first: each block copied out, lines by their setters.
Records readSTLPlainly(const std::string& path) {
    const qlx::Data data = qlx::services().get<qlx::FileReader>().contentsOfFile(path);
    const std::string file(data.begin(), data.end());
    Records records;
    for (std::size_t start = 1024; start < file.size(); start += 128) {
        const std::string block = file.substr(start, 128);
        const auto byteAt = [&block](std::size_t offset) { return static_cast<unsigned char>(block[offset]); };
        auto record = std::make_shared<QLXSubtitleRecord>();
        record->setIndex(byteAt(1) + byteAt(2) * 256U);
        record->setIsValid(true);
        record->setStartTimeInSeconds(byteAt(5) * 3600 + byteAt(6) * 60 + byteAt(7) + byteAt(8) / 25.0);
        record->setEndTimeInSeconds(byteAt(9) * 3600 + byteAt(10) * 60 + byteAt(11) + byteAt(12) / 25.0);
        std::vector<std::shared_ptr<QLXSubtitleTextLine>> lines;
        std::string text;
        std::int32_t color = 7;
        for (std::size_t offset = 16; offset < 127; ++offset) {
            const unsigned char byte = byteAt(offset);
            if (byte == 0x8A || byte == 0x8F) {
                auto line = std::make_shared<QLXSubtitleTextLine>();
                line->setTextString(plainSTLText(text));
                line->setAlignment(byteAt(14));
                line->setTextColor(color);
                line->setVerticalPosition(lines.size() + (byteAt(13) - 1U) / 2);
                lines.push_back(std::move(line));
                text.clear();
                if (byte == 0x8F) {
                    break;
                }
            } else if (byte >= 0x20) {
                text += block[offset];
            } else if (byte < 8) {
                color = byte;
            }
        }
        record->setSubtitleLines(std::move(lines));
        records.push_back(std::move(record));
    }
    return records;
}

Records readSTLWithLibrary(const std::string& path) {
    return QLXSTLFileReader::subtitleRecordsFromSTLFileAtPath(path);
}

/// Times `read` on a file of as many blocks as the benchmark's argument says; the records' destruction is included.
template <class Read>
void readBlocks(benchmark::State& state, Read read) {
    const std::string file = makeSTLFile(state.range(0));
    MemoryFileReader reader(file);
    const qlx::ScopedService<qlx::FileReader> service(reader);
    const Records records = readSTLWithLibrary("demo.stl");
    if (records.size() != static_cast<std::size_t>(state.range(0)) || !equal(records, readSTLPlainly("demo.stl"))) {
        state.SkipWithError("the two readers differ");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(read("demo.stl"));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(file.size()));
}

void readSTL(benchmark::State& state) {
    readBlocks(state, readSTLWithLibrary);
}
void readSTLWithPlainReader(benchmark::State& state) {
    readBlocks(state, readSTLPlainly);
}

/// One record with two lines, by its setters, as a host makes it.
void makeTwoLineRecord(benchmark::State& state) {
    for (auto _ : state) {
        auto record = std::make_shared<QLXSubtitleRecord>();
        record->setStartTimeInSeconds(10.0);
        record->setEndTimeInSeconds(12.0);
        std::vector<std::shared_ptr<QLXSubtitleTextLine>> lines(2);
        for (auto& line : lines) {
            line = std::make_shared<QLXSubtitleTextLine>();
            line->setTextString("Where were you on that night?");
        }
        record->setSubtitleLines(std::move(lines));
        benchmark::DoNotOptimize(record);
    }
}

/// The same out of SRT lines with markup.
void makeTwoLineRecordFromMarkup(benchmark::State& state) {
    for (auto _ : state) {
        auto record = std::make_shared<QLXSubtitleRecord>();
        record->setSubtitleLines({QLXSubtitleTextLine::initWithSRTLine("<font color=\"#FFFF00\">Where were you</font>"),
                                  QLXSubtitleTextLine::initWithSRTLine("{\\an8}<i>on that night?</i>")});
        benchmark::DoNotOptimize(record);
    }
}

/// The core's readers and writers, of as many cues as the file above has.
template <class Reader>
std::vector<qlx::subtitles::Cue> cuesOf(const std::string& text) {
    std::vector<qlx::subtitles::Cue> cues;
    Reader reader;
    reader.push({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    reader.finish();
    while (const qlx::subtitles::Cue* const cue = reader.next()) {
        cues.push_back(*cue);
    }
    return cues;
}

template <class Reader>
void readTextCues(benchmark::State& state, const std::string& text) {
    if (cuesOf<Reader>(text).size() != static_cast<std::size_t>(state.range(0))) {
        state.SkipWithError("not all cues are read");
    }
    constexpr std::size_t kPiece = std::size_t{64} * 1024;
    for (auto _ : state) {
        Reader reader;
        std::size_t rows = 0;
        const auto take = [&] {
            while (const qlx::subtitles::Cue* const cue = reader.next()) {
                rows += cue->rows.size();
            }
        };
        for (std::size_t done = 0; done < text.size(); done += kPiece) {
            const std::string_view piece = std::string_view(text).substr(done, kPiece);
            reader.push({reinterpret_cast<const std::uint8_t*>(piece.data()), piece.size()});
            take();
        }
        reader.finish();
        take();
        benchmark::DoNotOptimize(rows);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

std::string webVttOf(const std::vector<qlx::subtitles::Cue>& cues) {
    std::string text;
    qlx::subtitles::WebVttWriter writer;
    writer.begin({}, text);
    for (const qlx::subtitles::Cue& cue : cues) {
        (void)writer.write(cue, text);
    }
    return text;
}

void readSubRipCues(benchmark::State& state) {
    readTextCues<qlx::subtitles::SubRipReader>(state, makeFile(state.range(0)));
}
void readWebVttCues(benchmark::State& state) {
    readTextCues<qlx::subtitles::WebVttReader>(
        state, webVttOf(cuesOf<qlx::subtitles::SubRipReader>(makeFile(state.range(0)))));
}
/// The worst for memory: rows of one character.
void readSubRipCuesOfShortRows(benchmark::State& state) {
    std::string text;
    for (std::int64_t cue = 0; cue < state.range(0); ++cue) {
        text += "00:00:01,000 --> 00:00:02,000\n";
        for (int row = 0; row < 1000; ++row) {
            text += "a\n";
        }
    }
    readTextCues<qlx::subtitles::SubRipReader>(state, text);
}

template <class Write>
void writeTextCues(benchmark::State& state, const Write& write) {
    const auto cues = cuesOf<qlx::subtitles::SubRipReader>(makeFile(state.range(0)));
    std::size_t size = 0;
    for (auto _ : state) {
        const std::string text = write(cues);
        size = text.size();
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
}
void writeSubRipCues(benchmark::State& state) {
    writeTextCues(state, [](const std::vector<qlx::subtitles::Cue>& cues) {
        std::string text;
        qlx::subtitles::SubRipWriter writer;
        for (const qlx::subtitles::Cue& cue : cues) {
            (void)writer.write(cue, text);
        }
        return text;
    });
}
void writeWebVttCues(benchmark::State& state) {
    writeTextCues(state, webVttOf);
}

BENCHMARK(readSubRipCues)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(readWebVttCues)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(readSubRipCuesOfShortRows)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(writeSubRipCues)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(writeWebVttCues)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(makeTwoLineRecord);
BENCHMARK(makeTwoLineRecordFromMarkup);
BENCHMARK(readSRT)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(readSRTForCEA608)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(readSTL)->Arg(1000)->Arg(10000)->Arg(99999)->Unit(benchmark::kMicrosecond);
BENCHMARK(readSTLWithPlainReader)->Arg(1000)->Arg(10000)->Arg(99999)->Unit(benchmark::kMicrosecond);
BENCHMARK(readSRTPlainly)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);

}  // namespace
