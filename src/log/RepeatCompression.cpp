#include "log/RepeatCompression.h"

#include <utility>

namespace qlx::log {

RepeatDecision RepeatCompression::take(const std::optional<std::string>& path,
                                       const std::optional<std::string>& message) {
    RepeatDecision decision;
    if (isLastPath(path, decision.previousPath)) {
        if (message && equals(_lastMessage, message)) {
            ++_repeatCount;
            decision.isRepeat = true;
            return decision;
        }
        decision.repeatCount = std::exchange(_repeatCount, 0);
        setLastMessage(message);
        return decision;
    }
    decision.startsFile = true;
    decision.repeatCount = std::exchange(_repeatCount, 0);
    setLastMessage(std::nullopt);
    return decision;
}

}  // namespace qlx::log
