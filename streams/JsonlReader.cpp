#include <qlx/streams/jsonl.h>

#include "JsonFrame.h"
#include "KeptFailure.h"
#include "LineReader.h"

#include <string>

namespace qlx::streams {

/// The lines of a file.
class JsonlReader::Lines {
public:
    explicit Lines(ByteSource& source) : _lines(source) {}

    Result<bool> next(Frame& frame) {
        return detail::readUnlessFailed(_failure, [&] { return read(frame); });
    }

private:
    Result<bool> read(Frame& frame) {
        for (;;) {
            const Result<bool> hasLine = _lines.next(_line);
            if (!hasLine) {
                return hasLine;
            }
            if (!*hasLine) {
                return _lines.number() == 0 ? Result<bool>(_lines.error(FindingCode::StreamEmpty)) : false;
            }
            if (_line.find_first_not_of(" \t") == std::string::npos) {
                continue;
            }
            const std::optional<Finding> wrong = detail::readJsonFrame(_line, frame);
            if (!wrong || wrong->severity == Severity::Error) {
                return wrong ? _lines.error(wrong->code, static_cast<std::uint64_t>(wrong->first)) : Result<bool>(true);
            }
        }
    }

    detail::LineReader _lines;
    std::string _line;
    std::optional<Finding> _failure;
};

JsonlReader::JsonlReader(ByteSource& source) : _lines(std::make_unique<Lines>(source)) {}
JsonlReader::~JsonlReader() = default;

Result<bool> JsonlReader::next(Frame& frame, FindingSink* /*findings*/) {
    return _lines->next(frame);
}

}  // namespace qlx::streams
