// How an instruction row looks in source, disassembly and trace: address, encoding, mnemonic and operands in the
// colours of the preference store.
#pragma once
#include "views/debug/debugviewhooks.h"

#include <QColor>
#include <QPoint>

class QPainter;

/// Width in characters of the columns of an instruction row.
inline constexpr int INST_COLUMN_STEP = 11;

/// Paints one row at its top left corner with the painter's font; Single, if valid, takes the place of all colours.
void PaintInst(QPainter& Painter, QPoint TopLeft, int RowHeight, double CharWidth, const VIEW_INST& Inst, const QColor& Single);
/// The same as text, columns separated by a tab; the encoding's column only if there is an encoding.
QString GetInstLine(const VIEW_INST& Inst);
