// The script format, in the style of sqllogictest. A script is a list of cases separated by blank
// lines; lines starting with # are comments. Each case is a head line, the SQL batch (one or more
// lines, ending at a blank line or at "----"), and for some heads an expected answer after "----".
//
//   statement ok             the batch gives no error
//   statement error N [text] the batch gives error number N (and exactly this text, when given)
//   query                    the last row set of the batch has exactly these rows, one per line,
//                            the values separated by " | " (see RenderSqlValue)
//   query names              as query, the first line after ---- being the column names
//   results                  every result of the batch in order, one line each:
//                              rowset <rows>     count <n>     print <text>
//                              msg <number> <severity> <line>: <text>   (errors and other messages)
//   parse                    as results, but the batch is only parsed (what parse-only gives)
//   syntax ok                the grammar recognizer alone takes the batch as valid T-SQL
//   syntax error L [text]    the recognizer rejects it with its first error at line L (and this text)
//   bind <name>              runs the batch and keeps the first value of its last row set; later
//                            batches and expected lines have ${name} replaced by it, so that a
//                            case can send an object's id the way the product does
//   connect <login> <password> [<database>]
//                            log in anew (no batch); "connect fails" lines follow as expected
//                            messages in the form of results
//
// A head may end with " crlf": the batch's line ends are then CR LF, as the editor sends them.
// Every script starts on a new server whose sa password is "sa", connected as sa to master.
#include "ScriptRunner.h"

#include "EmbeddedServer.h"
#include "SqlGrammar.h"
#include "TestSupport.h"

#include <QDateTime>
#include <QFile>
#include <QHash>
#include <QRegularExpression>
#include <QTextStream>

QString RenderSqlValue(const QVariant& v, const SqlColumn& column) {
    const int t = column.typeId;
    if ((t == 106 || t == 108 || t == 60 || t == 122) && v.typeId() == QMetaType::Double) {
        const int scale = t == 60 || t == 122 ? 4 : std::clamp(column.scale, 0, 38);
        return QString::number(v.toDouble(), 'f', scale);
    }
    return RenderSqlValue(v);
}

QString RenderSqlValue(const QVariant& v) {
    if (!v.isValid() || v.isNull())
        return QStringLiteral("NULL");
    if (v.typeId() == QMetaType::QDateTime)
        return v.toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    if (v.typeId() == QMetaType::QByteArray)
        return QStringLiteral("0x") + QString::fromLatin1(v.toByteArray().toHex().toUpper());
    if (v.typeId() == QMetaType::Double) {
        const double d = v.toDouble();
        return QString::number(d, 'g', 15);
    }
    QString s = v.toString();
    const bool quote = s.isEmpty() || s.front().isSpace() || s.back().isSpace() || s.contains(u'|') ||
                       s.contains(u'\n') || s.contains(u'\r') || s.contains(u'\t');
    if (!quote)
        return s;
    QString e = s;
    e.replace(u'\\', QStringLiteral("\\\\"));
    e.replace(u'\r', QStringLiteral("\\r"));
    e.replace(u'\n', QStringLiteral("\\n"));
    e.replace(u'\t', QStringLiteral("\\t"));
    return u'\'' + e + u'\'';
}

namespace {

QString RenderResult(const SqlResult& r) {
    switch (r.kind) {
    case SqlResult::Kind::RowSet:
        return QStringLiteral("rowset %1").arg(r.rowSet.rows.size());
    case SqlResult::Kind::RowCount:
        return QStringLiteral("count %1").arg(r.rowCount);
    case SqlResult::Kind::Message:
        if (r.message.number == 0 && r.message.severity == 0)
            return QStringLiteral("print ") + r.message.text;
        return QStringLiteral("msg %1 %2 %3: %4")
            .arg(r.message.number)
            .arg(r.message.severity)
            .arg(r.message.line)
            .arg(r.message.text);
    }
    return {};
}

QStringList Describe(const SqlBatchResults& results) {
    QStringList lines;
    for (const SqlResult& r : results)
        lines.append(RenderResult(r));
    return lines;
}

} // namespace

