#pragma once

#include <QString>

#include <memory>

class TARMODBTItems;

// The record of one tree node as the object model hands it out: the model never sees the tree
// control, only these records and their children.
class TARMODBTItem {
public:
    explicit TARMODBTItem(const QString& key = QString());
    ~TARMODBTItem();
    TARMODBTItem(const TARMODBTItem&) = delete;
    TARMODBTItem& operator=(const TARMODBTItem&) = delete;

    QString Text;
    QString Key;
    QString Tag;
    QString ImageName;
    bool RemoveItem = false;
    bool AutoExpand = false;
    // The former DBID when a refresh found the object under a new one, else "".
    QString KeyChanged;

    // The stored tip, or the label while no tip is stored.
    QString ToolTipText() const { return mToolTipText.isEmpty() ? Text : mToolTipText; }
    void SetToolTipText(const QString& text) { mToolTipText = text; }

    // Owned by the item; made when first asked for, as most records (the placeholders, the leaves)
    // never get a child.
    TARMODBTItems& Children();
    const TARMODBTItems& Children() const;

private:
    QString mToolTipText;
    std::unique_ptr<TARMODBTItems> mChildren;
};
