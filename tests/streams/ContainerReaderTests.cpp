// Reading the frames of containers, with FFmpeg's libraries and without them.
#include "ExactBuffer.h"
#include "FrameFiles.h"
#include "MovBytes.h"
#include "MxfBytes.h"

#include <gtest/gtest.h>

#include <qlx/streams/container.h>
#include <qlx/streams/open.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using qlx::Data;
using qlx::FindingCode;
using qlx::Severity;
using qlx::streams::ContainerReader;
using qlx::streams::Frame;
using qlx::streams::InputKind;
using qlx::streams::MemorySource;
using qlxtest::fromHex;
using qlxtest::MovFile;
using qlxtest::MxfFile;
using Bytes = std::vector<std::uint8_t>;

// One packet 61/02 of line 21 with three bytes, in an element of 8-bit samples.
const std::string kElement = "0001 0015 01 04 0006 00000008 00000001 61 02 03 8094ae 0000";

Bytes ancFile() {
    return MxfFile::withAncFrames({kElement, "0000", kElement});
}

/// All that a reader gives.
struct Found {
    std::vector<Frame> frames;
    qlx::Findings findings;
    std::vector<std::string> texts;
    std::optional<qlx::Finding> error;
};

Found readAll(qlx::streams::FrameReader& reader) {
    Found found;
    Frame frame;
    for (;;) {
        const qlx::Result<bool> more = reader.next(frame, &found.findings);
        for (std::string& text : reader.takeLibraryTexts()) {
            found.texts.push_back(std::move(text));
        }
        if (!more || !*more) {
            found.error = more ? std::nullopt : std::optional(more.error());
            return found;
        }
        found.frames.push_back(frame);
    }
}

Found readAll(const Bytes& bytes, InputKind kind) {
    MemorySource source(bytes);
    ContainerReader reader(source, kind);
    return readAll(reader);
}

TEST(ContainerReader, SaysThatWhatIsInAPictureOfAMultiplexIsNearItsBeginning) {
    const Bytes none;
    MemorySource source(none);
    const qlx::Finding ofPicture{FindingCode::VideoSeiCut, Severity::Warning, 5120, 0, 0};
    const qlx::Finding ofFile{FindingCode::ContainerPacketStray, Severity::Error, 5120, 0, 0};
    for (const InputKind kind : {InputKind::Mxf, InputKind::Mov, InputKind::TransportStream, InputKind::ProgramStream,
                                 InputKind::Mkv, InputKind::Flv}) {
        const ContainerReader reader(source, kind);
        const bool isMultiplex = kind == InputKind::TransportStream || kind == InputKind::ProgramStream;
        EXPECT_EQ(reader.placeOf(ofPicture),
                  (qlx::streams::Place{.frame = {}, .line = {}, .byte = 5120, .isNearby = isMultiplex}));
        EXPECT_EQ(reader.placeOf(ofFile),
                  (qlx::streams::Place{.frame = {}, .line = {}, .byte = 5120, .isNearby = false}));
    }
}

#ifdef QLX_STREAMS_FFMPEG

TEST(ContainerReader, IsThereWhenItWasBuilt) {
    EXPECT_EQ(qlx::streams::containerObstacle(), std::nullopt);
}

TEST(ContainerReader, GivesTheFramesOfAnAncTrack) {
    const Found found = readAll(ancFile(), InputKind::Mxf);
    EXPECT_FALSE(found.error);
    EXPECT_TRUE(found.findings.empty());
    ASSERT_EQ(found.frames.size(), 3U);
    for (std::size_t index = 0; index < 3; ++index) {
        const Frame& frame = found.frames[index];
        EXPECT_EQ(frame.number, index);
        ASSERT_TRUE(frame.pts);
        EXPECT_EQ(frame.pts->value, static_cast<std::int64_t>(index));
        EXPECT_EQ(frame.pts->timescale, 25);
        ASSERT_EQ(frame.packets.size(), index == 1 ? 0U : 1U);
        if (index != 1) {
            EXPECT_EQ(frame.packets[0].userData, fromHex("8094ae"));
            EXPECT_EQ(frame.packets[0].line, 21U);
        }
    }
}

