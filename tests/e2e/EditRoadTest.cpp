#include "ChildWindowArea.h"
#include "CoreDispatch.h"
#include "DatabaseTree.h"
#include "DemoSeed.h"
#include "DemoWindowFixture.h"
#include "ModalAnswer.h"
#include "SQLTextEditor.h"
#include "ScreenMetrics.h"
#include "ScriptedPrompts.h"
#include "SqlEditControl.h"
#include "StatusPanels.h"
#include "TARMODatabase.h"
#include "TARMOObjectVSS.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "TestSupport.h"
#include "VSSBulkReader.h"
#include "frmComment.h"
#include "frmEditObjectText.h"
#include "frmEditObjectTextSavePrompt.h"
#include "mdiMain.h"

#include <QAction>
#include <QMdiSubWindow>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

#include <gtest/gtest.h>

// The main road over the demo project, driven as a user drives it: a click in the tree, the shortcut
// keys in the editor, the comment typed into its dialog.
class EditRoadTest : public DemoWindowFixture {
protected:
    void Configure() override { database.SetShowCommentPrompt(true); }

    QTreeWidgetItem* procedures() {
        for (int i = 0; i < window.tvwDBT()->topLevelItemCount(); ++i)
            if (window.tvwDBT()->topLevelItem(i)->text(0) == QLatin1String("Stored Procedures"))
                return window.tvwDBT()->topLevelItem(i);
        return nullptr;
    }
    QStringList procedureNames() {
        QStringList names;
        QTreeWidgetItem* list = procedures();
        for (int i = 0; list && i < list->childCount(); ++i)
            names << list->child(i)->text(0);
        return names;
    }
    QTreeWidgetItem* procedure(const QString& name) {
        QTreeWidgetItem* list = procedures();
        for (int i = 0; list && i < list->childCount(); ++i)
            if (list->child(i)->text(0) == name)
                return list->child(i);
        return nullptr;
    }
    bool nodeShows(QTreeWidgetItem* node, const char* icon) {
        return DatabaseTree::NodeImage(node) == window.GetIconIndex(QString::fromLatin1(icon), false);
    }
    frmEditObjectText* activeEditWindow() { return qobject_cast<frmEditObjectText*>(window.ActiveForm()); }

    static void typeLine(frmEditObjectText* form, const QString& text) {
        QTest::keyClicks(form->txtSQL()->ctrlHWnd(), text);
        QTest::keyClick(form->txtSQL()->ctrlHWnd(), Qt::Key_Return);
    }
    void key(frmEditObjectText* form, Qt::Key k) {
        QTest::keyClick(form->txtSQL()->ctrlHWnd(), k, Qt::ControlModifier);
    }
    // Opens a procedure by a double click on its node, as the user does.
    frmEditObjectText* openByDoubleClick(const QString& name) {
        QTreeWidgetItem* list = procedures();
        list->setExpanded(true);
        QTreeWidgetItem* node = procedure(name);
        if (!node)
            return nullptr;
        window.tvwDBT()->setCurrentItem(node);
        const QRect rect = window.tvwDBT()->visualItemRect(node);
        QTest::mouseDClick(window.tvwDBT()->viewport(), Qt::LeftButton, {}, rect.center());
        return activeEditWindow();
    }
    std::shared_ptr<TARMOObjectVSS> versioned(frmEditObjectText* form) {
        return form->CurrentObject()->Versioned();
    }
    QString serverText(const QString& name) {
        auto rows = project->SQL().OpenRecordset(
            QStringLiteral(
                "SELECT c.text FROM syscomments c JOIN sysobjects o ON o.id = c.id WHERE o.name = '") +
            name + QLatin1Char('\''));
        QString text;
        for (; !rows->Eof(); rows->MoveNext())
            text += rows->Text(QStringLiteral("text"));
        return text;
    }
    // Types a comment into the check-in dialog and confirms it.
    static std::unique_ptr<ModalAnswer> answerComment(const QString& comment) {
        return std::make_unique<ModalAnswer>([comment](QDialog* dialog) {
            auto* form = qobject_cast<frmComment*>(dialog);
            ASSERT_NE(form, nullptr);
            QTest::keyClicks(form->txtComment(), comment);
            form->cmdOK()->click();
        });
    }
};

