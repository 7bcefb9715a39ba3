// The teletext pages of a stream: which there are, and what has been on them.
#pragma once

#include "ScreenLife.h"

#include <qlx/streams/contents.h>
#include <qlx/streams/frame.h>
#include <qlx/teletext/page.h>

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace qlx::streams::detail {

/// Follows every page that a viewer can call. A packet is looked at by the page that it is for alone, so that a service of
/// hundreds of pages takes no longer for each of its packets.
class PageLives {
public:
    /// Takes the OP-47 packets of the next frame.
    void receive(const Frame& frame);

    /// The pages that had text, in the order of their numbers.
    [[nodiscard]] std::vector<Content> contents() const;

private:
    struct PageLife {
        explicit PageLife(std::uint16_t number);

        teletext::PageReader reader;
        ScreenLife life;
        Content content;
        bool isChanged = false;  ///< In the frame that is taken.
    };

    void take(const teletext::Packet& packet);
    void takeHeader(const teletext::Packet& packet);

    std::map<std::uint16_t, PageLife> _pages;
    std::array<PageLife*, teletext::kGreatestMagazine> _receiving{};  ///< By magazine; null: none.
    std::array<std::optional<teletext::Packet>, teletext::kGreatestMagazine> _designations;  ///< The last M/29 of each.
};

}  // namespace qlx::streams::detail
