// Messages of SCTE 104 as sections of SCTE 35, worked out by hand from table 9-7 of ANSI/SCTE 104.
#include "Scte35Bytes.h"

#include <qlx/scte/conversion.h>

namespace {

using namespace qlxtest;
using namespace qlx::scte;

using qlx::Finding;
using qlx::FindingCode;
using qlx::Severity;

constexpr std::uint64_t kFrame = 900000;

MultipleOperationMessage messageOf(std::vector<OperationData> operations) {
    MultipleOperationMessage message;
    for (OperationData& data : operations) {
        message.operations.push_back({std::move(data), {}, {}});
    }
    return message;
}

struct Converted {
    std::vector<SpliceInfoSection> sections;
    Finding error;
    FindingList findings;
};

Converted convert(const MultipleOperationMessage& message, const ConversionOptions& options = {.framePts90k = kFrame}) {
    qlx::Findings findings;
    const auto sections = sectionsOf(message, options, &findings);
    if (!sections) {
        return {{}, sections.error(), listOf(findings)};
    }
    for (const SpliceInfoSection& section : *sections) {
        EXPECT_TRUE(writeSpliceInfoSection(section));
    }
    return {*sections, {}, listOf(findings)};
}

SpliceRequest splice(SpliceInsertType type, std::uint16_t preRoll, std::uint16_t tenths) {
    return {type, 7, 0x0506, preRoll, tenths, 1, 2, 1, std::nullopt};
}

TEST(Conversion, StartsABreak) {
    const Converted converted = convert(messageOf({splice(SpliceInsertType::StartNormal, 4000, 300)}));
    SpliceInsert insert;
    insert.eventId = 7;
    insert.outOfNetwork = true;
    insert.time.ticks90k = kFrame + 360000;
    insert.breakDuration = BreakDuration{true, 2700000, 0x3F};
    insert.uniqueProgramId = 0x0506;
    insert.availNum = 1;
    insert.availsExpected = 2;
    SpliceInfoSection expected;
    expected.command = insert;
    EXPECT_EQ(converted.sections, std::vector<SpliceInfoSection>{expected});
    EXPECT_EQ(converted.findings, FindingList{});
}

TEST(Conversion, TimesAreModulo33Bits) {
    const auto timeOf = [](const ConversionOptions& options) {
        const Converted converted = convert(messageOf({TimeSignalRequest{1000}}), options);
        return std::get<TimeSignal>(converted.sections.at(0).command).time.ticks90k;
    };
    EXPECT_EQ(timeOf({.framePts90k = kGreatestTicks}), 89999U);
    EXPECT_EQ(timeOf({.framePts90k = kFrame, .splicePts90k = 5}), 5U);
}

TEST(Conversion, GivesEachSpliceItsFlags) {
    const auto insertOf = [](SpliceInsertType type, std::uint16_t preRoll, std::uint16_t tenths) {
        const Converted converted = convert(messageOf({splice(type, preRoll, tenths)}));
        return std::pair(std::get<SpliceInsert>(converted.sections.at(0).command), converted.findings);
    };
    const auto remark = [](FindingCode code, std::int64_t number) {
        return FindingList{{code, Severity::Remark, 0, number, 0}};
    };
    const auto [start, startFindings] = insertOf(SpliceInsertType::StartImmediate, 4000, 10);
    EXPECT_TRUE(start.outOfNetwork && start.immediate && start.breakDuration == BreakDuration({true, 90000, 0x3F}));
    EXPECT_EQ(start.time, SpliceTime{});
    EXPECT_EQ(startFindings, remark(FindingCode::SctePreRollIgnored, 4000));
    const auto [end, endFindings] = insertOf(SpliceInsertType::EndNormal, 4000, 10);
    EXPECT_TRUE(!end.outOfNetwork && !end.immediate && !end.breakDuration);
    EXPECT_EQ(end.time.ticks90k, kFrame + 360000);
    EXPECT_EQ(endFindings, remark(FindingCode::ScteBreakDurationIgnored, 10));
    const auto [now, nowFindings] = insertOf(SpliceInsertType::EndImmediate, 0, 0);
    EXPECT_TRUE(!now.outOfNetwork && now.immediate && !now.breakDuration);
    EXPECT_EQ(nowFindings, FindingList{});
    const auto [none, noneFindings] = insertOf(SpliceInsertType::StartNormal, 0, 0);
    EXPECT_TRUE(none.immediate && none.time == SpliceTime{});
    EXPECT_EQ(noneFindings, remark(FindingCode::ScteSpliceIsImmediate, 1));
    SpliceInsert cancelled;
    cancelled.eventId = 7;
    cancelled.cancel = true;
    EXPECT_EQ(insertOf(SpliceInsertType::Cancel, 1, 1), std::pair(cancelled, FindingList{}));
}

TEST(Conversion, AddsWhatFollowsANormalOperation) {
    InsertSegmentationDescriptorRequest request;
    request.eventId = 9;
    request.durationSeconds = 30;
    request.durationExtensionFrames = 15;
    request.upidType = 3;
    request.upid = fromHex("414243");
    request.typeId = 0x34;
    request.segmentNum = 1;
    request.segmentsExpected = 2;
    request.noRegionalBlackout = 1;
    request.deviceRestrictions = 1;
    request.subSegments = SubSegmentRequest{1, 3, 4};
    const auto message = messageOf({TimeSignalRequest{0}, request, InsertAvailDescriptorRequest{{0x135}},
                                    InsertDtmfDescriptorRequest{50, {'1', '*'}}, InsertTierRequest{0x123},
                                    InsertTimeDescriptorRequest{1, 2, 37},
                                    InsertDescriptorRequest{{{0x80, fromHex("4142434401")}}}, SpliceNullRequest{}});
    const Converted converted = convert(message, {.framePts90k = kFrame, .frameRate = qlx::FrameRate::Fps2997});
    SegmentationDescriptor segmentation;
    segmentation.eventId = 9;
    segmentation.restrictions = DeliveryRestrictions{false, true, false, 1};
    // 15 frames of 3003 ticks.
    segmentation.duration90k = 2700000 + 45045;
    segmentation.upid = {UpidType::AdId, fromHex("414243")};
    segmentation.typeId = 0x34;
    segmentation.segmentNum = 1;
    segmentation.segmentsExpected = 2;
    segmentation.subSegment = SubSegment{3, 4};
    SpliceInfoSection first;
    first.command = TimeSignal{{kFrame, 0x7F}};
    first.tier = 0x123;
    first.descriptors = {{segmentation, {}},
                         {AvailDescriptor{0x135}, {}},
                         {DtmfDescriptor{50, 0x1F, {'1', '*'}}, {}},
                         {TimeDescriptor{1, 2, 37}, {}},
                         {VerbatimDescriptor{0x80, fromHex("4142434401")}, {}}};
    EXPECT_EQ(converted.sections, (std::vector<SpliceInfoSection>{first, SpliceInfoSection{}}));
    EXPECT_EQ(convert(message).error, (Finding{FindingCode::ScteRateMissing, Severity::Error, 1, 15, 0}));
}

TEST(Conversion, SplicesComponents) {
    const Converted converted = convert(messageOf(
        {splice(SpliceInsertType::StartNormal, 4000, 0), ComponentModeRequest{{{0x10, 1000}, {0x20, 2000}}}}));
    const auto& insert = std::get<SpliceInsert>(converted.sections.at(0).command);
    EXPECT_FALSE(insert.programSplice);
    EXPECT_EQ(insert.time, SpliceTime{});
    EXPECT_EQ(insert.components,
              (std::vector<SpliceComponent>{{0x10, {kFrame + 90000, 0x7F}}, {0x20, {kFrame + 180000, 0x7F}}}));
}

TEST(Conversion, TimesComponentsOfASpliceWithoutPreRoll) {
    const SpliceRequest request = splice(SpliceInsertType::StartNormal, 0, 0);
    const ComponentModeRequest streams{{{0x10, 1000}, {0x20, 0}}};
    SpliceInsert expected;
    expected.eventId = 7;
    expected.outOfNetwork = true;
    expected.programSplice = false;
    expected.components = {{0x10, {kFrame + 90000, 0x7F}}, {0x20, {kFrame, 0x7F}}};
    expected.uniqueProgramId = 0x0506;
    expected.availNum = 1;
    expected.availsExpected = 2;
    const Converted timed = convert(messageOf({request, InsertTierRequest{1}, streams}));
    ASSERT_EQ(timed.sections.size(), 1U);
    EXPECT_EQ(timed.sections[0].command, SpliceCommand(expected));
    EXPECT_EQ(timed.findings, FindingList{});
    // The streams of one splice say nothing about the one before it, or about one that is immediate by its type.
    const Converted three =
        convert(messageOf({request, request, streams, splice(SpliceInsertType::StartImmediate, 0, 0), streams}));
    ASSERT_EQ(three.sections.size(), 3U);
    const auto& first = std::get<SpliceInsert>(three.sections[0].command);
    EXPECT_TRUE(first.programSplice && first.immediate && first.time == SpliceTime{});
    EXPECT_EQ(three.sections[1].command, SpliceCommand(expected));
    expected.immediate = true;
    expected.components = {{0x10, {}}, {0x20, {}}};
    EXPECT_EQ(three.sections[2].command, SpliceCommand(expected));
    EXPECT_EQ(three.findings, (FindingList{{FindingCode::ScteSpliceIsImmediate, Severity::Remark, 0, 1, 0},
                                           {FindingCode::SctePreRollIgnored, Severity::Remark, 4, 1000, 0}}));
}

TEST(Conversion, SplicesTheProgramWhereNoComponentIsNamed) {
    const auto insertOf = [](std::uint16_t preRoll) {
        const Converted converted =
            convert(messageOf({splice(SpliceInsertType::EndNormal, preRoll, 0), ComponentModeRequest{}}));
        return std::pair(std::get<SpliceInsert>(converted.sections.at(0).command), converted.findings);
    };
    const Finding missing{FindingCode::ScteComponentsMissing, Severity::Warning, 1, 0x0106, 0};
    const auto [timed, timedFindings] = insertOf(4000);
    EXPECT_TRUE(timed.programSplice && !timed.immediate && timed.components.empty());
    EXPECT_EQ(timed.time.ticks90k, kFrame + 360000);
    EXPECT_EQ(timedFindings, FindingList{missing});
    const auto [immediate, immediateFindings] = insertOf(0);
    EXPECT_TRUE(immediate.programSplice && immediate.immediate && immediate.components.empty());
    EXPECT_EQ(immediateFindings,
              (FindingList{missing, {FindingCode::ScteSpliceIsImmediate, Severity::Remark, 0, 3, 0}}));
    const Converted schedule = convert(messageOf(
        {StartScheduleDownloadRequest{}, ScheduleDefinition{SpliceScheduleCommand::Insert, 1, 100, 2, 0, 0, 3, 4},
         ScheduleComponentModeRequest{}, TransmitScheduleRequest{0}}));
    ASSERT_EQ(schedule.sections.size(), 1U);
    const auto& event = std::get<SpliceSchedule>(schedule.sections[0].command).events.at(0);
    EXPECT_TRUE(event.programSplice && event.gpsSeconds == 100);
    EXPECT_EQ(schedule.findings, (FindingList{{FindingCode::ScteComponentsMissing, Severity::Warning, 2, 0x010D, 0}}));
}

TEST(Conversion, RefusesAScheduledCommandThatIsReserved) {
    for (const int command : {0, 2, 4, 6, 255}) {
        ScheduleDefinition definition;
        definition.command = static_cast<SpliceScheduleCommand>(command);
        EXPECT_EQ(convert(messageOf({StartScheduleDownloadRequest{}, definition, TransmitScheduleRequest{0}})).error,
                  (Finding{FindingCode::ScteMakesNoSection, Severity::Error, 1, 0x010E, 0}))
            << command;
    }
}

TEST(Conversion, RefusesComponentsOfAnEventThatIsCancelled) {
    EXPECT_EQ(convert(messageOf({splice(SpliceInsertType::Cancel, 0, 0), ComponentModeRequest{{{0x10, 1}}}})).error,
              (Finding{FindingCode::ScteMakesNoSection, Severity::Error, 1, 0x0106, 0}));
    ScheduleDefinition definition;
    definition.command = SpliceScheduleCommand::Cancel;
    EXPECT_EQ(convert(messageOf({StartScheduleDownloadRequest{}, definition, ScheduleComponentModeRequest{{{0x10, 1}}},
                                 TransmitScheduleRequest{0}}))
                  .error,
              (Finding{FindingCode::ScteMakesNoSection, Severity::Error, 2, 0x010D, 0}));
}

TEST(Conversion, AddsToTheOperationJustBefore) {
    const ScheduleDefinition definition{SpliceScheduleCommand::Insert, 1, 100, 2, 0, 0, 3, 4};
    const Converted converted = convert(messageOf(
        {StartScheduleDownloadRequest{}, InsertTierRequest{0x111}, definition, TimeSignalRequest{0},
         InsertTierRequest{0x222}, splice(SpliceInsertType::StartNormal, 1, 0), ComponentModeRequest{{{0x10, 1000}}},
         TransmitScheduleRequest{0}, InsertAvailDescriptorRequest{{0x135}}}));
    ASSERT_EQ(converted.sections.size(), 3U);
    SpliceInfoSection signal;
    signal.command = TimeSignal{{kFrame, 0x7F}};
    signal.tier = 0x222;
    EXPECT_EQ(converted.sections[0], signal);
    EXPECT_EQ(std::get<SpliceInsert>(converted.sections[1].command).components,
              (std::vector<SpliceComponent>{{0x10, {kFrame + 90000, 0x7F}}}));
    ScheduledSplice event;
    event.eventId = 1;
    event.outOfNetwork = true;
    event.gpsSeconds = 100;
    event.uniqueProgramId = 2;
    event.availNum = 3;
    event.availsExpected = 4;
    SpliceInfoSection schedule;
    schedule.command = SpliceSchedule{{event}};
    schedule.tier = 0x111;
    schedule.descriptors = {{AvailDescriptor{0x135}, {}}};
    EXPECT_EQ(converted.sections[2], schedule);
    const auto alone = [](std::uint64_t number, std::int64_t opId) {
        return Finding{FindingCode::ScteSupplementAlone, Severity::Error, number, opId, 0};
    };
    EXPECT_EQ(convert(messageOf({TimeSignalRequest{}, StartScheduleDownloadRequest{}, TransmitScheduleRequest{1},
                                 InsertTierRequest{1}}))
                  .error,
              alone(3, 0x010F));
    EXPECT_EQ(convert(messageOf({StartScheduleDownloadRequest{}, definition, TimeSignalRequest{},
                                 ScheduleComponentModeRequest{{{0x10, 101}}}, TransmitScheduleRequest{0}}))
                  .error,
              alone(3, 0x010D));
}

TEST(Conversion, TransmitsASchedule) {
    const Converted converted = convert(messageOf(
        {StartScheduleDownloadRequest{{0x135}},
         ScheduleDefinition{SpliceScheduleCommand::Insert, 1, 100, 2, 1, 300, 3, 4},
         ScheduleDefinition{SpliceScheduleCommand::Return, 5, 200, 6, 0, 0, 0, 0},
         ScheduleComponentModeRequest{{{0x10, 201}}},
         ScheduleDefinition{SpliceScheduleCommand::Cancel, 7, 0, 0, 0, 0, 0, 0}, TransmitScheduleRequest{0}}));
    ScheduledSplice away;
    away.eventId = 1;
    away.outOfNetwork = true;
    away.gpsSeconds = 100;
    away.breakDuration = BreakDuration{true, 2700000, 0x3F};
    away.uniqueProgramId = 2;
    away.availNum = 3;
    away.availsExpected = 4;
    ScheduledSplice back;
    back.eventId = 5;
    back.programSplice = false;
    back.components = {{0x10, 201}};
    back.uniqueProgramId = 6;
    ScheduledSplice cancelled;
    cancelled.eventId = 7;
    cancelled.cancel = true;
    SpliceInfoSection expected;
    expected.command = SpliceSchedule{{away, back, cancelled}};
    expected.descriptors = {{AvailDescriptor{0x135}, {}}};
    EXPECT_EQ(converted.sections, std::vector<SpliceInfoSection>{expected});
    EXPECT_EQ(convert(messageOf({SpliceNullRequest{}, StartScheduleDownloadRequest{}})).error,
              (Finding{FindingCode::ScteMakesNoSection, Severity::Error, 1, 0x0103, 0}));
}

TEST(Conversion, SaysThatAScheduleIsNotTransmitted) {
    const ScheduleDefinition definition{SpliceScheduleCommand::Insert, 1, 100, 2, 0, 0, 3, 4};
    const Converted replaced =
        convert(messageOf({SpliceNullRequest{}, StartScheduleDownloadRequest{}, definition, definition,
                           StartScheduleDownloadRequest{}, definition, TransmitScheduleRequest{0}}));
    ASSERT_EQ(replaced.sections.size(), 2U);
    EXPECT_EQ(std::get<SpliceSchedule>(replaced.sections[1].command).events.size(), 1U);
    EXPECT_EQ(replaced.findings, (FindingList{{FindingCode::ScteScheduleReplaced, Severity::Error, 1, 2, 0}}));
}

TEST(Conversion, SkipsAnOperationThatIsNotUnderstood) {
    const std::vector<OperationData> strange{DeleteControlWord{}, UpdateControlWord{}, ProprietaryCommandRequest{},
                                             VerbatimOperation{0xC001, {1}}, VerbatimOperation{0x0112, {}}};
    for (const OperationData& data : strange) {
        const MultipleOperationMessage message =
            messageOf({TimeSignalRequest{1000}, data, InsertTierRequest{1}, InsertAvailDescriptorRequest{{1, 2}},
                       ComponentModeRequest{{{1, 1}}}, InsertAudioDescriptorRequest{}, VerbatimOperation{0x0113, {}},
                       SpliceNullRequest{}, InsertTierRequest{2}});
        const Converted converted = convert(message);
        SpliceInfoSection signal;
        signal.command = TimeSignal{{kFrame + 90000, 0x7F}};
        SpliceInfoSection null;
        null.tier = 2;
        EXPECT_EQ(converted.sections, (std::vector<SpliceInfoSection>{signal, null}));
        EXPECT_EQ(converted.findings,
                  (FindingList{
                      {FindingCode::ScteMakesNoSection, Severity::Error, 1, message.operations[1].opId(), 0},
                      {FindingCode::ScteSupplementAlone, Severity::Error, 2, 0x010F, 0},
                      {FindingCode::ScteSupplementAlone, Severity::Error, 3, 0x010A, 0},
                      {FindingCode::ScteSupplementAlone, Severity::Error, 4, 0x0106, 0},
                      {FindingCode::ScteSupplementAlone, Severity::Error, 5, 0x0111, 0},
                      {FindingCode::ScteSupplementAlone, Severity::Error, 6, 0x0113, 0},
                  }));
    }
    // A schedule goes on behind it.
    const ScheduleDefinition definition{SpliceScheduleCommand::Insert, 1, 100, 2, 0, 0, 3, 4};
    const Converted schedule =
        convert(messageOf({StartScheduleDownloadRequest{}, definition, VerbatimOperation{0xC001, {}},
                           ScheduleComponentModeRequest{{{1, 101}}}, definition, TransmitScheduleRequest{0}}));
    ASSERT_EQ(schedule.sections.size(), 1U);
    const auto& events = std::get<SpliceSchedule>(schedule.sections[0].command).events;
    ASSERT_EQ(events.size(), 2U);
    EXPECT_TRUE(events[0].programSplice && events[0] == events[1]);
    EXPECT_EQ(schedule.findings, (FindingList{{FindingCode::ScteMakesNoSection, Severity::Error, 2, 0xC001, 0},
                                              {FindingCode::ScteSupplementAlone, Severity::Error, 3, 0x010D, 0}}));
}

TEST(Conversion, InjectsASection) {
    const Converted converted = convert(messageOf({InjectSectionDataRequest{1, 6, fromHex("ff12345678")}}));
    ASSERT_EQ(converted.sections.size(), 1U);
    Bytes expected = sectionOf("06 ff12345678");
    expected[3] = 1;
    close(expected);
    EXPECT_EQ(writtenSection(converted.sections[0]), expected);
}

TEST(Conversion, CountsFromTheMomentOfATimeStamp) {
    MultipleOperationMessage message = messageOf({TimeSignalRequest{1000}});
    message.timeStamp = VitcTimeStamp{1, 2, 3, 4};
    EXPECT_EQ(convert(message).error, (Finding{FindingCode::ScteMomentMissing, Severity::Error, 0, 2, 0}));
    const Converted converted = convert(message, {.framePts90k = kFrame, .timeStampPts90k = 1000});
    EXPECT_EQ(std::get<TimeSignal>(converted.sections.at(0).command).time.ticks90k, 91000U);
}

TEST(Conversion, RefusesWhatASectionCannotHold) {
    const auto errorOf = [](OperationData data) {
        return convert(messageOf({SpliceNullRequest{}, TimeSignalRequest{}, std::move(data)})).error;
    };
    const auto tooLarge = [](std::int64_t value, std::int64_t greatest) {
        return Finding{FindingCode::ScteValueTooLarge, Severity::Error, 2, value, greatest};
    };
    EXPECT_EQ(errorOf(InsertDtmfDescriptorRequest{0, Bytes(7, '1')}), Finding{});
    EXPECT_EQ(errorOf(InsertDtmfDescriptorRequest{0, Bytes(8, '1')}), tooLarge(8, 7));
    EXPECT_EQ(errorOf(InsertTierRequest{0x0FFF}), Finding{});
    EXPECT_EQ(errorOf(InsertTierRequest{0x1000}), tooLarge(0x1000, 0x0FFF));
    EXPECT_EQ(errorOf(InsertTimeDescriptorRequest{0x1'0000'0000'0000, 0, 0}),
              tooLarge(0x1'0000'0000'0000, 0xFFFF'FFFF'FFFF));
    InsertSegmentationDescriptorRequest request;
    request.deviceRestrictions = 4;
    EXPECT_EQ(errorOf(request), tooLarge(4, 3));
    // Fifteen bytes of a segmentation descriptor are not its UPID's: identifier, event, two of flags, type and length
    // of the UPID, the type, and two numbers of segments.
    request.deviceRestrictions = 3;
    request.upid = Bytes(240, 0);
    EXPECT_EQ(errorOf(request), Finding{});
    request.upid = Bytes(241, 0);
    EXPECT_EQ(errorOf(request), tooLarge(256, 255));
    // A section of 4096 bytes: 14 of the header, the command, 2 for the descriptors' length, 4 for the CRC.
    EXPECT_EQ(convert(messageOf({SpliceNullRequest{}, InjectSectionDataRequest{0, 6, Bytes(4076, 0)}})).error,
              Finding{});
    EXPECT_EQ(convert(messageOf({SpliceNullRequest{}, InjectSectionDataRequest{0, 6, Bytes(4077, 0)}})).error,
              (Finding{FindingCode::ScteSectionTooLong, Severity::Error, 1, 4094, 4093}));
    // The operation that is too much.
    const InsertDescriptorRequest descriptors{std::vector<DescriptorImage>(8, {0x80, Bytes(254, 0)})};
    EXPECT_EQ(convert(messageOf({SpliceNullRequest{}, descriptors, descriptors, InsertTierRequest{1}})).error,
              (Finding{FindingCode::ScteSectionTooLong, Severity::Error, 2, 4113, 4093}));
    std::vector<OperationData> events(257, ScheduleDefinition{});
    events[0] = StartScheduleDownloadRequest{};
    events.emplace_back(TransmitScheduleRequest{1});
    EXPECT_EQ(convert(messageOf(events)).error,
              (Finding{FindingCode::ScteValueTooLarge, Severity::Error, 256, 256, 255}));
}

TEST(Conversion, SaysWhyThereIsNoSection) {
    const Converted none = convert(messageOf({}));
    EXPECT_EQ(none.sections, std::vector<SpliceInfoSection>{});
    EXPECT_EQ(none.error, Finding{});
    EXPECT_EQ(none.findings, (FindingList{{FindingCode::ScteMessageEmpty, Severity::Warning, 0, 0, 0}}));
    const Converted cancelled =
        convert(messageOf({StartScheduleDownloadRequest{}, ScheduleDefinition{}, TransmitScheduleRequest{1}}));
    EXPECT_EQ(cancelled.sections, std::vector<SpliceInfoSection>{});
    EXPECT_EQ(cancelled.error, Finding{});
    EXPECT_EQ(cancelled.findings, (FindingList{{FindingCode::ScteScheduleCancelled, Severity::Remark, 2, 1, 0}}));
}

TEST(Conversion, SaysThatABreakIsAnnouncedTooLate) {
    const auto findingsOf = [](SpliceInsertType type, std::uint16_t preRoll, const ConversionOptions& options) {
        return convert(messageOf({splice(type, preRoll, 0), SpliceNullRequest{}}), options).findings;
    };
    const ConversionOptions frame{.framePts90k = kFrame};
    EXPECT_EQ(findingsOf(SpliceInsertType::StartNormal, 3999, frame),
              (FindingList{{FindingCode::SctePreRollTooShort, Severity::Warning, 0, 3999, 4000}}));
    EXPECT_EQ(findingsOf(SpliceInsertType::StartNormal, 4000, frame), FindingList{});
    EXPECT_EQ(findingsOf(SpliceInsertType::EndNormal, 3999, frame), FindingList{});
    EXPECT_EQ(findingsOf(SpliceInsertType::StartNormal, 3999, {.splicePts90k = 5}), FindingList{});
    // The splice's own pre-roll is not used then.
    EXPECT_EQ(convert(messageOf({splice(SpliceInsertType::StartNormal, 1, 0), ComponentModeRequest{{{0x10, 4000}}}}))
                  .findings,
              FindingList{});
}

TEST(Conversion, SaysWhatNoSectionHasAFieldFor) {
    SpliceRequest request = splice(SpliceInsertType::StartNormal, 4000, 0);
    request.notAnEntryFlag = 1;
    EXPECT_EQ(convert(messageOf({SpliceNullRequest{}, request})).findings,
              (FindingList{{FindingCode::ScteEntryFlagIgnored, Severity::Remark, 1, 1, 0}}));
    request.notAnEntryFlag = 0;
    EXPECT_EQ(convert(messageOf({request})).findings, FindingList{});
    // Frames without seconds are no duration; beyond the rate they are seconds of their own.
    InsertSegmentationDescriptorRequest segment;
    segment.durationExtensionFrames = 25;
    const Converted none = convert(messageOf({TimeSignalRequest{}, segment}));
    EXPECT_EQ(none.findings, (FindingList{{FindingCode::ScteExtensionFramesIgnored, Severity::Remark, 1, 25, 0}}));
    EXPECT_FALSE(std::get<SegmentationDescriptor>(none.sections.at(0).descriptors.at(0).data).duration90k);
    segment.durationSeconds = 1;
    const Converted many =
        convert(messageOf({TimeSignalRequest{}, segment}), {.framePts90k = kFrame, .frameRate = qlx::FrameRate::Fps25});
    EXPECT_EQ(many.findings, (FindingList{{FindingCode::ScteNumberWrong, Severity::Warning, 1, 25, 24}}));
    EXPECT_EQ(std::get<SegmentationDescriptor>(many.sections.at(0).descriptors.at(0).data).duration90k, 180000U);
    segment.durationExtensionFrames = 29;
    EXPECT_EQ(convert(messageOf({TimeSignalRequest{}, segment}),
                      {.framePts90k = kFrame, .frameRate = qlx::FrameRate::Fps2997})
                  .findings,
              FindingList{});
    MultipleOperationMessage later = messageOf({SpliceNullRequest{}});
    later.scte35ProtocolVersion = 1;
    const Converted converted = convert(later);
    EXPECT_EQ(converted.sections, std::vector<SpliceInfoSection>{{}});
    EXPECT_EQ(converted.findings, (FindingList{{FindingCode::ScteProtocolVersionUnknown, Severity::Warning, 0, 1, 0}}));
}

TEST(Conversion, RefusesAnotherBreakDuration) {
    // insert_alternate_break_duration puts another duration in the place of the splice's own.
    EXPECT_EQ(
        convert(messageOf({splice(SpliceInsertType::StartNormal, 4000, 300), VerbatimOperation{0x0113, {0, 1}}})).error,
        (Finding{FindingCode::ScteMakesNoSection, Severity::Error, 1, 0x0113, 0}));
}

TEST(Conversion, NamesWhatHasNoSection) {
    // A known operation that is cut could be one that adds to the one before it.
    const std::vector<OperationData> none{EncryptedDpiRequest{},         InsertAudioDescriptorRequest{},
                                          TransmitScheduleRequest{},     VerbatimOperation{0x0100, {}},
                                          VerbatimOperation{0x0110, {}}, splice(static_cast<SpliceInsertType>(6), 0, 0),
                                          ComponentModeRequest{}};
    for (const OperationData& data : none) {
        const MultipleOperationMessage message = messageOf({TimeSignalRequest{}, data});
        EXPECT_EQ(convert(message).error,
                  (Finding{FindingCode::ScteMakesNoSection, Severity::Error, 1, message.operations[1].opId(), 0}));
    }
    const std::vector<OperationData> alone{ComponentModeRequest{},
                                           InsertDescriptorRequest{},
                                           InsertDtmfDescriptorRequest{},
                                           InsertAvailDescriptorRequest{},
                                           InsertSegmentationDescriptorRequest{},
                                           InsertTierRequest{},
                                           InsertTimeDescriptorRequest{},
                                           ScheduleDefinition{},
                                           ScheduleComponentModeRequest{}};
    for (const OperationData& data : alone) {
        const MultipleOperationMessage message = messageOf({data});
        EXPECT_EQ(convert(message).error,
                  (Finding{FindingCode::ScteSupplementAlone, Severity::Error, 0, message.operations[0].opId(), 0}));
    }
}

}  // namespace
