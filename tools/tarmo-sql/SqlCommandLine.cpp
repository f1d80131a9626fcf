#include "SqlCommandLine.h"

#include "TerminalPassword.h"

#include <QDateTime>

namespace {

bool isNumericType(int typeId) {
    switch (typeId) {
    case 48:
    case 52:
    case 56:
    case 127:
    case 104:
    case 59:
    case 62:
    case 106:
    case 108:
    case 60:
    case 122:
        return true;
    default:
        return false;
    }
}

void printRowSet(const SqlRowSet& rowSet, const SqlCommandLine::Options& options, QTextStream& out) {
    const qsizetype columns = rowSet.columns.size();
    QList<QStringList> cells;
    QList<qsizetype> widths(columns, 0);
    for (qsizetype c = 0; c < columns; ++c)
        widths[c] = options.headers ? rowSet.columns[c].name.size() : 0;
    for (const QVariantList& row : rowSet.rows) {
        QStringList texts;
        for (qsizetype c = 0; c < columns; ++c) {
            texts.append(SqlCommandLine::FormatValue(c < row.size() ? row[c] : QVariant()));
            widths[c] = std::max(widths[c], texts.last().size());
        }
        cells.append(texts);
    }

    auto printLine = [&](const QStringList& texts, bool alignNumbers) {
        QStringList padded;
        for (qsizetype c = 0; c < columns; ++c) {
            if (options.trimPadding)
                padded.append(texts[c]);
            else if (alignNumbers && isNumericType(rowSet.columns[c].typeId))
                padded.append(texts[c].rightJustified(widths[c]));
            else
                padded.append(texts[c].leftJustified(widths[c]));
        }
        QString line = padded.join(options.separator);
        if (options.trimPadding) {
            while (line.endsWith(QLatin1Char(' ')))
                line.chop(1);
        }
        out << line << '\n';
    };

    if (options.headers) {
        QStringList names;
        QStringList dashes;
        for (qsizetype c = 0; c < columns; ++c) {
            names.append(rowSet.columns[c].name);
            dashes.append(
                QString(options.trimPadding ? std::max<qsizetype>(names.last().size(), 1) : widths[c],
                        QLatin1Char('-')));
        }
        printLine(names, false);
        out << dashes.join(options.separator) << '\n';
    }
    for (const QStringList& texts : cells)
        printLine(texts, true);
}

} // namespace

QString SqlCommandLine::Usage() {
    return QStringLiteral(
        "Usage: tarmo-sql -S SERVER [-d DATABASE] [-U LOGIN [-P PASSWORD] | -E] (-Q \"TEXT\" | -i FILE)\n"
        "                 [-s SEPARATOR] [-h -1] [-W] [-b]\n"
        "       tarmo-sql --init-server FOLDER [--sa-password PASSWORD]\n"
        "\n"
        "  -S SERVER    a server name, or embedded:FOLDER for an embedded server\n"
        "  -d DATABASE  the database to use (the login's default database otherwise)\n"
        "  -U, -P       SQL login and password; without -P the password comes from SQLCMDPASSWORD or\n"
        "               is asked for at the terminal (a password on the command line is seen by all)\n"
        "  -E           the operating-system user (the default without -U)\n"
        "  -Q TEXT      the statements to run; batches are separated by GO\n"
        "  -i FILE      a script file to run; batches are separated by GO\n"
        "  -s SEP       column separator (a blank by default)\n"
        "  -h -1        no column headers\n"
        "  -W           no padding of columns\n"
        "  -b           exit with code 1 when an error occurred\n"
        "  --init-server FOLDER [--sa-password PASSWORD]\n"
        "               create a new embedded server in FOLDER with the login sa; its password as\n"
        "               for -P\n");
}

