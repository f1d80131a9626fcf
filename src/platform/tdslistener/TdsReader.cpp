#include "TdsReader.h"

void TdsReader::need(qsizetype count) const {
    if (count < 0 || count > mData.size() - mPos)
        throw TdsProtocolError("message ends early");
}

uint8_t TdsReader::U8() {
    need(1);
    return uint8_t(mData[mPos++]);
}

uint16_t TdsReader::U16() {
    const uint16_t low = U8();
    return uint16_t(low | (U8() << 8));
}

uint16_t TdsReader::U16BE() {
    const uint16_t high = U8();
    return uint16_t((high << 8) | U8());
}

uint32_t TdsReader::U32() {
    const uint32_t low = U16();
    return low | (uint32_t(U16()) << 16);
}

QByteArray TdsReader::Bytes(qsizetype count) {
    need(count);
    QByteArray out = mData.mid(mPos, count);
    mPos += count;
    return out;
}

void TdsReader::Seek(qsizetype position) {
    if (position < 0 || position > mData.size())
        throw TdsProtocolError("position outside the message");
    mPos = position;
}

QString TdsReader::Ucs2At(qsizetype position, qsizetype count) const {
    if (position < 0 || count < 0 || position > mData.size() || count > (mData.size() - position) / 2)
        throw TdsProtocolError("text outside the message");
    // Byte by byte: the text need not be aligned for a char16_t read.
    QString out(count, Qt::Uninitialized);
    const auto* bytes = reinterpret_cast<const uint8_t*>(mData.constData() + position);
    for (qsizetype i = 0; i < count; ++i)
        out[i] = QChar(char16_t(bytes[2 * i] | (bytes[2 * i + 1] << 8)));
    return out;
}
