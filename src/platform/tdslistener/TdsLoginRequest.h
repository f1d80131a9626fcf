#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>

// What a client's LOGIN7 message asks for: who, where, and with which protocol and packet size.
struct TdsLoginRequest {
    uint32_t tdsVersion = 0;
    uint32_t packetSize = 0; // 0 = the server's choice
    bool integratedSecurity = false;
    QString hostName;
    QString userName;
    QString password;
    QString appName;
    QString serverName;
    QString language;
    QString database;

    // Throws TdsProtocolError for a message that isn't a well-formed LOGIN7.
    static TdsLoginRequest Parse(const QByteArray& message);
    // The password as it travels: each byte's halves swapped, then XOR 0xA5.
    static QByteArray ObfuscatePassword(const QString& password);
    static QString ClearPassword(const QByteArray& obfuscated);
};
