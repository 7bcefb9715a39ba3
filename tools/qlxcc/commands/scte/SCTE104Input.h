// Where SCTE-104 messages come from: hexadecimal digits on the command line or in a file, a raw message, a KLV file.
#pragma once

#include "io/FrameInput.h"
#include "io/FrameSource.h"

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

enum class Scte104Format { Hex, Raw, Klv, V210, Yuv8 };

/// The longest text or raw message that is read; a message has at most 65,535 bytes behind its payload descriptor.
inline constexpr std::size_t kLongestScte104Input = std::size_t{1024} * 1024;

/// Where messages are looked for.
struct Scte104Source {
    std::string input;                    ///< A file, `-` for standard input, or the hexadecimal digits of a message.
    std::optional<Scte104Format> format;  ///< None: by the first bytes, or else the name.
    FrameSourceOptions rows;              ///< How the rows of a file lie and are searched.
};

/// The data of an SCTE-104 packet, and where it was found.
struct Scte104Packet {
    std::string place;                   ///< For messages: the file's name, in a file of frames with frame and line.
    std::optional<std::uint64_t> frame;  ///< In a file of frames.
    std::uint64_t line = 0;              ///< The video line, in a file of frames.
    Data data;
};

/// Calls `take` with each SCTE-104 packet of the input.
/// @param say Gets a line, with the name of the file, for what could not be read in a file of frames, as soon as it is
/// known.
/// @throws Failure when the input cannot be read; UsageError when it is a file of another kind, or has no rows and
/// there
///   are options for them.
void readScte104Packets(const Scte104Source& from, const std::function<void(const Scte104Packet&)>& take,
                        const std::function<void(const FrameProblem&)>& say);

/// The bytes of hexadecimal digits; white space between them is passed over.
/// @throws Failure with the byte at which something else stands.
[[nodiscard]] Data bytesOfHex(std::string_view name, std::string_view text);

}  // namespace qlx::tool
