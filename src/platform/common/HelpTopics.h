#pragma once

// The topics of the help file. The numbers are the topic ids the help file was built with, so they
// must not change; the help factory takes them as long.
enum class HelpTopic : long {
    Introduction = 1,
    StoreProject = 10,
    Login = 11,
    ProjectBrowser = 21,
    ProjectWizard = 22,
    MainWindow = 23,
    ChangesMade = 29,
    DatabaseTree = 34,
    ObjectEditWindow = 35,
    Descriptions = 36,
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
