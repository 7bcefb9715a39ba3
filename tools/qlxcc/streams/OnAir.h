// What is on air: the screens that the packets of a file's frames make, one after the other.
#pragma once

#include "streams/Frame.h"

#include <qlx/cea608/receiver.h>
#include <qlx/screen/screen.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace qlx::tool {

/// One teletext page or caption channel.
class OnAir {
public:
    OnAir() = default;
    OnAir(const OnAir&) = delete;
    OnAir& operator=(const OnAir&) = delete;
    virtual ~OnAir() = default;

    /// Takes a frame.
    /// @return Whether the screen may look different now.
    virtual bool receive(const Frame& frame) = 0;

    [[nodiscard]] virtual screen::Screen screen() const = 0;

    /// `page`, `channel`.
    [[nodiscard]] virtual std::string_view kind() const = 0;

    /// `888`, `CC1`.
    [[nodiscard]] virtual std::string name() const = 0;

    /// `teletext page 888`, `captions CC1`.
    [[nodiscard]] std::string title() const;

    /// Whether there has been anything of this kind, be it another page.
    [[nodiscard]] virtual bool isCarried() const = 0;

    /// What may help when nothing is shown: `pages here: 801, 802`; or empty.
    [[nodiscard]] virtual std::string hint() const = 0;
};

[[nodiscard]] std::unique_ptr<OnAir> teletextOnAir(std::uint16_t page);
[[nodiscard]] std::unique_ptr<OnAir> captionsOnAir(cea608::Channel channel);

}  // namespace qlx::tool
