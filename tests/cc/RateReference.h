// A change of the frame rate as plainly as it can be said: all of the input at once, lists that are searched from their
// beginning, and time in ticks of which each frame of each rate lasts a whole number.
#pragma once

#include <qlx/cc/cdp.h>
#include <qlx/cc/slots.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <vector>

namespace qlx::cc {

/// So that a failed comparison can be read.
inline void PrintTo(const Triplet& triplet, std::ostream* out) {
    *out << std::hex << static_cast<int>(triplet.header) << ' ' << static_cast<int>(triplet.first) << ' '
         << static_cast<int>(triplet.second) << std::dec;
}

}  // namespace qlx::cc

namespace qlxtest {

using qlx::FrameRate;
using qlx::cc::CcType;
using qlx::cc::Triplet;
using Triplets = std::vector<Triplet>;

/// Ticks of 1/120000 s in a frame.
inline std::int64_t ticksOf(FrameRate rate) {
    switch (rate) {
    case FrameRate::Fps23976:
        return 5005;
    case FrameRate::Fps24:
        return 5000;
    case FrameRate::Fps25:
        return 4800;
    case FrameRate::Fps2997:
        return 4004;
    case FrameRate::Fps30:
        return 4000;
    case FrameRate::Fps50:
        return 2400;
    case FrameRate::Fps5994:
        return 2002;
    case FrameRate::Fps60:
        return 2000;
    }
    return 0;
}

/// The triplets of the input's frames, from frame 0 on.
using Input = std::vector<Triplets>;

class RateReference {
public:
    RateReference(const Input& input, FrameRate from, FrameRate to) : _from(from), _to(to) {
        for (std::size_t frame = 0; frame < input.size(); ++frame) {
            for (const Triplet& triplet : input[frame]) {
                const bool isNull = triplet.is608() && triplet.isNullPair();
                if (triplet.valid() && !isNull) {
                    const std::size_t kind = triplet.is608() ? (triplet.header & 1U) : 2;
                    _queues[kind].push_back({static_cast<std::int64_t>(frame), triplet});
                }
            }
        }
        markPairs(_queues[0]);
        markPairs(_queues[1]);
        markPackets(_queues[2]);
        const std::int64_t end = static_cast<std::int64_t>(input.size()) * ticksOf(from);
        for (std::int64_t frame = 0; frame * ticksOf(to) < end || waits(); ++frame) {
            frames.push_back(frameAt(frame));
        }
    }

    std::vector<Triplets> frames;  ///< What comes out, padded.

private:
    struct Item {
        std::int64_t frame;
        Triplet triplet;
        bool isSent = false;
        bool isDoubled = false;      ///< The same control code follows at once.
        bool isApart = false;        ///< The same control code came in front of it, but not at once.
        std::size_t packetSize = 0;  ///< Of a packet start: what there is of the packet.
    };
    using Queue = std::vector<Item>;

    [[nodiscard]] bool waits() const {
        return std::any_of(std::begin(_queues), std::end(_queues), [](const Queue& queue) {
            return std::any_of(queue.begin(), queue.end(), [](const Item& item) { return !item.isSent; });
        });
    }

    static bool hasPairs(FrameRate rate) {
        return rate == FrameRate::Fps50 || rate == FrameRate::Fps5994 || rate == FrameRate::Fps60;
    }

    void markPairs(Queue& queue) const {
        const int cadence = hasPairs(_from) ? 2 : 1;
        bool isSecond = false;
        for (std::size_t index = 1; index < queue.size(); ++index) {
            const unsigned code = queue[index].triplet.first & 0x7FU;
            const bool isSame = code >= 0x10 && code < 0x20 && queue[index].triplet == queue[index - 1].triplet;
            const bool isNear = queue[index].frame - queue[index - 1].frame <= cadence;
            isSecond = isSame && isNear && !isSecond;
            queue[index - 1].isDoubled = isSecond;
            queue[index].isApart = isSame && !isNear;
        }
    }

    static void markPackets(Queue& queue) {
        for (std::size_t start = 0; start < queue.size(); ++start) {
            if (queue[start].triplet.header != 0xFF) {
                continue;
            }
            const std::size_t code = queue[start].triplet.first % 64;
            const std::size_t whole = code == 0 ? 64 : code;
            std::size_t size = 1;
            while (size < whole && start + size < queue.size() && queue[start + size].triplet.header != 0xFF &&
                   queue[start + size].frame - queue[start + size - 1].frame <= 2) {
                ++size;
            }
            queue[start].packetSize = size;
        }
    }

    [[nodiscard]] bool hasCome(const Item& item, std::int64_t frame) const {
        return item.frame * ticksOf(_from) <= frame * ticksOf(_to);
    }

    Triplet pairAt(std::size_t kind, std::int64_t frame) {
        const Triplet null{static_cast<std::uint8_t>(0xFC + kind), 0x80, 0x80};
        const int step = hasPairs(_to) ? 2 : 1;
        Queue& queue = _queues[kind];
        const auto head = std::find_if(queue.begin(), queue.end(), [](const Item& item) { return !item.isSent; });
        if (head == queue.end() || !hasCome(*head, frame)) {
            return null;
        }
        if (head->isDoubled && !hasCome(*(head + 1), frame + step)) {
            return null;
        }
        if (head->isApart && _lastSent[kind] == frame - step) {
            return null;
        }
        head->isSent = true;
        _lastSent[kind] = frame;
        return head->triplet;
    }

    Triplets frameAt(std::int64_t frame) {
        const std::size_t counts[] = {25, 25, 24, 20, 20, 12, 10, 10};
        const std::size_t greatest[] = {22, 22, 22, 18, 18, 11, 9, 9};
        const std::size_t rate = static_cast<std::size_t>(_to) - 1;
        Triplets out;
        if (!hasPairs(_to) || frame % 2 == 0) {
            out.push_back(pairAt(0, frame));
        }
        if (!hasPairs(_to) || frame % 2 == 1) {
            out.push_back(pairAt(1, frame));
        }
        Queue& queue = _queues[2];
        std::size_t head = 0;
        while (head < queue.size() && queue[head].isSent) {
            ++head;
        }
        for (std::size_t placed = 0; placed < greatest[rate] && head < queue.size(); ++placed, ++head) {
            bool fits = hasCome(queue[head], frame);
            for (std::size_t part = 0; part < queue[head].packetSize; ++part) {
                const std::size_t later = (placed + part) / greatest[rate];
                fits = fits && hasCome(queue[head + part], frame + static_cast<std::int64_t>(later));
            }
            if (!fits) {
                break;
            }
            queue[head].isSent = true;
            out.push_back(queue[head].triplet);
        }
        out.resize(counts[rate], Triplet{0xFA, 0, 0});
        return out;
    }

    FrameRate _from;
    FrameRate _to;
    Queue _queues[3];
    std::int64_t _lastSent[2] = {-10, -10};
};

}  // namespace qlxtest
