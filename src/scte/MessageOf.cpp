// A message of SCTE 104 from sections of SCTE 35.
#include <qlx/scte/conversion.h>

#include "scte/FieldIo.h"

#include <utility>

namespace qlx::scte {

namespace detail {

namespace {

constexpr std::uint64_t kMillisecond = 90;
constexpr std::uint64_t kTenth = 9000;
constexpr std::uint64_t kSecond = 90000;
constexpr std::uint64_t kGreatestMessageField = 0xFFFF;
constexpr std::uint64_t kPrivateIdentifierBytes = 4;

// What has fields that are left out.
constexpr std::uint64_t kOfSection = 1;
constexpr std::uint64_t kOfCommand = 2;
constexpr std::uint64_t kOfPart = 3;

/// Makes the operations of sections one by one.
class MessageMaker {
public:
    MessageMaker(const MessageOptions& options, const Report& report) : _options(options), _report(report) {}

    /// Why there is no message; a finding without a code when there is one.
    [[nodiscard]] Finding take(const SpliceInfoSection& section, std::uint64_t number) {
        _number = number;
        _wrong = {};
        _adjustment = section.ptsAdjustment90k;
        if (const auto* const encrypted = std::get_if<EncryptedContent>(&section.command)) {
            fail(FindingCode::ScteMakesNoOperation, section.encryptionAlgorithm, encrypted->data.size());
            return _wrong;
        }
        checkHeader(section);
        std::visit([&](const auto& command) { this->command(command, section); }, section.command);
        for (const SpliceDescriptor& descriptor : section.descriptors) {
            std::visit([&](const auto& data) { this->descriptor(data, descriptor); }, descriptor.data);
        }
        if (section.tier != kEveryTier) {
            add(InsertTierRequest{section.tier});
        }
        return _wrong;
    }

    [[nodiscard]] MultipleOperationMessage message() && { return std::move(_message); }

private:
    void add(OperationData data) { _message.operations.push_back({std::move(data), {}, {}}); }

    /// Only the first reason counts.
    void fail(FindingCode code, std::uint64_t first, std::uint64_t second) {
        if (_wrong.code == FindingCode::None) {
            _wrong = {code, Severity::Error, _number, static_cast<std::int64_t>(first),
                      static_cast<std::int64_t>(second)};
        }
    }

    void warn(FindingCode code, std::uint64_t first, std::uint64_t second = 0) const {
        _report.add(code, Severity::Warning, _number, first, second);
    }

    void checkHeader(const SpliceInfoSection& section) const {
        const SpliceInfoSection usual;
        const bool isInjected = hasNoOperation(section.command);
        if (section.sectionSyntaxIndicator != usual.sectionSyntaxIndicator ||
            section.privateIndicator != usual.privateIndicator || section.sapType != usual.sapType ||
            (!isInjected && section.protocolVersion != usual.protocolVersion) ||
            section.encryptionAlgorithm != usual.encryptionAlgorithm || (isInjected && section.ptsAdjustment90k != 0) ||
            !section.descriptorTrailing.empty()) {
            warn(FindingCode::ScteNotCarried, kOfSection);
        }
        if (!isInjected && !section.commandTrailing.empty()) {
            warn(FindingCode::ScteNotCarried, kOfCommand);
        }
    }

    [[nodiscard]] static bool hasNoOperation(const SpliceCommand& command) noexcept {
        return std::holds_alternative<BandwidthReservation>(command) ||
               std::holds_alternative<PrivateCommand>(command) || std::holds_alternative<VerbatimCommand>(command);
    }

    /// Milliseconds from the frame to a time.
    [[nodiscard]] std::uint16_t preRollOf(std::uint64_t ticks90k) {
        constexpr std::int64_t kRange = std::int64_t{1} << 33U;
        const auto distance =
            static_cast<std::int64_t>((ticks90k + _adjustment - _options.framePts90k) & kGreatestTicks);
        const std::int64_t ticks = distance >= kRange / 2 ? distance - kRange : distance;
        const std::int64_t half = ticks < 0 ? -45 : 45;
        const std::int64_t milliseconds = (ticks + half) / static_cast<std::int64_t>(kMillisecond);
        if (milliseconds < 0 || milliseconds > static_cast<std::int64_t>(kGreatestMessageField)) {
            fail(FindingCode::SctePreRollOutOfRange, static_cast<std::uint64_t>(milliseconds), kGreatestMessageField);
            return 0;
        }
        const auto kept = static_cast<std::uint64_t>(milliseconds) * kMillisecond;
        if (static_cast<std::int64_t>(kept) != ticks) {
            warn(FindingCode::SctePreRollRounded, static_cast<std::uint64_t>(ticks), kept);
        }
        return static_cast<std::uint16_t>(milliseconds);
    }

