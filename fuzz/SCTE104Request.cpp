// The tool's reader of JSON messages and sections: it ends with a message, or gives what can be written as JSON and read
// again.
#include "commands/scte/SCTE104Request.h"
#include "commands/scte/SCTE35Input.h"
#include "io/Errors.h"
#include "streams/Json.h"
#include "streams/SCTEJson.h"

#include "FuzzSupport.h"

#include <string>

using qlxfuzz::require;

namespace {

void checkMessage(const qlx::scte::Message& message) {
    if (const auto bytes = qlx::scte::writeMessage(message)) {
        // What is wrong in the data is kept.
        const auto read = qlx::scte::parseMessage(*bytes);
        require(!read || *qlx::scte::writeMessage(*read) == *bytes);
    }
    const std::string again = qlx::tool::jsonText(qlx::tool::jsonOf(message));
    require(qlx::tool::readScte104Json("input", again) == std::vector{message});
}

void readMessages(const std::string& text) {
    for (const auto& message : qlx::tool::readScte104Json("input", text)) {
        checkMessage(message);
    }
}

void readSections(const std::string& text) {
    for (const auto& section : qlx::tool::readScte35Sections("input", text)) {
        const std::string again = qlx::tool::jsonText(qlx::tool::jsonOf(section));
        const auto back = qlx::tool::readScte35Sections("input", again);
        require(back.size() == 1);
        const auto one = writeSpliceInfoSection(section);
        const auto other = writeSpliceInfoSection(back[0]);
        require(one.hasValue() == other.hasValue() && (!one || *one == *other));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    qlx::tool::setQuiet(true);
    for (const auto read : {readMessages, readSections}) {
        try {
            read(text);
        } catch (const qlx::tool::Failure& failure) {
            require(std::string_view(failure.what()).starts_with("input: "));
        }
    }
    return 0;
}
