#include "SqlJson.h"

#include <QSet>
#include <sqlite3.h>

namespace Json {

namespace {

struct Bad {};

// Deeper documents are refused rather than read on an ever deeper stack.
constexpr int kMaxDepth = 128;

QString PathError(const QString& text, qsizetype at) {
    const QString c = at < text.size() ? QString(text[at]) : QString();
    return QStringLiteral(
               "JSON path is not properly formatted. Unexpected character '%1' is found at position %2.")
        .arg(c)
        .arg(at);
}

QString XmlEscape(const QString& text, bool attribute) {
    QString out;
    out.reserve(text.size());
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '&':
            out += QStringLiteral("&amp;");
            break;
        case '<':
            out += QStringLiteral("&lt;");
            break;
        case '>':
            out += QStringLiteral("&gt;");
            break;
        case '\r':
            out += QStringLiteral("&#x0D;");
            break;
        case '"':
            out += attribute ? QStringLiteral("&quot;") : QStringLiteral("\"");
            break;
        case '\n':
            out += attribute ? QStringLiteral("&#x0A;") : QStringLiteral("\n");
            break;
        case '\t':
            out += attribute ? QStringLiteral("&#x09;") : QStringLiteral("\t");
            break;
        default:
            out += c;
        }
    }
    return out;
}

// A column name as an xml name: what a name can't hold is written _xHHHH_.
QString XmlName(const QString& name) {
    QString out;
    for (qsizetype i = 0; i < name.size(); ++i) {
        const QChar c = name[i];
        const bool ok = c.isLetter() || c == u'_' || (i > 0 && (c.isDigit() || c == u'-' || c == u'.'));
        if (ok)
            out += c;
        else
            out += QStringLiteral("_x%1_")
                       .arg(c.unicode(), 4, 16, QChar(u'0'))
                       .toUpper()
                       .replace(QStringLiteral("_X"), QStringLiteral("_x"));
    }
    return out;
}

QString CellText(const Cell& c) {
    switch (c.type) {
    case SQLITE_INTEGER:
        return QString::number(c.integer);
    case SQLITE_FLOAT:
        return NumberText(false, 0, c.real);
    default:
        return c.text;
    }
}

[[noreturn]] void Conflict(const QString& name) {
    throw Error{13601,
                QStringLiteral("Property '%1' cannot be generated in JSON output due to a conflict with "
                               "another column name or alias. Use different names and aliases for "
                               "each column in SELECT list.")
                    .arg(name)};
}

} // namespace

QString Quote(const QString& text) {
    QString out;
    out.reserve(text.size() + 2);
    out += u'"';
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '"':
            out += QStringLiteral("\\\"");
            break;
        case '\\':
            out += QStringLiteral("\\\\");
            break;
        case '/':
            out += QStringLiteral("\\/");
            break;
        case '\b':
            out += QStringLiteral("\\b");
            break;
        case '\f':
            out += QStringLiteral("\\f");
            break;
        case '\n':
            out += QStringLiteral("\\n");
            break;
        case '\r':
            out += QStringLiteral("\\r");
            break;
        case '\t':
            out += QStringLiteral("\\t");
            break;
        default:
            if (c.unicode() < 0x20)
                out += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QChar(u'0'));
            else
                out += c;
        }
    }
    out += u'"';
    return out;
}

QString NumberText(bool integer, qint64 i, double d) {
    return integer ? QString::number(i) : QString::number(d, 'g', 15);
}

