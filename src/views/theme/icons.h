// The program's icons: drawings on a 16 grid that take their stroke colour from the palette when they are
// painted, so that they are crisp at every scale and follow a change between the light and the dark scheme.
//
//   pAction->setIcon(GetIcon("arrow-step-over.png"));   // the name of the drawing, with or without an ending
#pragma once
#include <QColor>
#include <QIcon>
#include <QString>

class QPainter;
class QRectF;

/// Makes the drawings known to the resource system; GetIcon() does so by itself.
void InitIconResources();
/// The icon of a name ("control", "control.png", ":/Resources/Icons/control.png"); a null icon if there is none.
QIcon GetIcon(const QString& sName);
bool HasIcon(const QString& sName);
/// Paints a drawing into a rectangle in logical pixels; nothing for an unknown name. Strokes take the colour given.
void PaintIcon(QPainter& Painter, const QString& sName, const QRectF& Rect, const QColor& Stroke);
