// What a cue has, and what of it a format does not carry.
#pragma once

#include "cues/CarriedTable.h"

#include <qlx/subtitles/cue.h>

#include <bitset>
#include <string>
#include <string_view>

namespace qlx::tool {

using CueFeatures = std::bitset<sizeof(kCarriedTable) / sizeof(CarriedRow)>;

/// Whether a name is a number that Cue::number cannot say.
[[nodiscard]] bool isNumber(std::string_view identifier) noexcept;

/// What a cue has besides text and times; what is one format's own is CueFeature::Others for every other one.
[[nodiscard]] CueFeatures featuresOf(const subtitles::Cue& cue, CueTarget target);

/// Those that a format does not carry.
[[nodiscard]] CueFeatures notCarried(const CueFeatures& features, CueTarget target);

/// `background, region`
[[nodiscard]] std::string namesOf(const CueFeatures& features);

}  // namespace qlx::tool
