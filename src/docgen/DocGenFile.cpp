#include "DocGenFile.h"

#include "TARMOError.h"

#include <algorithm>

namespace {

[[noreturn]] void outOfRange() {
    throw TARMOError(TARMOErrors::SubscriptOutOfRange, QStringLiteral("DocGenFile"),
                     QStringLiteral("Subscript out of range"));
}

} // namespace

QString DocGenFileFound::TextBefore() const {
    return FoundString.left(PositionStart);
}

QString DocGenFileFound::TextReference() const {
    return FoundString.mid(PositionStart, PositionEnd - PositionStart - 1);
}

QString DocGenFileFound::TextBehind() const {
    return FoundString.mid(PositionEnd - 1);
}

DocGenFile::DocGenFile(const QString& fileName) {
    SetFileName(fileName);
}

void DocGenFile::SetFileName(const QString& value) {
    mFileName = value;
    const qsizetype slash = value.lastIndexOf(QLatin1Char('/'));
    mPath = value.left(slash + 1);
    mName = value.mid(slash + 1);
    const qsizetype dot = mName.lastIndexOf(QLatin1Char('.'));
    mExtension = dot < 0 ? QString() : mName.mid(dot + 1);
}

DocGenFileFound& DocGenFile::AddFoundDetails() {
    mFound.emplace_back();
    return mFound.back();
}

void DocGenFile::AddFoundUnique(const std::shared_ptr<TARMOObjectVSS>& objToAdd) {
    if (!mFoundUnique.contains(objToAdd))
        mFoundUnique.append(objToAdd);
}

const DocGenFileFound& DocGenFile::FoundDetails(int Index) const {
    if (Index < 1 || Index > FoundCount())
        outOfRange();
    return mFound[Index - 1];
}

const std::shared_ptr<TARMOObjectVSS>& DocGenFile::FoundUnique(int Index) const {
    if (Index < 1 || Index > FoundUniqueCount())
        outOfRange();
    return mFoundUnique[Index - 1];
}

void DocGenFile::FoundClear() {
    mFound.clear();
    mFoundUnique.clear();
}

const DocGenFileFound* DocGenFile::FoundDetailsGetNext(long LineNumber, long CharPosition) const {
    const DocGenFileFound* best = nullptr;
    for (const DocGenFileFound& found : mFound) {
        const bool behind = found.FoundAt > LineNumber ||
                            (found.FoundAt == LineNumber && found.CharPosiInContent > CharPosition);
        if (!behind)
            continue;
        if (!best || found.FoundAt < best->FoundAt ||
            (found.FoundAt == best->FoundAt && found.CharPosiInContent < best->CharPosiInContent))
            best = &found;
    }
    return best;
}

QList<const DocGenFileFound*> DocGenFile::FoundInReadingOrder() const {
    // The walk of FoundDetailsGetNext from (0, 0) in one sort instead of a pass per record: a stable
    // sort keeps the first found of two records on one place in front, and the walk skips the rest.
    QList<const DocGenFileFound*> sorted;
    sorted.reserve(FoundCount());
    for (const DocGenFileFound& found : mFound)
        sorted.append(&found);
    std::stable_sort(sorted.begin(), sorted.end(), [](const DocGenFileFound* a, const DocGenFileFound* b) {
        return a->FoundAt != b->FoundAt ? a->FoundAt < b->FoundAt
                                        : a->CharPosiInContent < b->CharPosiInContent;
    });
    QList<const DocGenFileFound*> walk;
    for (const DocGenFileFound* found : sorted) {
        if (!walk.isEmpty() && walk.last()->FoundAt == found->FoundAt &&
            walk.last()->CharPosiInContent == found->CharPosiInContent)
            continue;
        walk.append(found);
    }
    return walk;
}

DocGenFile& DocGenFiles::Item(int Index) {
    if (Index < 1 || Index > Count())
        outOfRange();
    return *mFiles[Index - 1];
}

const DocGenFile& DocGenFiles::Item(int Index) const {
    if (Index < 1 || Index > Count())
        outOfRange();
    return *mFiles[Index - 1];
}

DocGenFile& DocGenFiles::Add(const QString& strFileName) {
    mFiles.push_back(std::make_unique<DocGenFile>(strFileName));
    return *mFiles.back();
}

bool DocGenFiles::FileExitst(const QString& strFileName) const {
    return std::any_of(mFiles.begin(), mFiles.end(), [&](const std::unique_ptr<DocGenFile>& file) {
        return file->FileName().compare(strFileName, Qt::CaseInsensitive) == 0;
    });
}
