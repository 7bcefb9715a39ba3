// The readers of the single subtitle formats, behind readSubtitles().
#pragma once

#include "cues/Subtitles.h"

#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <string>
#include <string_view>
#include <utility>

namespace qlx::tool {

/// Gives the library bytes that have been read already, whatever file it asks for.
class LoadedFile final : public FileReader {
public:
    explicit LoadedFile(Data contents) : _contents(std::move(contents)) {}
    Data contentsOfFile(const std::string& /*path*/) override { return _contents; }

private:
    Data _contents;
    ScopedService<FileReader> _scope{*this};
};

// Each fills `subtitles`, whose name is known, and hands the cues on.

void readSRT(Subtitles& subtitles, std::string_view text, const SubtitleRequest& request, const CueTaker& take);
void readJson(Subtitles& subtitles, std::string_view text, const SubtitleRequest& request, const CueTaker& take);
void readSTL(Subtitles& subtitles, std::string_view bytes, const SubtitleRequest& request, const CueTaker& take);

/// Whether a file is EBU STL, by its first bytes: a code page and a disk format code.
[[nodiscard]] bool looksLikeSTL(std::string_view bytes) noexcept;

}  // namespace qlx::tool