QString SqlCommandLine::Parse(const QStringList& arguments, Options& options) {
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& a = arguments[i];
        auto value = [&](QString& target) -> bool {
            if (i + 1 >= arguments.size())
                return false;
            target = arguments[++i];
            return true;
        };
        bool ok = true;
        if (a == QLatin1String("-S"))
            ok = value(options.server);
        else if (a == QLatin1String("-d"))
            ok = value(options.database);
        else if (a == QLatin1String("-U"))
            ok = value(options.login);
        else if (a == QLatin1String("-P"))
            ok = options.passwordGiven = value(options.password);
        else if (a == QLatin1String("-E"))
            options.trusted = true;
        else if (a == QLatin1String("-Q"))
            ok = value(options.query);
        else if (a == QLatin1String("-i"))
            ok = value(options.inputFile);
        else if (a == QLatin1String("-s"))
            ok = value(options.separator);
        else if (a == QLatin1String("-h")) {
            QString rows;
            ok = value(rows);
            bool number = false;
            const int n = rows.toInt(&number);
            if (!number)
                return QStringLiteral("-h takes a number");
            options.headers = n != -1;
        } else if (a == QLatin1String("-W"))
            options.trimPadding = true;
        else if (a == QLatin1String("-b"))
            options.exitOnError = true;
        else if (a == QLatin1String("--init-server"))
            ok = value(options.initServer);
        else if (a == QLatin1String("--sa-password"))
            ok = options.saPasswordGiven = value(options.saPassword);
        else if (a == QLatin1String("-?") || a == QLatin1String("--help")) {
            options.help = true;
        } else
            return QStringLiteral("unknown option %1").arg(a);
        if (!ok)
            return QStringLiteral("%1 needs a value").arg(a);
    }
    if (options.help)
        return QString();
    if (!options.initServer.isEmpty())
        return QString();
    if (options.server.isEmpty())
        return QStringLiteral("-S is required");
    if (options.query.isEmpty() == options.inputFile.isEmpty())
        return QStringLiteral("give either -Q or -i");
    if (options.trusted && !options.login.isEmpty())
        return QStringLiteral("-E and -U exclude each other");
    if (options.login.isEmpty())
        options.trusted = true;
    return QString();
}

QString SqlCommandLine::FillPasswords(Options& options) {
    if (!options.initServer.isEmpty()) {
        const std::optional<QString> password =
            options.saPasswordGiven ? std::optional<QString>(options.saPassword)
                                    : TerminalPassword::FromEnvironmentOrAskNew(
                                          "SQLCMDPASSWORD", QStringLiteral("Password for sa: "));
        if (!password || password->isEmpty())
            return QStringLiteral("--init-server needs a password for sa: --sa-password, SQLCMDPASSWORD "
                                  "or a terminal to type it at");
        options.saPassword = *password;
        return QString();
    }
    if (options.trusted || options.passwordGiven)
        return QString();
    const std::optional<QString> password =
        TerminalPassword::FromEnvironmentOrAsk("SQLCMDPASSWORD", QStringLiteral("Password: "));
    if (!password)
        return QStringLiteral("no password for %1: give -P, set SQLCMDPASSWORD or run at a terminal")
            .arg(options.login);
    options.password = *password;
    return QString();
}

QString SqlCommandLine::FormatValue(const QVariant& value) {
    if (!value.isValid() || value.isNull())
        return QStringLiteral("NULL");
    switch (value.typeId()) {
    case QMetaType::QDateTime:
        return value.toDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz"));
    case QMetaType::QDate:
        return value.toDate().toString(QStringLiteral("yyyy-MM-dd"));
    case QMetaType::QByteArray:
        return QStringLiteral("0x") + QString::fromLatin1(value.toByteArray().toHex().toUpper());
    case QMetaType::Double:
        return QString::number(value.toDouble(), 'g', 15);
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    default:
        return value.toString();
    }
}

bool SqlCommandLine::PrintResults(const SqlBatchResults& results, const Options& options, QTextStream& out,
                                  QTextStream& err) {
    bool failed = false;
    for (const SqlResult& r : results) {
        switch (r.kind) {
        case SqlResult::Kind::RowSet:
            printRowSet(r.rowSet, options, out);
            break;
        case SqlResult::Kind::RowCount:
            out << '\n' << QStringLiteral("(%1 rows affected)").arg(r.rowCount) << '\n';
            break;
        case SqlResult::Kind::Message:
            if (r.message.IsError()) {
                failed = true;
                out.flush();
                err << QStringLiteral("Msg %1, Level %2, State %3, Line %4")
                           .arg(r.message.number)
                           .arg(r.message.severity)
                           .arg(r.message.state)
                           .arg(r.message.line)
                    << '\n'
                    << r.message.text << '\n';
                err.flush();
            } else {
                out << r.message.text << '\n';
            }
            break;
        }
    }
    out.flush();
    return failed;
}
