#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

// The general helpers that every subsystem calls: files honouring the read-only attribute, the
// user's name, the temporary folder. Paths are plain strings; text files are UTF-8 and keep
// their line ends as written.

bool FolderExists(const QString& path);
// Creates the folder if it isn't there; one level only.
void EnsureFolder(const QString& path);
bool FileExists(const QString& path);

// "" when the file isn't there. With bDeleteAfter the file is deleted afterwards, read-only or not.
QString ReadTextFile(const QString& path, bool bCreate = false, bool bDeleteAfter = false);
// Deletes the file if it is there. A read-only file is deleted only with bForce; without it the
// call raises "Permission denied" (70). Always True otherwise.
bool DeleteFileIfExists(const QString& path, bool bForce = false);
// Writes the content in one piece, replacing the file. A read-only file is made writable for the
// write and read-only again afterwards. Raises TARMOError when the file can't be written.
bool CreateTextFile(const QString& path, const QString& content);
bool WriteTextFile(const QString& path, const QString& content);

// Read-only attribute of a file, as the working folder uses it.
bool IsReadOnlyFile(const QString& path);
void SetReadOnlyFile(const QString& path, bool readOnly);

// The system's temporary folder, with a trailing separator.
QString GetTempFolder();
// The logged-on user's name (at most 24 characters).
QString GetWindowsUserName();

// Elements from 1 up as strings; element 0 stays empty, as every array of the lookups.
QStringList VariantToStringArray(const QVariant& value);
// Two dimensions: rows and columns from 1; row 0 and column 0 stay empty.
QList<QStringList> VariantToStringArray2D(const QVariant& value);

// The program's folder for per-user files (the XDG data folder of the application) and the
// folder of the present user inside it.
QString ApplicationFolder();
QString UserFolder();
// The folder of the settings store (the XDG config folder of the application).
QString ConfigFolder();
