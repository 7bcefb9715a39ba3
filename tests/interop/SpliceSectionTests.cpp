// Sections that the core writes, as tshark decodes them: each kind that it knows, each field that it has.
#include "TransportSections.h"

#include <qlx/scte/scte35.h>

#include <iterator>
#include <map>
#include <set>

namespace {

using namespace qlx::scte;

using qlxtest::Bytes;
using qlxtest::decoded;
using qlxtest::fromHex;
using qlxtest::SectionDecoder;
using qlxtest::streamOf;

/// A section, and what its fields are by the values that were put into it; all others are absent.
struct SectionCase {
    SpliceInfoSection section;
    std::map<std::string, std::string> fields;
};

SectionCase header() {
    SpliceInfoSection section;
    section.protocolVersion = 2;
    section.ptsAdjustment90k = 0x123456789;
    section.cwIndex = 7;
    section.tier = 0x123;
    return {section,
            {{"scte35.protocol_version", "2"},
             {"scte35.pts_adjustment", "4886718345"},
             {"scte35.cw_index", "0x07"},
             {"scte35.tier", "291"},
             {"scte35.splice_command_type", "0x00"},
             {"scte35.splice_command_length", "0"},
             {"scte35.tid", "0xfc"},
             {"scte35.syntax_indicator", "0"},
             {"scte35.private", "0"},
             {"scte35.reserved", "0x0003"},
             {"scte35.len", "17"},
             {"scte35.encrypted_packet", "0"},
             {"scte35.encryption_algorithm", "0"},
             {"scte35.desc_len", "0"}}};
}

/// Bits that are other than they should be are written as they were read.
SectionCase headerOfOthers() {
    SpliceInfoSection section;
    section.sectionSyntaxIndicator = true;
    section.privateIndicator = true;
    section.sapType = 1;
    section.encryptionAlgorithm = 0x2A;
    section.command = BandwidthReservation{};
    return {section,
            {{"scte35.splice_command_type", "0x07"},
             {"scte35.syntax_indicator", "1"},
             {"scte35.private", "1"},
             {"scte35.reserved", "0x0001"},
             {"scte35.encryption_algorithm", "42"}}};
}

SectionCase insertOfProgram() {
    SpliceInsert insert;
    insert.eventId = 0x4800008F;
    insert.outOfNetwork = true;
    insert.time.ticks90k = 0x112345678;
    insert.breakDuration = BreakDuration{true, 2700000, 0x3F};
    insert.uniqueProgramId = 0x0506;
    insert.availNum = 1;
    insert.availsExpected = 2;
    SpliceInfoSection section;
    section.command = insert;
    return {section,
            {{"scte35.splice_command_type", "0x05"},
             {"scte35_si.event_id", "0x4800008f"},
             {"scte35_si.cancelled", "0"},
             {"scte35_si.out_of_net", "1"},
             {"scte35_si.psf", "1"},
             {"scte35_si.duration_flag", "1"},
             {"scte35_si.splice_immediate", "0"},
             {"scte35_si.splice_time.time_specified", "1"},
             {"scte35_si.splice_time.pts", "0x0000000112345678"},
             {"scte35_si.break.auto_return", "1"},
             {"scte35_si.break.duration", "0x00000000002932e0"},
             {"scte35_si.upid", "0x0506"},
             {"scte35_si.avail", "1"},
             {"scte35_si.avails_expected", "2"},
             {"scte35_si.reserved0", "127"},
             {"scte35_si.reserved1", "15"},
             {"scte35_si.splice_time.reserved", "63"},
             {"scte35_si.break.reserved", "63"}}};
}

SectionCase insertAtOnce() {
    SpliceInsert insert;
    insert.eventId = 4;
    insert.immediate = true;
    insert.programSplice = false;
    insert.components = {{0x10, {}}, {0x20, {}}};
    insert.uniqueProgramId = 0x0102;
    SpliceInfoSection section;
    section.command = insert;
    return {section,
            {{"scte35_si.event_id", "0x00000004"},
             {"scte35_si.splice_immediate", "1"},
             {"scte35_si.component.tag", "0x10:0x20"},
             {"scte35_si.component.pts", ""},
             {"scte35_si.upid", "0x0102"}}};
}

SectionCase insertOfComponents() {
    SpliceInsert insert;
    insert.eventId = 2;
    insert.programSplice = false;
    insert.components = {{0x10, {0x1FFFFFFFF, 0x7F}}, {0x20, {0x55, 0x7F}}};
    SpliceInfoSection section;
    section.command = insert;
    return {section,
            {{"scte35_si.event_id", "0x00000002"},
             {"scte35_si.psf", "0"},
             {"scte35_si.component_count", "2"},
             {"scte35_si.component.tag", "0x10:0x20"},
             {"scte35_si.component.time_specified", "1:1"},
             {"scte35_si.component.reserved", "63:63"},
             {"scte35_si.component.pts", "0x00000001ffffffff:0x0000000000000055"}}};
}

SectionCase insertCancelled() {
    SpliceInsert insert;
    insert.eventId = 3;
    insert.cancel = true;
    SpliceInfoSection section;
    section.command = insert;
    return {section, {{"scte35_si.event_id", "0x00000003"}, {"scte35_si.cancelled", "1"}, {"scte35_si.upid", ""}}};
}

SectionCase schedule() {
    ScheduledSplice event;
    event.eventId = 5;
    event.outOfNetwork = true;
    event.gpsSeconds = 0x4D3C2B1A;
    event.breakDuration = BreakDuration{false, 90000, 0x3F};
    event.uniqueProgramId = 6;
    event.availNum = 7;
    event.availsExpected = 8;
    ScheduledSplice cancelled;
    cancelled.eventId = 9;
    cancelled.cancel = true;
    SpliceInfoSection section;
    section.command = SpliceSchedule{{event, cancelled}};
    const std::string prefix = "scte35_splice_schedule.";
    return {section,
            {{"scte35.splice_command_type", "0x04"},
             {prefix + "splice_count", "2"},
             {prefix + "splice.event_id", "0x00000005:0x00000009"},
             {prefix + "splice.event_cancel_indicator", "0:1"},
             {prefix + "splice.out_of_network_indicator", "1"},
             {prefix + "splice.program_splice_flag", "1"},
             {prefix + "splice.utc_splice_time", "1295788826"},
             {prefix + "splice.break_duration.auto_return", "0"},
             {prefix + "splice.break_duration.duration", "90000"},
             {prefix + "splice.unique_program_id", "0x0006"},
             {prefix + "splice.avail_num", "7"},
             {prefix + "splice.avails_expected", "8"},
             {prefix + "splice.duration_flag", "1"},
             {prefix + "splice.reserved0", "0x7f:0x7f"},
             {prefix + "splice.reserved1", "0x1f"},
             {prefix + "splice.break_duration.reserved", "0x3f"}}};
}

SectionCase scheduleOfComponents() {
    ScheduledSplice event;
    event.eventId = 5;
    event.programSplice = false;
    event.components = {{0x10, 0x4D3C2B1A}, {0x20, 0xFFFFFFFF}};
    event.uniqueProgramId = 6;
    SpliceInfoSection section;
    section.command = SpliceSchedule{{event}};
    const std::string prefix = "scte35_splice_schedule.splice.";
    return {section,
            {{"scte35.splice_command_type", "0x04"},
             {prefix + "program_splice_flag", "0"},
             {prefix + "component_count", "2"},
             {prefix + "component.tag", "0x10:0x20"},
             {prefix + "component.utc_splice_time", "1295788826:4294967295"},
             {prefix + "utc_splice_time", ""},
             {prefix + "unique_program_id", "0x0006"}}};
}

SectionCase timeSignal() {
    SpliceInfoSection section;
    section.command = TimeSignal{{0x1FFFFFFFE, 0x7F}};
    return {section,
            {{"scte35.splice_command_type", "0x06"},
             {"scte35_time.splice.time_specified", "1"},
             {"scte35_time.splice.reserved", "0x3f"},
             {"scte35_time.splice.pts", "8589934590"}}};
}

SectionCase privateCommand() {
    SpliceInfoSection section;
    section.command = PrivateCommand{0x41424344, {1, 2, 3}};
    return {section,
            {{"scte35.splice_command_type", "0xff"},
             {"scte35_private_command.identifier", "0x41424344"},
             {"scte35_private_command.private_byte", "010203"}}};
}

SectionCase availAndDtmf() {
    SpliceInfoSection section;
    section.descriptors = {{AvailDescriptor{0x135}, {}}, {DtmfDescriptor{50, 0x1F, {'1', '2', '*', '#'}}, {}}};
    return {section,
            {{"scte35.desc_len", "22"},
             {"scte35.splice_descriptor.tag", "0x00:0x01"},
             {"scte35.splice_descriptor.length", "8:10"},
             {"scte35.splice_descriptor.identifier", "0x43554549:0x43554549"},
             {"scte35.splice_descriptor.provider_avail_id", "0x00000135"},
             {"scte35.splice_descriptor.preroll", "50"},
             {"scte35.splice_descriptor.dtmf_count", "4"},
             {"scte35.splice_descriptor.dtmf_reserved", "0x1f"},
             {"scte35.splice_descriptor.dtmf", "12*#"}}};
}

SectionCase segmentation() {
    SegmentationDescriptor descriptor;
    descriptor.eventId = 0x4800008E;
    descriptor.restrictions = DeliveryRestrictions{false, true, false, 2};
    descriptor.duration90k = 0x123456789A;
    descriptor.upid = {UpidType::AdId, fromHex("414243443031323334353648")};
    descriptor.typeId = 0x34;
    descriptor.segmentNum = 1;
    descriptor.segmentsExpected = 2;
    SpliceInfoSection section;
    section.command = TimeSignal{{1, 0x7F}};
    section.descriptors = {{descriptor, {}}};
    const std::string prefix = "scte35.splice_descriptor.";
    return {section,
            {{prefix + "event_id", "0x4800008e"},
             {prefix + "cancel_indicator", "0"},
             {prefix + "reserved0", "0x7f"},
             {prefix + "psf", "1"},
             {prefix + "sdf", "1"},
             {prefix + "dnr", "0"},
             {prefix + "web_delivery_allowed", "0"},
             {prefix + "no_regional_blackout", "1"},
             {prefix + "archive_allowed", "0"},
             {prefix + "device_restrictions", "0x02"},
             {prefix + "segmentation_duration", "78187493530"},
             {prefix + "upid_type", "0x03"},
             {prefix + "upid_length", "12"},
             {prefix + "upid", "ABCD0123456H"},
             {prefix + "segmentation_type_id", "0x34"},
             {prefix + "segment_num", "1"},
             {prefix + "segments_expected", "2"}}};
}

SectionCase segmentationOfComponents() {
    SegmentationDescriptor descriptor;
    descriptor.eventId = 1;
    descriptor.programSegmentation = false;
    descriptor.components = {{0x10, 0x7F, 5}, {0x20, 0x7F, kGreatestTicks}};
    descriptor.typeId = 0x10;
    SpliceInfoSection section;
    section.descriptors = {{descriptor, {}}};
    const std::string prefix = "scte35.splice_descriptor.";
    return {section,
            {{prefix + "psf", "0"},
             {prefix + "dnr", "1"},
             {prefix + "component_count", "2"},
             {prefix + "reserved1", "0x1f"},
             {prefix + "component.tag", "0x10:0x20"},
             {prefix + "component.reserved", "0x7f:0x7f"},
             {prefix + "component.pts_offset", "5:8589934591"},
             {prefix + "segmentation_type_id", "0x10"}}};
}

SectionCase segmentationCancelled() {
    SegmentationDescriptor descriptor;
    descriptor.eventId = 9;
    descriptor.cancel = true;
    SpliceInfoSection section;
    section.command = TimeSignal{};
    section.descriptors = {{descriptor, {}}};
    const std::string prefix = "scte35.splice_descriptor.";
    return {section,
            {{"scte35_time.splice.time_specified", "0"},
             {prefix + "event_id", "0x00000009"},
             {prefix + "cancel_indicator", "1"},
             {prefix + "upid_type", ""}}};
}

TEST_F(SectionDecoder, ReadsEveryKindThatTheCoreWrites) {
    const std::vector<SectionCase> cases{
        header(),          headerOfOthers(), insertOfProgram(),          insertAtOnce(),         insertOfComponents(),
        insertCancelled(), schedule(),       scheduleOfComponents(),     timeSignal(),           privateCommand(),
        availAndDtmf(),    segmentation(),   segmentationOfComponents(), segmentationCancelled()};
    std::vector<Bytes> sections;
    const std::string crc = "scte35.crc";
    std::set<std::string> fields{crc};
    for (const SectionCase& one : cases) {
        const auto section = writeSpliceInfoSection(one.section);
        ASSERT_TRUE(section);
        sections.emplace_back(section->begin(), section->end());
        for (const auto& [name, text] : one.fields) {
            fields.insert(name);
        }
    }
    // Each field once: tshark gives nothing for one that is asked for again.
    const std::vector<std::string> names(fields.begin(), fields.end());
    const auto packets = decoded(streamOf(sections), names);
    ASSERT_EQ(packets.size(), cases.size() + 2);
    for (std::size_t index = 0; index < cases.size(); ++index) {
        for (const auto& [name, text] : cases[index].fields) {
            const auto column = static_cast<std::size_t>(std::distance(fields.begin(), fields.find(name)));
            EXPECT_EQ(packets[index + 2].at(column), text) << name;
        }
        const Bytes& section = sections[index];
        const auto column = static_cast<std::size_t>(std::distance(fields.begin(), fields.find(crc)));
        std::uint64_t number = 0;
        for (auto byte = section.end() - 4; byte != section.end(); ++byte) {
            number = number << 8U | *byte;
        }
        EXPECT_EQ(packets[index + 2].at(column), qlxtest::hexNumber(number, 8)) << index;
    }
}

TEST(SectionCopier, DropsTheOneWithAWrongCrc) {
    if (std::system("command -v ffmpeg >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "ffmpeg is not installed: nothing was read";
    }
    std::vector<Bytes> sections;
    for (const SectionCase& one : {insertOfProgram(), schedule(), availAndDtmf(), segmentation()}) {
        const auto section = writeSpliceInfoSection(one.section);
        ASSERT_TRUE(section);
        sections.emplace_back(section->begin(), section->end());
    }
    sections[1].back() ^= 1U;
    const qlxtest::TemporaryFolder folder;
    const std::string command = "ffmpeg -nostdin -v error -i '" + folder.write("a.ts", streamOf(sections)) +
                                "' -map 0:d -c copy -f data '" + folder.path("a.data") + "' 2>'" + folder.path("err") +
                                "'";
    ASSERT_EQ(std::system(command.c_str()), 0) << folder.read("err");
    std::string expected;
    for (const std::size_t index : {0U, 2U, 3U}) {
        expected.append(sections[index].begin(), sections[index].end());
    }
    EXPECT_EQ(folder.read("a.data"), expected);
}

}  // namespace
