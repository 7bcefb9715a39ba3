#include "streams/ContainerRemarks.h"

#include "io/Text.h"

#include <utility>

namespace qlx::tool {

void ContainerRemarks::add(std::string text, std::vector<std::string>& problems) {
    if (text == _last || _count > kMost) {
        return;
    }
    _last = text;
    problems.push_back(_count++ == kMost ? "more damage behind this is not listed" : std::move(text));
}

void ContainerRemarks::addForeign(const std::string& place, const std::vector<std::string>& texts,
                                  std::vector<std::string>& problems) {
    const std::string means = place + ": not everything can be read: ";
    for (const std::string& text : texts) {
        add(means + text, problems);
    }
}

void ContainerRemarks::addDamagedSample(std::uint64_t end, std::vector<std::string>& problems) {
    add("byte " + std::to_string(end) + ": a damaged or cut sample ends here", problems);
}

void ContainerRemarks::addDamagedUnits(std::uint64_t begin, std::vector<std::string>& problems) {
    add("byte " + std::to_string(begin) + ": a damaged sample: its NAL units do not fit into it", problems);
}

void ContainerRemarks::addGap(std::uint64_t begin, std::uint64_t end, std::vector<std::string>& problems) {
    constexpr std::uint64_t kLongest = std::uint64_t{64} * 1024 * 1024;
    if (end > begin && end - begin > kLongest) {
        add("byte " + std::to_string(begin) + ": no picture that can be read in " + counted(end - begin, "byte"),
            problems);
    }
}

}  // namespace qlx::tool
