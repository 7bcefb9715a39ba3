// Nothing that comes from outside makes the library throw, whichever way it comes in.
#include <qlx/streams/captions.h>
#include <qlx/streams/contents.h>
#include <qlx/streams/jsonl.h>
#include <qlx/streams/klv.h>
#include <qlx/streams/mcc.h>
#include <qlx/streams/on_air.h>
#include <qlx/streams/open.h>
#include <qlx/streams/rows.h>
#include <qlx/streams/scc.h>
#include <qlx/streams/splice.h>
#include <qlx/streams/text_tracks.h>
#include <qlx/streams/transport_writer.h>
#include <qlx/streams/ts/vbi_reader.h>
#include <qlx/streams/ttml.h>

#include "FrameFiles.h"
#include "Places.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace qlx::streams;
using Bytes = std::vector<std::uint8_t>;

constexpr InputKind kLastKind = InputKind::Flv;
/// Frames that are read of one input.
constexpr std::size_t kMostFrames = 200;

struct Hostile {
    std::string name;
    Bytes bytes;
};

void addKept(std::vector<Hostile>& all, const std::string& target) {
    constexpr std::uintmax_t kGreatest = 64 * 1024;
    for (const auto& entry : std::filesystem::directory_iterator(qlxtest::projectPath("fuzz/corpus/" + target))) {
        if (entry.file_size() <= kGreatest) {
            std::ifstream file(entry.path(), std::ios::binary);
            all.push_back({target + "/" + entry.path().filename().string(),
                           Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>())});
        }
    }
}

std::vector<Hostile> hostileInputs() {
    std::vector<Hostile> all{{"nothing", {}},
                             {"zeros", Bytes(5000, 0)},
                             {"ones", Bytes(5000, 0xFF)},
                             {"sync bytes", Bytes(5000, 0x47)},
                             {"brackets", Bytes(100'000, '[')},
                             {"tags", {}}};
    for (int depth = 0; depth < 20'000; ++depth) {
        all.back().bytes.insert(all.back().bytes.end(), {'<', 'a', '>'});
    }
    std::mt19937 random(11);
    Bytes any(20'000);
    for (std::uint8_t& byte : any) {
        byte = static_cast<std::uint8_t>(random());
    }
    all.push_back({"random", any});
    for (const char* target :
         {"Containers", "InputKinds", "KlvFile", "MccFile", "SccFile", "TtmlCues", "VideoStream"}) {
        addKept(all, target);
    }
    return all;
}

/// Whatever frames are made of, and where they can go.
class Everywhere {
public:
    void take(const Frame& frame) {
        qlx::Findings findings;
        (void)captionTriplets(frame, &findings);
        _contents.receive(frame);
        for (const auto& onAir : _onAir) {
            (void)onAir->receive(frame, &findings);
            (void)onAir->screen();
        }
        for (const auto& writer : _writers) {
            (void)writer->write(frame, &findings);
        }
    }
    void finish() {
        (void)_contents.contents();
        for (const auto& writer : _writers) {
            (void)writer->finish();
        }
    }

private:
    static std::vector<std::unique_ptr<OnAir>> allOnAir() {
        std::vector<std::unique_ptr<OnAir>> all;
        all.push_back(teletextOnAir(0x888));
        all.push_back(captionsOnAir(qlx::cea608::kCC1));
        all.push_back(serviceOnAir(1));
        return all;
    }
    static std::vector<std::unique_ptr<FrameWriter>> allWriters(ByteSink& sink) {
        std::vector<std::unique_ptr<FrameWriter>> all;
        all.push_back(std::make_unique<JsonlWriter>(sink));
        all.push_back(std::make_unique<KlvWriter>(sink));
        all.push_back(std::make_unique<MccWriter>(sink));
        all.push_back(std::make_unique<SccWriter>(sink));
        all.push_back(std::make_unique<RowWriter>(sink, RowLayout{.width = 48, .lines = {9}}));
        all.push_back(std::make_unique<TransportWriter>(sink));
        return all;
    }

    qlxtest::MemorySink _sink{std::size_t{1} << 20U};  // Later on, writing fails.
    ContentReader _contents;
    std::vector<std::unique_ptr<OnAir>> _onAir = allOnAir();
    std::vector<std::unique_ptr<FrameWriter>> _writers = allWriters(_sink);
};

void readFrames(ByteSource& source, InputKind kind) {
    auto reader = openFrames(source, kind, {.width = 48, .lines = {9, 10}, .rate = std::nullopt});
    if (!reader) {
        EXPECT_NE(reader.error().text(), "");
        return;
    }
    Everywhere everywhere;
    qlx::Findings findings;
    Frame frame;
    for (std::size_t frames = 0; frames < kMostFrames; ++frames) {
        const auto more = (*reader)->next(frame, &findings);
        if (!more || !*more) {
            break;
        }
        everywhere.take(frame);
    }
    everywhere.finish();
    for (const qlx::Finding& finding : findings) {
        (void)(*reader)->placeOf(finding);
        EXPECT_NE(finding.text(), "");
    }
}

void readTracks(const Bytes& bytes, InputKind kind) {
    MemorySource source(bytes);
    TextTrackReader reader(source, kind);
    qlx::Findings findings;
    if (!reader.open()) {
        for (std::size_t track = 0; track < reader.tracks().size(); ++track) {
            (void)reader.read(
                track, [](const qlx::subtitles::Cue&) {}, &findings);
        }
    }
}

TEST(HostileInput, MakesNoReaderOfFramesThrow) {
    for (const Hostile& input : hostileInputs()) {
        EXPECT_NO_THROW((void)inputKind(input.bytes, "film.mov"));
        for (int number = 0; number <= static_cast<int>(kLastKind); ++number) {
            const auto kind = static_cast<InputKind>(number);
            SCOPED_TRACE(input.name + " as " + std::string(nameOf(kind)));
            MemorySource source(input.bytes);
            EXPECT_NO_THROW(readFrames(source, kind));
            qlxtest::FailingSource failing(input.bytes);
            EXPECT_NO_THROW(readFrames(failing, kind));
        }
    }
}

TEST(HostileInput, MakesNoOtherReaderThrow) {
    for (const Hostile& input : hostileInputs()) {
        SCOPED_TRACE(input.name);
        qlx::Findings findings;
        EXPECT_NO_THROW((void)readTtml(
            input.bytes, [](const qlx::subtitles::Cue&) {}, {}, &findings));
        EXPECT_NO_THROW(readTracks(input.bytes, InputKind::Mov));
        EXPECT_NO_THROW(readTracks(input.bytes, InputKind::Mkv));
        EXPECT_NO_THROW({
            SpliceReader reader({}, &findings);
            reader.push(input.bytes);
            reader.finish();
            while (reader.next()) {
            }
        });
        EXPECT_NO_THROW({
            ts::VbiReader reader({}, &findings);
            reader.push(input.bytes);
            reader.finish();
            while (reader.next() != nullptr) {
            }
        });
        for (const qlx::Finding& finding : findings) {
            EXPECT_NE(finding.text(), "");
        }
    }
}

}  // namespace
