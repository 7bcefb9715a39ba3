// The tool's reader of JSON messages: it ends with a message, or gives operations that can be read back.
#include "commands/scte/SCTE104Request.h"
#include "io/Errors.h"
#include "streams/SCTE104Message.h"

#include <QLXClosedCaptionsUtilities/QLXSCTEUtilities.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <string>

using qlxfuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    try {
        const qlx::tool::Scte104Request request = qlx::tool::readScte104Request("input", text);
        require(!request.operations.empty());
        const qlx::Data message = QLXSCTEUtilities::SCTE104MultiMessageDataWithOperations_messageNumber_asIndex_dpiPID(
            request.operations, request.messageNumber, request.asIndex, request.dpiPID);
        const qlx::tool::Scte104Message read = qlx::tool::readScte104(message);
        require(!read.refusal && read.problems.empty());
        require(read.operations.size() == std::min<std::size_t>(request.operations.size(), 255));
        require(read.messageNumber == request.messageNumber && read.dpiPID == request.dpiPID);
    } catch (const qlx::tool::Failure& failure) {
        require(std::string_view(failure.what()).starts_with("input: "));
    }
    return 0;
}
