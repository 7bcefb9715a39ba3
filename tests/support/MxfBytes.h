// A small MXF file (SMPTE ST 377-1) with one ANC track (SMPTE ST 436-1), put together by hand.
#pragma once

#include "ExactBuffer.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace qlxtest {

class MxfFile {
public:
    /// What the header says of the whole file.
    struct Header {
        std::uint64_t footer = 0;   ///< The byte at which the footer begins; 0: it does not say.
        const char* status = "04";  ///< 01 open and incomplete, 02 closed and incomplete, 03 open, 04 closed.
    };

    /// @param elements The values of the ANC frame elements, in hexadecimal digits, one a frame at 25 frames a second.
    static std::vector<std::uint8_t> withAncFrames(const std::vector<std::string>& elements, const Header& header) {
        const std::string frames = number(elements.size(), 8);
        const std::string material = std::string(kUmid) + repeat("11", 16);
        const std::string source = std::string(kUmid) + repeat("22", 16);
        std::string sets;
        sets += set("18", "01", item("1901", batch({"02", "06"})) + item("1902", batch({"0b"})));
        sets += set("23", "0b", item("2701", source) + item("3f07", number(1, 4)));
        sets += set("36", "02", item("4401", material) + item("4403", batch({"03"})));
        sets += set("3b", "03", track(1, number(0, 4), "04"));
        sets += set("0f", "04", clip(frames) + item("1001", batch({"05"})));
        sets += set("11", "05",
                    clip(frames) + item("1201", number(0, 8)) + item("1101", source) + item("1102", number(1, 4)));
        sets += set("37", "06", item("4401", source) + item("4403", batch({"07"})) + item("4701", reference("0a")));
        sets += set("3b", "07", track(1, "17010201", "08"));
        sets += set("0f", "08", clip(frames) + item("1001", batch({"09"})));
        sets += set("11", "09",
                    clip(frames) + item("1201", number(0, 8)) + item("1101", repeat("00", 32)) +
                        item("1102", number(0, 4)));
        sets += set("5c", "0a",
                    item("3001", "0000001900000001") + item("3004", kAncContainer) + item("3006", number(1, 4)));
        std::string file = triplet("060e2b34020501010d01020101"
                                   "02" +
                                       std::string(header.status) + "00",
                                   partition(0, header.footer, sets.size() / 2)) +
                           sets;
        for (const std::string& element : elements) {
            file += triplet("060e2b34010201010d01030117010201", toHex(fromHex(element)));
        }
        return fromHex(file);
    }

    static std::vector<std::uint8_t> withAncFrames(const std::vector<std::string>& elements) {
        return withAncFrames(elements, Header());
    }

    /// A partition pack of a footer without anything in it.
    static std::vector<std::uint8_t> emptyFooter(std::uint64_t place) {
        return fromHex(triplet("060e2b34020501010d01020101040400", partition(place, place, 0)));
    }

    /// A random index pack (SMPTE ST 377-1), which ends a file and says where its partitions are.
    static std::vector<std::uint8_t> randomIndex(std::uint64_t footer) {
        // Key and length, twice a stream and the place of a partition, the length of all of it.
        return fromHex(triplet("060e2b34020501010d01020101110100", number(1, 4) + number(0, 8) + number(0, 4) +
                                                                       number(footer, 8) + number(20 + 24 + 4, 4)));
    }

private:
    static constexpr const char* kUmid = "060a2b340101010501010d2013000000";
    static constexpr const char* kAncContainer = "060e2b34040101090d010301020e0000";
    static constexpr const char* kDataEssence = "060e2b34040101010103020203000000";
    static constexpr const char* kOperationalPattern = "060e2b34040101010d01020101010900";

    static std::string repeat(const std::string& text, int count) {
        std::string result;
        for (int index = 0; index < count; ++index) {
            result += text;
        }
        return result;
    }

    static std::string number(std::uint64_t value, int bytes) {
        char text[17];
        std::snprintf(text, sizeof text, "%0*llx", bytes * 2, static_cast<unsigned long long>(value));
        return text;
    }

    static std::string triplet(const std::string& key, const std::string& value) {
        return key + "83" + number(value.size() / 2, 3) + value;
    }

    static std::string item(const std::string& tag, const std::string& value) {
        return tag + number(value.size() / 2, 2) + value;
    }

    static std::string reference(const std::string& instance) { return repeat("aa", 15) + instance; }

    static std::string batch(const std::vector<std::string>& instances) {
        std::string text = number(instances.size(), 4) + number(16, 4);
        for (const std::string& instance : instances) {
            text += reference(instance);
        }
        return text;
    }

    static std::string set(const std::string& kind, const std::string& instance, const std::string& items) {
        return triplet("060e2b34025301010d01010101"
                       "01" +
                           kind + "00",
                       item("3c0a", reference(instance)) + items);
    }

    static std::string clip(const std::string& frames) { return item("0201", kDataEssence) + item("0202", frames); }

    static std::string track(std::uint64_t id, const std::string& trackNumber, const std::string& sequence) {
        return item("4801", number(id, 4)) + item("4804", trackNumber) + item("4b01", "0000001900000001") +
               item("4803", reference(sequence));
    }

    /// A partition that begins at `place`.
    static std::string partition(std::uint64_t place, std::uint64_t footer, std::uint64_t headerBytes) {
        return number(1, 2) + number(2, 2) + number(1, 4) + number(place, 8) + number(0, 8) + number(footer, 8) +
               number(headerBytes, 8) + number(0, 8) + number(0, 4) + number(0, 8) + number(1, 4) +
               kOperationalPattern + number(1, 4) + number(16, 4) + kAncContainer;
    }
};

}  // namespace qlxtest
