// Reading a text line by line, in bounded memory.
#pragma once

#include <qlx/base/result.h>
#include <qlx/streams/byte_source.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qlx::streams::detail {

/// The longest line that is read.
inline constexpr std::size_t kMostMebibytesOfALine = 2;
inline constexpr std::size_t kLongestLine = kMostMebibytesOfALine * 1024 * 1024;

/// What ends a line.
enum class LineEnds : std::uint8_t {
    Feeds,  ///< A line feed, behind a carriage return or not.
    Any,    ///< That, or a carriage return alone, as old files of captions have them.
};

class LineReader {
public:
    /// @param source Read from where it stands; must outlive the reader.
    explicit LineReader(ByteSource& source, LineEnds ends = LineEnds::Feeds) : _source(source), _ends(ends) {}

    /// Reads the next line, without its end.
    /// @return False at the end. A finding, with the number of the line, when the line is longer than kLongestLine or the
    ///   source has failed.
    Result<bool> next(std::string& line);

    /// The number of the last line, counted from 1.
    [[nodiscard]] std::uint64_t number() const noexcept { return _number; }

    /// What is wrong with the last line.
    [[nodiscard]] Finding error(FindingCode code, std::uint64_t first = 0) const noexcept {
        return {code, Severity::Error, _number, static_cast<std::int64_t>(first), 0};
    }

private:
    [[nodiscard]] bool fill();

    ByteSource& _source;
    LineEnds _ends;
    std::vector<std::uint8_t> _buffer;
    std::size_t _begin = 0;
    bool _isAtEnd = false;
    bool _isBehindReturn = false;  ///< A line feed that comes next belongs to the line in front of it.
    std::uint64_t _number = 0;
};

}  // namespace qlx::streams::detail
