#include "commands/line21/Line21.h"

#include "commands/line21/Line21Preview.h"
#include "io/Errors.h"
#include "io/Progress.h"
#include "io/Text.h"
#include "pictures/PngFile.h"
#include "streams/Json.h"
#include <qlx/cea608/codes.h>
#include <qlx/line21/line21.h>

#include <QLXClosedCaptionsUtilities/QLXCEA608ReaderWriter.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <algorithm>
#include <span>

namespace qlx::tool {

namespace {

constexpr std::size_t kFrameWidth = 8;
constexpr BytePair kNullPair{cea608::kNullPair.first, cea608::kNullPair.second};

Failure platformFailure(const std::string& name) {
    return failureIn(name, "the picture cannot be converted");
}

/// The caption sample of a picture: four bytes.
Data sampleOf(QLXCEA608ReaderWriter& reader, const std::shared_ptr<PixelBuffer>& picture) {
    const auto video = std::make_shared<SampleBuffer>();
    video->imageBuffer = picture;
    const auto caption = reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(video);
    return caption && caption->dataBuffer
               ? Data(std::span<const std::uint8_t>(caption->dataBuffer->data(), caption->dataBuffer->size()))
               : Data();
}

/// The caption bytes of one row, wherever its waveform stands in front of them: what the pixels in their places say.
BytePair pairIn(const PixelBuffer& picture, std::size_t row) {
    const line21::RowLayout layout{picture.pixelFormat(), picture.width(), picture.pictureHeight()};
    line21::RowView view{{picture.row(row), picture.bytesPerRow()}, {}};
    if (const std::uint8_t* const chroma = picture.chromaRow(row)) {
        view.chroma = {chroma, (picture.width() + 1) / 2 * 2};
    }
    // The tool's pictures hold their rows.
    const cea608::Pair pair = *line21::readPair(view, layout, nullptr, {.sampling = line21::Sampling::Fixed});
    return {pair.first, pair.second};
}

/// What rows 1 and 2 hold.
std::array<BytePair, 2> pairsIn(const PixelBuffer& picture) {
    return {pairIn(picture, 1), pairIn(picture, 2)};
}

/// Rows 0 to 2 of a picture to be shown.
Line21View viewOf(const std::string& name, const std::shared_ptr<PixelBuffer>& picture, std::string title) {
    auto& factory = services().get<PixelBufferFactory>();
    const RawPicture rows({kPixelFormatBGRA, static_cast<std::uint32_t>(picture->width()), kLine21Rows});
    std::shared_ptr<PixelTransferSession> session;
    std::shared_ptr<PixelBuffer> first;
    if (factory.createTransferSession(&session) != kPixelStatusSuccess ||
        factory.createView(picture, {0, kLine21Rows}, &first) != kPixelStatusSuccess ||
        session->transferImage(*first, *rows.buffer()) != kPixelStatusSuccess) {
        throw platformFailure(name);
    }
    Line21View view{std::move(title), Image(picture->width(), kLine21Rows), pairsIn(*picture)};
    copyRows(*rows.buffer(), view.rows);
    return view;
}

/// A picture of a PNG or PPM file, and its rows that the waveform takes.
struct StillPicture {
    Image image;
    RawPicture rows;

    explicit StillPicture(Image whole)
        : image(std::move(whole)), rows({kPixelFormatBGRA, static_cast<std::uint32_t>(image.width()), kLine21Rows}) {
        copyRows(image, *rows.buffer());
    }
};

StillPicture readStill(NamedSource& source) {
    Image image = readImage(source);
    checkPictureSize(source.name(), image.width(), image.height());
    return StillPicture(std::move(image));
}

std::string titleOf(const PixelBuffer& picture) {
    return "line 21 in rows 0 to 2, first " + std::to_string(std::min<std::size_t>(picture.width(), 738)) + " of " +
           std::to_string(picture.width()) + " pixels";
}

std::string parityText(const BytePair& pair) {
    const bool first = hasOddParity(pair[0]);
    const bool second = hasOddParity(pair[1]);
    if (first && second) {
        return "parity ok";
    }
    return std::string("parity wrong in ") + (first ? "byte 2" : second ? "byte 1" : "both bytes");
}

/// Pairs with wrong parity may be wanted, for a test; the first one is named.
void sayWrongParity(std::span<const BytePair> pairs) {
    const auto wrong = std::ranges::find_if(
        pairs, [](const BytePair& pair) { return !hasOddParity(pair[0]) || !hasOddParity(pair[1]); });
    if (wrong != pairs.end()) {
        printNote("byte pair " + hex(*wrong) + ": " + parityText(*wrong) + "; it is drawn as it is");
    }
}

/// Draws byte pairs into the pictures of a file.
class Writing {
public:
    explicit Writing(const Line21WriteOptions& options) : _options(options) {}

