#include "CliCommands.h"

#include "CliArgs.h"
#include "CliPrompts.h"
#include "DemoSeed.h"
#include "GeneralHelpers.h"
#include "TARMODatabase.h"
#include "TARMODatabaseObjects.h"
#include "TARMOError.h"
#include "TARMOObjectList.h"
#include "TARMOProject.h"
#include "TARMOProjects.h"
#include "TARMOSQL.h"
#include "TARMOTables.h"
#include "TARMOVSS.h"
#include "TerminalPassword.h"

namespace {

const char* const kUsage =
    "Usage: tarmo-cli [--yes | --no] COMMAND [OPTIONS]\n"
    "\n"
    "Project records:\n"
    "  project add NAME --server S --database D [--user U [--password P] | --trusted]\n"
    "              --ini INI --vss-user U [--vss-password P] --vss-project '$\\P\\' --working-folder DIR\n"
    "      A password given is stored in the record; as '-' it is read from TARMO_SQL_PASSWORD or\n"
    "      TARMO_VSS_PASSWORD or typed at the terminal, out of sight of the machine's other users.\n"
    "  project list\n"
    "  project remove NAME\n"
    "\n"
    "Objects (TAG is the kind: StoredProcedure, UserDefinedFunction, View, Trigger, Table;\n"
    "NAME is owner.name or name):\n"
    "  --project P list [TAG]                 tag, DBID, owner.name, state, holder\n"
    "  --project P show TAG NAME              fields and permissions\n"
    "  --project P get TAG NAME [--from sql|vss] [--version N]\n"
    "  --project P checkout TAG NAME          prints the working file\n"
    "  --project P undocheckout TAG NAME\n"
    "  --project P checkin TAG NAME FILE [-c COMMENT]\n"
    "  --project P new TAG FILE [-c COMMENT]  prints the new DBID\n"
    "  --project P test TAG FILE\n"
    "  --project P sync-add|sync-remove|sync-change TAG NAME --to sql|vss\n"
    "  --project P permissions TAG NAME [--script]\n"
    "  --project P sync [--only TAG] [--json]\n"
    "      Compares the database with the store project: one line per difference,\n"
    "      TAG<TAB>owner.name<TAB>sql-only|vss-only|differs, then \"N differences\"; --json prints one\n"
    "      JSON array of objects with tag, owner, name and kind instead. Exit code 0 in sync, 3 when\n"
    "      differences exist. Notes the run in the project's synchronization history.\n"
    "  --project P sync --apply-to sql|vss [--only TAG] [--json]\n"
    "      The same compare, then each difference is repaired towards one store: sql makes the\n"
    "      database like the store (drop, create or alter), vss the store like the database (add,\n"
    "      remove or check in). Prints \"applied\" or \"stayed\" per difference, then the counts.\n"
    "      Exit code 0 when nothing stayed, 3 when differences stayed.\n"
    "  --project P script --mode all|timeframe|compare|custom [--from DATE] [--until DATE]\n"
    "                     [--server S --database D (--user U | --trusted)] [--objects TAG:NAME,...]\n"
    "                     [--drop] [--permissions] --out FILE\n"
    "      Writes the deployment script of the script generator: all objects of the database, the\n"
    "      changes the store recorded from --from until --until (default: now), the differences to\n"
    "      another database, or the objects listed. DATE is yyyy-MM-dd [HH:mm:ss]. The password of\n"
    "      --user comes from SQLCMDPASSWORD or is typed at the terminal. Exit code 1 when nothing\n"
    "      was found to script or the file could not be written.\n"
    "\n"
    "Documents (the display options are those the start dialog saved for the project):\n"
    "  --project P docs (--all | --module NAME) --format html|word --out FILE [--template DOTX]\n"
    "      The complete object documentation, or the documentation of one module: which objects\n"
    "      its files use, where, with excerpts. Prints the file written.\n"
    "  --project P modules                    name, number of files, primary path\n"
    "  --project P module add NAME --path DIR [--files PATTERN]\n"
    "      A module of the files under DIR (PATTERN a glob such as '*.php'; all files without it).\n"
    "  --project P module remove NAME\n"
    "\n"
    "Demo:\n"
    "  demo [--folder DIR] [--reset | --force]\n"
    "      Makes the demo: an embedded server with the database Demo (login sa, password demo), a\n"
    "      version store with the project $/Demo (user Admin, password demo), and the project record\n"
    "      \"Demo\" that TARMO opens at start. What exists is kept; --reset (or --force) makes it anew.\n"
    "      Default folder: $XDG_DATA_HOME/tarmo/demo.\n"
    "\n"
    "Every message of the core is written as \"TITLE: TEXT\" on stderr. Questions take the safe answer\n"
    "unless --yes or --no is given. Passwords that a project record doesn't store are read from\n"
    "TARMO_SQL_PASSWORD and TARMO_VSS_PASSWORD. Exit code 1: the operation failed.\n";

// "-" stands for a password that is not on the command line: from the variable or the terminal.
bool storedPassword(QString& password, const char* variable, const QString& what) {
    if (password != QLatin1String("-"))
        return true;
    const std::optional<QString> given =
        TerminalPassword::FromEnvironmentOrAsk(variable, QStringLiteral("Password for %1: ").arg(what));
    if (given)
        password = *given;
    return given.has_value();
}

QString stateWord(const TARMOObjectRef& object) {
    if (!object.Versioned())
        return QStringLiteral("-");
    const QString key = object.Versioned()->IconToUse();
    return key.mid(key.indexOf(QLatin1Char(':')) + 1);
}

QString ownerDotName(const QString& owner, const QString& name) {
    return owner.isEmpty() ? name : owner + QLatin1Char('.') + name;
}

QString stateText(long state) {
    switch (state) {
    case TARMOPermission::Grant:
        return QStringLiteral("GRANT");
    case TARMOPermission::Deny:
        return QStringLiteral("DENY");
    default:
        return QStringLiteral("NONE");
    }
}

} // namespace

