// The tool's reader of XML sections: it ends with a message, or gives sections that are written as XML and read again.
#include "streams/SCTEXml.h"

#include "FuzzSupport.h"

#include <string>
#include <vector>

using qlxfuzz::require;

namespace {

void check(const qlx::scte::SpliceInfoSection& section) {
    std::vector<std::string> losses;
    std::vector<std::string> notes;
    std::string text;
    try {
        text = qlx::tool::xmlOf(section, losses);
    } catch (const qlx::tool::ScteXmlError& error) {
        // Of a Binary: what was read out of elements can be said.
        require(std::string_view(error.what()).find("no XML") != std::string_view::npos);
        return;
    }
    const auto back = qlx::tool::sectionsOfXml(text, notes);
    require(back.size() == 1 && notes.empty());
    require((back[0] == section) == losses.empty());
    std::vector<std::string> none;
    const std::string again = qlx::tool::xmlOf(back[0], none);
    require(none.empty() && (!losses.empty() || again == text));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    try {
        std::vector<std::string> notes;
        for (const auto& section : qlx::tool::sectionsOfXml(text, notes)) {
            check(section);
        }
    } catch (const qlx::tool::ScteXmlError& error) {
        require(!std::string_view(error.what()).empty());
    }
    return 0;
}
