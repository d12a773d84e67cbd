#include "ui/widgets/popover_placement.h"

#include <gtest/gtest.h>

namespace ravo::ui {
namespace {

// A 1920x1080 screen to the right of another, with a 32 px panel on one of its edges.
const QRect kScreen(1920, 0, 1920, 1080);
const QSize kPopover(360, 420);
constexpr int kGap = 6;

struct Case {
    const char* panel;
    QRect available;
    QRect item;
};

TEST(PopoverPlacement, OpensAwayFromThePanelOnEveryEdgeAndNeverCoversTheItem) {
    const Case cases[] = {
        {"top, middle", {1920, 32, 1920, 1048}, {2800, 4, 24, 24}},
        {"top, far right", {1920, 32, 1920, 1048}, {3810, 4, 24, 24}},
        {"bottom, far left", {1920, 0, 1920, 1048}, {1922, 1052, 24, 24}},
        {"left, near the top", {1952, 0, 1888, 1080}, {1924, 10, 24, 24}},
        {"right, near the bottom", {1920, 0, 1888, 1080}, {3812, 1050, 24, 24}},
        // An autohiding panel reserves nothing: the nearest edge says where it is.
        {"bottom, autohidden", kScreen, {2500, 1054, 24, 24}},
        {"right, autohidden", kScreen, {3814, 500, 24, 24}},
    };
    for (const auto& c : cases) {
        const QRect popover(popoverPosition(c.item, kPopover, kScreen, c.available, kGap),
                            kPopover);
        EXPECT_FALSE(popover.intersects(c.item)) << c.panel;
        EXPECT_TRUE(kScreen.contains(popover)) << c.panel;
        // It sits beside the item, a gap away, not somewhere on the screen.
        const QRect reach = c.item.adjusted(-kGap - 1, -kGap - 1, kGap + 1, kGap + 1);
        EXPECT_TRUE(popover.intersects(reach)) << c.panel;
        // Inside the free area along the panel, so the panel does not hide its edge.
        if (c.available != kScreen) {
            EXPECT_TRUE(c.available.contains(popover)) << c.panel;
        }
    }
}

TEST(PopoverPlacement, IsCentredOnTheItemWhereThereIsRoom) {
    const QRect item(2800, 4, 24, 24);
    const QPoint at = popoverPosition(item, kPopover, kScreen, {1920, 32, 1920, 1048}, kGap);
    EXPECT_EQ(at.x() + kPopover.width() / 2, item.center().x());
    EXPECT_EQ(at.y(), item.bottom() + 1 + kGap);
}

TEST(PopoverPlacement, APopoverLargerThanTheScreenKeepsItsStartInView) {
    const QRect small(0, 0, 800, 300);
    const QPoint at = popoverPosition({700, 280, 20, 20}, {900, 600}, small, {0, 0, 800, 276}, 6);
    EXPECT_EQ(at.x(), 6);
    EXPECT_LT(at.y() + 600, 280); // above the item, off the top rather than over it
}

} // namespace
} // namespace ravo::ui
