// CEA-608 captions as the waveform of line 21 in the top rows of a picture.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/MediaObjects.h>
#include <QLXClosedCaptionsUtilities/platform/PixelBuffers.h>
#include <QLXClosedCaptionsUtilities/platform/Range.h>

#include <cstdint>
#include <memory>

/// Draws CEA-608 byte pairs into the first three rows of a picture and reads them back from rows 1 and 2: clock run-in,
/// start bits, and sixteen data bits of 27 pixels each, least significant first (CTA-608 at 13.5 MHz sampling).
///
/// Both ways lead through a picture of three `BGRA` rows, as wide as the video, which an object keeps together with the
/// transfer session until the width changes. Nothing raises; a step that the platform refuses leaves the video alone or
/// gives null. An object is for one thread at a time; different objects are independent.
class QLX_EXPORT QLXCEA608ReaderWriter {
public:
    /// Makes the waveform's parts; picture and session are made when first needed.
    QLXCEA608ReaderWriter();
    QLXCEA608ReaderWriter(const QLXCEA608ReaderWriter&) = delete;
    QLXCEA608ReaderWriter& operator=(const QLXCEA608ReaderWriter&) = delete;
    ~QLXCEA608ReaderWriter();

    /// The 274 `BGRA` pixels (1096 bytes) before the data bits: 13 black ones, seven cycles of the clock between black
    /// and grey 127, and the start bits 0, 0 (46 pixels) and 1 (26 pixels). Re-entrant.
    /// Departs from CTA-608: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data generateCEA608RunIn();

    /// The 27 `BGRA` pixels (108 bytes) of one bit: grey 127 for a 1, black for a 0. Re-entrant.
    /// Departs from CTA-608: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data generateCEA608BitWithValue(bool value);

    /// Makes the picture of lines anew when `width` differs from that of the call before, and whatever of picture and
    /// session is still missing. A session that is refused is reported to the system log.
    /// @param width Pixels; the fraction is cut off. A width that no picture can have leaves none.
    void updateCEA608PixelTransferSessionAndPixelBufferWithWidth(double width);

    /// A view of some rows of the sample's picture. Nothing is copied, and the view keeps the picture's memory alive.
    /// @param rows The first row, 0-based, and the number of rows.
    /// @param sampleBuffer A sample with a picture.
    /// @return Null without a picture, when the view is refused, or when one of the rows lies outside the picture.
    [[nodiscard]] std::shared_ptr<qlx::PixelBuffer> pixelBufferWithRows_fromSampleBuffer(
        const qlx::Range& rows, const std::shared_ptr<qlx::SampleBuffer>& sampleBuffer);

    /// The `clcp`/`c608` sample of what is drawn in rows 1 and 2 of the sample's picture, with that sample's timing
    /// (all zero if it has none).
    ///
    /// Its four bytes are those of row 1, 0, 0, with those of row 2 ORed in from the second byte on: a picture that
    /// overlayCEA608FromCCBuffer:size:intoPixelBuffer: has drawn the pair a, b into gives a, b | 0x80, 0x80, 0. Cells
    /// that lie outside a narrow picture count as 0. Rows of more than 1368 pixels hold a further run of eight cells
    /// (the 41st to the 48th), and still wider ones another after every 32 cells (from pixels 2232, 3096 ... on), which
    /// are ORed into the row's second byte: hosts rely on these bytes.
    /// Departs from CTA-608: see docs/COMPATIBILITY.md.
    /// @param sampleBuffer A sample with a picture.
    /// @return Null without a sample or picture, when the picture has fewer than three rows, or when a step fails; a
    ///         refused session, transfer or sample is reported to the system log.
    [[nodiscard]] std::shared_ptr<qlx::SampleBuffer> createClosedCaptionSampleFromCEA608VideoSampleBuffer(
        const std::shared_ptr<qlx::SampleBuffer>& sampleBuffer);

    /// Draws a byte pair into row 1 of a picture, black into row 0, and the pair 0x80, 0x80 into row 2.
    ///
    /// The picture stays as it is when it has fewer than three rows or is not wider than 274 pixels, with fewer than
    /// two bytes or none (null), or when a step fails. Bits that do not fit into the row are cut off. In a `420v` picture
    /// row 3 shares its chroma with row 2, and loses its colour.
    /// Departs from CTA-608: see docs/COMPATIBILITY.md.
    /// @param ccBuffer The bytes, parity included; only the first two are used.
    /// @param size Bytes of the buffer.
    /// @param pixelBuffer The picture, changed in place; without one nothing happens.
    void overlayCEA608FromCCBuffer_size_intoPixelBuffer(const std::uint8_t* ccBuffer, std::uint64_t size,
                                                        const std::shared_ptr<qlx::PixelBuffer>& pixelBuffer);

    /// The same with the bytes of `data`; none is no byte.
    /// Departs from CTA-608: see docs/COMPATIBILITY.md.
    void overlayCEA608FromData_videoPixelBuffer(const qlx::Data& data,
                                                const std::shared_ptr<qlx::PixelBuffer>& pixelBuffer);

    /// The same with the bytes of `blockBuffer`; nothing is drawn when they cannot be reached.
    /// Departs from CTA-608: see docs/COMPATIBILITY.md.
    void overlayCEA608FromBlockBuffer_videoPixelBuffer(const std::shared_ptr<qlx::BlockBuffer>& blockBuffer,
                                                       const std::shared_ptr<qlx::PixelBuffer>& pixelBuffer);

private:
    std::shared_ptr<qlx::PixelTransferSession> _transferSession;
    std::shared_ptr<qlx::PixelBuffer> _cea608LinesPixelBuffer;
    double _cea608PixelBufferWidth = 0.0;
    qlx::Data _cea608RunInData;
    qlx::Data _cea608BitOnOneData;
    qlx::Data _cea608BitOnZeroData;
};
