// Reads a splice_info_section.
#include <qlx/base/section_crc.h>
#include <qlx/scte/scte35.h>

#include "base/Bytes.h"
#include "scte/Scte35Layout.h"

#include <algorithm>

namespace qlx::scte {

namespace detail {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kCommandLengthOffset = 11;
constexpr std::size_t kCommandTypeOffset = 13;
constexpr std::size_t kLoopLengthBytes = 2;
constexpr std::size_t kIdentifierBytes = 4;
constexpr std::size_t kGreatestDescriptorLength = 254;

constexpr std::size_t kFewestEncryptedBytes = kCommandTypeOffset + kCrcBytes;
constexpr std::size_t kFewestBytes = kCommandTypeOffset + 1 + kLoopLengthBytes + kCrcBytes;

Finding error(FindingCode code, std::uint64_t offset, std::uint64_t first, std::uint64_t second) {
    return {code, Severity::Error, offset, static_cast<std::int64_t>(first), static_cast<std::int64_t>(second)};
}

/// The index of the alternative with a type (or tag); the number of alternatives for any other.
template <class Variant, std::size_t... Index>
[[nodiscard]] constexpr std::size_t alternativeOf(std::uint8_t type, std::index_sequence<Index...>) noexcept {
    std::size_t found = sizeof...(Index);
    const auto typeOf = [](auto index) {
        using Value = std::variant_alternative_t<decltype(index)::value, Variant>;
        if constexpr (requires { Value::kCommandType; }) {
            return Value::kCommandType;
        } else {
            return Value::kTag;
        }
    };
    static_cast<void>(((typeOf(std::integral_constant<std::size_t, Index>{}) == type && (found = Index, true)) || ...));
    return found;
}

template <class Variant, std::size_t Index>
void readAlternative(Variant& variant, FieldReader& reader) {
    walk(reader, variant.template emplace<Index>());
}

template <class Variant, std::size_t... Index>
void read(Variant& variant, std::size_t alternative, FieldReader& reader, std::index_sequence<Index...>) {
    using Reader = void (*)(Variant&, FieldReader&);
    constexpr std::array<Reader, sizeof...(Index)> kReaders{&readAlternative<Variant, Index>...};
    kReaders[alternative](variant, reader);
}

// The first ones of each variant are those with a type.
using KnownCommands = std::make_index_sequence<std::variant_size_v<SpliceCommand> - 2>;
using KnownDescriptors = std::make_index_sequence<std::variant_size_v<SpliceDescriptorData> - 1>;

/// Reads one section whose bytes are all there.
class SectionReader {
public:
    SectionReader(Bytes bytes, SpliceInfoSection& section, const Report& report) noexcept
        : _bytes(bytes), _section(section), _report(report) {}

    /// Why it cannot be read; a finding without a code when it can.
    [[nodiscard]] Finding read() {
        FieldReader reader(_bytes.first(kCommandTypeOffset), _report);
        SectionLengths lengths;
        walkHeader(reader, _section, lengths);
        checkHeader();
        const std::size_t end = _bytes.size() - kCrcBytes;
        checkCrc(end);
        if (lengths.isEncrypted) {
            const Bytes data = _bytes.subspan(kCommandTypeOffset, end - kCommandTypeOffset);
            _report.add(FindingCode::ScteSectionEncrypted, Severity::Remark, kCommandTypeOffset,
                        _section.encryptionAlgorithm, data.size());
            _section.command = EncryptedContent{lengths.command, {data.begin(), data.end()}};
            return {};
        }
        if (_bytes.size() < kFewestBytes) {
            return error(FindingCode::ScteSectionCut, _bytes.size(), kFewestBytes, _bytes.size());
        }
        _body = _bytes.subspan(kCommandTypeOffset + 1, end - kCommandTypeOffset - 1);
        return readBody(lengths.command);
    }

private:
    void checkHeader() const {
        constexpr std::size_t kIndicatorsOffset = 1;
        constexpr std::size_t kVersionOffset = 3;
        constexpr std::uint8_t kKnownVersion = 0;
        const unsigned indicators = (_section.sectionSyntaxIndicator ? 1U : 0U) | (_section.privateIndicator ? 2U : 0U);
        if (indicators != 0) {
            _report.add(FindingCode::ScteSectionIndicatorSet, Severity::Warning, kIndicatorsOffset, indicators);
        }
        if (_section.protocolVersion != kKnownVersion) {
            _report.add(FindingCode::ScteProtocolVersionUnknown, Severity::Warning, kVersionOffset,
                        _section.protocolVersion, kKnownVersion);
        }
    }

    void checkCrc(std::size_t end) {
        const auto stated = loadBig<std::uint32_t>(&_bytes[end]);
        const std::uint32_t right = sectionCRC32(_bytes.first(end));
        if (stated != right) {
            _section.statedCrc = stated;
            _report.add(FindingCode::ScteSectionCrcWrong, Severity::Warning, end, stated, right);
        }
    }

    [[nodiscard]] std::uint8_t commandType() const noexcept { return _bytes[kCommandTypeOffset]; }

