#include "IconPainter.h"
#include "ImageList.h"
#include "modShortcutKeys.h"

#include <QImage>
#include <QPainter>

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
