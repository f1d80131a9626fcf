#include "SyncPictures.h"

#include "SyncActionDisplay.h"

#include <QFont>
#include <QPainter>
#include <QPainterPath>
#include <QPixmapCache>

// An action picture is drawn on the 66 x 20 grid of its cell: a button face, on it an arrow that
// points at the store that is to change, and the action's word on the arrow. Green adds, red drops,
// amber replaces a text; a row without action shows a faint two-way arrow. A row inside a block
// adds the edges of a frame in the colour of its direction, drawn at the very edge of the cell, so
// that the rows of a block join into one box.
namespace {

const QColor face(0xee, 0xec, 0xf4);
const QColor faceEdge(0x9a, 0x96, 0xb0);
const QColor addGreen(0x2e, 0x8b, 0x06);
const QColor dropRed(0xcc, 0x00, 0x00);
const QColor changeAmber(0xc4, 0x6a, 0x00);
const QColor undecided(0xa8, 0xa6, 0xb4);
const QColor frameRed(0xd2, 0x00, 0x00);
const QColor frameGreen(0x00, 0xa8, 0x00);

QColor wordColour(const QString& word) {
    if (word == QLatin1String("ADD"))
        return addGreen;
    if (word == QLatin1String("DEL"))
        return dropRed;
    return changeAmber;
}

// An arrow across the face, its head at the left or the right end.
QPainterPath arrowPath(bool pointsLeft) {
    const qreal tip = pointsLeft ? 6 : 60;
    const qreal neck = pointsLeft ? 15 : 51;
    const qreal tail = pointsLeft ? 59 : 7;
    QPainterPath path;
    path.moveTo(tip, 10);
    path.lineTo(neck, 3.5);
    path.lineTo(neck, 6);
    path.lineTo(tail, 6);
    path.lineTo(tail, 14);
    path.lineTo(neck, 14);
    path.lineTo(neck, 16.5);
    path.closeSubpath();
    return path;
}

void buttonFace(QPainter& p) {
    p.setPen(QPen(faceEdge, 1));
    p.setBrush(face);
    p.drawRoundedRect(QRectF(3.5, 1.5, 59, 17), 3, 3);
}

void action(QPainter& p, const QString& word, bool pointsLeft) {
    const QColor colour = wordColour(word);
    p.setPen(QPen(colour.darker(130), 1, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(colour);
    p.drawPath(arrowPath(pointsLeft));
    QFont font = p.font();
    font.setPixelSize(8);
    font.setBold(true);
    font.setLetterSpacing(QFont::AbsoluteSpacing, 0.5);
    p.setFont(font);
    p.setPen(Qt::white);
    const QRectF body = pointsLeft ? QRectF(15, 5.5, 44, 9) : QRectF(7, 5.5, 44, 9);
    p.drawText(body, Qt::AlignCenter, word);
}

void noAction(QPainter& p) {
    QPainterPath both;
    both.moveTo(9, 10);
    both.lineTo(16, 5);
    both.lineTo(16, 8);
    both.lineTo(50, 8);
    both.lineTo(50, 5);
    both.lineTo(57, 10);
    both.lineTo(50, 15);
    both.lineTo(50, 12);
    both.lineTo(16, 12);
    both.lineTo(16, 15);
    both.closeSubpath();
    p.setPen(QPen(undecided, 1, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    p.drawPath(both);
}

void frame(QPainter& p, const QString& colour, const QString& edges) {
    p.setPen(QPen(colour == QLatin1String("G") ? frameGreen : frameRed, 2, Qt::SolidLine, Qt::SquareCap));
    const qreal left = 1, right = 65, top = 1, bottom = 19;
    p.drawLine(QPointF(left, 0), QPointF(left, 20));
    p.drawLine(QPointF(right, 0), QPointF(right, 20));
    if (edges == QLatin1String("LTR"))
        p.drawLine(QPointF(left, top), QPointF(right, top));
    else if (edges == QLatin1String("LBR"))
        p.drawLine(QPointF(left, bottom), QPointF(right, bottom));
}

void paintAction(QPainter& p, const QStringList& parts) {
    buttonFace(p);
    const QString& word = parts.first();
    // "NRM" with a frame has no direction letter: its frame parts follow the word at once.
    const int framePart = word == QLatin1String("NRM") ? 1 : 2;
    if (word == QLatin1String("NRM"))
        noAction(p);
    else
        action(p, word, parts.value(1) == QLatin1String("L"));
    if (parts.size() == framePart + 2)
        frame(p, parts[framePart], parts[framePart + 1]);
}

} // namespace

// Each cell of the button column paints its picture on every repaint, so the pictures are drawn
// once per key and screen density.
QPixmap SyncPictures::Action(const QString& key, qreal devicePixelRatio) {
    static const QStringList known = SyncActionDisplay::AllIconKeys();
    if (!known.contains(key))
        return {};
    const QString cacheKey =
        QStringLiteral("tarmo-sync:") + key + QLatin1Char('@') + QString::number(devicePixelRatio);
    QPixmap pixmap;
    if (QPixmapCache::find(cacheKey, &pixmap))
        return pixmap;
    pixmap = QPixmap(ActionSize * devicePixelRatio);
    pixmap.setDevicePixelRatio(devicePixelRatio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    paintAction(painter, key.split(QLatin1Char(':')));
    painter.end();
    QPixmapCache::insert(cacheKey, pixmap);
    return pixmap;
}

QImage SyncPictures::ActionImage(const QString& key, const QSize& size) {
    const QPixmap picture = Action(key, 2.0);
    if (picture.isNull())
        return {};
    return picture.toImage().scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

QIcon SyncPictures::Step(int number) {
    QIcon icon;
    for (int size : {16, 32}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter p(&pixmap);
        p.setRenderHint(QPainter::Antialiasing);
        p.scale(size / 16.0, size / 16.0);
        const bool done = number == 2;
        const QColor disc = done ? addGreen : QColor(0x34, 0x65, 0xa4);
        p.setPen(QPen(disc.darker(130), 1));
        p.setBrush(disc);
        p.drawEllipse(QRectF(1.5, 1.5, 13, 13));
        p.setBrush(Qt::white);
        if (done) {
            p.setPen(QPen(Qt::white, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            p.setBrush(Qt::NoBrush);
            p.drawPolyline(QPolygonF{{4.5, 8.5}, {7, 11}, {11.5, 5}});
        } else {
            p.setPen(Qt::NoPen);
            p.drawPolygon(QPolygonF{{6, 4.5}, {11.5, 8}, {6, 11.5}});
        }
        icon.addPixmap(pixmap);
    }
    return icon;
}
