#include "StoreMigration.h"

#include "PgConnection.h"
#include "StoreConnection.h"
#include "StoreErrors.h"
#include "StoreIni.h"
#include "StoreSchema.h"
#include "StoreSession.h"

#include <QCryptographicHash>
#include <QList>

#include <memory>

namespace {

struct ItemRow {
    qint64 Id, Parent;
    QString Name;
    int Type;
    bool Deleted;
    qint64 DeletedAt;
};
struct HistoryRow {
    qint64 Seq, Item;
    int Number;
    bool IsLabel;
    QString User, Action;
    qint64 Date;
    QString Comment, LabelComment;
    bool HasContent;
    QByteArray Content, Checksum;
};
struct CheckoutRow {
    qint64 Item;
    QString User;
    qint64 Date;
    QString Local, Comment;
};
struct RightsRow {
    qint64 Item;
    QString User;
    int Rights;
};
struct UserRow {
    QString Name;
    bool Admin;
};

// Everything a store holds but its passwords, in the order of its numbers.
struct Dump {
    QList<UserRow> Users;
    QList<ItemRow> Items;
    QList<HistoryRow> History;
    QList<CheckoutRow> Checkouts;
    QList<RightsRow> Rights;
    QList<QPair<QString, QString>> Options;

    QByteArray Digest() const {
        QCryptographicHash hash(QCryptographicHash::Sha256);
        auto add = [&hash](const QByteArray& field) {
            hash.addData(QByteArray::number(field.size()) + ':');
            hash.addData(field);
        };
        auto number = [&add](qint64 value) { add(QByteArray::number(value)); };
        for (const UserRow& u : Users) {
            add(u.Name.toUtf8());
            number(u.Admin);
        }
        for (const ItemRow& i : Items) {
            number(i.Id);
            number(i.Parent);
            add(i.Name.toUtf8());
            number(i.Type);
            number(i.Deleted);
            number(i.DeletedAt);
        }
        for (const HistoryRow& h : History) {
            for (const qint64 value :
                 {h.Seq, h.Item, qint64(h.Number), qint64(h.IsLabel), h.Date, qint64(h.HasContent)})
                number(value);
            for (const QString& text : {h.User, h.Action, h.Comment, h.LabelComment})
                add(text.toUtf8());
            add(h.Content);
            add(h.Checksum);
        }
        for (const CheckoutRow& c : Checkouts) {
            number(c.Item);
            add(c.User.toUtf8());
            number(c.Date);
            add(c.Local.toUtf8());
            add(c.Comment.toUtf8());
        }
        for (const RightsRow& r : Rights) {
            number(r.Item);
            add(r.User.toUtf8());
            number(r.Rights);
        }
        for (const auto& [name, value] : Options) {
            add(name.toUtf8());
            add(value.toUtf8());
        }
        return hash.result();
    }
};

// The options each engine keeps about itself, which don't travel.
bool ownOption(const QString& name) {
    return name.compare(QLatin1String("Schema"), Qt::CaseInsensitive) == 0;
}

[[noreturn]] void raise(long number, const QString& text) {
    StoreSession::Raise(number, text);
}

Dump dumpEmbedded(StoreConnection& db) {
    Dump d;
    Statement users(db, "SELECT name, admin FROM users ORDER BY name COLLATE BINARY");
    while (users.Step())
        d.Users << UserRow{users.Text(0), users.Int(1) != 0};
    Statement items(db,
                    "SELECT id, IFNULL(parent, 0), name, type, deleted, deleted_at FROM items ORDER BY id");
    while (items.Step())
        d.Items << ItemRow{items.Int(0),      items.Int(1),      items.Text(2),
                           int(items.Int(3)), items.Int(4) != 0, items.Int(5)};
    Statement history(db, "SELECT seq, item, number, is_label, user, action, date, comment, label_comment, "
                          "content, checksum FROM history ORDER BY seq");
    while (history.Step())
        d.History << HistoryRow{history.Int(0),  history.Int(1),     int(history.Int(2)), history.Int(3) != 0,
                                history.Text(4), history.Text(5),    history.Int(6),      history.Text(7),
                                history.Text(8), !history.IsNull(9), history.Blob(9),     history.Blob(10)};
    Statement checkouts(
        db, "SELECT item, user, date, local, comment FROM checkouts ORDER BY item, user COLLATE BINARY");
    while (checkouts.Step())
        d.Checkouts << CheckoutRow{checkouts.Int(0), checkouts.Text(1), checkouts.Int(2), checkouts.Text(3),
                                   checkouts.Text(4)};
    Statement rights(db, "SELECT item, user, rights FROM rights ORDER BY item, user COLLATE BINARY");
    while (rights.Step())
        d.Rights << RightsRow{rights.Int(0), rights.Text(1), int(rights.Int(2))};
    Statement options(db, "SELECT name, value FROM options ORDER BY name COLLATE BINARY");
    while (options.Step())
        if (!ownOption(options.Text(0)))
            d.Options << qMakePair(options.Text(0), options.Text(1));
    return d;
}

Dump dumpServer(PgConnection& db) {
    Dump d;
    const PgResult users = db.Query("SELECT name, admin FROM tarmo.users ORDER BY name COLLATE \"C\"");
    for (int r = 0; r < users.Rows(); ++r)
        d.Users << UserRow{users.Text(r, 0), users.Bool(r, 1)};
    const PgResult items = db.Query(
        "SELECT id, coalesce(parent, 0), name, type, deleted, deleted_at FROM tarmo.items ORDER BY id");
    for (int r = 0; r < items.Rows(); ++r)
        d.Items << ItemRow{items.Int(r, 0),      items.Int(r, 1),  items.Text(r, 2),
                           int(items.Int(r, 3)), items.Bool(r, 4), items.Int(r, 5)};
    const PgResult history = db.Query("SELECT seq, item, number, is_label, \"user\", action, date, comment, "
                                      "label_comment, content, checksum FROM tarmo.history ORDER BY seq");
    for (int r = 0; r < history.Rows(); ++r)
        d.History << HistoryRow{history.Int(r, 0),     history.Int(r, 1),   int(history.Int(r, 2)),
                                history.Bool(r, 3),    history.Text(r, 4),  history.Text(r, 5),
                                history.Int(r, 6),     history.Text(r, 7),  history.Text(r, 8),
                                !history.IsNull(r, 9), history.Bytes(r, 9), history.Bytes(r, 10)};
    const PgResult checkouts = db.Query("SELECT item, \"user\", date, local, comment FROM tarmo.checkouts "
                                        "ORDER BY item, \"user\" COLLATE \"C\"");
    for (int r = 0; r < checkouts.Rows(); ++r)
        d.Checkouts << CheckoutRow{checkouts.Int(r, 0), checkouts.Text(r, 1), checkouts.Int(r, 2),
                                   checkouts.Text(r, 3), checkouts.Text(r, 4)};
    const PgResult rights =
        db.Query("SELECT item, \"user\", rights FROM tarmo.rights ORDER BY item, \"user\" COLLATE \"C\"");
    for (int r = 0; r < rights.Rows(); ++r)
        d.Rights << RightsRow{rights.Int(r, 0), rights.Text(r, 1), int(rights.Int(r, 2))};
    const PgResult options = db.Query("SELECT name, value FROM tarmo.options ORDER BY name COLLATE \"C\"");
    for (int r = 0; r < options.Rows(); ++r)
        if (!ownOption(options.Text(r, 0)))
            d.Options << qMakePair(options.Text(r, 0), options.Text(r, 1));
    return d;
}

// Only a store just made may take another's history: its root, and users who are administrators.
void requireEmpty(const Dump& target, const QString& ini) {
    bool usersOnlyAdmins = true;
    for (const UserRow& u : target.Users)
        usersOnlyAdmins = usersOnlyAdmins && u.Admin;
    if (target.Items.size() > 1 || !target.History.isEmpty() || !target.Checkouts.isEmpty() ||
        !target.Rights.isEmpty() || !usersOnlyAdmins)
        raise(StoreErrors::NameExists,
              QStringLiteral("The store of '%1' is not empty; a store is copied only into a new one.")
                  .arg(ini));
}

// The users the target takes: the source's, but for the names the target has already.
QList<UserRow> newUsers(const Dump& source, const Dump& target) {
    QList<UserRow> added;
    for (const UserRow& u : source.Users) {
        bool there = false;
        for (const UserRow& t : target.Users)
            there = there || t.Name.compare(u.Name, Qt::CaseInsensitive) == 0;
        if (!there)
            added << u;
    }
    return added;
}

void loadEmbedded(StoreConnection& db, const Dump& source, const QList<UserRow>& users) {
    for (const UserRow& u : users) {
        // No hash matches any password: the administrator gives the user a new one.
        Statement s(db, "INSERT INTO users(name, salt, hash, admin) VALUES(?1, X'', X'', ?2)");
        s.Bind(1, u.Name).Bind(2, u.Admin ? 1 : 0).Run();
    }
    Statement item(
        db, "INSERT INTO items(id, parent, name, type, deleted, deleted_at) VALUES(?1, ?2, ?3, ?4, ?5, ?6)");
    for (const ItemRow& i : source.Items) {
        if (i.Id == StoreSession::rootId)
            continue;
        item.Reset();
        item.Bind(1, i.Id).Bind(2, i.Parent).Bind(3, i.Name).Bind(4, i.Type).Bind(5, i.Deleted ? 1 : 0);
        item.Bind(6, i.DeletedAt).Run();
    }
    Statement version(
        db, "INSERT INTO history(seq, item, number, is_label, user, action, date, comment, "
            "label_comment, content, checksum) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11)");
    for (const HistoryRow& h : source.History) {
        version.Reset();
        version.Bind(1, h.Seq).Bind(2, h.Item).Bind(3, h.Number).Bind(4, h.IsLabel ? 1 : 0).Bind(5, h.User);
        version.Bind(6, h.Action).Bind(7, h.Date).Bind(8, h.Comment).Bind(9, h.LabelComment);
        if (h.HasContent)
            version.BindBlob(10, h.Content);
        else
            version.BindNull(10);
        version.BindBlob(11, h.Checksum).Run();
    }
    for (const CheckoutRow& c : source.Checkouts) {
        Statement s(db, "INSERT INTO checkouts(item, user, date, local, comment) VALUES(?1, ?2, ?3, ?4, ?5)");
        s.Bind(1, c.Item).Bind(2, c.User).Bind(3, c.Date).Bind(4, c.Local).Bind(5, c.Comment).Run();
    }
    for (const RightsRow& r : source.Rights) {
        Statement s(db, "INSERT INTO rights(item, user, rights) VALUES(?1, ?2, ?3)");
        s.Bind(1, r.Item).Bind(2, r.User).Bind(3, r.Rights).Run();
    }
    for (const auto& [name, value] : source.Options) {
        Statement s(db, "INSERT OR REPLACE INTO options(name, value) VALUES(?1, ?2)");
        s.Bind(1, name).Bind(2, value).Run();
    }
}

void loadServer(PgConnection& db, const Dump& source, const QList<UserRow>& users) {
    for (const UserRow& u : users)
        db.Query("SELECT tarmo.make_user($1, NULL, $2)", {PgParam::Text(u.Name), PgParam::Bool(u.Admin)});
    // In batches, so that a large store costs few round trips and no statement grows without bound.
    constexpr qsizetype batch = 500;
    for (qsizetype at = 0; at < source.Items.size(); at += batch) {
        QList<qint64> ids, parents, types, deletedAt;
        QStringList names, deleted;
        for (const ItemRow& i : source.Items.mid(at, batch)) {
            if (i.Id == StoreSession::rootId)
                continue;
            ids << i.Id;
            parents << i.Parent;
            names << i.Name;
            types << i.Type;
            deleted << (i.Deleted ? QStringLiteral("t") : QStringLiteral("f"));
            deletedAt << i.DeletedAt;
        }
        db.Query("INSERT INTO tarmo.items(id, parent, name, type, deleted, deleted_at) "
                 "SELECT * FROM unnest($1::bigint[], $2::bigint[], $3::text[], $4::int[], $5::boolean[], "
                 "$6::bigint[])",
                 {PgParam::IntArray(ids), PgParam::IntArray(parents), PgParam::TextArray(names),
                  PgParam::IntArray(types), PgParam::TextArray(deleted), PgParam::IntArray(deletedAt)});
    }
    for (const HistoryRow& h : source.History)
        db.Query("INSERT INTO tarmo.history(seq, item, number, is_label, \"user\", action, date, comment, "
                 "label_comment, content, checksum) VALUES ($1, $2, $3, $4, $5, $6, $7, $8, $9, $10, $11)",
                 {PgParam::Int(h.Seq), PgParam::Int(h.Item), PgParam::Int(h.Number), PgParam::Bool(h.IsLabel),
                  PgParam::Text(h.User), PgParam::Text(h.Action), PgParam::Int(h.Date),
                  PgParam::Text(h.Comment), PgParam::Text(h.LabelComment),
                  h.HasContent ? PgParam::Bytes(h.Content) : PgParam::Missing(), PgParam::Bytes(h.Checksum)});
    for (const CheckoutRow& c : source.Checkouts)
        db.Query(
            "INSERT INTO tarmo.checkouts(item, \"user\", date, local, comment) VALUES ($1, $2, $3, $4, $5)",
            {PgParam::Int(c.Item), PgParam::Text(c.User), PgParam::Int(c.Date), PgParam::Text(c.Local),
             PgParam::Text(c.Comment)});
    for (const RightsRow& r : source.Rights)
        db.Query("INSERT INTO tarmo.rights(item, \"user\", rights) VALUES ($1, $2, $3)",
                 {PgParam::Int(r.Item), PgParam::Text(r.User), PgParam::Int(r.Rights)});
    for (const auto& [name, value] : source.Options)
        db.Query("INSERT INTO tarmo.options(name, value) VALUES ($1, $2) "
                 "ON CONFLICT (name) DO UPDATE SET value = excluded.value",
                 {PgParam::Text(name), PgParam::Text(value)});
    // The numbers go on after the copied ones.
    db.Execute("SELECT setval('tarmo.items_id_seq', (SELECT max(id) FROM tarmo.items)); "
               "SELECT setval('tarmo.history_seq_seq', greatest((SELECT max(seq) FROM tarmo.history), 1))");
}

// One end of the copy: the store's data, reached past its users, in a transaction of its own.
class End {
public:
    explicit End(const QString& iniFile)
        : mIni(StoreIni::Read(iniFile)) {
        if (mIni.server.isEmpty()) {
            mEmbedded = std::make_unique<StoreConnection>(mIni.DatabaseFile(), mIni.busyTimeoutMs, false);
            UpgradeStore(*mEmbedded, mIni.multipleCheckouts);
            mEmbedded->Execute("BEGIN IMMEDIATE");
        } else {
            mServer = std::make_unique<PgConnection>(mIni.server, QString(), QString());
            // Nobody changes either store while it is copied.
            mServer->Execute(
                "BEGIN; SET LOCAL search_path = tarmo, pg_temp; SELECT pg_advisory_xact_lock(80045)");
        }
    }
    ~End() {
        if (mEmbedded)
            sqlite3Rollback();
    }
    End(const End&) = delete;
    End& operator=(const End&) = delete;

