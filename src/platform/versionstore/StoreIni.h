#pragma once

#include <QString>

// The srcsafe.ini of a store: a readable "key = value" file that names where the data is (a data
// folder, or with "Store = postgresql://host:port/database" a PostgreSQL server) and holds the
// store's options. Keys are case-insensitive; lines starting with '#' or ';' are comments; unknown keys
// are kept out of the way, so an administrator may leave notes.
struct StoreIni {
    QString iniFile;    // absolute path of the ini itself
    QString dataFolder; // absolute; written relative to the ini's folder when inside it
    QString server;     // the URL of a store on a PostgreSQL server, never with a password; else ""
    // Read only to seed a store that doesn't keep the option itself yet; the store's own value wins.
    bool multipleCheckouts = false;
    int busyTimeoutMs = 30000; // how long a step waits for another user's transaction

    QString DatabaseFile() const;

    // Raises TARMOError (StoreErrors::IniFile) when the file is missing or unreadable, or names no data.
    // A server URL carrying a password is refused: the ini is read by everyone who uses the store.
    static StoreIni Read(const QString& iniFile);
    // Whether a server URL carries a password, in its user part or as a parameter.
    static bool PasswordInUrl(const QString& url);
    // Written in one piece.
    static void Write(const StoreIni& ini);
};
