// Reads messages of ANSI/SCTE 104.
#include <qlx/scte/scte104.h>

#include "scte/Scte104Layout.h"

#include <algorithm>
#include <bitset>
#include <string_view>
#include <utility>

namespace qlx::scte {

namespace detail {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kSizeOffset = 2;
constexpr std::size_t kSingleHeaderBytes = 13;
constexpr std::size_t kTimeTypeOffset = 10;
constexpr std::size_t kOperationHeaderBytes = 4;
/// The highest time_type that is defined.
constexpr std::uint8_t kGreatestTimeType = 3;

Finding cut(std::size_t needed, std::size_t there) {
    return {FindingCode::ScteMessageCut, Severity::Error, there, static_cast<std::int64_t>(needed),
            static_cast<std::int64_t>(there)};
}

Finding wrongMark(Bytes message) {
    return {FindingCode::ScteMessageMarkWrong, Severity::Error, 0, loadBig<std::uint16_t>(message.data()),
            kMultipleOperationMark};
}

/// Says when a number is greater than what is defined for it.
void checkNumber(const Report& report, std::size_t offset, std::uint64_t number, std::uint64_t greatest) {
    if (number > greatest) {
        report.add(FindingCode::ScteNumberWrong, Severity::Warning, offset, number, greatest);
    }
}

// Numbers of operations that no standard defines; `report` counts from the first byte of the data.

template <class Value>
void checkNumbers(const Value&, const Report&) {}

void checkNumbers(const SpliceRequest& value, const Report& report) {
    const auto type = static_cast<std::uint8_t>(value.type);
    if (type == 0 || value.type > SpliceInsertType::Cancel) {
        report.add(FindingCode::ScteNumberWrong, Severity::Warning, 0, type,
                   static_cast<std::uint8_t>(SpliceInsertType::Cancel));
    }
}

void checkNumbers(const EncryptedDpiRequest& value, const Report& report) {
    checkNumber(report, 0, value.encryptionAlgorithm, 63);
}

void checkNumbers(const InsertDtmfDescriptorRequest& value, const Report& report) {
    constexpr std::string_view kCharacters = "0123456789*#ABCD";
    for (std::size_t index = 0; index < value.characters.size(); ++index) {
        const std::uint8_t character = value.characters[index];
        if (kCharacters.find(static_cast<char>(character)) == std::string_view::npos) {
            report.add(FindingCode::ScteNumberWrong, Severity::Warning, index + 2, character, 'D');
        }
    }
}

void checkNumbers(const InsertSegmentationDescriptorRequest& value, const Report& report) {
    constexpr std::size_t kFlagsBehindUpid = 4;
    const std::size_t behindUpid = 9 + value.upid.size();
    checkNumber(report, 4, value.cancel, 1);
    const std::array flags{value.deliveryNotRestricted, value.webDeliveryAllowed, value.noRegionalBlackout,
                           value.archiveAllowed};
    for (std::size_t index = 0; index < flags.size(); ++index) {
        checkNumber(report, behindUpid + kFlagsBehindUpid + index, flags[index], 1);
    }
    checkNumber(report, behindUpid + kFlagsBehindUpid + flags.size(), value.deviceRestrictions, 3);
    if (value.subSegments) {
        checkNumber(report, behindUpid + kFlagsBehindUpid + flags.size() + 1, value.subSegments->insert, 1);
    }
}

void checkNumbers(const ScheduleDefinition& value, const Report& report) {
    const auto command = static_cast<std::uint8_t>(value.command);
    if (command != 1 && command != 3 && command != 5) {
        report.add(FindingCode::ScteNumberWrong, Severity::Warning, 0, command, 5);
    }
}

void checkNumbers(const InsertTierRequest& value, const Report& report) {
    checkNumber(report, 0, value.tier, 0x0FFF);
}

/// Says when no 0 ends a name.
void checkName(const Report& report, std::size_t offset, const SystemName& name) {
    if (std::find(name.begin(), name.end(), 0) == name.end()) {
        report.add(FindingCode::ScteNameUnended, Severity::Warning, offset, name.size());
    }
}

/// The address and socket in front of a name.
constexpr std::size_t kAddressBytes = 6;

void checkNumbers(const ConfigRequest& value, const Report& report) {
    checkNumber(report, kAddressBytes + 1, value.protocolVersion, 0);
}

void checkNumbers(const ProvisioningRequest& value, const Report& report) {
    std::size_t offset = 1;
    for (const ProvisionedService& service : value.services) {
        checkName(report, offset + kAddressBytes, service.name);
        offset += kAddressBytes + service.name.size() + 1;
        for (const ProvisionedPid& pid : service.dpiPids) {
            checkNumber(report, offset + 2, pid.sharedPid, 1);
            checkNumber(report, offset + 3, pid.eventIdComplianceFlag, 1);
            offset += 4;
        }
        const InjectorComponentList& list = service.components;
        offset += service.componentMode == 0 ? 1 : 4 + list.audioComponentTags.size() + list.dataComponentTags.size();
    }
}

void checkNumbers(const FaultRequest& value, const Report& report) {
    checkName(report, kAddressBytes, value.injectorServiceName);
}

void checkNumbers(const VitcTimeStamp& value, const Report& report) {
    checkNumber(report, 0, value.hours, 23);
    checkNumber(report, 1, value.minutes, 59);
    checkNumber(report, 2, value.seconds, 59);
}

void checkNumbers(const GpiTimeStamp& value, const Report& report) {
    checkNumber(report, 1, value.edge, 1);
}

/// Reads the alternative of `Data` whose opID is `opId`; false when there is none, or the data are too short for it.
template <class Data, std::size_t Index>
bool readAlternative(Data& result, std::uint16_t opId, Bytes data, std::vector<std::uint8_t>& trailing,
                     const Report& report) {
    using Value = std::variant_alternative_t<Index, Data>;
    Value& value = result.template emplace<Index>();
    FieldReader reader(data, report);
    walk(reader, value);
    if (reader.hasFailed()) {
        report.add(FindingCode::ScteOperationTooShort, Severity::Warning, 0, opId, data.size());
        return false;
    }
    checkNumbers(value, report);
    if (reader.remaining() > 0) {
        report.add(FindingCode::ScteBytesBehindOperation, Severity::Warning, reader.consumed(), opId,
                   reader.remaining());
        reader.rest(trailing);
    }
    return true;
}

template <class Data>
using AlternativeReader = bool (*)(Data&, std::uint16_t, Bytes, std::vector<std::uint8_t>&, const Report&);

/// The index of the alternative with an opID; 0, what is kept verbatim, for any other.
template <class Data, std::size_t... Index>
[[nodiscard]] constexpr std::size_t alternativeOf(std::uint16_t opId, std::index_sequence<Index...>) noexcept {
    std::size_t found = 0;
    static_cast<void>(
        ((std::variant_alternative_t<Index + 1, Data>::kOpId == opId && (found = Index + 1, true)) || ...));
    return found;
}

template <class Data, std::size_t... Index>
[[nodiscard]] bool read(Data& result, std::size_t alternative, std::uint16_t opId, Bytes data,
                        std::vector<std::uint8_t>& trailing, const Report& report, std::index_sequence<Index...>) {
    constexpr std::array<AlternativeReader<Data>, sizeof...(Index)> kReaders{&readAlternative<Data, Index + 1>...};
    return kReaders[alternative - 1](result, opId, data, trailing, report);
}

/// Reads an operation into `result`, and what stands behind its fields into `trailing`.
template <class Data>
void readOperation(Data& result, std::vector<std::uint8_t>& trailing, std::uint16_t opId, Bytes data,
                   const Report& report) {
    using Known = std::make_index_sequence<std::variant_size_v<Data> - 1>;
    const std::size_t alternative = alternativeOf<Data>(opId, Known{});
    if (alternative == 0) {
        report.add(FindingCode::ScteOperationUnknown, Severity::Remark, 0, opId, data.size());
    } else if (read(result, alternative, opId, data, trailing, report, Known{})) {
        return;
    }
    result.template emplace<VerbatimOperation>(VerbatimOperation{opId, {data.begin(), data.end()}});
}

/// Only responses have results (ANSI/SCTE 104, 8.2.2.1); AS_alive_request is one of them in table 8-3.
void checkResult(const SingleOperationMessage& message, std::uint16_t opId, const Report& report) {
    constexpr std::array<std::uint16_t, 5> kRequests{InitRequest::kOpId, AliveRequest::kOpId, ConfigRequest::kOpId,
                                                     ProvisioningRequest::kOpId, FaultRequest::kOpId};
    if (std::find(kRequests.begin(), kRequests.end(), opId) == kRequests.end()) {
        return;
    }
    constexpr std::size_t kResultOffset = 4;
    const std::array results{message.result, message.resultExtension};
    for (std::size_t index = 0; index < results.size(); ++index) {
        if (results[index] != kNoResult) {
            report.add(FindingCode::ScteResultInRequest, Severity::Warning, kResultOffset + 2 * index, results[index],
                       kNoResult);
        }
    }
}

template <class Value>
void readTimeStamp(TimeStamp& timeStamp, FieldReader& reader) {
    walk(reader, timeStamp.emplace<Value>());
}

/// Reads a timestamp from its time_type on.
void readTimeStamp(TimeStamp& timeStamp, FieldReader& reader) {
    std::uint8_t timeType = 0;
    reader.number(timeType);
    switch (timeType) {
    case 0:
        timeStamp.emplace<std::monostate>();
        break;
    case 1:
        readTimeStamp<UtcTimeStamp>(timeStamp, reader);
        break;
    case 2:
        readTimeStamp<VitcTimeStamp>(timeStamp, reader);
        break;
    case kGreatestTimeType:
        readTimeStamp<GpiTimeStamp>(timeStamp, reader);
        break;
    default:
        timeStamp.emplace<UnknownTimeType>(UnknownTimeType{timeType});
        break;
    }
}

/// What the header says, when that is no number that is defined.
void checkHeader(const MultipleOperationView& view, const Report& report) {
    constexpr std::size_t kProtocolVersionOffset = 4;
    constexpr std::size_t kScte35VersionOffset = 9;
    checkNumber(report, kProtocolVersionOffset, view.protocolVersion, 0);
    checkNumber(report, kScte35VersionOffset, view.scte35ProtocolVersion, 0);
    checkNumber(report, kTimeTypeOffset, timeTypeOf(view.timeStamp), kGreatestTimeType);
    std::visit([&](const auto& timeStamp) { checkNumbers(timeStamp, report.behind(kTimeTypeOffset + 1)); },
               view.timeStamp);
}

bool isControlWord(std::uint16_t opId) {
    return opId == DeleteControlWord::kOpId || opId == UpdateControlWord::kOpId;
}

/// Encryption stands in front of the schedule that it is for, and of that alone (ANSI/SCTE 104, 9.7.1).
bool isOfSchedule(const OperationView& operation, const std::optional<OperationView>& following) {
    return operation.opId == EncryptedDpiRequest::kOpId && following &&
           following->opId == StartScheduleDownloadRequest::kOpId;
}

/// What may not stand where it does (ANSI/SCTE 104, 8.2.3.1, 8.2.3.4 and 8.3.1). An unknown operation may be any.
void checkOrder(MultipleOperationView walk, const Report& report) {
    bool canBeAddedTo = false;
    std::bitset<256> controlWords;
    for (auto place = walk.next(); place;) {
        const auto following = walk.next();
        const OperationUsage usage = operationUsage(place->opId);
        if (usage == OperationUsage::Supplemental) {
            if (!canBeAddedTo && !isOfSchedule(*place, following)) {
                report.add(FindingCode::ScteSupplementAlone, Severity::Warning, place->offset, place->opId);
            }
        } else {
            canBeAddedTo = usage == OperationUsage::Normal || usage == OperationUsage::Unknown;
        }
        if (isControlWord(place->opId) && !place->data.empty()) {
            const std::uint8_t index = place->data[0];
            if (controlWords.test(index)) {
                report.add(FindingCode::ScteControlWordTwice, Severity::Warning, place->offset, index);
            }
            controlWords.set(index);
        }
        place = following;
    }
}

void readOperations(MultipleOperationMessage& message, MultipleOperationView& view, const Report& report) {
    // What every operation needs is its header: no number makes room for more than there are bytes.
    while (const auto place = view.next()) {
        Operation& operation = message.operations.emplace_back();
        const Report inside = report.behind(place->offset + kOperationHeaderBytes);
        if (place->isCut()) {
            operation.statedLength = place->statedLength;
            report.add(FindingCode::ScteOperationCut, Severity::Warning, place->offset, place->statedLength,
                       place->data.size());
        }
        readOperation(operation.data, operation.trailing, place->opId, place->data, inside);
    }
}

}  // namespace

}  // namespace detail

