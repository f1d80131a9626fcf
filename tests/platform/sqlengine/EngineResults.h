#pragma once

#include "EmbeddedServer.h"

#include <optional>

// The errors among a batch's results, in their order.
inline QList<SqlMessage> Errors(const SqlBatchResults& results) {
    QList<SqlMessage> errors;
    for (const SqlResult& r : results)
        if (r.kind == SqlResult::Kind::Message && r.message.IsError())
            errors.append(r.message);
    return errors;
}

// A copy: the results are mostly a temporary that ends with the statement.
inline std::optional<SqlRowSet> FirstRows(const SqlBatchResults& results) {
    for (const SqlResult& r : results)
        if (r.kind == SqlResult::Kind::RowSet)
            return r.rowSet;
    return std::nullopt;
}
