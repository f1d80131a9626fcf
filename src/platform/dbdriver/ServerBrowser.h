#pragma once

#include <QByteArray>
#include <QStringList>

// Finds the SQL Servers of the local network the way the classic server list did: one broadcast to
// the servers' browser service (UDP 1434), and whatever answers within the wait.
namespace ServerBrowser {

// Server names as a connection takes them: "HOST" for a default instance, "HOST\INSTANCE" otherwise;
// sorted, without repeats. Waits at most waitMs for answers; no answers gives an empty list.
QStringList Browse(int waitMs = 1000);

// The server names in one answer of a browser service.
QStringList ParseResponse(const QByteArray& datagram);

} // namespace ServerBrowser
