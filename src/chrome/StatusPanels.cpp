#include "StatusPanels.h"

#include <QLabel>

#include <algorithm>

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

namespace {

// A panel at its given width while there is room, narrower (its text cut) when the window is: the
// panels together must not make the window wider than a small screen, or a maximized window overflow.
class StatusPanel : public QLabel {
public:
    StatusPanel(int width, QWidget* parent)
        : QLabel(parent)
        , mWidth(width) {}
    QSize sizeHint() const override {
        const QSize natural = QLabel::sizeHint();
        return {std::max(natural.width(), mWidth), natural.height()};
    }
    QSize minimumSizeHint() const override {
        const QSize natural = QLabel::minimumSizeHint();
        return {std::min(natural.width(), std::min(mWidth, 16)), natural.height()};
    }

private:
    int mWidth;
};

} // namespace

void StatusPanels::AddPanel(const QString& key, int minWidth, bool bStretch) {
    auto* label = new StatusPanel(minWidth, this);
    label->setObjectName(key.isEmpty() ? QStringLiteral("panel%1").arg(mPanels.size() + 1) : key);
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