    /// Tenths of a second; one at least, because none would be no duration.
    [[nodiscard]] std::uint16_t tenthsOf(std::uint64_t ticks90k) {
        const std::uint64_t tenths = std::max<std::uint64_t>(1, (ticks90k + kTenth / 2) / kTenth);
        if (tenths > kGreatestMessageField) {
            fail(FindingCode::ScteValueTooLarge, tenths, kGreatestMessageField);
            return 0;
        }
        if (tenths * kTenth != ticks90k) {
            warn(FindingCode::ScteDurationRounded, ticks90k, tenths * kTenth);
        }
        return static_cast<std::uint16_t>(tenths);
    }

    void command(const SpliceNull&, const SpliceInfoSection&) { add(SpliceNullRequest{}); }

    void command(const TimeSignal& signal, const SpliceInfoSection&) {
        if (signal.time != SpliceTime{signal.time.ticks90k, SpliceTime{}.reserved} || !signal.time.ticks90k) {
            warn(FindingCode::ScteNotCarried, kOfCommand);
        }
        add(TimeSignalRequest{signal.time.ticks90k ? preRollOf(*signal.time.ticks90k) : std::uint16_t{0}});
    }

    void command(const SpliceInsert& insert, const SpliceInfoSection&) {
        SpliceRequest request;
        request.eventId = insert.eventId;
        if (insert.cancel) {
            request.type = SpliceInsertType::Cancel;
            add(request);
            checkCarried(insert, {});
            return;
        }
        const bool isNow = insert.immediate || (insert.programSplice && !insert.time.ticks90k);
        if (insert.outOfNetwork) {
            request.type = isNow ? SpliceInsertType::StartImmediate : SpliceInsertType::StartNormal;
        } else {
            request.type = isNow ? SpliceInsertType::EndImmediate : SpliceInsertType::EndNormal;
        }
        if (insert.programSplice && !isNow) {
            request.preRollMilliseconds = preRollOf(*insert.time.ticks90k);
            if (request.preRollMilliseconds == 0) {
                warn(FindingCode::ScteSpliceIsImmediate, static_cast<std::uint64_t>(request.type));
            }
        }
        std::optional<BreakDuration> kept;
        if (insert.breakDuration && insert.outOfNetwork) {
            request.breakDurationTenths = tenthsOf(insert.breakDuration->ticks90k);
            request.autoReturn = insert.breakDuration->autoReturn ? 1 : 0;
            kept = BreakDuration{insert.breakDuration->autoReturn, insert.breakDuration->ticks90k, 0x3F};
        }
        request.uniqueProgramId = insert.uniqueProgramId;
        request.availNum = insert.availNum;
        request.availsExpected = insert.availsExpected;
        add(request);
        addComponents(insert);
        checkCarried(insert, kept);
    }

    void addComponents(const SpliceInsert& insert) {
        if (insert.programSplice || insert.components.empty()) {
            return;
        }
        ComponentModeRequest components;
        for (const SpliceComponent& component : insert.components) {
            const bool hasTime = !insert.immediate && component.time.ticks90k;
            components.components.push_back(
                {component.componentTag, hasTime ? preRollOf(*component.time.ticks90k) : std::uint16_t{0}});
            if (!insert.immediate && component.time != SpliceTime{component.time.ticks90k.value_or(0), 0x7F}) {
                warn(FindingCode::ScteNotCarried, kOfPart);
            }
        }
        add(std::move(components));
    }

    /// Compares with a splice of the fields that a request has.
    void checkCarried(const SpliceInsert& insert, const std::optional<BreakDuration>& duration) const {
        SpliceInsert carried;
        carried.eventId = insert.eventId;
        carried.cancel = insert.cancel;
        if (!insert.cancel) {
            carried.outOfNetwork = insert.outOfNetwork;
            carried.programSplice = insert.programSplice || insert.components.empty();
            carried.immediate = insert.immediate;
            if (carried.programSplice && !insert.immediate) {
                carried.time.ticks90k = insert.time.ticks90k.value_or(0);
            }
            carried.components = insert.components;
            carried.breakDuration = duration;
            carried.uniqueProgramId = insert.uniqueProgramId;
            carried.availNum = insert.availNum;
            carried.availsExpected = insert.availsExpected;
        }
        if (carried != insert) {
            warn(FindingCode::ScteNotCarried, kOfCommand);
        }
    }

    void command(const SpliceSchedule& schedule, const SpliceInfoSection&) {
        add(StartScheduleDownloadRequest{});
        for (const ScheduledSplice& event : schedule.events) {
            takeEvent(event);
        }
        add(TransmitScheduleRequest{});
    }

