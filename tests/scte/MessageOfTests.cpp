// Sections of SCTE 35 as a message of SCTE 104, worked out by hand from table 9-7 of ANSI/SCTE 104.
#include "RandomFields.h"
#include "Scte35Bytes.h"

#include <qlx/scte/conversion.h>

#include "scte/Scte104Layout.h"

#include <tuple>

namespace {

using namespace qlxtest;
using namespace qlx::scte;

using qlx::Finding;
using qlx::FindingCode;
using qlx::Severity;

constexpr std::uint64_t kCarrier = 900000;

SpliceInfoSection sectionOf(SpliceCommand command, std::vector<SpliceDescriptorData> descriptors = {}) {
    SpliceInfoSection section;
    section.command = std::move(command);
    for (SpliceDescriptorData& data : descriptors) {
        section.descriptors.push_back({std::move(data), {}});
    }
    return section;
}

struct Made {
    std::vector<OperationData> operations;
    Finding error;
    FindingList findings;
};

Made make(const std::vector<SpliceInfoSection>& sections, const MessageOptions& options = {.framePts90k = kCarrier}) {
    qlx::Findings findings;
    const auto message = messageOf(sections, options, &findings);
    if (!message) {
        return {{}, message.error(), listOf(findings)};
    }
    Made made{{}, {}, listOf(findings)};
    for (const Operation& operation : message->operations) {
        made.operations.push_back(operation.data);
    }
    return made;
}

SpliceInsert startOfBreak(std::uint64_t distance, std::uint64_t ticks90k) {
    SpliceInsert insert;
    insert.eventId = 7;
    insert.outOfNetwork = true;
    insert.time.ticks90k = kCarrier + distance;
    insert.breakDuration = BreakDuration{true, ticks90k, 0x3F};
    insert.uniqueProgramId = 0x0506;
    insert.availNum = 1;
    insert.availsExpected = 2;
    return insert;
}

Finding warning(FindingCode code, std::int64_t first, std::int64_t second = 0, std::uint64_t section = 0) {
    return {code, Severity::Warning, section, first, second};
}

TEST(MessageOf, StartsABreak) {
    const SpliceRequest expected{SpliceInsertType::StartNormal, 7, 0x0506, 4000, 300, 1, 2, 1, std::nullopt};
    const Made made = make({sectionOf(startOfBreak(360000, 2700000))});
    EXPECT_EQ(made.operations, std::vector<OperationData>{expected});
    EXPECT_EQ(made.findings, FindingList{});
    // The adjustment is part of the time, and times go round.
    SpliceInfoSection adjusted = sectionOf(startOfBreak(0, 2700000));
    std::get<SpliceInsert>(adjusted.command).time.ticks90k = kGreatestTicks;
    adjusted.ptsAdjustment90k = kCarrier + 360001;
    EXPECT_EQ(make({adjusted}).operations, std::vector<OperationData>{expected});
    EXPECT_EQ(make({adjusted}).findings, FindingList{});
}

TEST(MessageOf, GivesEachSpliceItsType) {
    SpliceInsert insert;
    insert.eventId = 1;
    insert.time.ticks90k = kCarrier + 90;
    const auto typeOf = [&insert] { return std::get<SpliceRequest>(make({sectionOf(insert)}).operations.at(0)).type; };
    EXPECT_EQ(typeOf(), SpliceInsertType::EndNormal);
    insert.outOfNetwork = true;
    EXPECT_EQ(typeOf(), SpliceInsertType::StartNormal);
    insert.immediate = true;
    insert.time = {};
    EXPECT_EQ(typeOf(), SpliceInsertType::StartImmediate);
    insert.outOfNetwork = false;
    EXPECT_EQ(typeOf(), SpliceInsertType::EndImmediate);
    insert = {};
    insert.eventId = 1;
    insert.cancel = true;
    EXPECT_EQ(typeOf(), SpliceInsertType::Cancel);
    EXPECT_EQ(make({sectionOf(insert)}).findings, FindingList{});
}

TEST(MessageOf, SaysWhatIsRounded) {
    const Made made = make({sectionOf(SpliceNull{}), sectionOf(startOfBreak(44, 4501))});
    const auto& request = std::get<SpliceRequest>(made.operations.at(1));
    EXPECT_EQ(request.preRollMilliseconds, 0);
    EXPECT_EQ(request.breakDurationTenths, 1);
    EXPECT_EQ(made.findings, (FindingList{warning(FindingCode::SctePreRollRounded, 44, 0, 1),
                                          warning(FindingCode::ScteSpliceIsImmediate, 1, 0, 1),
                                          warning(FindingCode::ScteDurationRounded, 4501, 9000, 1)}));
    EXPECT_EQ(make({sectionOf(TimeSignal{{kCarrier - 44, 0x7F}})}).findings,
              FindingList{warning(FindingCode::SctePreRollRounded, -44, 0)});
}

TEST(MessageOf, RefusesAPreRollThatIsOutOfRange) {
    const auto errorOf = [](std::uint64_t ticks90k) { return make({sectionOf(TimeSignal{{ticks90k, 0x7F}})}).error; };
    const auto error = [](std::int64_t milliseconds) {
        return Finding{FindingCode::SctePreRollOutOfRange, Severity::Error, 0, milliseconds, 65535};
    };
    EXPECT_EQ(errorOf(kCarrier + 65535 * 90), Finding{});
    EXPECT_EQ(errorOf(kCarrier + 65536 * 90), error(65536));
    EXPECT_EQ(errorOf(kCarrier - 90), error(-1));
    EXPECT_EQ(errorOf(0), error(-10000));
    // 6553.5 s is the longest break.
    EXPECT_EQ(make({sectionOf(startOfBreak(90, 65536 * 9000))}).error,
              (Finding{FindingCode::ScteValueTooLarge, Severity::Error, 0, 65536, 65535}));
}

TEST(MessageOf, SaysWhatHasNoField) {
    SpliceInfoSection section = sectionOf(SpliceNull{});
    section.cwIndex = 0xFF;
    section.alignmentStuffing = {0};
    EXPECT_EQ(make({section}).findings, FindingList{});
    section.encryptionAlgorithm = 1;
    EXPECT_EQ(make({section}).findings, FindingList{warning(FindingCode::ScteNotCarried, 1)});
    EXPECT_EQ(warning(FindingCode::ScteNotCarried, 1).text(),
              "fields of the section's header have no place in SCTE 104 and are left out");
    EXPECT_EQ(warning(FindingCode::ScteNotCarried, 2).text(),
              "fields of the command have no place in SCTE 104 and are left out");
    EXPECT_EQ(warning(FindingCode::ScteNotCarried, 3).text(),
              "fields of an event or component have no place in SCTE 104 and are left out");
    EXPECT_EQ(make({sectionOf(TimeSignal{})}).findings, FindingList{warning(FindingCode::ScteNotCarried, 2)});
    SpliceInsert end;
    end.immediate = true;
    end.breakDuration = BreakDuration{false, 9000, 0x3F};
    EXPECT_EQ(make({sectionOf(end)}).findings, FindingList{warning(FindingCode::ScteNotCarried, 2)});
    ScheduledSplice event;
    event.eventIdCompliance = false;
    EXPECT_EQ(make({sectionOf(SpliceSchedule{{event}})}).findings,
              FindingList{warning(FindingCode::ScteNotCarried, 3)});
    EXPECT_EQ(make({sectionOf(EncryptedContent{0, {1, 2}})}).error,
              (Finding{FindingCode::ScteMakesNoOperation, Severity::Error, 0, 0, 2}));
}

TEST(MessageOf, InsertsWhatItsOperationCannotCarry) {
    SegmentationDescriptor segmentation;
    segmentation.eventId = 9;
    segmentation.typeId = 0x30;
    segmentation.duration90k = 30000;
    // A third of a second has no field: the descriptor goes as its bytes.
    const OperationData image =
        InsertDescriptorRequest{{{2, fromHex("43554549 00000009 7f ff 0000007530 00 00 30 00 00")}}};
    EXPECT_EQ(make({sectionOf(TimeSignal{{kCarrier, 0x7F}}, {segmentation})}).operations,
              (std::vector<OperationData>{TimeSignalRequest{0}, image}));
    // So does what is nearly a second: no whole one, however frames are counted.
    segmentation.duration90k = 89999;
    EXPECT_EQ(
        make({sectionOf(SpliceNull{}, {segmentation})}, {.framePts90k = kCarrier, .frameRate = qlx::FrameRate::Fps25})
            .operations.at(1),
        OperationData(InsertDescriptorRequest{{{2, fromHex("43554549 00000009 7f ff 0000015f8f 00 00 30 00 00")}}}));
    segmentation.duration90k = 2700000 + 7000;
    InsertSegmentationDescriptorRequest request;
    request.eventId = 9;
    request.typeId = 0x30;
    request.durationSeconds = 30;
    request.deliveryNotRestricted = 1;
    const Made seconds = make({sectionOf(SpliceNull{}, {segmentation})});
    EXPECT_EQ(seconds.operations, (std::vector<OperationData>{SpliceNullRequest{}, request}));
    EXPECT_EQ(seconds.findings, FindingList{warning(FindingCode::ScteDurationRounded, 2707000, 2700000)});
    request.durationExtensionFrames = 2;
    const Made frames =
        make({sectionOf(SpliceNull{}, {segmentation})}, {.framePts90k = kCarrier, .frameRate = qlx::FrameRate::Fps25});
    EXPECT_EQ(frames.operations, (std::vector<OperationData>{SpliceNullRequest{}, request}));
    EXPECT_EQ(frames.findings, FindingList{warning(FindingCode::ScteDurationRounded, 2707000, 2707200)});
    EXPECT_EQ(make({sectionOf(PrivateCommand{0x41424344, {1}})}).operations,
              std::vector<OperationData>{InjectSectionDataRequest({0, 0xFF, fromHex("4142434401")})});
    EXPECT_EQ(make({sectionOf(BandwidthReservation{})}).operations,
              std::vector<OperationData>{InjectSectionDataRequest({0, 0x07, {}})});
}

TEST(MessageOf, CountsFewerExtensionFramesThanTheRateHas) {
    const auto partsOf = [](std::uint64_t ticks90k, qlx::FrameRate rate) {
        SegmentationDescriptor segmentation;
        segmentation.duration90k = ticks90k;
        const Made made = make({sectionOf(SpliceNull{}, {segmentation})}, {.framePts90k = kCarrier, .frameRate = rate});
        const auto& request = std::get<InsertSegmentationDescriptorRequest>(made.operations.at(1));
        return std::tuple(request.durationSeconds, request.durationExtensionFrames, made.findings);
    };
    const auto rounded = [](std::int64_t from, std::int64_t to) {
        return FindingList{warning(FindingCode::ScteDurationRounded, from, to)};
    };
    // 25 frames of 3600 ticks are the next second.
    EXPECT_EQ(partsOf(2700000 + 88199, qlx::FrameRate::Fps25), std::tuple(30, 24, rounded(2788199, 2786400)));
    EXPECT_EQ(partsOf(2700000 + 88200, qlx::FrameRate::Fps25), std::tuple(31, 0, rounded(2788200, 2790000)));
    // 29 frames of 3003 ticks are 87087; 30 are beyond the second.
    EXPECT_EQ(partsOf(2700000 + 87087, qlx::FrameRate::Fps2997), std::tuple(30, 29, FindingList{}));
    EXPECT_EQ(partsOf(2700000 + 89999, qlx::FrameRate::Fps2997), std::tuple(31, 0, rounded(2789999, 2790000)));
}

/// A message that makes sections from which it can be made again without a loss.
MultipleOperationMessage randomMessage(RandomFields& random) {
    MultipleOperationMessage message;
    const auto add = [&message](OperationData data) { message.operations.push_back({std::move(data), {}, {}}); };
    const auto filled = [&random](auto value) {
        walk(random, value);
        return value;
    };
    for (std::uint64_t normal = 0; normal <= random.below(2); ++normal) {
        switch (random.below(4)) {
        case 0: {
            auto splice = filled(SpliceRequest{});
            splice.type = static_cast<SpliceInsertType>(1 + random.below(4));
            add(splice);
            if (splice.type != SpliceInsertType::Cancel && random.nextBit()) {
                add(filled(ComponentModeRequest{{{1, 2}}}));
            }
            break;
        }
        case 1:
            add(filled(TimeSignalRequest{}));
            break;
        case 2:
            add(SpliceNullRequest{});
            break;
        case 3: {
            auto inject = filled(InjectSectionDataRequest{});
            inject.commandType = static_cast<std::uint8_t>(8 + random.below(246));
            add(std::move(inject));
            break;
        }
        default: {
            add(StartScheduleDownloadRequest{});
            auto definition = filled(ScheduleDefinition{});
            definition.command = random.nextBit() ? SpliceScheduleCommand::Insert : SpliceScheduleCommand::Return;
            add(definition);
            if (random.nextBit()) {
                add(filled(ScheduleComponentModeRequest{{{1, 2}}}));
            }
            add(TransmitScheduleRequest{});
        }
        }
        auto segmentation = filled(InsertSegmentationDescriptorRequest{});
        segmentation.upid.resize(segmentation.upid.size() % 32);
        segmentation.durationExtensionFrames %= 25;
        segmentation.deviceRestrictions %= 4;
        add(std::move(segmentation));
        auto dtmf = filled(InsertDtmfDescriptorRequest{});
        dtmf.characters.resize(dtmf.characters.size() % 8);
        add(std::move(dtmf));
        add(filled(InsertAvailDescriptorRequest{}));
        add(InsertTierRequest{static_cast<std::uint16_t>(random.below(kEveryTier))});
        add(filled(InsertTimeDescriptorRequest{}));
        add(InsertDescriptorRequest{{{static_cast<std::uint8_t>(5 + random.below(250)), fromHex("4142434401")}}});
    }
    return message;
}

TEST(MessageOf, SectionsThatFitComeBack) {
    for (unsigned seed = firstSeed(); seed < firstSeed() + kRandomRounds / 4; ++seed) {
        RandomFields random(seed);
        const std::uint64_t frame = random.below(kGreatestTicks);
        const ConversionOptions options{.framePts90k = frame, .frameRate = qlx::FrameRate::Fps25};
        const auto sections = sectionsOf(randomMessage(random), options);
        ASSERT_TRUE(sections) << seed;
        qlx::Findings findings;
        const auto message = messageOf(*sections, {.framePts90k = frame, .frameRate = options.frameRate}, &findings);
        ASSERT_TRUE(message) << seed << " " << message.error().text();
        ASSERT_EQ(listOf(findings), FindingList{}) << seed;
        const auto back = sectionsOf(*message, options);
        ASSERT_TRUE(back) << seed;
        ASSERT_EQ(back->size(), sections->size()) << seed;
        for (std::size_t index = 0; index < sections->size(); ++index) {
            ASSERT_EQ(writtenSection((*back)[index]), writtenSection((*sections)[index])) << seed;
        }
    }
}

}  // namespace
