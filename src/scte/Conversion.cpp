// Sections of SCTE 35 from a message of SCTE 104.
#include <qlx/scte/conversion.h>

#include "scte/FieldIo.h"

#include <utility>

namespace qlx::scte {

namespace detail {

namespace {

constexpr std::uint64_t kTicksPerMillisecond = 90;
constexpr std::uint64_t kTicksPerTenth = 9000;
constexpr std::uint64_t kTicksPerSecond = 90000;
/// Milliseconds in front of the start of a break (ANSI/SCTE 104 2023, 9.3.1.2).
constexpr std::uint64_t kLeastPreRoll = 4000;

/// Reads the operations one by one. Each visit gives the finding that ends the conversion, or one without a code.
class Converter {
public:
    Converter(const ConversionOptions& options, const Report& report) : _options(options), _report(report) {}

    [[nodiscard]] Finding convert(const MultipleOperationMessage& message) {
        const std::uint8_t timeType = timeTypeOf(message.timeStamp);
        const bool hasTimeStamp = timeType != 0;
        if (hasTimeStamp && !_options.timeStampPts90k && !_options.splicePts90k) {
            return {FindingCode::ScteMomentMissing, Severity::Error, 0, timeType, 0};
        }
        _base = hasTimeStamp ? _options.timeStampPts90k.value_or(0) : _options.framePts90k;
        if (message.operations.empty()) {
            _report.add(FindingCode::ScteMessageEmpty, Severity::Warning, 0);
        }
        if (message.scte35ProtocolVersion != 0) {
            _report.add(FindingCode::ScteProtocolVersionUnknown, Severity::Warning, 0, message.scte35ProtocolVersion);
        }
        for (const Operation& operation : message.operations) {
            Finding wrong = std::visit(
                [&](const auto& value) {
                    return take(value) ? std::exchange(_wrong, {}) : refuse(FindingCode::ScteMakesNoSection, operation);
                },
                operation.data);
            if (wrong.code == FindingCode::None) {
                wrong = unwritable();
            }
            if (wrong.code != FindingCode::None) {
                return wrong;
            }
            ++_number;
        }
        closeOperation();
        if (_schedule) {
            return {FindingCode::ScteMakesNoSection, Severity::Error, _scheduleNumber,
                    StartScheduleDownloadRequest::kOpId, 0};
        }
        return {};
    }

    [[nodiscard]] std::vector<SpliceInfoSection> sections() && { return std::move(_sections); }

private:
    /// What the normal operation just before makes, and supplements add to.
    enum class Target : std::uint8_t {
        None,
        Section,   ///< The last section.
        Schedule,  ///< The one that is not transmitted yet.
        Skipped,   ///< Nothing, and its supplements are skipped too.
    };

    [[nodiscard]] Finding refuse(FindingCode code, const Operation& operation) const {
        return {code, Severity::Error, _number, operation.opId(), 0};
    }

    /// What supplements add to; null when there is nothing.
    [[nodiscard]] SpliceInfoSection* target() {
        if (_target == Target::Schedule) {
            return &*_schedule;
        }
        return _target == Target::Section ? &_sections.back() : nullptr;
    }

    /// Says that there is nothing to add to. What belongs to a skipped operation is skipped too.
    void leaveAlone(std::uint16_t opId) {
        if (_target == Target::Skipped) {
            _report.add(FindingCode::ScteSupplementAlone, Severity::Error, _number, opId);
            return;
        }
        _wrong = {FindingCode::ScteSupplementAlone, Severity::Error, _number, opId, 0};
    }

    /// The section that is added to; none, and it is said, when there is none.
    template <class Value>
    [[nodiscard]] SpliceInfoSection* openSection() {
        SpliceInfoSection* const section = target();
        if (section == nullptr) {
            leaveAlone(Value::kOpId);
        }
        return section;
    }

