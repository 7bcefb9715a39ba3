// Sections of SCTE 35 as XML (ANSI/SCTE 35: elements of the namespace http://www.scte.org/schemas/35),
// both ways.
#pragma once

#include <qlx/scte/scte35.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

/// What is wrong in a section's XML, and in which element; or what of a section no XML says.
class ScteXmlError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// `<SpliceInfoSection xmlns=".." sapType="3" ..><TimeSignal><SpliceTime ptsTime="900000"/></TimeSignal>
/// </SpliceInfoSection>` without a line feed.
/// @param losses Gets the name of everything that the schema has no place for: `cw_index`, `alignment_stuffing`,
///   `descriptor 2: reserved bits`.
/// @throws ScteXmlError for a section that cannot be said: an encrypted one, a command that is not known.
[[nodiscard]] std::string xmlOf(const scte::SpliceInfoSection& section, std::vector<std::string>& losses);

/// Reads every SpliceInfoSection, and every Binary with a section in base64, of a text: one behind the other, in Signal
/// elements, or anywhere in elements of other namespaces. Namespaces are told by their names, not by prefixes.
/// @param notes Gets a line for what is passed over: attributes and elements that the schema does not have.
/// @throws ScteXmlError for what is no XML, or no section; with the line where that is known.
[[nodiscard]] std::vector<scte::SpliceInfoSection> sectionsOfXml(std::string_view text,
                                                                 std::vector<std::string>& notes);

}  // namespace qlx::tool
