// Stands in for PngFile.cpp where libpng is missing.
#include "Errors.h"
#include "PngFile.h"

namespace qlx::tool {

void requirePng(std::string_view name) {
    throw failureIn(name, "this qlxcc was built without PNG files: install the Debian package libpng-dev and build "
                          "it again, or use a .ppm file");
}

Image readPngBehindSignature(ByteSource& source) {
    requirePng(source.name());
    return {};
}

void writePng(const Image& /*image*/, OutputFile& output) {
    requirePng(output.name());
}

}  // namespace qlx::tool
