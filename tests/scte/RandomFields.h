// Random values of everything that has a layout: walks its fields and fills them.
#pragma once

#include "scte/FieldIo.h"

#include <gtest/gtest.h>

#include <random>

// Where the layouts are, so that walk() is found.
namespace qlx::scte::detail {

class RandomFields {
public:
    static constexpr bool kReads = true;

    explicit RandomFields(unsigned seed) : _random(seed) {}

    /// 0 to `greatest`.
    std::uint64_t below(std::uint64_t greatest) {
        return std::uniform_int_distribution<std::uint64_t>(0, greatest)(_random);
    }

    template <std::size_t Bytes, class... Value>
    void pack(BitField<Value>... parts) {
        ((parts.value =
              static_cast<Value>(parts.isReserved ? greatestOf(parts.width) : below(greatestOf(parts.width)))),
         ...);
    }

    template <class Value>
    void number(Value& value) {
        value = static_cast<Value>(below(greatestOf(8 * sizeof(Value))));
    }

    void bytes(std::span<std::uint8_t> value) {
        for (std::uint8_t& byte : value) {
            number(byte);
        }
    }

    void bytes(std::vector<std::uint8_t>& value, std::size_t count) {
        // A length that was drawn may be any.
        value.resize(count % 256);
        bytes(std::span(value));
    }

    void rest(std::vector<std::uint8_t>& value) { bytes(value, below(12)); }

    template <class Count, class Items, class Item>
    void list(Items& items, Item item) {
        this->items(items, below(4), item);
    }

    template <class Items, class Item>
    void items(Items& items, std::size_t count, Item item) {
        for (std::size_t index = 0; index < count; ++index) {
            items.emplace_back();
            item(items.back());
        }
    }

    template <class Items, class Item>
    void itemsToEnd(Items& items, std::size_t, Item item) {
        this->items(items, below(4), item);
    }

    template <class Optional, class Item>
    void ifLeft(Optional& value, std::size_t, Item item) {
        if (below(1) != 0) {
            item(value.emplace());
        }
    }

    bool nextBit(unsigned = 0) { return below(1) != 0; }

private:
    std::mt19937_64 _random;
};

}  // namespace qlx::scte::detail

namespace qlxtest {

// The sanitizers take ten times as long.
#ifdef QLX_SANITIZED
inline constexpr unsigned kRandomRounds = 2000;
#else
inline constexpr unsigned kRandomRounds = 20000;
#endif

/// 0, or what --gtest_random_seed=N says, in steps of the rounds.
inline unsigned firstSeed() {
    return static_cast<unsigned>(GTEST_FLAG_GET(random_seed)) * kRandomRounds;
}

using qlx::scte::detail::RandomFields;

/// A random one of the alternatives of a variant, from the `First` one on; random itself.
template <std::size_t First, class Variant, std::size_t... Index>
void fillAlternative(Variant& variant, std::size_t which, RandomFields& random, std::index_sequence<Index...>) {
    const auto fill = [&](auto place) {
        if (which == place) {
            walk(random, variant.template emplace<First + place>());
        }
    };
    (fill(std::integral_constant<std::size_t, Index>{}), ...);
}

template <std::size_t First, class Variant>
void fillAny(Variant& variant, RandomFields& random) {
    constexpr std::size_t kCount = std::variant_size_v<Variant> - First;
    fillAlternative<First>(variant, random.below(kCount - 1), random, std::make_index_sequence<kCount>{});
}

}  // namespace qlxtest
