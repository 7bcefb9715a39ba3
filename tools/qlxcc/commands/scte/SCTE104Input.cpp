#include "commands/scte/SCTE104Input.h"

#include "io/Errors.h"
#include "io/Frame.h"
#include "io/FrameLoop.h"
#include "io/InputFile.h"
#include "io/Text.h"
#include "streams/FrameMessages.h"
#include "streams/InputKind.h"
#include "streams/OpenFrames.h"

#include <qlx/klv/keys.h>
#include <qlx/scte/scte104_packets.h>

#include <algorithm>
#include <filesystem>
#include <span>
#include <system_error>
#include <utility>

namespace qlx::tool {

namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n";

int digitOf(char character) {
    if (character >= '0' && character <= '9') {
        return character - '0';
    }
    if (character >= 'a' && character <= 'f') {
        return character - 'a' + 10;
    }
    return character >= 'A' && character <= 'F' ? character - 'A' + 10 : -1;
}

bool isHexText(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char character) {
        return digitOf(character) >= 0 || kWhiteSpace.find(character) != std::string_view::npos;
    });
}

std::vector<std::uint8_t> readWhole(NamedSource& source) {
    std::vector<std::uint8_t> bytes(kLongestScte104Input + 1);
    bytes.resize(source.read(bytes));
    if (bytes.size() > kLongestScte104Input) {
        throw failureIn(source.name(), "too long for an SCTE-104 message");
    }
    if (bytes.empty()) {
        throw failureAtByte(source.name(), 0, "the file is empty");
    }
    return bytes;
}

/// What an input is by its first bytes.
/// @throws UsageError when it is a file of another kind.
Scte104Format formatOf(InputFile& file) {
    const std::span<const std::uint8_t> first = file.peek(kBytesThatTellKind);
    if (first.size() >= klv::kLabelStart.size() && klv::beginsLabel(first)) {
        return Scte104Format::Klv;
    }
    if (isHexText({reinterpret_cast<const char*>(first.data()), first.size()})) {
        return Scte104Format::Hex;
    }
    const std::optional<InputKind> named = inputKindOfName(file.name());
    if (named && hasRows(*named)) {
        return *named == InputKind::V210 ? Scte104Format::V210 : Scte104Format::Yuv8;
    }
    if (!first.empty() && first[0] == scte::PayloadDescriptor().byte()) {
        return Scte104Format::Raw;
    }
    refuseOtherKinds(
        first, file.name(), [](InputKind other) { return other == InputKind::Klv; },
        "in which no SCTE-104 message is looked for");
    return Scte104Format::Hex;
}

InputKind kindOf(Scte104Format format) {
    return format == Scte104Format::V210   ? InputKind::V210
           : format == Scte104Format::Yuv8 ? InputKind::Yuv8
                                           : InputKind::Klv;
}

void readFrames(InputFile& source, FrameSourceOptions options, Scte104Format format,
                const std::function<void(const Scte104Packet&)>& take,
                const std::function<void(const FrameProblem&)>& say) {
    options.kind = kindOf(format);
    const auto reader = openFrames(source, options);
    RemarkNotes remarks(source);
    std::vector<FrameProblem> problems;
    const std::string name = source.name();
    FrameMessages messages([&](std::uint64_t frame, std::uint64_t line, const Data& data) {
        take({name + ": " + placeOf(frame, line), frame, line, data});
    });
    const auto report = [&] {
        remarks.say(reader->takeRemarks());
        for (FrameProblem& problem : std::exchange(problems, {})) {
            problem.text.insert(0, name + ": ");
            say(problem);
        }
    };
    try {
        for (Frame frame; reader->next(frame, problems); report()) {
            messages.read(frame, problems);
        }
    } catch (const Failure&) {
        // What is wrong in front of the broken place is said all the same.
        report();
        throw;
    }
    report();
    if (remarks.hasMore()) {
        remarks.sayHowManyMore();
    }
}

void checkNoRowOptions(const FrameSourceOptions& options) {
    if (options.width || options.lines || options.nearStart) {
        throw UsageError(
            "--width, --lines, --rows and --near-start are for the formats v210 and 2vuy: a message has no "
            "rows");
    }
}

/// Whether the digits of a message were given in place of a file.
bool isMessageOnCommandLine(const std::string& input, std::optional<Scte104Format> format) {
    std::error_code error;
    return input != "-" && format.value_or(Scte104Format::Hex) == Scte104Format::Hex && isHexText(input) &&
           !std::filesystem::exists(input, error);
}

}  // namespace

Data bytesOfHex(std::string_view name, std::string_view text) {
    std::vector<std::uint8_t> bytes;
    int high = -1;
    for (std::size_t offset = 0; offset < text.size(); ++offset) {
        if (kWhiteSpace.find(text[offset]) != std::string_view::npos) {
            continue;
        }
        const int digit = digitOf(text[offset]);
        if (digit < 0) {
            const auto byte = static_cast<std::uint8_t>(text[offset]);
            throw failureAtByte(name, offset, "byte value " + hex(std::span(&byte, 1)) + " is no hexadecimal digit");
        }
        if (high < 0) {
            high = digit;
        } else {
            bytes.push_back(static_cast<std::uint8_t>(high << 4 | digit));
            high = -1;
        }
    }
    if (high >= 0) {
        throw failureAtByte(name, text.size(), "an odd number of hexadecimal digits");
    }
    return bytes;
}

void readScte104Packets(const Scte104Source& from, const std::function<void(const Scte104Packet&)>& take,
                        const std::function<void(const FrameProblem&)>& say) {
    if (isMessageOnCommandLine(from.input, from.format)) {
        const std::string name = "the message";
        checkNoRowOptions(from.rows);
        take({name, std::nullopt, 0, bytesOfHex(name, from.input)});
        return;
    }
    InputFile source(from.input);
    const Scte104Format format = from.format ? *from.format : formatOf(source);
    switch (format) {
    case Scte104Format::Klv:
    case Scte104Format::V210:
    case Scte104Format::Yuv8:
        readFrames(source, from.rows, format, take, say);
        break;
    case Scte104Format::Raw:
        checkNoRowOptions(from.rows);
        take({source.name(), std::nullopt, 0, Data(readWhole(source))});
        break;
    case Scte104Format::Hex: {
        checkNoRowOptions(from.rows);
        const std::vector<std::uint8_t> text = readWhole(source);
        const std::string_view digits(reinterpret_cast<const char*>(text.data()), text.size());
        take({source.name(), std::nullopt, 0, bytesOfHex(source.name(), digits)});
        break;
    }
    }
}

}  // namespace qlx::tool
