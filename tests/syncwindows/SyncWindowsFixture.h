#pragma once

#include "CoreDispatch.h"
#include "ScriptedPrompts.h"
#include "SyncRun.h"
#include "TARMODatabase.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "TestSupport.h"

#include <QApplication>
#include <QDialog>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

// The demo project in a temporary folder, opened as the core does, with differences of all three
// kinds: the demo's procedure on the server alone (dbo.ListCities) and in the store alone
// (dbo.PurgeOldOrders), and three objects whose server text was changed behind the store's back.
// dbo.CustomerTotal is among them and is checked out by another developer, so the store refuses to
// take its server text: a row whose action towards the store fails.
class SyncWindowsTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    TARMODatabaseObjects& objects() { return dispatch->Objects(); }
    // The differences a fresh compare finds, as "owner.name kind".
    QStringList differences();
    // The lines of the project's history of synchronizations.
    QStringList syncHistory();
    // The message boxes so far as "TITLE: TEXT".
    QStringList messages() const;

    IsolatedUserFolders folders;
    TempFolder folder;
    ScriptedPromptsScope prompts;
    TARMODatabase database;
    std::shared_ptr<TARMOProject> project;
    std::unique_ptr<CoreDispatch> dispatch;
};

// Acts on the next modal dialog of type T from inside its event loop. The steps window comes and
// goes before the results window, so the check looks again on each turn of the loop until a T is
// there. A dialog that the action leaves open is ended, so that a failed expectation can't hang
// the test.
template <typename T> class WhenShown {
public:
    explicit WhenShown(std::function<void(T*)> act)
        : mState(std::make_shared<State>()) {
        mState->act = std::move(act);
        arm(mState, 5000);
    }
    ~WhenShown() { mState->alive = false; }
    WhenShown(const WhenShown&) = delete;
    WhenShown& operator=(const WhenShown&) = delete;
    bool Shown() const { return mState->shown; }

private:
    struct State {
        std::function<void(T*)> act;
        bool alive = true;
        bool shown = false;
    };
    static void arm(const std::shared_ptr<State>& state, int triesLeft) {
        QTimer::singleShot(0, [state, triesLeft] {
            if (!state->alive || state->shown)
                return;
            if (auto* dialog = qobject_cast<T*>(QApplication::activeModalWidget())) {
                state->shown = true;
                state->act(dialog);
                if (dialog->isVisible())
                    dialog->done(QDialog::Rejected);
            } else if (triesLeft > 0) {
                arm(state, triesLeft - 1);
            }
        });
    }
    std::shared_ptr<State> mState;
};
