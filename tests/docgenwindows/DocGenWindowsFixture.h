#pragma once

#include "CoreDispatch.h"
#include "DemoProject.h"
#include "DocGenProject.h"
#include "ModalAnswer.h"

#include <QApplication>
#include <QPalette>

#include <gtest/gtest.h>

#include <memory>

// The demo project in a temporary folder, opened as the core does, and the source files of a small
// web shop that uses some of its objects:
//   shop/orders.php         dbo.AddOrder and [dbo].[CustomerSummary]
//   shop/lib/customers.inc  GetCustomerOrders, twice
//   shop/readme.txt         no object
class DocGenWindowsTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    TARMODatabaseObjects& objects() { return dispatch->Objects(); }
    QString projectName() const;
    QString shop(const QString& relative = {}) const {
        return folder.Path(QStringLiteral("shop/") + relative);
    }
    // Writes the project's settings with the module "Web Shop" over orders.php and customers.inc,
    // plus the files given, and the settings changed by adjust.
    void saveSettings(const QStringList& moreFiles = {},
                      const std::function<void(DocGenProject&)>& adjust = nullptr);
    // The project's settings as the file holds them now.
    DocGenProject storedSettings() const;
    // The message boxes so far as "TITLE: TEXT", without the file and folder dialogs.
    QStringList boxes() const;

    IsolatedUserFolders folders;
    TempFolder folder;
    ScriptedPromptsScope prompts;
    TARMODatabase database;
    std::shared_ptr<TARMOProject> project;
    std::unique_ptr<CoreDispatch> dispatch;
};

QString ReadText(const QString& path);
// The text of the main part of a .docx (word/document.xml); "" where it is no such package.
QString DocxBody(const QString& path);
void WriteText(const QString& path, const QString& text);

// A dark palette on a window for the time of the object, to look at it as a user of a dark
// desktop sees it.
class DarkPalette {
public:
    explicit DarkPalette(QWidget* window);
    ~DarkPalette() { mWindow->setPalette(mSaved); }
    DarkPalette(const DarkPalette&) = delete;
    DarkPalette& operator=(const DarkPalette&) = delete;

private:
    QWidget* mWindow;
    QPalette mSaved;
};