TEST_F(EditRoadTest, OpenCheckOutEditTestAndCheckInAProcedure) {
    frmEditObjectText* form = openByDoubleClick(QStringLiteral("GetCustomerOrders"));
    ASSERT_NE(form, nullptr) << "a double click opens the object's window";
    EXPECT_EQ(form->Caption(), QStringLiteral("GetCustomerOrders (Stored Procedure) - Edit [Read Only]"));
    EXPECT_TRUE(form->txtSQL()->Locked());
    EXPECT_TRUE(form->CanCheckOut());
    EXPECT_FALSE(form->CanCheckIn());
    EXPECT_EQ(form->StatusBar()->PanelText(QStringLiteral("Status")), QStringLiteral("Ready."));
    const auto object = versioned(form);
    const long versionsBefore = object->History().size();

    key(form, Qt::Key_O);
    EXPECT_EQ(form->Caption(), QStringLiteral("GetCustomerOrders (Stored Procedure) - Edit"));
    EXPECT_FALSE(form->txtSQL()->Locked()) << "the working file became writable";
    EXPECT_TRUE(form->CanCheckIn());
    EXPECT_TRUE(nodeShows(procedure(QStringLiteral("GetCustomerOrders")), "STOREDPROCEDURE:CHECKEDOUT"));

    const QString original = form->txtSQL()->Text();
    ASSERT_TRUE(original.startsWith(QLatin1String("CREATE PROCEDURE"))) << qPrintable(original);
    form->txtSQL()->ctrlHWnd()->setCursorPosition(1, 0);
    typeLine(form, QStringLiteral("-- reviewed by the road test"));
    EXPECT_TRUE(form->txtSQL()->IsModified());

    key(form, Qt::Key_T);
    EXPECT_EQ(prompts->Messages(), QStringList{QStringLiteral("Syntax is OK")});

    auto commented = answerComment(QStringLiteral("Reviewed"));
    key(form, Qt::Key_I);
    EXPECT_TRUE(commented->Answered()) << "the comment was asked for";

    EXPECT_TRUE(serverText(QStringLiteral("GetCustomerOrders"))
                    .contains(QLatin1String("-- reviewed by the road test")));
    const auto history = object->History();
    ASSERT_EQ(history.size(), versionsBefore + 1);
    EXPECT_EQ(history.at(1).Comment(), QStringLiteral("Reviewed")) << "from element 1, the newest first";
    const QString stored = object->GetContent(TARMOObjectVSS::LocationVSS);
    EXPECT_TRUE(stored.startsWith(QLatin1String("CREATE PROCEDURE"))) << qPrintable(stored.left(40));
    EXPECT_TRUE(stored.contains(QLatin1String("-- reviewed by the road test")));
    EXPECT_TRUE(nodeShows(procedure(QStringLiteral("GetCustomerOrders")), "STOREDPROCEDURE:CHECKEDIN"));
    EXPECT_TRUE(form->Caption().endsWith(QLatin1String(" [Read Only]")));
    EXPECT_TRUE(form->txtSQL()->Locked());
    EXPECT_FALSE(form->txtSQL()->IsModified());
    Screenshot(&window, QStringLiteral("e2e-checked-in"));
}

TEST_F(EditRoadTest, AFailingSyntaxTestLeavesBothStoresAlone) {
    frmEditObjectText* form = openByDoubleClick(QStringLiteral("AddOrder"));
    ASSERT_NE(form, nullptr);
    key(form, Qt::Key_O);
    const auto object = versioned(form);
    const QString serverBefore = serverText(QStringLiteral("AddOrder"));
    const long versionsBefore = object->History().size();

    form->txtSQL()->SetText(QStringLiteral("CREATE PROCEDURE dbo.AddOrder AS SELEC FROM"));
    auto commented = answerComment(QStringLiteral("never asked"));
    key(form, Qt::Key_I);
    EXPECT_FALSE(commented->Answered()) << "the syntax is tested before the comment is asked for";
    EXPECT_FALSE(prompts->Messages().isEmpty()) << "the object reports the failure";
    EXPECT_EQ(serverText(QStringLiteral("AddOrder")), serverBefore);
    EXPECT_EQ(object->History().size(), versionsBefore);
    EXPECT_TRUE(object->IsCheckedOutByMe());
    EXPECT_TRUE(form->txtSQL()->IsModified()) << "the edits stay in the window";
    Screenshot(&window, QStringLiteral("e2e-failed-test"));
}

