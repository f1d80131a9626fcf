#pragma once

#include "frmSyncResults.h"

#include <QApplication>
#include <QPalette>
#include <QTableWidget>
#include <QTest>

// The row of an object in the results window, by its owner.name; -1 when it has none.
inline int rowOf(const frmSyncResults& form, const QString& name) {
    for (int i = 0; i < form.Display().Count(); ++i)
        if (form.Display().Row(i).Name == name)
            return i;
    return -1;
}

inline QPoint cellCentre(const frmSyncResults& form, int row, int column) {
    QTableWidget* table = form.lvwResults();
    return table->visualItemRect(table->item(row, column)).center();
}

// A click on the row's action button, as the user makes it.
inline void clickButton(frmSyncResults& form, int row, Qt::MouseButton mouseButton = Qt::LeftButton) {
    QTest::mouseClick(form.lvwResults()->viewport(), mouseButton, {},
                      cellCentre(form, row, frmSyncResults::button));
}

inline QString pictureOf(const frmSyncResults& form, int row) {
    return form.lvwResults()->item(row, frmSyncResults::button)->data(frmSyncResults::IconKeyRole).toString();
}

// The pictures of all rows, as the table holds them.
inline QStringList pictures(const frmSyncResults& form) {
    QStringList keys;
    for (int i = 0; i < form.lvwResults()->rowCount(); ++i)
        keys << pictureOf(form, i);
    return keys;
}

inline QColor textColour(const frmSyncResults& form, int row, int column) {
    return form.lvwResults()->item(row, column)->foreground().color();
}

inline QString text(const frmSyncResults& form, int row, int column) {
    return form.lvwResults()->item(row, column)->text();
}

// A dark palette on a window for the time of the object, to look at it as a user of a dark
// desktop sees it.
class DarkPalette {
public:
    explicit DarkPalette(QWidget* window)
        : mWindow(window)
        , mSaved(window->palette()) {
        QPalette dark;
        dark.setColor(QPalette::Window, QColor(45, 45, 48));
        dark.setColor(QPalette::WindowText, QColor(230, 230, 230));
        dark.setColor(QPalette::Base, QColor(30, 30, 32));
        dark.setColor(QPalette::AlternateBase, QColor(40, 40, 44));
        dark.setColor(QPalette::Text, QColor(230, 230, 230));
        dark.setColor(QPalette::Button, QColor(55, 55, 60));
        dark.setColor(QPalette::ButtonText, QColor(230, 230, 230));
        dark.setColor(QPalette::Highlight, QColor(60, 110, 200));
        window->setPalette(dark);
    }
    ~DarkPalette() { mWindow->setPalette(mSaved); }
    DarkPalette(const DarkPalette&) = delete;
    DarkPalette& operator=(const DarkPalette&) = delete;

private:
    QWidget* mWindow;
    QPalette mSaved;
};
