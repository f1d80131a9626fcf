#include "DbConnection.h"
#include "EmbeddedServer.h"
#include "SqlCommandLine.h"
#include "TARMOSQL.h"
#include "modParser.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <cstdio>

namespace {

int initServer(const SqlCommandLine::Options& options, QTextStream& out, QTextStream& err) {
    const QString folder = QDir(options.initServer).absolutePath();
    try {
        EmbeddedServer::Create(folder, options.saPassword);
    } catch (const TARMOError& e) {
        err << "tarmo-sql: " << e.Description() << '\n';
        return 1;
    }
    out << "Created the embedded server embedded:" << folder << '\n';
    return 0;
}

int runScript(const SqlCommandLine::Options& options, QTextStream& out, QTextStream& err) {
    QString script = options.query;
    if (!options.inputFile.isEmpty()) {
        QFile file(options.inputFile);
        if (!file.open(QIODevice::ReadOnly)) {
            err << "tarmo-sql: cannot open " << options.inputFile << ": " << file.errorString() << '\n';
            return 1;
        }
        script = QString::fromUtf8(file.readAll());
    }

    DbLogin login;
    login.server = options.server;
    login.database = options.database;
    login.login = options.login;
    login.password = options.password;
    login.trusted = options.trusted;
    std::unique_ptr<DbConnection> connection = DbDriver::CreateConnection(options.server);
    try {
        connection->Open(login);
    } catch (const TARMOError& e) {
        err << "tarmo-sql: " << TARMOSQL::FormatSQLError(e.Description()) << '\n';
        return 1;
    }

    bool failed = false;
    const QStringList batches = modParser::SplitSQLBatches(script);
    for (qsizetype i = 0; i < batches.size(); ++i) {
        QString batch = batches[i];
        if (modParser::TrimLeadingBlanks(batch).isEmpty())
            continue;
        // The rest of a GO line belongs to no batch, so that lines count from the line after GO.
        static const QRegularExpression restOfGoLine(QStringLiteral("^[ \\t\\r]*\\n"));
        if (i > 0)
            batch.remove(restOfGoLine);
        try {
            failed =
                SqlCommandLine::PrintResults(connection->ExecuteBatch(batch), options, out, err) || failed;
        } catch (const TARMOError& e) {
            err << "tarmo-sql: " << TARMOSQL::FormatSQLError(e.Description()) << '\n';
            return 1;
        }
    }
    return failed && options.exitOnError ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);

    SqlCommandLine::Options options;
    const QString problem = SqlCommandLine::Parse(app.arguments().mid(1), options);
    if (options.help) {
        out << SqlCommandLine::Usage();
        return 0;
    }
    if (!problem.isEmpty()) {
        err << "tarmo-sql: " << problem << "\n\n" << SqlCommandLine::Usage();
        return 2;
    }
    if (const QString missing = SqlCommandLine::FillPasswords(options); !missing.isEmpty()) {
        err << "tarmo-sql: " << missing << '\n';
        return 2;
    }
    if (!options.initServer.isEmpty())
        return initServer(options, out, err);
    return runScript(options, out, err);
}
