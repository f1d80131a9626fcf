#pragma once

#include "StoreIni.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>

class StoreEngine;

// What an open store shares between the database object and the items and versions it hands out:
// the engine that holds the data, the connected user and the current project. Items keep it alive,
// so an item outlives the object it came from the way an automation object does.
struct StoreSession {
    StoreIni ini;
    std::unique_ptr<StoreEngine> engine;
    QString userName; // as the store spells it
    bool admin = false;
    qint64 currentProject = rootId;

    StoreSession();
    ~StoreSession();
    StoreSession(const StoreSession&) = delete;
    StoreSession& operator=(const StoreSession&) = delete;

    static constexpr qint64 rootId = 1;
    enum ItemType { Project = 0, File = 1 };

    // The item at a path, "$/A/B", "$\A\B\" or relative to the current project. The last part is
    // looked up among living or deleted items as asked; the projects on the way must be living.
    qint64 Resolve(const QString& spec, bool deleted) const;
    StoreEngine& Engine() const { return *engine; }

    // Whether a stored text matches the checksum kept with it; one without a checksum was written
    // past this program and can't vouch for itself either.
    static bool Intact(const QByteArray& content, bool hasChecksum, const QByteArray& checksum);
    [[noreturn]] static void RaiseDamaged(qint64 number, const QString& spec);
    // Raises NameStructure or InvalidName for names the store doesn't take.
    static void CheckName(const QString& name);
    // Raises InvalidName for a user name the store doesn't take.
    static void CheckUserName(const QString& name);
    static qint64 Now();
    [[noreturn]] static void Raise(long number, const QString& text);
};

// Working files: read whole, written in one piece with the read-only attribute as asked.
QByteArray ReadWorkingFile(const QString& path);
void WriteWorkingFile(const QString& path, const QByteArray& content, bool readOnly);
QString CleanLocalPath(const QString& path);
