#include "io/Terminal.h"

#include "io/OutputFile.h"

#include <cstdlib>
#include <string_view>

namespace qlx::tool {

namespace {

std::string_view environment(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string_view() : std::string_view(value);
}

}  // namespace

bool useColors() {
    return standardOutputIsTerminal() && environment("TERM") != "dumb" && environment("NO_COLOR").empty();
}

}  // namespace qlx::tool
