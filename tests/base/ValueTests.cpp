#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include "Growth.h"

#include <QLXClosedCaptionsUtilities/platform/AttributedString.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <vector>

using qlx::Array;
using qlx::Data;
using qlx::Dictionary;
using qlx::Value;

namespace {

constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::uint64_t kMaxUnsigned = std::numeric_limits<std::uint64_t>::max();

}  // namespace

TEST(Value, KnowsItsKind) {
    EXPECT_TRUE(Value().isNull());
    EXPECT_TRUE(Value(nullptr).isNull());
    EXPECT_TRUE(Value(true).isBool());
    EXPECT_FALSE(Value(true).isNumber());
    EXPECT_TRUE(Value(1).isNumber());
    EXPECT_NE(Value(-1).signedInteger(), nullptr);
    EXPECT_NE(Value(1U).unsignedInteger(), nullptr);
    EXPECT_NE(Value(1.0).number(), nullptr);
    EXPECT_EQ(*Value("text").text(), "text");
    EXPECT_EQ(*Value(Data{1, 2}).data(), (Data{1, 2}));
    EXPECT_EQ(Value(Array{1, 2}).array()->size(), 2U);
    EXPECT_EQ(Value(Dictionary{{"a", 1}}).dictionary()->size(), 1U);
    EXPECT_EQ(Value("text").array(), nullptr);
}

TEST(Value, AnswersNumbersLeniently) {
    EXPECT_EQ(Value().integerValue(), 0);
    EXPECT_EQ(Value(true).integerValue(), 1);
    EXPECT_EQ(Value(" 12x").integerValue(), 12);
    EXPECT_EQ(Value(-1.9).integerValue(), -1);
    EXPECT_EQ(Value(1e300).integerValue(), kMax);
    EXPECT_EQ(Value(-1e300).integerValue(), kMin);
    EXPECT_EQ(Value(std::nan("")).integerValue(), 0);
    EXPECT_EQ(Value(kMaxUnsigned).integerValue(), kMax);
    EXPECT_EQ(Value(Data{1}).integerValue(), 0);
    EXPECT_EQ(Value(Array{1}).integerValue(), 0);
}

TEST(Value, AnswersUnsignedNumbersLeniently) {
    EXPECT_EQ(Value(kMaxUnsigned).unsignedValue(), kMaxUnsigned);
    EXPECT_EQ(Value(-1).unsignedValue(), kMaxUnsigned);
    EXPECT_EQ(Value(-1.5).unsignedValue(), kMaxUnsigned);
    EXPECT_EQ(Value(1.9).unsignedValue(), 1U);
    EXPECT_EQ(Value(1e300).unsignedValue(), kMaxUnsigned);
    EXPECT_EQ(Value("18446744073709551615").unsignedValue(), kMaxUnsigned);
    EXPECT_EQ(Value(true).unsignedValue(), 1U);
    EXPECT_EQ(Value().unsignedValue(), 0U);
}

TEST(Value, AnswersDoublesAndBooleansLeniently) {
    EXPECT_EQ(Value("2.5 s").doubleValue(), 2.5);
    EXPECT_EQ(Value(7).doubleValue(), 7.0);
    EXPECT_EQ(Value(kMaxUnsigned).doubleValue(), 18446744073709551616.0);
    EXPECT_EQ(Value(true).doubleValue(), 1.0);
    EXPECT_EQ(Value(Array{}).doubleValue(), 0.0);
    EXPECT_TRUE(Value("yes").boolValue());
    EXPECT_TRUE(Value(0.5).boolValue());
    EXPECT_TRUE(Value(-1).boolValue());
    EXPECT_TRUE(Value(1U).boolValue());
    EXPECT_FALSE(Value(0).boolValue());
    EXPECT_FALSE(Value().boolValue());
    EXPECT_FALSE(Value(Data{1}).boolValue());
}

TEST(Value, AnswersTexts) {
    EXPECT_EQ(Value("x").stringValue(), "x");
    EXPECT_EQ(Value(-12).stringValue(), "-12");
    EXPECT_EQ(Value(kMaxUnsigned).stringValue(), "18446744073709551615");
    EXPECT_EQ(Value(0.5).stringValue(), "0.5");
    EXPECT_EQ(Value(true).stringValue(), "1");
    EXPECT_EQ(Value(false).stringValue(), "0");
    EXPECT_EQ(Value().stringValue(), std::nullopt);
    EXPECT_EQ(Value(Array{1}).stringValue(), std::nullopt);
}

TEST(Value, ComparesKindAndContent) {
    EXPECT_EQ(Value(1), Value(1U));
    EXPECT_EQ(Value(1U), Value(1));
    EXPECT_NE(Value(-1), Value(kMaxUnsigned));
    EXPECT_NE(Value(1), Value(1.0));
    EXPECT_NE(Value(1), Value(true));
    EXPECT_NE(Value(1), Value("1"));
    EXPECT_EQ(Value(Array{1, "a", Value()}), Value(Array{1U, "a", nullptr}));
}

