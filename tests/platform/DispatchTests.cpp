#include <QLXClosedCaptionsUtilities/platform/Dispatch.h>

#include "platform/TaskQueue.h"

#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <future>
#include <memory>
#include <mutex>
#include <numeric>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

TEST(BackgroundQueue, RunsTasksOnAnotherThread) {
    std::promise<std::thread::id> promise;
    qlx::services().get<qlx::BackgroundQueue>().async([&promise] { promise.set_value(std::this_thread::get_id()); });
    EXPECT_NE(promise.get_future().get(), std::this_thread::get_id());
}

TEST(BackgroundQueue, RunsTasksAtTheSameTime) {
    // Each of the two waits for the other.
    std::promise<void> first;
    std::promise<void> second;
    std::promise<bool> done;
    auto& queue = qlx::services().get<qlx::BackgroundQueue>();
    queue.async([&] {
        first.set_value();
        second.get_future().wait();
        done.set_value(true);
    });
    queue.async([&] {
        first.get_future().wait();
        second.set_value();
    });
    EXPECT_TRUE(done.get_future().get());
}

TEST(SerialQueue, KeepsTheOrderOfEachThread) {
    qlx::SerialQueue queue("test.serial");
    EXPECT_EQ(queue.label(), "test.serial");
    constexpr int kTasks = 2'000;
    constexpr int kThreads = 4;
    std::vector<std::vector<int>> seen(kThreads);  // Touched by the queue's tasks only.
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&queue, &seen, thread] {
            for (int task = 0; task < kTasks; ++task) {
                queue.async([&seen, thread, task] { seen[thread].push_back(task); });
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    queue.waitUntilEmpty();
    std::vector<int> expected(kTasks);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(seen, std::vector<std::vector<int>>(kThreads, expected));
}

TEST(SerialQueue, RunsItsTasksAfterItIsGone) {
    std::promise<void> gate;
    std::promise<int> result;
    {
        qlx::SerialQueue queue("test.gone");
        queue.async([&gate] { gate.get_future().wait(); });
        queue.async([&result] { result.set_value(42); });
    }
    gate.set_value();
    EXPECT_EQ(result.get_future().get(), 42);
}

TEST(SerialQueue, WaitsOnlyForWhatWasQueuedBefore) {
    qlx::SerialQueue queue("test.wait");
    queue.waitUntilEmpty();
    std::atomic<int> count{0};
    for (int task = 0; task < 100; ++task) {
        queue.async([&count] { ++count; });
    }
    queue.waitUntilEmpty();
    EXPECT_EQ(count, 100);
}

TEST(MainQueue, DrainsOnTheCallersThread) {
    qlx::MainQueue queue;
    EXPECT_EQ(queue.drain(), 0U);
    std::vector<int> order;
    queue.post([&] { order.push_back(1); });
    queue.post([&] {
        order.push_back(2);
        queue.post([&] { order.push_back(3); });
    });
    EXPECT_TRUE(order.empty());
    EXPECT_EQ(queue.drain(), 2U);
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
    EXPECT_EQ(queue.drain(), 1U);
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(MainQueue, RunsUntilStopped) {
    qlx::MainQueue queue;
    std::thread::id ranOn;
    std::thread other([&] {
        queue.post([&] { ranOn = std::this_thread::get_id(); });
        queue.post([&] { queue.stop(); });
    });
    queue.run();
    other.join();
    EXPECT_EQ(ranOn, std::this_thread::get_id());
    queue.stop();
    queue.run();  // Returns at once.
}

TEST(MainQueue, HandsTasksToAHostsPoster) {
    qlx::MainQueue queue;
    std::vector<qlx::Task> host;
    int count = 0;
    queue.post([&] { count += 1; });
    queue.setPoster([&host](qlx::Task task) { host.push_back(std::move(task)); });
    EXPECT_EQ(host.size(), 1U);
    queue.post([&] { count += 10; });
    EXPECT_EQ(host.size(), 2U);
    EXPECT_EQ(queue.drain(), 0U);
    for (const qlx::Task& task : host) {
        task();
    }
    EXPECT_EQ(count, 11);
    queue.setPoster(nullptr);
    queue.post([&] { count += 100; });
    EXPECT_EQ(queue.drain(), 1U);
    EXPECT_EQ(count, 111);
}

TEST(MainQueue, IsAServiceLikeTheOthers) {
    qlx::MainQueue queue;
    const qlx::ScopedService<qlx::MainQueue> scope(queue);
    EXPECT_EQ(&qlx::services().get<qlx::MainQueue>(), &queue);
}

TEST(MainQueue, KeepsTheOrderOfAThreadWhileAPosterIsSet) {
    for (int round = 0; round < 200; ++round) {
        qlx::MainQueue queue;
        std::mutex mutex;
        std::vector<int> order;
        std::thread other([&] {
            for (int task = 0; task < 20; ++task) {
                queue.post([&order, task] { order.push_back(task); });
            }
        });
        queue.setPoster([&mutex](const qlx::Task& task) {
            const std::lock_guard lock(mutex);
            task();
        });
        other.join();
        std::vector<int> expected(20);
        std::iota(expected.begin(), expected.end(), 0);
        ASSERT_EQ(order, expected);
    }
}

TEST(Queues, PassOverEmptyTasks) {
    qlx::MainQueue main;
    main.post({});
    EXPECT_EQ(main.drain(), 0U);
    qlx::SerialQueue serial("test.empty");
    serial.async({});
    qlx::services().get<qlx::BackgroundQueue>().async({});
    bool ran = false;
    serial.async([&ran] { ran = true; });
    serial.waitUntilEmpty();
    EXPECT_TRUE(ran);
}

TEST(SerialQueue, TriesAgainAfterTheBackgroundQueueRefused) {
    class RefusingQueue : public qlx::BackgroundQueue {
    public:
        bool refuses = true;
        void async(qlx::Task task) override {
            if (refuses) {
                throw std::runtime_error("no thread");
            }
            defaultInstance().async(std::move(task));
        }
    };
    RefusingQueue background;
    const qlx::ScopedService<qlx::BackgroundQueue> scope(background);
    qlx::SerialQueue queue("test.refused");
    std::vector<int> order;
    EXPECT_THROW(queue.async([&order] { order.push_back(1); }), std::runtime_error);
    background.refuses = false;
    queue.async([&order] { order.push_back(2); });
    queue.waitUntilEmpty();
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(SerialQueue, TakesTasksFromItsOwnTasks) {
    std::promise<int> result;
    auto queue = std::make_shared<qlx::SerialQueue>("test.own");
    queue->async([queue, &result]() mutable {
        queue->async([&result] { result.set_value(7); });
        queue.reset();  // Perhaps the last owner.
    });
    queue.reset();
    EXPECT_EQ(result.get_future().get(), 7);
}

TEST(SerialQueue, RunsItsTasksOnTheCallerWhenNoThreadComes) {
    class DeadQueue : public qlx::BackgroundQueue {
    public:
        void async(qlx::Task /*task*/) override {}
    };
    DeadQueue background;
    const qlx::ScopedService<qlx::BackgroundQueue> scope(background);
    qlx::SerialQueue queue("test.helped");
    queue.runUntilEmpty();
    std::vector<int> order;
    std::thread::id ranOn;
    for (int task = 0; task < 3; ++task) {
        queue.async([&order, &ranOn, task] {
            order.push_back(task);
            ranOn = std::this_thread::get_id();
        });
    }
    queue.runUntilEmpty();
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST(WorkQueue, CallsWhatComesWhileAHelperIsAtItsLastItem) {
    // Calls what it is given when it is told to.
    class HeldQueue : public qlx::BackgroundQueue {
    public:
        void async(qlx::Task task) override { _tasks.push_back(std::move(task)); }
        void run() {
            for (; !_tasks.empty(); _tasks.pop_front()) {
                _tasks.front()();
            }
        }

    private:
        std::deque<qlx::Task> _tasks;
    };
    for (int round = 0; round < 20; ++round) {
        HeldQueue background;
        const qlx::ScopedService<qlx::BackgroundQueue> scope(background);
        qlx::TaskQueue queue("test.last",
                             []() -> qlx::BackgroundQueue& { return qlx::services().get<qlx::BackgroundQueue>(); });
        std::promise<void> begun;
        std::promise<void> gate;
        queue.async([&] {
            begun.set_value();
            gate.get_future().wait();
        });
        std::thread helper([&queue] { queue.help(); });
        begun.get_future().wait();
        std::atomic<bool> ran{false};
        // The helper is done with its item, and finds the queue locked; the next item is none of its.
        queue.asyncMade(
            [&](std::deque<qlx::Task>& items) {
                items.emplace_back([&ran] { ran = true; });
                gate.set_value();
                while (queue.finished() == 0) {
                    std::this_thread::yield();
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            },
            [] { return std::shared_ptr<void>(); });
        background.run();
        helper.join();
        ASSERT_TRUE(ran) << "round " << round;
    }
}

TEST(SerialQueue, RunsTheRestFromOneOfItsOwnTasks) {
    qlx::SerialQueue queue("test.nested");
    std::promise<void> gate;
    std::promise<std::vector<int>> result;
    std::vector<int> order;
    queue.async([&] {
        gate.get_future().wait();
        queue.runUntilEmpty();
        order.push_back(1);
        result.set_value(order);
    });
    queue.async([&order] { order.push_back(2); });
    queue.async([&order] { order.push_back(3); });
    gate.set_value();
    EXPECT_EQ(result.get_future().get(), (std::vector<int>{2, 3, 1}));
    queue.waitUntilEmpty();
}

TEST(SerialQueue, RunsOneTaskAtATimeWhileCallersHelp) {
    qlx::SerialQueue queue("test.helpers");
    constexpr int kTasks = 1'000;
    constexpr int kThreads = 4;
    std::vector<std::vector<int>> seen(kThreads);  // Touched by the queue's tasks only.
    int count = 0;
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&queue, &seen, &count, thread] {
            for (int task = 0; task < kTasks; ++task) {
                queue.async([&seen, &count, thread, task] {
                    seen[thread].push_back(task);
                    ++count;
                });
                if (task % 50 == 0) {
                    queue.runUntilEmpty();
                }
            }
            queue.runUntilEmpty();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::vector<int> expected(kTasks);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(seen, std::vector<std::vector<int>>(kThreads, expected));
    EXPECT_EQ(count, kThreads * kTasks);
}

namespace {

/// Keeps what is said to the system log.
class ListeningConsole : public qlx::Console {
public:
    void log(std::string_view message) override {
        const std::lock_guard lock(_mutex);
        _messages.emplace_back(message);
    }
    std::vector<std::string> messages() {
        const std::lock_guard lock(_mutex);
        return _messages;
    }

private:
    std::mutex _mutex;
    std::vector<std::string> _messages;
};

}  // namespace

TEST(SerialQueue, GoesOnBehindATaskThatThrows) {
    ListeningConsole console;
    const qlx::ScopedService<qlx::Console> scope(console);
    qlx::SerialQueue queue("test.throws");
    std::promise<void> gate;
    queue.async([&gate] { gate.get_future().wait(); });
    std::vector<int> order;
    queue.async([] { throw std::runtime_error("no text"); });
    queue.async([&order] { order.push_back(1); });
    queue.async([] { throw 5; });
    queue.async([&order] { order.push_back(2); });
    gate.set_value();
    queue.runUntilEmpty();
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
    EXPECT_EQ(console.messages(),
              (std::vector<std::string>{"Error: A task of a queue has ended with an exception: no text",
                                        "Error: A task of a queue has ended with an exception: of an unknown type"}));
}

TEST(SerialQueue, CountsATaskThatThrowsAsFinishedOnTheCaller) {
    class DeadQueue : public qlx::BackgroundQueue {
    public:
        void async(qlx::Task /*task*/) override {}
    };
    ListeningConsole console;
    const qlx::ScopedService<qlx::Console> consoleScope(console);
    DeadQueue background;
    const qlx::ScopedService<qlx::BackgroundQueue> scope(background);
    qlx::SerialQueue queue("test.throws.helped");
    bool ran = false;
    queue.async([] { throw std::bad_alloc(); });
    queue.async([&ran] { ran = true; });
    EXPECT_NO_THROW(queue.runUntilEmpty());
    queue.waitUntilEmpty();
    EXPECT_TRUE(ran);
    EXPECT_EQ(console.messages().size(), 1U);
}

TEST(BackgroundQueue, OutlivesATaskThatThrows) {
    ListeningConsole console;
    const qlx::ScopedService<qlx::Console> scope(console);
    std::promise<void> unwound;
    struct Teller {
        explicit Teller(std::promise<void>& promise) : _promise(promise) {}
        ~Teller() { _promise.set_value(); }
        std::promise<void>& _promise;
    };
    auto teller = std::make_shared<Teller>(unwound);
    qlx::services().get<qlx::BackgroundQueue>().async([teller = std::move(teller)] { throw std::bad_alloc(); });
    unwound.get_future().wait();  // Printed before the task is let go.
    EXPECT_EQ(console.messages().size(), 1U);
}

TEST(MainQueue, LetsAnExceptionThroughAndGoesOn) {
    qlx::MainQueue queue;
    std::vector<int> order;
    queue.post([] { throw std::runtime_error("host"); });
    queue.post([&order] { order.push_back(1); });
    EXPECT_THROW(queue.drain(), std::runtime_error);
    EXPECT_EQ(queue.drain(), 1U);
    queue.post([] { throw std::runtime_error("host"); });
    queue.post([&] {
        order.push_back(2);
        queue.stop();
    });
    EXPECT_THROW(queue.run(), std::runtime_error);
    queue.run();
    EXPECT_EQ(order, (std::vector<int>{1, 2}));

    // A poster that throws is not set; the next one, whoever sets it, gets what is left.
    queue.post([&order] { order.push_back(3); });
    queue.post([&order] { order.push_back(4); });
    EXPECT_THROW(queue.setPoster([](const qlx::Task&) { throw std::runtime_error("loop"); }), std::runtime_error);
    std::thread([&queue] { queue.setPoster([](const qlx::Task& task) { task(); }); }).join();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 4}));
}

TEST(MainQueue, HandsOverToOnePosterAfterTheOther) {
    qlx::MainQueue queue;
    constexpr int kTasks = 100;
    for (int task = 0; task < kTasks; ++task) {
        queue.post([] {});
    }
    // The second one is set while the first gets its first task.
    std::promise<void> firstBegins;
    std::atomic<bool> isFirstDone{false};
    std::atomic<int> firstCount{0};
    std::atomic<int> secondCount{0};
    std::atomic<int> early{0};
    std::thread other([&] {
        firstBegins.get_future().wait();
        queue.setPoster([&](const qlx::Task&) { secondCount += isFirstDone ? 1 : 1000; });
        early += isFirstDone ? 0 : 1;
    });
    queue.setPoster([&](const qlx::Task&) {
        if (firstCount == 0) {
            firstBegins.set_value();
        }
        std::this_thread::yield();
        isFirstDone = ++firstCount == kTasks;
    });
    other.join();
    EXPECT_EQ(firstCount, kTasks);
    EXPECT_EQ(early, 0);
    queue.post([] {});
    EXPECT_EQ(secondCount, 1) << "the second call came second";
}

TEST(MainQueue, LetsAPosterSetAnother) {
    qlx::MainQueue queue;
    for (int task = 0; task < 3; ++task) {
        queue.post([] {});
    }
    int first = 0;
    int second = 0;
    queue.setPoster([&](const qlx::Task&) {
        ++first;
        queue.setPoster([&](const qlx::Task&) { ++second; });
    });
    queue.post([] {});
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 3);
}
