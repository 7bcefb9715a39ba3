// The control bytes of teletext page headers as hexadecimal text.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <optional>
#include <string>
#include <string_view>

/// Converts between the 6 control bytes of a page header (QLXSubtitlesPacketizer::pageHeaderDataWithErasePage) and
/// hexadecimal text for a user interface. It has no state; any thread may use it.
class QLX_EXPORT QLXTeletextPageHeaderFormatter {
public:
    /// The bytes of `object` as two lower-case digits each with a space between them: "15 d0 15 d0 73 49". None unless
    /// it is a byte buffer of exactly 6 bytes.
    [[nodiscard]] std::optional<std::string> stringForObjectValue(const qlx::Value& object) const;

    /// The bytes of a hexadecimal text, of any length, as dataFromHex() reads them.
    /// An argument has no effect: see docs/COMPATIBILITY.md.
    /// @param object Written with a byte buffer; may be null.
    /// @param string The text.
    /// @param errorDescription Never written.
    /// @return True.
    bool getObjectValue_forString_errorDescription(qlx::Value* object, std::string_view string,
                                                   std::optional<std::string>* errorDescription = nullptr) const;

    /// The bytes of hexadecimal digits in either case. Spaces are passed over, any other character (UTF-16 code unit)
    /// is a digit 0, and an unpaired last digit is dropped. Empty, never none, for an empty text.
    [[nodiscard]] static qlx::Data dataFromHex(std::string_view string);
};
