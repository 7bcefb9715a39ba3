// Reads EBU STL files (EBU Tech 3264).
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/TextEncoding.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class QLXSubtitleRecord;

/// Class operations that read EBU STL files (EBU Tech 3264) into subtitle records. They keep no state and are
/// re-entrant.
class QLX_EXPORT QLXSTLFileReader {
public:
    QLXSTLFileReader() = delete;

    // Files

    /// Reads the EBU STL file at `path`: a General Subtitle Information block of 1024 bytes and Text and Timing
    /// Information blocks of 128 bytes.
    ///
    /// A file that is missing or unreadable, has a disk format code other than STL25.01 and STL30.01, announces no
    /// block, or is shorter than its blocks gives an empty array. Comment and user-data blocks are left out; every
    /// other block is a record of its own, extension blocks too. Text is read as ISO 6937 Latin whatever the
    /// file's character code table says.
    /// Departs from EBU Tech 3264: see docs/COMPATIBILITY.md.
    /// @return The records in block order: valid, of no subtitle mode, times in seconds, lines with text, colour,
    ///   alignment and row.
    [[nodiscard]] static std::vector<std::shared_ptr<QLXSubtitleRecord>> subtitleRecordsFromSTLFileAtPath(
        const std::string& path);

    /// The same on a serial queue of its own; `completionHandler` gets the result on the main queue, never on the
    /// caller's thread before this operation returns. Without a handler nothing is read.
    /// Departs from EBU Tech 3264: see docs/COMPATIBILITY.md.
    static void subtitleRecordsFromSTLFileAtPath_withCompletionHandler(
        std::string path, std::function<void(std::vector<std::shared_ptr<QLXSubtitleRecord>>)> completionHandler);

    // Fields

    /// The seconds of a time code: one byte each of hours, minutes, seconds and frames.
    /// @param bytes The time code; null gives 0.0.
    /// @param length Must be 4, else 0.0.
    /// @param framesPerSecond Frames a second; not checked.
    [[nodiscard]] static double secondsFromSTLBytes_length_framesPerSecond(const std::uint8_t* bytes,
                                                                           std::uint64_t length,
                                                                           double framesPerSecond) noexcept;

    /// The text of `length` bytes, as UTF-8; none when one of them has no character in `encoding`, or `bytes` is null
    /// although there should be some.
    [[nodiscard]] static std::optional<std::string> stringWithBytes_length_encoding(const std::uint8_t* bytes,
                                                                                    std::uint64_t length,
                                                                                    qlx::TextEncoding encoding);

    /// The text (UTF-8) of the bytes of one line of a text field.
    ///
    /// Bytes below 0x20 are passed over, unless a diacritical mark (0xC0 to 0xCF) in front takes them as its letter; a
    /// mark at the end is a space. None when what comes out is not well-formed UTF-8: a byte from 0x80 to 0x9F that no
    /// mark takes, or a mark in front of 0x00.
    /// Departs from EBU Tech 3264: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::optional<std::string> stringWithTTIEncodedData(const qlx::Data& data);

    /// The one or two UTF-8 bytes of a character, the first in the low 8 bits; one byte when below 256.
    ///
    /// What has no letter gives 0x00 and a letter or space: deployed hosts expect the pair.
    /// Departs from EBU Tech 3264: see docs/COMPATIBILITY.md.
    /// @param byte1 The character, or a diacritical mark (0xC0 to 0xCF) of ISO 6937.
    /// @param byte2 The letter under the mark; 0 when there is no second byte.
    [[nodiscard]] static std::uint16_t UTF8CharacterWithByte1_byte2(std::uint8_t byte1, std::uint8_t byte2) noexcept;

    /// The encoding of a character code table number: 1 ISO 8859-5, 2 ISO 8859-6, 3 ISO 8859-7, 4 ISO 8859-8, any
    /// other ISO 8859-1. The reader does not use it.
    /// Departs from EBU Tech 3264: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::TextEncoding stringEncodingWithCharacterCodeTable(std::int32_t table) noexcept;

    /// The value of hexadecimal digits in either case, its low 32 bits; any other character (UTF-16 code unit) is a
    /// digit 0. Each digit's value goes to the system log, the last one first. The reader does not use it.
    [[nodiscard]] static std::int32_t integerWithHexString(std::string_view text);

private:
    class BlockReader;
};