QString XmlText(const QString& xml) {
    QString out;
    out.reserve(xml.size());
    for (qsizetype i = 0; i < xml.size(); ++i) {
        const QChar c = xml[i];
        if (c == u'<') {
            const qsizetype close = xml.indexOf(u'>', i);
            if (close < 0)
                break;
            i = close;
            continue;
        }
        if (c != u'&') {
            out += c;
            continue;
        }
        const qsizetype semi = xml.indexOf(u';', i);
        if (semi < 0 || semi - i > 10) {
            out += c;
            continue;
        }
        const QString entity = xml.mid(i + 1, semi - i - 1);
        QString decoded;
        if (entity == QLatin1String("amp"))
            decoded = QStringLiteral("&");
        else if (entity == QLatin1String("lt"))
            decoded = QStringLiteral("<");
        else if (entity == QLatin1String("gt"))
            decoded = QStringLiteral(">");
        else if (entity == QLatin1String("quot"))
            decoded = QStringLiteral("\"");
        else if (entity == QLatin1String("apos"))
            decoded = QStringLiteral("'");
        else if (entity.startsWith(u'#')) {
            bool ok = false;
            const uint code = entity.startsWith(QLatin1String("#x"), Qt::CaseInsensitive)
                                  ? entity.mid(2).toUInt(&ok, 16)
                                  : entity.mid(1).toUInt(&ok, 10);
            if (ok && code <= 0x10FFFF)
                decoded = QString::fromUcs4(reinterpret_cast<const char32_t*>(&code), 1);
        }
        if (decoded.isEmpty()) {
            out += c;
            continue;
        }
        out += decoded;
        i = semi;
    }
    return out;
}

Path Path::Parse(const QString& text, bool allowAppend) {
    Path p;
    qsizetype pos = 0;
    const qsizetype n = text.size();
    const auto word = [&](const char* w) {
        const QLatin1String l(w);
        if (text.mid(pos, l.size()) == l && pos + l.size() < n && text[pos + l.size()] == u' ') {
            pos += l.size();
            while (pos < n && text[pos] == u' ')
                ++pos;
            return true;
        }
        return false;
    };
    while (pos < n && text[pos] == u' ')
        ++pos;
    if (allowAppend && word("append"))
        p.append = true;
    if (word("strict"))
        p.strict = true;
    else
        word("lax");
    if (pos >= n || text[pos] != u'$') {
        p.error = PathError(text, pos);
        return p;
    }
    ++pos;
    while (pos < n) {
        Step s;
        if (text[pos] == u'.') {
            ++pos;
            if (pos < n && text[pos] == u'"') {
                ++pos;
                bool closed = false;
                while (pos < n) {
                    const QChar c = text[pos++];
                    if (c == u'"') {
                        closed = true;
                        break;
                    }
                    if (c == u'\\' && pos < n)
                        s.key += text[pos++];
                    else
                        s.key += c;
                }
                if (!closed) {
                    p.error = PathError(text, pos);
                    return p;
                }
            } else {
                const qsizetype start = pos;
                while (pos < n && text[pos] != u'.' && text[pos] != u'[' && text[pos] != u' ' &&
                       text[pos] != u'"')
                    ++pos;
                if (pos == start) {
                    p.error = PathError(text, pos);
                    return p;
                }
                s.key = text.mid(start, pos - start);
            }
        } else if (text[pos] == u'[') {
            ++pos;
            const qsizetype start = pos;
            while (pos < n && text[pos].isDigit() && pos - start < 9)
                ++pos;
            if (pos == start || pos >= n || text[pos] != u']') {
                p.error = PathError(text, pos);
                return p;
            }
            s.index = true;
            s.position = text.mid(start, pos - start).toLongLong();
            ++pos;
        } else {
            p.error = PathError(text, pos);
            return p;
        }
        p.steps.append(s);
    }
    p.ok = true;
    return p;
}

QString Path::SqlitePath() const {
    QString out = QStringLiteral("$");
    for (const Step& s : steps) {
        if (s.index) {
            out += QStringLiteral("[%1]").arg(s.position);
        } else {
            if (s.key.contains(u'"'))
                return {};
            out += QStringLiteral(".\"") + s.key + u'"';
        }
    }
    return out;
}

Document::Document(const QString& text)
    : mText(text) {
    try {
        Value(0);
        Space();
        if (mPos < mText.size())
            Unexpected();
        mOk = true;
    } catch (const Bad&) {
        mNodes.clear();
    }
}

void Document::Unexpected() {
    if (mPos >= mText.size())
        mError = QStringLiteral("JSON text is not properly formatted. Unexpected end of input.");
    else
        mError = QStringLiteral("JSON text is not properly formatted. Unexpected character '%1' is found at "
                                "position %2.")
                     .arg(mText[mPos])
                     .arg(mPos);
    throw Bad{};
}

