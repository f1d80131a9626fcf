#pragma once

#include <QHash>
#include <QString>

class DocGenModule;
class DocGenProject;
class TARMOObjectVSS;

// How names, labels and texts appear in a document, by the project's display options. What is
// found never depends on these.
class DocGenNames {
public:
    explicit DocGenNames(const DocGenProject& project);

    // The owner in brackets with EncapsOwnerNames.
    QString OwnerDisplayText(const QString& owner) const;
    // The name (in brackets with EncapsObjects), with the owner and "." in front where owners are
    // shown and not in a column of their own.
    QString ObjectDisplayText(const TARMOObjectVSS& object, bool ownerHasColumn) const;
    // OwnerInOwnCol and IncludeOwnerNames both set.
    bool OwnerColumn() const;
    // The object's description, read from the store once per document: a module document shows an
    // object in its summary and again under every file that uses it.
    QString Description(TARMOObjectVSS& object);

private:
    const DocGenProject& mProject;
    QHash<const TARMOObjectVSS*, QString> mDescriptions;
};

// The label of a module's file, relative to the module's path with "/" turned into ":", or "@" and
// the bare name where it lies outside; note is then "Note: this object resides outside the module
// path!", else "".
QString FileLabel(const DocGenModule& module, const QString& fileName, QString* note = nullptr);

// The HTML form of a text: "&", "<", ">", the double quote, then CR LF and a lone LF as "<br>". An
// empty text gives "&nbsp;" with blankAsSpace, else "".
QString EscapeHTML(const QString& text, bool blankAsSpace);
