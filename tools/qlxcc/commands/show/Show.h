// qlxcc show: what a viewer sees at a time, or all the time, decoded from the packets.
#pragma once

#include "io/FrameSource.h"
#include "pictures/ImageFile.h"

#include <qlx/cea608/receiver.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::tool {

struct ShowOptions {
    std::string file;  ///< `-` is standard input.
    FrameSourceOptions source;
    std::optional<std::string> at;       ///< A TIME; none: every change is shown.
    std::optional<std::string> picture;  ///< A picture file to be written.
    ImageFormat pictureFormat = ImageFormat::Png;
    std::optional<std::uint16_t> page;       ///< Teletext, hexadecimal digits. None of the three: page 888
    std::optional<cea608::Channel> channel;  ///< and CC1.
    std::optional<std::uint8_t> service;     ///< A caption service.
    bool showsExtendedData = false;          ///< The extended data of field 2, and nothing else.
    bool ignoresParity = false;              ///< Parity bits of CEA-608 are not looked at.
    bool isStandardAspect = false;           ///< Services: the picture is one of 4:3.
    std::string wideEncoding = "utf-16";     ///< Of the 16-bit characters of caption services.
    std::uint8_t region = 0;                 ///< Of teletext receivers, as teletextOnAir() takes it.
    std::optional<std::string> output;       ///< None or `-`: standard output.
    bool asJson = false;
};

/// The page called `888`: magazine 1 to 8 and two hexadecimal digits.
[[nodiscard]] std::optional<std::uint16_t> teletextPageNamed(std::string_view name) noexcept;

/// Runs the subcommand; the result is the exit code.
[[nodiscard]] int show(const ShowOptions& options);

}  // namespace qlx::tool
