#include "VssCommandLine.h"

#include "StoreErrors.h"
#include "StoreMigration.h"
#include "StoreRights.h"
#include "TARMOError.h"
#include "TerminalPassword.h"
#include "VersionStore.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace {

// Thrown for a wrong call; the message goes out with the usage hint.
struct UsageError {
    QString text;
};

const QStringList valueOptions = {QStringLiteral("--ini"),     QStringLiteral("-y"),
                                  QStringLiteral("-c"),        QStringLiteral("-v"),
                                  QStringLiteral("--to"),      QStringLiteral("--admin-password"),
                                  QStringLiteral("--postgres")};
const QStringList flagOptions = {QStringLiteral("--deleted"), QStringLiteral("--multiple-checkouts")};

// Comments and actions stay on their record's line.
QString oneLine(QString text) {
    text.replace(QLatin1String("\r\n"), QLatin1String("\\n"));
    text.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    text.replace(QLatin1Char('\t'), QLatin1Char(' '));
    return text;
}

QString stamp(const QDateTime& date) {
    return date.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

// A password kept off the command line, where every user of the machine can read it: from the
// variable, else typed at the terminal (a new one twice).
QString passwordFrom(const char* variable, const QString& prompt, bool isNew, const QString& missing) {
    const std::optional<QString> password = isNew
                                                ? TerminalPassword::FromEnvironmentOrAskNew(variable, prompt)
                                                : TerminalPassword::FromEnvironmentOrAsk(variable, prompt);
    if (!password)
        throw UsageError{QStringLiteral("%1: set %2 or run at a terminal to type it")
                             .arg(missing, QLatin1String(variable))};
    return *password;
}

// The item path and the local file for a project path and a name in it.
QString defaultLocal(const StoreItem& item) {
    return QDir::current().absoluteFilePath(item.Name());
}

// One user's rights in a project and where they come from.
QString rightsLine(const VersionStore::UserRights& entry) {
    QString from = entry.From;
    if (entry.Administrator)
        from = QStringLiteral("administrator");
    else if (from.isEmpty())
        from = QStringLiteral("default");
    return entry.UserName + QLatin1Char('\t') + StoreRights::Format(entry.Rights) + QLatin1Char('\t') + from;
}

} // namespace

int VssCommandLine::Run(const QStringList& arguments) {
    try {
        parse(arguments);
        runCommand();
        mOut.flush();
        return 0;
    } catch (const UsageError& e) {
        mOut.flush();
        mErr << "tarmo-vss: " << e.text << "\n";
        usage();
    } catch (const TARMOError& e) {
        mOut.flush();
        mErr << "tarmo-vss: " << e.Description() << "\n";
    } catch (const std::exception& e) {
        mOut.flush();
        mErr << "tarmo-vss: " << e.what() << "\n";
    }
    mErr.flush();
    return 1;
}

void VssCommandLine::parse(const QStringList& arguments) {
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& a = arguments[i];
        if (valueOptions.contains(a)) {
            if (i + 1 >= arguments.size())
                throw UsageError{QStringLiteral("%1 needs a value").arg(a)};
            mOptions.append({a, arguments[++i]});
        } else if (flagOptions.contains(a)) {
            mFlags << a;
        } else if (a.startsWith(QLatin1String("--")) || (a.startsWith(QLatin1Char('-')) && a.size() == 2)) {
            throw UsageError{QStringLiteral("unknown option %1").arg(a)};
        } else if (mCommand.isEmpty()) {
            mCommand = a.toLower();
        } else {
            mPositionals << a;
        }
    }
    if (mCommand.isEmpty())
        throw UsageError{QStringLiteral("no command given")};
}

QString VssCommandLine::option(const QString& name) const {
    for (const auto& [key, value] : mOptions)
        if (key == name)
            return value;
    return {};
}

bool VssCommandLine::flag(const QString& name) const {
    return mFlags.contains(name);
}

QString VssCommandLine::positional(int index, const char* what) const {
    if (index >= mPositionals.size())
        throw UsageError{QStringLiteral("%1 %2 is missing").arg(mCommand, QLatin1String(what))};
    return mPositionals[index];
}

void VssCommandLine::needPositionals(int count) const {
    if (mPositionals.size() > count)
        throw UsageError{QStringLiteral("too many arguments for %1").arg(mCommand)};
}

