#include "ServerBrowser.h"

#include <QDeadlineTimer>
#include <QSet>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ServerBrowser {

QStringList ParseResponse(const QByteArray& datagram) {
    // 0x05, a little-endian length, then "key;value;" pairs; each instance ends with an empty pair.
    QStringList names;
    if (datagram.size() < 3 || static_cast<unsigned char>(datagram[0]) != 0x05)
        return names;
    const int length =
        static_cast<unsigned char>(datagram[1]) | (static_cast<unsigned char>(datagram[2]) << 8);
    const QString text = QString::fromLatin1(datagram.mid(3, length));
    for (const QString& instance : text.split(QStringLiteral(";;"), Qt::SkipEmptyParts)) {
        const QStringList fields = instance.split(QLatin1Char(';'));
        QString server, name;
        for (qsizetype i = 0; i + 1 < fields.size(); i += 2) {
            if (fields[i].compare(QLatin1String("ServerName"), Qt::CaseInsensitive) == 0)
                server = fields[i + 1];
            else if (fields[i].compare(QLatin1String("InstanceName"), Qt::CaseInsensitive) == 0)
                name = fields[i + 1];
        }
        if (server.isEmpty())
            continue;
        names.append(name.isEmpty() || name.compare(QLatin1String("MSSQLSERVER"), Qt::CaseInsensitive) == 0
                         ? server
                         : server + QLatin1Char('\\') + name);
    }
    return names;
}

QStringList Browse(int waitMs) {
    const int s = ::socket(AF_INET, SOCK_DGRAM, 0);
    if (s < 0)
        return {};
    const int on = 1;
    ::setsockopt(s, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    sockaddr_in to = {};
    to.sin_family = AF_INET;
    to.sin_port = htons(1434);
    to.sin_addr.s_addr = htonl(INADDR_BROADCAST);
    const char request = 0x02; // "all instances"
    QSet<QString> found;
    if (::sendto(s, &request, 1, 0, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 1) {
        QDeadlineTimer deadline(waitMs);
        while (!deadline.hasExpired()) {
            pollfd p = {s, POLLIN, 0};
            if (::poll(&p, 1, static_cast<int>(deadline.remainingTime())) <= 0)
                break;
            char buffer[65536];
            const ssize_t n = ::recv(s, buffer, sizeof buffer, 0);
            if (n <= 0)
                break;
            for (const QString& name : ParseResponse(QByteArray(buffer, static_cast<int>(n))))
                found.insert(name);
        }
    }
    ::close(s);
    QStringList names(found.begin(), found.end());
    names.sort(Qt::CaseInsensitive);
    return names;
}

} // namespace ServerBrowser
