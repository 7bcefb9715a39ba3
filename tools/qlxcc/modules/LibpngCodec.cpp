// The module qlxcc-png: libpng, which nothing else of the tool includes.
#include "io/Module.h"
#include "pictures/ImageFile.h"
#include "pictures/PngCodec.h"
#include "pictures/PngFile.h"

#include <png.h>

#include <array>
#include <csetjmp>
#include <exception>
#include <functional>
#include <new>
#include <span>
#include <string>
#include <utility>

namespace qlx::tool {

namespace {

// libpng reports an error by jumping out of its calls, over every frame in between. So the functions that set the jump's
// target hold nothing that needs destroying, and what the callbacks throw is kept and thrown again outside.

/// What one reading or writing keeps beside libpng's own state.
struct PngState {
    NamedSource* source = nullptr;
    const std::function<void(std::span<const std::uint8_t>)>* write = nullptr;
    std::exception_ptr thrown;  ///< By the source or the output.
    std::string problem;        ///< libpng's own words.
    bool isCutOff = false;
};

PngState& stateOf(png_voidp pointer) {
    return *static_cast<PngState*>(pointer);
}

extern "C" {

[[noreturn]] static void failed(png_structp png, png_const_charp message) {
    stateOf(png_get_error_ptr(png)).problem = message;
    png_longjmp(png, 1);
}

static void warned(png_structp /*png*/, png_const_charp /*message*/) {
    // What libpng can live with is no reason to bother anyone.
}

static void readBytes(png_structp png, png_bytep to, png_size_t count) {
    PngState& state = stateOf(png_get_io_ptr(png));
    try {
        state.isCutOff = state.source->read(std::span(to, count)) < count;
    } catch (...) {
        state.thrown = std::current_exception();
    }
    if (state.thrown || state.isCutOff) {
        png_error(png, "cut off");
    }
}

static void writeBytes(png_structp png, png_bytep from, png_size_t count) {
    PngState& state = stateOf(png_get_io_ptr(png));
    try {
        (*state.write)(std::span<const std::uint8_t>(from, count));
    } catch (...) {
        state.thrown = std::current_exception();
    }
    if (state.thrown) {
        png_error(png, "not written");
    }
}

static void flushNothing(png_structp /*png*/) {}

}  // extern "C"

/// libpng's objects for one reading.
class PngReader {
public:
    explicit PngReader(PngState& state) : _png(png_create_read_struct(PNG_LIBPNG_VER_STRING, &state, failed, warned)) {
        if (_png != nullptr) {
            _info = png_create_info_struct(_png);
        }
        if (_info == nullptr) {
            png_destroy_read_struct(&_png, nullptr, nullptr);
            throw std::bad_alloc();
        }
        png_set_read_fn(_png, &state, readBytes);
    }
    ~PngReader() { png_destroy_read_struct(&_png, &_info, nullptr); }
    PngReader(const PngReader&) = delete;
    PngReader& operator=(const PngReader&) = delete;

    /// Reads up to the picture and asks for RGBA.
    bool readHeader() {
        if (setjmp(png_jmpbuf(_png)) != 0) {
            return false;
        }
        png_set_sig_bytes(_png, static_cast<int>(kPngSignature.size()));
        png_set_user_limits(_png, kGreatestImageSide, kGreatestImageSide);
        // libpng would keep all of them until the end, unpacked; nothing of them is used.
        png_set_keep_unknown_chunks(_png, PNG_HANDLE_CHUNK_NEVER, kUnusedChunks.data(),
                                    static_cast<int>(kUnusedChunks.size() / kChunkNameSize));
        png_read_info(_png, _info);
        png_set_expand(_png);
        png_set_scale_16(_png);
        png_set_gray_to_rgb(_png);
        png_set_add_alpha(_png, 0xFF, PNG_FILLER_AFTER);
        _passes = png_set_interlace_handling(_png);
        png_read_update_info(_png, _info);
        return png_get_rowbytes(_png, _info) == std::size_t{4} * width();
    }