    void takeEvent(const ScheduledSplice& event) {
        ScheduleDefinition definition;
        ScheduledSplice carried;
        definition.eventId = carried.eventId = event.eventId;
        carried.cancel = event.cancel;
        if (event.cancel) {
            definition.command = SpliceScheduleCommand::Cancel;
            add(definition);
        } else {
            definition.command = event.outOfNetwork ? SpliceScheduleCommand::Insert : SpliceScheduleCommand::Return;
            carried.outOfNetwork = event.outOfNetwork;
            definition.gpsSeconds = carried.gpsSeconds = event.gpsSeconds;
            definition.uniqueProgramId = carried.uniqueProgramId = event.uniqueProgramId;
            definition.availNum = carried.availNum = event.availNum;
            definition.availsExpected = carried.availsExpected = event.availsExpected;
            if (event.breakDuration) {
                definition.breakDurationTenths = tenthsOf(event.breakDuration->ticks90k);
                definition.autoReturn = event.breakDuration->autoReturn ? 1 : 0;
                carried.breakDuration =
                    BreakDuration{event.breakDuration->autoReturn, event.breakDuration->ticks90k, 0x3F};
            }
            add(definition);
            carried.programSplice = event.programSplice || event.components.empty();
            if (!event.programSplice && !event.components.empty()) {
                ScheduleComponentModeRequest components;
                for (const ScheduledComponent& component : event.components) {
                    components.components.push_back({component.componentTag, component.gpsSeconds});
                }
                add(std::move(components));
                carried.components = event.components;
            }
        }
        if (carried != event) {
            warn(FindingCode::ScteNotCarried, kOfPart);
        }
    }

    void inject(std::uint8_t type, std::vector<std::uint8_t> bytes, const SpliceInfoSection& section) {
        bytes.insert(bytes.end(), section.commandTrailing.begin(), section.commandTrailing.end());
        add(InjectSectionDataRequest{section.protocolVersion, type, std::move(bytes)});
    }

    void command(const BandwidthReservation&, const SpliceInfoSection& section) {
        inject(BandwidthReservation::kCommandType, {}, section);
    }

    void command(const PrivateCommand& command, const SpliceInfoSection& section) {
        std::vector<std::uint8_t> bytes(kPrivateIdentifierBytes);
        FieldWriter(bytes.data()).number(command.identifier);
        bytes.insert(bytes.end(), command.data.begin(), command.data.end());
        inject(PrivateCommand::kCommandType, std::move(bytes), section);
    }

    void command(const VerbatimCommand& command, const SpliceInfoSection& section) {
        inject(command.commandType, command.data, section);
    }

    void command(const EncryptedContent&, const SpliceInfoSection&) {}

    /// A descriptor as it stands in a section.
    void addImage(const SpliceDescriptor& descriptor) {
        if (const auto* const verbatim = std::get_if<VerbatimDescriptor>(&descriptor.data);
            verbatim != nullptr && descriptor.trailing.empty()) {
            add(InsertDescriptorRequest{{{verbatim->tag, verbatim->data}}});
            return;
        }
        SpliceInfoSection section;
        section.descriptors = {descriptor};
        const Result<Data> bytes = writeSpliceInfoSection(section);
        if (!bytes) {
            fail(bytes.error().code, static_cast<std::uint64_t>(bytes.error().first),
                 static_cast<std::uint64_t>(bytes.error().second));
            return;
        }
        // Behind a header with a command that has no bytes, and the length of the loop: tag, length and data.
        constexpr std::size_t kTag = 16;
        constexpr std::size_t kCrc = 4;
        add(InsertDescriptorRequest{{{(*bytes)[kTag], {bytes->begin() + kTag + 2, bytes->end() - kCrc}}}});
    }

    void descriptor(const AvailDescriptor& avail, const SpliceDescriptor& whole) {
        if (!whole.trailing.empty()) {
            addImage(whole);
        } else {
            add(InsertAvailDescriptorRequest{{avail.providerAvailId}});
        }
    }

    void descriptor(const DtmfDescriptor& dtmf, const SpliceDescriptor& whole) {
        if (!whole.trailing.empty() || dtmf.reserved != DtmfDescriptor{}.reserved) {
            addImage(whole);
        } else {
            add(InsertDtmfDescriptorRequest{dtmf.preRollTenths, dtmf.characters});
        }
    }

    void descriptor(const TimeDescriptor& time, const SpliceDescriptor& whole) {
        if (!whole.trailing.empty()) {
            addImage(whole);
        } else {
            add(InsertTimeDescriptorRequest{time.taiSeconds, time.taiNanoseconds, time.utcOffset});
        }
    }