CliCommands::CliCommands(QTextStream& out, QTextStream& err)
    : mOut(out)
    , mErr(err) {}

CliCommands::~CliCommands() {
    // The lists refer to the project's connections.
    mObjects.reset();
}

QString CliCommands::Usage() {
    return QString::fromLatin1(kUsage);
}

int CliCommands::usageError(const QString& text) {
    mErr << "tarmo-cli: " << text << Qt::endl << "Try 'tarmo-cli --help'." << Qt::endl;
    return 2;
}

int CliCommands::Run(QStringList args) {
    CliPrompts::Policy policy = CliPrompts::Policy::Safe;
    if (takeFlag(args, QStringLiteral("--yes")))
        policy = CliPrompts::Policy::Yes;
    if (takeFlag(args, QStringLiteral("--no")))
        policy = CliPrompts::Policy::No;
    if (!takeOption(args, QStringLiteral("--project"), mProjectName))
        return usageError(QStringLiteral("--project needs a name"));
    if (args.isEmpty())
        return usageError(QStringLiteral("no command given"));
    auto cliPrompts = std::make_unique<CliPrompts>(mErr, policy);
    mPrompts = cliPrompts.get();
    std::unique_ptr<UserPrompts> previous = installPrompts(std::move(cliPrompts));
    int code = 1;
    try {
        const QString command = args.takeFirst();
        if (command == QLatin1String("demo"))
            code = demo(args);
        else if (command == QLatin1String("project"))
            code = projectCommand(args);
        else if (command == QLatin1String("sync"))
            code = sync(args);
        else if (command == QLatin1String("docs"))
            code = docs(args);
        else if (command == QLatin1String("modules"))
            code = modules(args);
        else if (command == QLatin1String("module"))
            code = moduleCommand(args);
        else if (command == QLatin1String("script"))
            code = script(args);
        else
            code = objectCommand(command, args);
    } catch (const TARMOError& e) {
        mErr << "Error: " << TARMOSQL::FormatSQLError(e.Description()) << Qt::endl;
        code = 1;
    }
    mObjects.reset();
    installPrompts(std::move(previous));
    mPrompts = nullptr;
    return code;
}

int CliCommands::demo(QStringList args) {
    QString folder = DemoSeed::DefaultFolder();
    if (!takeOption(args, QStringLiteral("--folder"), folder))
        return usageError(QStringLiteral("--folder needs a folder"));
    const bool reset = takeFlag(args, QStringLiteral("--reset")) | takeFlag(args, QStringLiteral("--force"));
    if (!args.isEmpty())
        return usageError(QStringLiteral("demo: unexpected argument '") + args.first() + QLatin1Char('\''));
    const DemoSeed::Result result = DemoSeed::Seed(folder, reset);
    for (const QString& line : result.log)
        mOut << line << Qt::endl;
    if (!result.ok) {
        mErr << "tarmo-cli demo: " << result.error << Qt::endl;
        return 1;
    }
    return 0;
}