    /// Reads all rows, and what stands behind them.
    bool readRows(Image& image) {
        if (setjmp(png_jmpbuf(_png)) != 0) {
            return false;
        }
        for (int pass = 0; pass < _passes; ++pass) {
            for (std::size_t y = 0; y < image.height(); ++y) {
                png_read_row(_png, image.row(y).data()->data(), nullptr);
            }
        }
        png_read_end(_png, nullptr);
        return true;
    }

    [[nodiscard]] std::uint32_t width() const { return png_get_image_width(_png, _info); }
    [[nodiscard]] std::uint32_t height() const { return png_get_image_height(_png, _info); }

private:
    static constexpr std::size_t kChunkNameSize = 5;  ///< With a zero behind it.
    static constexpr std::array<png_byte, 8 * kChunkNameSize> kUnusedChunks{
        't', 'E', 'X', 't', 0, 'z', 'T', 'X', 't', 0, 'i', 'T', 'X', 't', 0, 'i', 'C', 'C', 'P', 0,
        's', 'P', 'L', 'T', 0, 'e', 'X', 'I', 'f', 0, 'p', 'C', 'A', 'L', 0, 's', 'C', 'A', 'L', 0};

    png_structp _png = nullptr;
    png_infop _info = nullptr;
    int _passes = 1;
};

/// libpng's objects for one writing.
class PngWriter {
public:
    explicit PngWriter(PngState& state) : _png(png_create_write_struct(PNG_LIBPNG_VER_STRING, &state, failed, warned)) {
        if (_png != nullptr) {
            _info = png_create_info_struct(_png);
        }
        if (_info == nullptr) {
            png_destroy_write_struct(&_png, nullptr);
            throw std::bad_alloc();
        }
        png_set_write_fn(_png, &state, writeBytes, flushNothing);
    }
    ~PngWriter() { png_destroy_write_struct(&_png, &_info); }
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;

    bool write(const Image& image, bool hasAlpha) {
        if (setjmp(png_jmpbuf(_png)) != 0) {
            return false;
        }
        png_set_IHDR(_png, _info, static_cast<png_uint_32>(image.width()), static_cast<png_uint_32>(image.height()), 8,
                     hasAlpha ? PNG_COLOR_TYPE_RGBA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_write_info(_png, _info);
        if (!hasAlpha) {
            png_set_filler(_png, 0, PNG_FILLER_AFTER);
        }
        for (std::size_t y = 0; y < image.height(); ++y) {
            png_write_row(_png, image.row(y).data()->data());
        }
        png_write_end(_png, _info);
        return true;
    }

private:
    png_structp _png = nullptr;
    png_infop _info = nullptr;
};

/// What came of it, but for what the callbacks have thrown, which is thrown again.
PngResult resultOf(PngState& state) {
    if (state.thrown) {
        std::rethrow_exception(state.thrown);
    }
    PngResult result;
    result.isCutOff = state.isCutOff;
    result.problem = std::move(state.problem);
    return result;
}

class LibpngCodec final : public PngCodec {
public:
    PngResult read(NamedSource& source, std::uint64_t greatest) override {
        PngState state;
        state.source = &source;
        PngReader reader(state);
        if (!reader.readHeader()) {
            return resultOf(state);
        }
        PngResult result;
        result.width = reader.width();
        result.height = reader.height();
        if (std::uint64_t{result.width} * result.height > greatest) {
            return result;
        }
        Image image(result.width, result.height);
        if (!reader.readRows(image)) {
            return resultOf(state);
        }
        result.image = std::move(image);
        result.isDone = true;
        return result;
    }

    PngResult write(const Image& image, const std::function<void(std::span<const std::uint8_t>)>& write) override {
        PngState state;
        state.write = &write;
        PngWriter writer(state);
        if (!writer.write(image, !image.isOpaque())) {
            return resultOf(state);
        }
        PngResult result;
        result.isDone = true;
        return result;
    }
};

LibpngCodec implementation;
PngCodec& codec = implementation;

}  // namespace

}  // namespace qlx::tool

QLXCC_DEFINE_MODULE(qlx::tool::codec)
