// sp_xml_preparedocument and sp_xml_removedocument: the documents that OPENXML reads, by handle.
#include "SessionState.h"

#include "ServerError.h"
#include "SqlXml.h"

bool SessionState::RunXmlProcedure(const QString& name, const SqlStatement& s) {
    const bool prepare = name.compare(QLatin1String("sp_xml_preparedocument"), Qt::CaseInsensitive) == 0;
    if (!prepare && name.compare(QLatin1String("sp_xml_removedocument"), Qt::CaseInsensitive) != 0)
        return false;
    const QString procName =
        prepare ? QStringLiteral("sp_xml_preparedocument") : QStringLiteral("sp_xml_removedocument");
    if (s.execArgs.isEmpty() || (prepare && s.execArgs.size() < 2))
        throw ServerError::Make(prepare ? 6607 : 6600, 16,
                                QStringLiteral("%1: The value supplied for parameter number %2 is invalid.")
                                    .arg(procName)
                                    .arg(s.execArgs.isEmpty() ? 1 : 2));
    if (s.execArgs.size() > (prepare ? 3 : 1))
        throw ServerError::Make(
            8144, 16,
            QStringLiteral("Procedure or function %1 has too many arguments specified.").arg(procName));
    const SqlExecArg& handle = s.execArgs.first();
    if (!prepare) {
        const QVariant h = Evaluate(*handle.value);
        if (h.isNull() || !Xml::RemoveDocument(h.toLongLong()))
            throw ServerError::Make(
                6607, 16,
                QStringLiteral("%1: The value supplied for parameter number 1 is invalid.").arg(procName));
        return true;
    }
    if (!handle.output || handle.value->kind != SqlExpr::Kind::Variable)
        throw ServerError::Make(
            6607, 16,
            QStringLiteral("%1: The value supplied for parameter number 1 is invalid.").arg(procName));
    if (s.execArgs.size() > 2 && !Evaluate(*s.execArgs[2].value).toString().trimmed().isEmpty())
        throw ServerError::Unsupported(QStringLiteral("the namespaces argument of sp_xml_preparedocument"));
    const QVariant text = Evaluate(*s.execArgs[1].value);
    qint64 id = 0;
    try {
        id = Xml::PrepareDocument(text.isNull() ? QString() : text.toString());
    } catch (const Xml::Error& e) {
        throw ServerError::Make(6602, 16, QStringLiteral("The error description is '%1'.").arg(e.text));
    }
    Assign(handle.value->text, QVariant(id), s.line);
    return true;
}
