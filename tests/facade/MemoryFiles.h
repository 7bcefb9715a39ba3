// Files that exist only in a test.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace qlxtest {

/// Serves files from memory while it lives; any other path cannot be read.
class MemoryFiles final : public qlx::FileReader {
public:
    void add(std::string path, std::string_view content) {
        _files[std::move(path)] = qlx::Data(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
    }

    qlx::Data contentsOfFile(const std::string& path) override {
        const auto file = _files.find(path);
        return file == _files.end() ? qlx::Data() : file->second;
    }

private:
    std::map<std::string, qlx::Data> _files;
    qlx::ScopedService<qlx::FileReader> _service{*this};
};

}  // namespace qlxtest
