#pragma once

#include "DatabaseTree.h"
#include "ExplorerBar.h"
#include "FakeDispatch.h"
#include "ScriptedPrompts.h"
#include "TARMODatabase.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "TestSupport.h"
#include "mdiMain.h"

#include "ChildWindowArea.h"
#include <QMdiSubWindow>

#include <gtest/gtest.h>

// A main window opened on a project, with the fake object model behind it and object windows made
// as FakeChild.
class MainWindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        database = std::make_unique<TARMODatabase>();
        auto project = std::make_shared<TARMOProject>();
        project->SetName(QStringLiteral("Sales"));
        project->SQL().SetServer(QStringLiteral("embedded:/srv/sales"));
        project->SQL().SetDatabase(QStringLiteral("SalesDB"));
        project->SQL().SetUserName(QStringLiteral("sa"));
        project->VSS().SetProject(QStringLiteral("$\\Sales\\"));
        project->VSS().SetUserName(QStringLiteral("Anna"));
        database->SetProject(project);
        window = std::make_unique<mdiMain>();
        window->SetDispatch(&dispatch);
        window->Factories().OpenObjectWindow = [this](TARMODatabase&,
                                                      std::shared_ptr<DispatchedObject> object) {
            auto* child =
                new FakeChild(*window, log, object->ObjectType(), QStringLiteral("I") + object->DBID());
            child->setWindowTitle(object->Name());
            child->mObject = object;
            return child;
        };
        window->SetLoading(true);
        window->Init(*database);
        window->SetCaption(QStringLiteral("Sales - TARMO"));
        window->InitDBT(2865);
        window->SetGeometry(8580, 12000, WindowState::Normal);
        window->SetLoading(false);
        window->ShowWindow();
    }

    DatabaseTree& tree() { return *window->tvwDBT(); }
    ExplorerBar& panel() { return *window->ebcExtraInfo(); }

    // The node at a path of texts from the top level, or nullptr.
    QTreeWidgetItem* node(const QStringList& path) {
        QTreeWidgetItem* found = nullptr;
        for (const QString& text : path) {
            const int count = found ? found->childCount() : tree().topLevelItemCount();
            QTreeWidgetItem* next = nullptr;
            for (int i = 0; i < count && !next; ++i) {
                QTreeWidgetItem* candidate = found ? found->child(i) : tree().topLevelItem(i);
                if (candidate->text(0) == text)
                    next = candidate;
            }
            if (!next)
                return nullptr;
            found = next;
        }
        return found;
    }
    // Opens the nodes along the path as the user would, and gives the last one.
    QTreeWidgetItem* open(const QStringList& path) {
        QTreeWidgetItem* last = nullptr;
        for (int i = 1; i <= path.size(); ++i) {
            last = node(path.mid(0, i));
            if (!last)
                return nullptr;
            last->setExpanded(true);
        }
        return last;
    }
    void select(QTreeWidgetItem* item) {
        if (item)
            tree().setCurrentItem(item);
        else
            tree().clearSelection();
        window->UpdateContextPanel();
    }
    static QStringList childTexts(QTreeWidgetItem* item) {
        QStringList texts;
        for (int i = 0; i < item->childCount(); ++i)
            texts << item->child(i)->text(0);
        return texts;
    }
    FakeChild* addChild(const QString& title, const QString& tag = {}, const QString& key = {}) {
        auto* child = new FakeChild(*window, log, tag, key);
        child->setWindowTitle(title);
        window->AddChildWindow(child);
        return child;
    }

    IsolatedUserFolders folders;
    ScriptedPromptsScope prompts;
    FakeDispatch dispatch;
    QStringList log;
    std::unique_ptr<TARMODatabase> database;
    std::unique_ptr<mdiMain> window;
};