    /// Whether descriptors of the announced length follow a command of this size.
    [[nodiscard]] bool loopFits(std::size_t commandSize) const noexcept {
        return commandSize + kLoopLengthBytes <= _body.size() &&
               loadBig<std::uint16_t>(&_body[commandSize]) <= _body.size() - commandSize - kLoopLengthBytes;
    }

    /// How many bytes the command has by its own fields; none where these cannot tell.
    [[nodiscard]] std::optional<std::size_t> sizeByFields() const {
        const std::size_t alternative = alternativeOf<SpliceCommand>(commandType(), KnownCommands{});
        if (alternative == KnownCommands::size() || commandType() == PrivateCommand::kCommandType) {
            return std::nullopt;
        }
        FieldReader reader(_body, {});
        SpliceCommand command;
        detail::read(command, alternative, reader, KnownCommands{});
        return reader.hasFailed() || !loopFits(reader.consumed()) ? std::nullopt : std::optional(reader.consumed());
    }

    [[nodiscard]] Finding readBody(std::uint16_t statedLength) {
        std::size_t size = statedLength;
        if (statedLength == kCommandLengthNotGiven || !loopFits(statedLength) || isTooShort(statedLength)) {
            const auto byFields = sizeByFields();
            if (byFields) {
                size = *byFields;
            } else if (statedLength == kCommandLengthNotGiven || !loopFits(statedLength)) {
                return notToBeSplit(statedLength);
            }
        }
        if (size != statedLength) {
            _section.statedCommandLength = statedLength;
            if (statedLength != kCommandLengthNotGiven) {
                _report.add(FindingCode::ScteCommandLengthWrong, Severity::Warning, kCommandLengthOffset, statedLength,
                            size);
            }
        }
        readCommand(size);
        const std::size_t loopLength = loadBig<std::uint16_t>(&_body[size]);
        const std::size_t loopAt = size + kLoopLengthBytes;
        readDescriptors(_body.subspan(loopAt, loopLength), kCommandTypeOffset + 1 + loopAt);
        const Bytes stuffing = _body.subspan(loopAt + loopLength);
        _section.alignmentStuffing.assign(stuffing.begin(), stuffing.end());
        return {};
    }

    /// Where the command ends, or the descriptors, cannot be told.
    [[nodiscard]] Finding notToBeSplit(std::uint16_t statedLength) const {
        const std::size_t loopAt = statedLength + kLoopLengthBytes;
        if (statedLength == kCommandLengthNotGiven || loopAt > _body.size()) {
            return error(FindingCode::ScteCommandLengthWrong, kCommandLengthOffset, statedLength, 0);
        }
        return error(FindingCode::ScteDescriptorLoopCut, kCommandTypeOffset + 1 + statedLength,
                     loadBig<std::uint16_t>(&_body[statedLength]), _body.size() - loopAt);
    }

    /// Whether a command of this size has not all of its fields.
    [[nodiscard]] bool isTooShort(std::size_t size) const {
        const std::size_t alternative = alternativeOf<SpliceCommand>(commandType(), KnownCommands{});
        if (alternative == KnownCommands::size()) {
            return false;
        }
        FieldReader reader(_body.first(size), {});
        SpliceCommand command;
        detail::read(command, alternative, reader, KnownCommands{});
        return reader.hasFailed();
    }

    void readCommand(std::size_t size) {
        const Bytes data = _body.first(size);
        const Report inside = _report.behind(kCommandTypeOffset + 1);
        const std::size_t alternative = alternativeOf<SpliceCommand>(commandType(), KnownCommands{});
        if (alternative == KnownCommands::size()) {
            _report.add(FindingCode::ScteCommandUnknown, Severity::Remark, kCommandTypeOffset, commandType(), size);
        } else {
            FieldReader reader(data, inside);
            detail::read(_section.command, alternative, reader, KnownCommands{});
            if (!reader.hasFailed()) {
                if (reader.remaining() > 0) {
                    inside.add(FindingCode::ScteBytesBehindCommand, Severity::Warning, reader.consumed(), commandType(),
                               reader.remaining());
                    reader.rest(_section.commandTrailing);
                }
                return;
            }
            _report.add(FindingCode::ScteCommandTooShort, Severity::Warning, kCommandTypeOffset, commandType(), size);
        }
        _section.command = VerbatimCommand{commandType(), {data.begin(), data.end()}};
    }

    void readDescriptors(Bytes loop, std::size_t offset) {
        while (!loop.empty()) {
            const std::size_t length = loop.size() < kDescriptorHeadBytes ? 0 : loop[1];
            const std::size_t size = kDescriptorHeadBytes + length;
            if (loop.size() < size) {
                _report.add(FindingCode::ScteDescriptorCut, Severity::Warning, offset, loop[0], loop.size());
                _section.descriptorTrailing.assign(loop.begin(), loop.end());
                return;
            }
            if (length > kGreatestDescriptorLength) {
                _report.add(FindingCode::ScteDescriptorTooLong, Severity::Warning, offset + 1, length,
                            kGreatestDescriptorLength);
            }
            readDescriptor(loop[0], loop.subspan(kDescriptorHeadBytes, length),
                           _report.behind(offset + kDescriptorHeadBytes));
            loop = loop.subspan(size);
            offset += size;
        }
    }

