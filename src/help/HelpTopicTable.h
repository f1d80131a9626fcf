#pragma once

#include <array>

// The pages of the manual by topic id: entry n-1 is topic n, "page" or "page#anchor". The ids are
// what the windows pass for F1, so they never move. The help build reads this table too, to refuse
// a manual that lacks one of these pages: keep one quoted entry a line.
inline constexpr std::array<const char*, 67> kHelpTopicTable = {
    "Introduction.htm",                        // 1
    "GettingStarted.htm",                      // 2
    "GettingStarted_Firstly.htm",              // 3
    "GettingStarted_Step1.htm",                // 4
    "GettingStarted_Step2.htm",                // 5
    "GettingStarted_Step2.htm#ProjectDetails", // 6
    "GettingStarted_Step2.htm#SQLServer",      // 7
    "GettingStarted_Step2.htm#SQLDB",          // 8
    "GettingStarted_Step2.htm#VSSDB",          // 9
    "GettingStarted_Step2.htm#VSSProject",     // 10
    "GettingStarted_Step2.htm#OpenProject",    // 11
    "GettingStarted_Step3.htm",                // 12
    "GettingStarted_Step4.htm",                // 13
    "GettingStarted_Step4.htm#Create",         // 14
    "GettingStarted_Step4.htm#Edit",           // 15
    "GettingStarted_Step5.htm",                // 16
    "GettingStarted_Step5.htm#ReadOnly",       // 17
    "GettingStarted_Step5.htm#Edit",           // 18
    "GettingStarted_Conclusion.htm",           // 19
    "ProjectManager.htm",                      // 20
    "ProjectManager.htm#Browser",              // 21
    "ProjectManager.htm#Wizard",               // 22
    "TheIDE.htm",                              // 23
    "Options.htm",                             // 24
    "Options.htm#General",                     // 25
    "Options.htm#View",                        // 26
    "Options.htm#DefaultTexts",                // 27
    "Options.htm#Editor",                      // 28
    "Options.htm#ChangesMade",                 // 29
    "Options.htm#NewObjects",                  // 30
    "Options.htm#EditingObjects",              // 31
    "Options.htm#ObjectPermissions",           // 32
    "Options.htm#Permissions",                 // 33
    "DBT.htm",                                 // 34
    "TheEditor.htm",                           // 35
    "Descriptions.htm",                        // 36
    "Descriptions.htm#Edit",                   // 37
    "Descriptions.htm#Save",                   // 38
    "Permissions.htm",                         // 39
    "Permissions.htm#Edit",                    // 40
    "Permissions.htm#Icons",                   // 41
    "Permissions.htm#Save",                    // 42
    "ObjectMaint.htm",                         // 43
    "ObjectMaint.htm#Editing",                 // 44
    "ObjectMaint.htm#Renaming",                // 45
    "ObjectMaint.htm#Deleting",                // 46
    "ObjectMaint.htm#Undeleting",              // 47
    "ObjectMaint.htm#History",                 // 48
    "ObjectMaint.htm#Rollback",                // 49
    "Synchronization.htm",                     // 50
    "Synchronization.htm#ActionButtons",       // 51
    "Synchronization.htm#Apply",               // 52
    "Synchronization.htm#Example",             // 53
    "Synchronization.htm#Single",              // 54
    "Synchronization.htm#Grouped",             // 55
    "SQLQuery.htm",                            // 56
    "Feedback.htm",                            // 57
    "Manual.htm",                              // 58
    "AutoDoc.htm",                             // 59
    "AutoDoc.htm#Settings",                    // 60
    "AutoDoc.htm#ModMan",                      // 61
    "ScriptGenerator.htm",                     // 62
    "ScriptGenerator.htm#VSS",                 // 63
    "ScriptGenerator.htm#Compare",             // 64
    "ScriptGenerator.htm#Complete",            // 65
    "ScriptGenerator.htm#Custom",              // 66
    "ScriptGenerator.htm#Destination",         // 67
};
