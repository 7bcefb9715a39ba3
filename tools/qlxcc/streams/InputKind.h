// What a file is, and which commands read it.
#pragma once

#include "io/Errors.h"

#include <qlx/streams/input_kind.h>

#include <cstdint>
#include <span>
#include <string_view>

namespace qlx::tool {

using streams::hasBeginningOf;
using streams::hasCues;
using streams::hasRows;
using streams::InputKind;
using streams::inputKind;
using streams::inputKindNamed;
using streams::inputKindOfBytes;
using streams::inputKindOfName;
using streams::isContainer;
using streams::kBytesThatTellKind;
using streams::mayHaveTextTracks;

/// What to say of a file of a kind that a command does not read, and which commands do: `film.ts is an MPEG-TS file,
/// WHAT: such files are for qlxcc scan, show, extract, rate and convert`.
/// @param isByName That it is one has been told by its name alone: `film.ts is an MPEG-TS file by its name, ...`.
[[nodiscard]] UsageError otherKind(std::string_view name, InputKind kind, std::string_view what, bool isByName = false);

/// Refuses a file that begins with `first` when its bytes, or its name where they do not tell, say that it is of a kind
/// that a command does not read. Unknown ones are let through.
/// @param reads Whether the command reads files of a kind.
/// @throws UsageError as otherKind() says.
void refuseOtherKinds(std::span<const std::uint8_t> first, std::string_view name, bool (*reads)(InputKind),
                      std::string_view what);

}  // namespace qlx::tool
