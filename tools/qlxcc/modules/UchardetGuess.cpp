// The module qlxcc-encodings: libuchardet, which nothing else of the tool includes.
#include "io/EncodingGuess.h"
#include "io/Module.h"

#include <uchardet.h>

#include <memory>

namespace qlx::tool {

namespace {

class UchardetGuess final : public EncodingGuess {
public:
    [[nodiscard]] std::string of(std::string_view bytes) override {
        const std::unique_ptr<uchardet, decltype(&uchardet_delete)> detector(uchardet_new(), &uchardet_delete);
        if (detector == nullptr || uchardet_handle_data(detector.get(), bytes.data(), bytes.size()) != 0) {
            return {};
        }
        uchardet_data_end(detector.get());
        return uchardet_get_charset(detector.get());
    }
};

UchardetGuess implementation;
EncodingGuess& guess = implementation;

}  // namespace

}  // namespace qlx::tool

QLXCC_DEFINE_MODULE(qlx::tool::guess)
