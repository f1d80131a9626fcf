// SET DATEFORMAT, SET LANGUAGE and SET DATEFIRST: the session's date settings, read by the
// built-in functions of its connections when they run.
#include "SessionState.h"

namespace {

struct Language {
    const char* name;
    const char* alias;
    const char* dateFormat;
    int dateFirst;
};

// The languages whose month and day names are the English ones.
const Language kLanguages[] = {
    {"us_english", "English", "mdy", 7},
    {"British", "British English", "dmy", 1},
};

} // namespace

void SessionState::SetDateOption(const QString& name, const QString& written) {
    QString value = written;
    if (value.startsWith(u'@'))
        value = Variable(value, mLine).toString();
    if (name == QLatin1String("DATEFORMAT")) {
        static const QStringList orders = {QStringLiteral("mdy"), QStringLiteral("dmy"),
                                           QStringLiteral("ymd"), QStringLiteral("ydm"),
                                           QStringLiteral("myd"), QStringLiteral("dym")};
        const QString order = value.trimmed().toLower();
        if (!orders.contains(order))
            throw ServerError::Unsupported(QStringLiteral("SET DATEFORMAT %1").arg(value));
        mDateOptions.dateFormat = order;
        return;
    }
    if (name == QLatin1String("DATEFIRST")) {
        bool ok = false;
        const int first = value.trimmed().toInt(&ok);
        if (!ok || first < 1 || first > 7)
            throw ServerError::Unsupported(QStringLiteral("SET DATEFIRST %1").arg(value));
        mDateOptions.dateFirst = first;
        return;
    }
    const QString wanted = value.trimmed();
    for (const Language& l : kLanguages) {
        if (wanted.compare(QLatin1String(l.name), Qt::CaseInsensitive) == 0 ||
            wanted.compare(QLatin1String(l.alias), Qt::CaseInsensitive) == 0) {
            mDateOptions.language = QString::fromLatin1(l.name);
            mDateOptions.dateFormat = QString::fromLatin1(l.dateFormat);
            mDateOptions.dateFirst = l.dateFirst;
            EmitInfo(5703, QStringLiteral("Changed language setting to %1.").arg(mDateOptions.language));
            return;
        }
    }
    throw ServerError::Unsupported(QStringLiteral("SET LANGUAGE %1").arg(wanted));
}
