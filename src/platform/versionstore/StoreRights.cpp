#include "StoreRights.h"

#include <QStringList>

#include <algorithm>
#include <iterator>

namespace {

struct Named {
    int right;
    const char* name;
};
constexpr Named rightNames[] = {{StoreRights::Read, "read"},
                                {StoreRights::Checkout, "checkout"},
                                {StoreRights::Add, "add"},
                                {StoreRights::Destroy, "destroy"}};

} // namespace

bool StoreRights::Parse(const QString& text, int& rights) {
    const QString trimmed = text.trimmed().toLower();
    if (trimmed == QLatin1String("none")) {
        rights = None;
        return true;
    }
    int parsed = None;
    for (const QString& part : trimmed.split(QLatin1Char(','))) {
        const auto* found = std::find_if(std::begin(rightNames), std::end(rightNames), [&](const Named& n) {
            return part.trimmed() == QLatin1String(n.name);
        });
        if (found == std::end(rightNames))
            return false;
        parsed |= found->right;
    }
    rights = parsed;
    return true;
}

QString StoreRights::Format(int rights) {
    QStringList names;
    for (const Named& named : rightNames)
        if (rights & named.right)
            names << QString::fromLatin1(named.name);
    return names.isEmpty() ? QStringLiteral("none") : names.join(QLatin1Char(','));
}

QString StoreRights::NameOf(int right) {
    for (const Named& named : rightNames)
        if (named.right == right)
            return QString::fromLatin1(named.name);
    return QString::number(right);
}
