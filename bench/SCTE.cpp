// SCTE-104 messages and SCTE-35 sections, with plain baselines.
#include <QLXClosedCaptionsUtilities/QLXLogController.h>
#include <QLXClosedCaptionsUtilities/QLXLogControllerDelegate.h>
#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>
#include <QLXClosedCaptionsUtilities/QLXSCTEUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <qlx/scte/conversion.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

qlx::Data buildMessage() {
    return QLXSCTEUtilities::
        SCTE104SpliceInsertDataWithSpliceType_asIndex_dpiPID_spliceEventID_programUniqueID_duration_autoReturn_preRoll(
            1, 0, 0x1234, 16909060, 0x0506, 300, true, 4000);
}

qlx::Data buildMessageFromParameters(const qlx::Dictionary& parameters) {
    return QLXSCTEUtilities::SCTE104MultiMessageDataWithOperations_messageNumber_asIndex_dpiPID(
        {QLXSCTEOperation::SCTEOperationDataWithOperationType_parameters_errorDescription(257, parameters)}, 1, 0,
        0x1234);
}

qlx::Dictionary parametersOfMessage() {
    return {{"spliceType", 1}, {"eventID", 16909060}, {"programUniqueID", 0x0506},
            {"duration", 300}, {"autoReturn", true},  {"preRoll", 4000}};
}

void appendNumber(Bytes& bytes, std::uint64_t value, int count) {
    while (count-- > 0) {
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * count)));
    }
}

/// What a straightforward writer does: a growing buffer, field by field.
Bytes buildMessagePlainly() {
    Bytes operation;
    appendNumber(operation, 0x0101, 2);
    appendNumber(operation, 14, 2);
    appendNumber(operation, 1, 1);
    appendNumber(operation, 16909060, 4);
    appendNumber(operation, 0x0506, 2);
    appendNumber(operation, 4000, 2);
    appendNumber(operation, 300, 2);
    appendNumber(operation, 0, 2);
    appendNumber(operation, 1, 1);
    Bytes message;
    appendNumber(message, 0x08FFFF, 3);
    appendNumber(message, 12 + operation.size(), 2);
    appendNumber(message, 0, 2);
    appendNumber(message, 1, 1);
    appendNumber(message, 0x1234, 2);
    appendNumber(message, 0, 2);
    appendNumber(message, 1, 1);
    message.insert(message.end(), operation.begin(), operation.end());
    return message;
}

/// What a straightforward reader does: copies of the ranges, and a map of strings.
std::map<std::string, qlx::Value> parseMessagePlainly(const qlx::Data& message) {
    const auto number = [](const Bytes& bytes, std::size_t offset, std::size_t count) {
        std::uint64_t value = 0;
        for (std::size_t index = 0; index < count; ++index) {
            value = value * 256 + bytes.at(offset + index);
        }
        return value;
    };
    const Bytes bytes(message.begin(), message.end());
    const Bytes data(bytes.begin() + 17, bytes.begin() + 31);
    std::map<std::string, qlx::Value> parameters;
    parameters["operationID"] = "SpliceRequestData";
    parameters["spliceInsertType"] = number(data, 0, 1);
    parameters["spliceInsertTypeName"] = "spliceStartNormal";
    parameters["spliceEventID"] = number(data, 1, 4);
    parameters["uniqueProgramID"] = number(data, 5, 2);
    parameters["preRollTime"] = number(data, 7, 2);
    parameters["breakDuration"] = number(data, 9, 2);
    parameters["availNum"] = number(data, 11, 1);
    parameters["availsExpected"] = number(data, 12, 1);
    parameters["autoReturn"] = number(data, 13, 1) != 0;
    parameters["asIndex"] = number(bytes, 6, 1);
    parameters["messageNumber"] = number(bytes, 7, 1);
    parameters["dpiPID"] = number(bytes, 8, 2);
    return parameters;
}

std::uint32_t crcPlainly(const std::uint8_t* bytes, std::size_t count) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (std::size_t index = 0; index < count; ++index) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            const bool one = ((crc >> 31U) ^ (bytes[index] >> (7U - bit))) & 1U;
            crc <<= 1U;
            if (one) {
                crc ^= 0x04C11DB7U;
            }
        }
    }
    return crc;
}

void require(bool equal) {
    if (!equal) {
        std::cerr << "the results differ: nothing is timed\n";
        std::exit(EXIT_FAILURE);
    }
}