    /// A normal operation has all its supplements when the next one begins.
    void closeOperation() {
        if (_unlessComponents.code != FindingCode::None && _report.sink != nullptr) {
            _report.sink->add(_unlessComponents);
        }
        _unlessComponents = {};
        _target = Target::None;
    }

    [[nodiscard]] SpliceInfoSection& beginSection() {
        closeOperation();
        _target = Target::Section;
        return _sections.emplace_back();
    }

    /// Why the section that the operation made or added to cannot be written; a finding without a code if it can.
    [[nodiscard]] Finding unwritable() {
        const SpliceInfoSection* const section = target();
        if (section == nullptr) {
            return {};
        }
        // There is no room at all: it is too small for what can be written.
        Finding wrong = writeSpliceInfoSection(*section, {}).error();
        if (wrong.code == FindingCode::OutputTooSmall) {
            return {};
        }
        wrong.offset = _number;
        return wrong;
    }

    template <class Value>
    bool addDescriptor(SpliceDescriptorData data) {
        if (SpliceInfoSection* const section = openSection<Value>()) {
            section->descriptors.push_back({std::move(data), {}});
        }
        return true;
    }

    /// Goes on behind an operation that says nothing about any other.
    bool skip(std::uint16_t opId) {
        closeOperation();
        _target = Target::Skipped;
        _report.add(FindingCode::ScteMakesNoSection, Severity::Error, _number, opId);
        return true;
    }

    [[nodiscard]] std::size_t scheduledEvents() const {
        return std::get<SpliceSchedule>(_schedule->command).events.size();
    }

    [[nodiscard]] std::uint64_t ticksOf(std::uint64_t preRollMilliseconds) const noexcept {
        const std::uint64_t ticks =
            _options.splicePts90k ? *_options.splicePts90k : _base + preRollMilliseconds * kTicksPerMillisecond;
        return ticks & kGreatestTicks;
    }

    void remark(FindingCode code, std::uint64_t number) const { _report.add(code, Severity::Remark, _number, number); }

    // take() is false for what makes no section, and without which the others would not be what was asked for.

    template <class Value>
    requires Is<Value, EncryptedDpiRequest> || Is<Value, InsertAudioDescriptorRequest>
    bool take(const Value&) {
        if (_target != Target::Skipped) {
            return false;
        }
        leaveAlone(Value::kOpId);
        return true;
    }

    template <class Value>
    requires Is<Value, ProprietaryCommandRequest> || Is<Value, DeleteControlWord> || Is<Value, UpdateControlWord>
    bool take(const Value&) { return skip(Value::kOpId); }

    bool take(const VerbatimOperation& operation) {
        const OperationUsage usage = operationUsage(operation.opId);
        if (usage == OperationUsage::Supplemental && _target == Target::Skipped) {
            leaveAlone(operation.opId);
            return true;
        }
        // One that is cut, or whose data are not read, could add to the one before it (another break duration), or make
        // a section that others add to.
        const bool counts = usage == OperationUsage::Supplemental ||
                            (usage == OperationUsage::Normal && operation.opId != ProprietaryCommandRequest::kOpId);
        return !counts && skip(operation.opId);
    }

    bool take(const InjectSectionDataRequest& request) {
        SpliceInfoSection& section = beginSection();
        section.protocolVersion = request.protocolVersion;
        section.command = VerbatimCommand{request.commandType, request.command};
        return true;
    }

    bool take(const SpliceRequest& request) {
        if (request.type == SpliceInsertType{0} || request.type > SpliceInsertType::Cancel) {
            return false;
        }
        auto& insert = beginSection().command.emplace<SpliceInsert>();
        insert.eventId = request.eventId;
        insert.cancel = request.type == SpliceInsertType::Cancel;
        if (!insert.cancel) {
            fillSplice(insert, request);
        }
        if (request.notAnEntryFlag.value_or(0) != 0) {
            remark(FindingCode::ScteEntryFlagIgnored, *request.notAnEntryFlag);
        }
        return true;
    }