std::uint8_t timeTypeOf(const TimeStamp& timeStamp) noexcept {
    const auto* const unknown = std::get_if<UnknownTimeType>(&timeStamp);
    return unknown != nullptr ? unknown->timeType : static_cast<std::uint8_t>(timeStamp.index());
}

Result<MultipleOperationView> MultipleOperationView::of(std::span<const std::uint8_t> message) {
    detail::FieldReader reader(message, {});
    MultipleOperationView view;
    std::uint16_t mark = 0;
    reader.number(mark);
    if (mark != kMultipleOperationMark && !reader.hasFailed()) {
        return detail::wrongMark(message);
    }
    detail::walkHeader(reader, view, view.statedSize);
    detail::readTimeStamp(view.timeStamp, reader);
    reader.number(view.statedCount);
    if (reader.hasFailed()) {
        constexpr std::array<std::size_t, 4> kTimeStampBytes{0, 6, 4, 2};
        const std::uint8_t timeType =
            message.size() > detail::kTimeTypeOffset ? message[detail::kTimeTypeOffset] : std::uint8_t{0};
        const std::size_t stamp = timeType < kTimeStampBytes.size() ? kTimeStampBytes[timeType] : 0;
        return detail::cut(detail::kTimeTypeOffset + 1 + stamp + 1, message.size());
    }
    view._message = message;
    view._offset = reader.consumed();
    view._left = view.statedCount;
    return view;
}

