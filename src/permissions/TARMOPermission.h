#pragma once

#include <QString>

// One grantee's line in the permissions of an object: which statements are granted, denied or
// neither. The six states read 0 neither, 1 granted, 2 denied; 3 asks a script to leave the
// statement out and is never stored.
class TARMOPermission {
public:
    enum State : long { None = 0, Grant = 1, Deny = 2, LeaveOut = 3 };

    QString Name;
    bool IsRole = false;
    bool IsOwner = false;
    bool HasExecuteOnly = false;
    bool HasExecAndRefOnly = false;
    long HasSelect = None;
    long HasInsert = None;
    long HasUpdate = None;
    long HasDelete = None;
    long HasReferences = None;
    long HasExecute = None;

    bool HasAnyPermissionSet() const;

    // One statement word and its state, in the order a script writes them.
    struct Statement {
        QString Word;
        long State = None;
    };
    // The statements that the object's kind knows; an owner line gives each as LeaveOut, since the
    // owner's rights can't be changed.
    QList<Statement> Statements() const;
    // The state of a statement word (any case); -1 for a word the line doesn't carry.
    long StateOf(const QString& word) const;
    // Sets the state of a statement word (any case); False for a word the line doesn't carry.
    bool SetStateOf(const QString& word, long state);

    // "GRANT EXECUTE ON [dbo].[x] TO [public]"; "" for LeaveOut. qualifiedName comes quoted
    // (SqlQuote::TwoPartName); the grantee is quoted here.
    static QString StatementText(const QString& word, long state, const QString& qualifiedName,
                                 const QString& grantee);
};