    void fillSplice(SpliceInsert& insert, const SpliceRequest& request) {
        const bool isStart =
            request.type == SpliceInsertType::StartNormal || request.type == SpliceInsertType::StartImmediate;
        const bool isNormal =
            request.type == SpliceInsertType::StartNormal || request.type == SpliceInsertType::EndNormal;
        insert.outOfNetwork = isStart;
        insert.immediate = !isNormal || (request.preRollMilliseconds == 0 && !_options.splicePts90k);
        if (!insert.immediate) {
            insert.time.ticks90k = ticksOf(request.preRollMilliseconds);
            if (isStart && !_options.splicePts90k && request.preRollMilliseconds < kLeastPreRoll) {
                sayUnlessComponents(FindingCode::SctePreRollTooShort, Severity::Warning, request.preRollMilliseconds,
                                    kLeastPreRoll);
            }
        } else if (isNormal) {
            sayUnlessComponents(FindingCode::ScteSpliceIsImmediate, Severity::Remark,
                                static_cast<std::uint8_t>(request.type), 0);
        } else if (request.preRollMilliseconds != 0) {
            remark(FindingCode::SctePreRollIgnored, request.preRollMilliseconds);
        }
        if (request.breakDurationTenths != 0 && isStart) {
            insert.breakDuration.emplace();
            insert.breakDuration->autoReturn = request.autoReturn != 0;
            insert.breakDuration->ticks90k = request.breakDurationTenths * kTicksPerTenth;
        } else if (request.breakDurationTenths != 0) {
            remark(FindingCode::ScteBreakDurationIgnored, request.breakDurationTenths);
        }
        insert.uniqueProgramId = request.uniqueProgramId;
        insert.availNum = request.availNum;
        insert.availsExpected = request.availsExpected;
    }

    /// What holds of the pre-roll of a splice, unless component mode follows, which has pre-rolls of its own.
    void sayUnlessComponents(FindingCode code, Severity severity, std::uint64_t first, std::uint64_t second) {
        _unlessComponents = {code, severity, _number, static_cast<std::int64_t>(first),
                             static_cast<std::int64_t>(second)};
    }

    bool take(const SpliceNullRequest&) {
        beginSection().command = SpliceNull{};
        return true;
    }

    bool take(const TimeSignalRequest& request) {
        TimeSignal signal;
        signal.time.ticks90k = ticksOf(request.preRollMilliseconds);
        beginSection().command = signal;
        return true;
    }

    bool take(const StartScheduleDownloadRequest& request) {
        closeOperation();
        if (_schedule) {
            _report.add(FindingCode::ScteScheduleReplaced, Severity::Error, _scheduleNumber, scheduledEvents());
        }
        _target = Target::Schedule;
        _scheduleNumber = _number;
        _schedule.emplace().command = SpliceSchedule{};
        for (const std::uint32_t id : request.providerAvailIds) {
            _schedule->descriptors.push_back({AvailDescriptor{id}, {}});
        }
        return true;
    }

    bool take(const ScheduleDefinition& definition) {
        if (!_schedule) {
            leaveAlone(ScheduleDefinition::kOpId);
            return true;
        }
        if (definition.command != SpliceScheduleCommand::Insert &&
            definition.command != SpliceScheduleCommand::Return &&
            definition.command != SpliceScheduleCommand::Cancel) {
            return false;
        }
        closeOperation();
        _target = Target::Schedule;
        ScheduledSplice event;
        event.eventId = definition.eventId;
        event.cancel = definition.command == SpliceScheduleCommand::Cancel;
        if (!event.cancel) {
            event.outOfNetwork = definition.command == SpliceScheduleCommand::Insert;
            event.gpsSeconds = definition.gpsSeconds;
            if (definition.breakDurationTenths != 0) {
                event.breakDuration.emplace();
                event.breakDuration->autoReturn = definition.autoReturn != 0;
                event.breakDuration->ticks90k = definition.breakDurationTenths * kTicksPerTenth;
            }
            event.uniqueProgramId = definition.uniqueProgramId;
            event.availNum = definition.availNum;
            event.availsExpected = definition.availsExpected;
        }
        std::get<SpliceSchedule>(_schedule->command).events.push_back(std::move(event));
        return true;
    }

