#pragma once

#include <QStatusBar>

class QLabel;

// A status bar of numbered panels with minimum widths; a panel may also carry a key. The last
// panel added with bStretch takes up the free room.
class StatusPanels : public QStatusBar {
    Q_OBJECT
public:
    explicit StatusPanels(QWidget* parent = nullptr);

    void ClearPanels();
    // Adds a panel at the end; its number counts from 1.
    void AddPanel(const QString& key, int minWidth, bool bStretch = false);
    int PanelCount() const { return static_cast<int>(mPanels.size()); }
    // By number from 1, or by key; an unknown panel is left alone and reads "".
    void SetPanelText(int number, const QString& text);
    void SetPanelText(const QString& key, const QString& text);
    QString PanelText(int number) const;
    QString PanelText(const QString& key) const;

private:
    QLabel* panel(int number) const;
    QList<QLabel*> mPanels;
};
