// CREATE, ALTER and DROP XML SCHEMA COLLECTION. A collection is kept with the text of its schemas
// and listed by sys.xml_schema_collections, so that the tables and modules typed by it can be
// created; the engine doesn't check xml against it.
#include "SessionState.h"

namespace {

// User collections are numbered from here; the server's own one is 1.
constexpr int kFirstCollectionId = 65536;

} // namespace

void SessionState::RunXmlSchemaCollection(const SqlStatement& s) {
    const QString name = s.target.last();
    if (s.target.size() >= 3 && !s.target[s.target.size() - 3].isEmpty() &&
        s.target[s.target.size() - 3].compare(database, Qt::CaseInsensitive) != 0)
        throw ServerError::Unsupported(QStringLiteral("XML schema collections of another database"));
    const QString& action = s.objectKind;
    if (action == QLatin1String("CREATE") && !CanCreate(QStringLiteral("XML SCHEMA COLLECTION")))
        throw ServerError::Make(
            262, 14,
            QStringLiteral("CREATE XML SCHEMA COLLECTION permission denied in database '%1'.").arg(database));
    const int schemaId = OwnerUid(s.target, s.line);
    const QVariant id = mDb->Scalar(
        QStringLiteral("SELECT id FROM engine_xml_schema_collections WHERE schema_id = ? AND name = ?"),
        {schemaId, name});
    mRowCount = 0;
    if (action == QLatin1String("CREATE")) {
        if (id.isValid())
            throw ServerError::Make(
                2714, 16, QStringLiteral("There is already an object named '%1' in the database.").arg(name));
        const QVariant text = Evaluate(*s.condition);
        if (!text.isValid() || text.isNull())
            throw ServerError::Make(2378, 16, QStringLiteral("Expected XML schema document"));
        const int next = qMax(
            kFirstCollectionId,
            mDb->Scalar(QStringLiteral("SELECT MAX(id) FROM engine_xml_schema_collections")).toInt() + 1);
        const QString now = Catalogue::Now();
        mDb->Exec(
            QStringLiteral("INSERT INTO engine_xml_schema_collections (id, schema_id, name, definition, "
                           "create_date, modify_date) VALUES (?,?,?,?,?,?)"),
            {next, schemaId, name, text.toString(), now, now});
        return;
    }
    if (!id.isValid())
        throw ServerError::Make(
            15151, 16,
            QStringLiteral("Cannot %1 the XML schema collection '%2', because it does not "
                           "exist or you do not have permission.")
                .arg(action.toLower(), name));
    if (action == QLatin1String("DROP")) {
        mDb->Exec(QStringLiteral("DELETE FROM engine_xml_schema_collections WHERE id = ?"), {id});
        return;
    }
    const QVariant text = Evaluate(*s.condition);
    if (!text.isValid() || text.isNull())
        throw ServerError::Make(2378, 16, QStringLiteral("Expected XML schema document"));
    mDb->Exec(QStringLiteral("UPDATE engine_xml_schema_collections SET definition = definition || ?, "
                             "modify_date = ? WHERE id = ?"),
              {text.toString(), Catalogue::Now(), id});
}