QStringList RunSqlScript(const QString& path) {
    QStringList failures;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {QStringLiteral("%1: can't be read").arg(path)};
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    TempFolder temp;
    const QString folder = temp.Path(QStringLiteral("server"));
    EmbeddedServer::Create(folder, QStringLiteral("sa"));
    EmbeddedServer server(folder);
    std::unique_ptr<EmbeddedSession> session =
        server.Connect(QStringLiteral("sa"), QStringLiteral("sa"), QString());
    if (!session)
        return {QStringLiteral("%1: sa can't log in").arg(path)};

    QHash<QString, QString> bound;
    auto substitute = [&bound](QString text) {
        for (auto it = bound.cbegin(); it != bound.cend(); ++it)
            text.replace(QStringLiteral("${%1}").arg(it.key()), it.value());
        return text;
    };
    int i = 0;
    const int n = int(lines.size());
    auto fail = [&](int line, const QString& what) {
        failures.append(QStringLiteral("%1:%2: %3").arg(path).arg(line + 1).arg(what));
    };
    while (i < n) {
        const QString head = lines[i].trimmed();
        if (head.isEmpty() || head.startsWith(u'#')) {
            ++i;
            continue;
        }
        const int headLine = i++;
        QStringList words = head.split(u' ', Qt::SkipEmptyParts);
        const bool crlf = words.last() == QLatin1String("crlf");
        if (crlf)
            words.removeLast();
        QStringList sql;
        QStringList expected;
        if (words[0] != QLatin1String("connect")) {
            while (i < n && !lines[i].trimmed().isEmpty() && lines[i] != QLatin1String("----"))
                sql.append(lines[i++]);
        }
        if (i < n && lines[i] == QLatin1String("----")) {
            ++i;
            while (i < n && !lines[i].isEmpty())
                expected.append(substitute(lines[i++]));
        }
        const QString batch = substitute(sql.join(crlf ? QStringLiteral("\r\n") : QStringLiteral("\n")));
        if (words[0] == QLatin1String("connect")) {
            QList<SqlMessage> messages;
            auto next = server.Connect(words.value(1),
                                       words.value(2) == QLatin1String("''") ? QString() : words.value(2),
                                       words.value(3), false, &messages);
            QStringList got;
            for (const SqlMessage& m : messages)
                got.append(RenderResult(SqlResult::Msg(m)));
            if (got != expected)
                fail(headLine,
                     QStringLiteral("login gave\n  %1\nexpected\n  %2")
                         .arg(got.join(QStringLiteral("\n  ")), expected.join(QStringLiteral("\n  "))));
            if (next)
                session = std::move(next);
            continue;
        }
        if (words[0] == QLatin1String("syntax")) {
            SqlLexError lexError;
            const QList<SqlToken> tokens = SqlLexer::Tokenize(batch, true, &lexError);
            SqlSyntaxError error;
            const bool ok = lexError.number == 0 && SqlGrammar(tokens).CheckBatch(&error);
            const QString got =
                ok ? QStringLiteral("ok") : QStringLiteral("error %1: %2").arg(error.line).arg(error.text);
            if (words.value(1) == QLatin1String("ok")) {
                if (!ok)
                    fail(headLine, QStringLiteral("syntax gave ") + got);
            } else {
                const QString text = head.section(u' ', 3).trimmed();
                if (ok || error.line != words.value(2).toInt() || (!text.isEmpty() && error.text != text))
                    fail(headLine, QStringLiteral("syntax gave %1, expected error at line %2 %3")
                                       .arg(got, words.value(2), text));
            }
            continue;
        }
        if (words[0] == QLatin1String("parse")) {
            const QStringList got = Describe(session->Parse(batch));
            if (got != expected)
                fail(headLine,
                     QStringLiteral("parse gave\n  %1\nexpected\n  %2")
                         .arg(got.join(QStringLiteral("\n  ")), expected.join(QStringLiteral("\n  "))));
            continue;
        }
        const SqlBatchResults results = session->Execute(batch);
        QStringList errors;
        const SqlMessage* firstError = nullptr;
        for (const SqlResult& r : results)
            if (r.kind == SqlResult::Kind::Message && r.message.IsError()) {
                errors.append(RenderResult(r));
                if (!firstError)
                    firstError = &r.message;
            }
        if (words[0] == QLatin1String("statement") && words.value(1) == QLatin1String("ok")) {
            if (!errors.isEmpty())
                fail(headLine, QStringLiteral("unexpected error: ") + errors.join(QStringLiteral("; ")));
        } else if (words[0] == QLatin1String("statement") && words.value(1) == QLatin1String("error")) {
            const long number = words.value(2).toLong();
            const QString text =
                head.section(u' ', 3).trimmed().remove(QRegularExpression(QStringLiteral("\\s*crlf$")));
            if (!firstError)
                fail(headLine, QStringLiteral("expected error %1, got none").arg(number));
            else if (firstError->number != number || (!text.isEmpty() && firstError->text != text))
                fail(headLine,
                     QStringLiteral("expected error %1 %2, got %3").arg(number).arg(text, errors.first()));
        } else if (words[0] == QLatin1String("query")) {
            const SqlRowSet* last = nullptr;
            for (const SqlResult& r : results)
                if (r.kind == SqlResult::Kind::RowSet)
                    last = &r.rowSet;
            if (!errors.isEmpty()) {
                fail(headLine, QStringLiteral("unexpected error: ") + errors.join(QStringLiteral("; ")));
                continue;
            }
            if (!last) {
                fail(headLine, QStringLiteral("no row set"));
                continue;
            }
            QStringList got;
            if (words.value(1) == QLatin1String("names")) {
                QStringList names;
                for (const SqlColumn& c : last->columns)
                    names.append(RenderSqlValue(c.name));
                got.append(names.join(QStringLiteral(" | ")));
            }
            for (const QVariantList& row : last->rows) {
                QStringList cells;
                for (qsizetype c = 0; c < row.size(); ++c)
                    cells.append(RenderSqlValue(row[c], last->columns.value(c)));
                got.append(cells.join(QStringLiteral(" | ")));
            }
            // A cell written SKIP matches any value (random sids and the like).
            for (int r = 0; r < qMin(got.size(), expected.size()); ++r) {
                const QStringList want = expected[r].split(QStringLiteral(" | "));
                QStringList have = got[r].split(QStringLiteral(" | "));
                if (want.size() != have.size())
                    continue;
                for (int c = 0; c < want.size(); ++c)
                    if (want[c] == QLatin1String("SKIP"))
                        have[c] = want[c];
                got[r] = have.join(QStringLiteral(" | "));
            }
            if (got != expected)
                fail(headLine,
                     QStringLiteral("rows\n  %1\nexpected\n  %2")
                         .arg(got.join(QStringLiteral("\n  ")), expected.join(QStringLiteral("\n  "))));
        } else if (words[0] == QLatin1String("bind") && words.size() == 2) {
            const SqlRowSet* last = nullptr;
            for (const SqlResult& r : results)
                if (r.kind == SqlResult::Kind::RowSet)
                    last = &r.rowSet;
            if (!errors.isEmpty() || !last || last->rows.isEmpty() || last->rows.first().isEmpty())
                fail(headLine, QStringLiteral("nothing to bind: ") + errors.join(QStringLiteral("; ")));
            else
                bound.insert(words[1], last->rows.first().first().toString());
        } else if (words[0] == QLatin1String("results")) {
            const QStringList got = Describe(results);
            if (got != expected)
                fail(headLine,
                     QStringLiteral("results\n  %1\nexpected\n  %2")
                         .arg(got.join(QStringLiteral("\n  ")), expected.join(QStringLiteral("\n  "))));
        } else {
            fail(headLine, QStringLiteral("unknown case head: ") + head);
        }
    }
    return failures;
}