// --- Project records

int CliCommands::projectCommand(QStringList args) {
    if (args.isEmpty())
        return usageError(QStringLiteral("project: add, list or remove"));
    const QString what = args.takeFirst();
    TARMODatabase database;
    if (what == QLatin1String("list")) {
        const auto projects = database.FindAllProjects();
        for (const auto& project : *projects)
            mOut << project->Name() << '\t' << project->SQL().Server() << '\t' << project->SQL().Database()
                 << '\t' << project->VSS().IniFile() << '\t' << project->VSS().Project() << '\t'
                 << project->VSS().GeneralWorkingFolder() << Qt::endl;
        return 0;
    }
    if (args.isEmpty())
        return usageError(QStringLiteral("project ") + what + QStringLiteral(": NAME missing"));
    const QString name = args.takeFirst();
    if (what == QLatin1String("remove")) {
        auto projects = database.FindAllProjects();
        if (!projects->Contains(name)) {
            mErr << "tarmo-cli: no project named '" << name << "'" << Qt::endl;
            return 1;
        }
        database.RemoveProject(*projects->Item(name));
        return 0;
    }
    if (what != QLatin1String("add"))
        return usageError(QStringLiteral("project: unknown subcommand '") + what + QLatin1Char('\''));

    QString server, db, user, password, ini, vssUser, vssPassword, vssProject, folder;
    const bool trusted = takeFlag(args, QStringLiteral("--trusted"));
    const std::pair<QString, QString*> options[] = {{QStringLiteral("--server"), &server},
                                                    {QStringLiteral("--database"), &db},
                                                    {QStringLiteral("--user"), &user},
                                                    {QStringLiteral("--password"), &password},
                                                    {QStringLiteral("--ini"), &ini},
                                                    {QStringLiteral("--vss-user"), &vssUser},
                                                    {QStringLiteral("--vss-password"), &vssPassword},
                                                    {QStringLiteral("--vss-project"), &vssProject},
                                                    {QStringLiteral("--working-folder"), &folder}};
    for (const auto& [option, value] : options)
        if (!takeOption(args, option, *value))
            return usageError(option + QStringLiteral(" needs a value"));
    if (!args.isEmpty())
        return usageError(QStringLiteral("project add: unexpected argument '") + args.first() +
                          QLatin1Char('\''));
    if (server.isEmpty() || db.isEmpty() || ini.isEmpty() || vssUser.isEmpty() || vssProject.isEmpty() ||
        folder.isEmpty() || (user.isEmpty() && !trusted))
        return usageError(
            QStringLiteral("project add needs --server, --database, --user or --trusted, --ini, "
                           "--vss-user, --vss-project and --working-folder"));
    if (!storedPassword(password, "TARMO_SQL_PASSWORD", server + QLatin1Char('/') + db) ||
        !storedPassword(vssPassword, "TARMO_VSS_PASSWORD", ini))
        return usageError(QStringLiteral("a password given as '-' needs its variable or a terminal"));
    if (database.ProjectNameExists(name, QString())) {
        mErr << "tarmo-cli: a project named '" << name << "' exists already" << Qt::endl;
        return 1;
    }
    EnsureFolder(folder);
    TARMOProject project;
    project.SetName(name);
    project.SQL().SetServer(server);
    project.SQL().SetDatabase(db);
    project.SQL().SetUseWinNTAuth(trusted);
    project.SQL().SetUserName(user);
    project.SQL().SetPassword(password);
    project.SQL().SetStorePassword(!password.isEmpty());
    project.VSS().SetIniFile(ini);
    project.VSS().SetUserName(vssUser);
    project.VSS().SetPassword(vssPassword);
    project.VSS().SetStorePassword(!vssPassword.isEmpty());
    project.VSS().SetProject(vssProject);
    project.VSS().SetGeneralWorkingFolder(folder);
    database.SaveProject(project);
    mOut << "Project record \"" << name << "\" saved." << Qt::endl;
    return 0;
}

