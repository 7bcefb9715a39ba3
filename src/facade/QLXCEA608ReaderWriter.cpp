#include <QLXClosedCaptionsUtilities/QLXCEA608ReaderWriter.h>

#include <QLXClosedCaptionsUtilities/platform/Format.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <qlx/anc/caption_atom.h>

#include "facade/Line21Picture.h"
#include "facade/OneSample.h"

#include <array>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

namespace {

using qlx::MediaStatus;
using qlx::PixelAccess;

constexpr std::string_view kSessionMessage = "CEA608:VTPixelTransferSessionCreate Error: %i";
constexpr std::string_view kTransferMessage = "CEA608:VTPixelTransferSessionTransferImage Error: %i";
constexpr std::string_view kSampleMessage = "CEA608:CMSampleBufferCreate Error: %i";

void logStatus(std::string_view message, MediaStatus status) {
    qlx::services().get<qlx::Console>().log(qlx::formatted(message, status));
}

qlx::PixelBufferFactory& pictures() {
    return qlx::services().get<qlx::PixelBufferFactory>();
}

/// Holds a picture locked until it is gone; false when the lock was refused.
class Lock {
public:
    Lock(qlx::PixelBuffer& picture, PixelAccess access)
        : _picture(picture), _access(access), _factory(pictures()),
          _locked(_factory.lockBaseAddress(picture, access) == 0) {}
    ~Lock() {
        if (_locked) {
            _factory.unlockBaseAddress(_picture, _access);
        }
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    explicit operator bool() const { return _locked; }

private:
    qlx::PixelBuffer& _picture;
    PixelAccess _access;
    qlx::PixelBufferFactory& _factory;
    bool _locked;
};

std::shared_ptr<qlx::PixelBuffer> viewOf(const std::shared_ptr<qlx::PixelBuffer>& picture, const qlx::Range& rows) {
    std::shared_ptr<qlx::PixelBuffer> view;
    return pictures().createView(picture, rows, &view) == 0 ? view : nullptr;
}

/// The width as a number of pixels; 0, which no picture has, for one that is out of range.
std::uint64_t pixelsOfWidth(double width) {
    return width >= 1.0 && width < static_cast<double>(qlx::kMaximumPictureSide) + 1.0
               ? static_cast<std::uint64_t>(width)
               : 0;
}

/// True when the picture's memory holds all lines, whoever made it.
bool holdsLines(const qlx::PixelBuffer& lines) {
    return lines.bytesPerRow() <= lines.dataSize() / qlx::facade::line21::kRows;
}

/// The bytes that are drawn in rows 1 and 2 of the picture of lines; none when it is not as large as it should be.
std::optional<std::array<std::uint8_t, qlx::facade::line21::kSampleBytes>> readLines(qlx::PixelBuffer& lines) {
    const std::uint8_t* base = nullptr;
    {
        const Lock lock(lines, PixelAccess::ReadOnly);
        if (!lock || !holdsLines(lines)) {
            return std::nullopt;
        }
        base = lines.baseAddress();
    }
    // The bytes are read after the unlock: nobody else has this picture.
    const std::size_t bytesPerRow = lines.bytesPerRow();
    std::array<std::uint8_t, qlx::facade::line21::kSampleBytes> bytes{};
    for (std::size_t row = 1; row < qlx::facade::line21::kRows; ++row) {
        qlx::facade::line21::readCells({base + row * bytesPerRow, bytesPerRow}, std::span(bytes).subspan(row - 1));
    }
    return bytes;
}

}  // namespace

QLXCEA608ReaderWriter::QLXCEA608ReaderWriter()
    : _cea608RunInData(generateCEA608RunIn()), _cea608BitOnOneData(generateCEA608BitWithValue(true)),
      _cea608BitOnZeroData(generateCEA608BitWithValue(false)) {}

QLXCEA608ReaderWriter::~QLXCEA608ReaderWriter() = default;

qlx::Data QLXCEA608ReaderWriter::generateCEA608RunIn() {
    return qlx::facade::line21::runIn();
}

qlx::Data QLXCEA608ReaderWriter::generateCEA608BitWithValue(bool value) {
    return qlx::facade::line21::cell(value);
}

void QLXCEA608ReaderWriter::updateCEA608PixelTransferSessionAndPixelBufferWithWidth(double width) {
    if (width != _cea608PixelBufferWidth) {
        _cea608LinesPixelBuffer = nullptr;
        _cea608PixelBufferWidth = width;
    }
    if (!_cea608LinesPixelBuffer) {
        std::shared_ptr<qlx::PixelBuffer> lines;
        if (pictures().createPixelBuffer(pixelsOfWidth(width), qlx::facade::line21::kRows, qlx::kPixelFormatBGRA,
                                         &lines) == 0) {
            _cea608LinesPixelBuffer = std::move(lines);
        }
    }
    if (!_transferSession) {
        std::shared_ptr<qlx::PixelTransferSession> session;
        const MediaStatus status = pictures().createTransferSession(&session);
        if (status == 0) {
            _transferSession = std::move(session);
        } else {
            logStatus(kSessionMessage, status);
        }
    }
}

std::shared_ptr<qlx::PixelBuffer> QLXCEA608ReaderWriter::pixelBufferWithRows_fromSampleBuffer(
    const qlx::Range& rows, const std::shared_ptr<qlx::SampleBuffer>& sampleBuffer) {
    if (!sampleBuffer || !sampleBuffer->imageBuffer) {
        return nullptr;
    }
    // Locked only while the view takes the picture's address.
    const Lock lock(*sampleBuffer->imageBuffer, PixelAccess::ReadOnly);
    return lock ? viewOf(sampleBuffer->imageBuffer, rows) : nullptr;
}

std::shared_ptr<qlx::SampleBuffer> QLXCEA608ReaderWriter::createClosedCaptionSampleFromCEA608VideoSampleBuffer(
    const std::shared_ptr<qlx::SampleBuffer>& sampleBuffer) {
    constexpr qlx::Range kCaptionRows{1, 2};
    qlx::MediaFactory& media = qlx::services().get<qlx::MediaFactory>();
    std::shared_ptr<const qlx::FormatDescription> format;
    if (media.createFormatDescription(qlx::anc::kCaptionMedia, qlx::anc::kCea608Samples, {}, &format) != 0 || !format) {
        return nullptr;
    }
    if (!sampleBuffer || !sampleBuffer->imageBuffer) {
        return nullptr;
    }
    updateCEA608PixelTransferSessionAndPixelBufferWithWidth(static_cast<double>(sampleBuffer->imageBuffer->width()));
    const std::shared_ptr<qlx::PixelBuffer> view = pixelBufferWithRows_fromSampleBuffer(kCaptionRows, sampleBuffer);
    if (!_cea608LinesPixelBuffer || !_transferSession || !view) {
        return nullptr;
    }
    if (const MediaStatus status = _transferSession->transferImage(*view, *_cea608LinesPixelBuffer); status != 0) {
        logStatus(kTransferMessage, status);
        return nullptr;
    }
    const auto bytes = readLines(*_cea608LinesPixelBuffer);
    if (!bytes) {
        return nullptr;
    }
    qlx::SampleTimingInfo timingInfo;
    if (media.sampleTimingInfo(*sampleBuffer, 0, &timingInfo) != 0) {
        timingInfo = {};
    }
    qlx::OneSample caption = qlx::makeOneSample(std::move(format), *bytes, timingInfo);
    if (caption.failedStage != qlx::SampleStage::None) {
        logStatus(kSampleMessage, caption.status);
        return nullptr;
    }
    return std::move(caption.sample);
}

void QLXCEA608ReaderWriter::overlayCEA608FromCCBuffer_size_intoPixelBuffer(
    const std::uint8_t* ccBuffer, std::uint64_t size, const std::shared_ptr<qlx::PixelBuffer>& pixelBuffer) {
    constexpr std::uint8_t kNullWithParity = 0x80;
    constexpr qlx::Range kLines{0, qlx::facade::line21::kRows};
    if (!pixelBuffer) {
        return;
    }
    updateCEA608PixelTransferSessionAndPixelBufferWithWidth(static_cast<double>(pixelBuffer->width()));
    if (!_cea608LinesPixelBuffer || !_transferSession) {
        return;
    }
    qlx::PixelBuffer& lines = *_cea608LinesPixelBuffer;
    const Lock linesLock(lines, PixelAccess::ReadWrite);
    const std::size_t bytesPerRow = lines.bytesPerRow();
    if (!linesLock || !ccBuffer || size < 2 || !holdsLines(lines) || _cea608RunInData.size() >= bytesPerRow) {
        return;
    }
    const qlx::facade::line21::Parts parts{_cea608RunInData, _cea608BitOnOneData, _cea608BitOnZeroData};
    qlx::facade::line21::drawBlack({lines.row(0), bytesPerRow});
    qlx::facade::line21::drawPair({lines.row(1), bytesPerRow}, parts, ccBuffer[0], ccBuffer[1]);
    qlx::facade::line21::drawPair({lines.row(2), bytesPerRow}, parts, kNullWithParity, kNullWithParity);

    const Lock videoLock(*pixelBuffer, PixelAccess::ReadWrite);
    if (!videoLock) {
        return;
    }
    if (const std::shared_ptr<qlx::PixelBuffer> view = viewOf(pixelBuffer, kLines)) {
        _transferSession->transferImage(lines, *view);
    }
}

void QLXCEA608ReaderWriter::overlayCEA608FromData_videoPixelBuffer(
    const qlx::Data& data, const std::shared_ptr<qlx::PixelBuffer>& pixelBuffer) {
    overlayCEA608FromCCBuffer_size_intoPixelBuffer(data.data(), data.size(), pixelBuffer);
}

void QLXCEA608ReaderWriter::overlayCEA608FromBlockBuffer_videoPixelBuffer(
    const std::shared_ptr<qlx::BlockBuffer>& blockBuffer, const std::shared_ptr<qlx::PixelBuffer>& pixelBuffer) {
    if (!blockBuffer) {
        return;
    }
    std::size_t totalLength = 0;
    std::uint8_t* pointer = nullptr;
    const MediaStatus status =
        qlx::services().get<qlx::MediaFactory>().blockBufferDataPointer(*blockBuffer, 0, &totalLength, &pointer);
    if (status == 0) {
        overlayCEA608FromCCBuffer_size_intoPixelBuffer(pointer, totalLength, pixelBuffer);
    }
}
