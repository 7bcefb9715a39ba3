#include "cues/StlOutput.h"

#include "cues/CueInput.h"

#include <qlx/cc/time_code.h>
#include <qlx/subtitles/times.h>

#include <cstddef>
#include <string_view>
#include <utility>

namespace qlx::tool {

namespace {

using subtitles::Gsi;
using subtitles::StlField;

// Without a clock, a date that everybody sees through.
constexpr std::string_view kNoDate = "700101";
constexpr std::string_view kNoLanguage = "00";

}  // namespace

bool isStlRate(const Rate& rate) noexcept {
    return rate.name == "25" || rate.name == "29.97" || rate.name == "30";
}

LabelCounting stlCounting(const StlOutputOptions& options, const CueInput& input) noexcept {
    const FrameRate rate = options.rate ? frameRateOf(*options.rate)
                                        : (input.gsi ? input.gsi->rate() : std::nullopt).value_or(FrameRate::Fps25);
    return {rate, options.isDrop && cc::mayDropFrames(rate)};
}

bool StlOutput::write(subtitles::Cue cue, const CueInput& input) {
    subtitles::StlWriter& writer = this->writer(input);
    relabel(cue.start);
    relabel(cue.end);
    return writer.write(cue, _blocks);
}

std::string StlOutput::finish(const CueInput& input) {
    const Gsi gsi = writer(input).finish(_blocks);
    const Data information = writeGsi(gsi);
    std::string file(information.begin(), information.end());
    file.append(_blocks.begin(), _blocks.end());
    return file;
}

/// At 29.97 the time codes count 30 frames: the times that the writer takes are those of their labels.
void StlOutput::relabel(MediaTime& time) const {
    constexpr std::int32_t kFrames = 30;
    if (!_rate || _rate->name != "29.97" || !time.isValid() || time.value < 0) {
        return;
    }
    const auto nearest = nearestFrame(time, FrameRate::Fps2997);
    std::int64_t frame = nearest ? static_cast<std::int64_t>(*nearest) : subtitles::unitsOf(time, kFrames);
    const cc::FrameCount count(FrameRate::Fps2997, true);
    if (_options.isDrop && frame < std::int64_t{count.ofDay()}) {
        const cc::FrameLabel label =
            cc::labelOf(count.timeCodeOf(static_cast<std::uint64_t>(frame)), FrameRate::Fps2997);
        frame = std::int64_t{label.seconds} * kFrames + label.frame;
    }
    time = MediaTime::make(frame, kFrames);
}

/// Made with the first cue, when it is known what is read.
subtitles::StlWriter& StlOutput::writer(const CueInput& input) {
    if (_writer) {
        return *_writer;
    }
    subtitles::StlWriterOptions options;
    Gsi& gsi = options.gsi;
    if (input.gsi) {
        gsi = *input.gsi;
    }
    setTexts(gsi);
    if (_options.isOpen) {
        gsi.displayStandard = "0";
    } else if (gsi.displayStandard.isBlank()) {
        gsi.displayStandard = "1";
    }
    gsi.characterTable = _options.table      ? std::string_view(*_options.table)
                         : _options.language ? subtitles::stlTableOfLanguage(*_options.language)
                                             : gsi.characterTable.text();
    _rate = _options.rate;
    if (_rate) {
        gsi.diskFormatCode = _rate->name == "25" ? "STL25.01" : "STL30.01";
    }
    options.isDoubleHeight = !_options.isSingleHeight;
    if (_start) {
        MediaTime start = *_start;
        relabel(start);
        const FrameRate rate = gsi.rate().value_or(FrameRate::Fps25);
        const std::int32_t frames = nominalFramesPerSecond(rate);
        const std::int64_t frame = subtitles::unitsOf(start, frames);
        std::string digits;
        for (const std::int64_t part :
             {frame / frames / 3600, frame / frames / 60 % 60, frame / frames % 60, frame % frames}) {
            digits += static_cast<char>('0' + part / 10 % 10);
            digits += static_cast<char>('0' + part % 10);
        }
        gsi.startOfProgramme = std::string_view(digits);
    }
    return _writer.emplace(options, _findings);
}

void StlOutput::setTexts(Gsi& gsi) const {
    const auto set = [&](auto& field, std::int64_t place, const std::optional<std::string>& given) {
        if (!given) {
            return;
        }
        const std::string text = subtitles::stlInformationText(*given);
        field = std::string_view(text);
        if (_findings == nullptr) {
            return;
        }
        // Of the file, not of a cue.
        const std::size_t room = field.characters.size();
        if (text.size() > room) {
            _findings->add(
                {FindingCode::StlFieldCut, Severity::Warning, 0, place, static_cast<std::int64_t>(text.size())});
        }
        if (const auto missing = subtitles::missingInStlInformation(*given, room)) {
            _findings->add({FindingCode::StlFieldCharacterMissing, Severity::Warning, 0, place, *missing});
        }
    };
    // Texts that are kept stand in the code page of their file; plain letters are the same in all.
    const auto isPlain = [](const std::optional<std::string>& text) {
        return !text || std::all_of(text->begin(), text->end(), [](char letter) { return letter >= ' '; });
    };
    const bool arePlain = isPlain(_options.title) && isPlain(_options.episode) && isPlain(_options.reference) &&
                          isPlain(_options.publisher);
    if (!arePlain || gsi.codePageNumber.isBlank()) {
        gsi.codePageNumber = "850";
    }
    // Behind each the place of the field in the block.
    set(gsi.originalProgrammeTitle, 16, _options.title);
    set(gsi.originalEpisodeTitle, 48, _options.episode);
    set(gsi.listReference, 208, _options.reference);
    set(gsi.creationDate, 224, _options.date);
    set(gsi.revisionDate, 230, _options.date);
    set(gsi.countryOfOrigin, 274, _options.country);
    set(gsi.publisher, 277, _options.publisher);
    if (_options.language) {
        gsi.languageCode = subtitles::stlLanguageCode(*_options.language).value_or(kNoLanguage);
    }
    gsi.languageCode = gsi.languageCode.isBlank() ? StlField<2>(kNoLanguage) : gsi.languageCode;
    gsi.creationDate = gsi.creationDate.isBlank() ? StlField<6>(kNoDate) : gsi.creationDate;
    gsi.revisionDate = gsi.revisionDate.isBlank() ? StlField<6>(kNoDate) : gsi.revisionDate;
}

}  // namespace qlx::tool
