#include "SampleHeads.h"

#include "TextSamples.h"

#include <qlx/subtitles/webvtt.h>

#include <utility>

namespace qlx::streams::detail {

SampleHead sampleHeadOf(std::string_view header, FindingSink& findings) {
    constexpr std::size_t kMostOfSheets = std::size_t{16} * 1024;
    Findings ofHead;
    const subtitles::WebVttFile file = subtitles::readWebVttHead(header, &ofHead);
    SampleHead head;
    std::int64_t sheets = 0;
    for (const std::string& block : file.blocks) {
        if (block.starts_with("STYLE")) {
            ++sheets;
            head.sheets += block + "\n\n";
        }
        for (const std::string& name : subtitles::regionsOf({{}, {}, {block}, {}, {}})) {
            head.regions.insert_or_assign(name, block + "\n\n");
        }
    }
    if (head.sheets.size() > kMostOfSheets) {
        head.sheets.clear();
        findings.add({FindingCode::WebVttStyleNotApplied, Severity::Warning, 0, sheets, 0});
        return head;
    }
    for (const Finding& finding : ofHead) {
        if (finding.code == FindingCode::WebVttStyleNotApplied) {
            findings.add(finding);
        }
    }
    return head;
}

}  // namespace qlx::streams::detail
