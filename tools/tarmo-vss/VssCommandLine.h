#pragma once

#include <QString>
#include <QStringList>
#include <QTextStream>

class VersionStore;

// The command line of the version store: parses the arguments, runs one command against a store and
// writes plain text, one record a line. Errors go to the error stream; Run gives the exit code.
class VssCommandLine {
public:
    VssCommandLine(QTextStream& out, QTextStream& err)
        : mOut(out)
        , mErr(err) {}

    int Run(const QStringList& arguments);

private:
    void parse(const QStringList& arguments);
    void runCommand();
    QString option(const QString& name) const;
    bool flag(const QString& name) const;
    QString positional(int index, const char* what) const;
    void needPositionals(int count) const;
    void runRights(VersionStore& store);
    void runOption(VersionStore& store);
    // The positional at index, else from TARMO_VSS_NEW_PASSWORD or typed twice at the terminal.
    QString newPassword(int index) const;
    void usage() const;

    QTextStream& mOut;
    QTextStream& mErr;
    QString mCommand;
    QStringList mPositionals;
    QStringList mFlags;
    QList<QPair<QString, QString>> mOptions;
};