TEST_F(EditRoadTest, ANewProcedureCheckedInLandsInTheTreeInNameOrder) {
    procedures()->setExpanded(true);
    QAction* entry = nullptr;
    for (QAction* action : window.Menus().Menu(QStringLiteral("mnuNew"))->actions())
        if (action->text() == QLatin1String("New &Stored Procedure"))
            entry = action;
    ASSERT_NE(entry, nullptr);
    entry->trigger();
    frmEditObjectText* form = activeEditWindow();
    ASSERT_NE(form, nullptr);
    EXPECT_EQ(form->Caption(), QStringLiteral("New (Stored Procedure)"));
    EXPECT_EQ(form->ObjectKey(), QStringLiteral("NEW"));
    EXPECT_TRUE(form->CanCheckIn());
    EXPECT_FALSE(form->CanCheckOut());
    EXPECT_FALSE(form->CanShowHistory());
    EXPECT_TRUE(form->txtSQL()->Text().isEmpty()) << "without a default text a new object starts empty";

    QTest::keyClicks(form->txtSQL()->ctrlHWnd(),
                     QStringLiteral("CREATE PROCEDURE dbo.BackOrders AS SELECT 1"));
    EXPECT_FALSE(form->SaveText(true)) << "the save dialog was cancelled";
    ASSERT_EQ(prompts->Records().size(), 1);
    EXPECT_EQ(prompts->Records().first().title, QStringLiteral("Save Stored Procedure"));
    EXPECT_TRUE(form->txtSQL()->IsModified());
    auto commented = answerComment(QString());
    key(form, Qt::Key_I);
    EXPECT_TRUE(commented->Answered());

    EXPECT_EQ(form->Caption(), QStringLiteral("BackOrders (Stored Procedure) - Edit [Read Only]"));
    EXPECT_FALSE(form->IsNewObjectWindow());
    EXPECT_TRUE(form->ObjectKey().startsWith(QLatin1Char('I')));
    const QStringList names = procedureNames();
    ASSERT_TRUE(names.contains(QStringLiteral("BackOrders"))) << qPrintable(names.join(QLatin1Char(',')));
    QStringList sorted = names;
    std::sort(sorted.begin(), sorted.end(),
              [](const QString& a, const QString& b) { return a.compare(b, Qt::CaseInsensitive) < 0; });
    EXPECT_EQ(names, sorted);
    EXPECT_TRUE(nodeShows(procedure(QStringLiteral("BackOrders")), "STOREDPROCEDURE:CHECKEDIN"));
    Screenshot(&window, QStringLiteral("e2e-new-checked-in"));
}

TEST_F(EditRoadTest, UndoCheckOutAsksOnlyWhenTheTextChanged) {
    frmEditObjectText* form = openByDoubleClick(QStringLiteral("GetCustomerOrders"));
    ASSERT_NE(form, nullptr);
    const auto object = versioned(form);

    key(form, Qt::Key_O);
    EXPECT_TRUE(form->UndoCheckout(true));
    EXPECT_TRUE(prompts->Records().isEmpty()) << "nothing changed: no question";
    EXPECT_FALSE(object->IsCheckedOutByMe());

    key(form, Qt::Key_O);
    typeLine(form, QStringLiteral("-- x"));
    prompts->QueueAnswer(Prompt::Answer::No);
    EXPECT_FALSE(form->UndoCheckout(true));
    EXPECT_TRUE(object->IsCheckedOutByMe());
    ASSERT_EQ(prompts->Records().size(), 1);
    EXPECT_EQ(prompts->Records().first().title, QStringLiteral("Undo Checkout?"));

    prompts->QueueAnswer(Prompt::Answer::Yes);
    EXPECT_TRUE(form->UndoCheckout(true));
    EXPECT_FALSE(object->IsCheckedOutByMe());
    EXPECT_FALSE(form->txtSQL()->Text().contains(QLatin1String("-- x")));
    EXPECT_TRUE(nodeShows(procedure(QStringLiteral("GetCustomerOrders")), "STOREDPROCEDURE:CHECKEDIN"));
}

