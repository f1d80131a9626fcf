#include "StoreItem.h"

#include "GeneralHelpers.h"
#include "StoreEngine.h"
#include "StoreErrors.h"
#include "StoreSession.h"

#include <QFileInfo>

namespace {

QDateTime fromStore(qint64 ms) {
    return QDateTime::fromMSecsSinceEpoch(ms).toLocalTime();
}

} // namespace

StoreItem::StoreItem(std::shared_ptr<StoreSession> session, qint64 id)
    : mSession(std::move(session))
    , mId(id) {}

void StoreItem::requireType(int type) const {
    if (Type() != type)
        StoreSession::Raise(StoreErrors::WrongType,
                            type == File ? QStringLiteral("'%1' is a project, not a file.").arg(Spec())
                                         : QStringLiteral("'%1' is a file, not a project.").arg(Spec()));
}

int StoreItem::Type() const {
    return mSession->Engine().TypeOf(mId);
}

QString StoreItem::Spec() const {
    return mSession->Engine().SpecOf(mId);
}

QString StoreItem::Name() const {
    return mSession->Engine().NameOf(mId);
}

void StoreItem::SetName(const QString& name) {
    StoreSession::CheckName(name);
    if (mId == StoreSession::rootId)
        StoreSession::Raise(StoreErrors::InvalidName, QStringLiteral("The root project cannot be renamed."));
    mSession->Engine().Rename(mId, name);
}

bool StoreItem::Deleted() const {
    return mSession->Engine().IsDeleted(mId);
}

void StoreItem::SetDeleted(bool deleted) {
    if (mId == StoreSession::rootId)
        StoreSession::Raise(StoreErrors::InvalidName, QStringLiteral("The root project cannot be deleted."));
    mSession->Engine().SetDeleted(mId, deleted);
}

void StoreItem::RecoverAs(const QString& name) {
    StoreSession::CheckName(name);
    mSession->Engine().RecoverAs(mId, name);
}

QStringList StoreItem::Holders() const {
    return mSession->Engine().Holders(mId);
}

int StoreItem::IsCheckedOut() const {
    return mSession->Engine().CheckoutState(mId);
}

QList<StoreCheckout> StoreItem::Checkouts() const {
    return mSession->Engine().Checkouts(mId);
}

int StoreItem::VersionNumber() const {
    return mSession->Engine().HeadNumber(mId);
}

QList<StoreVersion> StoreItem::Versions() const {
    QList<StoreVersion> result;
    for (const StoreHistoryRow& row : mSession->Engine().History(mId)) {
        StoreVersion v;
        v.mSession = mSession;
        v.mItem = mId;
        v.mSeq = row.Seq;
        v.mNumber = row.Number;
        v.mIsLabel = row.IsLabel;
        v.mUser = row.User;
        v.mAction = row.Action;
        v.mDate = fromStore(row.DateMs);
        v.mComment = row.Comment;
        v.mLabelComment = row.LabelComment;
        result << v;
    }
    return result;
}

QList<StoreItem> StoreItem::Items(bool includeDeleted) const {
    QList<StoreItem> result;
    for (const qint64 id : mSession->Engine().Children(mId, includeDeleted))
        result << StoreItem(mSession, id);
    return result;
}

QList<StoreEntry> StoreItem::Entries(const QStringList& endings,
                                     const std::function<bool(const QString&)>& wantsText,
                                     bool skipDamaged) const {
    // Every name ends with the empty text.
    const bool all = endings.isEmpty() || endings.contains(QString());
    return entries(nullptr, all ? nullptr : &endings, wantsText, skipDamaged);
}

QList<StoreEntry> StoreItem::EntriesNamed(const QStringList& names,
                                          const std::function<bool(const QString&)>& wantsText,
                                          bool skipDamaged) const {
    // Still asked with no names: a user who may not read here is refused, as any other listing is.
    return entries(&names, nullptr, wantsText, skipDamaged);
}

QList<StoreEntry> StoreItem::entries(const QStringList* names, const QStringList* endings,
                                     const std::function<bool(const QString&)>& wantsText,
                                     bool skipDamaged) const {
    return mSession->Engine().Entries(mId, names, endings, wantsText, skipDamaged);
}

void StoreItem::Get(QString& local) const {
    const QString path = CleanLocalPath(local);
    const StoreGetState state = mSession->Engine().ForGet(mId);
    if (state.Mine && path == state.Working && FileExists(path) && !IsReadOnlyFile(path))
        StoreSession::Raise(
            StoreErrors::WorkingFileProtected,
            QStringLiteral("'%1' is checked out to '%2', which holds your changes; it was not "
                           "replaced.")
                .arg(Spec(), path));
    WriteWorkingFile(path, state.Head, !state.Mine);
    local = path;
}

void StoreItem::Checkout(const QString& comment, const QString& local) {
    const QString path = CleanLocalPath(local);
    // Written before the commit: a check-out whose working file can't be written never happened.
    mSession->Engine().Checkout(mId, comment, path, [&path](const QByteArray& head) {
        if (!path.isEmpty())
            WriteWorkingFile(path, head, false);
    });
}

int StoreItem::Checkin(const QString& comment, const QString& local) {
    const QString path = CleanLocalPath(local);
    // Looked at before the file is read, so that a user who holds nothing hears that first; and again
    // inside the check-in, where it counts.
    mSession->Engine().RequireMyCheckout(mId);
    const QByteArray content = ReadWorkingFile(path);
    const int number = mSession->Engine().Checkin(mId, comment, content);
    SetReadOnlyFile(path, true);
    return number;
}

void StoreItem::UndoCheckout(const QString& local) {
    const QString path = CleanLocalPath(local);
    const QByteArray head = mSession->Engine().UndoCheckout(mId);
    if (!path.isEmpty())
        WriteWorkingFile(path, head, true);
}

int StoreItem::Label(const QString& label, const QString& comment) {
    if (label.trimmed().isEmpty())
        StoreSession::Raise(StoreErrors::InvalidName, QStringLiteral("A label needs a name."));
    return mSession->Engine().Label(mId, label, comment);
}

StoreItem StoreItem::Add(const QString& local, const QString& comment) {
    requireType(Project);
    const QString path = CleanLocalPath(local);
    const QString name = QFileInfo(path).fileName();
    StoreSession::CheckName(name);
    const QByteArray content = ReadWorkingFile(path);
    const qint64 id = mSession->Engine().AddFile(mId, name, content, comment);
    SetReadOnlyFile(path, true);
    return StoreItem(mSession, id);
}

StoreItem StoreItem::NewSubproject(const QString& name, const QString& comment) {
    requireType(Project);
    StoreSession::CheckName(name);
    return StoreItem(mSession, mSession->Engine().NewProject(mId, name, comment));
}

QList<StoreItem> StoreItem::AddFiles(const QList<StoreNewFile>& files, const QString& comment) {
    requireType(Project);
    for (const StoreNewFile& file : files)
        StoreSession::CheckName(file.Name);
    QList<StoreItem> added;
    for (const qint64 id : mSession->Engine().AddFiles(mId, files, comment))
        added << StoreItem(mSession, id);
    return added;
}

void StoreItem::Destroy() {
    if (mId == StoreSession::rootId)
        StoreSession::Raise(StoreErrors::InvalidName,
                            QStringLiteral("The root project cannot be destroyed."));
    mSession->Engine().Destroy(mId);
}