void Document::Space() {
    while (mPos < mText.size() &&
           (mText[mPos] == u' ' || mText[mPos] == u'\t' || mText[mPos] == u'\n' || mText[mPos] == u'\r'))
        ++mPos;
}

bool Document::ReadString(QString* out) {
    ++mPos; // "
    while (mPos < mText.size()) {
        const QChar c = mText[mPos];
        if (c == u'"') {
            ++mPos;
            return true;
        }
        if (c.unicode() < 0x20)
            Unexpected();
        if (c != u'\\') {
            *out += c;
            ++mPos;
            continue;
        }
        ++mPos;
        if (mPos >= mText.size())
            Unexpected();
        const QChar e = mText[mPos++];
        switch (e.unicode()) {
        case '"':
        case '\\':
        case '/':
            *out += e;
            break;
        case 'b':
            *out += u'\b';
            break;
        case 'f':
            *out += u'\f';
            break;
        case 'n':
            *out += u'\n';
            break;
        case 'r':
            *out += u'\r';
            break;
        case 't':
            *out += u'\t';
            break;
        case 'u': {
            bool ok = false;
            const uint code = mText.mid(mPos, 4).toUInt(&ok, 16);
            if (!ok || mPos + 4 > mText.size()) {
                --mPos;
                Unexpected();
            }
            *out += QChar(char16_t(code));
            mPos += 4;
            break;
        }
        default:
            --mPos;
            Unexpected();
        }
    }
    Unexpected();
}

int Document::Value(int depth) {
    if (depth > kMaxDepth)
        Unexpected();
    Space();
    if (mPos >= mText.size())
        Unexpected();
    const int index = int(mNodes.size());
    mNodes.emplace_back();
    mNodes.back().begin = mPos;
    mNodes.back().keyBegin = mPos;
    const QChar c = mText[mPos];
    if (c == u'{' || c == u'[') {
        const bool object = c == u'{';
        mNodes[size_t(index)].kind = object ? Node::Kind::Object : Node::Kind::Array;
        ++mPos;
        Space();
        if (mPos < mText.size() && mText[mPos] == (object ? u'}' : u']')) {
            ++mPos;
        } else {
            for (;;) {
                QString key;
                qsizetype keyBegin = 0;
                if (object) {
                    Space();
                    keyBegin = mPos;
                    if (mPos >= mText.size() || mText[mPos] != u'"')
                        Unexpected();
                    ReadString(&key);
                    Space();
                    if (mPos >= mText.size() || mText[mPos] != u':')
                        Unexpected();
                    ++mPos;
                }
                const int child = Value(depth + 1);
                if (object) {
                    mNodes[size_t(child)].key = key;
                    mNodes[size_t(child)].keyBegin = keyBegin;
                }
                mNodes[size_t(index)].children.push_back(child);
                Space();
                if (mPos < mText.size() && mText[mPos] == u',') {
                    ++mPos;
                    continue;
                }
                if (mPos < mText.size() && mText[mPos] == (object ? u'}' : u']')) {
                    ++mPos;
                    break;
                }
                Unexpected();
            }
        }
    } else if (c == u'"') {
        mNodes[size_t(index)].kind = Node::Kind::String;
        QString s;
        ReadString(&s);
        mNodes[size_t(index)].string = s;
    } else if (c == u'-' || c.isDigit()) {
        mNodes[size_t(index)].kind = Node::Kind::Number;
        if (c == u'-')
            ++mPos;
        const auto digits = [&] {
            const qsizetype start = mPos;
            while (mPos < mText.size() && mText[mPos] >= u'0' && mText[mPos] <= u'9')
                ++mPos;
            if (mPos == start)
                Unexpected();
        };
        digits();
        if (mPos < mText.size() && mText[mPos] == u'.') {
            ++mPos;
            digits();
        }
        if (mPos < mText.size() && (mText[mPos] == u'e' || mText[mPos] == u'E')) {
            ++mPos;
            if (mPos < mText.size() && (mText[mPos] == u'+' || mText[mPos] == u'-'))
                ++mPos;
            digits();
        }
    } else {
        static const struct {
            const char* word;
            Node::Kind kind;
        } literals[] = {{"true", Node::Kind::True}, {"false", Node::Kind::False}, {"null", Node::Kind::Null}};
        bool found = false;
        for (const auto& l : literals) {
            const QLatin1String w(l.word);
            if (QStringView(mText).mid(mPos, w.size()) == w) {
                mNodes[size_t(index)].kind = l.kind;
                mPos += w.size();
                found = true;
                break;
            }
        }
        if (!found)
            Unexpected();
    }
    mNodes[size_t(index)].end = mPos;
    return index;
}

