#include "cues/CueFeatures.h"

#include <qlx/subtitles/subrip.h>
#include <qlx/subtitles/webvtt.h>

#include <algorithm>
#include <utility>

namespace qlx::tool {

namespace {

using subtitles::Alignment;
using subtitles::Property;
using subtitles::Row;
using subtitles::Run;

void set(CueFeatures& features, CueFeature feature, bool isThere) {
    if (isThere) {
        features.set(static_cast<std::size_t>(feature));
    }
}

/// What a property is.
CueFeature featureOf(const Property& property) {
    namespace names = subtitles::properties;
    constexpr std::pair<std::string_view, CueFeature> kKnown[] = {
        {names::kColor, CueFeature::MoreColors},        {names::kFontFace, CueFeature::Font},
        {names::kColorAlpha, CueFeature::Transparency}, {names::kBackgroundAlpha, CueFeature::Transparency},
        {names::kFontSize, CueFeature::Font},           {names::kStruckOut, CueFeature::StrikeOut},
        {names::kWebVttVoice, CueFeature::Voices},      {names::kWebVttLanguage, CueFeature::Language},
        {names::kWebVttRuby, CueFeature::Ruby},         {names::kWebVttRubyText, CueFeature::Ruby},
        {names::kWebVttPosition, CueFeature::Columns},  {names::kWebVttLine, CueFeature::Rows},
        {names::kWebVttAlign, CueFeature::Sides},       {names::kWebVttSize, CueFeature::Box},
    };
    const auto* const known = std::find_if(std::begin(kKnown), std::end(kKnown),
                                           [&property](const auto& each) { return each.first == property.name; });
    return known == std::end(kKnown) ? CueFeature::Others : known->second;
}

void addProperties(const subtitles::Properties& properties, CueTarget target, CueFeatures& features) {
    for (const Property& property : properties) {
        const bool isOwn =
            (target == CueTarget::WebVtt && property.name.starts_with("vtt.")) ||
            (target == CueTarget::SubRip && property.name.starts_with("srt.")) ||
            (target == CueTarget::Stl && property.name.starts_with("stl.")) ||
            ((target == CueTarget::Imsc || target == CueTarget::EbuTtD) && property.name.starts_with("ttml."));
        if (!isOwn) {
            // What is none of the 64 colours of a service is a colour of this format alone.
            const bool isFiner = target == CueTarget::Cea708 && property.name == subtitles::properties::kColor;
            set(features, isFiner ? CueFeature::Others : featureOf(property), true);
        }
    }
}

/// Whether codes of SubRip say the place of a cue, which go with their run.
bool hasPosition(const subtitles::Cue& cue) {
    return std::any_of(cue.rows.begin(), cue.rows.end(), [](const Row& row) {
        return std::any_of(row.runs.begin(), row.runs.end(), [](const Run& run) {
            const std::string* const codes = valueOf(run.properties, subtitles::properties::kSubRipCodes);
            return codes != nullptr && codes->find("\\pos(") != std::string::npos;
        });
    });
}

/// Whether a row stands at the side of the screen that is written of it: an anchor of SubRip, or else that of all rows.
bool isAtSide(const subtitles::Cue& cue, const Row& row, CueTarget target) {
    constexpr Alignment kSides[] = {Alignment::Left, Alignment::Center, Alignment::Right};
    const auto side = subtitles::sideOfColumns(cue);
    const bool hasAnchor = target == CueTarget::SubRip && row.anchor != 0;
    return side && (!hasAnchor || kSides[(row.anchor - 1U) % std::size(kSides)] == *side);
}

void addRun(const Run& run, CueTarget target, CueFeatures& features) {
    const subtitles::Style& style = run.style;
    set(features, CueFeature::Bold, style.isBold);
    set(features, CueFeature::Italic, style.isItalic);
    set(features, CueFeature::Underline, style.isUnderlined);
    set(features, CueFeature::Flash, style.isFlashing);
    set(features, CueFeature::Background, style.background.has_value());
    set(features, CueFeature::Colors, style.foreground != screen::Color::White);
    for (const screen::Color color : {style.foreground, style.background.value_or(screen::Color::Black)}) {
        set(features, CueFeature::MoreColors, screen::kBasicColors[screen::basicIndex(color)] != color);
    }
    set(features, CueFeature::InnerTimes, run.from.isValid());
    addProperties(run.properties, target, features);
}

}  // namespace

bool isNumber(std::string_view identifier) noexcept {
    return !identifier.empty() && identifier.find_first_not_of("0123456789") == std::string_view::npos;
}

CueFeatures featuresOf(const subtitles::Cue& cue, CueTarget target) {
    CueFeatures features;
    const bool hasSides = target == CueTarget::SubRip || target == CueTarget::Stl;
    for (const Row& row : cue.rows) {
        constexpr std::uint8_t kLastBelow = 3;
        set(features, CueFeature::Rows, row.number != 0 || row.anchor > kLastBelow);
        // A column says it already.
        const bool isAside = row.alignment == Alignment::Left || row.alignment == Alignment::Right;
        set(features, CueFeature::Sides, isAside && row.column == 0);
        // Where a side of the screen says as much, nothing of a column is lost.
        set(features, CueFeature::Columns, row.column != 0 && !(hasSides && isAtSide(cue, row, target)));
        for (const Run& run : row.runs) {
            addRun(run, target, features);
        }
    }
    set(features, CueFeature::Box, cue.box && !(target == CueTarget::SubRip && hasPosition(cue)));
    set(features, CueFeature::Region, !cue.region.empty());
    const bool isWritten = target == CueTarget::SubRip && isNumber(cue.identifier);
    set(features, CueFeature::Name, !cue.identifier.empty() && !isWritten);
    set(features, CueFeature::Language, !cue.language.empty());
    addProperties(cue.properties, target, features);
    return features;
}

CueFeatures notCarried(const CueFeatures& features, CueTarget target) {
    CueFeatures lost = features;
    for (const CarriedRow& row : kCarriedTable) {
        if (isCarried(row, target)) {
            lost.reset(static_cast<std::size_t>(row.feature));
        }
    }
    return lost;
}

std::string namesOf(const CueFeatures& features) {
    std::string names;
    for (const CarriedRow& row : kCarriedTable) {
        if (features.test(static_cast<std::size_t>(row.feature))) {
            names += (names.empty() ? "" : ", ") + std::string(row.name);
        }
    }
    return names;
}

}  // namespace qlx::tool
