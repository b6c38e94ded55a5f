#include "platform/ThreadSerialQueue.h"

#include <algorithm>
#include <array>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <pthread.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using platform::ThreadSerialQueue;

TEST(ThreadSerialQueueTest, RunsTasksInTheOrderInWhichTheyWerePut) {
    std::vector<int> ran;
    {
        ThreadSerialQueue queue("order");
        for (int i = 0; i < 1000; ++i) {
            queue.async([&ran, i] { ran.push_back(i); });
        }
    }
    ASSERT_EQ(ran.size(), 1000U) << "tasks queued earlier run before the queue ends";
    EXPECT_TRUE(std::is_sorted(ran.begin(), ran.end()));
}

TEST(ThreadSerialQueueTest, RunsAllTasksOnOneThreadThatIsNotTheCallers) {
    std::vector<std::thread::id> threads;
    {
        ThreadSerialQueue queue("thread");
        for (int i = 0; i < 10; ++i) {
            queue.async([&threads] { threads.push_back(std::this_thread::get_id()); });
        }
    }
    EXPECT_NE(threads.front(), std::this_thread::get_id());
    EXPECT_EQ(std::count(threads.begin(), threads.end(), threads.front()), 10);
}

TEST(ThreadSerialQueueTest, ATaskPutByATaskRunsAfterIt) {
    std::vector<std::string> log;
    std::promise<void> done;
    ThreadSerialQueue queue("nested");
    queue.async([&] {
        queue.async([&] {
            log.emplace_back("inner");
            done.set_value();
        });
        log.emplace_back("outer");
    });
    done.get_future().wait();
    EXPECT_EQ(log, (std::vector<std::string>{"outer", "inner"}));
}

TEST(ThreadSerialQueueTest, ATaskPutByTheLastTaskStillRunsBeforeTheQueueEnds) {
    bool ran = false;
    {
        ThreadSerialQueue queue("last");
        queue.async([&] { queue.async([&ran] { ran = true; }); });
    }
    EXPECT_TRUE(ran);
}

TEST(ThreadSerialQueueTest, TasksFromManyThreadsNeverOverlapAndNoneIsLost) {
    int count = 0;
    {
        ThreadSerialQueue queue("many");
        std::vector<std::thread> senders;
        for (int i = 0; i < 8; ++i) {
            senders.emplace_back([&] {
                for (int task = 0; task < 500; ++task) {
                    queue.async([&count] { ++count; });
                }
            });
        }
        for (auto& sender : senders) {
            sender.join();
        }
    }
    EXPECT_EQ(count, 4000);
}

TEST(ThreadSerialQueueTest, WhatATaskHeldIsLetGoBeforeTheNextTaskRuns) {
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;
    bool expiredInNext = false;
    {
        ThreadSerialQueue queue("release");
        queue.async([held] {});
        held = nullptr;
        queue.async([&] { expiredInNext = watched.expired(); });
    }
    EXPECT_TRUE(expiredInNext);
}

TEST(ThreadSerialQueueTest, WhatATaskHeldMayPutAnotherTaskWhenItIsLetGo) {
    bool ran = false;
    {
        ThreadSerialQueue queue("farewell");
        std::shared_ptr<void> farewell(nullptr, [&](void*) { queue.async([&ran] { ran = true; }); });
        queue.async([held = std::move(farewell)] {});
    }
    EXPECT_TRUE(ran);
}

TEST(ThreadSerialQueueTest, AnUnusedQueueEndsWithoutEverHavingAThread) {
    const ThreadSerialQueue queue("unused");
}

TEST(ThreadSerialQueueTest, TheThreadCarriesTheFirst15BytesOfTheLabel) {
    std::array<char, 16> name{};
    {
        ThreadSerialQueue queue("ktrmp4recordingconvertqueue");
        queue.async([&name] { ::pthread_getname_np(::pthread_self(), name.data(), name.size()); });
    }
    EXPECT_STREQ(name.data(), "ktrmp4recording");
}

TEST(ThreadSerialQueueTest, ATaskMayHoldTheLastReferenceToItsQueue) {
    std::promise<void> ended;
    auto queue = std::make_shared<ThreadSerialQueue>("own");
    std::promise<void> letGo;
    bool ranLater = false;
    queue->async([&, held = queue]() mutable {
        letGo.get_future().wait();
        held->async([&] { ranLater = true; });
        held->async([&] { ended.set_value(); });
        held = nullptr;
    });
    queue = nullptr;
    letGo.set_value();
    ended.get_future().wait();
    EXPECT_TRUE(ranLater) << "tasks queued earlier run";
}

TEST(ThreadSerialQueueTest, TheMakerMakesSeparateQueues) {
    platform::ThreadSerialQueueMaker maker;
    std::thread::id first;
    std::thread::id second;
    {
        const auto one = maker.makeSerialQueue("one");
        const auto two = maker.makeSerialQueue("two");
        ASSERT_NE(one, nullptr);
        // Each waits for the other: this only ends if each queue has its own thread.
        std::promise<void> oneRuns;
        std::promise<void> twoRuns;
        std::promise<void> bothRan;
        one->async([&] {
            first = std::this_thread::get_id();
            oneRuns.set_value();
            twoRuns.get_future().wait();
            bothRan.set_value();
        });
        two->async([&] {
            second = std::this_thread::get_id();
            oneRuns.get_future().wait();
            twoRuns.set_value();
        });
        bothRan.get_future().wait();
    }
    EXPECT_NE(first, second);
}

}  // namespace