// --- Objects

bool CliCommands::openProject() {
    if (mProjectName.isEmpty()) {
        usageError(QStringLiteral("this command needs --project NAME"));
        return false;
    }
    mDatabase = std::make_unique<TARMODatabase>();
    auto projects = mDatabase->FindAllProjects();
    if (!projects->Contains(mProjectName)) {
        mErr << "tarmo-cli: no project named '" << mProjectName << "'" << Qt::endl;
        return false;
    }
    mProject = projects->Item(mProjectName);
    if (!mProject->SQL().OpenConnection().isEmpty() || !mProject->VSS().OpenConnection().isEmpty())
        return false;
    mObjects = std::make_unique<TARMODatabaseObjects>(*mDatabase, mProject.get());
    return true;
}

bool CliCommands::knownTag(const QString& tag) {
    return !mObjects->GetObjectSubDisplayName(tag).isEmpty();
}

TARMOObjectRef CliCommands::findObject(const QString& tag, const QString& name) {
    const QStringList parts = TARMOSQL::ExtractOwnerAndItemName(name);
    const QString owner = parts.value(0);
    const QString bare = parts.value(1);
    const auto matches = [&](const QString& objectOwner, const QString& objectName) {
        return objectName.compare(bare, Qt::CaseInsensitive) == 0 &&
               (owner.isEmpty() || objectOwner.compare(owner, Qt::CaseInsensitive) == 0);
    };
    bool cancel = false;
    if (tag == mObjects->Tables().SubObjectType()) {
        mObjects->Tables().RefreshList(cancel);
        for (const auto& table : mObjects->Tables())
            if (matches(table->Owner(), table->Name()))
                return TARMOObjectRef(table);
    } else {
        for (TARMOObjectList* list : mObjects->EditableLists())
            if (list->SubObjectType() == tag)
                if (auto object = list->RefreshItemByName(name))
                    return TARMOObjectRef(object);
    }
    mErr << "tarmo-cli: no " << tag << " named '" << name << "'" << Qt::endl;
    return TARMOObjectRef();
}

int CliCommands::outcome(bool done, const QString& command) {
    // The core says nothing when the store refuses because of an item's state; a shell user still
    // needs to hear why the exit code is 1.
    if (!done && mPrompts && mPrompts->Shown() == mShownBefore)
        mErr << "tarmo-cli: " << command << " did not succeed" << Qt::endl;
    return done ? 0 : 1;
}

