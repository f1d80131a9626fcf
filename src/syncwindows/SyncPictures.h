#pragma once

#include <QIcon>
#include <QImage>
#include <QPixmap>
#include <QSize>
#include <QString>

// The pictures of the two synchronization windows, drawn in code like the program's other icons.
namespace SyncPictures {
// The logical size of an action picture: the button cell of a results row.
constexpr QSize ActionSize(66, 20);

// The action picture of a key of SyncActionDisplay::AllIconKeys(): an arrow towards the store that
// is to change, coloured and labelled by the action, and the edges of the frame around a block of
// like rows. A null pixmap for a key no row can have.
QPixmap Action(const QString& key, qreal devicePixelRatio = 1.0);
QImage ActionImage(const QString& key, const QSize& size);

// The status pictures of the steps list: 1 while a step runs, 2 once it is done.
QIcon Step(int number);
} // namespace SyncPictures
