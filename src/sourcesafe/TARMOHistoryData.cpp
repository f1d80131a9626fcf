#include "TARMOHistoryData.h"

namespace {
const QString dateFormat = QStringLiteral("yyyy-MM-dd HH:mm:ss");
}

QString TARMOHistoryData::FormatDate(const QDateTime& date) {
    return date.toLocalTime().toString(dateFormat);
}

QDateTime TARMOHistoryData::ParseDate(const QString& text) {
    const QString t = text.trimmed();
    for (const QString& format : {dateFormat, QStringLiteral("yyyy.MM.dd HH:mm:ss"),
                                  QStringLiteral("yyyy-MM-dd"), QStringLiteral("yyyy.MM.dd")}) {
        QDateTime date = QDateTime::fromString(t, format);
        if (date.isValid())
            return date;
    }
    return {};
}