    Dump Read() { return mEmbedded ? dumpEmbedded(*mEmbedded) : dumpServer(*mServer); }
    void Write(const Dump& source, const QList<UserRow>& users) {
        if (mEmbedded)
            loadEmbedded(*mEmbedded, source, users);
        else
            loadServer(*mServer, source, users);
    }
    void Commit() {
        if (mEmbedded) {
            mEmbedded->Execute("COMMIT");
            mCommitted = true;
        } else {
            mServer->Execute("COMMIT");
        }
    }

private:
    void sqlite3Rollback() {
        if (mCommitted)
            return;
        try {
            mEmbedded->Execute("ROLLBACK");
        } catch (const std::exception&) {
        }
    }

    StoreIni mIni;
    std::unique_ptr<StoreConnection> mEmbedded;
    std::unique_ptr<PgConnection> mServer; // a connection closed uncommitted rolls back
    bool mCommitted = false;
};

} // namespace

StoreMigration::Report StoreMigration::Copy(const QString& fromIni, const QString& toIni) {
    End from(fromIni);
    End to(toIni);
    const Dump source = from.Read();
    const Dump before = to.Read();
    requireEmpty(before, toIni);
    const QList<UserRow> users = newUsers(source, before);
    to.Write(source, users);
    // Read back inside the transaction: what doesn't match is never committed.
    Dump written = to.Read();
    Dump expected = source;
    expected.Users = written.Users; // the target's administrator stays; the names are compared below
    if (written.Users.size() != before.Users.size() + users.size() ||
        written.Items.size() != source.Items.size() || written.History.size() != source.History.size() ||
        written.Digest() != expected.Digest())
        raise(StoreErrors::Database,
              QStringLiteral(
                  "The copy in '%1' does not read back as the store of '%2' reads; nothing was copied.")
                  .arg(toIni, fromIni));
    to.Commit();
    Report report;
    report.Users = int(users.size());
    report.Items = int(source.Items.size());
    report.Versions = int(source.History.size());
    report.Checkouts = int(source.Checkouts.size());
    report.Rights = int(source.Rights.size());
    report.Digest = source.Digest();
    return report;
}
