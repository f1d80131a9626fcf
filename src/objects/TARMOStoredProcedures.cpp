#include "TARMOStoredProcedures.h"

#include "TARMOStoredProcedure.h"

TARMOStoredProcedures::TARMOStoredProcedures()
    : TARMOObjectList(QStringLiteral("StoredProcedures"), QStringLiteral("Stored Procedures"),
                      QStringLiteral("STOREDPROCEDURES"), true,
                      QStringLiteral("SELECT id, name FROM sysobjects WHERE OBJECTPROPERTY(id, "
                                     "N'IsProcedure') = 1 AND category <> 2 ORDER BY name"),
                      QStringLiteral("OBJECTPROPERTY(id, N'IsProcedure') = 1")) {
    Initialize();
}

TARMOObjectList::Object TARMOStoredProcedures::CreateObject() const {
    return std::make_shared<TARMOStoredProcedure>();
}