int Document::Find(const Path& path) const {
    if (!mOk)
        return -1;
    int at = 0;
    for (const Path::Step& s : path.steps) {
        const Json::Node& n = mNodes[size_t(at)];
        int next = -1;
        if (s.index) {
            if (n.kind == Node::Kind::Array && s.position < qint64(n.children.size()))
                next = n.children[size_t(s.position)];
        } else if (n.kind == Node::Kind::Object) {
            for (const int child : n.children)
                if (mNodes[size_t(child)].key == s.key) {
                    next = child;
                    break;
                }
        }
        if (next < 0)
            return -1;
        at = next;
    }
    return at;
}

QString Document::Raw(int i) const {
    const Json::Node& n = mNodes[size_t(i)];
    return mText.mid(n.begin, n.end - n.begin);
}

QString Document::ScalarText(int i) const {
    const Json::Node& n = mNodes[size_t(i)];
    switch (n.kind) {
    case Node::Kind::String:
        return n.string;
    case Node::Kind::True:
        return QStringLiteral("true");
    case Node::Kind::False:
        return QStringLiteral("false");
    case Node::Kind::Null:
        return {};
    default:
        return Raw(i);
    }
}

std::optional<QString> Document::Modify(const Path& path, const std::optional<QString>& value) const {
    if (path.steps.isEmpty())
        return mText;
    const auto splice = [&](qsizetype from, qsizetype to, const QString& with) {
        return mText.left(from) + with + mText.mid(to);
    };
    if (path.append) {
        const int target = Find(path);
        if (target < 0 || mNodes[size_t(target)].kind != Node::Kind::Array) {
            if (path.strict)
                return std::nullopt;
            return mText;
        }
        if (!value)
            return mText;
        const Json::Node& array = mNodes[size_t(target)];
        return splice(array.end - 1, array.end - 1,
                      (array.children.empty() ? QString() : QStringLiteral(",")) + *value);
    }
    Path parentPath = path;
    const Path::Step last = parentPath.steps.takeLast();
    const int parent = Find(parentPath);
    if (parent < 0)
        return path.strict ? std::nullopt : std::optional<QString>(mText);
    const Json::Node& p = mNodes[size_t(parent)];
    int found = -1;
    qsizetype place = -1;
    if (last.index && p.kind == Node::Kind::Array && last.position < qint64(p.children.size())) {
        place = last.position;
        found = p.children[size_t(place)];
    } else if (!last.index && p.kind == Node::Kind::Object) {
        for (size_t i = 0; i < p.children.size(); ++i)
            if (mNodes[size_t(p.children[i])].key == last.key) {
                found = p.children[i];
                place = qsizetype(i);
                break;
            }
    }
    if (found >= 0) {
        const Json::Node& n = mNodes[size_t(found)];
        if (value || path.strict || last.index)
            return splice(n.begin, n.end, value.value_or(QStringLiteral("null")));
        // NULL in lax mode takes the property out, with the comma that joined it to its neighbours.
        if (place > 0)
            return splice(mNodes[size_t(p.children[size_t(place - 1)])].end, n.end, QString());
        if (p.children.size() > 1)
            return splice(n.keyBegin, mNodes[size_t(p.children[1])].keyBegin, QString());
        return splice(n.keyBegin, n.end, QString());
    }
    if (path.strict)
        return std::nullopt;
    if (!value || last.index || p.kind != Node::Kind::Object)
        return mText;
    return splice(p.end - 1, p.end - 1,
                  (p.children.empty() ? QString() : QStringLiteral(",")) + Quote(last.key) + u':' + *value);
}

