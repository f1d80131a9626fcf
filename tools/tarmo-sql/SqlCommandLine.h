#pragma once

#include "SqlResults.h"

#include <QString>
#include <QStringList>
#include <QTextStream>

// The command line of tarmo-sql: the options, and the printing of a batch's results the way the
// classic query tool printed them (columns, "(N rows affected)", "Msg N, Level L, State S, Line X").
class SqlCommandLine {
public:
    struct Options {
        QString server;
        QString database;
        QString login;
        QString password;
        bool passwordGiven = false; // -P, also when empty
        bool trusted = false;
        QString query;     // -Q
        QString inputFile; // -i
        QString separator = QStringLiteral(" ");
        bool headers = true;      // -h -1 turns them off
        bool trimPadding = false; // -W
        bool exitOnError = false; // -b
        QString initServer;       // --init-server
        QString saPassword;       // --sa-password
        bool saPasswordGiven = false;
        bool help = false;
    };

    // Reads the arguments (without the program name); "" when they make sense, else what is wrong.
    static QString Parse(const QStringList& arguments, Options& options);
    // Passwords that are not on the command line, where other users of the machine can see them: from
    // SQLCMDPASSWORD, else typed at the terminal. "" when every password needed is there, else what is
    // missing.
    static QString FillPasswords(Options& options);
    static QString Usage();

    // Prints the results of one batch; returns whether an error was among them.
    static bool PrintResults(const SqlBatchResults& results, const Options& options, QTextStream& out,
                             QTextStream& err);
    static QString FormatValue(const QVariant& value);
};
