// Follows the commands of a service.
#include "WideCharacters.h"

#include <qlx/cea708/receiver.h>

#include <algorithm>
#include <utility>
#include <variant>

namespace qlx::cea708 {

namespace {

// Each frame of each rate, and a tenth of a second, lasts a whole number of these.
constexpr std::int64_t kTicksPerSecond = 240'000;
constexpr std::int64_t kTicksPerTenth = kTicksPerSecond / 10;

constexpr std::array<std::int64_t, kFrameRates.size()> kFrameTicks = []() {
    std::array<std::int64_t, kFrameRates.size()> ticks{};
    for (std::size_t index = 0; index < ticks.size(); ++index) {
        const MediaTime duration = frameDuration(kFrameRates[index]);
        ticks[index] = kTicksPerSecond * duration.value / duration.timescale;
    }
    return ticks;
}();

constexpr auto kDelayCancel = static_cast<std::uint8_t>(Control::DelayCancel);
constexpr auto kReset = static_cast<std::uint8_t>(Control::Reset);

constexpr bool isText(std::uint8_t byte) noexcept {
    return isCodeOf(CharacterSet::G0, byte) || isCodeOf(CharacterSet::G1, byte);
}

}  // namespace

struct Receiver::Sink {
    FindingSink* findings;
    std::uint64_t offset;

    void operator()(FindingCode code, Severity severity, std::int64_t first, std::int64_t second) const {
        if (findings != nullptr) {
            findings->add({code, severity, offset, first, second});
        }
    }
};

/// What each command does.
struct Receiver::Interpreter {
    Receiver& receiver;
    const Sink& sink;

    void operator()(Control control) const {
        if (control == Control::Reset) {
            receiver.removeWindows();
            return;
        }
        if (control == Control::Null || control == Control::DelayCancel) {
            return;
        }
        if (control == Control::EndOfText) {
            receiver.completeRow();
            return;
        }
        Window* const window = receiver.current(static_cast<int>(control), sink);
        if (window == nullptr) {
            return;
        }
        change(*window);
        screen::Change& changed = receiver._change;
        if (control == Control::CarriageReturn) {
            const bool isScrolled = window->carriageReturn();
            changed.isRolled = changed.isRolled || (isScrolled && window->isVisible());
        } else if (control == Control::HorizontalCarriageReturn) {
            window->horizontalCarriageReturn();
            changed.isWritten = changed.isWritten || window->isVisible();
        } else if (control == Control::FormFeed) {
            window->formFeed();
            changed.isReplaced = changed.isReplaced || window->isVisible();
        } else {
            window->backspace();
            changed.isWritten = changed.isWritten || window->isVisible();
        }
    }

    void operator()(CharacterCode code) const {
        const std::optional<char32_t> character = characterOf(code);
        if (!character) {
            sink(FindingCode::Cea708CharacterUnknown, Severity::Warning, kExt1 << 8U | code.code, 0);
        }
        receiver.put(character.value_or(kReplacement), sink);
    }

    void operator()(WideCharacter character) const { receiver.putWide(character.code, sink); }

    void operator()(SetCurrentWindow command) const {
        receiver.completeRow();
        if (!receiver._windows[command.window].isDefined()) {
            sink(FindingCode::Cea708WindowUndefined, Severity::Error, command.window, 0);
            return;
        }
        receiver._current = command.window;
        receiver._wasToldNoWindow = false;
    }

    void operator()(WindowsCommand command) const {
        receiver.completeRow();
        for (std::size_t number = 0; number < kWindows; ++number) {
            Window& window = receiver._windows[number];
            // Many name all windows, whichever there are.
            if ((command.windows >> number & 1U) != 0 && window.isDefined()) {
                act(command.action, number, window);
            }
        }
    }

    void operator()(Delay delay) const {
        receiver.completeRow();
        if (delay.tenths != 0) {
            receiver._isDelayed = true;
            receiver._delay += kTicksPerTenth * delay.tenths;
        }
    }

    void operator()(const PenAttributes& attributes) const {
        if (Window* const window = receiver.current(0x90, sink)) {
            window->setPen({attributes, window->pen().color});
        }
    }

    void operator()(const PenColor& color) const {
        if (Window* const window = receiver.current(0x91, sink)) {
            window->setPen({window->pen().attributes, color});
        }
    }

    void operator()(PenLocation location) const {
        if (Window* const window = receiver.current(0x92, sink)) {
            window->setPenLocation(location, sink.findings, sink.offset);
        }
    }

    void operator()(const WindowAttributes& attributes) const {
        receiver.completeRow();
        if (Window* const window = receiver.current(0x97, sink)) {
            change(*window);
            replace(*window);
            window->setAttributes(attributes);
        }
    }

    void operator()(const DefineWindow& definition) const {
        receiver.completeRow();
        Window& window = receiver._windows[definition.window];
        change(window);
        const bool isSame = window.isDefined() && window.definition() == definition;
        if (!isSame) {
            replace(window);
        }
        window.define(definition, receiver._options.aspectRatio, sink.findings, sink.offset);
        change(window);
        if (!isSame) {
            replace(window);
        }
        receiver._current = definition.window;
        receiver._wasToldNoWindow = false;
    }

