// PNG files: what the tool asks of the module that knows them (qlxcc-png, with libpng).
#pragma once

#include "io/InputFile.h"
#include "pictures/Image.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

namespace qlx::tool {

/// What came of a file that was read or written.
struct PngResult {
    std::optional<Image> image;  ///< Of a file that was read; none when it was not.
    bool isDone = false;
    bool isCutOff = false;     ///< The file ends in the middle.
    std::uint32_t width = 0;   ///< Of the picture in a file whose header was read.
    std::uint32_t height = 0;  ///< The same.
    std::string problem;       ///< libpng's own words.
};

class PngCodec {
public:
    static constexpr const char* kModule = "qlxcc-png";

    /// Reads what follows the signature.
    /// @param greatest As many pixels are read; a picture with more gives none.
    /// @throws What reading the source has thrown.
    [[nodiscard]] virtual PngResult read(NamedSource& source, std::uint64_t greatest) = 0;

    /// @param write Gets the bytes of the file, piece by piece.
    /// @throws What `write` has thrown.
    [[nodiscard]] virtual PngResult write(const Image& image,
                                          const std::function<void(std::span<const std::uint8_t>)>& write) = 0;

protected:
    ~PngCodec() = default;
};

}  // namespace qlx::tool
