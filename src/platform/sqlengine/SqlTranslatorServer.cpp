#include "ServerError.h"
#include "SqlTranslator.h"

#include <QCoreApplication>

// SERVERPROPERTY: what tool kits ask a server about itself before they pick a code path. The
// engine answers as a developer edition of the version it announces to clients at login, on one
// default instance whose name is @@SERVERNAME.

namespace {

struct ServerProperty {
    const char* name; // upper case
    const char* text; // nullptr: the number instead
    long long number;
};

// The properties with a fixed answer; the names, the machine's and the process's, come from the
// session.
const ServerProperty kProperties[] = {
    {"PRODUCTVERSION", "16.0.1000.0", 0},
    {"PRODUCTMAJORVERSION", "16", 0},
    {"PRODUCTMINORVERSION", "0", 0},
    {"PRODUCTBUILD", "1000", 0},
    {"PRODUCTLEVEL", "RTM", 0},
    {"RESOURCEVERSION", "16.00.1000", 0},
    {"EDITION", "Developer Edition (64-bit)", 0},
    {"EDITIONID", nullptr, -2145844348},
    {"ENGINEEDITION", nullptr, 3},
    {"LICENSETYPE", "DISABLED", 0},
    {"COLLATION", "SQL_Latin1_General_CP1_CI_AS", 0},
    {"COLLATIONID", nullptr, 872468488},
    {"LCID", nullptr, 1033},
    {"COMPARISONSTYLE", nullptr, 196609},
    {"SQLCHARSET", nullptr, 1},
    {"SQLCHARSETNAME", "iso_1", 0},
    {"SQLSORTORDER", nullptr, 52},
    {"SQLSORTORDERNAME", "nocase_iso", 0},
    {"BUILDCLRVERSION", "v4.0.30319", 0},
    {"ISINTEGRATEDSECURITYONLY", nullptr, 0},
    {"ISCLUSTERED", nullptr, 0},
    {"ISFULLTEXTINSTALLED", nullptr, 0},
    {"ISSINGLEUSER", nullptr, 0},
    {"ISHADRENABLED", nullptr, 0},
    {"ISLOCALDB", nullptr, 0},
    {"ISPOLYBASEINSTALLED", nullptr, 0},
    {"ISXTPSUPPORTED", nullptr, 0},
    {"ISADVANCEDANALYTICSINSTALLED", nullptr, 0},
    {"ISBIGDATACLUSTER", nullptr, 0},
    {"ISEXTERNALAUTHENTICATIONONLY", nullptr, 0},
    {"ISTEMPDBMETADATAMEMORYOPTIMIZED", nullptr, 0},
    {"FILESTREAMCONFIGUREDLEVEL", nullptr, 0},
    {"FILESTREAMEFFECTIVELEVEL", nullptr, 0},
};

} // namespace

QString SqlTranslator::ServerFunction(const SqlExpr& e, const QString& f) {
    if (f != QLatin1String("SERVERPROPERTY"))
        return {};
    if (e.args.size() != 1)
        throw ServerError::Make(174, 15,
                                QStringLiteral("The serverproperty function requires 1 argument(s)."), true);
    // One CASE over the property's name, so a name from a column or a variable is answered as well
    // as a constant one; a name the server doesn't know is NULL.
    const QString server = mContext.Global(QStringLiteral("@@SERVERNAME")).toString();
    QString sql = QStringLiteral("(SELECT CASE upper(p.v)");
    for (const ServerProperty& p : kProperties) {
        sql += QStringLiteral(" WHEN '%1' THEN ").arg(QLatin1String(p.name));
        sql += p.text ? Literal(QString::fromLatin1(p.text)) : QString::number(p.number);
    }
    for (const char* name : {"MACHINENAME", "SERVERNAME", "COMPUTERNAMEPHYSICALNETBIOS"})
        sql += QStringLiteral(" WHEN '%1' THEN %2").arg(QLatin1String(name), Literal(server));
    sql += QStringLiteral(" WHEN 'PROCESSID' THEN %1").arg(QCoreApplication::applicationPid());
    sql += QStringLiteral(" END FROM (SELECT %1 AS v) p)").arg(Expr(*e.args[0]));
    return sql;
}
