#include "ReferenceFinder.h"

#include "DocGenFile.h"
#include "TARMOObjectVSS.h"

#include <QFile>
#include <QStringDecoder>

#include <algorithm>

struct ReferenceFinder::Form {
    int Object;
    int Number;
    QString Text;
};

namespace {

// The length of the piece that starts at index, up to the next boundary.
qsizetype pieceLength(QStringView text, qsizetype index) {
    qsizetype end = index;
    while (end < text.size() && !IsNameBoundary(text[end]))
        ++end;
    return end - index;
}

} // namespace

bool IsNameBoundary(QChar c) {
    switch (c.unicode()) {
    case 0:
    case 9:
    case 10:
    case 13:
    case 32:
    case 34:
    case 39:
    case 44:
    case 59:
    case 123:
    case 125:
        return true;
    default:
        return false;
    }
}

long LineOfPosition(const QString& text, long P) {
    const qsizetype upTo = std::min<qsizetype>(P, text.size());
    return long(QStringView(text).left(upTo).count(QLatin1Char('\n'))) + 1;
}

QString BuildExcerpt(const QString& text, long P, long L) {
    QString excerpt;
    long before = 0;
    if (P > 23) {
        excerpt = QStringLiteral("...") + text.mid(P - 21);
        before = 23;
    } else {
        excerpt = text;
        before = P;
    }
    if (excerpt.size() > before + L + 23)
        excerpt = excerpt.left(before + L + 20) + QStringLiteral("...");
    return excerpt;
}

QString ReadSourceFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    const QByteArray bytes = file.readAll();
    QStringDecoder utf8(QStringDecoder::Utf8);
    QString text = utf8(bytes);
    if (!utf8.hasError())
        return text;
    return QString::fromLatin1(bytes);
}

ReferenceFinder::ReferenceFinder() = default;
ReferenceFinder::~ReferenceFinder() = default;

void ReferenceFinder::addForm(int object, int form, const QString& text) {
    const QString first = text.left(pieceLength(text, 0)).toCaseFolded();
    mForms[first].append(Form{object, form, text});
}

int ReferenceFinder::AddObject(const QString& name, const QString& owner) {
    const int object = mObjectCount++;
    const QString bracketName = QLatin1Char('[') + name + QLatin1Char(']');
    const QString bracketOwner = QLatin1Char('[') + owner + QLatin1Char(']');
    addForm(object, 1, name);
    addForm(object, 2, bracketName);
    addForm(object, 3, owner + QLatin1Char('.') + name);
    addForm(object, 4, owner + QLatin1Char('.') + bracketName);
    addForm(object, 5, bracketOwner + QLatin1Char('.') + name);
    addForm(object, 6, bracketOwner + QLatin1Char('.') + bracketName);
    return object;
}

QList<ReferenceHit> ReferenceFinder::FindAll(const QString& text) const {
    QList<ReferenceHit> hits;
    const QStringView view(text);
    const bool emptyFirstPieces = mForms.contains(QString());
    // The line of a place counts the LF characters up to and including it; hits come in rising
    // places, so one counter walks the text once.
    qsizetype counted = 0;
    long line = 1;
    // A hit needs a boundary in front, so only the places behind one (or the start) are looked at;
    // there the piece up to the next boundary names the candidates.
    for (qsizetype index = 0; index < view.size(); ++index) {
        if (index > 0 && !IsNameBoundary(view[index - 1]))
            continue;
        const qsizetype length = pieceLength(view, index);
        if (length == 0 && !emptyFirstPieces)
            continue;
        const auto bucket = mForms.constFind(view.mid(index, length).toString().toCaseFolded());
        if (bucket == mForms.constEnd())
            continue;
        for (const Form& form : *bucket) {
            const qsizetype end = index + form.Text.size();
            if (end > view.size() || (end < view.size() && !IsNameBoundary(view[end])))
                continue;
            if (view.mid(index, form.Text.size()).compare(form.Text, Qt::CaseInsensitive) != 0)
                continue;
            for (; counted <= index; ++counted)
                if (view[counted] == QLatin1Char('\n'))
                    ++line;
            hits.append({form.Object, form.Number, long(index + 1), long(form.Text.size()), line});
        }
    }
    std::stable_sort(hits.begin(), hits.end(), [](const ReferenceHit& a, const ReferenceHit& b) {
        if (a.Object != b.Object)
            return a.Object < b.Object;
        if (a.Form != b.Form)
            return a.Form < b.Form;
        return a.Position < b.Position;
    });
    return hits;
}

bool AddReferences(DocGenFile& file, const QString& text, const QList<ReferenceHit>& hits,
                   const QList<std::shared_ptr<TARMOObjectVSS>>& objects) {
    for (const ReferenceHit& hit : hits) {
        const std::shared_ptr<TARMOObjectVSS>& object = objects.at(hit.Object);
        DocGenFileFound& found = file.AddFoundDetails();
        found.ObjectFound = object;
        found.FoundAt = hit.Line;
        found.CharPosiInContent = hit.Position;
        found.FoundString = BuildExcerpt(text, hit.Position, hit.Length);
        const QStringView form = QStringView(text).mid(hit.Position - 1, hit.Length);
        found.PositionStart = long(found.FoundString.indexOf(form, 0, Qt::CaseInsensitive));
        found.PositionEnd = found.PositionStart + 1 + hit.Length;
        file.AddFoundUnique(object);
    }
    return !hits.isEmpty();
}

bool FindObjectInFile(DocGenFile& file, const std::shared_ptr<TARMOObjectVSS>& object) {
    ReferenceFinder finder;
    finder.AddObject(object->Name(), object->Owner());
    const QString text = ReadSourceFile(file.FileName());
    return AddReferences(file, text, finder.FindAll(text), {object});
}
