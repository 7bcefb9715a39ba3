// Files of SMPTE ST 336 triplets (key, length, value) that carry SMPTE ST 436-1 ANC frame elements, one a frame.
#pragma once

#include "Frame.h"
#include "InputFile.h"
#include "OutputFile.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

/// The key of an ANC frame element (SMPTE ST 436-1).
inline constexpr std::array<std::uint8_t, 16> kAncFrameElementKey{0x06, 0x0E, 0x2B, 0x34, 0x01, 0x02, 0x01, 0x01,
                                                                  0x0D, 0x01, 0x03, 0x01, 0x17, 0x01, 0x02, 0x01};

/// The longest element that is read: 65,535 packets of the longest size, with room to spare. A longer length is not one
/// of an ANC frame element, and nothing is allocated for it.
inline constexpr std::uint64_t kLongestAncFrameElement = std::uint64_t{32} * 1024 * 1024;

/// Adds the packets of an ANC frame element's value to a frame.
/// @param place Where the element is, for messages.
/// @param problems Gets a line when the element does not give as many packets as it announces.
void readAncFrameElement(std::span<const std::uint8_t> element, const std::string& place, Frame& frame,
                         std::vector<std::string>& problems);

/// Reads triplets; the n-th ANC frame element is frame n, triplets with other keys are passed over.
class KlvReader final : public FrameReader {
public:
    /// @param source Read from where it stands; must outlive the reader.
    explicit KlvReader(ByteSource& source) : _source(source) {}

    bool next(Frame& frame, std::vector<std::string>& problems) override;

private:
    std::uint64_t readLength(std::uint64_t start);
    void readElement(std::uint64_t start, std::uint64_t length);
    void checkKey(std::uint64_t start);
    [[nodiscard]] bool isLabel() const;
    [[nodiscard]] std::string keyHint() const;
    [[noreturn]] void throwCutShort(std::uint64_t start, std::string_view what) const;

    ByteSource& _source;
    std::array<std::uint8_t, 16> _key{};
    std::size_t _keyBytes = 0;
    std::vector<std::uint8_t> _element;
    std::uint64_t _foreignKeys = 0;  ///< In a row, up to the last one.
    std::uint64_t _frames = 0;
};

/// Writes a triplet a frame: the ANC frame element key, the length as 83 and three bytes, the frame's element.
class KlvWriter final : public FrameWriter {
public:
    explicit KlvWriter(OutputFile& output) : _output(output) {}

    void write(const Frame& frame) override;

private:
    OutputFile& _output;
};

}  // namespace qlx::tool
