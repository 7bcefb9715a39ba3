// Runs the built qlxcc as its users do, in folders of its own.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlxtest {

/// What a run left behind.
struct ToolResult {
    int exitCode = -1;  ///< -1 when a signal ended it.
    int signal = 0;
    std::string out;
    std::string err;
    std::uint64_t peakMemory = 0;  ///< Bytes that were in memory at once; at least those of the test itself.
};

/// The conditions of a run.
struct ToolConditions {
    std::string input = {};                          ///< Standard input.
    std::size_t inputRestsAt = 0;                    ///< When not 0, `input` comes through a pipe and rests behind so
                                                     ///< many bytes, longer than a run goes on without a progress line.
    bool outputIsClosed = false;                     ///< Nobody reads standard output.
    std::string outputFile = {};                     ///< Standard output goes here, when not empty.
    bool asNobody = false;                           ///< Without the rights of the superuser.
    std::optional<std::uint64_t> greatestFile = {};  ///< Bytes that a file may have.
    std::string waitForFileIn = {};                  ///< Send `signal` as soon as there is a file in this folder.
    int signal = 0;
    bool outputIsTerminal = false;              ///< Standard output is a terminal, whose lines end in \r\n.
    std::vector<std::string> environment = {};  ///< `NAME=VALUE`; TERM and NO_COLOR are not set without.
    std::string redirections = {};              ///< What a shell does with the descriptors: `3>>file 2>&-`.
    bool waitsForNothing = false;               ///< All three descriptors have O_NONBLOCK.
    std::string waitForText = {};  ///< Standard error is a terminal; send `signal` when this has been shown on it.
};

[[nodiscard]] ToolResult runTool(const std::vector<std::string>& arguments, const ToolConditions& conditions = {});

/// `qlxcc convert FILE -o - --to-format FORMAT`, and `more` behind.
[[nodiscard]] ToolResult converted(const std::string& file, std::string_view format,
                                   const std::vector<std::string>& more = {});

/// A new empty folder that goes away with the object.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] std::string path(std::string_view name = {}) const;
    std::string write(std::string_view name, std::string_view content) const;
    std::string write(std::string_view name, std::span<const std::uint8_t> content) const;
    [[nodiscard]] std::string read(std::string_view name) const;
    [[nodiscard]] std::vector<std::string> names() const;

private:
    std::filesystem::path _folder;
};

/// The lines of a text; what stands behind the last line feed counts when it is not empty.
[[nodiscard]] std::vector<std::string> linesOf(std::string_view text);

/// What a terminal shows without the carriage returns at the ends of its lines.
[[nodiscard]] std::string withoutReturns(std::string text);

/// A text of JSON lines with the mark `"schema":"qlxcc/NAME/1"` at the end of its first line.
[[nodiscard]] std::string withSchema(const std::string& text, const std::string& name = "frames");

/// A text of JSON lines without the mark `"schema":"qlxcc/NAME/1"` of its first line; a failure of the test
/// when it is not there, or twice.
[[nodiscard]] std::string withoutSchema(const std::string& text, const std::string& name = "frames");

/// `{"value":1,"timescale":25,"seconds":0.04}`.
/// @param hasPoint Whole seconds are written as `1.0`.
[[nodiscard]] std::string jsonTime(std::int64_t value, std::int32_t timescale, bool hasPoint = false);

/// True when `text` is one line of the form `qlxcc: ...`.
[[nodiscard]] bool isOneMessage(std::string_view text);

}  // namespace qlxtest
