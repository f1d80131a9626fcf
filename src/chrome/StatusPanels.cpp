#include "StatusPanels.h"

#include <QLabel>

StatusPanels::StatusPanels(QWidget* parent)
    : QStatusBar(parent) {
    setSizeGripEnabled(true);
}

void StatusPanels::ClearPanels() {
    for (QLabel* label : mPanels) {
        removeWidget(label);
        delete label;
    }
    mPanels.clear();
}

void StatusPanels::AddPanel(const QString& key, int minWidth, bool bStretch) {
    auto* label = new QLabel(this);
    label->setObjectName(key.isEmpty() ? QStringLiteral("panel%1").arg(mPanels.size() + 1) : key);
    label->setMinimumWidth(minWidth);
    label->setFrameShape(QFrame::Panel);
    label->setFrameShadow(QFrame::Sunken);
    addPermanentWidget(label, bStretch ? 1 : 0);
    mPanels << label;
}

QLabel* StatusPanels::panel(int number) const {
    return number >= 1 && number <= mPanels.size() ? mPanels[number - 1] : nullptr;
}

void StatusPanels::SetPanelText(int number, const QString& text) {
    if (QLabel* label = panel(number))
        label->setText(text);
}

void StatusPanels::SetPanelText(const QString& key, const QString& text) {
    for (QLabel* label : mPanels)
        if (label->objectName() == key)
            label->setText(text);
}

QString StatusPanels::PanelText(int number) const {
    QLabel* label = panel(number);
    return label ? label->text() : QString();
}

QString StatusPanels::PanelText(const QString& key) const {
    for (QLabel* label : mPanels)
        if (label->objectName() == key)
            return label->text();
    return {};
}
