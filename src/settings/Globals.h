#pragma once

#include <QString>

#include <memory>

class TARMODatabase;

// The process-wide objects. gDatabase is made in the start-up and lives until the process ends.
extern std::unique_ptr<TARMODatabase> gDatabase;

namespace App {
int MajorVersion();
int MinorVersion();
// "2.0"
QString VersionText();
// "TARMO v2.0 Professional": the product's name in the start-up's texts.
QString ProductName();
} // namespace App
