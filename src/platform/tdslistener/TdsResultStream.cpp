#include "TdsResultStream.h"

#include "TdsTokens.h"
#include "TdsWriter.h"

TdsResultStream::TdsResultStream(TdsWriter& out, uint32_t tdsVersion, QString serverName,
                                 QString startDatabase, std::function<QString()> currentDatabase)
    : mOut(out)
    , mEncoder(tdsVersion == 0 ? Tds::kVersion74 : tdsVersion)
    , mServerName(std::move(serverName))
    , mAnnouncedDatabase(std::move(startDatabase))
    , mCurrentDatabase(std::move(currentDatabase)) {}

void TdsResultStream::done(uint16_t status, uint16_t command, uint64_t count) {
    mLastDone = mOut.Size();
    Tds::WriteDone(mOut, status | Tds::DoneMore, command, count, mInProcedure ? Tds::DoneInProc : Tds::Done);
}

void TdsResultStream::closeRows(const SqlResult* next) {
    if (!mRowsOpen)
        return;
    mRowsOpen = false;
    // The count the engine reports right after a SELECT belongs in the DONE of its rows.
    const bool counted = next && next->kind == SqlResult::Kind::RowCount && next->rowCount == mOpenRows;
    done(counted ? Tds::DoneCount : 0, Tds::kSelectCommand, counted ? uint64_t(mOpenRows) : 0);
}

void TdsResultStream::Add(SqlResult result) {
    if (mOut.Stopped())
        return;
    const bool countOfRows =
        mRowsOpen && result.kind == SqlResult::Kind::RowCount && result.rowCount == mOpenRows;
    closeRows(&result);
    if (countOfRows)
        return;
    switch (result.kind) {
    case SqlResult::Kind::RowSet:
        if (result.rowSet.columns.isEmpty())
            break;
        mEncoder.Write(mOut, result.rowSet);
        mRowsOpen = true;
        mOpenRows = result.rowSet.rows.size();
        break;
    case SqlResult::Kind::RowCount:
        done(Tds::DoneCount, 0, uint64_t(std::max<long long>(result.rowCount, 0)));
        break;
    case SqlResult::Kind::Message: {
        if (result.message.number == 5701 && mCurrentDatabase) {
            const QString now = mCurrentDatabase();
            if (now != mAnnouncedDatabase) {
                Tds::WriteEnvChange(mOut, Tds::EnvDatabase, now, mAnnouncedDatabase);
                mAnnouncedDatabase = now;
            }
        }
        Tds::WriteMessage(mOut, result.message, mServerName);
        // A failed statement ends in a DONE of its own, so that the error stays with it and
        // doesn't spoil the result that follows.
        if (result.message.IsError()) {
            mFailed = true;
            done(Tds::DoneError, 0, 0);
        }
        break;
    }
    }
}

void TdsResultStream::Preview(const QList<SqlColumn>& columns, const QVariantList& row) {
    if (mFacts.isEmpty())
        for (const SqlColumn& c : columns)
            mFacts.append(TdsRowSetEncoder::FactsFor(c));
    for (int c = 0; c < mFacts.size() && c < row.size(); ++c)
        mFacts[c].Observe(row[c]);
}

void TdsResultStream::BeginRows(const QList<SqlColumn>& columns) {
    closeRows(nullptr);
    mPlans.clear();
    for (int c = 0; c < columns.size(); ++c)
        mPlans.append(mEncoder.Plan(columns[c],
                                    c < mFacts.size() ? mFacts[c] : TdsRowSetEncoder::FactsFor(columns[c])));
    mFacts.clear();
    if (!columns.isEmpty() && !mOut.Stopped())
        mEncoder.WriteMetadata(mOut, columns, mPlans);
    mOpenRows = 0;
}

bool TdsResultStream::Row(const QVariantList& values) {
    if (mOut.Stopped() || mPlans.isEmpty())
        return !mOut.Stopped();
    ++mOpenRows;
    return mEncoder.WriteRow(mOut, mPlans, values);
}

void TdsResultStream::EndRows(long long rows) {
    mOpenRows = rows;
    mRowsOpen = !mPlans.isEmpty();
    mPlans.clear();
}

void TdsResultStream::EndCall() {
    if (mOut.Stopped())
        return;
    closeRows(nullptr);
    if (mCurrentDatabase) {
        const QString now = mCurrentDatabase();
        if (now != mAnnouncedDatabase)
            Tds::WriteEnvChange(mOut, Tds::EnvDatabase, now, mAnnouncedDatabase);
        mAnnouncedDatabase = now;
    }
    if (mBeforeEnd)
        mBeforeEnd();
}

void TdsResultStream::Finish() {
    if (mOut.Stopped())
        return;
    EndCall();
    // Every DONE but the last one of a reply carries MORE, or the client stops reading there; the
    // last one must not.
    if (mLastDone >= 0 && mLastDone == mOut.Size() - 13) {
        mOut.PatchU16(mLastDone + 1, uint16_t(mOut.ReadU16(mLastDone + 1) & ~Tds::DoneMore));
        return;
    }
    Tds::WriteDone(mOut, Tds::DoneFinal, 0, 0);
}
