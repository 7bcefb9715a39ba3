#include "platform/Process.h"

#include <unistd.h>

namespace qlx {

std::int64_t processIdentifier() noexcept {
    return getpid();
}

}  // namespace qlx
