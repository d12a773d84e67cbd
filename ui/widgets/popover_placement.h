#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

namespace ravo::ui {

// Where a popover of `size` opens beside the tray item at `anchor`: away from the panel the
// item sits in, whichever edge that is, never over the item, and inside the free area of the
// item's screen along the panel. `screen` is the whole screen, `available` without panels.
QPoint popoverPosition(const QRect& anchor, const QSize& size, const QRect& screen,
                       const QRect& available, int gap);

} // namespace ravo::ui
