#include "Places.h"

namespace qlxtest {

std::string projectPath(std::string_view name) {
    return std::string(QLX_SOURCE_DIR "/").append(name);
}

}  // namespace qlxtest
