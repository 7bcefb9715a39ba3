// When captions of a service are on the screen, worked out from the room that frames have.
#pragma once

#include "RandomServiceCaptions.h"

#include <qlx/base/finding.h>
#include <qlx/base/frame_rate.h>
#include <qlx/cea708/caption.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <tuple>
#include <utility>
#include <vector>

namespace qlxtest::service {

using qlx::Finding;
using qlx::FindingCode;
using qlx::FrameRate;

inline constexpr std::uint32_t kClearAfter = 1;

/// Triplets of a frame for DTVCC at each of the eight rates: of 9600 bit/s.
inline constexpr std::array<std::size_t, 8> kDtvccTriplets{22, 22, 22, 18, 18, 11, 9, 9};

/// Bytes of a frame for service blocks: those of its triplets without the header of the packet.
inline std::size_t roomOf(FrameRate rate) {
    return 2 * kDtvccTriplets[static_cast<std::size_t>(rate) - 1] - 1;
}

/// The header of a block: of services from 7 on it has a byte more.
inline std::size_t headerOf(std::uint8_t service) {
    return service < 7 ? 1 : 2;
}

inline constexpr std::size_t kBlockBytes = 31;
inline constexpr std::size_t kDefinition = 7;
inline constexpr std::size_t kAction = 2;

/// What a frame has room for, one command behind the other.
class FrameRoom {
public:
    FrameRoom(FrameRate rate, std::uint8_t service) : _bytes(roomOf(rate)), _header(headerOf(service)), _free(_bytes) {}

    [[nodiscard]] std::uint64_t frame() const { return _frame; }
    void goTo(std::uint64_t frame) {
        if (frame > _frame) {
            _frame = frame;
            _free = _bytes;
            _block = 0;
        }
    }
    [[nodiscard]] bool put(std::size_t size) {
        const bool continues = _block > 0 && _block + size <= kBlockBytes;
        const std::size_t needed = size + (continues ? 0 : _header);
        if (needed > _free) {
            return false;
        }
        _free -= needed;
        _block = (continues ? _block : 0) + size;
        return true;
    }

private:
    std::size_t _bytes;
    std::size_t _header;
    std::uint64_t _frame = 0;
    std::size_t _free;
    std::size_t _block = 0;
};

enum class Part : std::uint8_t { Letter, CarriageReturn, EndOfText, Other };

struct SizedPart {
    Part part = Part::Other;
    std::size_t size = 1;
};

/// The commands and letters of a caption behind the definition of its window, by the lengths that CTA-708 gives the codes.
inline std::vector<SizedPart> partsOf(std::span<const std::uint8_t> bytes) {
    std::vector<SizedPart> parts;
    for (std::size_t place = kDefinition; place < bytes.size(); place += parts.back().size) {
        const std::uint8_t code = bytes[place];
        const std::map<std::uint8_t, std::size_t> sizes{{0x90, 3}, {0x91, 4}, {0x92, 3}, {0x97, 5}};
        if (code == 0x10) {
            parts.push_back({Part::Letter, 2});
        } else if (code == 0x0D || code == 0x03) {
            parts.push_back({code == 0x0D ? Part::CarriageReturn : Part::EndOfText, 1});
        } else if (code < 0x80 || code >= 0xA0) {
            parts.push_back({Part::Letter, 1});
        } else {
            const auto known = sizes.find(code);
            parts.push_back({Part::Other, code >= 0x98 ? kDefinition : known != sizes.end() ? known->second : 2});
        }
    }
    return parts;
}

/// The frames of a caption.
struct Course {
    std::size_t number = 0;  ///< The caption's.
    CaptionStyle style = CaptionStyle::PopOn;
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    std::uint64_t ownEnd = 0;  ///< Where the next one begins before that.
    std::uint64_t shown = 0;
    /// Its end; where `shown` is not in front of that, its own length behind `shown`.
    std::uint64_t over = 0;
    std::uint64_t gone = 0;  ///< It is deleted; or the first row of the next one, for which its rows move up.
    bool rollsOn = false;    ///< The latter.
    std::vector<std::uint8_t> definition{};
    std::vector<SizedPart> parts{};
    std::vector<std::uint64_t> sent{};  ///< The frame of each of `parts`.
    std::vector<Finding> said{};        ///< Of its text.
};

using Said = std::vector<std::tuple<std::uint64_t, FindingCode, std::int64_t, std::int64_t>>;

/// When captions of the only service are on the screen, and all that must be said of them.
class Courses {
public:
    Courses(FrameRate rate, AspectRatio ratio, std::uint8_t service)
        : _ratio(ratio), _room(rate, service), _clear(kClearAfter * qlx::nominalFramesPerSecond(rate)) {}

