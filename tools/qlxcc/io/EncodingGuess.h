// The encoding of a text that does not say it: what the tool asks of the module that guesses it (qlxcc-encodings, with
// libuchardet).
#pragma once

#include <string>
#include <string_view>

namespace qlx::tool {

class EncodingGuess {
public:
    static constexpr const char* kModule = "qlxcc-encodings";

    /// The name of the encoding that bytes are most likely in; empty when there is none to name.
    [[nodiscard]] virtual std::string of(std::string_view bytes) = 0;

protected:
    ~EncodingGuess() = default;
};

}  // namespace qlx::tool
