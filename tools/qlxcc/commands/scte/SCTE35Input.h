// Where SCTE-35 sections come from: bytes, hexadecimal digits, base64, JSON or XML.
#pragma once

#include <qlx/scte/scte35.h>

#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

/// The sections of a file: one behind the other as bytes, a line each as hexadecimal digits or base64, or JSON values of
/// one or of an array of them, over one line or many, or XML. What is wrong with one and kept is said.
/// @param path A file, or `-` for standard input.
/// @throws Failure
[[nodiscard]] std::vector<scte::SpliceInfoSection> loadScte35Sections(const std::string& path);

/// The same from the content of a file.
[[nodiscard]] std::vector<scte::SpliceInfoSection> readScte35Sections(const std::string& name,
                                                                      std::string_view content);

/// The sections of a file, or the one whose digits or base64 were given in place of a file.
[[nodiscard]] std::vector<scte::SpliceInfoSection> readScte35Argument(const std::string& input);

}  // namespace qlx::tool
