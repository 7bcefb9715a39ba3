// Start codes, NAL units and SEI messages: bytes worked out by hand.
#include <qlx/video/captions.h>
#include <qlx/video/mpeg2.h>
#include <qlx/video/nal.h>
#include <qlx/video/sei.h>

#include "ExactBuffer.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::video::Codec;
using qlx::video::LengthPrefixedUnits;
using qlx::video::SeiMessages;
using qlx::video::StartCodeUnits;
using qlxtest::ExactBuffer;
using qlxtest::fromHex;
using qlxtest::toHex;
using Bytes = std::vector<std::uint8_t>;

template <class Units>
std::string unitsIn(const Units& units) {
    std::string text;
    for (const qlx::video::UnitView& unit : units) {
        text += std::to_string(unit.offset) + ":" + toHex(unit.bytes) + " ";
    }
    return text;
}

std::string codesOf(const Findings& findings) {
    std::string text;
    for (const Finding& finding : findings) {
        text += "@" + std::to_string(finding.offset) + " " + finding.text() + "; ";
    }
    return text;
}

std::string messagesIn(const std::string& unit, Codec codec, Findings& findings) {
    const ExactBuffer bytes(fromHex(unit));
    Bytes room(bytes.size());
    std::string text;
    for (const qlx::video::SeiMessageView& message : SeiMessages(bytes.span(), codec, room, &findings)) {
        text +=
            std::to_string(message.type) + "@" + std::to_string(message.offset) + ":" + toHex(message.payload) + " ";
    }
    return text;
}

std::string repeated(const char* byte, std::size_t count) {
    std::string text;
    for (std::size_t index = 0; index < count; ++index) {
        text += byte;
    }
    return text;
}

}  // namespace

TEST(StartCodes, AreFoundAtEveryPlace) {
    for (std::size_t size = 0; size < 80; ++size) {
        for (std::size_t place = 0; place + 3 <= size; ++place) {
            ExactBuffer bytes = ExactBuffer::filled(size, 0xA5);
            bytes[place] = bytes[place + 1] = 0;
            bytes[place + 2] = 1;
            for (std::size_t from = 0; from < size + 3; ++from) {
                ASSERT_EQ(qlx::video::findStartCode(bytes.span(), from), from <= place ? place : size)
                    << size << " " << place << " " << from;
            }
        }
    }
    EXPECT_EQ(qlx::video::findStartCode({}), 0U);
}

TEST(StartCodes, DivideAStream) {
    const auto units = [](const std::string& hex) {
        const ExactBuffer bytes(fromHex(hex));
        return unitsIn(StartCodeUnits(bytes.span()));
    };
    EXPECT_EQ(units(""), "");
    EXPECT_EQ(units("0000"), "");
    EXPECT_EQ(units("000001"), "");
    EXPECT_EQ(units("ff 000001 b3 11 00000001 00 22 000001"), "4:b31100 10:0022 ");
    EXPECT_EQ(units("000001 000001 09"), "6:09 ");
    EXPECT_EQ(units("00000001 09f0 000001 65 88 000000"), "4:09f0 9:6588000000 ");
    EXPECT_EQ(toHex(qlx::video::withoutTrailingZeros(fromHex("6500880000"))), "650088");
}

TEST(LengthPrefixedUnits, FollowTheirLengths) {
    const auto units = [](const std::string& hex, std::size_t lengthBytes, const std::string& told) {
        const ExactBuffer bytes(fromHex(hex));
        Findings findings;
        const std::string text = unitsIn(LengthPrefixedUnits(bytes.span(), lengthBytes, &findings));
        EXPECT_EQ(codesOf(findings), told) << hex;
        EXPECT_EQ(unitsIn(LengthPrefixedUnits(bytes.span(), lengthBytes)), text);
        return text;
    };
    EXPECT_EQ(units("", 4, ""), "");
    EXPECT_EQ(units("00000002 09f0 00000001 65", 4, ""), "4:09f0 10:65 ");
    EXPECT_EQ(units("0002 09f0 0001 65", 2, ""), "2:09f0 6:65 ");
    EXPECT_EQ(units("000002 09f0", 3, ""), "3:09f0 ");
    EXPECT_EQ(units("02 09f0", 0, ""), "1:09f0 ") << "at least one byte";
    EXPECT_EQ(units("00 02 09f0", 1, "@0 empty unit; "), "1: 2:09f0 ");
    EXPECT_EQ(units("00000003 09f0", 4, "@0 unit of 3 bytes, of which 2 are there; "), "4:09f0 ");
    EXPECT_EQ(units("ffffffff 09", 4, "@0 unit of 4294967295 bytes, of which 1 are there; "), "4:09 ");
    EXPECT_EQ(units("0001 09 00", 2, "@3 1 bytes at the end are no unit behind a length of 2 bytes; "), "2:09 ");
    EXPECT_EQ(units("0001", 2, "@0 2 bytes at the end are no unit behind a length of 2 bytes; "), "");
}

