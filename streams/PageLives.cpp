#include "PageLives.h"

#include "AncOrder.h"

#include <qlx/teletext/sdp.h>

#include <span>

namespace qlx::streams::detail {

namespace {

/// The language of a set that is made for one alone; empty for the others.
std::string languageOf(const teletext::CharacterSet& set) {
    using teletext::G0Set;
    using teletext::NationalOption;
    switch (set.g0) {
    case G0Set::Latin:
        switch (set.option) {
        case NationalOption::English:
            return "eng";
        case NationalOption::German:
            return "ger";
        case NationalOption::Italian:
            return "ita";
        case NationalOption::French:
            return "fre";
        case NationalOption::Polish:
            return "pol";
        case NationalOption::Turkish:
            return "tur";
        case NationalOption::Estonian:
            return "est";
        default:
            return {};
        }
    case G0Set::Cyrillic3:
        return "ukr";
    case G0Set::Greek:
        return "gre";
    case G0Set::Arabic:
        return "ara";
    case G0Set::Hebrew:
        return "heb";
    default:
        return {};
    }
}

}  // namespace

PageLives::PageLife::PageLife(std::uint16_t number)
    : reader(number), content{ContentKind::TeletextPage, teletext::pageName(number), {}, 0, {}, {}, {}, {}} {}

void PageLives::receive(const Frame& frame) {
    const auto takeLines = [this](std::span<const teletext::SdpLine> lines) {
        for (const teletext::SdpLine& line : lines) {
            if (const auto sent = teletext::parsePacket(line.bytes)) {
                take(*sent);
            }
        }
    };
    for (const anc::Packet* const packet : teletextPackets(frame)) {
        if (const auto sdp = teletext::parseSdp(packet->userData)) {
            takeLines(sdp->lines.items());
        }
    }
    takeLines(frame.teletext);
    for (auto& [number, page] : _pages) {
        if (page.isChanged) {
            const screen::Screen screen = page.reader.screen();
            page.life.change(screen, {.isWritten = false, .isRolled = false, .isReplaced = true}, frame, page.content);
            if (screen.hasText()) {
                page.content.language = languageOf(page.reader.characterSet());
            }
            page.isChanged = false;
        } else {
            page.life.stay(frame, page.content);
        }
    }
}

void PageLives::take(const teletext::Packet& packet) {
    if (packet.magazine == 0 || packet.magazine > teletext::kGreatestMagazine) {
        return;
    }
    if (packet.isHeader()) {
        takeHeader(packet);
        return;
    }
    if (packet.number == teletext::kMagazineDesignation) {
        _designations[packet.magazine - 1U] = packet;
        for (auto& [number, page] : _pages) {
            page.isChanged = page.reader.receive(packet) || page.isChanged;
        }
        return;
    }
    if (PageLife* const page = _receiving[packet.magazine - 1U]) {
        page->isChanged = page->reader.receive(packet) || page->isChanged;
    }
}

/// A header is for its own page, and ends those that are being received.
void PageLives::takeHeader(const teletext::Packet& packet) {
    for (PageLife*& page : _receiving) {
        if (page != nullptr) {
            page->isChanged = page->reader.receive(packet) || page->isChanged;
            page = page->reader.isReceiving() ? page : nullptr;
        }
    }
    const auto header = teletext::parseHeader(packet);
    if (!header || !header->isCallable()) {
        return;
    }
    const auto [place, isNew] = _pages.try_emplace(header->page, header->page);
    PageLife& page = place->second;
    if (isNew && _designations[packet.magazine - 1U]) {
        (void)page.reader.receive(*_designations[packet.magazine - 1U]);
    }
    if (!page.reader.isReceiving()) {
        page.isChanged = page.reader.receive(packet) || page.isChanged;
    }
    _receiving[packet.magazine - 1U] = &page;
}

std::vector<Content> PageLives::contents() const {
    std::vector<Content> found;
    for (const auto& [number, page] : _pages) {
        if (page.content.captions > 0) {
            found.push_back(page.content);
        }
    }
    return found;
}

}  // namespace qlx::streams::detail