    void readDescriptor(std::uint8_t tag, Bytes data, const Report& report) {
        SpliceDescriptor& descriptor = _section.descriptors.emplace_back();
        const std::size_t alternative = alternativeOf<SpliceDescriptorData>(tag, KnownDescriptors{});
        const bool hasIdentifier = data.size() >= kIdentifierBytes;
        if (hasIdentifier && alternative != KnownDescriptors::size() &&
            loadBig<std::uint32_t>(data.data()) == kCueIdentifier) {
            FieldReader reader(data.subspan(kIdentifierBytes), report.behind(kIdentifierBytes));
            detail::read(descriptor.data, alternative, reader, KnownDescriptors{});
            if (!reader.hasFailed()) {
                finishDescriptor(descriptor, tag, reader);
                return;
            }
            report.add(FindingCode::ScteDescriptorTooShort, Severity::Warning, 0, tag, data.size() - kIdentifierBytes);
        } else if (!hasIdentifier) {
            report.add(FindingCode::ScteDescriptorTooShort, Severity::Warning, 0, tag, data.size());
        }
        descriptor.data = VerbatimDescriptor{tag, {data.begin(), data.end()}};
    }

    /// What stands behind a UPID has a known size.
    static void checkUpid(const SegmentationDescriptor& segmentation, const FieldReader& reader) {
        const Upid& upid = segmentation.upid;
        const bool isRight = upid.type == UpidType::Mid
                                 ? upidsOfMid(upid.bytes).hasValue()
                                 : upidBytes(upid.type).value_or(upid.bytes.size()) == upid.bytes.size();
        if (!isRight) {
            const std::size_t behind = upid.bytes.size() + 3 + (segmentation.subSegment ? 2 : 0);
            reader.report().add(FindingCode::ScteUpidLengthWrong, Severity::Warning, reader.consumed() - behind - 1,
                                static_cast<std::uint8_t>(upid.type), upid.bytes.size());
        }
    }

    static void finishDescriptor(SpliceDescriptor& descriptor, std::uint8_t tag, FieldReader& reader) {
        const auto* const segmentation = std::get_if<SegmentationDescriptor>(&descriptor.data);
        if (segmentation != nullptr && segmentation->subSegment && !hasSubSegments(segmentation->typeId)) {
            reader.report().add(FindingCode::ScteSubSegmentsUnexpected, Severity::Remark, reader.consumed() - 2,
                                segmentation->typeId);
        }
        if (segmentation != nullptr && !segmentation->cancel) {
            checkUpid(*segmentation, reader);
        }
        if (reader.remaining() > 0) {
            reader.report().add(FindingCode::ScteBytesBehindDescriptor, Severity::Warning, reader.consumed(), tag,
                                reader.remaining());
            reader.rest(descriptor.trailing);
        }
    }

    Bytes _bytes;
    Bytes _body;  ///< Behind splice_command_type, in front of CRC_32.
    SpliceInfoSection& _section;
    Report _report;
};

}  // namespace

}  // namespace detail

bool hasSubSegments(std::uint8_t segmentationTypeId) noexcept {
    constexpr std::array<std::uint8_t, 8> kTypes{0x30, 0x32, 0x34, 0x36, 0x38, 0x3A, 0x44, 0x46};
    return std::find(kTypes.begin(), kTypes.end(), segmentationTypeId) != kTypes.end();
}

Result<SpliceInfoSection> parseSpliceInfoSection(std::span<const std::uint8_t> bytes, FindingSink* findings) {
    constexpr std::size_t kTableIdBytes = 1;
    if (bytes.size() >= kTableIdBytes && bytes[0] != kSpliceInfoTableId) {
        return detail::error(FindingCode::ScteTableIdWrong, 0, bytes[0], kSpliceInfoTableId);
    }
    if (bytes.size() < detail::kFewestEncryptedBytes) {
        return detail::error(FindingCode::ScteSectionCut, bytes.size(), detail::kFewestEncryptedBytes, bytes.size());
    }
    const std::size_t length = loadBig<std::uint16_t>(&bytes[1]) & 0x0FFFU;
    if (length > kGreatestSectionLength) {
        return detail::error(FindingCode::ScteSectionTooLong, 1, length, kGreatestSectionLength);
    }
    const std::size_t size = std::max(detail::kUncountedBytes + length, detail::kFewestEncryptedBytes);
    if (bytes.size() < size || length + detail::kUncountedBytes < size) {
        return detail::error(FindingCode::ScteSectionCut, 1, size, std::min(bytes.size(), length + 3));
    }
    Result<SpliceInfoSection> result(std::in_place);
    const detail::Report report{findings};
    const Finding wrong = detail::SectionReader(bytes.first(size), *result, report).read();
    if (wrong.code != FindingCode::None) {
        return wrong;
    }
    if (bytes.size() > size) {
        report.add(FindingCode::ScteBytesBehindSection, Severity::Remark, size, bytes.size() - size);
    }
    return result;
}

}  // namespace qlx::scte
