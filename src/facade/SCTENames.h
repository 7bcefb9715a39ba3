// The names of the codes in SCTE-104 operations and SCTE-35 descriptors.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace qlx::scte {

/// A code and its name.
struct NamedCode {
    std::int32_t code;
    std::string_view name;
};

/// The segmentation types, ascending; their names as shown.
[[nodiscard]] std::span<const NamedCode> segmentationTypes() noexcept;

/// The UPID types, ascending from 0.
[[nodiscard]] std::span<const NamedCode> upidTypes() noexcept;

[[nodiscard]] std::string_view operationName(std::uint16_t operationID) noexcept;
[[nodiscard]] std::string_view spliceInsertModeName(std::uint8_t mode) noexcept;
/// The splice_insert_type for display, spelled differently from the mode's name.
[[nodiscard]] std::string_view spliceTypeDisplayName(std::int32_t spliceType) noexcept;
[[nodiscard]] std::string_view segmentationTypeName(std::int32_t type) noexcept;
[[nodiscard]] std::string_view upidTypeName(std::uint8_t type) noexcept;

/// The segmentation type that hosts mean by a name; 0 for any other.
[[nodiscard]] std::int32_t segmentationTypeWithName(std::string_view name) noexcept;
[[nodiscard]] std::uint8_t upidTypeWithName(std::string_view name) noexcept;

}  // namespace qlx::scte