    bool take(const ScheduleComponentModeRequest& request) {
        auto* const schedule = _target == Target::Schedule ? &std::get<SpliceSchedule>(_schedule->command) : nullptr;
        if (schedule == nullptr || schedule->events.empty()) {
            leaveAlone(ScheduleComponentModeRequest::kOpId);
            return true;
        }
        if (isEmpty(request)) {
            return true;
        }
        ScheduledSplice& event = schedule->events.back();
        if (event.cancel) {
            return false;
        }
        event.programSplice = false;
        event.gpsSeconds = 0;
        for (const ScheduledComponentTime& component : request.components) {
            event.components.push_back({component.componentTag, component.gpsSeconds});
        }
        return true;
    }

    bool take(const TransmitScheduleRequest& request) {
        if (!_schedule) {
            return false;
        }
        closeOperation();
        if (request.cancel == 0) {
            _target = Target::Section;
            _sections.push_back(*std::move(_schedule));
        } else {
            remark(FindingCode::ScteScheduleCancelled, scheduledEvents());
        }
        _schedule.reset();
        return true;
    }

    /// Whether a list names no component, and so changes nothing: a splice of no component at all has no time.
    template <class Value>
    [[nodiscard]] bool isEmpty(const Value& request) const {
        if (request.components.empty()) {
            _report.add(FindingCode::ScteComponentsMissing, Severity::Warning, _number, Value::kOpId);
        }
        return request.components.empty();
    }

    /// Only a splice has streams of its own.
    bool take(const ComponentModeRequest& request) {
        SpliceInfoSection* const section = openSection<ComponentModeRequest>();
        if (section == nullptr) {
            return true;
        }
        auto* const insert = std::get_if<SpliceInsert>(&section->command);
        if (insert == nullptr || insert->cancel) {
            return false;
        }
        if (isEmpty(request)) {
            return true;
        }
        if (std::exchange(_unlessComponents, {}).code == FindingCode::ScteSpliceIsImmediate) {
            insert->immediate = false;
        }
        insert->programSplice = false;
        insert->time = {};
        for (const ComponentPreRoll& component : request.components) {
            SpliceComponent& stream = insert->components.emplace_back();
            stream.componentTag = component.componentTag;
            if (!insert->immediate) {
                stream.time.ticks90k = ticksOf(component.preRollMilliseconds);
            } else if (component.preRollMilliseconds != 0) {
                remark(FindingCode::SctePreRollIgnored, component.preRollMilliseconds);
            }
        }
        return true;
    }

    bool take(const InsertDescriptorRequest& request) {
        if (SpliceInfoSection* const section = openSection<InsertDescriptorRequest>()) {
            for (const DescriptorImage& image : request.descriptors) {
                section->descriptors.push_back({VerbatimDescriptor{image.tag, image.data}, {}});
            }
        }
        return true;
    }

    bool take(const InsertDtmfDescriptorRequest& request) {
        DtmfDescriptor descriptor;
        descriptor.preRollTenths = request.preRollTenths;
        descriptor.characters = request.characters;
        return addDescriptor<InsertDtmfDescriptorRequest>(std::move(descriptor));
    }

    bool take(const InsertAvailDescriptorRequest& request) {
        if (SpliceInfoSection* const section = openSection<InsertAvailDescriptorRequest>()) {
            for (const std::uint32_t id : request.providerAvailIds) {
                section->descriptors.push_back({AvailDescriptor{id}, {}});
            }
        }
        return true;
    }

