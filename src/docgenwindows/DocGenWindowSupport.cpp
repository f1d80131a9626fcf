#include "DocGenWindowSupport.h"

#include <QDir>
#include <QDirIterator>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QRegularExpression>
#include <QScreen>
#include <QStyle>
#include <QWidget>

#include <algorithm>

namespace DocGenWindowSupport {

QSize SizeOnScreen(const QWidget* window, QSize wanted, double widthShare, double heightShare) {
    const QScreen* screen = window->screen();
    if (!screen)
        return wanted;
    const QRect free = screen->availableGeometry();
    const QSize largest(static_cast<int>(free.width() * widthShare),
                        static_cast<int>(free.height() * heightShare));
    return wanted.boundedTo(largest).expandedTo(window->minimumSizeHint().boundedTo(largest));
}

QIcon StepIcon(int state, const QWidget* palette) {
    constexpr int side = 16;
    const qreal ratio = palette->devicePixelRatioF();
    QPixmap picture(QSize(side, side) * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette& colours = palette->palette();
    if (state == 0) {
        QColor pen = colours.color(QPalette::Text);
        pen.setAlphaF(0.5);
        painter.setPen(QPen(pen, 1.5));
        painter.drawEllipse(QRectF(4.5, 4.5, 7, 7));
    } else if (state == 1) {
        QPainterPath arrow;
        arrow.moveTo(4, 3);
        arrow.lineTo(13, 8);
        arrow.lineTo(4, 13);
        arrow.closeSubpath();
        painter.fillPath(arrow, colours.color(QPalette::Highlight));
    } else {
        painter.setPen(QPen(colours.color(QPalette::Text), 2.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPolyline(QPolygonF({QPointF(3, 8.5), QPointF(6.5, 12), QPointF(13, 4)}));
    }
    return QIcon(picture);
}

QStringList FilesMatching(const QString& folder, const QString& patterns) {
    QStringList filters = patterns.split(QRegularExpression(QStringLiteral("[\\s,;]+")), Qt::SkipEmptyParts);
    if (filters.isEmpty())
        filters << QStringLiteral("*");
    QStringList found;
    QDirIterator it(folder, filters, QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        found << QDir::cleanPath(it.next());
    std::sort(found.begin(), found.end(), [](const QString& a, const QString& b) {
        return QString::compare(a, b, Qt::CaseInsensitive) < 0;
    });
    return found;
}

} // namespace DocGenWindowSupport

DocGenWarningPanel::DocGenWarningPanel(QWidget* parent)
    : QFrame(parent) {
    setFrameShape(QFrame::StyledPanel);
    auto* picture = new QLabel(this);
    const int side = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    picture->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning, nullptr, this).pixmap(side, side));
    picture->setAlignment(Qt::AlignTop);
    mText = new QLabel(this);
    mText->setObjectName(QStringLiteral("lblError"));
    mText->setTextFormat(Qt::PlainText);
    mText->setWordWrap(true);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 4, 6, 4);
    layout->addWidget(picture);
    layout->addWidget(mText, 1);
    hide();
}

void DocGenWarningPanel::ShowWarning(const QString& text) {
    mText->setText(text);
    setVisible(!text.isEmpty());
}

QString DocGenWarningPanel::Text() const {
    return isVisibleTo(parentWidget()) ? mText->text() : QString();
}
