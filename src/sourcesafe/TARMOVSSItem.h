#pragma once

#include <QString>

class TARMOVSS;

// One entry of a project folder, with who holds its check-out.
class TARMOVSSItem {
public:
    QString Name() const { return mName; }
    void SetName(const QString& name) { mName = name; }
    QString CheckedOutBy() const { return mCheckedOutBy; }
    void SetCheckedOutBy(const QString& holder) { mCheckedOutBy = holder; }
    bool IsCheckedOut() const { return !mCheckedOutBy.isEmpty(); }
    TARMOVSS* ActiveVSSConnection() const { return mConnection; }

private:
    friend class TARMOVSS;
    friend class TARMOVSSItems;
    QString mName;
    QString mCheckedOutBy;
    TARMOVSS* mConnection = nullptr;
};
