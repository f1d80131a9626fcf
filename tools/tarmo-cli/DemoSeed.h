#pragma once

#include <QString>
#include <QStringList>

// The embedded default: a demo server folder with the database "Demo" and a few programmable objects,
// a demo version store with the project $/Demo, and a project record "Demo" that the start-up opens.
namespace DemoSeed {

struct Result {
    bool ok = false;
    QStringList log; // one line per step, for the user
    QString error;   // why it failed
};

// Seeds the demo under `folder`. What already exists is kept (a second run only makes sure the project
// record is there and opens at start); with `reset` the folder is made anew.
Result Seed(const QString& folder, bool reset);

QString DefaultFolder();

} // namespace DemoSeed