    /// The captions in their order; the last one may be taken back, and another one added.
    void add(const Caption& caption) {
        const std::size_t number = _added++;
        const auto start = static_cast<std::int64_t>(caption.start);
        const auto end = static_cast<std::int64_t>(caption.end);
        if (caption.end <= caption.start || (!_courses.empty() && caption.start <= _courses.back().start)) {
            _said.emplace_back(number, FindingCode::Cea708TimesWrong, start, end);
            return;
        }
        Course course{.number = number, .style = caption.style, .start = caption.start, .end = caption.end};
        std::vector<std::uint8_t> bytes;
        qlx::Findings found(10'000);
        encodeCaption(caption, {.aspectRatio = _ratio, .findingsOffset = number}, bytes, &found);
        if (bytes.empty()) {
            _said.emplace_back(number, FindingCode::Cea708CaptionEmpty, 0, 0);
            return;
        }
        course.said.assign(found.begin(), found.end());
        for (const Finding& one : found) {
            _said.emplace_back(one.offset, one.code, one.first, one.second);
        }
        course.definition.assign(bytes.begin(), bytes.begin() + kDefinition);
        course.parts = partsOf(bytes);
        if (!_courses.empty()) {
            Course& before = _courses.back();
            if (before.end > course.start) {
                _said.emplace_back(number, FindingCode::Cea708CaptionOverlaps, start, before.end);
                before.ownEnd = std::exchange(before.end, course.start);
            }
        }
        _courses.push_back(std::move(course));
    }

    /// Works out the course of all.
    void run() {
        for (std::size_t index = 0; index < _courses.size(); ++index) {
            Course* const before = index > 0 ? &_courses[index - 1] : nullptr;
            if (_courses[index].style == CaptionStyle::PopOn) {
                popOn(_courses[index], before);
            } else {
                write(_courses[index], before);
            }
        }
        if (!_courses.empty()) {
            Course& last = _courses.back();
            deleteAt(last, std::max(last.over, std::max(last.shown, last.sent.back()) + 1));
        }
        std::sort(_said.begin(), _said.end());
    }

    [[nodiscard]] const std::vector<Course>& all() const { return _courses; }
    [[nodiscard]] const Said& said() const { return _said; }

private:
    void tell(const Course& course, FindingCode code, std::uint64_t due, std::uint64_t frame) {
        if (frame > due) {
            _said.emplace_back(course.number, code, frame - due, 0);
        }
    }

    void deleteAt(Course& course, std::uint64_t frame) {
        course.gone = frame;
        tell(course, FindingCode::Cea708EndLate, course.end, frame);
    }

    void showAt(Course& course, std::uint64_t frame) {
        course.shown = frame;
        const std::uint64_t length = std::max(course.end, course.ownEnd) - course.start;
        course.over = frame < course.end ? course.end : frame + length;
        tell(course, FindingCode::Cea708ShownLate, course.start, frame);
    }

    /// Loaded as soon as the one before it is on the screen, and shown with one block behind all of it.
    void popOn(Course& course, Course* before) {
        bool isShown = before != nullptr;
        // What has missed its end stays for one that begins before it is over, also when that is late.
        const bool isDeleted = isShown && course.start >= before->over;
        const auto show = [&]() {
            if (!_room.put(kAction + (isShown ? kAction : 0))) {
                return false;
            }
            if (isShown) {
                deleteAt(*before, _room.frame());
            }
            showAt(course, _room.frame());
            return true;
        };
        // The definition is one of the commands that are loaded.
        std::size_t next = 0;
        const std::size_t count = course.parts.size() + 1;
        for (bool isFirst = true;; isFirst = false, _room.goTo(_room.frame() + 1)) {
            const std::uint64_t frame = _room.frame();
            if (!isFirst && next == count && frame >= course.start) {
                if (show()) {
                    return;
                }
                continue;
            }
            // What is shown is deleted first. It has been shown in this frame where that is the first one.
            if (!isFirst && isShown && isDeleted && frame >= std::max(before->over, before->ownEnd) &&
                _room.put(kAction)) {
                deleteAt(*before, frame);
                isShown = false;
            }
            const bool wasLoaded = next == count;
            while (next < count && _room.put(next == 0 ? kDefinition : course.parts[next - 1].size)) {
                if (next++ > 0) {
                    course.sent.push_back(frame);
                }
            }
            if (!wasLoaded && next == count && frame >= course.start && show()) {
                return;
            }
        }
    }

    /// From its start on, behind all of the one before it.
    void write(Course& course, Course* before) {
        const bool isAfterRollUp = before != nullptr && before->style == CaptionStyle::RollUp;
        const bool rollsOn =
            isAfterRollUp && course.style == CaptionStyle::RollUp && course.start <= before->over + _clear;
        const bool isSameWindow = isAfterRollUp && course.definition == before->definition;
        bool isShown = before != nullptr;
        for (_room.goTo(course.start);; _room.goTo(_room.frame() + 1)) {
            const std::uint64_t frame = _room.frame();
            const std::uint64_t due = isShown ? std::max(before->over, before->sent.back() + 1) : 0;
            if (isShown && !rollsOn && frame >= due) {
                // In a frame of its own where it is due earlier.
                EXPECT_TRUE(frame > due || _room.put(kAction));
                deleteAt(*before, due);
                isShown = false;
            }
            if (_room.put(kDefinition + (isShown && !isSameWindow ? kAction : 0))) {
                break;
            }
        }
        showAt(course, _room.frame());
        if (isShown) {
            before->rollsOn = isSameWindow;
            before->gone = course.shown;
            if (!rollsOn) {
                tell(*before, FindingCode::Cea708EndLate, before->end, course.shown);
            }
        }
        for (const SizedPart& part : course.parts) {
            while (!_room.put(part.size)) {
                _room.goTo(_room.frame() + 1);
            }
            course.sent.push_back(_room.frame());
        }
        // The last one is ETX.
        const std::uint64_t written = course.sent[course.sent.size() - 2];
        tell(course, FindingCode::Cea708TextLate, course.end, written + 1);
    }

    AspectRatio _ratio;
    FrameRoom _room;
    std::uint64_t _clear;
    std::size_t _added = 0;
    std::vector<Course> _courses;
    Said _said;
};

}  // namespace qlxtest::service
