#include "IconPainter.h"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QPixmapCache>

#include <algorithm>
#include <cmath>

// Every picture is drawn on a 16 x 16 grid and rendered at 16 and 32 pixels, so that it stays sharp
// on a dense screen. A picture is a base glyph for the kind of thing, and for the state of an object
// a badge in the lower right corner whose colour and shape tell the state at a glance.
namespace {

const QColor ink(0x2e, 0x34, 0x36);
const QColor paper(0xff, 0xff, 0xff);
const QColor blue(0x34, 0x65, 0xa4);
const QColor lightBlue(0x72, 0x9f, 0xcf);
const QColor green(0x4e, 0x9a, 0x06);
const QColor lightGreen(0x8a, 0xe2, 0x34);
const QColor red(0xcc, 0x00, 0x00);
const QColor orange(0xf5, 0x79, 0x00);
const QColor yellow(0xed, 0xd4, 0x00);
const QColor folderYellow(0xe9, 0xb9, 0x6e);
const QColor purple(0x75, 0x50, 0x7b);
const QColor teal(0x06, 0x98, 0x9a);
const QColor grey(0x88, 0x8a, 0x85);

QPen pen(const QColor& color, qreal width = 1.0) {
    return QPen(color, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
}

void page(QPainter& p, const QColor& edge, const QRectF& r = QRectF(2.5, 1.5, 10, 13)) {
    QPainterPath path;
    path.moveTo(r.left(), r.top());
    path.lineTo(r.right() - 3, r.top());
    path.lineTo(r.right(), r.top() + 3);
    path.lineTo(r.right(), r.bottom());
    path.lineTo(r.left(), r.bottom());
    path.closeSubpath();
    p.setPen(pen(edge));
    p.setBrush(paper);
    p.drawPath(path);
}

void textLines(QPainter& p, const QColor& color, qreal left, qreal top, int count, qreal width = 6) {
    p.setPen(pen(color));
    for (int i = 0; i < count; ++i)
        p.drawLine(QPointF(left, top + i * 2.5), QPointF(left + width - (i % 2) * 2, top + i * 2.5));
}

void folder(QPainter& p) {
    p.setPen(pen(QColor(0xc1, 0x7d, 0x11)));
    p.setBrush(folderYellow);
    QPainterPath path;
    path.moveTo(1.5, 3.5);
    path.lineTo(6, 3.5);
    path.lineTo(7.5, 5);
    path.lineTo(14.5, 5);
    path.lineTo(14.5, 13.5);
    path.lineTo(1.5, 13.5);
    path.closeSubpath();
    p.drawPath(path);
}

void bolt(QPainter& p, const QColor& color, qreal dx = 0, qreal dy = 0, qreal scale = 1) {
    QPolygonF shape{{9, 1}, {3, 9}, {7.5, 9}, {6, 15}, {13, 6}, {8.5, 6}, {10.5, 1}};
    for (QPointF& point : shape)
        point = QPointF(point.x() * scale + dx, point.y() * scale + dy);
    p.setPen(pen(color.darker(140)));
    p.setBrush(color);
    p.drawPolygon(shape);
}

void grid(QPainter& p, const QRectF& r) {
    p.setPen(pen(ink));
    p.setBrush(paper);
    p.drawRect(r);
    p.fillRect(QRectF(r.left() + 0.5, r.top() + 0.5, r.width() - 1, 3), lightBlue);
    p.setPen(pen(grey, 0.8));
    for (qreal y = r.top() + 3.5 + 3; y < r.bottom(); y += 3)
        p.drawLine(QPointF(r.left(), y), QPointF(r.right(), y));
    p.drawLine(QPointF(r.center().x(), r.top() + 3.5), QPointF(r.center().x(), r.bottom()));
}

void cylinder(QPainter& p, const QRectF& r, const QColor& color) {
    p.setPen(pen(color.darker(150)));
    p.setBrush(color);
    const qreal cap = r.height() / 4;
    QPainterPath body;
    body.moveTo(r.left(), r.top() + cap / 2);
    body.lineTo(r.left(), r.bottom() - cap / 2);
    body.arcTo(QRectF(r.left(), r.bottom() - cap, r.width(), cap), 180, 180);
    body.lineTo(r.right(), r.top() + cap / 2);
    p.drawPath(body);
    p.setBrush(color.lighter(130));
    p.drawEllipse(QRectF(r.left(), r.top(), r.width(), cap));
}

void eye(QPainter& p, const QPointF& c, qreal w) {
    QPainterPath lid;
    lid.moveTo(c.x() - w / 2, c.y());
    lid.quadTo(c.x(), c.y() - w / 2, c.x() + w / 2, c.y());
    lid.quadTo(c.x(), c.y() + w / 2, c.x() - w / 2, c.y());
    p.setPen(pen(teal.darker(130)));
    p.setBrush(paper);
    p.drawPath(lid);
    p.setBrush(teal);
    p.drawEllipse(c, w / 6, w / 6);
}

void fx(QPainter& p, const QRectF& r) {
    p.setPen(pen(purple.darker(130)));
    p.setBrush(purple);
    p.drawRoundedRect(r, 2, 2);
    p.setPen(pen(paper, 1.3));
    const qreal x = r.left(), y = r.top(), w = r.width(), h = r.height();
    QPainterPath f;
    f.moveTo(x + w * 0.62, y + h * 0.2);
    f.quadTo(x + w * 0.42, y + h * 0.15, x + w * 0.42, y + h * 0.4);
    f.lineTo(x + w * 0.38, y + h * 0.82);
    p.setBrush(Qt::NoBrush);
    p.drawPath(f);
    p.drawLine(QPointF(x + w * 0.25, y + h * 0.45), QPointF(x + w * 0.62, y + h * 0.45));
}

void person(QPainter& p, const QColor& color, qreal dx = 0, qreal scale = 1) {
    p.setPen(pen(color.darker(140)));
    p.setBrush(color);
    p.drawEllipse(QPointF(8 * scale + dx, 5 * scale + 1), 2.6 * scale, 2.6 * scale);
    QPainterPath body;
    body.moveTo(3 * scale + dx, 14.5);
    body.quadTo(3 * scale + dx, 8.5 * scale + 1, 8 * scale + dx, 8.5 * scale + 1);
    body.quadTo(13 * scale + dx, 8.5 * scale + 1, 13 * scale + dx, 14.5);
    body.closeSubpath();
    p.drawPath(body);
}

void tick(QPainter& p, const QColor& color, const QRectF& r, qreal width = 2) {
    p.setPen(pen(color, width));
    p.setBrush(Qt::NoBrush);
    p.drawPolyline(QPolygonF{
        {r.left(), r.center().y()}, {r.left() + r.width() * 0.4, r.bottom()}, {r.right(), r.top()}});
}

void cross(QPainter& p, const QColor& color, const QRectF& r, qreal width = 2) {
    p.setPen(pen(color, width));
    p.drawLine(r.topLeft(), r.bottomRight());
    p.drawLine(r.topRight(), r.bottomLeft());
}

void arrow(QPainter& p, const QColor& color, QPointF from, QPointF to, qreal width = 1.8) {
    p.setPen(pen(color, width));
    p.drawLine(from, to);
    const QPointF d = to - from;
    const qreal len = std::hypot(d.x(), d.y());
    if (len <= 0)
        return;
    const QPointF u = d / len, n(-u.y(), u.x());
    p.setBrush(color);
    p.drawPolygon(QPolygonF{to + u * 1.5, to - u * 2.5 + n * 2.5, to - u * 2.5 - n * 2.5});
}

void curvedArrow(QPainter& p, const QColor& color, bool clockwise) {
    p.setPen(pen(color, 1.8));
    p.setBrush(Qt::NoBrush);
    QPainterPath path;
    if (clockwise) {
        path.moveTo(3, 11);
        path.cubicTo(3, 4, 11, 3, 12, 8);
    } else {
        path.moveTo(13, 11);
        path.cubicTo(13, 4, 5, 3, 4, 8);
    }
    p.drawPath(path);
    p.setBrush(color);
    const qreal x = clockwise ? 12 : 4;
    p.drawPolygon(QPolygonF{{x - 2.5, 7}, {x + 2.5, 7}, {x, 10.5}});
}

void circleArrows(QPainter& p, const QColor& a, const QColor& b) {
    p.setBrush(Qt::NoBrush);
    p.setPen(pen(a, 1.8));
    p.drawArc(QRectF(3, 3, 10, 10), 30 * 16, 150 * 16);
    p.setPen(pen(b, 1.8));
    p.drawArc(QRectF(3, 3, 10, 10), 210 * 16, 150 * 16);
    p.setPen(Qt::NoPen);
    p.setBrush(a);
    p.drawPolygon(QPolygonF{{1, 7}, {6, 7}, {3.5, 10}});
    p.setBrush(b);
    p.drawPolygon(QPolygonF{{10, 9}, {15, 9}, {12.5, 6}});
}

// The state badges sit in the lower right corner, 9 of the 16 pixels wide, each with a shape and a
// colour of its own. The colours are of a palette that stays apart for red-green colour blindness
// (blue, orange, sky blue, reddish purple, yellow), and no two states differ in colour alone.
const QColor stateBlue(0x00, 0x72, 0xb2);
const QColor stateOrange(0xe6, 0x9f, 0x00);
const QColor stateSky(0x56, 0xb4, 0xe9);
const QColor statePurple(0xcc, 0x79, 0xa7);
const QColor stateYellow(0xf0, 0xe4, 0x42);
const QColor stateInk(0x1a, 0x1a, 0x1a);

// A disc, as the trigger actions and the synchronization pictures use it.
void badge(QPainter& p, const QColor& fill) {
    p.setPen(pen(paper, 1.2));
    p.setBrush(fill);
    p.drawEllipse(QRectF(8.5, 8.5, 7, 7));
}

void pencil(QPainter& p, const QColor& wood, const QRectF& r) {
    p.setPen(pen(stateInk, 0.8));
    p.setBrush(wood);
    const qreal x = r.left(), y = r.top(), w = r.width(), h = r.height();
    p.drawPolygon(QPolygonF{{x, y + h},
                            {x + w * 0.12, y + h * 0.62},
                            {x + w * 0.62, y + h * 0.12},
                            {x + w * 0.88, y + h * 0.38},
                            {x + w * 0.38, y + h * 0.88}});
    p.setBrush(stateInk);
    p.drawPolygon(QPolygonF{{x, y + h}, {x + w * 0.06, y + h * 0.8}, {x + w * 0.2, y + h * 0.94}});
}

void padlock(QPainter& p, const QColor& body, const QRectF& r) {
    p.setPen(pen(stateInk, 1.3));
    p.setBrush(Qt::NoBrush);
    const qreal shackle = r.width() * 0.6;
    p.drawArc(QRectF(r.center().x() - shackle / 2, r.top(), shackle, r.height() * 0.7), 0, 180 * 16);
    p.drawLine(QPointF(r.center().x() - shackle / 2, r.top() + r.height() * 0.35),
               QPointF(r.center().x() - shackle / 2, r.top() + r.height() * 0.5));
    p.drawLine(QPointF(r.center().x() + shackle / 2, r.top() + r.height() * 0.35),
               QPointF(r.center().x() + shackle / 2, r.top() + r.height() * 0.5));
    p.setPen(pen(stateInk, 0.9));
    p.setBrush(body);
    p.drawRoundedRect(QRectF(r.left(), r.top() + r.height() * 0.45, r.width(), r.height() * 0.55), 1, 1);
}

void stateBadge(QPainter& p, const QString& state) {
    if (state == QLatin1String("CHECKEDIN")) {
        // In the store and on the server alike: a blue disc with a tick.
        p.setPen(pen(paper, 1.2));
        p.setBrush(stateBlue);
        p.drawEllipse(QRectF(7, 7, 8.5, 8.5));
        tick(p, paper, QRectF(9.2, 9.6, 4.2, 3.6), 1.5);
    } else if (state == QLatin1String("CHECKEDOUT")) {
        // Checked out to me, to be edited: an orange pencil.
        pencil(p, stateOrange, QRectF(6.5, 6.5, 9.5, 9.5));
    } else if (state == QLatin1String("CHECKEDINOUT")) {
        // Checked out by somebody else: a padlock, locked to me.
        padlock(p, statePurple, QRectF(7.5, 6.5, 8, 9));
    } else if (state == QLatin1String("VSSBROKEN")) {
        // On the server only: a sky-blue database with a question of the store (no tick, a dash).
        cylinder(p, QRectF(8, 6.5, 7.5, 9), stateSky);
        p.setPen(pen(stateInk, 1.4));
        p.drawLine(QPointF(10, 11.5), QPointF(13.5, 11.5));
    } else if (state == QLatin1String("SQLBROKEN")) {
        // In the store only: a dark diamond with an exclamation mark, missing from the server.
        p.setPen(pen(paper, 1));
        p.setBrush(stateInk);
        p.drawPolygon(QPolygonF{{11.5, 6.5}, {16, 11}, {11.5, 15.5}, {7, 11}});
        p.setPen(pen(stateYellow, 1.5));
        p.drawLine(QPointF(11.5, 8.8), QPointF(11.5, 11.6));
        p.drawPoint(QPointF(11.5, 13.4));
    } else if (state == QLatin1String("NEW")) {
        p.setPen(pen(stateInk, 0.8));
        p.setBrush(stateYellow);
        QPolygonF star;
        for (int i = 0; i < 10; ++i) {
            const qreal radius = i % 2 ? 1.9 : 4.6;
            const qreal angle = -M_PI / 2 + i * M_PI / 5;
            star << QPointF(11.4 + radius * std::cos(angle), 11.4 + radius * std::sin(angle));
        }
        p.drawPolygon(star);
    }
}

void kindGlyph(QPainter& p, const QString& kind) {
    if (kind == QLatin1String("STOREDPROCEDURE")) {
        page(p, blue);
        textLines(p, blue, 4.5, 5, 4);
    } else if (kind == QLatin1String("USERDEFINEDFUNCTION")) {
        fx(p, QRectF(1.5, 2.5, 12, 12));
    } else if (kind == QLatin1String("VIEW")) {
        page(p, teal);
        eye(p, QPointF(7.5, 8.5), 8);
    } else if (kind == QLatin1String("TRIGGER")) {
        bolt(p, orange);
    } else if (kind == QLatin1String("TABLE")) {
        grid(p, QRectF(1.5, 2.5, 13, 11));
    }
}

void paintKey(QPainter& p, const QString& key) {
    const QString base = key.section(QLatin1Char(':'), 0, 0);
    const QString detail = key.section(QLatin1Char(':'), 1);
    static const QStringList kinds{QStringLiteral("STOREDPROCEDURE"), QStringLiteral("USERDEFINEDFUNCTION"),
                                   QStringLiteral("VIEW"), QStringLiteral("TRIGGER"),
                                   QStringLiteral("TABLE")};

    if (kinds.contains(base) &&
        (detail.isEmpty() || detail == QLatin1String("NEW") || detail.startsWith(QLatin1String("CHECKED")) ||
         detail.endsWith(QLatin1String("BROKEN")))) {
        if (detail.endsWith(QLatin1String("BROKEN")))
            p.setOpacity(0.55);
        kindGlyph(p, base);
        p.setOpacity(1);
        stateBadge(p, detail);
        return;
    }
    if (base.endsWith(QLatin1Char('S')) && kinds.contains(base.chopped(1)) && detail.isEmpty()) {
        folder(p);
        p.save();
        p.translate(6, 5.5);
        p.scale(0.55, 0.55);
        kindGlyph(p, base.chopped(1));
        p.restore();
        return;
    }
    if (base == QLatin1String("TRIGGER")) {
        bolt(p, orange, -2, 0);
        if (detail == QLatin1String("INSERT")) {
            badge(p, green);
            p.setPen(pen(paper, 1.3));
            p.drawLine(QPointF(12, 10.3), QPointF(12, 13.7));
            p.drawLine(QPointF(10.3, 12), QPointF(13.7, 12));
        } else if (detail == QLatin1String("UPDATE")) {
            badge(p, blue);
            p.setPen(pen(paper, 1.3));
            p.drawLine(QPointF(10.5, 13.5), QPointF(13.5, 10.5));
        } else {
            badge(p, red);
            p.setPen(pen(paper, 1.3));
            p.drawLine(QPointF(10.3, 12), QPointF(13.7, 12));
        }
        return;
    }
    if (key == QLatin1String("NEW")) {
        page(p, ink);
        stateBadge(p, QStringLiteral("NEW"));
    } else if (key == QLatin1String("FIELD")) {
        p.setPen(pen(blue));
        p.setBrush(lightBlue);
        p.drawRect(QRectF(5.5, 1.5, 5, 13));
        p.setPen(pen(blue, 0.8));
        for (qreal y = 5; y < 14; y += 3)
            p.drawLine(QPointF(5.5, y), QPointF(10.5, y));
    } else if (key == QLatin1String("FIELDDATA")) {
        p.setPen(Qt::NoPen);
        p.setBrush(grey);
        p.drawEllipse(QPointF(8, 8), 2.5, 2.5);
    } else if (base == QLatin1String("SYNC")) {
        if (detail.isEmpty()) {
            circleArrows(p, green, blue);
        } else if (detail == QLatin1String("NONE")) {
            circleArrows(p, grey, grey);
        } else if (detail == QLatin1String("SQL")) {
            cylinder(p, QRectF(3, 2, 10, 12), lightBlue);
        } else if (detail == QLatin1String("VSS")) {
            page(p, purple, QRectF(4.5, 1.5, 9, 11));
            page(p, purple, QRectF(2.5, 3.5, 9, 11));
        } else {
            const bool add = detail.startsWith(QLatin1String("ADD"));
            if (detail.endsWith(QLatin1String("SQL")))
                cylinder(p, QRectF(2, 2, 9, 11), lightBlue);
            else
                page(p, purple, QRectF(2.5, 1.5, 9, 12));
            badge(p, add ? green : red);
            p.setPen(pen(paper, 1.3));
            p.drawLine(QPointF(10.3, 12), QPointF(13.7, 12));
            if (add)
                p.drawLine(QPointF(12, 10.3), QPointF(12, 13.7));
        }
    } else if (key == QLatin1String("DIFFERENCE")) {
        page(p, blue, QRectF(1.5, 1.5, 7, 10));
        page(p, red, QRectF(7.5, 4.5, 7, 10));
        p.setPen(pen(ink, 1));
        p.drawLine(QPointF(9, 8.5), QPointF(13, 8.5));
        p.drawLine(QPointF(9, 10.5), QPointF(13, 10.5));
        p.drawLine(QPointF(12.5, 7), QPointF(9.5, 12));
    } else if (key == QLatin1String("OWNER") || key == QLatin1String("PERMISSION:USER")) {
        person(p, key == QLatin1String("OWNER") ? grey : lightBlue);
    } else if (key == QLatin1String("CHECKEDOUTBY")) {
        person(p, lightBlue);
        stateBadge(p, QStringLiteral("CHECKEDINOUT"));
    } else if (key == QLatin1String("PERMISSION:ROLE")) {
        person(p, lightGreen, 3, 0.8);
        person(p, lightBlue, -3, 0.8);
    } else if (key == QLatin1String("PERMISSION:OWNER")) {
        person(p, yellow);
    } else if (key == QLatin1String("PERMISSIONS")) {
        p.setPen(pen(QColor(0xc4, 0xa0, 0x00), 1.6));
        p.setBrush(Qt::NoBrush);
        p.drawEllipse(QRectF(2, 2, 6, 6));
        p.drawLine(QPointF(7, 7), QPointF(14, 14));
        p.drawLine(QPointF(11, 11), QPointF(13, 9));
        p.drawLine(QPointF(13, 13), QPointF(15, 11));
    } else if (key == QLatin1String("PERMISSION:NONE")) {
        p.setPen(pen(grey, 1.5));
        p.setBrush(Qt::NoBrush);
        p.drawEllipse(QRectF(3, 3, 10, 10));
    } else if (key == QLatin1String("PERMISSION:GRANT")) {
        tick(p, green, QRectF(2.5, 3.5, 11, 9), 2.5);
    } else if (key == QLatin1String("PERMISSION:DENY")) {
        p.setPen(pen(red, 1.8));
        p.setBrush(Qt::NoBrush);
        p.drawEllipse(QRectF(2.5, 2.5, 11, 11));
        p.drawLine(QPointF(4.5, 11.5), QPointF(11.5, 4.5));
    } else if (key == QLatin1String("REFRESH")) {
        p.setPen(pen(green, 1.8));
        p.setBrush(Qt::NoBrush);
        p.drawArc(QRectF(3, 3, 10, 10), 60 * 16, 280 * 16);
        p.setPen(Qt::NoPen);
        p.setBrush(green);
        p.drawPolygon(QPolygonF{{9, 0.5}, {13.5, 3.5}, {9, 6.5}});
    } else if (key == QLatin1String("VSS:GETLATESTVERSION")) {
        page(p, purple);
        arrow(p, green, QPointF(8, 3), QPointF(8, 12));
    } else if (key == QLatin1String("VSS:CHECKOUT")) {
        // The same pencil as an object checked out to me.
        page(p, purple, QRectF(1.5, 1.5, 10, 13));
        pencil(p, stateOrange, QRectF(5, 4, 11, 11));
    } else if (key == QLatin1String("VSS:CHECKIN")) {
        // An arrow into the store's tray, and the tick of a checked-in object.
        p.setPen(pen(purple.darker(130), 1.4));
        p.setBrush(Qt::NoBrush);
        p.drawPolyline(QPolygonF{{1.5, 9.5}, {1.5, 14.5}, {14.5, 14.5}, {14.5, 9.5}});
        arrow(p, stateBlue, QPointF(8, 1.5), QPointF(8, 10), 2.2);
    } else if (key == QLatin1String("VSS:UNDOCHECKOUT")) {
        page(p, purple, QRectF(1.5, 1.5, 9, 13));
        curvedArrow(p, red, false);
    } else if (key == QLatin1String("VSS:HISTORY")) {
        p.setPen(pen(ink));
        p.setBrush(paper);
        p.drawEllipse(QRectF(1.5, 1.5, 13, 13));
        p.setPen(pen(blue, 1.5));
        p.drawLine(QPointF(8, 8), QPointF(8, 4));
        p.drawLine(QPointF(8, 8), QPointF(11, 9.5));
    } else if (key == QLatin1String("EDIT:OPENFILE")) {
        folder(p);
        arrow(p, blue, QPointF(8, 13), QPointF(8, 6));
    } else if (key == QLatin1String("EDIT:SAVEFILE")) {
        p.setPen(pen(blue.darker(130)));
        p.setBrush(blue);
        p.drawRect(QRectF(1.5, 1.5, 13, 13));
        p.setBrush(paper);
        p.drawRect(QRectF(4.5, 1.5, 7, 5));
        p.drawRect(QRectF(3.5, 9.5, 9, 5));
    } else if (key == QLatin1String("EDIT:TEST") || key == QLatin1String("SQLQUERY:PARSE")) {
        // A flask: the text is tried on the server, nothing is kept.
        p.setPen(pen(stateInk, 1.1));
        p.setBrush(paper);
        QPainterPath flask;
        flask.moveTo(6, 1.5);
        flask.lineTo(10, 1.5);
        flask.lineTo(10, 6);
        flask.lineTo(14.5, 14.5);
        flask.lineTo(1.5, 14.5);
        flask.lineTo(6, 6);
        flask.closeSubpath();
        p.drawPath(flask);
        p.setPen(Qt::NoPen);
        p.setBrush(stateSky);
        p.drawPolygon(QPolygonF{{4.3, 10}, {11.7, 10}, {13.6, 13.8}, {2.4, 13.8}});
    } else if (key == QLatin1String("DESCRIPTION")) {
        page(p, QColor(0xc4, 0xa0, 0x00));
        textLines(p, grey, 4.5, 5, 4);
        p.setPen(pen(blue, 1.5));
        p.drawPoint(QPointF(12, 10));
    } else if (key == QLatin1String("SEARCH:FIND")) {
        p.setPen(pen(ink, 1.6));
        p.setBrush(QColor(0xdb, 0xe9, 0xf7));
        p.drawEllipse(QRectF(1.5, 1.5, 9, 9));
        p.setPen(pen(ink, 2.4));
        p.drawLine(QPointF(9.5, 9.5), QPointF(14, 14));
    } else if (key == QLatin1String("EDIT:UNDO")) {
        curvedArrow(p, blue, false);
    } else if (key == QLatin1String("EDIT:REDO")) {
        curvedArrow(p, blue, true);
    } else if (key == QLatin1String("EDIT:CUT")) {
        p.setPen(pen(ink, 1.3));
        p.setBrush(Qt::NoBrush);
        p.drawEllipse(QRectF(2, 10, 4, 4));
        p.drawEllipse(QRectF(10, 10, 4, 4));
        p.drawLine(QPointF(5.5, 10.5), QPointF(11, 1.5));
        p.drawLine(QPointF(10.5, 10.5), QPointF(5, 1.5));
    } else if (key == QLatin1String("EDIT:COPY")) {
        page(p, ink, QRectF(1.5, 1.5, 8, 10));
        page(p, ink, QRectF(6.5, 4.5, 8, 10));
    } else if (key == QLatin1String("EDIT:PASTE")) {
        p.setPen(pen(QColor(0x8f, 0x59, 0x02)));
        p.setBrush(folderYellow);
        p.drawRoundedRect(QRectF(2.5, 2.5, 10, 12), 1, 1);
        p.setBrush(grey);
        p.drawRect(QRectF(5.5, 1.5, 4, 2));
        page(p, ink, QRectF(7.5, 6.5, 7, 8));
    } else if (key == QLatin1String("OPTIONS")) {
        p.setPen(pen(ink, 2.5));
        for (int i = 0; i < 8; ++i) {
            const qreal angle = i * M_PI / 4;
            p.drawLine(QPointF(8 + 4 * std::cos(angle), 8 + 4 * std::sin(angle)),
                       QPointF(8 + 6.5 * std::cos(angle), 8 + 6.5 * std::sin(angle)));
        }
        p.setPen(pen(ink, 1.2));
        p.setBrush(grey);
        p.drawEllipse(QRectF(3.5, 3.5, 9, 9));
        p.setBrush(paper);
        p.drawEllipse(QRectF(6, 6, 4, 4));
    } else if (key == QLatin1String("SQLQUERY")) {
        cylinder(p, QRectF(1.5, 1.5, 9, 12), lightBlue);
        p.setPen(pen(ink, 1.6));
        p.setBrush(QColor(0xdb, 0xe9, 0xf7));
        p.drawEllipse(QRectF(7.5, 7.5, 5, 5));
        p.drawLine(QPointF(12, 12), QPointF(14.5, 14.5));
    } else if (key == QLatin1String("SQLQUERY:EXECUTE")) {
        p.setPen(pen(green.darker(130)));
        p.setBrush(green);
        p.drawPolygon(QPolygonF{{4, 2}, {13, 8}, {4, 14}});
    } else if (key == QLatin1String("SQLQUERY:PANEL")) {
        p.setPen(pen(ink));
        p.setBrush(paper);
        p.drawRect(QRectF(1.5, 2.5, 13, 11));
        p.fillRect(QRectF(2, 8.5, 12, 4.5), lightBlue);
        p.drawLine(QPointF(1.5, 8.5), QPointF(14.5, 8.5));
    } else if (key == QLatin1String("HELP")) {
        p.setPen(pen(blue.darker(130)));
        p.setBrush(blue);
        p.drawEllipse(QRectF(1.5, 1.5, 13, 13));
        QFont font = p.font();
        font.setPixelSize(11);
        font.setBold(true);
        p.setFont(font);
        p.setPen(paper);
        p.drawText(QRectF(1.5, 1.5, 13, 13), Qt::AlignCenter, QStringLiteral("?"));
    } else if (key == QLatin1String("RENAME")) {
        p.setPen(pen(ink));
        p.setBrush(paper);
        p.drawRect(QRectF(0.5, 4.5, 15, 7));
        textLines(p, blue, 2.5, 8, 1, 7);
        p.setPen(pen(ink, 1.2));
        p.drawLine(QPointF(11.5, 3), QPointF(11.5, 13));
    } else if (key == QLatin1String("EDIT")) {
        p.setPen(pen(ink));
        p.setBrush(yellow);
        p.drawPolygon(QPolygonF{{3, 13}, {3.5, 10}, {11, 2.5}, {13.5, 5}, {6, 12.5}});
        p.setBrush(ink);
        p.drawPolygon(QPolygonF{{3, 13}, {3.3, 11.3}, {4.7, 12.7}});
    } else if (key == QLatin1String("DELETE")) {
        cross(p, red, QRectF(3, 3, 10, 10), 2.6);
    }
    // "SPACER" stays empty on purpose: it holds a gap in a row of pictures.
}

QPixmap render(const QString& key, int size) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size / 16.0, size / 16.0);
    paintKey(painter, key);
    return pixmap;
}

