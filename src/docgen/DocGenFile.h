#pragma once

#include <QList>
#include <QString>

#include <memory>
#include <vector>

class TARMOObjectVSS;

// One reference to a database object in a module's source file. Positions count in characters of
// the text as read (UTF-16 code units), from 1 unless said otherwise.
struct DocGenFileFound {
    std::shared_ptr<TARMOObjectVSS> ObjectFound;
    long FoundAt = 0;           // line number in the file, from 1
    QString FoundString;        // the excerpt round the reference, with "..." where it was cut
    long PositionStart = 0;     // characters in the excerpt before the reference
    long PositionEnd = 0;       // position in the excerpt, from 1, of the first character behind it
    long CharPosiInContent = 0; // position of the reference in the whole file, from 1

    // The three pieces of the excerpt: before the reference, the reference, behind it.
    QString TextBefore() const;
    QString TextReference() const;
    QString TextBehind() const;
};

// One source file of a module. Setting FileName derives Path (up to and including the last "/"),
// Name (the part behind it) and Extenstion (the part of the name behind the last ".").
class DocGenFile {
public:
    explicit DocGenFile(const QString& fileName = QString());

    const QString& FileName() const { return mFileName; }
    void SetFileName(const QString& value);
    const QString& Path() const { return mPath; }
    const QString& Name() const { return mName; }
    const QString& Extenstion() const { return mExtension; }

    // --- What a run found in the file, emptied by FoundClear.
    DocGenFileFound& AddFoundDetails();
    // Appends the object unless the same object (by identity) is in the list.
    void AddFoundUnique(const std::shared_ptr<TARMOObjectVSS>& objToAdd);
    int FoundCount() const { return static_cast<int>(mFound.size()); }
    int FoundUniqueCount() const { return static_cast<int>(mFoundUnique.size()); }
    // From 1.
    const DocGenFileFound& FoundDetails(int Index) const;
    const std::shared_ptr<TARMOObjectVSS>& FoundUnique(int Index) const;
    void FoundClear();
    // The first record behind the given place in reading order (line, then position); nullptr where
    // there is none. Of two records on the same place the first found wins, the other is skipped.
    const DocGenFileFound* FoundDetailsGetNext(long LineNumber, long CharPosition) const;
    // Every record in reading order, as FoundDetailsGetNext walks them from (0, 0).
    QList<const DocGenFileFound*> FoundInReadingOrder() const;

private:
    QString mFileName, mPath, mName, mExtension;
    std::vector<DocGenFileFound> mFound;
    QList<std::shared_ptr<TARMOObjectVSS>> mFoundUnique;
};

// The files of a module in their order; positions from 1.
class DocGenFiles {
public:
    DocGenFile& Item(int Index);
    const DocGenFile& Item(int Index) const;
    DocGenFile& Add(const QString& strFileName);
    // Compares full names, ignoring case.
    bool FileExitst(const QString& strFileName) const;
    int Count() const { return static_cast<int>(mFiles.size()); }
    void Clear() { mFiles.clear(); }

    auto begin() const { return mFiles.begin(); }
    auto end() const { return mFiles.end(); }

private:
    std::vector<std::unique_ptr<DocGenFile>> mFiles;
};
