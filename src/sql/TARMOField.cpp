#include "TARMOField.h"

#include "TARMOFields.h"

TARMOField::TARMOField(const QString& name)
    : mName(name)
    , mChildren(std::make_unique<TARMOFields>()) {}

TARMOField::~TARMOField() = default;
