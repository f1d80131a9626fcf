#include "IconPainter.h"
#include "ImageList.h"
#include "modShortcutKeys.h"

#include <QIcon>
#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QSet>

#include <cmath>

#include <gtest/gtest.h>

TEST(ShortcutText, ModifiersInOrderThenTheKey) {
    using namespace KeyCodes;
    EXPECT_EQ(ShortcutText('Z', ShiftMask | CtrlMask), QStringLiteral("Shift+Ctrl+Z"));
    EXPECT_EQ(ShortcutText('D', CtrlMask | AltMask), QStringLiteral("Ctrl+Alt+D"));
    EXPECT_EQ(ShortcutText(F3, 0), QStringLiteral("F3")) << "F3 shares its code with a lower-case r";
    EXPECT_EQ(ShortcutText(F12, 0), QStringLiteral("F12"));
    EXPECT_EQ(ShortcutText(Tab, ShiftMask), QStringLiteral("Shift+Tab"));
    EXPECT_EQ(ShortcutText('7', CtrlMask), QStringLiteral("Ctrl+7"));
    EXPECT_EQ(ShortcutText(27, CtrlMask), QStringLiteral("Ctrl+")) << "a key without a name adds nothing";
}

TEST(ShortcutText, KeysThatTheTableCantHoldCodeAsZero) {
    EXPECT_EQ(KeyCodeFromQt(Qt::Key_F6), KeyCodes::F6);
    EXPECT_EQ(KeyCodeFromQt(Qt::Key_Backtab), KeyCodes::Tab);
    EXPECT_EQ(KeyCodeFromQt(Qt::Key_Escape), 0);
    EXPECT_EQ(ShiftMaskFromQt(Qt::ShiftModifier | Qt::AltModifier), KeyCodes::ShiftMask | KeyCodes::AltMask);
}

TEST(ImageList, PositionsCountFromOneAndIgnoreCase) {
    ImageList images;
    EXPECT_EQ(images.Count(), 84);
    EXPECT_EQ(images.GetIconIndex(QStringLiteral("new"), false), 1);
    EXPECT_EQ(images.GetIconIndex(QStringLiteral("NEW")), 0);
    EXPECT_EQ(images.GetIconIndex(QStringLiteral("Delete"), false), 84);
    EXPECT_EQ(images.GetIconIndex(QStringLiteral("-"), false), -1);
    EXPECT_TRUE(images.Icon(QStringLiteral("-")).isNull());
}

TEST(ImageList, EveryKeyHasAPictureAndObjectStatesLookDifferent) {
    ImageList images;
    for (const QString& key : images.Keys()) {
        if (key == QLatin1String("SPACER"))
            continue;
        const QImage image = IconPainter::Image(key, 16);
        bool painted = false;
        for (int y = 0; y < image.height() && !painted; ++y)
            for (int x = 0; x < image.width() && !painted; ++x)
                painted = qAlpha(image.pixel(x, y)) > 0;
        EXPECT_TRUE(painted) << qPrintable(key);
    }
    for (const char* kind : {"STOREDPROCEDURE", "USERDEFINEDFUNCTION", "VIEW", "TRIGGER"}) {
        QList<QImage> states;
        for (const char* state :
             {"", ":NEW", ":VSSBROKEN", ":SQLBROKEN", ":CHECKEDIN", ":CHECKEDINOUT", ":CHECKEDOUT"})
            states << IconPainter::Image(QString::fromLatin1(kind) + QString::fromLatin1(state), 16);
        for (int i = 0; i < states.size(); ++i)
            for (int j = i + 1; j < states.size(); ++j)
                EXPECT_NE(states[i], states[j]) << kind << " states " << i << " and " << j;
    }
}

namespace {

// What a picture adds over another: the opaque pixels where it differs, and their mean colour as a person
// with deuteranopia sees it, after the common simulation matrix.
struct Marking {
    QSet<int> pixels;
    double colour[3] = {0, 0, 0};
};

Marking markingOver(const QImage& plain, const QImage& marked) {
    Marking m;
    double sum[3] = {0, 0, 0};
    int coloured = 0;
    for (int y = 0; y < marked.height(); ++y)
        for (int x = 0; x < marked.width(); ++x) {
            const QColor a = plain.pixelColor(x, y), b = marked.pixelColor(x, y);
            const int change = std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) +
                               std::abs(a.blue() - b.blue()) + std::abs(a.alpha() - b.alpha());
            // A faded glyph (an object missing from one store) is no mark; the badge over it is.
            if (change < 60 || b.alpha() < 200)
                continue;
            m.pixels.insert(y * marked.width() + x);
            {
                sum[0] += b.red();
                sum[1] += b.green();
                sum[2] += b.blue();
                ++coloured;
            }
        }
    if (coloured == 0)
        return m;
    const double r = sum[0] / coloured, g = sum[1] / coloured, b = sum[2] / coloured;
    m.colour[0] = 0.367322 * r + 0.860646 * g - 0.227968 * b;
    m.colour[1] = 0.280085 * r + 0.672501 * g + 0.047413 * b;
    m.colour[2] = -0.011820 * r + 0.042940 * g + 0.968881 * b;
    return m;
}

