// Teletext rows as printable text.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <optional>
#include <string>
#include <string_view>

/// Converts between a teletext row, a text that may hold control characters 0 to 31 (colours, boxes), and a printable
/// form for a user interface. It has no state; any thread may use it.
class QLX_EXPORT QLXTeletextLineFormatter {
public:
    /// A copy of the row `object` with each control character, 0 to 31, as "0x" and two lower-case hexadecimal digits:
    /// 13 becomes "0x0d". None unless `object` is a text.
    [[nodiscard]] std::optional<std::string> stringForObjectValue(const qlx::Value& object) const;

    /// The reverse: "0x00" to "0x1f" become control characters, one code after the other from 0 on. Only lower-case
    /// digits count: "0x0D" stays text.
    /// Departs from ETSI EN 300 706: see docs/COMPATIBILITY.md.
    /// @param object Written with the row when it has at most 39 characters (UTF-16 code units); may be null.
    /// @param string The printable form.
    /// @param errorDescription Written with "String too long (max. 39 characters)" when the row is too long; may be
    ///        null.
    /// @return False when the row is too long.
    bool getObjectValue_forString_errorDescription(qlx::Value* object, std::string_view string,
                                                   std::optional<std::string>* errorDescription = nullptr) const;
};