    bool take(const InsertSegmentationDescriptorRequest& request) {
        SpliceInfoSection* const section = openSection<InsertSegmentationDescriptorRequest>();
        SegmentationDescriptor descriptor;
        descriptor.eventId = request.eventId;
        descriptor.cancel = request.cancel != 0;
        if (section != nullptr && (descriptor.cancel || fillSegmentation(descriptor, request))) {
            section->descriptors.push_back({std::move(descriptor), {}});
        }
        return true;
    }

    /// False, and it is said, when a frame rate is needed.
    bool fillSegmentation(SegmentationDescriptor& descriptor, const InsertSegmentationDescriptorRequest& request) {
        if (request.deliveryNotRestricted == 0) {
            descriptor.restrictions =
                DeliveryRestrictions{request.webDeliveryAllowed != 0, request.noRegionalBlackout != 0,
                                     request.archiveAllowed != 0, request.deviceRestrictions};
        }
        if (request.durationSeconds != 0) {
            const std::uint64_t frames = request.durationExtensionFrames;
            if (frames != 0 && !_options.frameRate) {
                _wrong = {FindingCode::ScteRateMissing, Severity::Error, _number, static_cast<std::int64_t>(frames), 0};
                return false;
            }
            std::uint64_t ticks = request.durationSeconds * kTicksPerSecond;
            if (frames != 0) {
                if (const std::uint64_t nominal = nominalFramesPerSecond(*_options.frameRate); frames >= nominal) {
                    _report.add(FindingCode::ScteNumberWrong, Severity::Warning, _number, frames, nominal - 1);
                }
                // To the nearest tick: two frames of 59.94 are 3003.
                const MediaTime frame = frameDuration(*_options.frameRate);
                const auto scale = static_cast<std::uint64_t>(frame.timescale);
                ticks += (frames * static_cast<std::uint64_t>(frame.value) * kTicksPerSecond + scale / 2) / scale;
            }
            descriptor.duration90k = ticks;
        } else if (request.durationExtensionFrames != 0) {
            remark(FindingCode::ScteExtensionFramesIgnored, request.durationExtensionFrames);
        }
        descriptor.upid = {static_cast<UpidType>(request.upidType), request.upid};
        descriptor.typeId = request.typeId;
        descriptor.segmentNum = request.segmentNum;
        descriptor.segmentsExpected = request.segmentsExpected;
        if (request.subSegments && request.subSegments->insert != 0) {
            descriptor.subSegment =
                SubSegment{request.subSegments->subSegmentNum, request.subSegments->subSegmentsExpected};
        }
        return true;
    }

    bool take(const InsertTierRequest& request) {
        if (SpliceInfoSection* const section = openSection<InsertTierRequest>()) {
            section->tier = request.tier;
        }
        return true;
    }

    bool take(const InsertTimeDescriptorRequest& request) {
        return addDescriptor<InsertTimeDescriptorRequest>(
            TimeDescriptor{request.taiSeconds, request.taiNanoseconds, request.utcOffset});
    }

    const ConversionOptions& _options;
    Report _report;
    std::uint64_t _base = 0;    ///< What pre-rolls count from.
    std::uint64_t _number = 0;  ///< Of the operation.
    Finding _wrong;             ///< What take() has to say.
    std::vector<SpliceInfoSection> _sections;
    std::optional<SpliceInfoSection> _schedule;  ///< One that is not transmitted yet.
    std::uint64_t _scheduleNumber = 0;
    Target _target = Target::None;
    Finding _unlessComponents;  ///< What closeOperation() says of a splice.
};

}  // namespace

}  // namespace detail

Result<std::vector<SpliceInfoSection>> sectionsOf(const MultipleOperationMessage& message,
                                                  const ConversionOptions& options, FindingSink* findings) {
    detail::Converter converter(options, detail::Report{findings});
    const Finding wrong = converter.convert(message);
    if (wrong.code != FindingCode::None) {
        return wrong;
    }
    return std::move(converter).sections();
}

}  // namespace qlx::scte
