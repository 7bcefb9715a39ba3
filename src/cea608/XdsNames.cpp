// What ratings, languages, keywords and audio services of extended data services are called.
#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/cea608/xds.h>

#include <algorithm>

namespace qlx::cea608 {

namespace {

constexpr std::size_t kRatings = 8;
constexpr std::size_t kFantasy = 2;  ///< TV-Y7, whose violence is fantasy violence.

/// In the order of XdsRatingSystem. An empty one says nothing.
constexpr std::array<std::array<std::string_view, kRatings>, 5> kRatingNames{
    {{"", "G", "PG", "PG-13", "R", "NC-17", "X", "NR"},
     {"", "TV-Y", "TV-Y7", "TV-G", "TV-PG", "TV-14", "TV-MA", ""},
     {"", "G", "PG", "PG-13", "R", "NC-17", "X", "NR"},
     {"E", "C", "C8+", "G", "PG", "14+", "18+", ""},
     {"E", "G", "8 ans+", "13 ans+", "16 ans+", "18 ans+", "", ""}}};

constexpr std::array<std::string_view, 8> kLanguages{"unknown", "English", "Spanish", "French",
                                                     "German",  "Italian", "other",   ""};

constexpr std::array<std::array<std::string_view, 8>, 2> kAudioTypes{
    {{"unknown", "mono", "simulated stereo", "true stereo", "stereo surround", "data service", "other", "none"},
     {"unknown", "mono", "video descriptions", "non-program audio", "special effects", "data service", "other",
      "none"}}};

constexpr std::uint8_t kFirstKeyword = 0x20;
constexpr std::array<std::string_view, 96> kKeywords{
    "Education",  "Entertainment", "Movie",       "News",         "Religious",     "Sports",    "Other",
    "Action",     "Advertisement", "Animated",    "Anthology",    "Automobile",    "Awards",    "Baseball",
    "Basketball", "Bulletin",      "Business",    "Classical",    "College",       "Combat",    "Comedy",
    "Commentary", "Concert",       "Consumer",    "Contemporary", "Crime",         "Dance",     "Documentary",
    "Drama",      "Elementary",    "Erotica",     "Exercise",     "Fantasy",       "Farm",      "Fashion",
    "Fiction",    "Food",          "Football",    "Foreign",      "Fund Raiser",   "Game/Quiz", "Garden",
    "Golf",       "Government",    "Health",      "High School",  "History",       "Hobby",     "Hockey",
    "Home",       "Horror",        "Information", "Instruction",  "International", "Interview", "Language",
    "Legal",      "Live",          "Local",       "Math",         "Medical",       "Meeting",   "Military",
    "Miniseries", "Music",         "Mystery",     "National",     "Nature",        "Police",    "Politics",
    "Premiere",   "Prerecorded",   "Product",     "Professional", "Public",        "Racing",    "Reading",
    "Repair",     "Repeat",        "Review",      "Romance",      "Science",       "Series",    "Service",
    "Shopping",   "Soap Opera",    "Special",     "Suspense",     "Talk",          "Technical", "Tennis",
    "Travel",     "Variety",       "Video",       "Weather",      "Western"};

/// The letters that can stand behind a U.S. TV rating.
constexpr std::array<std::string_view, kRatings> kContents{"", "", "fv", "", "dlsv", "dlsv", "lsv", ""};

/// The letters behind a U.S. TV rating, in any order; false for others than it has.
bool readContents(XdsContentAdvisory& advisory, std::string_view letters) {
    if (advisory.rating == kFantasy) {
        advisory.hasViolence = letters == "fv";
        return letters.empty() || advisory.hasViolence;
    }
    const std::string_view known = kContents[advisory.rating];
    return std::all_of(letters.begin(), letters.end(), [&advisory, known](char letter) {
        bool* const flag = known.find(letter) == std::string_view::npos ? nullptr
                           : letter == 'd'                              ? &advisory.hasDialogue
                           : letter == 'l'                              ? &advisory.hasLanguage
                           : letter == 's'                              ? &advisory.hasSexualSituations
                           : letter == 'v'                              ? &advisory.hasViolence
                                                                        : nullptr;
        const bool isNew = flag != nullptr && !*flag;
        if (isNew) {
            *flag = true;
        }
        return isNew;
    });
}

}  // namespace

std::string nameOf(const XdsContentAdvisory& advisory) {
    const auto system = static_cast<std::size_t>(advisory.system);
    if (system >= kRatingNames.size() || advisory.rating >= kRatings) {
        return {};
    }
    std::string name(kRatingNames[system][advisory.rating]);
    if (advisory.system != XdsRatingSystem::UsTv || name.empty()) {
        return name;
    }
    std::string contents = advisory.hasDialogue ? "D" : "";
    contents += advisory.hasLanguage ? "L" : "";
    contents += advisory.hasSexualSituations ? "S" : "";
    contents += !advisory.hasViolence ? "" : advisory.rating == kFantasy ? "FV" : "V";
    return name + (contents.empty() ? "" : " ") + contents;
}

std::optional<XdsContentAdvisory> contentAdvisoryNamed(std::string_view name) {
    const std::string asked = asciiLowercased(name);
    for (std::size_t system = 0; system < kRatingNames.size(); ++system) {
        for (std::size_t rating = 0; rating < kRatings; ++rating) {
            const std::string one = asciiLowercased(kRatingNames[system][rating]);
            XdsContentAdvisory advisory{.system = static_cast<XdsRatingSystem>(system),
                                        .rating = static_cast<std::uint8_t>(rating)};
            if (one.empty() || asked.rfind(one, 0) != 0) {
                continue;
            }
            const std::string_view rest = std::string_view(asked).substr(one.size());
            const bool hasContents = advisory.system == XdsRatingSystem::UsTv && rest.size() > 1 &&
                                     (rest.front() == ' ' || rest.front() == '-');
            if (rest.empty() || (hasContents && readContents(advisory, rest.substr(1)))) {
                return advisory;
            }
        }
    }
    return std::nullopt;
}

std::string_view nameOf(XdsLanguage language) noexcept {
    const auto index = static_cast<std::size_t>(language);
    return index < kLanguages.size() ? kLanguages[index] : std::string_view();
}

std::string_view xdsKeyword(std::uint8_t keyword) noexcept {
    return keyword >= kFirstKeyword && keyword - kFirstKeyword < static_cast<int>(kKeywords.size())
               ? kKeywords[static_cast<std::size_t>(keyword - kFirstKeyword)]
               : std::string_view();
}

std::string_view xdsAudioType(std::uint8_t type, bool isSecond) noexcept {
    return type < kAudioTypes[0].size() ? kAudioTypes[isSecond ? 1U : 0U][type] : std::string_view();
}

}  // namespace qlx::cea608
