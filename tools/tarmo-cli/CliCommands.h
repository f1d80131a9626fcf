#pragma once

#include <QString>
#include <QStringList>
#include <QTextStream>

#include <memory>

class TARMODatabase;
class TARMODatabaseObjects;
class TARMOObjectRef;
class TARMOProject;
class CliPrompts;

// The commands of tarmo-cli over the core: project records, and with --project the objects of a
// project, one action per call. Results go to the output stream, every prompt of the core to the
// error stream; the exit code is 0 on success, 1 when the operation returned False (or the
// project could not be opened), 2 for a wrong command line, and 3 when sync finds differences.
class CliCommands {
public:
    CliCommands(QTextStream& out, QTextStream& err);
    ~CliCommands();

    int Run(QStringList args);

    static QString Usage();

private:
    int demo(QStringList args);
    int projectCommand(QStringList args);
    int objectCommand(const QString& command, QStringList args);

    int list(const QStringList& args);
    int show(const TARMOObjectRef& object);
    int get(const TARMOObjectRef& object, const QString& from, const QString& version);
    int newObject(const QString& tag, const QString& file, const QString& comment);
    int test(const QString& tag, const QString& file);
    int permissions(const TARMOObjectRef& object, bool script);
    // The compare of the synchronization, and with --apply-to its actions (in CliSync.cpp).
    int sync(QStringList args);
    // The document generator's commands (in CliDocs.cpp).
    int docs(QStringList args);
    int modules(QStringList args);
    int moduleCommand(QStringList args);
    // The project record exists; False after telling why. Opens no connection.
    bool knownProject();
    // The deployment script of a mode, written to a file (in CliScript.cpp).
    int script(QStringList args);

    // Opens the project's two connections; False after telling why.
    bool openProject();
    // The object of a kind tag by "owner.name" or "name", read fresh from both stores.
    TARMOObjectRef findObject(const QString& tag, const QString& name);
    bool knownTag(const QString& tag);
    int usageError(const QString& text);
    // 0 or 1; a failure that no prompt explained gets a line of its own.
    int outcome(bool done, const QString& command);

    QTextStream& mOut;
    QTextStream& mErr;
    QString mProjectName;
    CliPrompts* mPrompts = nullptr; // installed for the length of Run
    int mShownBefore = 0;
    std::unique_ptr<TARMODatabase> mDatabase;
    std::shared_ptr<TARMOProject> mProject;
    std::unique_ptr<TARMODatabaseObjects> mObjects;
};