int CliCommands::objectCommand(const QString& command, QStringList args) {
    static const QStringList commands = {
        QStringLiteral("list"),        QStringLiteral("show"),         QStringLiteral("get"),
        QStringLiteral("checkout"),    QStringLiteral("undocheckout"), QStringLiteral("checkin"),
        QStringLiteral("new"),         QStringLiteral("test"),         QStringLiteral("sync-add"),
        QStringLiteral("sync-remove"), QStringLiteral("sync-change"),  QStringLiteral("permissions")};
    if (!commands.contains(command))
        return usageError(QStringLiteral("unknown command '") + command + QLatin1Char('\''));

    QString from, version, comment, to;
    if (!takeOption(args, QStringLiteral("--from"), from) ||
        !takeOption(args, QStringLiteral("--version"), version) ||
        !takeOption(args, QStringLiteral("-c"), comment) || !takeOption(args, QStringLiteral("--to"), to))
        return usageError(QStringLiteral("an option needs a value"));
    const bool script = takeFlag(args, QStringLiteral("--script"));
    if (!from.isEmpty() && from != QLatin1String("sql") && from != QLatin1String("vss"))
        return usageError(QStringLiteral("--from takes sql or vss"));
    if (command == QLatin1String("list")) {
        if (args.size() > 1)
            return usageError(QStringLiteral("list takes one TAG at most"));
        return list(args);
    }
    const int wanted = command == QLatin1String("checkin") ? 3 : 2;
    if (args.size() != wanted)
        return usageError(command + QStringLiteral(": wrong number of arguments"));
    const bool sync = command.startsWith(QLatin1String("sync-"));
    if (sync && to != QLatin1String("sql") && to != QLatin1String("vss"))
        return usageError(command + QStringLiteral(" needs --to sql or --to vss"));

    if (!openProject())
        return 1;
    mShownBefore = mPrompts ? mPrompts->Shown() : 0;
    const QString tag = args.at(0);
    if (!knownTag(tag))
        return usageError(QStringLiteral("unknown TAG '") + tag + QLatin1Char('\''));
    if (command == QLatin1String("new"))
        return newObject(tag, args.at(1), comment);
    if (command == QLatin1String("test"))
        return test(tag, args.at(1));

    const TARMOObjectRef object = findObject(tag, args.at(1));
    if (!object)
        return 1;
    if (command == QLatin1String("show"))
        return show(object);
    if (command == QLatin1String("get"))
        return get(object, from, version);
    if (command == QLatin1String("permissions"))
        return permissions(object, script);
    if (sync) {
        const StoreLocation location =
            to == QLatin1String("sql") ? TARMOObjectVSS::LocationSQL : TARMOObjectVSS::LocationVSS;
        const bool done = command == QLatin1String("sync-add")      ? object.SyncAdd(location)
                          : command == QLatin1String("sync-remove") ? object.SyncRemove(location)
                                                                    : object.SyncChange(location);
        return outcome(done, command);
    }
    const std::shared_ptr<TARMOObjectVSS>& versioned = object.Versioned();
    if (!versioned) {
        mErr << "tarmo-cli: a " << tag << " isn't kept in the version store" << Qt::endl;
        return 1;
    }
    if (command == QLatin1String("checkout")) {
        if (!versioned->CheckOut())
            return outcome(false, command);
        mOut << versioned->FileName() << Qt::endl;
        return 0;
    }
    if (command == QLatin1String("undocheckout"))
        return outcome(versioned->UndoCheckout(), command);
    // checkin
    if (!FileExists(args.at(2))) {
        mErr << "tarmo-cli: cannot read '" << args.at(2) << "'" << Qt::endl;
        return 1;
    }
    return outcome(versioned->CheckIn(ReadTextFile(args.at(2)), comment), command);
}

int CliCommands::list(const QStringList& args) {
    const QString tag = args.value(0);
    if (!openProject())
        return 1;
    if (!tag.isEmpty() && !knownTag(tag) && mObjects->GetObjectSubDisplayName(tag.chopped(1)).isEmpty())
        return usageError(QStringLiteral("unknown TAG '") + tag + QLatin1Char('\''));
    const auto wanted = [&](const QString& kind, const QString& listTag) {
        return tag.isEmpty() || tag == kind || tag == listTag;
    };
    bool cancel = false;
    for (TARMOObjectList* objects : mObjects->EditableLists()) {
        if (!wanted(objects->SubObjectType(), objects->ObjectType()))
            continue;
        objects->RefreshList(cancel);
        for (const auto& object : *objects)
            mOut << object->ObjectType() << '\t' << object->DBID() << '\t'
                 << ownerDotName(object->Owner(), object->Name()) << '\t' << stateWord(TARMOObjectRef(object))
                 << '\t' << object->CheckedOutBy() << Qt::endl;
    }
    TARMOTables& tables = mObjects->Tables();
    if (wanted(tables.SubObjectType(), tables.ObjectType())) {
        tables.RefreshList(cancel);
        for (const auto& table : tables)
            mOut << table->ObjectType() << '\t' << table->DBID() << '\t'
                 << ownerDotName(table->Owner(), table->Name()) << '\t' << "-" << '\t' << Qt::endl;
    }
    return 0;
}

int CliCommands::show(const TARMOObjectRef& object) {
    mOut << "Name: " << object.Name() << Qt::endl;
    mOut << "Owner: " << object.Owner() << Qt::endl;
    mOut << "DBID: " << object.DBID() << Qt::endl;
    mOut << "Type: " << object.ObjectType() << Qt::endl;
    mOut << "State: " << stateWord(object) << Qt::endl;
    mOut << "In SQL: " << (object.InSQL() ? "True" : "False") << Qt::endl;
    mOut << "In VSS: " << (object.InVSS() ? "True" : "False") << Qt::endl;
    TARMOFields fields;
    if (const auto& versioned = object.Versioned()) {
        mOut << "Checked out by: " << versioned->CheckedOutBy() << Qt::endl;
        mOut << "Description: " << versioned->Description() << Qt::endl;
        if (versioned->InSQL())
            fields = versioned->GetFields();
    } else {
        fields = object.Table()->GetFields();
    }
    mOut << "Fields:" << Qt::endl;
    for (int n = 1; n <= fields.Count(); ++n) {
        QStringList lines;
        for (int m = 1; m <= fields.Item(n).Children().Count(); ++m)
            lines << fields.Item(n).Children().Item(m).Name();
        mOut << "  " << fields.Item(n).Name() << ": " << lines.join(QStringLiteral(", ")) << Qt::endl;
    }
    return permissions(object, false);
}

