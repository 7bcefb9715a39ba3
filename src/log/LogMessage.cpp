#include "log/LogMessage.h"

#include <utility>

namespace qlx::log {

namespace {

constexpr std::int64_t kOrigin = 7;

std::optional<std::string> textOf(const Value* value) {
    return value ? value->stringValue() : std::nullopt;
}

}  // namespace

Message messageWithInfo(const Dictionary& info) {
    const Value* const level = info.find("level");
    const Value* const show = info.find("show");
    Message message;
    message.text = textOf(info.find("message"));
    message.level = level ? level->integerValue() : 0;
    message.show = show && show->boolValue();
    message.notificationTitle = textOf(info.find("userNotificationTitle"));
    message.notificationCategory = textOf(info.find("userNotificationCategory"));
    message.info = &info;
    return message;
}

Dictionary infoOf(const Message& message) {
    Dictionary info{{"level", message.level},
                    {"notifyRemotes", true},
                    {"origin", kOrigin},
                    {"show", message.show},
                    {"source_unique_id", ""}};
    if (message.text) {
        info.set("message", *message.text);
    }
    if (message.notificationTitle) {
        info.set("userNotificationTitle", *message.notificationTitle);
    }
    if (message.notificationCategory) {
        info.set("userNotificationCategory", *message.notificationCategory);
    }
    return info;
}

Dictionary failureInfo(std::string text, bool show) {
    return {{"message", std::move(text)}, {"origin", kOrigin},   {"identifier", ""}, {"level", 0}, {"show", show},
            {"notifyRemotes", false},     {"sourceUniqueID", ""}};
}

}  // namespace qlx::log
