// Making subtitle records and reading SRT files, against a plain reader that makes the same records.
#include <QLXClosedCaptionsUtilities/QLXSRTFileReader.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
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

BENCHMARK(makeTwoLineRecord);
BENCHMARK(makeTwoLineRecordFromMarkup);
BENCHMARK(readSRT)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(readSRTForCEA608)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(readSRTPlainly)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);

}  // namespace
