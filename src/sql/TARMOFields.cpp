#include "TARMOFields.h"

TARMOField& TARMOFields::Add(const QString& name) {
    return *mItems.Add(std::make_shared<TARMOField>(name), name);
}
