#include "TdsWriter.h"

#include <algorithm>

void TdsWriter::U16(uint16_t value) {
    U8(uint8_t(value));
    U8(uint8_t(value >> 8));
}

void TdsWriter::U16BE(uint16_t value) {
    U8(uint8_t(value >> 8));
    U8(uint8_t(value));
}

void TdsWriter::U32(uint32_t value) {
    U16(uint16_t(value));
    U16(uint16_t(value >> 16));
}

void TdsWriter::U32BE(uint32_t value) {
    U16BE(uint16_t(value >> 16));
    U16BE(uint16_t(value));
}

void TdsWriter::U64(uint64_t value) {
    U32(uint32_t(value));
    U32(uint32_t(value >> 32));
}

void TdsWriter::Ucs2(const QString& text) {
    for (const QChar c : text)
        U16(c.unicode());
}

void TdsWriter::BVarchar(const QString& text) {
    const QString cut = text.left(255);
    U8(uint8_t(cut.size()));
    Ucs2(cut);
}

void TdsWriter::UsVarchar(const QString& text) {
    const QString cut = text.left(65535);
    U16(uint16_t(cut.size()));
    Ucs2(cut);
}

void TdsWriter::PatchU16(qsizetype at, uint16_t value) {
    at -= mBase;
    if (at < 0 || at + 2 > mData.size())
        return; // handed on already, or dropped after a stop
    mData[at] = char(value & 0xff);
    mData[at + 1] = char(value >> 8);
}

uint16_t TdsWriter::ReadU16(qsizetype at) const {
    at -= mBase;
    if (at < 0 || at + 2 > mData.size())
        return 0;
    return uint16_t(uint8_t(mData[at]) | (uint8_t(mData[at + 1]) << 8));
}

void TdsWriter::SetSink(qsizetype piece, std::function<bool(const QByteArray&)> sink) {
    mPiece = std::max<qsizetype>(piece, 1);
    mSink = std::move(sink);
}

bool TdsWriter::Flush() {
    if (mStopped) {
        mBase += mData.size();
        mData.clear();
        return false;
    }
    mPeakHeld = std::max(mPeakHeld, mData.size());
    if (!mSink || mData.size() < mPiece)
        return true;
    const qsizetype whole = mData.size() / mPiece * mPiece;
    if (!mSink(QByteArray::fromRawData(mData.constData(), whole))) {
        mStopped = true;
        mBase += mData.size();
        mRefused = std::exchange(mData, QByteArray());
        return false;
    }
    mData.remove(0, whole);
    mBase += whole;
    return true;
}
