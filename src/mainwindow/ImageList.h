#pragma once

#include <QHash>
#include <QIcon>
#include <QStringList>

// The main window's one image list, iltAll: every picture of the program, by key. Windows take
// their pictures from it by key or by position.
class ImageList {
public:
    ImageList();

    // The keys in their order.
    const QStringList& Keys() const { return mKeys; }
    int Count() const { return static_cast<int>(mKeys.size()); }
    // Position of a key, from 1 and compared in upper case; one less with bZeroBased. -1 for a key
    // that no entry has.
    int GetIconIndex(const QString& strName, bool bZeroBased = true) const;
    // The picture of a key (any case); an empty icon for an unknown key.
    QIcon Icon(const QString& strName) const;
    // The picture at a position from 1; an empty icon outside the list.
    QIcon IconAt(int lngIndex) const;

private:
    QStringList mKeys;
    QHash<QString, int> mIndex;
    mutable QHash<QString, QIcon> mCache;
};
