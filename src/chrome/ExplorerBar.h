#pragma once

#include <QIcon>
#include <QScrollArea>
#include <QStringList>

#include <functional>

class QVBoxLayout;

// A column of collapsible bars, each with a key, a title and a state (1 open, 0 closed), holding
// keyed entries: links with a text, a picture and a command number, or one text of several lines.
// Clicking a link reports its key and command; opening or closing a bar reports its new state.
class ExplorerBar : public QScrollArea {
    Q_OBJECT
public:
    explicit ExplorerBar(QWidget* parent = nullptr);
    ~ExplorerBar() override;

    bool HasBar(const QString& barKey) const;
    void AddBar(const QString& barKey, const QString& title, int state = 1);
    void RemoveBar(const QString& barKey);
    QStringList BarKeys() const;
    QString BarTitle(const QString& barKey) const;
    int BarState(const QString& barKey) const;
    void SetBarState(const QString& barKey, int state);

    bool HasEntry(const QString& barKey, const QString& entryKey) const;
    // Adds a link at the end, or in front of the entry beforeKey when that stands.
    void AddEntry(const QString& barKey, const QString& entryKey, const QString& text, const QIcon& icon,
                  long command, const QString& beforeKey = {});
    void AddTextEntry(const QString& barKey, const QString& entryKey, const QString& text);
    void RemoveEntry(const QString& barKey, const QString& entryKey);
    QStringList EntryKeys(const QString& barKey) const;
    QString EntryText(const QString& barKey, const QString& entryKey) const;
    long EntryCommand(const QString& barKey, const QString& entryKey) const;
    // Runs the click of an entry as the user's click does.
    void ClickEntry(const QString& barKey, const QString& entryKey);

    // Off while a rebuild runs, so the panel repaints once.
    void SetRedraw(bool redraw);

signals:
    void EntryClicked(const QString& entryKey, long command);
    void BarStateChanged(const QString& barKey, int state);

private:
    struct Bar;
    struct Entry;
    Bar* findBar(const QString& barKey) const;
    Entry* findEntry(const Bar& bar, const QString& entryKey) const;
    void insertEntry(Bar& bar, Entry* entry, const QString& beforeKey);

    QWidget* mContent;
    QVBoxLayout* mLayout;
    QList<Bar*> mBars;
};
