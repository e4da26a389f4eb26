// Where windows stand on the screens that there are, when their place comes from a run with other screens.
// Pure functions.
#pragma once
#include <QList>
#include <QRect>
#include <QSize>
#include <QString>

/// The frame at which a top-level window can be reached. The frame given, if so much of its top edge shows on
/// one of the screens that it can be dragged; otherwise moved onto the nearest screen and made no larger than
/// that screen. Everything in logical pixels; the screens without the desktop's own bars. Without screens the
/// frame itself.
QRect GetReachableFrame(const QRect& Frame, const QList<QRect>& Screens);

/// Size of the main window in a first run, which fits every screen. On the platform without one nobody can
/// make it larger: there it has room for all windows, for the pictures that a batch takes.
QSize GetFirstSize(const QString& sPlatform);