    void run() {
        std::optional<InputFile> source;
        if (_options.input) {
            source.emplace(*_options.input);
        }
        const PictureKind kind = source ? pictureKindOf(*source, _options.pictures) : _options.made;
        const std::optional<ImageFormat> format = outputFormat(_options.output, kind);
        if (format && _options.pairs.size() > 1) {
            throw UsageError("a PNG or PPM file is one picture: it takes one byte pair");
        }
        sayWrongParity(_options.pairs);
        OutputFile output(_options.output);
        if (source && format) {
            StillPicture still = readStill(*source);
            draw(still.rows.buffer());
            copyRows(*still.rows.buffer(), still.image);
            writeImage(still.image, output, *format);
        } else if (source) {
            drawRaw(*source, kind.layout.value(), output);
        } else if (format) {
            drawBlack(kind.layout.value(), *format, output);
        } else {
            drawBlackPictures(kind.layout.value(), output);
        }
        checkCount();
        output.commit();
        if (_preview) {
            saveImage(*_preview, *_options.preview, _options.previewFormat);
        }
    }

private:
    void drawBlack(const PictureLayout& layout, ImageFormat format, OutputFile& output) {
        Image image(layout.width, layout.height);
        RawPicture rows({kPixelFormatBGRA, layout.width, kLine21Rows});
        draw(rows.buffer());
        copyRows(*rows.buffer(), image);
        writeImage(image, output, format);
    }

    void drawBlackPictures(const PictureLayout& layout, OutputFile& output) {
        Progress progress(_options.pairs.size(), output.isStandardOutput());
        RawPicture picture(layout);
        while (_pictures < _options.pairs.size()) {
            draw(picture.buffer());
            output.write(picture.bytes());
            progress.update(_pictures, _pictures);
        }
    }

    void drawRaw(NamedSource& source, const PictureLayout& layout, OutputFile& output) {
        Progress progress(source.size(), output.isStandardOutput());
        RawPicture picture(layout);
        while (readPicture(source, picture)) {
            draw(picture.buffer());
            output.write(picture.bytes());
            progress.update(_pictures, source.offset());
        }
    }

    void draw(const std::shared_ptr<PixelBuffer>& picture) {
        BytePair pair = _options.pairs.front();
        if (_options.pairs.size() > 1) {
            pair = _pictures < _options.pairs.size() ? _options.pairs[_pictures] : kNullPair;
        }
        _writer.overlayCEA608FromCCBuffer_size_intoPixelBuffer(pair.data(), pair.size(), picture);
        if (_pictures++ == 0 && _options.preview) {
            _preview = drawLine21(viewOf(_options.output, picture, titleOf(*picture)));
        }
    }

    void checkCount() const {
        if (_options.pairs.size() > 1 && _pictures < _options.pairs.size()) {
            throw failureIn(_options.input.value_or(_options.output),
                            counted(_pictures, "picture") + " for " + counted(_options.pairs.size(), "byte pair"));
        }
    }

    const Line21WriteOptions& _options;
    QLXCEA608ReaderWriter _writer;
    std::uint64_t _pictures = 0;
    std::optional<Image> _preview;
};

/// Prints what the pictures of a file hold.
class Reading {
public:
    Reading(const Line21ReadOptions& options, NamedSource& source, OutputFile& output)
        : _options(options), _source(source), _output(output) {}

