#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include "facade/CaptionCharacters.h"

using qlx::captioncharacters::Set;
using qlx::captioncharacters::utf8;

qlx::Data QLXCCUtilities::dataWith608ASCIICharacter(std::uint8_t code) {
    return utf8(Set::CEA608Basic, code);
}

qlx::Data QLXCCUtilities::dataWith608SpecialCharacter(std::uint8_t code) {
    return utf8(Set::CEA608Special, code);
}

qlx::Data QLXCCUtilities::dataWith608ExtSpanishFrenchCharacter(std::uint8_t code) {
    return utf8(Set::CEA608SpanishFrench, code);
}

qlx::Data QLXCCUtilities::dataWith608ExtPortugueseGermanDanishCharacter(std::uint8_t code) {
    return utf8(Set::CEA608PortugueseGermanDanish, code);
}

qlx::Data QLXCCUtilities::dataWith708G0Character(std::uint8_t code) {
    return utf8(Set::CEA708G0, code);
}

qlx::Data QLXCCUtilities::dataWith708G1Character(std::uint8_t code) {
    return utf8(Set::CEA708G1, code);
}

qlx::Data QLXCCUtilities::dataWith708G2Character(std::uint8_t code) {
    return utf8(Set::CEA708G2, code);
}

qlx::Data QLXCCUtilities::dataWith708G3Character(std::uint8_t code) {
    return utf8(Set::CEA708G3, code);
}