QString VssCommandLine::newPassword(int index) const {
    if (index < mPositionals.size())
        return mPositionals[index];
    const QString name = positional(0, "NAME");
    return passwordFrom("TARMO_VSS_NEW_PASSWORD", QStringLiteral("New password for %1: ").arg(name), true,
                        QStringLiteral("%1 needs the new password of %2").arg(mCommand, name));
}

void VssCommandLine::runCommand() {
    if (mCommand == QLatin1String("create")) {
        const QString folder = positional(0, "DIR");
        needPositionals(1);
        QString password = option(QStringLiteral("--admin-password"));
        if (password.isNull())
            password = passwordFrom("TARMO_VSS_PASSWORD", QStringLiteral("Password for Admin: "), true,
                                    QStringLiteral("create needs the password of Admin"));
        const bool multiple = flag(QStringLiteral("--multiple-checkouts"));
        const QString server = option(QStringLiteral("--postgres"));
        mOut << (server.isEmpty() ? VersionStore::Create(folder, password, multiple)
                                  : VersionStore::CreateOnServer(folder, server, password, multiple))
             << "\n";
        return;
    }
    if (mCommand == QLatin1String("migrate")) {
        const QString from = positional(0, "FROM-INI");
        const QString to = positional(1, "TO-INI");
        needPositionals(2);
        const StoreMigration::Report report = StoreMigration::Copy(from, to);
        mOut << "copied " << report.Items << " items, " << report.Versions << " history entries, "
             << report.Checkouts << " check-outs, " << report.Rights << " rights and " << report.Users
             << " users\n"
             << "checksum " << report.Digest.toHex() << " read back alike\n";
        if (report.Users > 0)
            mOut << "the copied users have no password yet: the administrator gives them one (password "
                    "NAME)\n";
        return;
    }

    QString ini = option(QStringLiteral("--ini"));
    if (ini.isEmpty())
        ini = qEnvironmentVariable("TARMO_VSS_INI");
    if (ini.isEmpty())
        throw UsageError{QStringLiteral("no store given: use --ini PATH or TARMO_VSS_INI")};
    const QString login = option(QStringLiteral("-y"));
    if (login.isEmpty())
        throw UsageError{QStringLiteral("no login given: use -y USER")};
    const qsizetype comma = login.indexOf(QLatin1Char(','));
    const QString user = comma < 0 ? login : login.left(comma);
    const QString password =
        comma >= 0 ? login.mid(comma + 1)
                   : passwordFrom("TARMO_VSS_PASSWORD", QStringLiteral("Password for %1: ").arg(user), false,
                                  QStringLiteral("no password for %1").arg(user));
    VersionStore store;
    store.Open(ini, user, password);
    const QString comment = option(QStringLiteral("-c"));

    if (mCommand == QLatin1String("adduser")) {
        needPositionals(2);
        store.AddUser(positional(0, "NAME"), newPassword(1));
        mOut << "added user " << positional(0, "NAME") << "\n";
    } else if (mCommand == QLatin1String("password")) {
        needPositionals(2);
        store.SetPassword(positional(0, "NAME"), newPassword(1));
        mOut << "changed password of " << positional(0, "NAME") << "\n";
    } else if (mCommand == QLatin1String("users")) {
        needPositionals(0);
        for (const QString& name : store.Users())
            mOut << name << "\n";
    } else if (mCommand == QLatin1String("mkproject")) {
        needPositionals(1);
        QString path = positional(0, "PROJECT");
        path.replace(QLatin1Char('\\'), QLatin1Char('/'));
        while (path.endsWith(QLatin1Char('/')) && path.size() > 2)
            path.chop(1);
        const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
        if (slash < 0)
            throw UsageError{QStringLiteral("give the project as $/PARENT/NAME")};
        mOut << store.Item(path.left(slash + 1)).NewSubproject(path.mid(slash + 1), comment).Spec() << "\n";
    } else if (mCommand == QLatin1String("dir")) {
        needPositionals(1);
        for (const StoreItem& child :
             store.Item(positional(0, "PROJECT")).Items(flag(QStringLiteral("--deleted")))) {
            mOut << (child.Type() == StoreItem::Project ? "project" : "file") << "\t" << child.Name() << "\t"
                 << (child.Deleted() ? "deleted" : "living") << "\t"
                 << child.Holders().join(QStringLiteral(", ")) << "\n";
        }
    } else if (mCommand == QLatin1String("add")) {
        needPositionals(2);
        QString spec = positional(0, "ITEM");
        spec.replace(QLatin1Char('\\'), QLatin1Char('/'));
        const qsizetype slash = spec.lastIndexOf(QLatin1Char('/'));
        const QString local = positional(1, "LOCALFILE");
        if (slash < 0 || spec.mid(slash + 1) != QFileInfo(local).fileName())
            throw UsageError{QStringLiteral("the item's name must be the local file's name")};
        mOut << store.Item(spec.left(slash + 1)).Add(local, comment).Spec() << "\n";
    } else if (mCommand == QLatin1String("get")) {
        needPositionals(1);
        StoreItem item = store.Item(positional(0, "ITEM"));
        QString local = option(QStringLiteral("--to"));
        if (local.isEmpty())
            local = defaultLocal(item);
        const QString version = option(QStringLiteral("-v"));
        if (version.isEmpty()) {
            item.Get(local);
        } else {
            bool ok = false;
            const int number = version.toInt(&ok);
            const QList<StoreVersion> versions = item.Versions();
            auto it = std::find_if(versions.begin(), versions.end(), [&](const StoreVersion& v) {
                return !v.IsLabel() && v.VersionNumber() == number;
            });
            if (!ok || it == versions.end())
                throw TARMOError(StoreErrors::NoVersion, QStringLiteral("tarmo-vss"),
                                 QStringLiteral("'%1' has no version %2").arg(item.Spec(), version));
            it->Get(local);
        }
        mOut << local << "\n";
    } else if (mCommand == QLatin1String("checkout")) {
        needPositionals(1);
        StoreItem item = store.Item(positional(0, "ITEM"));
        QString local = option(QStringLiteral("--to"));
        if (local.isEmpty())
            local = defaultLocal(item);
        item.Checkout(comment, local);
        mOut << QFileInfo(local).absoluteFilePath() << "\n";
    } else if (mCommand == QLatin1String("checkin")) {
        needPositionals(2);
        StoreItem item = store.Item(positional(0, "ITEM"));
        // The number the check-in made: asked for afterwards, another user's rename could have come first.
        const int number = item.Checkin(comment, positional(1, "LOCALFILE"));
        mOut << item.Spec() << "\t" << number << "\n";
    } else if (mCommand == QLatin1String("undocheckout")) {
        needPositionals(1);
        StoreItem item = store.Item(positional(0, "ITEM"));
        QString local;
        for (const StoreCheckout& checkout : item.Checkouts())
            if (checkout.UserName.compare(store.UserName(), Qt::CaseInsensitive) == 0)
                local = checkout.LocalSpec;
        item.UndoCheckout(local);
        mOut << item.Spec() << "\n";
    } else if (mCommand == QLatin1String("status")) {
        needPositionals(1);
        for (const StoreCheckout& checkout : store.Item(positional(0, "ITEM")).Checkouts())
            mOut << checkout.UserName << "\t" << stamp(checkout.Date) << "\t" << checkout.LocalSpec << "\n";
    } else if (mCommand == QLatin1String("history")) {
        needPositionals(1);
        for (const StoreVersion& v :
             store.Item(positional(0, "ITEM"), flag(QStringLiteral("--deleted"))).Versions())
            mOut << v.VersionNumber() << "\t" << v.UserName() << "\t" << stamp(v.Date()) << "\t"
                 << oneLine(v.Action()) << "\t" << oneLine(v.IsLabel() ? v.LabelComment() : v.Comment())
                 << "\n";
    } else if (mCommand == QLatin1String("label")) {
        needPositionals(2);
        StoreItem item = store.Item(positional(0, "ITEM"));
        const int number = item.Label(positional(1, "NAME"), comment);
        mOut << item.Spec() << "\t" << number << "\n";
    } else if (mCommand == QLatin1String("delete")) {
        needPositionals(1);
        StoreItem item = store.Item(positional(0, "ITEM"));
        item.SetDeleted(true);
        mOut << item.Spec() << "\n";
    } else if (mCommand == QLatin1String("recover")) {
        needPositionals(1);
        StoreItem item = store.Item(positional(0, "ITEM"), true);
        item.SetDeleted(false);
        mOut << item.Spec() << "\n";
    } else if (mCommand == QLatin1String("rename")) {
        needPositionals(2);
        StoreItem item = store.Item(positional(0, "ITEM"));
        item.SetName(positional(1, "NEW"));
        mOut << item.Spec() << "\n";
    } else if (mCommand == QLatin1String("destroy")) {
        needPositionals(1);
        StoreItem item = store.Item(positional(0, "ITEM"), flag(QStringLiteral("--deleted")));
        const QString spec = item.Spec();
        item.Destroy();
        mOut << spec << "\n";
    } else if (mCommand == QLatin1String("rights")) {
        runRights(store);
    } else if (mCommand == QLatin1String("option")) {
        runOption(store);
    } else {
        throw UsageError{QStringLiteral("unknown command %1").arg(mCommand)};
    }
}