TEST(Value, DescribesItself) {
    EXPECT_EQ(Value().description(), "(null)");
    EXPECT_EQ(Value(Array{1, "a", Data{0xFF}}).description(), "(1, a, <ff>)");
    EXPECT_EQ(Value(Dictionary{{"b", 2}, {"a", Array{}}}).description(), "{a = (); b = 2}");
}

TEST(Dictionary, IsOrderedByKey) {
    const Dictionary dictionary{{"b", 2}, {"a", 1}, {"c", 3}, {"b", 4}};
    std::vector<std::string> keys;
    for (const auto& entry : dictionary) {
        keys.push_back(entry.key);
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(*dictionary.find("b"), Value(4));
    EXPECT_EQ(dictionary.find("d"), nullptr);
    EXPECT_EQ(dictionary.find(""), nullptr);
}

TEST(Dictionary, SetsReplacesAndErases) {
    Dictionary dictionary;
    EXPECT_TRUE(dictionary.empty());
    EXPECT_EQ(dictionary.begin(), dictionary.end());
    dictionary.set("key", 1);
    dictionary.set("key", "two");
    EXPECT_EQ(dictionary.size(), 1U);
    EXPECT_EQ(*dictionary.find("key"), Value("two"));
    EXPECT_TRUE(dictionary.erase("key"));
    EXPECT_FALSE(dictionary.erase("key"));
    EXPECT_EQ(dictionary, Dictionary());
}

TEST(Dictionary, CopiesAreIndependent) {
    const Dictionary first{{"inner", Dictionary{{"x", 1}}}};
    Dictionary second = first;
    second.set("inner", 2);
    EXPECT_EQ(*first.find("inner"), Value(Dictionary{{"x", 1}}));
    EXPECT_NE(first, second);
}

TEST(AttributedString, JoinsRuns) {
    qlx::AttributedString text("one", {{"size", 16.0}});
    text.append(qlx::AttributedString("\n", {}));
    text.append(qlx::AttributedString("two", {}));
    EXPECT_EQ(text.string(), "one\ntwo");
    ASSERT_EQ(text.runs().size(), 3U);
    EXPECT_EQ(text.runs()[0].attributes, (Dictionary{{"size", 16.0}}));
    EXPECT_NE(text, qlx::AttributedString("one\ntwo", {}));
}

TEST(Dictionary, TakesKeysInAnyOrder) {
    // Falling keys first: each of them in front of all others.
    constexpr int kKeys = 20'000;
    const auto key = [](int number) {
        const std::string digits = std::to_string(number);
        return std::string(6 - digits.size(), '0') + digits;
    };
    qlx::Dictionary falling;
    for (int number = kKeys; number > 0; --number) {
        falling.set(key(number), number);
    }
    qlx::Dictionary rising;
    for (int number = 1; number <= kKeys; ++number) {
        rising.set(key(number), number);
    }
    EXPECT_EQ(falling.size(), rising.size());
    EXPECT_EQ(falling, rising);
    EXPECT_TRUE(falling.erase(key(1)));
    EXPECT_NE(falling, rising);
    falling.set(key(1), 1);
    const qlx::Dictionary copy = falling;
    EXPECT_EQ(copy, rising);
    qlx::Dictionary moved = std::move(falling);
    EXPECT_EQ(moved, rising);
    falling = {{"b", 2}, {"a", 1}};
    EXPECT_EQ(falling, (qlx::Dictionary{{"a", 1}, {"b", 2}}));
    falling = moved;
    EXPECT_EQ(falling, rising);
}

TEST(Dictionary, TakesFallingKeysInLinearTime) {
    std::vector<std::string> keys;
    for (int number = 16 * 1'000; number > 0; --number) {
        keys.push_back(std::to_string(100'000 + number));
    }
    const double growth = qlxtest::growthOfSixteenTimes(1'000, [&keys](std::size_t count) {
        qlx::Dictionary falling;
        for (std::size_t place = 0; place < count; ++place) {
            falling.set(keys[place], 1);
        }
        EXPECT_EQ(falling.size(), count);
    });
    EXPECT_LT(growth, qlxtest::kGreatestLinearGrowth);
}

TEST(Dictionary, StaysSortedWhateverComes) {
    std::map<std::string, std::int64_t> expected;
    qlx::Dictionary dictionary;
    std::uint32_t state = 1;
    for (int step = 0; step < 20'000; ++step) {
        state = state * 1'664'525U + 1'013'904'223U;
        const std::string key = std::to_string((state >> 8U) % 500);
        if (state >> 30U == 0) {
            EXPECT_EQ(dictionary.erase(key), expected.erase(key) == 1);
        } else {
            dictionary.set(key, step);
            expected[key] = step;
        }
        if (step % 1'000 == 999) {
            ASSERT_EQ(dictionary.size(), expected.size());
            auto wanted = expected.begin();
            for (const qlx::Dictionary::Entry& entry : dictionary) {
                ASSERT_EQ(entry.key, wanted->first);
                ASSERT_EQ(entry.value, qlx::Value(wanted->second));
                ASSERT_EQ(dictionary.find(entry.key), &entry.value);
                ++wanted;
            }
        }
    }
}