RowsBuilder::RowsBuilder(const QString& options, int argc, sqlite3_value** args) {
    const QStringList lines = options.split(u'\n');
    mJson = lines.value(0) == QLatin1String("json");
    for (const QString& line : lines) {
        const qsizetype eq = line.indexOf(u'=');
        const QString key = eq < 0 ? line : line.left(eq);
        const QString value = eq < 0 ? QString() : line.mid(eq + 1);
        if (key == QLatin1String("mode"))
            mMode = value;
        else if (key == QLatin1String("element"))
            mElement = value;
        else if (key == QLatin1String("root")) {
            mRoot = true;
            mRootName = value;
        } else if (key == QLatin1String("nulls"))
            mIncludeNulls = true;
        else if (key == QLatin1String("nowrap"))
            mNoWrapper = true;
        else if (key == QLatin1String("elements"))
            mElements = true;
        else if (key == QLatin1String("table"))
            mTables.append(value);
        else if (key == QLatin1String("level"))
            mLevels.append(value.toInt());
    }
    for (int i = 0; i < argc / 2; ++i) {
        const QString name = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_value_text(args[i])),
                                               sqlite3_value_bytes(args[i]));
        mKinds.append(name.isEmpty() ? QChar(u'v') : name[0]);
        mNames.append(name.mid(1));
    }
}

void RowsBuilder::AddRow(const QList<Cell>& cells) {
    if (mTables.size() < 2) {
        mRows.append(mJson ? JsonRow(cells) : XmlRow(cells));
        return;
    }
    // FOR JSON AUTO over joined tables: a row starts a new object at the first table whose values
    // differ from the row before; a table whose values are all NULL (an outer join's) adds nothing.
    std::vector<Nested>* list = &mTree;
    for (int level = 0; level < int(mTables.size()); ++level) {
        QList<Cell> mine;
        bool allNull = true;
        for (qsizetype i = 0; i < cells.size() && i < mLevels.size(); ++i)
            if (mLevels[i] == level) {
                mine.append(cells[i]);
                allNull = allNull && cells[i].type == SQLITE_NULL;
            }
        if (level > 0 && allNull)
            break;
        const auto same = [&](const QList<Cell>& other) {
            if (other.size() != mine.size())
                return false;
            for (qsizetype k = 0; k < mine.size(); ++k)
                if (other[k].type != mine[k].type || other[k].integer != mine[k].integer ||
                    other[k].real != mine[k].real || other[k].text != mine[k].text)
                    return false;
            return true;
        };
        if (list->empty() || !same(list->back().cells))
            list->push_back(Nested{mine, {}});
        list = &list->back().children;
    }
}

QString RowsBuilder::JsonValue(const Cell& c, qsizetype column) const {
    if (c.type == SQLITE_NULL)
        return QStringLiteral("null");
    if (mKinds[column] == u'j' && c.type == SQLITE_TEXT)
        return c.text;
    if (c.type == SQLITE_INTEGER || c.type == SQLITE_FLOAT)
        return CellText(c);
    return Quote(c.text);
}

QString RowsBuilder::NestedJson(const Nested& n, int level) const {
    QString out = QStringLiteral("{");
    bool first = true;
    qsizetype k = 0;
    for (qsizetype i = 0; i < mLevels.size() && i < mNames.size(); ++i) {
        if (mLevels[i] != level)
            continue;
        const Cell& c = n.cells.value(k++);
        if (c.type == SQLITE_NULL && !mIncludeNulls)
            continue;
        out += (first ? QString() : QStringLiteral(",")) + Quote(mNames[i]) + u':' + JsonValue(c, i);
        first = false;
    }
    if (!n.children.empty()) {
        QStringList children;
        for (const Nested& child : n.children)
            children.append(NestedJson(child, level + 1));
        out += (first ? QString() : QStringLiteral(",")) + Quote(mTables.value(level + 1)) +
               QStringLiteral(":[") + children.join(u',') + u']';
    }
    return out + u'}';
}

