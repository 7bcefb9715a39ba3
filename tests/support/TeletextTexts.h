// Every letter of languages, in both cases, as rows of a teletext page, and the packets that send them.
#pragma once

#include <qlx/teletext/packet.h>
#include <qlx/teletext/row_encoder.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlxtest {

/// Letters of a language: of all but the first few they are those beside A to Z.
struct LanguageLetters {
    std::string_view language;
    std::vector<std::u32string_view> rows;  ///< At most 36 characters each.
};

inline std::vector<LanguageLetters> languageLetters() {
    constexpr std::u32string_view kCapitals = U"ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    constexpr std::u32string_view kSmall = U"abcdefghijklmnopqrstuvwxyz";
    std::vector<LanguageLetters> languages{
        {"en", {U"0123456789 !\"%&'()*+,-./:;<=>?", U"£$@#½¼¾÷"}},
        {"de", {U"ÄÖÜäöüß§°", U"Falsches Üben von Xylophonmusik"}},
        {"sv", {U"ÅÄÖÉåäöé"}},
        {"fi", {U"ÅÄÖŠŽåäöšž"}},
        {"hu", {U"ÁÉÍÓÖŐÚÜŰáéíóöőúüű"}},
        {"da", {U"ÆØÅÉæøåé", U"Høj bly gom vandt fræk sexquiz på wc"}},
        {"no", {U"ÆØÅÓÒÔæøåóòô"}},
        {"is", {U"ÁÉÍÓÚÝÞÆÖáðéíóúýþæö"}},
        {"it", {U"ÀÈÉÌÒÙàèéìòù°"}},
        {"fr", {U"ÀÂÆÇÉÈÊËÎÏÔŒÙÛÜŸ", U"àâæçéèêëîïôœùûüÿ«»"}},
        {"es", {U"ÁÉÍÑÓÚÜáéíñóúü¿¡"}},
        {"pt", {U"ÀÁÂÃÇÉÊÍÓÔÕÚàáâãçéêíóôõú"}},
        {"cs", {U"ÁČĎÉĚÍŇÓŘŠŤÚŮÝŽ", U"áčďéěíňóřšťúůýž"}},
        {"sk", {U"ÁÄČĎÉÍĹĽŇÓÔŔŠŤÚÝŽ", U"áäčďéíĺľňóôŕšťúýž"}},
        {"pl", {U"ĄĆĘŁŃÓŚŹŻąćęłńóśźż"}},
        {"tr", {U"ÇĞİIÖŞÜÂÎÛçğıiöşüâîû"}},
        {"hr", {U"ČĆĐŠŽčćđšž"}},
        {"sl", {U"ČŠŽčšž"}},
        {"ro", {U"ĂÂÎŞŢăâîşţ"}},
        {"et", {U"ÄÕÖŠÜŽäõöšüž"}},
        {"lt", {U"ĄČĘĖĮŠŲŪŽąčęėįšųūž"}},
        {"lv", {U"ĀČĒĢĪĶĻŅŠŪŽāčēģīķļņšūž"}},
    };
    for (LanguageLetters& language : languages) {
        language.rows.insert(language.rows.begin(), {kCapitals, kSmall});
    }
    const std::vector<LanguageLetters> others{
        {"sr", {U"АБВГДЂЕЖЗИЈКЛЉМНЊОПРСТЋУФХЦЧЏШ", U"абвгдђежзијклљмнњопрстћуфхцчшЃѓЌќ"}},
        {"ru", {U"АБВГДЕЁЖЗИЙКЛМНОПРСТУФХЦЧШЩЪЫЬЭЮЯ", U"абвгдеёжзийклмнопрстуфхцчшщъыьэюя", U"\"CNN\" и ABC: 12% + 3"}},
        {"bg", {U"АБВГДЕЖЗИЙКЛМНОПРСТУФХЦЧШЩЪЬЮЯ", U"абвгдежзийклмнопрстуфхцчшщъьюя"}},
        {"uk", {U"АБВГДЕЄЖЗИІЇЙКЛМНОПРСТУФХЦЧШЩЬЮЯ", U"абвгдеєжзиіїйклмнопрстуфхцчшщьюя"}},
        {"el", {U"ΑΒΓΔΕΖΗΘΙΚΛΜΝΞΟΠΡΣΤΥΦΧΨΩΆΈΉΊΌΎΏΪΫ", U"αβγδεζηθικλμνξοπρσςτυφχψωάέήίόύώϊϋΐΰ", U"Latin A-Z «a-z»"}},
        {"he", {U"אבגדהוזחטיךכלםמןנסעףפץצקרשת", U"שלום (12:30) ABC, 50% ו-7!", U"ABC abc"}},
        {"ar",
         {U"ا ب ت ث ج ح خ د ذ ر ز س ش", U"ص ض ط ظ ع غ ف ق ك ل م ن ه و ي ى ة", U"ء آ أ ؤ إ ئ",
          U"السلام عليكم (123) abc؟", U"صباح الخير، يا أصدقاء"}},
    };
    languages.insert(languages.end(), others.begin(), others.end());
    return languages;
}

/// The packets of page 888 with these rows from 1 on, each in a box: header, X/28/0, X/26, rows, closing header.
inline std::vector<qlx::teletext::Packet> pagePackets(std::span<const std::u32string_view> rows,
                                                      std::uint8_t designation, qlx::FindingSink* findings = nullptr) {
    using namespace qlx::teletext;
    constexpr std::uint8_t kStartBox = 0x0B;
    constexpr std::uint8_t kEndBox = 0x0A;
    const qlx::teletext::CharacterSet set = *characterSetOf(designation);
    std::vector<Packet> packets{*packetOf(PageHeader{.page = 0x888,
                                                     .subcode = 0,
                                                     .erasesPage = true,
                                                     .isSubtitle = true,
                                                     .suppressesHeader = true,
                                                     .nationalOption = static_cast<std::uint8_t>(designation & 7U)})};
    if (needsDesignationPacket(designation)) {
        packets.push_back(*designationPacket(8, designation));
    }
    std::vector<Placement> placements;
    std::vector<Packet> rowPackets;
    for (std::size_t index = 0; index < rows.size(); ++index) {
        const auto row = static_cast<std::uint8_t>(index + 1);
        std::array<std::uint8_t, kDataBytes> codes{};
        codes.fill(0x20);
        codes[0] = codes[1] = kStartBox;
        const auto cells = displayCells(rows[index], set, findings);
        const std::size_t end = 2 + encodeCells(cells, set, row, 2, codes, placements, findings);
        std::fill(codes.begin() + static_cast<std::ptrdiff_t>(end),
                  codes.begin() + static_cast<std::ptrdiff_t>(std::min(end + 2, codes.size())), kEndBox);
        rowPackets.push_back(*rowPacket(8, row, codes));
    }
    std::array<Packet, kEnhancementPackets> room{};
    const std::size_t count = enhancementPackets(placements, 8, room, findings);
    packets.insert(packets.end(), room.begin(), room.begin() + static_cast<std::ptrdiff_t>(count));
    packets.insert(packets.end(), rowPackets.begin(), rowPackets.end());
    packets.push_back(*packetOf(PageHeader{}));
    return packets;
}

}  // namespace qlxtest
