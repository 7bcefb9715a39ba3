// The tool's files as the library of streams reads and writes them. What a file throws waits until the library has
// returned.
#pragma once

#include "io/InputFile.h"
#include "io/OutputFile.h"

#include <qlx/streams/byte_source.h>

#include <cstdint>
#include <exception>
#include <optional>
#include <span>
#include <utility>

namespace qlx::tool {

/// An InputFile.
class InputBytes final : public streams::ByteSource {
public:
    /// @param file Must outlive this.
    explicit InputBytes(InputFile& file) : _file(file) {}

    std::size_t read(std::span<std::uint8_t> to) override;
    [[nodiscard]] std::span<const std::uint8_t> peek(std::size_t count) override;
    std::uint64_t skip(std::uint64_t count) override;
    bool seek(std::uint64_t offset) override;
    [[nodiscard]] std::uint64_t offset() const override { return _file.offset(); }
    [[nodiscard]] std::optional<std::uint64_t> size() const override { return _file.size(); }
    [[nodiscard]] std::optional<Finding> error() const override;

    /// Throws what the file has thrown, if anything.
    void rethrow() {
        if (_error) {
            std::rethrow_exception(std::exchange(_error, nullptr));
        }
    }

private:
    template <class Result, class Call>
    Result guarded(Result otherwise, const Call& call);

    InputFile& _file;
    std::exception_ptr _error;
};

/// An OutputFile.
class OutputBytes final : public streams::ByteSink {
public:
    /// @param file Must outlive this.
    explicit OutputBytes(OutputFile& file) : _file(file) {}

    [[nodiscard]] std::optional<Finding> write(std::span<const std::uint8_t> bytes) override;

    /// Throws what the file has thrown, if anything.
    void rethrow() {
        if (_error) {
            std::rethrow_exception(std::exchange(_error, nullptr));
        }
    }

private:
    OutputFile& _file;
    std::exception_ptr _error;
};

}  // namespace qlx::tool