    // It has been said by who read it.
    void operator()(const ReservedCommand&) const { receiver.completeRow(); }

private:
    void change(const Window& window) const noexcept {
        receiver._isChanged = receiver._isChanged || window.isVisible();
    }

    void replace(const Window& window) const noexcept {
        receiver._change.isReplaced = receiver._change.isReplaced || window.isVisible();
    }

    void act(WindowsAction action, std::size_t number, Window& window) const {
        const bool wasVisible = window.isVisible();
        switch (action) {
        case WindowsAction::Clear:
            window.erase();
            break;
        case WindowsAction::Display:
            window.setVisible(true);
            break;
        case WindowsAction::Hide:
            window.setVisible(false);
            break;
        case WindowsAction::Toggle:
            window.setVisible(!wasVisible);
            break;
        case WindowsAction::Delete:
            window.remove();
            if (receiver._current == number) {
                receiver._current.reset();
            }
            break;
        }
        const bool isCleared = action == WindowsAction::Clear && wasVisible;
        const bool isReplaced = isCleared || window.isVisible() != wasVisible;
        receiver._isChanged = receiver._isChanged || isReplaced;
        receiver._change.isReplaced = receiver._change.isReplaced || isReplaced;
    }
};

Receiver::Receiver(std::uint8_t service, const ReceiverOptions& options) : _service(service), _options(options) {}

bool Receiver::receive(const ReceivedPacket& packet, FindingSink* findings, std::uint64_t offset) {
    bool isChanged = packet.isBehindLoss && expectLoss(findings, offset);
    for (const ServiceBlockView& block : packet.packet.blocks()) {
        if (block.service == _service) {
            isChanged = receive(block.data, findings, offset) || isChanged;
        }
    }
    return isChanged;
}

bool Receiver::receive(std::span<const std::uint8_t> data, FindingSink* findings, std::uint64_t offset) {
    const Sink sink{findings, offset};
    _isChanged = false;
    while (!data.empty()) {
        if (!_isDelayed && _waitingSize == 0) {
            data = data.subspan(interpret(data, sink));
        }
        wait(data, sink);
    }
    return _isChanged;
}

bool Receiver::nextFrame(FrameRate rate, FindingSink* findings, std::uint64_t offset) {
    _isChanged = false;
    if (_isDelayed) {
        _delay -= kFrameTicks[static_cast<std::size_t>(rate) - 1];
        // What is over of a delay counts for the one that begins behind it.
        while (_isDelayed && _delay <= 0) {
            _isDelayed = false;
            drain({findings, offset});
        }
        _delay = _isDelayed ? _delay : 0;
    }
    return _isChanged;
}

bool Receiver::expectLoss(FindingSink* findings, std::uint64_t offset) {
    const Sink sink{findings, offset};
    _isChanged = false;
    endSurrogate(sink);
    if (_waitingSize > 0) {
        sink(FindingCode::Cea708CommandsDropped, Severity::Error, static_cast<std::int64_t>(_waitingSize), 0);
    }
    endWaiting();
    return _isChanged;
}

bool Receiver::reset() noexcept {
    _isChanged = false;
    removeWindows();
    _highSurrogate = 0;
    endWaiting();
    return _isChanged;
}

void Receiver::endWaiting() noexcept {
    _isDelayed = false;
    _delay = 0;
    _waitingSize = 0;
    _seen = 0;
}

void Receiver::removeWindows() noexcept {
    for (Window& window : _windows) {
        _isChanged = _isChanged || window.isVisible();
        _change.isReplaced = _change.isReplaced || window.isVisible();
        window.remove();
    }
    _current.reset();
    _wasToldNoWindow = false;
}

/// Puts as many bytes as there is room for behind those that wait, and goes on with them where nothing holds them.
void Receiver::wait(std::span<const std::uint8_t>& bytes, const Sink& sink) {
    const std::size_t count = std::min(bytes.size(), kWaitingBytes - _waitingSize);
    std::copy_n(bytes.begin(), count, _waiting.begin() + static_cast<std::ptrdiff_t>(_waitingSize));
    _waitingSize += count;
    bytes = bytes.subspan(count);
    if (_isDelayed) {
        lookForEnd();
    }
    if (_isDelayed && _waitingSize == kWaitingBytes) {
        constexpr std::int64_t kTicksPerMillisecond = kTicksPerSecond / 1000;
        sink(FindingCode::Cea708DelayFull, Severity::Warning, static_cast<std::int64_t>(_waitingSize),
             _delay / kTicksPerMillisecond);
        _isDelayed = false;
    }
    if (!_isDelayed) {
        _delay = 0;
        drain(sink);
    }
}

/// DLC and RST take effect when they come, not when it is their turn.
void Receiver::lookForEnd() noexcept {
    while (_isDelayed && _seen < _waitingSize) {
        const std::span<const std::uint8_t> rest = std::span(_waiting).subspan(_seen, _waitingSize - _seen);
        const std::size_t size = sizeOfCommand(rest);
        if (size > rest.size()) {
            return;
        }
        _isDelayed = rest[0] != kDelayCancel && rest[0] != kReset;
        _seen += size;
    }
}

/// Goes on with what waits, up to the next delay.
void Receiver::drain(const Sink& sink) {
    while (!_isDelayed) {
        const std::size_t used = interpret(std::span(_waiting).first(_waitingSize), sink);
        std::copy(_waiting.begin() + static_cast<std::ptrdiff_t>(used),
                  _waiting.begin() + static_cast<std::ptrdiff_t>(_waitingSize), _waiting.begin());
        _waitingSize -= used;
        _seen = 0;
        if (!_isDelayed) {
            return;
        }
        lookForEnd();
        _delay = _isDelayed ? _delay : 0;
    }
}

/// Follows the commands that are whole, up to the end or a delay, and gives the bytes of them.
std::size_t Receiver::interpret(std::span<const std::uint8_t> bytes, const Sink& sink) {
    std::size_t used = 0;
    while (used < bytes.size() && !_isDelayed) {
        const std::span<const std::uint8_t> rest = bytes.subspan(used);
        if (rest[0] != kP16) {
            endSurrogate(sink);
        }
        if (isText(rest[0])) {
            used += interpretText(rest, sink);
            continue;
        }
        if (sizeOfCommand(rest) > rest.size()) {
            break;
        }
        PlacedSink placed(sink.findings, sink.offset);
        const Result<SizedCommand> next = parseCommand(rest, &placed);
        std::visit(Interpreter{*this, sink}, next->command);
        used += next->size;
    }
    return used;
}

/// Most of what comes.
std::size_t Receiver::interpretText(std::span<const std::uint8_t> bytes, const Sink& sink) {
    std::size_t used = 0;
    for (; used < bytes.size() && isText(bytes[used]); ++used) {
        put(bytes[used] == 0x7F ? kMusicNote : char32_t{bytes[used]}, sink);
    }
    return used;
}

void Receiver::put(char32_t character, const Sink& sink) {
    if (!_current) {
        if (!_wasToldNoWindow) {
            _wasToldNoWindow = true;
            sink(FindingCode::Cea708NoCurrentWindow, Severity::Error, character, 0);
        }
        return;
    }
    Window& window = _windows[*_current];
    _isChanged = _isChanged || window.isVisible();
    _change.isWritten = _change.isWritten || window.isVisible();
    window.put(character, sink.findings, sink.offset);
}

void Receiver::putWide(std::uint16_t code, const Sink& sink) {
    char32_t character = code;
    if (_options.wideCharacter) {
        character = _options.wideCharacter(code);
    } else if (_highSurrogate != 0 && isLowSurrogate(code)) {
        const char32_t high = std::exchange(_highSurrogate, std::uint16_t{0});
        character = 0x10000 + ((high & 0x3FFU) << 10U) + (code & 0x3FFU);
    } else {
        endSurrogate(sink);
        if (isHighSurrogate(code)) {
            _highSurrogate = code;
            return;
        }
    }
    if (!isShown(character)) {
        sink(FindingCode::Cea708CharacterUnknown, Severity::Warning, code, 0);
        character = kReplacement;
    }
    put(character, sink);
}

/// The first half of a pair whose second half does not come.
void Receiver::endSurrogate(const Sink& sink) {
    if (_highSurrogate != 0) {
        sink(FindingCode::Cea708CharacterUnknown, Severity::Warning, std::exchange(_highSurrogate, std::uint16_t{0}),
             0);
        put(kReplacement, sink);
    }
}

Window* Receiver::current(int command, const Sink& sink) {
    if (!_current) {
        sink(FindingCode::Cea708NoCurrentWindow, Severity::Error, command, 0);
        return nullptr;
    }
    return &_windows[*_current];
}

void Receiver::completeRow() noexcept {
    if (_current) {
        _windows[*_current].completeRow();
    }
}

screen::Screen Receiver::screen() const {
    screen::Screen screen;
    drawScreen(screen);
    return screen;
}

void Receiver::drawScreen(screen::Screen& screen) const {
    screen.system = screen::System::Cea708;
    screen.columns = columnsOf(_options.aspectRatio);
    screen.firstRow = 1;
    // Copied: a screen is drawn for nearly every frame of a roll-up, and each cell by itself takes twice as long.
    static constexpr std::array<screen::Cell, kRows * kWideColumns> kBlank{};
    screen.cells.assign(kBlank.begin(), kBlank.begin() + kRows * screen.columns);
    // From the back to the front; of equal ones the lowest number is in front.
    for (int priority = kWindows - 1; priority >= 0; --priority) {
        for (std::size_t number = kWindows; number-- > 0;) {
            const Window& window = _windows[number];
            if (window.isVisible() && window.definition().priority == priority) {
                window.draw(screen);
            }
        }
    }
}

}  // namespace qlx::cea708