void buildSpliceMessage(benchmark::State& state) {
    require(buildMessage() == qlx::Data(buildMessagePlainly()));
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(buildMessage());
    }
}
BENCHMARK(buildSpliceMessage);

void buildSpliceMessageFromParameters(benchmark::State& state) {
    const qlx::Dictionary parameters = parametersOfMessage();
    require(buildMessageFromParameters(parameters) == buildMessage());
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(buildMessageFromParameters(parameters));
    }
}
BENCHMARK(buildSpliceMessageFromParameters);

void buildSpliceMessageByAppending(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(buildMessagePlainly());
    }
}
BENCHMARK(buildSpliceMessageByAppending);

void parseSpliceMessage(benchmark::State& state) {
    const qlx::Data message = buildMessage();
    const auto operations = QLXSCTEUtilities::operationsWithSCTEMessageData(message);
    const auto plain = parseMessagePlainly(message);
    require(operations.size() == 1 && operations[0].size() == plain.size() &&
            std::equal(plain.begin(), plain.end(), operations[0].begin(), [](const auto& one, const auto& other) {
                return one.first == other.key && one.second == other.value;
            }));
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(QLXSCTEUtilities::operationsWithSCTEMessageData(message));
    }
}
BENCHMARK(parseSpliceMessage);

void parseSpliceMessageIntoMap(benchmark::State& state) {
    const qlx::Data message = buildMessage();
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(parseMessagePlainly(message));
    }
}
BENCHMARK(parseSpliceMessageIntoMap);

/// With a delegate, as in a host: the message is shown and handed to the log's queue. No folder is set.
void convertToSection(benchmark::State& state) {
    const auto delegate = std::make_shared<QLXLogControllerDelegate>();
    delegate->displayLogWithInfoDict = [](const qlx::Dictionary& info) { benchmark::DoNotOptimize(&info); };
    QLXLogController::sharedLogController()->setLogDelegate(delegate);
    const auto packet = QLXVANCPacket::SCTE104PacketDataWithData_lineNumber(buildMessage(), 13);
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(
            QLXVANCPacket::SCTE35PacketDataWithSCTE104VANCPacket_intendedPTS(packet, 0x1'0000'0000));
    }
    QLXLogController::sharedLogController()->waitUntilQueuesAreEmpty();
    QLXLogController::sharedLogController()->setLogDelegate(nullptr);
}
BENCHMARK(convertToSection);

/// The core's reader, of the same message.
void parseSpliceMessageInCore(benchmark::State& state) {
    const qlx::Data whole = buildMessage();
    const std::span<const std::uint8_t> message = std::span<const std::uint8_t>(whole).subspan(1);
    const auto read = qlx::scte::parseMultipleOperationMessage(message);
    require(read && read->operations.size() == 1 &&
            std::get<qlx::scte::SpliceRequest>(read->operations[0].data).eventId == 16909060);
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(qlx::scte::parseMultipleOperationMessage(message));
    }
}
BENCHMARK(parseSpliceMessageInCore);

/// What it asks for, written into a room that is there.
void writeSectionInCore(benchmark::State& state) {
    const qlx::Data whole = buildMessage();
    const auto message = qlx::scte::parseMultipleOperationMessage(std::span<const std::uint8_t>(whole).subspan(1));
    const auto sections = qlx::scte::sectionsOf(*message, {.framePts90k = 900000});
    std::array<std::uint8_t, 64> room{};
    require(sections && sections->size() == 1 && *writeSpliceInfoSection(sections->front(), room) == 40);
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(writeSpliceInfoSection(sections->front(), room));
    }
}
BENCHMARK(writeSectionInCore);

/// From the message to the section's value.
void convertInCore(benchmark::State& state) {
    const qlx::Data whole = buildMessage();
    const auto message = qlx::scte::parseMultipleOperationMessage(std::span<const std::uint8_t>(whole).subspan(1));
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(qlx::scte::sectionsOf(*message, {.framePts90k = 900000}));
    }
}
BENCHMARK(convertInCore);

void crcOfSection(benchmark::State& state) {
    const Bytes section(53, 0x5A);
    require(mpegCRC32(section.data(), section.size()) == crcPlainly(section.data(), section.size()));
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(mpegCRC32(section.data(), section.size()));
    }
}
BENCHMARK(crcOfSection);

void crcOfSectionWithBranches(benchmark::State& state) {
    const Bytes section(53, 0x5A);
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(crcPlainly(section.data(), section.size()));
    }
}
BENCHMARK(crcOfSectionWithBranches);

}  // namespace
