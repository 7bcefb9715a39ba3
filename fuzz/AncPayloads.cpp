// Small packets that describe a frame: any bytes are read or refused, and what is read stays within its ranges.
#include <qlx/anc/payloads.h>
#include <qlx/anc/registry.h>

#include "FuzzSupport.h"

#include <span>
#include <vector>

using qlxfuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> exact(data, data + size);
    const std::span<const std::uint8_t> bytes(exact);
    const auto afd = qlx::anc::parseAfdBarData(bytes);
    require(afd.hasValue() == (size >= 8));
    require(!afd || (afd->code < 16 && qlx::anc::afdText(afd->code).size() < 40));
    const auto timeCode = qlx::anc::parseAncillaryTimeCode(bytes);
    require(timeCode.hasValue() == (size >= 16));
    require(!timeCode || (timeCode->hours <= 45 && timeCode->minutes <= 85 && timeCode->seconds <= 85));
    const auto payload = qlx::anc::parsePayloadIdentifier(bytes);
    require(payload.hasValue() == (size >= 4));
    require(!payload || (payload->rateCode < 16 && qlx::anc::payloadRateText(payload->rateCode).size() < 10));
    require(qlx::anc::parseCea608Payload(bytes).hasValue() == (size >= 3));
    require(qlx::anc::parseCameraStartStop(bytes).hasValue() == (size >= 11));
    if (size >= 2) {
        const auto kind = qlx::anc::registeredPacket(exact[0], exact[1]);
        require(!kind || kind->id == qlx::anc::packetId(exact[0], exact[1]));
    }
    return 0;
}
