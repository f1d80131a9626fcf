#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>

// Builds the bytes of TDS tokens: little-endian numbers, UCS-2 text, and the length-prefixed string
// forms of the protocol. Packets are cut from the finished stream by the connection.
class TdsWriter {
public:
    void U8(uint8_t value) { mData.append(char(value)); }
    void U16(uint16_t value);
    void U16BE(uint16_t value);
    void U32(uint32_t value);
    void U32BE(uint32_t value);
    void U64(uint64_t value);
    void Bytes(const QByteArray& bytes) { mData.append(bytes); }
    // UCS-2 little-endian text without a length.
    void Ucs2(const QString& text);
    // Text with a one-byte length in characters (cut at 255).
    void BVarchar(const QString& text);
    // Text with a two-byte length in characters (cut at 65535).
    void UsVarchar(const QString& text);

    qsizetype Size() const { return mData.size(); }
    // Overwrites two bytes little-endian at a position written before (a length or a status).
    void PatchU16(qsizetype at, uint16_t value);
    uint16_t ReadU16(qsizetype at) const;

    const QByteArray& Data() const { return mData; }
    QByteArray Take() { return std::exchange(mData, QByteArray()); }

private:
    QByteArray mData;
};