std::optional<OperationView> MultipleOperationView::next() noexcept {
    const auto rest = _message.subspan(_offset);
    if (_left == 0 || rest.size() < detail::kOperationHeaderBytes) {
        return std::nullopt;
    }
    --_left;
    OperationView operation;
    operation.opId = loadBig<std::uint16_t>(rest.data());
    operation.statedLength = loadBig<std::uint16_t>(rest.data() + 2);
    operation.offset = _offset;
    const auto data = rest.subspan(detail::kOperationHeaderBytes);
    operation.data = data.first(std::min<std::size_t>(operation.statedLength, data.size()));
    _offset += detail::kOperationHeaderBytes + operation.data.size();
    return operation;
}

Operation parseOperation(std::uint16_t opId, std::span<const std::uint8_t> data, FindingSink* findings,
                         std::uint64_t offset) {
    Operation operation;
    detail::readOperation(operation.data, operation.trailing, opId, data, {findings, offset});
    return operation;
}

Result<MultipleOperationMessage> parseMultipleOperationMessage(std::span<const std::uint8_t> bytes,
                                                               FindingSink* findings) {
    auto view = MultipleOperationView::of(bytes);
    if (!view) {
        return view.error();
    }
    Result<MultipleOperationMessage> result(std::in_place);
    MultipleOperationMessage& message = *result;
    message.protocolVersion = view->protocolVersion;
    message.asIndex = view->asIndex;
    message.messageNumber = view->messageNumber;
    message.dpiPidIndex = view->dpiPidIndex;
    message.scte35ProtocolVersion = view->scte35ProtocolVersion;
    message.timeStamp = view->timeStamp;
    const detail::Report report{findings};
    if (view->statedSize != bytes.size()) {
        message.statedSize = view->statedSize;
        report.add(FindingCode::ScteMessageSizeWrong, Severity::Warning, detail::kSizeOffset, view->statedSize,
                   bytes.size());
    }
    detail::checkHeader(*view, report);
    if (findings != nullptr) {
        detail::checkOrder(*view, report);
    }
    detail::readOperations(message, *view, report);
    if (message.operations.size() != view->statedCount) {
        message.statedCount = view->statedCount;
        report.add(FindingCode::ScteOperationsMissing, Severity::Warning, view->offset(), view->statedCount,
                   message.operations.size());
    }
    if (const auto rest = bytes.subspan(view->offset()); !rest.empty()) {
        report.add(FindingCode::ScteBytesBehindMessage, Severity::Warning, view->offset(), rest.size());
        message.trailing.assign(rest.begin(), rest.end());
    }
    return result;
}