// Draws the picture at whatever size and device pixel ratio it is asked for, so that it is sharp on
// a dense screen at any size, rather than scaled from a few fixed pixmaps.
class PaintedIconEngine : public QIconEngine {
public:
    explicit PaintedIconEngine(QString key)
        : mKey(std::move(key)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override {
        const qreal ratio = painter->device() ? painter->device()->devicePixelRatioF() : 1.0;
        painter->drawPixmap(rect, scaledPixmap(rect.size() * ratio, mode, state, ratio));
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        return scaledPixmap(size, mode, state, 1.0);
    }
    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State, qreal scale) override {
        // The size comes in device pixels; the scale is the ratio they stand for.
        const int side = std::max(1, std::min(size.width(), size.height()));
        // A tree repaints its rows often; each picture is drawn once per size.
        const QString cacheKey =
            QStringLiteral("tarmo-icon:%1:%2:%3").arg(mKey).arg(side).arg(mode == QIcon::Disabled ? 1 : 0);
        QPixmap pixmap;
        if (!QPixmapCache::find(cacheKey, &pixmap)) {
            pixmap = render(mKey, side);
            if (mode == QIcon::Disabled)
                pixmap = disabled(pixmap);
            QPixmapCache::insert(cacheKey, pixmap);
        }
        pixmap.setDevicePixelRatio(scale);
        return pixmap;
    }
    QSize actualSize(const QSize& size, QIcon::Mode, QIcon::State) override {
        const int side = std::min(size.width(), size.height());
        return {side, side};
    }
    QIconEngine* clone() const override { return new PaintedIconEngine(mKey); }
    QString key() const override { return QStringLiteral("tarmo-painted"); }

private:
    // Grey and faint, as a disabled button shows its picture.
    static QPixmap disabled(const QPixmap& source) {
        QImage image = source.toImage().convertToFormat(QImage::Format_ARGB32);
        for (int y = 0; y < image.height(); ++y) {
            auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
            for (int x = 0; x < image.width(); ++x) {
                const int level = qGray(line[x]);
                line[x] = qRgba(level, level, level, qAlpha(line[x]) * 2 / 5);
            }
        }
        return QPixmap::fromImage(image);
    }

    QString mKey;
};

} // namespace

QIcon IconPainter::Icon(const QString& key) {
    return QIcon(new PaintedIconEngine(key));
}

QImage IconPainter::Image(const QString& key, int size) {
    return render(key, size).toImage();
}
