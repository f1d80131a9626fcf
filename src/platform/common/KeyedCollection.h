#pragma once

#include "TARMOError.h"

#include <QHash>
#include <QList>
#include <QString>

#include <optional>
#include <utility>

// An insertion-ordered collection with optional string keys that compare without regard to case.
// Positions count from 1. Item() of an unknown key or position raises TARMOError (5 and 9), Add()
// of a key already present raises 457, as the classic collection does; Contains()/Find() ask
// without raising.
template <typename T> class KeyedCollection {
public:
    int Count() const { return static_cast<int>(mItems.size()); }
    bool IsEmpty() const { return mItems.isEmpty(); }

    // Adds at the end, or before/after a 1-based position (give at most one of them).
    T& Add(T item, const QString& key = QString(), int before = 0, int after = 0) {
        const QString folded = key.isEmpty() ? QString() : fold(key);
        if (!key.isEmpty() && indexOfFolded(folded) >= 0)
            throw TARMOError(
                TARMOErrors::DuplicateKey, QStringLiteral("Collection"),
                QStringLiteral("This key is already associated with an element of this collection"));
        qsizetype pos = mItems.size();
        if (before > 0) {
            checkPosition(before);
            pos = before - 1;
        } else if (after > 0) {
            checkPosition(after);
            pos = after;
        }
        const bool atEnd = pos == mItems.size();
        mItems.insert(pos, Entry{key, std::move(item), folded});
        if (!atEnd || (!mIndexed && mItems.size() > LinearLimit))
            reindex();
        else if (mIndexed && !key.isEmpty())
            mIndex.insert(folded, pos);
        return mItems[pos].value;
    }

    // Room for `count` items, so that a large collection filled in one go grows once.
    void Reserve(qsizetype count) {
        mItems.reserve(count);
        reindex(count);
    }

    T& Item(int position) {
        checkPosition(position);
        return mItems[position - 1].value;
    }
    const T& Item(int position) const {
        checkPosition(position);
        return mItems[position - 1].value;
    }
    T& Item(const QString& key) { return mItems[indexOf(key)].value; }
    const T& Item(const QString& key) const { return mItems[indexOf(key)].value; }

    bool Contains(const QString& key) const { return find(key) >= 0; }
    T* Find(const QString& key) {
        const qsizetype i = find(key);
        return i < 0 ? nullptr : &mItems[i].value;
    }
    const T* Find(const QString& key) const {
        const qsizetype i = find(key);
        return i < 0 ? nullptr : &mItems[i].value;
    }
    // 1-based position of a key, 0 when absent.
    int PositionOf(const QString& key) const { return static_cast<int>(find(key)) + 1; }
    QString KeyAt(int position) const {
        checkPosition(position);
        return mItems[position - 1].key;
    }

    void Remove(int position) {
        checkPosition(position);
        mItems.removeAt(position - 1);
        reindex();
    }
    void Remove(const QString& key) {
        mItems.removeAt(indexOf(key));
        reindex();
    }
    void Clear() {
        mItems.clear();
        mIndex.clear();
        mIndexed = false;
    }

    // Range-for over the values in order.
    struct Entry {
        QString key;
        T value;
        QString folded;
    };
    class iterator {
    public:
        explicit iterator(typename QList<Entry>::iterator it)
            : mIt(it) {}
        T& operator*() const { return mIt->value; }
        T* operator->() const { return &mIt->value; }
        iterator& operator++() {
            ++mIt;
            return *this;
        }
        bool operator==(const iterator& o) const { return mIt == o.mIt; }
        bool operator!=(const iterator& o) const { return mIt != o.mIt; }

    private:
        typename QList<Entry>::iterator mIt;
    };
    class const_iterator {
    public:
        explicit const_iterator(typename QList<Entry>::const_iterator it)
            : mIt(it) {}
        const T& operator*() const { return mIt->value; }
        const T* operator->() const { return &mIt->value; }
        const_iterator& operator++() {
            ++mIt;
            return *this;
        }
        bool operator==(const const_iterator& o) const { return mIt == o.mIt; }
        bool operator!=(const const_iterator& o) const { return mIt != o.mIt; }

    private:
        typename QList<Entry>::const_iterator mIt;
    };
    iterator begin() { return iterator(mItems.begin()); }
    iterator end() { return iterator(mItems.end()); }
    const_iterator begin() const { return const_iterator(mItems.cbegin()); }
    const_iterator end() const { return const_iterator(mItems.cend()); }

private:
    static QString fold(const QString& key) { return key.toCaseFolded(); }

    void checkPosition(int position) const {
        if (position < 1 || position > mItems.size())
            throw TARMOError(TARMOErrors::SubscriptOutOfRange, QStringLiteral("Collection"),
                             QStringLiteral("Subscript out of range"));
    }
    qsizetype indexOf(const QString& key) const {
        const qsizetype i = find(key);
        if (i < 0)
            throw TARMOError(TARMOErrors::InvalidProcedureCall, QStringLiteral("Collection"),
                             QStringLiteral("Invalid procedure call or argument"));
        return i;
    }
    // -1 when absent.
    qsizetype find(const QString& key) const { return key.isEmpty() ? -1 : indexOfFolded(fold(key)); }
    qsizetype indexOfFolded(const QString& folded) const {
        if (mIndexed)
            return mIndex.value(folded, -1);
        for (qsizetype i = 0; i < mItems.size(); ++i)
            if (!mItems[i].key.isEmpty() && mItems[i].folded == folded)
                return i;
        return -1;
    }
    void reindex(qsizetype room = 0) {
        mIndexed = mIndexed || mItems.size() > LinearLimit || room > LinearLimit;
        if (!mIndexed)
            return;
        mIndex.clear();
        mIndex.reserve(qMax(room, mItems.size()));
        for (qsizetype i = 0; i < mItems.size(); ++i)
            if (!mItems[i].key.isEmpty())
                mIndex.insert(mItems[i].folded, i);
    }

    // Most collections hold a handful of items (a tree node's children, a placeholder): those are
    // searched in order, and a hash is built only for the larger ones, which saves its allocation on
    // each of the many small ones.
    static constexpr qsizetype LinearLimit = 8;

    QList<Entry> mItems;
    QHash<QString, qsizetype> mIndex;
    bool mIndexed = false;
};
