#include "contract/EventLoop.h"
#include "platform/qt/NotificationBus.h"
#include "platform/qt/QtDistributedNotificationCenter.h"
#include "support/FakeDistributedNotificationCenter.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace {

using platform::DistributedNotification;
using platform::UserInfo;
using namespace std::chrono_literals;

struct FakeHost {
    test::FakeDistributedNotificationCenter center;

    bool settle(const std::function<bool()>& done) {
        center.deliverPosted();
        return done();
    }
    void settle() { center.deliverPosted(); }
};

struct BusHost {
    platform::qt::NotificationBus bus;
    platform::qt::QtDistributedNotificationCenter center{bus};

    bool settle(const std::function<bool()>& done) { return test::turnUntil(done); }
    void settle() { test::turnFor(200ms); }
};

template<typename Host>
class DistributedNotificationCenterContract : public ::testing::Test {
protected:
    void observe(const void* who, const std::string& name) {
        host.center.addObserver(who, name,
                                [this](const DistributedNotification& arrived) { heard.push_back(arrived); });
    }

    bool waitFor(std::size_t count) {
        return host.settle([&] { return heard.size() >= count; });
    }

    const int observer = 0;
    const int other = 0;
    std::vector<DistributedNotification> heard;
    Host host;
};

using Hosts = ::testing::Types<FakeHost, BusHost>;
TYPED_TEST_SUITE(DistributedNotificationCenterContract, Hosts);

TYPED_TEST(DistributedNotificationCenterContract, ReachesObserversInThisProcessTooButNotInsideThePost) {
    this->observe(&this->observer, "Name");
    this->host.center.postNotification({"Name", std::nullopt, std::nullopt});
    EXPECT_TRUE(this->heard.empty());
    ASSERT_TRUE(this->waitFor(1));
    EXPECT_EQ(this->heard[0].name, "Name");
    EXPECT_FALSE(this->heard[0].object.has_value());
    EXPECT_FALSE(this->heard[0].userInfo.has_value());
}

TYPED_TEST(DistributedNotificationCenterContract, HearsItsNameFromAnySenderObject) {
    this->observe(&this->observer, "Name");
    this->host.center.postNotification({"Name", "somebody", std::nullopt});
    ASSERT_TRUE(this->waitFor(1));
    EXPECT_EQ(this->heard[0].object, "somebody");
}

TYPED_TEST(DistributedNotificationCenterContract, HearsNoOtherName) {
    this->observe(&this->observer, "Name");
    this->host.center.postNotification({"Nam", std::nullopt, std::nullopt});
    this->host.center.postNotification({"Name2", std::nullopt, std::nullopt});
    this->host.center.postNotification({"Name", std::nullopt, std::nullopt});
    ASSERT_TRUE(this->waitFor(1));
    this->host.settle();
    EXPECT_EQ(this->heard.size(), 1U);
}

TYPED_TEST(DistributedNotificationCenterContract, KeepsTheOrderOfPosting) {
    this->observe(&this->observer, "A");
    this->observe(&this->observer, "B");
    for (int i = 0; i < 50; ++i) {
        this->host.center.postNotification({i % 3 == 0 ? "A" : "B", std::nullopt, UserInfo{{"number", i}}});
    }
    ASSERT_TRUE(this->waitFor(50));
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(platform::integerValue(this->heard[static_cast<std::size_t>(i)].userInfo->at("number")), i);
    }
}

TYPED_TEST(DistributedNotificationCenterContract, KeepsEveryValueAndItsType) {
    const UserInfo values{
        {"int32", std::numeric_limits<std::int32_t>::min()},
        {"uint32", std::numeric_limits<std::uint32_t>::max()},
        {"int64", std::numeric_limits<std::int64_t>::min()},
        {"uint64", std::numeric_limits<std::uint64_t>::max()},
        {"int16", std::int16_t{-3}},
        {"uint16", std::uint16_t{65535}},
        {"byte", std::uint8_t{200}},
        {"double", 2.5},
        {"text", std::string("Grüße, 日本")},
        {"empty", std::string()},
        {"true", true},
        {"false", false},
        {"bytes", platform::Bytes{'/', 't', 0xff, 0xfe}},
    };
    this->observe(&this->observer, "Name");
    this->host.center.postNotification({"Name", std::nullopt, values});
    ASSERT_TRUE(this->waitFor(1));
    ASSERT_TRUE(this->heard[0].userInfo.has_value());
    for (const auto& [key, value] : values) {
        ASSERT_TRUE(this->heard[0].userInfo->contains(key)) << key;
        EXPECT_EQ(this->heard[0].userInfo->at(key).index(), value.index()) << key;
        EXPECT_TRUE(this->heard[0].userInfo->at(key) == value) << key;
    }
    EXPECT_EQ(this->heard[0].userInfo->size(), values.size());
}

TYPED_TEST(DistributedNotificationCenterContract, RegisteringTwiceDeliversTwice) {
    this->observe(&this->observer, "Name");
    this->observe(&this->observer, "Name");
    this->host.center.postNotification({"Name", std::nullopt, std::nullopt});
    ASSERT_TRUE(this->waitFor(2));
    this->host.settle();
    EXPECT_EQ(this->heard.size(), 2U);
}

TYPED_TEST(DistributedNotificationCenterContract, ARemovedObserverHearsNothingAndOthersGoOn) {
    this->observe(&this->observer, "Name");
    this->host.center.addObserver(&this->other, "Name", [](const DistributedNotification&) { FAIL(); });
    this->host.center.postNotification({"Name", std::nullopt, std::nullopt});
    this->host.center.removeObserver(&this->other);
    ASSERT_TRUE(this->waitFor(1));
}

TYPED_TEST(DistributedNotificationCenterContract, AnObserverRemovedByAnotherInTheSameDeliveryHearsNothing) {
    this->host.center.addObserver(&this->other, "Name", [this](const DistributedNotification& arrived) {
        this->heard.push_back(arrived);
        this->host.center.removeObserver(&this->observer);
    });
    this->host.center.addObserver(&this->observer, "Name", [](const DistributedNotification&) { FAIL(); });
    this->host.center.postNotification({"Name", std::nullopt, std::nullopt});
    ASSERT_TRUE(this->waitFor(1));
}

}  // namespace
