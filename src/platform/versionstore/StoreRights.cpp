#include "StoreRights.h"

#include "StoreErrors.h"
#include "StoreSession.h"

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

QString nameOf(int right) {
    for (const Named& named : rightNames)
        if (named.right == right)
            return QString::fromLatin1(named.name);
    return QString::number(right);
}

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

void StoreSession::Require(qint64 id, int right) const {
    if (admin)
        return;
    const qint64 project = TypeOf(id) == Project ? id : ParentOf(id);
    if (!(RightsIn(project, userName) & right))
        Raise(StoreErrors::NoRight, QStringLiteral("%1 does not have the %2 right in '%3'.")
                                        .arg(userName, nameOf(right), SpecOf(project)));
}

int StoreSession::RightsIn(qint64 project, const QString& user, qint64* source) const {
    // The nearest entry up the path wins, so that a project can give less, or more, than its parent.
    Statement s(*db, "WITH RECURSIVE up(id, depth) AS (SELECT ?1, 0 UNION ALL "
                     "SELECT items.parent, up.depth + 1 FROM items JOIN up ON items.id = up.id "
                     "WHERE items.parent IS NOT NULL) "
                     "SELECT rights.rights, up.id FROM up JOIN rights ON rights.item = up.id "
                     "AND rights.user = ?2 ORDER BY up.depth LIMIT 1");
    s.Bind(1, project).Bind(2, user);
    if (s.Step()) {
        if (source)
            *source = s.Int(1);
        return static_cast<int>(s.Int(0));
    }
    if (source)
        *source = 0;
    int rights = StoreRights::Default;
    StoreRights::Parse(Option(QStringLiteral("DefaultRights")), rights);
    return rights;
}

void StoreSession::RequireNotHeldByOthers(qint64 id, bool deletedToo) const {
    Statement s(
        *db, "WITH RECURSIVE tree(id) AS (SELECT ?1 UNION ALL "
             "SELECT items.id FROM items JOIN tree ON items.parent = tree.id WHERE items.deleted = 0 OR ?3) "
             "SELECT checkouts.item, checkouts.user FROM checkouts JOIN tree ON checkouts.item = tree.id "
             "WHERE checkouts.user <> ?2 ORDER BY checkouts.date, checkouts.rowid LIMIT 1");
    s.Bind(1, id).Bind(2, userName).Bind(3, deletedToo ? 1 : 0);
    if (!s.Step())
        return;
    const QString held = SpecOf(s.Int(0));
    if (s.Int(0) == id)
        Raise(StoreErrors::CheckedOutByOther,
              QStringLiteral("'%1' is checked out by %2.").arg(held, s.Text(1)));
    Raise(StoreErrors::CheckedOutByOther,
          QStringLiteral("'%1' holds '%2', which is checked out by %3.").arg(SpecOf(id), held, s.Text(1)));
}

QString StoreSession::Option(const QString& name) const {
    Statement s(*db, "SELECT value FROM options WHERE name = ?1");
    s.Bind(1, name);
    return s.Step() ? s.Text(0) : QString();
}

void StoreSession::SetOption(const QString& name, const QString& value) {
    Statement s(*db, "INSERT OR REPLACE INTO options(name, value) VALUES(?1, ?2)");
    s.Bind(1, name).Bind(2, value).Run();
}

bool StoreSession::MultipleCheckouts() const {
    return Option(QStringLiteral("MultipleCheckouts")) == QLatin1String("yes");
}
