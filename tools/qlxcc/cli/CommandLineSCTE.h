// The commands scte104 and scte35 on the command line.
#pragma once

#include "cli/RawOptionsSCTE.h"

#include <optional>
#include <variant>

namespace CLI {
class App;
}

namespace qlx::tool {

using ScteCommand = std::variant<Scte104BuildOptions, Scte104ParseOptions, Scte35Options>;

/// Adds the commands; must live until the command line has been parsed.
class ScteCommands {
public:
    explicit ScteCommands(CLI::App& app);
    ScteCommands(const ScteCommands&) = delete;
    ScteCommands& operator=(const ScteCommands&) = delete;

    /// After parsing: what the chosen one runs with; none when it is another command.
    /// @throws UsageError
    [[nodiscard]] std::optional<ScteCommand> chosen() const;

private:
    void addBuild(CLI::App& scte104);
    void addParse(CLI::App& scte104);
    void addScte35(CLI::App& app);

    RawScte104Build _rawBuild;
    RawScte104Parse _rawParse;
    RawScte35 _rawScte35;
    CLI::App* _build = nullptr;
    CLI::App* _parse = nullptr;
    CLI::App* _scte35 = nullptr;
};

}  // namespace qlx::tool
