// Timed text in XML: documents, read.
#pragma once

#include <qlx/base/finding.h>
#include <qlx/streams/ttml.h>
#include <qlx/subtitles/cue.h>
#include <qlx/subtitles/times.h>

#include "TextCues.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qlxtest {

struct DocumentRead {
    std::vector<qlx::subtitles::Cue> cues;
    std::vector<qlx::FindingCode> codes;
    std::vector<qlx::Finding> findings;
    qlx::streams::TtmlFile file;
    std::optional<qlx::Finding> error;
};

inline DocumentRead readDocument(const std::string& text, const qlx::streams::TtmlReadOptions& options = {}) {
    DocumentRead document;
    qlx::Findings findings(100'000);
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    auto file = qlx::streams::readTtml(
        bytes, [&](qlx::subtitles::Cue cue) { document.cues.push_back(std::move(cue)); }, options, &findings);
    if (file) {
        document.file = std::move(*file);
    } else {
        document.error = file.error();
    }
    for (const qlx::Finding& finding : findings) {
        document.codes.push_back(finding.code);
        document.findings.push_back(finding);
    }
    return document;
}

/// A document with this body; in its head what is given.
inline std::string documentOf(const std::string& body, const std::string& head = "",
                              const std::string& parameters = "") {
    return R"(<?xml version="1.0"?><tt xmlns="http://www.w3.org/ns/ttml" xmlns:tts="http://www.w3.org/ns/ttml#styling")"
           R"( xmlns:ttp="http://www.w3.org/ns/ttml#parameter" xmlns:ttm="http://www.w3.org/ns/ttml#metadata" xml:lang="en" )" +
           parameters + "><head>" + head + "</head>" + body + "</tt>";
}

inline std::string paragraphOf(const std::string& text, const std::string& attributes = "") {
    return "<body><div><p begin=\"1s\" end=\"2s\" " + attributes + ">" + text + "</p></div></body>";
}

/// `1000-2000 text`, a line a cue.
inline std::string cuesInWords(const std::vector<qlx::subtitles::Cue>& cues) {
    std::string text;
    for (const qlx::subtitles::Cue& cue : cues) {
        text += text.empty() ? "" : "\n";
        text += std::to_string(qlx::subtitles::unitsOf(cue.start, 1000)) + "-" +
                std::to_string(qlx::subtitles::unitsOf(cue.end, 1000)) + " " + rowsInWords(cue);
    }
    return text;
}

}  // namespace qlxtest