TEST(ContainerReader, GivesWhatTheAtomsOfACaptionTrackHold) {
    // A packet; pairs of both fields, as older files have them in such tracks; nothing that is known.
    const Bytes bytes = MovFile::withCaptionTrack({MovFile::atom("ccdp", "96690102"),
                                                   MovFile::atom("cdat", "942c9420") + MovFile::atom("cdt2", "15ae"),
                                                   MovFile::atom("ccdq", "0102030405")});
    const Found found = readAll(bytes, InputKind::Mov);
    EXPECT_FALSE(found.error);
    ASSERT_EQ(found.frames.size(), 3U);
    ASSERT_EQ(found.frames[0].packets.size(), 1U);
    EXPECT_EQ(found.frames[0].packets[0].id(), qlx::anc::ids::kCdp);
    EXPECT_EQ(found.frames[0].packets[0].userData, fromHex("96690102"));
    EXPECT_TRUE(found.frames[1].packets.empty());
    EXPECT_EQ(found.frames[1].triplets, Data(fromHex("fc942c fc9420 fd15ae")));
    EXPECT_EQ(found.frames[1].captionPlace, qlx::streams::CaptionPlace::Track);
    EXPECT_TRUE(found.frames[2].packets.empty() && !found.frames[2].triplets);
    ASSERT_EQ(found.findings.size(), 1U);
    // Behind the first atom (20 bytes), the header of the one with the samples, and two samples (12, 12 and 10 bytes).
    EXPECT_EQ(found.findings[0],
              (qlx::Finding{FindingCode::ContainerAtomMissing, Severity::Error, 28 + 12 + 12 + 10, 13, 0}));
}

TEST(ContainerReader, SaysWhereAFileIsCut) {
    Bytes bytes = ancFile();
    bytes.resize(bytes.size() - 5);
    const Found found = readAll(bytes, InputKind::Mxf);
    EXPECT_FALSE(found.error);
    EXPECT_EQ(found.frames.size(), 3U);
    ASSERT_FALSE(found.findings.empty());
    // Of 24 bytes behind a key and a length of 4 bytes.
    EXPECT_EQ(found.findings[found.findings.size() - 1],
              (qlx::Finding{FindingCode::ContainerTripletCut, Severity::Error, bytes.size() - 39, 39, 44}));
}

TEST(ContainerReader, EndsWithAFindingWhereItCannotBegin) {
    Bytes bytes = ancFile();
    bytes.resize(30);
    MemorySource source(bytes);
    ContainerReader reader(source, InputKind::Mxf);
    const std::optional<qlx::Finding> why = reader.open();
    ASSERT_TRUE(why);
    EXPECT_EQ(why->code, FindingCode::ContainerNotReadable);
    EXPECT_TRUE(qlx::streams::hasLibraryText(why->code));
    EXPECT_EQ(reader.placeOf(*why), qlx::streams::Place{});
    EXPECT_EQ(reader.takeLibraryTexts().size(), 1U);
    // The same again, each time with its words.
    EXPECT_EQ(reader.open(), why);
    EXPECT_EQ(reader.takeLibraryTexts().size(), 1U);
    const Found found = readAll(reader);
    EXPECT_EQ(found.error, why);
    EXPECT_EQ(found.texts.size(), 1U);
    // With FFmpeg's log left alone there are its words for the error alone.
    const auto textsOf = [&bytes](bool ownsLibrarySettings) {
        MemorySource again(bytes);
        auto opened = qlx::streams::openFrames(
            again, InputKind::Mxf,
            {.width = 1920, .lines = {0}, .rate = {}, .container = {.ownsLibrarySettings = ownsLibrarySettings}});
        return opened ? readAll(**opened).texts : std::vector<std::string>();
    };
    EXPECT_EQ(textsOf(true), found.texts);
    ASSERT_EQ(textsOf(false).size(), 1U);
    EXPECT_NE(textsOf(false), textsOf(true));
    // An index that is missing says more than FFmpeg does.
    EXPECT_EQ(readAll(fromHex(MovFile::atom("ftyp", "71742020")), InputKind::Mov).error,
              (qlx::Finding{FindingCode::MovIndexMissing, Severity::Error, 12, 0, 0}));
    const Bytes empty = fromHex(MovFile::atom("ftyp", "71742020") + MovFile::atom("moov", ""));
    EXPECT_TRUE(readAll(empty, InputKind::Mov).error);
}

TEST(ContainerReader, GivesTenFindingsOfACaptionSampleAndCountsTheRest) {
    std::string sample = MovFile::atom("ccdp", "96690102");
    for (int atom = 0; atom < 12; ++atom) {
        sample += MovFile::atom("ccdq", "");
    }
    const Found found = readAll(MovFile::withCaptionTrack({sample}), InputKind::Mov);
    EXPECT_FALSE(found.error);
    ASSERT_EQ(found.findings.size(), 11U);
    EXPECT_EQ(found.findings[9].code, FindingCode::AtomTypeUnknown);
    EXPECT_EQ(found.findings[10].code, FindingCode::StreamMoreFindings);
    EXPECT_EQ(found.findings[10].severity, Severity::Error);
    EXPECT_EQ(found.findings[10].first, 2);
}

