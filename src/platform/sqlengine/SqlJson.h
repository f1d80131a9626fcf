#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

struct sqlite3_value;

// JSON text read as the server reads it: every value keeps its place in the text, so that
// JSON_QUERY returns a fragment as written and JSON_MODIFY changes only what it is asked to.
namespace Json {

// A failure as the server reports it.
struct Error {
    long number;
    QString text;
};

struct Node {
    enum class Kind { Null, False, True, Number, String, Array, Object };
    Kind kind = Kind::Null;
    qsizetype begin = 0, end = 0; // the value's text
    qsizetype keyBegin = 0;       // a member's key, or the value's begin in an array
    QString key;                  // a member's name, undone of its escapes
    QString string;               // a string's value
    std::vector<int> children;
    bool IsContainer() const { return kind == Kind::Array || kind == Kind::Object; }
};

// '[append] [lax | strict] $.a."b c"[0]'
struct Path {
    struct Step {
        bool index = false;
        QString key;
        qint64 position = 0;
    };
    bool strict = false;
    bool append = false;
    QList<Step> steps;
    bool ok = false;
    QString error; // the server's text of 13607

    static Path Parse(const QString& text, bool allowAppend);
    // The path as SQLite's json_each reads it; empty when SQLite can't spell it.
    QString SqlitePath() const;
};

class Document {
public:
    explicit Document(const QString& text);
    bool Ok() const { return mOk; }
    const QString& Error() const { return mError; } // the server's text of 13609
    const Json::Node& At(int i) const { return mNodes[size_t(i)]; }
    int Find(const Path& path) const; // -1 when nothing is there
    QString Raw(int i) const;
    QString ScalarText(int i) const;
    // The text with the path's value set to value (JSON text; none deletes in lax mode); none when
    // a strict path finds nothing.
    std::optional<QString> Modify(const Path& path, const std::optional<QString>& value) const;

private:
    int Value(int depth);
    void Space();
    bool ReadString(QString* out);
    [[noreturn]] void Unexpected();

    QString mText;
    qsizetype mPos = 0;
    std::vector<Json::Node> mNodes;
    bool mOk = false;
    QString mError;
};

QString Quote(const QString& text);
QString NumberText(bool integer, qint64 i, double d);
QString XmlText(const QString& xml);

// One value of a row for FOR JSON and FOR XML.
struct Cell {
    int type = 5; // SQLITE_NULL
    qint64 integer = 0;
    double real = 0;
    QString text;
};

// The rows of a FOR JSON or FOR XML query into one text. The options name the form; each column's
// name starts with 'v' (a value), 'j' (JSON text) or 'x' (xml text).
class RowsBuilder {
public:
    RowsBuilder(const QString& options, int argc, sqlite3_value** args);
    void AddRow(const QList<Cell>& cells);
    QString Finish() const;
    bool IsJson() const { return mJson; }

private:
    // The objects of FOR JSON AUTO over joined tables, one level for each table.
    struct Nested {
        QList<Cell> cells;
        std::vector<Nested> children;
    };
    QString JsonRow(const QList<Cell>& cells) const;
    QString JsonValue(const Cell& c, qsizetype column) const;
    QString NestedJson(const Nested& n, int level) const;
    QString XmlRow(const QList<Cell>& cells) const;

    bool mJson = true;
    QString mMode;
    QString mElement;
    bool mRoot = false;
    QString mRootName;
    bool mIncludeNulls = false;
    bool mNoWrapper = false;
    bool mElements = false;
    QStringList mNames;
    QList<QChar> mKinds;
    QStringList mRows;
    QStringList mTables; // FOR JSON AUTO: the aliases of the tables the columns come from
    QList<int> mLevels;  // and each column's table
    std::vector<Nested> mTree;
};

} // namespace Json
