#include "DefaultTextTags.h"

namespace {

struct TagRule {
    DefaultTextTag tag;
    QString (*value)(const DefaultTextTagValues&);
};

QString tableWithOwner(const DefaultTextTagValues& values) {
    if (values.TableOwner.isEmpty())
        return values.TableName;
    return values.TableOwner + QLatin1Char('.') + values.TableName;
}

const QList<TagRule>& rules() {
    using V = const DefaultTextTagValues&;
    static const QList<TagRule> table = {
        {{QStringLiteral("<DATE>"), QStringLiteral("<DATE> - Date Created (dd.mm.yyyy)")},
         [](V v) { return v.Created.toString(QStringLiteral("dd.MM.yyyy")); }},
        {{QStringLiteral("<TIME>"), QStringLiteral("<TIME> - Date Created (hh:mm)")},
         [](V v) { return v.Created.toString(QStringLiteral("hh:mm")); }},
        {{QStringLiteral("<DONEBYVSS>"), QStringLiteral("<DONEBYVSS> - Created By (VSS Username)")},
         [](V v) { return v.VSSUserName; }},
        {{QStringLiteral("<DONEBYSQL>"), QStringLiteral("<DONEBYSQL> - Created By (SQL Username)")},
         [](V v) { return v.SQLUserName; }},
        {{QStringLiteral("<TABLEWITHOWNER>"),
          QStringLiteral("<TABLEWITHOWNER> - Complete Table Name (Triggers Only)")},
         tableWithOwner},
        {{QStringLiteral("<TABLE>"), QStringLiteral("<TABLE> - Table Name (Triggers Only)")},
         [](V v) { return v.TableName; }},
        {{QStringLiteral("<TABLEOWNER>"), QStringLiteral("<TABLEOWNER> - Table Owner Name (Triggers Only)")},
         [](V v) { return v.TableOwner; }},
    };
    return table;
}

} // namespace

const QList<DefaultTextTag>& DefaultTextTags() {
    static const QList<DefaultTextTag> tags = [] {
        QList<DefaultTextTag> list;
        for (const TagRule& rule : rules())
            list << rule.tag;
        return list;
    }();
    return tags;
}

QString ReplaceDefaultTextTags(const QString& strText, const DefaultTextTagValues& values) {
    QString text = strText;
    for (const TagRule& rule : rules())
        if (text.contains(rule.tag.Tag, Qt::CaseSensitive))
            text.replace(rule.tag.Tag, rule.value(values), Qt::CaseSensitive);
    return text;
}
