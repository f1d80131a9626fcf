#pragma once

#include <QByteArray>
#include <QString>

// Runs one connection whose client sends exactly these bytes (then hangs up) against the server
// folder, and checks what every client relies on: the server answers in whole packets of the reply
// type, numbered from 1 in each message, and the connection ends when the client goes. Returns
// what broke, or an empty string. Shared by the coverage-guided fuzzer and the replay of its inputs,
// so that a fixed fault stays fixed.
QString CheckClientBytes(const QString& folder, const QByteArray& bytes);

// Makes a server folder whose sa logs in with kFuzzPassword, as the recorded inputs do.
void CreateFuzzServer(const QString& folder);
extern const char kFuzzPassword[];
