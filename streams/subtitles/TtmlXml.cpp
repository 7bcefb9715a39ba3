#include "TtmlXml.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/base/utf8.h>

#include <algorithm>

namespace qlx::streams::detail {

std::uint64_t bytesOfTree(std::string_view text) {
    // An element, and the text behind its tag.
    constexpr std::uint64_t kTwoNodes = 128;
    constexpr std::uint64_t kAttribute = 40;
    return kTwoNodes * static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '<')) +
           kAttribute * static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '='));
}

std::uint64_t mostBytesOfTree(std::string_view text) {
    constexpr std::uint64_t kAlways = std::uint64_t{32} * 1024 * 1024;
    constexpr std::uint64_t kTimesTheText = 9;
    return kAlways + kTimesTheText * text.size();
}

std::string repaired(std::string_view text, std::int64_t& count) {
    std::string repaired;
    for (auto wrong = firstInvalidUTF8Byte(text); wrong; wrong = firstInvalidUTF8Byte(text)) {
        repaired += text.substr(0, *wrong);
        appendUtf8(repaired, U'\uFFFD');
        text.remove_prefix(*wrong + 1);
        ++count;
    }
    repaired += text;
    return repaired;
}

std::optional<Finding> refusal(const pugi::xml_document& document, TtmlReport& report, std::size_t deepest) {
    std::size_t depth = 1;
    for (pugi::xml_node node = document.first_child(); node;) {
        const auto byte = static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, node.offset_debug()));
        const std::string_view type = node.type() == pugi::node_doctype ? node.value() : "";
        if (type.find('[') != std::string_view::npos) {
            return Finding{FindingCode::TtmlDocumentType, Severity::Error, report.lineOf(byte),
                           static_cast<std::int64_t>(type.size()), 0};
        }
        if (node.type() == pugi::node_element && depth > deepest) {
            return Finding{FindingCode::TtmlTooDeep, Severity::Error, report.lineOf(byte),
                           static_cast<std::int64_t>(deepest), 0};
        }
        if (node.first_child()) {
            ++depth;
            node = node.first_child();
            continue;
        }
        while (node && !node.next_sibling()) {
            node = node.parent();
            depth -= depth == 0 ? 0 : 1;
        }
        node = node ? node.next_sibling() : node;
    }
    return std::nullopt;
}

}  // namespace qlx::streams::detail