int CliCommands::permissions(const TARMOObjectRef& object, bool script) {
    TARMOPermissions set = object.GetPermissions(true, 0);
    if (script) {
        mOut << set.CreateScript();
        return 0;
    }
    mOut << "Permissions:" << Qt::endl;
    for (const TARMOPermission& line : set) {
        QStringList states;
        TARMOPermission stored = line;
        stored.IsOwner = false;
        for (const TARMOPermission::Statement& statement : stored.Statements())
            if (statement.State != TARMOPermission::None)
                states << statement.Word + QLatin1Char('=') + stateText(statement.State);
        mOut << "  " << line.Name << (line.IsRole ? " (role): " : " (user): ")
             << states.join(QStringLiteral(", ")) << Qt::endl;
    }
    return 0;
}

int CliCommands::get(const TARMOObjectRef& object, const QString& from, const QString& version) {
    const auto& versioned = object.Versioned();
    if (!versioned) {
        mErr << "tarmo-cli: a table has no text" << Qt::endl;
        return 1;
    }
    bool ok = true;
    const long number = version.isEmpty() ? -1 : version.toLong(&ok);
    if (!ok)
        return usageError(QStringLiteral("--version takes a number"));
    const StoreLocation location = from == QLatin1String("sql") ? TARMOObjectVSS::LocationSQL
                                   : from == QLatin1String("vss") || versioned->InVSS()
                                       ? TARMOObjectVSS::LocationVSS
                                       : TARMOObjectVSS::LocationSQL;
    mOut << versioned->GetContent(location, number);
    mOut.flush();
    return 0;
}

int CliCommands::newObject(const QString& tag, const QString& file, const QString& comment) {
    if (!FileExists(file)) {
        mErr << "tarmo-cli: cannot read '" << file << "'" << Qt::endl;
        return 1;
    }
    const std::shared_ptr<TARMOObjectVSS> object = mObjects->NewItemOfType(tag);
    if (!object)
        return usageError(QStringLiteral("a ") + tag + QStringLiteral(" can't be made"));
    const bool done = object->CheckIn(ReadTextFile(file), comment);
    if (object->IsNew())
        object->ClearNewObjectFile();
    if (!object->DBID().isEmpty())
        mOut << object->DBID() << Qt::endl;
    return outcome(done, QStringLiteral("new"));
}

int CliCommands::test(const QString& tag, const QString& file) {
    if (!FileExists(file)) {
        mErr << "tarmo-cli: cannot read '" << file << "'" << Qt::endl;
        return 1;
    }
    const QString text = ReadTextFile(file);
    const std::shared_ptr<TARMOObjectVSS> probe = mObjects->NewItemOfType(tag);
    if (!probe)
        return usageError(QStringLiteral("a ") + tag + QStringLiteral(" has no text to test"));
    // A text of an existing object is tested as that object's, so that a change of name is caught.
    std::shared_ptr<TARMOObjectVSS> target = probe;
    const QString named = modParser::FindNameAfterKeywords(probe->Parse(), text);
    if (TARMOSQL::IsValidObjectName(named)) {
        const QStringList parts = TARMOSQL::ExtractOwnerAndItemName(named);
        bool cancel = false;
        for (TARMOObjectList* list : mObjects->EditableLists()) {
            if (list->SubObjectType() != tag)
                continue;
            list->RefreshList(cancel);
            for (const auto& object : *list)
                if (object->InSQL() && object->Name().compare(parts.value(1), Qt::CaseInsensitive) == 0 &&
                    (parts.value(0).isEmpty() ||
                     object->Owner().compare(parts.value(0), Qt::CaseInsensitive) == 0))
                    target = object;
        }
    }
    const bool passed = target->TestItem(text);
    probe->ClearNewObjectFile();
    if (passed)
        mOut << "OK" << Qt::endl;
    return passed ? 0 : 1;
}
