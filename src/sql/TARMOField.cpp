#include "TARMOField.h"

#include "TARMOFields.h"

TARMOField::TARMOField(const QString& name)
    : mName(name)
    , mChildren(std::make_unique<TARMOFields>()) {}

TARMOField::~TARMOField() = default;

QString TARMOField::TypeLine(const QString& type, const QString& precision, const QString& scale,
                             const QString& length) {
    const QString lower = type.toLower();
    if (lower == QLatin1String("numeric") || lower == QLatin1String("decimal"))
        return type + QLatin1Char('(') + precision + QStringLiteral(", ") + scale + QLatin1Char(')');
    if (lower == QLatin1String("varchar") || lower == QLatin1String("char") ||
        lower == QLatin1String("nchar") || lower == QLatin1String("nvarchar"))
        return type + QLatin1Char('(') + length + QLatin1Char(')');
    return type;
}
