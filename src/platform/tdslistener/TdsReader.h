#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <stdexcept>

// A client broke the protocol; the connection that read it ends, the server goes on.
class TdsProtocolError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Reads a client message with every access checked against its end, so that no byte sequence can
// make the server read outside it.
class TdsReader {
public:
    explicit TdsReader(const QByteArray& data)
        : mData(data) {}

    uint8_t U8();
    uint16_t U16();
    uint16_t U16BE();
    uint32_t U32();
    QByteArray Bytes(qsizetype count);
    void Skip(qsizetype count) { Bytes(count); }
    qsizetype Position() const { return mPos; }
    qsizetype Remaining() const { return mData.size() - mPos; }
    void Seek(qsizetype position);

    // count UCS-2 characters at an absolute position, without moving.
    QString Ucs2At(qsizetype position, qsizetype count) const;

private:
    void need(qsizetype count) const;

    const QByteArray& mData;
    qsizetype mPos = 0;
};