    void run(const PictureKind& kind) {
        if (kind.file) {
            const StillPicture still = readStill(_source);
            show(still.rows.buffer());
            return;
        }
        Progress progress(_source.size(), _output.isStandardOutput());
        RawPicture picture(kind.layout.value());
        const bool isTerminal = _output.isStandardOutput() && standardOutputIsTerminal();
        while (readPicture(_source, picture)) {
            show(picture.buffer());
            if (isTerminal) {
                _output.flush();
            }
            progress.update(_pictures, _source.offset());
        }
    }

    [[nodiscard]] const std::optional<Image>& preview() const { return _preview; }

private:
    void show(const std::shared_ptr<PixelBuffer>& picture) {
        if (_pictures == 0 && _options.preview) {
            _preview = drawLine21(viewOf(_source.name(), picture, titleOf(*picture)));
        }
        const Data sample = sampleOf(_reader, picture);
        if (!sample) {
            throw platformFailure(_source.name());
        }
        const std::array<BytePair, 2> pairs = pairsIn(*picture);
        _output.write(_options.asJson ? jsonOf(sample, pairs) : linesFor(sample, pairs));
        ++_pictures;
    }

    /// The first pair is of field 1, the other of field 2.
    [[nodiscard]] static std::string nameOf(std::span<const BytePair> pairs, std::size_t index) {
        const auto& [first, second] = pairs[index];
        return cea608::nameOfPair(first, second, static_cast<std::uint8_t>(index + 1));
    }

    [[nodiscard]] std::string linesFor(const Data& sample, std::span<const BytePair> pairs) const {
        std::string text = _pictures == 0 ? "   frame  sample    row  pair  what\n" : "";
        for (std::size_t index = 0; index < pairs.size(); ++index) {
            text += index == 0 ? rightAligned(_pictures, kFrameWidth) + "  " + hex(sample)
                               : std::string(kFrameWidth + 2 + 2 * sample.size(), ' ');
            text += rightAligned(index + 1, 5) + "  " + hex(pairs[index]) + "  " + parityText(pairs[index]) + ", " +
                    nameOf(pairs, index) + "\n";
        }
        return text;
    }

    [[nodiscard]] std::string jsonOf(const Data& sample, std::span<const BytePair> pairs) const {
        Array rows;
        for (std::size_t index = 0; index < pairs.size(); ++index) {
            const BytePair& pair = pairs[index];
            rows.emplace_back(Dictionary{{"row", index + 1},
                                         {"pair", hex(pair)},
                                         {"parityOk", Value(hasOddParity(pair[0]) && hasOddParity(pair[1]))},
                                         {"name", nameOf(pairs, index)}});
        }
        Dictionary object{{"frame", _pictures}, {"sample", hex(sample)}, {"rows", rows}};
        setSchema(object, "qlxcc/line21/1", _pictures == 0);
        return jsonText(Value(std::move(object))) + "\n";
    }

    const Line21ReadOptions& _options;
    NamedSource& _source;
    OutputFile& _output;
    QLXCEA608ReaderWriter _reader;
    std::uint64_t _pictures = 0;
    std::optional<Image> _preview;
};

/// Throws Failure when a preview is asked for that cannot be written here.
void requirePreview(const std::optional<std::string>& preview, ImageFormat format) {
    if (preview && format == ImageFormat::Png) {
        requirePng(*preview);
    }
}

}  // namespace

int writeLine21(const Line21WriteOptions& options) {
    requirePreview(options.preview, options.previewFormat);
    if (options.input) {
        refuseInputAsOutput(*options.input, options.output);
        refuseInputAsOutput(*options.input, options.preview);
    }
    Writing(options).run();
    return kExitSuccess;
}

int readLine21(const Line21ReadOptions& options) {
    requirePreview(options.preview, options.previewFormat);
    refuseInputAsOutput(options.file, options.output);
    refuseInputAsOutput(options.file, options.preview);
    InputFile source(options.file);
    const PictureKind kind = pictureKindOf(source, options.pictures);
    OutputFile output(options.output);
    Reading reading(options, source, output);
    try {
        reading.run(kind);
    } catch (const Failure&) {
        output.flushWhatCame();
        throw;
    }
    output.commit();
    if (reading.preview()) {
        saveImage(*reading.preview(), *options.preview, options.previewFormat);
    }
    return kExitSuccess;
}

}  // namespace qlx::tool
