#include "contract/EventLoop.h"
#include "platform/ThreadSerialQueue.h"
#include "platform/qt/QtMainQueue.h"
#include "support/FakeDispatchQueue.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace {

struct FakeHost {
    test::FakeMainQueue queue;

    void settle(const std::function<bool()>&) { queue.drain(); }
};

struct QtHost {
    platform::qt::QtMainQueue queue;

    void settle(const std::function<bool()>& done) { ASSERT_TRUE(test::turnUntil(done)); }
};

struct ThreadHost {
    platform::ThreadSerialQueue queue{"contract"};

    void settle(const std::function<bool()>& done) {
        while (!done()) {
            std::this_thread::yield();
        }
    }
};

template<typename Host>
class DispatchQueueContract : public ::testing::Test {
protected:
    void note(int number) {
        const std::lock_guard lock(mutex);
        order.push_back(number);
    }

    std::size_t count() {
        const std::lock_guard lock(mutex);
        return order.size();
    }

    std::mutex mutex;
    std::vector<int> order;
    Host host;
};

using Hosts = ::testing::Types<FakeHost, QtHost, ThreadHost>;
TYPED_TEST_SUITE(DispatchQueueContract, Hosts);

TYPED_TEST(DispatchQueueContract, RunsTasksInTheOrderInWhichTheyWerePut) {
    for (int i = 0; i < 100; ++i) {
        this->host.queue.async([this, i] { this->note(i); });
    }
    this->host.settle([this] { return this->count() == 100; });
    ASSERT_EQ(this->order.size(), 100U);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(this->order[static_cast<std::size_t>(i)], i);
    }
}

TYPED_TEST(DispatchQueueContract, NeverRunsATaskInsideTheCallThatPutsIt) {
    this->host.queue.async([this] {
        this->host.queue.async([this] { this->note(2); });
        this->note(1);
    });
    this->host.settle([this] { return this->count() == 2; });
    EXPECT_EQ(this->order, (std::vector<int>{1, 2}));
}

TYPED_TEST(DispatchQueueContract, TakesTasksFromManyThreadsAndLosesNone) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this, t] {
            for (int i = 0; i < 250; ++i) {
                this->host.queue.async([this, t] { this->note(t); });
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    this->host.settle([this] { return this->count() == 1000; });
    EXPECT_EQ(this->order.size(), 1000U);
}

TEST(QtMainQueue, RunsItsTasksOnTheMainThread) {
    platform::qt::QtMainQueue queue;
    std::thread::id ranOn;
    std::thread([&] { queue.async([&] { ranOn = std::this_thread::get_id(); }); }).join();
    ASSERT_TRUE(test::turnUntil([&] { return ranOn != std::thread::id(); }));
    EXPECT_EQ(ranOn, std::this_thread::get_id());
}

}  // namespace
