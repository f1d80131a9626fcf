#include "QueryRunner.h"

#include "DbConnection.h"
#include "TARMOError.h"
#include "modParser.h"

#include <QDateTime>

QString ResultGridData::Text(qsizetype row, qsizetype column) const {
    return QueryRunner::CellText(values.at(column).at(row));
}

namespace QueryRunner {

namespace {
const QString crlf = QStringLiteral("\r\n");

QString withoutPrefixes(const QString& text) {
    QString stripped = text;
    stripped.remove(QLatin1String(kClassicDriverPrefix));
    return DbDriver::StripDriverPrefixes(stripped);
}

qsizetype lineBreaks(const QString& text) {
    return text.count(QLatin1Char('\n'));
}

void appendBlock(QueryOutcome& outcome, const QString& text) {
    outcome.messages += crlf + text + crlf;
}
} // namespace

bool IsBlankBatch(const QString& batch) {
    QString rest = batch;
    rest.remove(crlf);
    rest.remove(QLatin1Char('\n'));
    rest.remove(QLatin1Char('\t'));
    rest.remove(QLatin1Char(' '));
    return rest.trimmed().isEmpty();
}

QString TranslateBatchError(const QString& description, int batchNumber, const QStringList& batches) {
    QString text = withoutPrefixes(description);
    const qsizetype colon = text.indexOf(QLatin1Char(':'));
    if (!text.startsWith(QLatin1String("line "), Qt::CaseInsensitive) || colon < 0)
        return text;
    bool ok = false;
    const long line = text.mid(5, colon - 5).trimmed().toLong(&ok);
    if (!ok)
        return text;
    qsizetype before = 0;
    for (int i = 0; i < batchNumber - 1 && i < batches.size(); ++i)
        before += lineBreaks(batches[i]);
    return QStringLiteral("Line ") + QString::number(line) + text.mid(colon) + crlf +
           QStringLiteral("(Line ") + QString::number(before + line) + QStringLiteral(" in editor)");
}

QString RowsAffectedText(long long count) {
    return crlf + QLatin1Char('(') + QString::number(count) + QStringLiteral(" row") +
           (count > 1 ? QStringLiteral("s") : QString()) + QStringLiteral(" affected)") + crlf;
}

QString CellText(const QVariant& value) {
    if (!value.isValid() || value.isNull())
        return QString::fromLatin1(kNullText);
    switch (value.typeId()) {
    case QMetaType::QDateTime:
        return value.toDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz"));
    case QMetaType::Double:
        return QString::number(value.toDouble(), 'g', 15);
    case QMetaType::QByteArray:
        return QStringLiteral("0x") + QString::fromLatin1(value.toByteArray().toHex().toUpper());
    default:
        return value.toString();
    }
}

ResultGridData GridData(SqlRowSet rows) {
    ResultGridData data;
    data.rowCount = rows.rows.size();
    for (const SqlColumn& column : rows.columns)
        data.columns << (column.name.isEmpty() ? QString::fromLatin1(kNoColumnName) : column.name);
    data.values.resize(data.columns.size());
    for (QVariantList& column : data.values)
        column.reserve(data.rowCount);
    for (QVariantList& row : rows.rows) {
        for (qsizetype c = 0; c < data.values.size(); ++c)
            data.values[c].append(c < row.size() ? std::move(row[c]) : QVariant());
        // Each row is let go once its values are moved, so the result isn't held twice.
        row = QVariantList();
    }
    return data;
}

QString ParseAnswerText(const QString& answer) {
    return answer.isEmpty() ? QString::fromLatin1(kCompletedText) : withoutPrefixes(answer);
}

void AppendFailure(QueryOutcome& outcome, const QString& description) {
    outcome.runFailed = true;
    appendBlock(outcome, withoutPrefixes(description));
}

QueryOutcome Execute(DbConnection& connection, const QString& strQuery) {
    QueryOutcome outcome;
    const QStringList batches = modParser::SplitSQLBatches(strQuery);
    for (int i = 0; i < batches.size(); ++i) {
        if (IsBlankBatch(batches[i]))
            continue;
        const int batchNumber = i + 1;
        SqlBatchResults results;
        try {
            results = connection.ExecuteBatch(batches[i]);
        } catch (const TARMOError& error) {
            outcome.runFailed = true;
            appendBlock(outcome, TranslateBatchError(error.Description(), batchNumber, batches));
            continue;
        }
        // A row set is followed by the count of its own rows, which it has reported already.
        bool countOfRowSet = false;
        for (SqlResult& result : results) {
            switch (result.kind) {
            case SqlResult::Kind::RowSet: {
                const qsizetype rowCount = result.rowSet.rows.size();
                if (rowCount > 0)
                    outcome.grids << GridData(std::move(result.rowSet));
                outcome.messages += RowsAffectedText(rowCount);
                countOfRowSet = true;
                continue;
            }
            case SqlResult::Kind::RowCount:
                if (!countOfRowSet)
                    outcome.messages += RowsAffectedText(result.rowCount);
                break;
            case SqlResult::Kind::Message:
                if (result.message.IsError()) {
                    outcome.runFailed = true;
                    appendBlock(outcome, TranslateBatchError(
                                             DbDriver::ErrorText(connection.ErrorPrefix(), result.message),
                                             batchNumber, batches));
                } else {
                    appendBlock(outcome, result.message.text);
                }
                break;
            }
            countOfRowSet = false;
        }
    }
    if (outcome.messages.isEmpty())
        outcome.messages = QString::fromLatin1(kCompletedText);
    return outcome;
}

} // namespace QueryRunner
