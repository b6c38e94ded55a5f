#include "KTRConverterReporterFactory.h"

#include "KTRConverterProcessNotificationMgr.h"
#include "support/FakePlatform.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <memory>

namespace {

class KTRConverterReporterFactoryTest : public testing::Test {
protected:
    test::FakePlatform fake;
    KTRConverterReporterFactory factory{fake.application, fake.notificationCenter, fake.workspace, fake.bubbleMaker};
};

TEST_F(KTRConverterReporterFactoryTest, Type0GivesABubbleManager) {
    const auto reporter = factory.createConverterReporterWithType(0);
    ASSERT_NE(reporter, nullptr);
    EXPECT_NE(std::dynamic_pointer_cast<KTRConverterProcessNotificationMgr>(reporter), nullptr);
}

TEST_F(KTRConverterReporterFactoryTest, EachCallGivesANewOne) {
    EXPECT_NE(factory.createConverterReporterWithType(0), factory.createConverterReporterWithType(0));
}

TEST_F(KTRConverterReporterFactoryTest, Type1GivesNull) {
    EXPECT_EQ(factory.createConverterReporterWithType(1), nullptr);
}

TEST_F(KTRConverterReporterFactoryTest, AnyOtherTypeGivesNullHoweverWide) {
    EXPECT_EQ(factory.createConverterReporterWithType(std::uint64_t{1} << 32U), nullptr);
    EXPECT_EQ(factory.createConverterReporterWithType(std::numeric_limits<std::uint64_t>::max()), nullptr);
}

}  // namespace
