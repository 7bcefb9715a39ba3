#include "ContainerFindings.h"

namespace qlx::streams::detail {

void ContainerFindings::add(const Finding& finding, const std::string& words) {
    if ((finding == _last && words == _lastWords) || _count > kMost) {
        return;
    }
    _last = finding;
    _lastWords = words;
    if (_count++ == kMost) {
        addAlways({FindingCode::ContainerDamageLeftOut, Severity::Error, finding.offset, 0, 0});
        return;
    }
    addAlways(finding);
    if (finding.code == FindingCode::StreamLibraryRemark && _sink != nullptr) {
        _words.push_back(words);
    }
}

void ContainerFindings::addForeign(std::uint64_t place, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        add({FindingCode::StreamLibraryRemark, Severity::Error, place, 0, 0}, text);
    }
}

void ContainerFindings::addGap(std::uint64_t begin, std::uint64_t end) {
    constexpr std::uint64_t kLongest = std::uint64_t{64} * 1024 * 1024;
    if (end > begin && end - begin > kLongest) {
        add({FindingCode::ContainerGap, Severity::Error, begin, static_cast<std::int64_t>(end - begin), 0});
    }
}

}  // namespace qlx::streams::detail
