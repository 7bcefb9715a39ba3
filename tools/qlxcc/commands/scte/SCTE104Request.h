// What an SCTE-104 message is built from: the parameters of its operations, checked one by one.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/Value.h>
#include <qlx/scte/scte104.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

/// Why an operation cannot be built, without its place.
class ParameterError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// An operation's bytes. Every parameter must be known and fit its field: a value that the library would cut or pass
/// over is refused, because it would become another trigger than the one that was meant.
/// @param operationID 257 (splice request), 258 (splice null), 260 (time signal) or 267 (segmentation descriptor).
/// @param parameters The library's keys for building, or those that it gives when it parses; codes as numbers or names.
/// @throws ParameterError
[[nodiscard]] Data operationData(std::uint16_t operationID, const Dictionary& parameters);

/// The operation of bytes that operationData() gives.
[[nodiscard]] scte::Operation operationOfBytes(const Data& bytes);

/// Reads what `scte104 parse --json` prints (see SCTEJson.h): messages, each on one line or on many, or an array of them;
/// or the operations of one message alone, behind each other or in an array. An operation with `"operationID"` is one of
/// versions before 0.2: its parameters are those of operationData().
/// @param path A file, or `-` for standard input.
/// @return One message at least.
/// @throws Failure
[[nodiscard]] std::vector<scte::Message> loadScte104Json(const std::string& path);

/// The same from the text of a file.
[[nodiscard]] std::vector<scte::Message> readScte104Json(const std::string& name, std::string_view text);

/// A number in decimal digits, or in hexadecimal ones behind 0x; none for anything else, or above `greatest`.
[[nodiscard]] std::optional<std::uint64_t> parseNumber(std::string_view text, std::uint64_t greatest);

}  // namespace qlx::tool
