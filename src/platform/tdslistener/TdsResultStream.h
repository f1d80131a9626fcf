#pragma once

#include "SqlResults.h"
#include "TdsRowSetEncoder.h"

#include <QString>

#include <functional>

class TdsWriter;

// The token stream of one batch's reply, written while the batch runs: messages, counts and row
// sets in the order the engine makes them, a SELECT's rows one by one as they are read, so that a
// large result goes to the client packet by packet and is never held whole. The column types go out
// before the first row; they are chosen in a first look at every row (the engine reads the rows
// twice rather than hold them).
class TdsResultStream : public SqlResultSink {
public:
    // currentDatabase tells the session's database at the moment a message arrives, so that a USE
    // is announced (ENVCHANGE) before its "Changed database context" message.
    TdsResultStream(TdsWriter& out, uint32_t tdsVersion, QString serverName, QString startDatabase,
                    std::function<QString()> currentDatabase);

    void Add(SqlResult result) override;
    bool WantsPreview() const override { return true; }
    void Preview(const QList<SqlColumn>& columns, const QVariantList& row) override;
    void BeginRows(const QList<SqlColumn>& columns) override;
    bool Row(const QVariantList& values) override;
    void EndRows(long long rows) override;

    // Ends the reply: the last DONE without MORE, and the final database where it changed unseen.
    void Finish();
    // Inside a procedure call every statement ends in DONEINPROC, and the call's own end (DONEPROC,
    // after its return status and values) is the caller's to write after EndCall.
    void SetInProcedure(bool inProcedure) { mInProcedure = inProcedure; }
    void EndCall();
    // Tokens that go just before the final DONE (a change of transaction, found once the batch ran).
    void SetBeforeEnd(std::function<void()> write) { mBeforeEnd = std::move(write); }
    // Whether an error has been written.
    bool Failed() const { return mFailed; }

private:
    void done(uint16_t status, uint16_t command, uint64_t count);
    // The DONE of the row set before, once it is known whether a count of its rows follows.
    void closeRows(const SqlResult* next);

    TdsWriter& mOut;
    TdsRowSetEncoder mEncoder;
    QString mServerName;
    QString mAnnouncedDatabase;
    std::function<QString()> mCurrentDatabase;
    qsizetype mLastDone = -1;
    std::function<void()> mBeforeEnd;
    bool mInProcedure = false;
    bool mFailed = false;

    QList<TdsRowSetEncoder::ColumnFacts> mFacts; // of the row set being looked at, empty between
    QList<TdsRowSetEncoder::ColumnPlan> mPlans;
    bool mRowsOpen = false; // a row set whose DONE hasn't gone yet
    long long mOpenRows = 0;
};
