#pragma once

#include <QByteArray>
#include <QString>

// Files of a server or a store folder: a team shares them through the folder's group, and nobody
// else may read them (they hold password hashes and every text checked in). Files are 0660, folders
// 0770, whatever the umask; a folder made inside a setgid folder keeps the setgid bit, so that the
// group goes on being handed down.
namespace GroupFiles {

constexpr unsigned fileMode = 0660;
constexpr unsigned folderMode = 0770;

// Makes the folder and any missing parents; only the folders made here get folderMode. False when the
// folder is not there afterwards.
bool MakeFolder(const QString& path);

// Makes an empty file with fileMode when there is none; a file that is there is left as it is.
// SQLite takes an empty file for a new database and gives its journal and WAL files the database
// file's mode, so this is the way to give a database its mode before a byte of it is written.
bool EnsureFile(const QString& path);

// Appends the bytes with one write (one line of a log), making the file with fileMode if needed.
bool Append(const QString& path, const QByteArray& bytes);

} // namespace GroupFiles
