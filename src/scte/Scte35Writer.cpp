// Writes a splice_info_section.
#include <qlx/base/section_crc.h>
#include <qlx/scte/scte35.h>

#include "base/Bytes.h"
#include "scte/Scte35Layout.h"

namespace qlx::scte {

namespace detail {

namespace {

/// A descriptor behind its length.
template <class Io>
void walkDescriptorData(Io& io, const SpliceDescriptor& descriptor) {
    std::visit(
        [&io](const auto& value) {
            if constexpr (!Is<std::remove_cvref_t<decltype(value)>, VerbatimDescriptor>) {
                io.number(kCueIdentifier);
            }
            walk(io, value);
        },
        descriptor.data);
    io.rest(descriptor.trailing);
}

[[nodiscard]] std::size_t sizeOf(const SpliceDescriptor& descriptor) noexcept {
    FieldMeasure measure;
    walkDescriptorData(measure, descriptor);
    return measure.size();
}

template <class Io>
void walkCommand(Io& io, const SpliceInfoSection& section) {
    std::visit([&io](const auto& value) { walk(io, value); }, section.command);
    io.rest(section.commandTrailing);
}

/// What the parts of a section come to.
struct SectionSizes {
    std::size_t command = 0;
    std::size_t loop = 0;
    std::size_t section = 0;
};

/// The sizes, or why the section cannot be written.
[[nodiscard]] Result<SectionSizes> sizesOf(const SpliceInfoSection& section) {
    SectionSizes sizes;
    FieldMeasure measure;
    SectionLengths lengths;
    walkHeader(measure, section, lengths);
    if (section.isEncrypted()) {
        const auto& content = std::get<EncryptedContent>(section.command);
        measure.check(content.commandLength, kCommandLengthNotGiven);
        measure.rest(content.data);
    } else {
        measure.check(section.statedCommandLength.value_or(0), kCommandLengthNotGiven);
        measure.number(*section.commandType());
        const std::size_t commandAt = measure.size();
        walkCommand(measure, section);
        sizes.command = measure.size() - commandAt;
        measure.number(std::uint16_t{0});
        const std::size_t loopAt = measure.size();
        for (const SpliceDescriptor& descriptor : section.descriptors) {
            measure.number(std::uint16_t{0});
            const std::size_t dataAt = measure.size();
            walkDescriptorData(measure, descriptor);
            measure.check(measure.size() - dataAt, 0xFF);
        }
        measure.rest(section.descriptorTrailing);
        sizes.loop = measure.size() - loopAt;
        measure.rest(section.alignmentStuffing);
    }
    if (measure.wrong().code != FindingCode::None) {
        return measure.wrong();
    }
    sizes.section = measure.size() + kCrcBytes;
    if (sizes.section > kGreatestSectionBytes) {
        return Finding{FindingCode::ScteSectionTooLong, Severity::Error, 0,
                       static_cast<std::int64_t>(sizes.section - kUncountedBytes),
                       static_cast<std::int64_t>(kGreatestSectionLength)};
    }
    return sizes;
}

void writeSection(const SpliceInfoSection& section, const SectionSizes& sizes, std::uint8_t* bytes) noexcept {
    FieldWriter writer(bytes);
    SectionLengths lengths;
    lengths.isEncrypted = section.isEncrypted();
    lengths.section = static_cast<std::uint16_t>(sizes.section - kUncountedBytes);
    if (const auto* const content = std::get_if<EncryptedContent>(&section.command)) {
        lengths.command = content->commandLength;
        walkHeader(writer, section, lengths);
        writer.rest(content->data);
    } else {
        lengths.command = section.statedCommandLength.value_or(static_cast<std::uint16_t>(sizes.command));
        walkHeader(writer, section, lengths);
        writer.number(*section.commandType());
        walkCommand(writer, section);
        writer.number(static_cast<std::uint16_t>(sizes.loop));
        for (const SpliceDescriptor& descriptor : section.descriptors) {
            writer.number(descriptor.tag());
            writer.number(static_cast<std::uint8_t>(sizeOf(descriptor)));
            walkDescriptorData(writer, descriptor);
        }
        writer.rest(section.descriptorTrailing);
        writer.rest(section.alignmentStuffing);
    }
    std::uint8_t* const end = writer.next();
    storeBig(end, section.statedCrc ? *section.statedCrc : sectionCRC32(std::span<const std::uint8_t>(bytes, end)));
}

}  // namespace

}  // namespace detail

std::optional<std::uint8_t> SpliceInfoSection::commandType() const noexcept {
    return std::visit(
        [](const auto& value) -> std::optional<std::uint8_t> {
            using Value = std::remove_cvref_t<decltype(value)>;
            if constexpr (detail::Is<Value, EncryptedContent>) {
                return std::nullopt;
            } else if constexpr (detail::Is<Value, VerbatimCommand>) {
                return value.commandType;
            } else {
                return Value::kCommandType;
            }
        },
        command);
}

std::uint8_t SpliceDescriptor::tag() const noexcept {
    return std::visit(
        [](const auto& value) -> std::uint8_t {
            using Value = std::remove_cvref_t<decltype(value)>;
            if constexpr (detail::Is<Value, VerbatimDescriptor>) {
                return value.tag;
            } else {
                return Value::kTag;
            }
        },
        data);
}

std::optional<std::uint32_t> VerbatimDescriptor::identifier() const noexcept {
    if (data.size() < sizeof(std::uint32_t)) {
        return std::nullopt;
    }
    return loadBig<std::uint32_t>(data.data());
}

Result<std::size_t> writeSpliceInfoSection(const SpliceInfoSection& section, std::span<std::uint8_t> room) {
    const auto sizes = detail::sizesOf(section);
    if (!sizes) {
        return sizes.error();
    }
    if (sizes->section > room.size()) {
        return Finding{FindingCode::OutputTooSmall, Severity::Error, 0, static_cast<std::int64_t>(sizes->section),
                       static_cast<std::int64_t>(room.size())};
    }
    detail::writeSection(section, *sizes, room.data());
    return sizes->section;
}

Result<Data> writeSpliceInfoSection(const SpliceInfoSection& section) {
    const auto sizes = detail::sizesOf(section);
    if (!sizes) {
        return sizes.error();
    }
    return Data::make(sizes->section, [&](std::uint8_t* bytes) { detail::writeSection(section, *sizes, bytes); });
}

}  // namespace qlx::scte