    void descriptor(const AudioDescriptor&, const SpliceDescriptor& whole) { addImage(whole); }
    void descriptor(const VerbatimDescriptor&, const SpliceDescriptor& whole) { addImage(whole); }

    void descriptor(const SegmentationDescriptor& segmentation, const SpliceDescriptor& whole) {
        InsertSegmentationDescriptorRequest request;
        request.eventId = segmentation.eventId;
        const SegmentationDescriptor usual;
        const bool isUsual = whole.trailing.empty() && segmentation.eventIdCompliance &&
                             segmentation.reserved == usual.reserved && segmentation.programSegmentation &&
                             segmentation.reservedRestrictions == usual.reservedRestrictions;
        if (!isUsual || (!segmentation.cancel && !fill(request, segmentation))) {
            addImage(whole);
            return;
        }
        request.cancel = segmentation.cancel ? 1 : 0;
        add(std::move(request));
    }

    /// False for a duration that the request has no field for.
    bool fill(InsertSegmentationDescriptorRequest& request, const SegmentationDescriptor& segmentation) const {
        if (segmentation.duration90k && !fillDuration(request, *segmentation.duration90k)) {
            return false;
        }
        request.upidType = static_cast<std::uint8_t>(segmentation.upid.type);
        request.upid = segmentation.upid.bytes;
        request.typeId = segmentation.typeId;
        request.segmentNum = segmentation.segmentNum;
        request.segmentsExpected = segmentation.segmentsExpected;
        request.deliveryNotRestricted = segmentation.restrictions ? 0 : 1;
        if (segmentation.restrictions) {
            request.webDeliveryAllowed = segmentation.restrictions->webDeliveryAllowed ? 1 : 0;
            request.noRegionalBlackout = segmentation.restrictions->noRegionalBlackout ? 1 : 0;
            request.archiveAllowed = segmentation.restrictions->archiveAllowed ? 1 : 0;
            request.deviceRestrictions = segmentation.restrictions->deviceRestrictions;
        }
        if (segmentation.subSegment) {
            request.subSegments =
                SubSegmentRequest{1, segmentation.subSegment->number, segmentation.subSegment->expected};
        }
        return true;
    }

    bool fillDuration(InsertSegmentationDescriptorRequest& request, std::uint64_t ticks90k) const {
        if (ticks90k > kGreatestTicks) {
            return false;
        }
        std::uint64_t seconds = ticks90k / kSecond;
        std::uint64_t frames = 0;
        std::uint64_t kept = 0;
        // 0 would be no duration at all, and a second is far from what is shorter.
        if (seconds == 0) {
            return false;
        }
        if (_options.frameRate) {
            const MediaTime frame = frameDuration(*_options.frameRate);
            const auto scale = static_cast<std::uint64_t>(frame.timescale);
            const std::uint64_t unit = static_cast<std::uint64_t>(frame.value) * kSecond;
            frames = (ticks90k % kSecond * scale + unit / 2) / unit;
            // The field ends below the frame rate; what is as near to the next second is that second.
            if (frames == nominalFramesPerSecond(*_options.frameRate)) {
                frames = 0;
                ++seconds;
            }
            kept = seconds * kSecond + (frames * unit + scale / 2) / scale;
        } else {
            seconds = (ticks90k + kSecond / 2) / kSecond;
            kept = seconds * kSecond;
        }
        if (seconds > kGreatestMessageField) {
            return false;
        }
        if (kept != ticks90k) {
            warn(FindingCode::ScteDurationRounded, ticks90k, kept);
        }
        request.durationSeconds = static_cast<std::uint16_t>(seconds);
        request.durationExtensionFrames = static_cast<std::uint8_t>(frames);
        return true;
    }

    const MessageOptions& _options;
    Report _report;
    std::uint64_t _number = 0;      ///< Of the section.
    std::uint64_t _adjustment = 0;  ///< Of its times.
    Finding _wrong;
    MultipleOperationMessage _message;
};

}  // namespace

}  // namespace detail

Result<MultipleOperationMessage> messageOf(std::span<const SpliceInfoSection> sections, const MessageOptions& options,
                                           FindingSink* findings) {
    detail::MessageMaker maker(options, detail::Report{findings});
    for (std::size_t index = 0; index < sections.size(); ++index) {
        const Finding wrong = maker.take(sections[index], index);
        if (wrong.code != FindingCode::None) {
            return wrong;
        }
    }
    MultipleOperationMessage message = std::move(maker).message();
    // There is no room at all: it is too small for what can be written.
    Finding wrong = writeMessage(message, {}).error();
    if (wrong.code != FindingCode::OutputTooSmall) {
        wrong.offset = sections.empty() ? 0 : sections.size() - 1;
        return wrong;
    }
    return message;
}

}  // namespace qlx::scte