// Closing a window with changes, under each setting of the closing question and each default.
TEST_F(EditRoadTest, ClosingWithChangesFollowsTheSettings) {
    struct Case {
        bool ask;
        long defaultCode;
        long answer; // what the user picks when asked; 0 cancels
        bool closes;
        bool stillCheckedOut;
        const char* onClose; // what the status bar promises
    };
    const Case cases[] = {
        {false, 4, 0, true, true,
         "On Closing this item all changes will be Discarded but will remain Checked Out"},
        {false, 5, 0, true, false,
         "On Closing this item all changes will be Discarded and Checkout will be Undone"},
        // 3 isn't an action of an existing object: asked, with nothing preselected, and nothing promised
        {false, 3, 5, true, false, ""},
        {true, 4, 0, false, true, ""}, // asked, cancelled: the window stays
        {true, 2, 2, true, true, ""},  // asked, save the text
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "ask " << c.ask << " default " << c.defaultCode);
        database.SetShowSaveChangesEdit(c.ask);
        database.SetSaveChangesEditDefault(c.defaultCode);
        frmEditObjectText* form = openByDoubleClick(QStringLiteral("AddOrder"));
        ASSERT_NE(form, nullptr);
        const auto object = versioned(form);
        if (!object->IsCheckedOutByMe())
            key(form, Qt::Key_O);
        typeLine(form, QStringLiteral("-- edit"));
        form->RefreshStatusBar();
        EXPECT_EQ(form->StatusBar()->PanelText(QStringLiteral("OnClose")), QString::fromLatin1(c.onClose));
        QPointer<frmEditObjectText> guard(form);

        long preselected = -1;
        ModalAnswer asked([&](QDialog* dialog) {
            auto* prompt = qobject_cast<frmEditObjectTextSavePrompt*>(dialog);
            ASSERT_NE(prompt, nullptr);
            preselected = 0;
            for (QRadioButton* option : prompt->opt())
                if (option->isChecked())
                    preselected = option->property("tag").toLongLong();
            for (QRadioButton* option : prompt->opt())
                if (option->property("tag").toLongLong() == c.answer)
                    option->setChecked(true);
            (c.answer ? prompt->cmdOK() : prompt->cmdCancel())->click();
        });
        const bool closed = form->CloseItem(false);
        QCoreApplication::processEvents();
        EXPECT_EQ(asked.Answered(), c.ask || c.defaultCode == 3);
        if (c.defaultCode == 3) {
            EXPECT_EQ(preselected, 0);
        }
        EXPECT_EQ(closed, c.closes);
        EXPECT_EQ(guard.isNull() || !guard->isVisible(), c.closes);
        object->RefreshState();
        EXPECT_EQ(object->IsCheckedOutByMe(), c.stillCheckedOut);
        if (!c.closes)
            guard->CloseItem(true);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

TEST_F(EditRoadTest, AWindowOpensAtTheSizeTheUserLastGaveOne) {
    frmEditObjectText* form = openByDoubleClick(QStringLiteral("AddOrder"));
    ASSERT_NE(form, nullptr);
    auto* sub = qobject_cast<QMdiSubWindow*>(form->parentWidget());
    ASSERT_NE(sub, nullptr);
    sub->resize(600, 420);
    const double twips = ScreenMetrics::Current().twipsPerPixelX;
    EXPECT_EQ(database.ChildWindowWidth(), static_cast<long>(600 * twips));
    EXPECT_EQ(database.ChildWindowHeight(), static_cast<long>(420 * ScreenMetrics::Current().twipsPerPixelY));
    EXPECT_EQ(database.ChildWindowState(), WindowState::Normal);
    form->CloseItem(false);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    form = openByDoubleClick(QStringLiteral("GetCustomerOrders"));
    ASSERT_NE(form, nullptr);
    EXPECT_EQ(form->parentWidget()->size(), QSize(600, 420));
}