TEST(ContainerReader, GivesWhatWasReadInFrontOfAFailure) {
    std::vector<std::string> samples(300, MovFile::atom("ccdp", "96690102"));
    const Bytes whole = MovFile::withCaptionTrack(samples, true);
    // The index comes first: all but the last ten samples of twelve bytes can be read, and half of one.
    const Bytes part(whole.begin(), whole.end() - 10 * 12 - 6);
    qlxtest::FailingSource source{part};
    ContainerReader reader(source, InputKind::Mov);
    const Found found = readAll(reader);
    ASSERT_TRUE(found.error);
    EXPECT_EQ(found.error->code, FindingCode::StreamReadFailed);
    EXPECT_GE(found.frames.size(), 289U);
    EXPECT_LE(found.frames.size(), 290U);
    for (const auto& finding : found.findings) {
        ADD_FAILURE() << finding.text() << finding.offset;
    }
}

TEST(ContainerReader, KeepsWordsOfAContainerApartFromThoseOfOneThatFailed) {
    // The context of one that cannot be opened is free, and the next one may stand in its place.
    Bytes none = ancFile();
    none.resize(30);
    const Bytes good = ancFile();
    MemorySource first(none);
    MemorySource second(good);
    auto failed = std::make_unique<ContainerReader>(first, InputKind::Mxf);
    ASSERT_TRUE(failed->open());
    ContainerReader reader(second, InputKind::Mxf);
    ASSERT_FALSE(reader.open());
    failed.reset();
    const Found found = readAll(reader);
    EXPECT_FALSE(found.error);
    EXPECT_EQ(found.frames.size(), 3U);
    EXPECT_TRUE(found.findings.empty());
    EXPECT_TRUE(found.texts.empty());
}

TEST(ContainerReader, TakesEveryTruncationCalmly) {
    const Bytes mov =
        MovFile::withCaptionTrack({MovFile::atom("ccdp", "96690102"), MovFile::atom("ccdp", "9669")}, true);
    for (const auto& [kind, whole] : {std::pair{InputKind::Mxf, ancFile()}, std::pair{InputKind::Mov, mov}}) {
        for (std::size_t size = 0; size < whole.size(); size += 53) {
            const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
            const Found found = readAll(part, kind);
            EXPECT_TRUE(found.error || !found.findings.empty()) << size;
            EXPECT_LE(found.frames.size(), 3U);
        }
    }
}

TEST(ContainerReader, ReadsSeveralAtATime) {
    const Bytes bytes = ancFile();
    Bytes cut = bytes;
    cut.resize(cut.size() - 5);
    MemorySource first(bytes);
    MemorySource second(cut);
    ContainerReader whole(first, InputKind::Mxf);
    // FFmpeg's own settings are left alone by the other.
    ContainerReader damaged(second, InputKind::Mxf, {.ownsLibrarySettings = false});
    Frame frame;
    qlx::Findings none;
    qlx::Findings some;
    std::size_t frames = 0;
    for (;;) {
        const auto one = whole.next(frame, &none);
        const auto other = damaged.next(frame, &some);
        ASSERT_TRUE(one && other);
        if (!*one && !*other) {
            break;
        }
        frames += (*one ? 1U : 0U) + (*other ? 1U : 0U);
    }
    EXPECT_EQ(frames, 6U);
    EXPECT_TRUE(none.empty());
    EXPECT_FALSE(some.empty());
}

#else

TEST(ContainerReader, NamesWhatIsMissing) {
    const std::optional<std::string> obstacle = qlx::streams::containerObstacle();
    ASSERT_TRUE(obstacle);
    EXPECT_TRUE(obstacle->starts_with("QLXClosedCaptionsUtilitiesStreams-containers-")) << *obstacle;
    const Found found = readAll(ancFile(), InputKind::Mxf);
    ASSERT_TRUE(found.error);
    EXPECT_EQ(found.error->code, FindingCode::ContainerLibraryMissing);
    EXPECT_EQ(found.texts, std::vector<std::string>{*obstacle});
    EXPECT_TRUE(found.frames.empty());
}

#endif

}  // namespace