QString RowsBuilder::JsonRow(const QList<Cell>& cells) const {
    QString out = QStringLiteral("{");
    QStringList open;             // the objects that dotted names opened, outermost first
    QList<bool> filled = {false}; // whether each open object has a member yet
    QSet<QString> used;
    for (qsizetype i = 0; i < cells.size() && i < mNames.size(); ++i) {
        const Cell& c = cells[i];
        if (c.type == SQLITE_NULL && !mIncludeNulls)
            continue;
        const QStringList parts =
            mMode == QLatin1String("PATH") ? mNames[i].split(u'.') : QStringList{mNames[i]};
        qsizetype common = 0;
        while (common < open.size() && common < parts.size() - 1 && open[common] == parts[common])
            ++common;
        while (open.size() > common) {
            out += u'}';
            open.removeLast();
            filled.removeLast();
        }
        for (qsizetype j = common; j < parts.size() - 1; ++j) {
            const QString full = parts.mid(0, j + 1).join(u'.');
            if (used.contains(full))
                Conflict(mNames[i]);
            used.insert(full);
            out += (filled.last() ? QStringLiteral(",") : QString()) + Quote(parts[j]) + QStringLiteral(":{");
            filled.last() = true;
            open.append(parts[j]);
            filled.append(false);
        }
        if (used.contains(mNames[i]))
            Conflict(mNames[i]);
        used.insert(mNames[i]);
        out +=
            (filled.last() ? QStringLiteral(",") : QString()) + Quote(parts.last()) + u':' + JsonValue(c, i);
        filled.last() = true;
    }
    for (qsizetype k = 0; k < open.size(); ++k)
        out += u'}';
    return out + u'}';
}

QString RowsBuilder::XmlRow(const QList<Cell>& cells) const {
    const bool path = mMode == QLatin1String("PATH");
    QString attributes;
    QString content;
    for (qsizetype i = 0; i < cells.size() && i < mNames.size(); ++i) {
        const Cell& c = cells[i];
        if (c.type == SQLITE_NULL)
            continue;
        const QString& name = mNames[i];
        const bool raw = mKinds[i] == u'x';
        const QString text = raw ? c.text : XmlEscape(CellText(c), false);
        if (path) {
            if (name.startsWith(u'@')) {
                if (!content.isEmpty())
                    throw Error{6852, QStringLiteral("Attribute-centric column '%1' must not come after a "
                                                     "non-attribute-centric sibling in XML hierarchy in FOR "
                                                     "XML PATH.")
                                          .arg(name)};
                attributes +=
                    u' ' + XmlName(name.mid(1)) + QStringLiteral("=\"") + XmlEscape(CellText(c), true) + u'"';
            } else if (name.isEmpty() || name == QLatin1String("text()") || name == QLatin1String("*") ||
                       name == QLatin1String("data()")) {
                content += text;
            } else {
                QString inner = text;
                const QStringList steps = name.split(u'/');
                for (qsizetype s = steps.size() - 1; s >= 0; --s)
                    inner = u'<' + XmlName(steps[s]) + u'>' + inner + QStringLiteral("</") +
                            XmlName(steps[s]) + u'>';
                content += inner;
            }
        } else if (mElements) {
            const QString n = XmlName(name);
            content += u'<' + n + u'>' + text + QStringLiteral("</") + n + u'>';
        } else if (!name.isEmpty()) {
            attributes += u' ' + XmlName(name) + QStringLiteral("=\"") + XmlEscape(CellText(c), true) + u'"';
        }
    }
    if (mElement.isEmpty())
        return content;
    const QString e = XmlName(mElement);
    if (content.isEmpty())
        return u'<' + e + attributes + QStringLiteral("/>");
    return u'<' + e + attributes + u'>' + content + QStringLiteral("</") + e + u'>';
}

QString RowsBuilder::Finish() const {
    if (!mJson) {
        QString body = mRows.join(QString());
        if (!mRoot)
            return body;
        const QString r = XmlName(mRootName);
        return u'<' + r + u'>' + body + QStringLiteral("</") + r + u'>';
    }
    QStringList rows = mRows;
    for (const Nested& n : mTree)
        rows.append(NestedJson(n, 0));
    QString body = rows.join(u',');
    if (!mNoWrapper)
        body = u'[' + body + u']';
    if (mRoot)
        body = u'{' + Quote(mRootName) + u':' + body + u'}';
    return body;
}

} // namespace Json
