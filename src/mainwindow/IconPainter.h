#pragma once

#include <QIcon>
#include <QImage>
#include <QString>

// Draws the program's pictures, one per key of the image list. They are our own vector drawings,
// made in code so that no image plug-in is needed: a glyph for the kind of thing and, for an
// object's state, a badge whose colour and shape differ for each state.
namespace IconPainter {
QIcon Icon(const QString& key);
QImage Image(const QString& key, int size);
} // namespace IconPainter
