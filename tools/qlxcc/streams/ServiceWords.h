// What the packets of caption services (CEA-708) hold, in words.
#pragma once

#include <qlx/cea708/packet.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace qlx::tool {

/// The characters of a service's 16-bit codes; 0 for one without. Where it is empty they are UTF-16.
using WideCharacters = std::function<char32_t(std::uint16_t code)>;

/// Says of each service block what stands in it: commands by their abbreviations, characters as text.
class ServiceWords {
public:
    explicit ServiceWords(WideCharacters wideCharacters = {}) : _wideCharacters(std::move(wideCharacters)) {}

    /// A line for each block of a packet: `service 1: DF0, SPL, "Hello", ETX`.
    [[nodiscard]] std::vector<std::string> linesOf(const cea708::ReceivedPacket& packet);

private:
    std::string wordsOf(std::vector<std::uint8_t>& bytes);

    WideCharacters _wideCharacters;
    std::map<std::uint8_t, std::vector<std::uint8_t>>
        _cut;  ///< Of a service the command whose rest is in its next block.
};

}  // namespace qlx::tool