TEST(LengthPrefixedUnits, HaveTheLengthOfTheirConfiguration) {
    const auto bytesOf = [](const std::string& hex, Codec codec) {
        const ExactBuffer exact(fromHex(hex));
        const auto bytes = qlx::video::parseLengthBytes(exact.span(), codec);
        return bytes ? std::to_string(*bytes) : bytes.error().text();
    };
    EXPECT_EQ(bytesOf("01 64001f ff e1 0000", Codec::H264), "4");
    EXPECT_EQ(bytesOf("01 64001f fd e1 00", Codec::H264), "2");
    EXPECT_EQ(bytesOf("01 64001f fd e1", Codec::H264), "6 bytes, 7 are needed");
    EXPECT_EQ(bytesOf("00000001 6764001f", Codec::H264), "configuration record of version 0, not 1");
    const std::string record = "01 01 60000000 900000000000 5d f000 fc fd f8 f8 0000";
    EXPECT_EQ(bytesOf(record + "0f 00", Codec::H265), "4");
    EXPECT_EQ(bytesOf(record + "0c 00", Codec::H265), "1");
    EXPECT_EQ(bytesOf(record + "0c", Codec::H265), "22 bytes, 23 are needed");
}

TEST(EmulationPrevention, IsTakenOut) {
    const auto without = [](const std::string& hex, std::size_t room) {
        const ExactBuffer bytes(fromHex(hex));
        ExactBuffer to = ExactBuffer::filled(room, 0);
        return toHex(qlx::video::withoutEmulationPrevention(bytes.span(), to.span()));
    };
    EXPECT_EQ(without("000003 000003 01", 9), "0000000001");
    EXPECT_EQ(without("0003 00000003 000301", 9), "0003000000000301") << "03 behind one zero stays";
    EXPECT_EQ(without("000003", 3), "0000");
    EXPECT_EQ(without("000003 01", 2), "0000");
    EXPECT_EQ(without("0102", 0), "");
    Bytes own = fromHex("01 000003 02");
    EXPECT_EQ(toHex(qlx::video::withoutEmulationPrevention(own, own)), "01000002");
}

TEST(SeiMessages, AreReadOneByOne) {
    Findings findings;
    EXPECT_EQ(messagesIn("06 0102aabb 050111 80", Codec::H264, findings), "1@3:aabb 5@7:11 ");
    EXPECT_EQ(messagesIn("06 0100 80 000000", Codec::H264, findings), "1@3: ") << "zeros behind";
    EXPECT_EQ(messagesIn("4e01 0102aabb 80", Codec::H265, findings), "1@4:aabb ");
    EXPECT_EQ(messagesIn("5001 840111 80", Codec::H265, findings), "132@4:11 ");
    EXPECT_TRUE(findings.empty()) << codesOf(findings);
    // 255 + 255 + 2 = 512 bytes of type 255 + 0.
    EXPECT_EQ(messagesIn("06 ff00 ffff02" + repeated("77", 512) + "80", Codec::H264, findings),
              "255@6:" + repeated("77", 512) + " ");
    // Emulation prevention in the payload does not count: 00 00 00 01.
    EXPECT_EQ(messagesIn("06 0404 000003 0001 80", Codec::H264, findings), "4@3:00000001 ");
    EXPECT_TRUE(findings.empty()) << codesOf(findings);
}