double colourDistance(const Marking& a, const Marking& b) {
    return std::hypot(a.colour[0] - b.colour[0], a.colour[1] - b.colour[1], a.colour[2] - b.colour[2]);
}

// Shared pixels over all pixels of the two: 1 for the same shape, 0 for shapes apart.
double overlap(const Marking& a, const Marking& b) {
    const QSet<int> both = QSet<int>(a.pixels).intersect(b.pixels);
    const QSet<int> either = QSet<int>(a.pixels).unite(b.pixels);
    return either.isEmpty() ? 1.0 : double(both.size()) / double(either.size());
}

// Pairwise: a different shape, and a colour that stays apart without red-green vision.
void expectApartInShapeAndColour(const QStringList& names, const QList<Marking>& marks) {
    for (int i = 0; i < marks.size(); ++i)
        for (int j = i + 1; j < marks.size(); ++j) {
            EXPECT_LT(overlap(marks[i], marks[j]), 0.85) << qPrintable(names[i] + " / " + names[j]);
            EXPECT_GT(colourDistance(marks[i], marks[j]), 25.0) << qPrintable(names[i] + " / " + names[j]);
        }
}

} // namespace

// The states of an object tell apart at a glance: each adds a mark of a good size, and any two marks
// differ in shape and in colour as a red-green colour-blind person sees them.
TEST(ImageList, ObjectStatesDifferInShapeAndColourForEveryone) {
    const QStringList states{QStringLiteral("CHECKEDIN"),    QStringLiteral("CHECKEDOUT"),
                             QStringLiteral("CHECKEDINOUT"), QStringLiteral("VSSBROKEN"),
                             QStringLiteral("SQLBROKEN"),    QStringLiteral("NEW")};
    for (const char* kind : {"STOREDPROCEDURE", "VIEW", "USERDEFINEDFUNCTION", "TRIGGER"}) {
        const QString base = QString::fromLatin1(kind);
        const QImage plain = IconPainter::Image(base, 32);
        QList<Marking> marks;
        for (const QString& state : states) {
            marks << markingOver(plain, IconPainter::Image(base + QLatin1Char(':') + state, 32));
            EXPECT_GE(marks.last().pixels.size(), 150) << kind << " " << qPrintable(state) << " is too small";
        }
        expectApartInShapeAndColour(states, marks);
    }
}

// Test SQL, Check Out and Check In sit side by side in the toolbar and must not be taken for each other.
TEST(ImageList, TestCheckOutAndCheckInAreDistinct) {
    const QStringList keys{QStringLiteral("EDIT:TEST"), QStringLiteral("VSS:CHECKOUT"),
                           QStringLiteral("VSS:CHECKIN")};
    QImage empty(32, 32, QImage::Format_ARGB32);
    empty.fill(Qt::transparent);
    QList<Marking> marks;
    for (const QString& key : keys)
        marks << markingOver(empty, IconPainter::Image(key, 32));
    expectApartInShapeAndColour(keys, marks);
}

// On a dense screen a picture is drawn for the device pixels, not scaled up from a small one.
TEST(ImageList, PicturesAreDrawnAtTheDevicePixelRatio) {
    const QIcon icon = IconPainter::Icon(QStringLiteral("VIEW:CHECKEDOUT"));
    for (const qreal ratio : {1.0, 1.5, 2.0}) {
        const QPixmap pixmap = icon.pixmap(QSize(16, 16), ratio);
        EXPECT_EQ(pixmap.size(), QSize(qRound(16 * ratio), qRound(16 * ratio))) << ratio;
        EXPECT_DOUBLE_EQ(pixmap.devicePixelRatio(), ratio);
        EXPECT_EQ(pixmap.toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied),
                  IconPainter::Image(QStringLiteral("VIEW:CHECKEDOUT"), qRound(16 * ratio))
                      .convertToFormat(QImage::Format_ARGB32_Premultiplied))
            << ratio;
    }
}

// Not a check: with TARMO_SCREENSHOTS set, leaves every picture on one sheet for a person to look at.
TEST(ImageList, SheetOfAllPictures) {
    const QString folder = qEnvironmentVariable("TARMO_SCREENSHOTS");
    if (folder.isEmpty())
        GTEST_SKIP();
    ImageList images;
    QImage sheet(12 * 40, (images.Count() / 12 + 1) * 40, QImage::Format_ARGB32);
    sheet.fill(Qt::white);
    QPainter painter(&sheet);
    for (int i = 0; i < images.Count(); ++i)
        painter.drawImage((i % 12) * 40 + 4, (i / 12) * 40 + 4, IconPainter::Image(images.Keys()[i], 32));
    painter.end();
    EXPECT_TRUE(sheet.save(folder + QStringLiteral("/iltAll.png")));
}
