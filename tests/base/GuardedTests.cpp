#include <QLXClosedCaptionsUtilities/platform/Guarded.h>

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

// An object has one, beside its scalars.
static_assert(sizeof(qlx::Guarded) == 4 && alignof(qlx::Guarded) == 4);

TEST(Guarded, LoadsAndStores) {
    qlx::Guarded guard;
    std::string text = "before";
    EXPECT_EQ(guard.load(text), "before");
    guard.store(text, std::string("after"));
    EXPECT_EQ(text, "after");
}

TEST(Guarded, DestroysTheOldValueAfterTheLockIsFree) {
    // The old value's destructor loads through the same lock: it would wait for ever if that were still held.
    struct LoadsWhenDestroyed {
        qlx::Guarded* guard = nullptr;
        const int* number = nullptr;
        int* seen = nullptr;
        ~LoadsWhenDestroyed() {
            if (guard) {
                *seen = guard->load(*number);
            }
        }
    };
    qlx::Guarded guard;
    const int number = 7;
    int seen = 0;
    auto member = std::make_shared<LoadsWhenDestroyed>();
    member->guard = &guard;
    member->number = &number;
    member->seen = &seen;
    guard.store(member, std::shared_ptr<LoadsWhenDestroyed>());
    EXPECT_EQ(seen, 7);
}

TEST(Guarded, ValuesAreNeverTornBetweenThreads) {
    qlx::Guarded guard;
    std::array<std::uint64_t, 16> numbers{};
    qlx::Data data = qlx::Data::zeros(4);
    constexpr std::uint64_t kWrites = 20'000;
    std::atomic<bool> torn{false};
    std::vector<std::thread> threads;
    for (std::uint64_t writer = 1; writer <= 2; ++writer) {
        threads.emplace_back([&, writer] {
            for (std::uint64_t count = 0; count < kWrites; ++count) {
                std::array<std::uint64_t, 16> value{};
                value.fill(writer * kWrites + count);
                guard.store(numbers, value);
                guard.store(data, qlx::Data(std::vector<std::uint8_t>(4, static_cast<std::uint8_t>(count))));
            }
        });
    }
    for (int reader = 0; reader < 2; ++reader) {
        threads.emplace_back([&] {
            for (std::uint64_t count = 0; count < kWrites; ++count) {
                const auto value = guard.load(numbers);
                const qlx::Data bytes = guard.load(data);
                if (value.front() != value.back() || bytes.size() != 4 || bytes[0] != bytes[3]) {
                    torn = true;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(torn);
}

TEST(Guarded, WaitersGetTheirTurnBehindLongCopies) {
    qlx::Guarded guard;
    std::vector<int> numbers(20'000, 0);
    std::atomic<bool> torn{false};
    std::vector<std::thread> threads;
    for (int worker = 1; worker <= 8; ++worker) {
        threads.emplace_back([&, worker] {
            for (int count = 0; count < 50; ++count) {
                guard.store(numbers, std::vector<int>(20'000, worker));
                const std::vector<int> copy = guard.load(numbers);
                if (copy.size() != 20'000 || copy.front() != copy.back()) {
                    torn = true;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(torn);
}