Result<SingleOperationMessage> parseSingleOperationMessage(std::span<const std::uint8_t> bytes, FindingSink* findings) {
    if (bytes.size() >= 2 && loadBig<std::uint16_t>(bytes.data()) == kMultipleOperationMark) {
        return detail::wrongMark(bytes);
    }
    if (bytes.size() < detail::kSingleHeaderBytes) {
        return detail::cut(detail::kSingleHeaderBytes, bytes.size());
    }
    Result<SingleOperationMessage> result(std::in_place);
    SingleOperationMessage& message = *result;
    const detail::Report report{findings};
    detail::FieldReader reader(bytes, report);
    std::uint16_t opId = 0;
    std::uint16_t statedSize = 0;
    reader.number(opId);
    reader.number(statedSize);
    reader.number(message.result);
    reader.number(message.resultExtension);
    reader.number(message.protocolVersion);
    reader.number(message.asIndex);
    reader.number(message.messageNumber);
    reader.number(message.dpiPidIndex);
    if (statedSize != bytes.size()) {
        message.statedSize = statedSize;
        report.add(FindingCode::ScteMessageSizeWrong, Severity::Warning, detail::kSizeOffset, statedSize, bytes.size());
    }
    constexpr std::size_t kProtocolVersionOffset = 8;
    detail::checkNumber(report, kProtocolVersionOffset, message.protocolVersion, 0);
    detail::checkResult(message, opId, report);
    detail::readOperation(message.operation, message.trailing, opId, bytes.subspan(detail::kSingleHeaderBytes),
                          report.behind(detail::kSingleHeaderBytes));
    return result;
}

Result<Message> parseMessage(std::span<const std::uint8_t> bytes, FindingSink* findings) {
    if (bytes.size() >= 2 && loadBig<std::uint16_t>(bytes.data()) == kMultipleOperationMark) {
        auto message = parseMultipleOperationMessage(bytes, findings);
        return message ? Result<Message>(*std::move(message)) : Result<Message>(message.error());
    }
    auto message = parseSingleOperationMessage(bytes, findings);
    return message ? Result<Message>(*std::move(message)) : Result<Message>(message.error());
}

}  // namespace qlx::scte
