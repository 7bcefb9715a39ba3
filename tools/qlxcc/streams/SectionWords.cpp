#include "streams/SectionWords.h"

#include "io/Text.h"
#include "io/Times.h"

#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>

#include <variant>

namespace qlx::tool {

namespace {

struct CommandWords {
    std::string operator()(const scte::SpliceNull&) const { return "splice_null"; }
    std::string operator()(const scte::SpliceSchedule& schedule) const {
        return "splice_schedule: " + counted(schedule.events.size(), "event");
    }
    std::string operator()(const scte::SpliceInsert& insert) const {
        std::string text = "splice_insert: event " + std::to_string(insert.eventId);
        if (insert.cancel) {
            return text + " cancelled";
        }
        text += insert.outOfNetwork ? " out" : " in";
        text += insert.immediate ? " at once" : "";
        if (!insert.programSplice) {
            text += ", " + counted(insert.components.size(), "component");
        }
        if (insert.breakDuration) {
            text += ", for " + ticksInWords(insert.breakDuration->ticks90k);
            text += insert.breakDuration->autoReturn ? ", returns by itself" : "";
        }
        return text;
    }
    std::string operator()(const scte::TimeSignal&) const { return "time_signal"; }
    std::string operator()(const scte::BandwidthReservation&) const { return "bandwidth_reservation"; }
    std::string operator()(const scte::PrivateCommand& command) const {
        return "private_command: identifier " + std::to_string(command.identifier);
    }
    std::string operator()(const scte::VerbatimCommand& command) const {
        return "command of type " + std::to_string(command.commandType);
    }
    std::string operator()(const scte::EncryptedContent&) const { return "encrypted"; }
};

}  // namespace

std::string ticksInWords(std::uint64_t ticks90k) {
    constexpr std::int32_t kTicks = 90'000;
    const ShownTime time = shownTime(MediaTime::make(static_cast<std::int64_t>(ticks90k), kTicks));
    std::string rest = std::to_string(time.milliseconds);
    rest.insert(0, 3 - rest.size(), '0');
    return std::to_string(time.seconds) + "." + rest + " s";
}

std::string sectionInWords(const scte::SpliceInfoSection& section) {
    std::string text = std::visit(CommandWords{}, section.command);
    for (const scte::SpliceDescriptor& descriptor : section.descriptors) {
        const auto* const segment = std::get_if<scte::SegmentationDescriptor>(&descriptor.data);
        if (segment == nullptr) {
            continue;
        }
        text += "; segment " + std::to_string(segment->eventId);
        if (segment->cancel) {
            text += " cancelled";
            continue;
        }
        text += " " + QLXSCTEOperation::SCTESegmentationDescriptorTypeNameWithByte(segment->typeId);
        text += segment->duration90k ? ", for " + ticksInWords(*segment->duration90k) : std::string();
    }
    return text;
}

}  // namespace qlx::tool
