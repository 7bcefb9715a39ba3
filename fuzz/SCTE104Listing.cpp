// The tool's listing of SCTE-104 messages: it finds the operations that the library finds, in words on one line and as
// JSON, and says so when some are missing.
#include "io/Text.h"
#include "streams/Cdp.h"
#include "streams/Json.h"
#include "streams/SCTE104Message.h"

#include <QLXClosedCaptionsUtilities/QLXSCTEUtilities.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <string>

using qlxfuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const qlx::Data message(data, size);
    const qlx::tool::Scte104Message read = qlx::tool::readScte104(message);
    require(read.operations.size() <= read.announced);
    const auto readable = std::count_if(read.operations.begin(), read.operations.end(),
                                        [](const auto& operation) { return operation.parameters.has_value(); });
    require(static_cast<std::size_t>(readable) == QLXSCTEUtilities::operationsWithSCTEMessageData(message).size());
    const bool isComplete = static_cast<std::size_t>(readable) == read.announced;
    require(isComplete == read.problems.empty() || read.refusal);
    const std::string words = qlx::tool::scte104InWords(message);
    require(!words.empty() && qlx::tool::printable(words) == words);
    require(qlx::tool::jsonText(qlx::tool::scte104Operations(read)).starts_with('['));
    // Whatever the bytes are, they can be described as a caption packet as well.
    require(!qlx::tool::cdpInWords(message).empty());
    return 0;
}
