#include "DbRecordset.h"

#include "TARMOError.h"

#include <QDateTime>

namespace {
const QString kSource = QStringLiteral("DbRecordset");

[[noreturn]] void notFound() {
    throw TARMOError(3265, kSource,
                     QStringLiteral("Item cannot be found in the collection corresponding to the requested "
                                    "name or ordinal."));
}
} // namespace

void DbRecordset::MoveNext() {
    if (Eof())
        throw TARMOError(3021, kSource,
                         QStringLiteral("Either BOF or EOF is True, or the current record has been deleted. "
                                        "Requested operation requires a current record."));
    ++mPosition;
}

QString DbRecordset::FieldName(int index) const {
    if (index < 0 || index >= mRows.columns.size())
        notFound();
    return mRows.columns[index].name;
}

QVariant DbRecordset::Field(const QString& name) const {
    const int index = mRows.ColumnIndex(name);
    if (index < 0)
        notFound();
    return Field(index);
}

QVariant DbRecordset::Field(int index) const {
    if (index < 0 || index >= mRows.columns.size())
        notFound();
    if (Eof())
        throw TARMOError(3021, kSource,
                         QStringLiteral("Either BOF or EOF is True, or the current record has been deleted. "
                                        "Requested operation requires a current record."));
    const QVariantList& row = mRows.rows[mPosition];
    return index < row.size() ? row[index] : QVariant();
}

QString DbRecordset::Text(const QString& name) const {
    const QVariant value = Field(name);
    if (!value.isValid() || value.isNull())
        return QString();
    // Datetimes are wall-clock values held as UTC; their text carries no zone.
    if (value.typeId() == QMetaType::QDateTime)
        return value.toDateTime().toString(QStringLiteral("yyyy-MM-dd'T'HH:mm:ss.zzz"));
    return value.toString();
}
