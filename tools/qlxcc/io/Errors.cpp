#include "io/Errors.h"

#include "io/Descriptors.h"
#include "io/Text.h"

#include <atomic>
#include <span>
#include <system_error>

#include <unistd.h>

namespace qlx::tool {

namespace {

std::atomic<void (*)(std::string_view message)> messageListener{nullptr};
std::atomic<bool> saysErrorsOnly{false};

void tellListener(std::string_view message) {
    if (const auto listener = messageListener.load()) {
        listener(printable(message));
    }
}

Failure failureWithPlace(std::string_view name, std::string_view unit, std::uint64_t place, std::string_view what) {
    std::string message(name);
    message += ": ";
    message += unit;
    message += ' ';
    message += std::to_string(place);
    message += ": ";
    message += what;
    return Failure(message);
}

}  // namespace

Failure failureIn(std::string_view name, std::string_view what) {
    std::string message(name);
    message += ": ";
    message += what;
    return Failure(message);
}

Failure failureAtByte(std::string_view name, std::uint64_t offset, std::string_view what) {
    return failureWithPlace(name, "byte", offset, what);
}

Failure failureAtLine(std::string_view name, std::uint64_t line, std::string_view what) {
    return failureWithPlace(name, "line", line, what);
}

std::string systemErrorText(int error) {
    return std::generic_category().message(error);
}

void printDirectly(std::string_view text) noexcept {
    // Where nobody can be told, nobody is.
    (void)writeAll(STDERR_FILENO, std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

void printLine(std::string_view message) {
    // One write a line, so that lines of several processes in one log do not mix.
    const std::string line = "qlxcc: " + printable(message) + "\n";
    printDirectly(line);
}

void setMessageListener(void (*listener)(std::string_view message)) noexcept {
    messageListener.store(listener);
}

void printMessage(std::string_view message) {
    printLine(message);
    tellListener(message);
}

void setQuiet(bool isQuiet) noexcept {
    saysErrorsOnly.store(isQuiet);
}

bool isQuiet() noexcept {
    return saysErrorsOnly.load();
}

void printNote(std::string_view message) {
    if (!isQuiet()) {
        printLine(message);
    }
    tellListener(message);
}

void printWhyItFails(const std::string& file, const std::string& notes) {
    if (isQuiet()) {
        printMessage(file + ": " + notes + " (said without --quiet)");
    }
}

}  // namespace qlx::tool
