// What a section of SCTE 35 says, for listings.
#pragma once

#include <qlx/scte/scte35.h>

#include <string>

namespace qlx::tool {

/// On a line: `splice_insert: event 7 out, for 30.000 s, returns by itself`, `time_signal; segment 9 ProgramStart`.
[[nodiscard]] std::string sectionInWords(const scte::SpliceInfoSection& section);

/// `30.000 s` of ticks of 90 kHz, rounded to milliseconds.
[[nodiscard]] std::string ticksInWords(std::uint64_t ticks90k);

}  // namespace qlx::tool