void VssCommandLine::runRights(VersionStore& store) {
    const QString project = positional(0, "PROJECT");
    if (mPositionals.size() == 1) {
        for (const VersionStore::UserRights& entry : store.Rights(project))
            mOut << rightsLine(entry) << "\n";
        return;
    }
    needPositionals(3);
    const QString user = positional(1, "USER");
    const QString rights = positional(2, "RIGHTS");
    int parsed = StoreRights::None;
    if (rights.compare(QLatin1String("inherit"), Qt::CaseInsensitive) == 0)
        store.InheritRights(project, user);
    else if (StoreRights::Parse(rights, parsed))
        store.SetRights(project, user, parsed);
    else
        throw UsageError{
            QStringLiteral("rights are read,checkout,add,destroy (any of them), none or inherit")};
    for (const VersionStore::UserRights& entry : store.Rights(project))
        if (entry.UserName.compare(user, Qt::CaseInsensitive) == 0)
            mOut << rightsLine(entry) << "\n";
}

void VssCommandLine::runOption(VersionStore& store) {
    const QString name = positional(0, "NAME");
    const bool set = mPositionals.size() > 1;
    needPositionals(2);
    if (name.compare(QLatin1String("MultipleCheckouts"), Qt::CaseInsensitive) == 0) {
        if (set) {
            const QString value = positional(1, "VALUE").toLower();
            if (value != QLatin1String("yes") && value != QLatin1String("no"))
                throw UsageError{QStringLiteral("MultipleCheckouts is yes or no")};
            store.SetMultipleCheckouts(value == QLatin1String("yes"));
        }
        mOut << "MultipleCheckouts\t" << (store.MultipleCheckouts() ? "yes" : "no") << "\n";
    } else if (name.compare(QLatin1String("DefaultRights"), Qt::CaseInsensitive) == 0) {
        if (set) {
            int rights = StoreRights::None;
            if (!StoreRights::Parse(positional(1, "VALUE"), rights))
                throw UsageError{
                    QStringLiteral("rights are read,checkout,add,destroy (any of them) or none")};
            store.SetDefaultRights(rights);
        }
        mOut << "DefaultRights\t" << StoreRights::Format(store.DefaultRights()) << "\n";
    } else {
        throw UsageError{
            QStringLiteral("unknown option %1; the store has MultipleCheckouts and DefaultRights").arg(name)};
    }
}

