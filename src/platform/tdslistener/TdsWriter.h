#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <functional>

// Builds the bytes of TDS tokens: little-endian numbers, UCS-2 text, and the length-prefixed string
// forms of the protocol. Packets are cut from the stream by the connection; a long reply goes to it
// piece by piece while it is written (SetSink, Flush), so that it is never held whole.
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

    // Bytes written so far, those already handed on included: positions count from the start.
    qsizetype Size() const { return mBase + mData.size(); }
    // Overwrites two bytes little-endian at a position written before (a length or a status) and
    // not handed on yet.
    void PatchU16(qsizetype at, uint16_t value);
    uint16_t ReadU16(qsizetype at) const;

    // From now on Flush hands whole pieces of `piece` bytes to the sink. The sink answers false to
    // stop the reply (the client went or cancelled): the writer then drops what it holds and what
    // follows is no longer wanted.
    void SetSink(qsizetype piece, std::function<bool(const QByteArray&)> sink);
    // Hands on the whole pieces written so far; false once the sink has stopped the reply.
    bool Flush();
    bool Stopped() const { return mStopped; }
    // The most bytes held at a Flush: what a long reply costs in memory.
    qsizetype PeakHeld() const { return mPeakHeld; }

    // The bytes held (all of them when there is no sink).
    const QByteArray& Data() const { return mData; }
    QByteArray Take() { return std::exchange(mData, QByteArray()); }
    // What was written but not handed on: after a stop, what was held when the sink refused it. It
    // ends where a token ends (Flush is called only there), so that a client that has had the start
    // of a token gets the rest of it before the acknowledgement of its cancel.
    QByteArray TakeUnsent() { return mStopped ? std::exchange(mRefused, QByteArray()) : Take(); }

private:
    QByteArray mData;
    qsizetype mBase = 0;
    qsizetype mPiece = 0;
    std::function<bool(const QByteArray&)> mSink;
    bool mStopped = false;
    QByteArray mRefused;
    qsizetype mPeakHeld = 0;
};
