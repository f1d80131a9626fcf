#pragma once

#include <QChar>
#include <QHash>
#include <QList>
#include <QString>

#include <memory>

class DocGenFile;
class TARMOObjectVSS;

// One accepted reference: which object (its number in the order the objects were added), which of
// the six search forms, where (from 1) and how long, on which line.
struct ReferenceHit {
    int Object = 0;
    int Form = 0; // 1 Name, 2 [Name], 3 Owner.Name, 4 Owner.[Name], 5 [Owner].Name, 6 [Owner].[Name]
    long Position = 0;
    long Length = 0;
    long Line = 0;
};

// Finds the names of many database objects in plain text in one pass: the text is cut at the name
// boundaries, and every piece that starts a name is looked up in a hash of the names' first pieces,
// so the cost grows with the text and not with the number of objects. The hits are exactly those
// of searching each object's six forms one after the other, ignoring case, where a hit counts only
// between two boundaries.
class ReferenceFinder {
public:
    ReferenceFinder();
    ~ReferenceFinder();
    ReferenceFinder(const ReferenceFinder&) = delete;
    ReferenceFinder& operator=(const ReferenceFinder&) = delete;

    // Adds an object's name and owner; the object's number is the count before the call.
    int AddObject(const QString& name, const QString& owner);
    int ObjectCount() const { return mObjectCount; }

    // Every hit in the order of the object-by-object search: by object, then form, then position.
    QList<ReferenceHit> FindAll(const QString& text) const;

private:
    struct Form;
    void addForm(int object, int form, const QString& text);
    QHash<QString, QList<Form>> mForms; // by the case-folded first piece of the form
    int mObjectCount = 0;
};

// The start or the end of the text (a null character here), tab, LF, CR, blank, double quote,
// single quote, comma, semicolon, "{" and "}". Anything else, "(", ")", "=" and "." among them,
// is none.
bool IsNameBoundary(QChar c);
// The number of LF characters up to and including position P (from 1), plus 1.
long LineOfPosition(const QString& text, long P);
// The excerpt round a reference at P (from 1) of length L: at most 20 characters either side, with
// "..." where the text was cut.
QString BuildExcerpt(const QString& text, long P, long L);

// A source file as plain text: UTF-8, or Latin-1 where it isn't valid UTF-8 (older files written
// in a Windows code page); a missing or unreadable file gives "".
QString ReadSourceFile(const QString& path);

// Fills a file's records from the hits of its text: one record per hit and the distinct objects,
// objects[i] being the object numbered i in the finder. True if there was a hit.
bool AddReferences(DocGenFile& file, const QString& text, const QList<ReferenceHit>& hits,
                   const QList<std::shared_ptr<TARMOObjectVSS>>& objects);

// One object in one file, read anew: the object-by-object operation, for callers with a single
// object in hand. The run uses a ReferenceFinder over all objects instead.
bool FindObjectInFile(DocGenFile& file, const std::shared_ptr<TARMOObjectVSS>& object);
