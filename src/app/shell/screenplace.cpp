#include "app/shell/screenplace.h"

#include <algorithm>

namespace {
constexpr QSize MIN_SEEN(80, 30); ///< of a window's top edge, so that it can still be dragged
constexpr QSize FIRST_SIZE(752, 560);
constexpr QSize UNSEEN_SIZE(1600, 1000);

/// How far a frame is from a screen; 0 if they touch.
int GetDistance(const QRect& Frame, const QRect& Screen)
{
    const int x = std::max({0, Screen.left() - Frame.right(), Frame.left() - Screen.right()});
    const int y = std::max({0, Screen.top() - Frame.bottom(), Frame.top() - Screen.bottom()});
    return x + y;
}
} // namespace

QRect GetReachableFrame(const QRect& Frame, const QList<QRect>& Screens)
{
    if (Screens.isEmpty()) return Frame;
    for (const QRect& Screen : Screens) {
        const QRect Seen = QRect(Frame.topLeft(), QSize(Frame.width(), MIN_SEEN.height())) & Screen;
        if (Seen.width() >= std::min(MIN_SEEN.width(), Frame.width()) && Seen.height() >= MIN_SEEN.height())
            return Frame;
    }
    const QRect Room =
        *std::min_element(Screens.begin(), Screens.end(), [&Frame](const QRect& a, const QRect& b) {
            return GetDistance(Frame, a) < GetDistance(Frame, b);
        });
    QRect Moved(Frame.topLeft(), Frame.size().boundedTo(Room.size()));
    Moved.moveLeft(std::clamp(Frame.left(), Room.left(), Room.right() - Moved.width() + 1));
    Moved.moveTop(std::clamp(Frame.top(), Room.top(), Room.bottom() - Moved.height() + 1));
    return Moved;
}

QSize GetFirstSize(const QString& sPlatform)
{
    return sPlatform == QLatin1String("offscreen") ? UNSEEN_SIZE : FIRST_SIZE;
}
