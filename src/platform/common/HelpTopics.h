#pragma once

// The topics of the help file. The numbers are the topic ids the help file was built with, so they
// must not change; the help factory takes them as long.
enum class HelpTopic : long {
    MainWindow = 23,
    DatabaseTree = 34,
    ObjectEditWindow = 35,
    Permissions = 39,
    Rename = 45,
    Undelete = 47,
    History = 48,
    Synchronization = 50,
    QueryWindow = 56,
};

constexpr long HelpId(HelpTopic topic) {
    return static_cast<long>(topic);
}