TEST(SeiMessages, SayWhatIsWrong) {
    const auto told = [](const std::string& unit) {
        Findings findings;
        const std::string text = messagesIn(unit, Codec::H264, findings);
        return text + "| " + codesOf(findings);
    };
    EXPECT_EQ(told("26 010111 80"), "1@3:11 | @0 SEI unit with nal_ref_idc 1, not 0; ");
    EXPECT_EQ(told("06 010111"), "1@3:11 | @4 no trailing bits behind the last SEI message; ");
    EXPECT_EQ(told("06 010211"), "| @3 SEI message of 2 bytes, of which 1 are there; ");
    EXPECT_EQ(told("06 ffff"), "| @3 SEI message of 0 bytes, of which 2 are there; ");
    EXPECT_EQ(told("06 01ff"), "| @3 SEI message of 0 bytes, of which 2 are there; ");
    EXPECT_EQ(told("06"), "| @1 no trailing bits behind the last SEI message; ");
    // What the room does not hold is missing, and said.
    Findings findings;
    Bytes room(3);
    const Bytes unit = fromHex("06 010111 010122 80");
    std::size_t count = 0;
    for (const auto& message : SeiMessages(unit, Codec::H264, room, &findings)) {
        count += message.payload.size();
    }
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(codesOf(findings), "@1 7 bytes do not fit into 3; @4 no trailing bits behind the last SEI message; ");
}

TEST(SeiMessages, NeedNoRoomForEmulationPrevention) {
    // Behind the header 04 03 00 00 00 80: six bytes, and one to prevent emulation.
    const Bytes unit = fromHex("06 0403 000003 00 80");
    for (std::size_t size = 0; size < 9; ++size) {
        Findings findings;
        ExactBuffer room = ExactBuffer::filled(size, 0);
        std::string text;
        for (const auto& message : SeiMessages(unit, Codec::H264, room.span(), &findings)) {
            text += toHex(message.payload);
        }
        EXPECT_EQ(text, size < 5 ? "" : "000000") << size;
        EXPECT_EQ(codesOf(findings).find("6 bytes do not fit into") != std::string::npos, size < 6) << size;
        EXPECT_EQ(findings.empty(), size >= 6) << codesOf(findings);
    }
}

namespace {

// country B5, provider 0031, "GA94", type 03, flags, em_data, triplets, marker.
const std::string kFirst = "b50031 47413934 03 c2 ff fc942c fd8080 ff";  // 17 bytes.
const std::string kSecond = "b50031 47413934 03 c1 ff ff1234 ff";        // 14 bytes.
const std::string kAfd = "b50031 44544731 41 f8";                        // DTG1: 9 bytes.

/// The triplets of each message, and what was told.
std::string captionsIn(const std::string& hex, const qlx::video::StreamForm& form) {
    const ExactBuffer picture(fromHex(hex));
    Findings findings;
    qlx::video::CaptionMessages messages(picture.span(), form, &findings);
    std::string text;
    while (const auto message = messages.next()) {
        text += std::to_string(message->offset) + ":" + toHex(message->captions.triplets.bytes()) + " ";
    }
    EXPECT_FALSE(messages.next());
    qlx::video::CaptionMessages quiet(picture.span(), form);
    while (quiet.next()) {
    }
    return text + "| " + codesOf(findings);
}

}  // namespace

TEST(PictureCaptions, AreThoseOfEveryMessageOfEveryUnit) {
    const std::string units = "000001 06 0409" + kAfd + "0411" + kFirst + "040e" + kSecond +
                              "80 000001 6588 00000001 26 0411" + kFirst + "80";
    // 3 + 1 + (2 + 9) + (2 + 17) + (2 + 14) + 1 + 5 + 4 = 60; the messages of the second unit behind it.
    EXPECT_EQ(captionsIn(units, {Codec::H264}),
              "3:fc942cfd8080 3:ff1234 60:fc942cfd8080 | @60 SEI unit with nal_ref_idc 1, not 0; ");
    EXPECT_EQ(captionsIn("00000015 06 0411" + kFirst + "80 00000002 6588 00000012 06 040e" + kSecond + "80",
                         {Codec::H264, 4}),
              "4:fc942cfd8080 35:ff1234 | ");
    EXPECT_EQ(
        captionsIn("000001 4e01 0411" + kFirst + "80 000001 2601af 000001 5001 040e" + kSecond + "80", {Codec::H265}),
        "3:fc942cfd8080 34:ff1234 | ");
    // Triplets with emulation prevention: fe 00 00 00 as fe 00 00 03 00.
    EXPECT_EQ(captionsIn("000001 06 0411 b50031 47413934 03 c2 ff fe0000 03 fe0001 ff 80", {Codec::H264}),
              "3:fe0000fe0001 | ");
}

