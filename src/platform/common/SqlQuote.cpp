#include "SqlQuote.h"

namespace SqlQuote {

namespace {

QString doubled(const QString& text, QChar delimiter) {
    QString out = text;
    out.replace(delimiter, QString(2, delimiter));
    return out;
}

} // namespace

QString Name(const QString& name) {
    return QLatin1Char('[') + doubled(name, QLatin1Char(']')) + QLatin1Char(']');
}

QString TwoPartName(const QString& owner, const QString& name) {
    return owner.isEmpty() ? Name(name) : Name(owner) + QLatin1Char('.') + Name(name);
}

QString Literal(const QString& text) {
    return QStringLiteral("N'") + doubled(text, QLatin1Char('\'')) + QLatin1Char('\'');
}

QString Unbracket(const QString& text) {
    if (text.size() < 2 || !text.startsWith(QLatin1Char('[')) || !text.endsWith(QLatin1Char(']')))
        return text;
    QString name;
    const qsizetype end = text.size() - 1;
    for (qsizetype i = 1; i < end; ++i) {
        if (text[i] == QLatin1Char(']')) {
            // A lone "]" inside means the brackets belong to the name itself.
            if (i + 1 >= end || text[i + 1] != QLatin1Char(']'))
                return text;
            ++i;
        }
        name += text[i];
    }
    return name;
}

} // namespace SqlQuote
