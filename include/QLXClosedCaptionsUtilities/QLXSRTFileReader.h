// Reads SubRip (SRT) files.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class QLXSubtitleRecord;

/// Class operations that read SRT files into subtitle records. They keep no state.
class QLX_EXPORT QLXSRTFileReader {
public:
    QLXSRTFileReader() = delete;

    /// Reads the SRT file at `path` (UTF-8, with or without byte-order mark; LF or CRLF).
    ///
    /// A missing or unreadable file, or one with a byte that is not UTF-8, gives an empty array; blocks without a
    /// well-formed timing line, or that do not end after they start, are left out. Re-entrant.
    /// @param path The file, which the platform's file reader opens.
    /// @param subtitleMode 1: CEA-608; records start earlier by the frames that their byte pairs need and end one frame
    ///   earlier. 2: OP-47 teletext; times as in the file.
    /// @param frameDuration Seconds a frame; used in mode 1 only.
    /// @return The records in file order.
    [[nodiscard]] static std::vector<std::shared_ptr<QLXSubtitleRecord>>
    subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration(const std::string& path, std::int32_t subtitleMode,
                                                                double frameDuration);

    /// The same on the background queue; `completionHandler` gets the result on the main queue, never on the caller's
    /// thread before this operation returns.
    static void subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration_withCompletionHandler(
        std::string path, std::int32_t subtitleMode, double frameDuration,
        std::function<void(std::vector<std::shared_ptr<QLXSubtitleRecord>>)> completionHandler);

private:
    class Parser;
};