void VssCommandLine::usage() const {
    mErr << "usage: tarmo-vss create DIR [--postgres URL] [--admin-password PW] [--multiple-checkouts]\n"
            "       tarmo-vss migrate FROM-INI TO-INI\n"
            "       tarmo-vss --ini PATH -y USER[,PASSWORD] COMMAND ...\n"
            "commands: adduser NAME [PASSWORD] | password NAME [NEW] | users | mkproject $/P | dir $/P "
            "[--deleted]\n"
            "          add $/P/FILE LOCALFILE [-c COMMENT] | get $/P/FILE [-v N] [--to LOCAL]\n"
            "          checkout $/P/FILE [--to LOCAL] | checkin $/P/FILE LOCALFILE [-c COMMENT]\n"
            "          undocheckout $/P/FILE | status $/P/FILE | history $/P/FILE [--deleted]\n"
            "          label $/P/FILE NAME [-c COMMENT] | delete $/P/FILE | recover $/P/FILE | rename "
            "$/P/OLD NEW\n"
            "          destroy $/P/ITEM [--deleted] | rights $/P [USER "
            "read,checkout,add,destroy|none|inherit]\n"
            "          option MultipleCheckouts|DefaultRights [VALUE]\n"
            "passwords: -y USER takes the password from TARMO_VSS_PASSWORD or the terminal, as create does\n"
            "           for Admin's; a new user's or new password from TARMO_VSS_NEW_PASSWORD or the "
            "terminal.\n"
            "           -y USER,PASSWORD and the PASSWORD arguments work too, but others can read them.\n";
    mErr.flush();
}