TEST(PictureCaptions, AreThoseOfAllUserDataOfMpeg2) {
    const std::string a53 = "47413934 03 c1 ff fc942c ff";
    EXPECT_EQ(captionsIn("000001 00 000ffff8 000001 b5 8ffff3 41 80 000001b2" + a53 +
                             "00 000001b2 44544731 41 f8"
                             "000001b2 47413934 03 41 ff fd8080 ff 000001 01 1122",
                         {Codec::Mpeg2}),
              "20:fc942c 46:fd8080 | ");
    EXPECT_EQ(captionsIn("000001b2 47413934 03 c2 ff fc942c", {Codec::Mpeg2}),
              "3:fc942c | @14 2 triplets announced, 1 are there; ");
    EXPECT_EQ(captionsIn("000001b2 47413934 03", {Codec::Mpeg2}), "| @4 user data of 5 bytes, 7 are needed; ");
}

TEST(PictureCaptions, StayInsideEveryPicture) {
    const Bytes annexB = fromHex("000001 06 0411" + kFirst + "040e" + kSecond + "80 000001 6588");
    const Bytes lengths = fromHex("00000025 06 0411" + kFirst + "040e" + kSecond + "80");
    const Bytes mpeg2 = fromHex("000001b2 47413934 03 c2 ff fc942c fd8080 ff 000001b2 47413934 03 c1 ff fc942c ff");
    for (const auto& [whole, form] : {std::pair{annexB, qlx::video::StreamForm{Codec::H264}},
                                      std::pair{lengths, qlx::video::StreamForm{Codec::H264, 4}},
                                      std::pair{mpeg2, qlx::video::StreamForm{Codec::Mpeg2}}}) {
        qlxtest::forEachTruncation(whole, [&form = form](const ExactBuffer& part) {
            qlx::Findings findings;
            qlx::video::CaptionMessages messages(part.span(), form, &findings);
            std::size_t triplets = 0;
            while (const auto message = messages.next()) {
                triplets += message->captions.triplets.size();
            }
            EXPECT_LE(triplets, 3U);
            for (const Finding& finding : findings) {
                EXPECT_LE(finding.offset, part.size());
            }
        });
    }
}

TEST(Mpeg2UserData, StandBehindTheirHeader) {
    const ExactBuffer bytes(
        fromHex("000001b3 16 000001b2 41 000001b8 00 000001b2 42 00 00000100 1aaf 000001b5 80 000001b2 "
                "4344 000001 01 11"));
    std::string text;
    for (const auto& data : qlx::video::Mpeg2UserData(bytes.span())) {
        text += std::to_string(static_cast<int>(data.level)) + "@" + std::to_string(data.offset) + ":" +
                toHex(data.bytes) + " ";
    }
    EXPECT_EQ(text, "0@9:41 1@19:4200 2@36:4344 ");
    // 0001101010 101 111: reference 106, type 5.
    const auto header = qlx::video::parseMpeg2Picture(fromHex("00 1aaf"));
    ASSERT_TRUE(header);
    EXPECT_EQ(*header, (qlx::video::Mpeg2PictureHeader{106, static_cast<qlx::video::Mpeg2PictureType>(5)}));
    const auto cut = qlx::video::parseMpeg2Picture(fromHex("00 1a"));
    ASSERT_FALSE(cut);
    EXPECT_EQ(cut.error(), (Finding{FindingCode::VideoUnitTooShort, qlx::Severity::Error, 0, 3, 2}));
}
