// The JSON line of a frame. The JSON library is included by this module's source alone.
#pragma once

#include "Frame.h"
#include "OutputFile.h"

#include <string>

namespace qlx::tool {

/// `{"frame":0,"pts":{"value":0,"timescale":25},"packets":[{"line":12,"did":67,"sdid":2,"type":"OP-47","data":"51.."}]}`
/// without a line feed; `pts` only where it is known.
[[nodiscard]] std::string jsonLine(const Frame& frame);

/// Writes a JSON line a frame.
class JsonlWriter final : public FrameWriter {
public:
    explicit JsonlWriter(OutputFile& output) : _output(output) {}

    void write(const Frame& frame) override;

private:
    OutputFile& _output;
};

}  // namespace qlx::tool
