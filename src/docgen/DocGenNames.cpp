#include "DocGenNames.h"

#include "DocGenModule.h"
#include "DocGenProject.h"
#include "TARMOObjectVSS.h"

DocGenNames::DocGenNames(const DocGenProject& project)
    : mProject(project) {}

QString DocGenNames::OwnerDisplayText(const QString& owner) const {
    return mProject.EncapsOwnerNames ? QLatin1Char('[') + owner + QLatin1Char(']') : owner;
}

QString DocGenNames::ObjectDisplayText(const TARMOObjectVSS& object, bool ownerHasColumn) const {
    QString text =
        mProject.EncapsObjects ? QLatin1Char('[') + object.Name() + QLatin1Char(']') : object.Name();
    if (mProject.IncludeOwnerNames && !(ownerHasColumn && mProject.OwnerInOwnCol))
        text = OwnerDisplayText(object.Owner()) + QLatin1Char('.') + text;
    return text;
}

bool DocGenNames::OwnerColumn() const {
    return mProject.OwnerInOwnCol && mProject.IncludeOwnerNames;
}

QString DocGenNames::Description(TARMOObjectVSS& object) {
    auto it = mDescriptions.constFind(&object);
    if (it == mDescriptions.constEnd())
        it = mDescriptions.insert(&object, object.Description());
    return *it;
}

QString FileLabel(const DocGenModule& module, const QString& fileName, QString* note) {
    if (note)
        note->clear();
    if (module.Path.isEmpty())
        return fileName;
    if (fileName.contains(module.Path, Qt::CaseSensitive)) {
        QString label = fileName.mid(module.Path.size());
        label.replace(QLatin1Char('/'), QLatin1Char(':'));
        return label + QLatin1Char(':');
    }
    if (note)
        *note = QStringLiteral("Note: this object resides outside the module path!");
    return QLatin1Char('@') + fileName.mid(fileName.lastIndexOf(QLatin1Char('/')) + 1) + QLatin1Char(':');
}

QString EscapeHTML(const QString& text, bool blankAsSpace) {
    if (text.isEmpty())
        return blankAsSpace ? QStringLiteral("&nbsp;") : QString();
    QString html = text;
    html.replace(QLatin1Char('&'), QStringLiteral("&amp;"));
    html.replace(QLatin1Char('<'), QStringLiteral("&lt;"));
    html.replace(QLatin1Char('>'), QStringLiteral("&gt;"));
    html.replace(QLatin1Char('"'), QStringLiteral("&quot;"));
    html.replace(QStringLiteral("\r\n"), QStringLiteral("<br>"));
    html.replace(QLatin1Char('\n'), QStringLiteral("<br>"));
    return html;
}
