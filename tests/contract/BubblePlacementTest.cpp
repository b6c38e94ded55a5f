#include "uilib/qt/BubblePlacement.h"

#include <gtest/gtest.h>
#include <optional>
#include <vector>

namespace {

using namespace uilib::qt;

const AuroraArrowRecord arrowShape{6, 20, 10, 40, 40};
const Rect smallScreen{0, 0, 1280, 800};
const Size savedSize{255, 81};
const Size failed{255, 59};

/// An icon without width: its middle is at `x`.
Surroundings iconAt(double x, double y, const Rect& available = smallScreen) {
    return {Rect{x - 10, y, 20, 20}, available};
}

double tipOf(const Place& place) {
    return place.body.x + place.arrowTip;
}

bool overlap(const Rect& a, const Rect& b) {
    return a.x < b.x + b.width && b.x < a.x + a.width && a.y < b.y + b.height && b.y < a.y + a.height;
}

TEST(BubblePlacement, HangsBelowTheIconAndPointsAtTheMiddleOfItsLowerEdge) {
    const auto places = placeBubbles(iconAt(640, 2), arrowShape, {savedSize});
    ASSERT_EQ(places.size(), 1U);
    EXPECT_EQ(places[0].arrow, ArrowEdge::top);
    EXPECT_EQ(tipOf(places[0]), 640);
    EXPECT_EQ(places[0].body.y, 22 + arrowShape.height) << "the arrow's tip touches the icon";
    EXPECT_EQ(places[0].body.x, 640 - 255.0 / 2);
}

TEST(BubblePlacement, IsPushedInsideTheScreenWhileTheArrowStillPointsAtTheIcon) {
    for (const double x : {12.0, 60.0, 1220.0, 1268.0}) {
        const auto place = placeBubbles(iconAt(x, 2), arrowShape, {savedSize}).front();
        EXPECT_EQ(tipOf(place), x);
        EXPECT_GE(place.body.x, bubbleGap);
        EXPECT_LE(place.body.x + place.body.width, smallScreen.width - bubbleGap);
    }
}

TEST(BubblePlacement, KeepsTheArrowsLeastDistanceFromTheCornersAwayFromTheScreensEdges) {
    const auto place = placeBubbles(iconAt(200, 2), arrowShape, {savedSize}).front();
    EXPECT_GE(place.arrowTip, arrowShape.leastFromLeading);
    EXPECT_GE(place.body.width - place.arrowTip, arrowShape.leastFromTrailing);
}

TEST(BubblePlacement, OpensUpwardAtABottomPanelWithTheArrowBelow) {
    const auto place = placeBubbles(iconAt(640, 776), arrowShape, {savedSize}).front();
    EXPECT_EQ(place.arrow, ArrowEdge::bottom);
    EXPECT_EQ(place.body.y + place.body.height + arrowShape.height, 776);
    EXPECT_EQ(tipOf(place), 640);
}

TEST(BubblePlacement, WithoutAnIconStandsInTheTopRightCornerOfTheFreeArea) {
    const auto place = placeBubbles({std::nullopt, {100, 30, 1000, 700}}, arrowShape, {savedSize}).front();
    EXPECT_EQ(place.arrow, ArrowEdge::none);
    EXPECT_EQ(place.body.x + place.body.width, 1100 - bubbleGap);
    EXPECT_EQ(place.body.y, 30 + bubbleGap);
}

TEST(BubblePlacement, StacksWithAGapAndOnlyTheNearestPoints) {
    const auto places = placeBubbles(iconAt(640, 2), arrowShape, {savedSize, failed, savedSize});
    ASSERT_EQ(places.size(), 3U);
    EXPECT_EQ(places[0].arrow, ArrowEdge::top);
    EXPECT_EQ(places[1].arrow, ArrowEdge::none);
    EXPECT_EQ(places[1].body.y, places[0].body.y + savedSize.height + bubbleGap);
    EXPECT_EQ(places[2].body.y, places[1].body.y + failed.height + bubbleGap);
}

TEST(BubblePlacement, ClosesUpWhenOneLeaves) {
    const auto before = placeBubbles(iconAt(640, 2), arrowShape, {savedSize, failed});
    const auto after = placeBubbles(iconAt(640, 2), arrowShape, {failed});
    EXPECT_EQ(after[0].body.y, before[0].body.y);
    EXPECT_EQ(after[0].arrow, ArrowEdge::top);
}

TEST(BubblePlacement, StacksUpwardAtABottomPanel) {
    const auto places = placeBubbles(iconAt(640, 776), arrowShape, {savedSize, failed});
    EXPECT_EQ(places[1].body.y + failed.height + bubbleGap, places[0].body.y);
}

TEST(BubblePlacement, AFullColumnGoesOnBesideIt) {
    const std::vector<Size> many(12, savedSize);
    const auto places = placeBubbles(iconAt(1268, 2), arrowShape, many);
    for (std::size_t i = 0; i < places.size(); ++i) {
        EXPECT_LE(places[i].body.y + places[i].body.height, smallScreen.height) << i;
        EXPECT_GE(places[i].body.x, 0) << i;
        for (std::size_t j = 0; j < i; ++j) {
            EXPECT_FALSE(overlap(places[i].body, places[j].body)) << i << " covers " << j;
        }
    }
}

/// Expects that all `places` are on the screen and that none covers another.
void expectApart(const std::vector<Place>& places, const Rect& screen) {
    for (std::size_t i = 0; i < places.size(); ++i) {
        const auto& body = places[i].body;
        EXPECT_GE(body.x, screen.x) << i;
        EXPECT_LE(body.x + body.width, screen.x + screen.width) << i;
        EXPECT_GE(body.y, screen.y) << i;
        EXPECT_LE(body.y + body.height, screen.y + screen.height) << i;
        for (std::size_t j = 0; j < i; ++j) {
            EXPECT_FALSE(overlap(body, places[j].body)) << i << " covers " << j;
        }
    }
}

TEST(BubblePlacement, NoneCoversAnotherWhereverTheyHang) {
    std::vector<Size> many;
    for (int i = 0; i < 60; ++i) {
        many.push_back({255.0 + (i * 37) % 90, i % 3 == 0 ? 59.0 : 81.0});
    }
    for (const double y : {2.0, 776.0}) {
        for (const double x : {12.0, 300.0, 640.0, 1268.0}) {
            const auto places = placeBubbles(iconAt(x, y), arrowShape, many);
            SCOPED_TRACE(::testing::Message() << "icon at " << x << ", " << y);
            EXPECT_GE(places.size(), 16U) << "a good part of the screen is used";
            expectApart(places, smallScreen);
        }
    }
    for (const auto corner : {Corner::topRight, Corner::bottomRight}) {
        const auto places = placeBubbles({std::nullopt, smallScreen, corner}, arrowShape, many);
        EXPECT_GE(places.size(), 24U);
        expectApart(places, smallScreen);
    }
}

TEST(BubblePlacement, AFullScreenTakesNoMoreAndLaterOnesMoveNone) {
    const auto few = placeBubbles(iconAt(12, 2), arrowShape, std::vector<Size>(10, savedSize));
    const auto many = placeBubbles(iconAt(12, 2), arrowShape, std::vector<Size>(200, savedSize));
    ASSERT_EQ(few.size(), 10U);
    EXPECT_LT(many.size(), 200U);
    for (std::size_t i = 0; i < few.size(); ++i) {
        EXPECT_EQ(few[i].body, many[i].body) << i;
    }
}

TEST(BubblePlacement, TheFirstHasAPlaceOnTheSmallestScreen) {
    EXPECT_EQ(placeBubbles(iconAt(10, 2, {0, 0, 100, 60}), arrowShape, {savedSize, savedSize}).size(), 1U);
}

TEST(BubblePlacement, TheCornerIsBesideThePanel) {
    EXPECT_EQ(cornerBesidePanel(smallScreen, {0, 28, 1280, 772}), Corner::topRight);
    EXPECT_EQ(cornerBesidePanel(smallScreen, {0, 0, 1280, 760}), Corner::bottomRight);
    EXPECT_EQ(cornerBesidePanel(smallScreen, {0, 28, 1280, 732}), Corner::topRight) << "panels at both edges";
    EXPECT_EQ(cornerBesidePanel(smallScreen, smallScreen), Corner::topRight) << "no panel";
}

TEST(BubblePlacement, InTheBottomCornerStacksUpward) {
    const auto places =
        placeBubbles({std::nullopt, {0, 0, 1280, 760}, Corner::bottomRight}, arrowShape, {savedSize, failed});
    EXPECT_EQ(places[0].body.x + savedSize.width, 1280 - bubbleGap);
    EXPECT_EQ(places[0].body.y + savedSize.height, 760 - bubbleGap);
    EXPECT_EQ(places[0].arrow, ArrowEdge::none);
    EXPECT_EQ(places[1].body.y + failed.height + bubbleGap, places[0].body.y);
}

TEST(BubblePlacement, ABubbleLargerThanTheScreenKeepsItsLeftEdgeOnIt) {
    const auto place = placeBubbles(iconAt(640, 2), arrowShape, {Size{2000, 81}}).front();
    EXPECT_EQ(place.body.x, bubbleGap);
}

TEST(BubblePlacement, StaysOnItsOwnScreen) {
    const Rect right{1280, 0, 1920, 1080};
    const auto place = placeBubbles(iconAt(1290, 2, right), arrowShape, {savedSize}).front();
    EXPECT_GE(place.body.x, 1280 + bubbleGap);
    EXPECT_EQ(tipOf(place), 1290);
}

TEST(BubblePlacement, NothingToPlaceGivesNothing) {
    EXPECT_TRUE(placeBubbles(iconAt(640, 2), arrowShape, {}).empty());
}

}  // namespace
