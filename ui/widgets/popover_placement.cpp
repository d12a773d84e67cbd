#include "ui/widgets/popover_placement.h"

#include <algorithm>
#include <array>

namespace ravo::ui {

namespace {

enum class Edge { top, bottom, left, right };

// The panel's edge: the side of the free area the item lies beyond, or, for a panel that
// reserves no space (an autohiding one, a floating dock), the screen edge nearest the item.
Edge panelEdge(const QRect& anchor, const QRect& screen, const QRect& available) {
    if (anchor.bottom() < available.top())
        return Edge::top;
    if (anchor.top() > available.bottom())
        return Edge::bottom;
    if (anchor.right() < available.left())
        return Edge::left;
    if (anchor.left() > available.right())
        return Edge::right;
    const QPoint c = anchor.center();
    const std::array<std::pair<int, Edge>, 4> distances{{
        {c.y() - screen.top(), Edge::top},
        {screen.bottom() - c.y(), Edge::bottom},
        {c.x() - screen.left(), Edge::left},
        {screen.right() - c.x(), Edge::right},
    }};
    return std::min_element(distances.begin(), distances.end())->second;
}

// Along the panel the popover may slide to stay on screen; it is centred on the item first.
int slide(int start, int length, int low, int high, int gap) {
    if (length + 2 * gap > high - low + 1)
        return low + gap; // larger than the screen: keep its start in view
    return std::clamp(start, low + gap, high + 1 - gap - length);
}

} // namespace

QPoint popoverPosition(const QRect& anchor, const QSize& size, const QRect& screen,
                       const QRect& available, int gap) {
    switch (panelEdge(anchor, screen, available)) {
    case Edge::top:
        return {slide(anchor.center().x() - size.width() / 2, size.width(), available.left(),
                      available.right(), gap),
                anchor.bottom() + 1 + gap};
    case Edge::bottom:
        return {slide(anchor.center().x() - size.width() / 2, size.width(), available.left(),
                      available.right(), gap),
                anchor.top() - gap - size.height()};
    case Edge::left:
        return {anchor.right() + 1 + gap,
                slide(anchor.center().y() - size.height() / 2, size.height(), available.top(),
                      available.bottom(), gap)};
    case Edge::right:
        return {anchor.left() - gap - size.width(),
                slide(anchor.center().y() - size.height() / 2, size.height(), available.top(),
                      available.bottom(), gap)};
    }
    return anchor.bottomLeft();
}

} // namespace ravo::ui
