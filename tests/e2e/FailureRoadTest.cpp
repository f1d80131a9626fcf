#include "ChildWindowArea.h"
#include "CoreDispatch.h"
#include "DatabaseTree.h"
#include "DemoSeed.h"
#include "DemoWindowFixture.h"
#include "GeneralHelpers.h"
#include "LastResortHandlers.h"
#include "OdbcConnection.h"
#include "RecoveryFiles.h"
#include "SQLTextEditor.h"
#include "ScriptedPrompts.h"
#include "SqlEditControl.h"
#include "TARMODatabase.h"
#include "TARMOObjectVSS.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "TdsListener.h"
#include "TestSupport.h"
#include "VSSBulkReader.h"
#include "frmEditObjectText.h"
#include "frmSQLQuery.h"
#include "mdiMain.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QMdiSubWindow>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

// What goes away under a running program: the store, the working folder, the server, the right to
// write a file. Each road ends in a message and a window that still takes the next command.
class FailureRoadTest : public DemoWindowFixture {
protected:
    QTreeWidgetItem* topNode(const QString& text) {
        for (int i = 0; i < window.tvwDBT()->topLevelItemCount(); ++i)
            if (window.tvwDBT()->topLevelItem(i)->text(0) == text)
                return window.tvwDBT()->topLevelItem(i);
        return nullptr;
    }
    QTreeWidgetItem* procedures() { return topNode(QStringLiteral("Stored Procedures")); }
    frmEditObjectText* openProcedure(const QString& name) {
        QTreeWidgetItem* list = procedures();
        if (!list)
            return nullptr;
        list->setExpanded(true);
        for (int i = 0; i < list->childCount(); ++i)
            if (list->child(i)->text(0) == name) {
                window.tvwDBT()->setCurrentItem(list->child(i));
                window.DoCommand(Command::Edit);
                return qobject_cast<frmEditObjectText*>(window.ActiveForm());
            }
        return nullptr;
    }
    void key(QWidget* form, Qt::Key k) {
        auto* editor = dynamic_cast<EditorChildWindow*>(form);
        ASSERT_NE(editor, nullptr);
        QTest::keyClick(editor->txtSQL()->ctrlHWnd(), k, Qt::ControlModifier);
    }
    // The program still runs and answers: a refresh of the whole tree goes through and the tree
    // still shows its lists.
    void expectStillAnswers() {
        window.DoCommand(Command::RefreshTree);
        EXPECT_NE(procedures(), nullptr);
        EXPECT_FALSE(window.tvwDBT()->isHidden());
        EXPECT_EQ(prompts->BusyDepth(), 0) << "the busy state ended with the failed command";
    }
    qsizetype messages() { return prompts->Records().size(); }
    QString lastMessage() {
        return prompts->Records().isEmpty() ? QString() : prompts->Records().last().text;
    }
};

TEST_F(FailureRoadTest, AStoreRemovedUnderAnOpenProjectIsToldOnExpandingAndTheNodeTriesAgain) {
    QTreeWidgetItem* list = procedures();
    ASSERT_NE(list, nullptr);
    const QString store = QFileInfo(project->VSS().IniFile()).absolutePath();
    VSSBulkReader::Release();
    ASSERT_TRUE(QDir(store).removeRecursively());

    list->setExpanded(true);
    ASSERT_GT(messages(), 0) << "the expansion tells what it could not read";
    EXPECT_FALSE(lastMessage().isEmpty());
    ASSERT_EQ(list->childCount(), 1) << "the node keeps its placeholder, so a later opening retries";
    EXPECT_EQ(DatabaseTree::NodeTag(list->child(0)), QStringLiteral("temp"));
    EXPECT_FALSE(list->isExpanded());

    const qsizetype before = messages();
    list->setExpanded(true);
    EXPECT_GT(messages(), before) << "the second opening read again";
    expectStillAnswers();
}

TEST_F(FailureRoadTest, AStoreIniRemovedUnderAnOpenProjectIsTold) {
    QTreeWidgetItem* list = procedures();
    ASSERT_NE(list, nullptr);
    VSSBulkReader::Release();
    ASSERT_TRUE(QFile::remove(project->VSS().IniFile()));

    list->setExpanded(true);
    EXPECT_GT(messages(), 0);
    expectStillAnswers();
}

TEST_F(FailureRoadTest, WithoutTheWorkingFolderNewCheckOutAndGetAreToldAndNothingStaysHalfDone) {
    frmEditObjectText* form = openProcedure(QStringLiteral("GetCustomerOrders"));
    ASSERT_NE(form, nullptr);
    const auto object = form->CurrentObject()->Versioned();
    ASSERT_FALSE(object->IsCheckedOutByMe());
    ASSERT_TRUE(QDir(project->VSS().GeneralWorkingFolder()).removeRecursively());

    qsizetype before = messages();
    key(form, Qt::Key_O);
    EXPECT_GT(messages(), before) << "the check-out tells why it failed";
    EXPECT_FALSE(object->IsCheckedOutByMe()) << "a check-out without its working file is undone";
    EXPECT_TRUE(form->txtSQL()->Locked());

    ASSERT_TRUE(QDir(project->VSS().GeneralWorkingFolder()).removeRecursively());
    before = messages();
    window.DoCommand(Command::GetLatest);
    EXPECT_GT(messages(), before) << "the get tells why it failed";

    ASSERT_TRUE(QDir(project->VSS().GeneralWorkingFolder()).removeRecursively());
    before = messages();
    window.DoCommand(Command::NewObject);
    EXPECT_GT(messages(), before) << "the new object tells why it failed";
    expectStillAnswers();
}

TEST_F(FailureRoadTest, AServerGoneMidSessionIsToldOnRefreshAndOnOpening) {
    QString server = project->SQL().Server();
    ASSERT_TRUE(server.startsWith(QLatin1String("embedded:")));
    server.remove(0, int(qstrlen("embedded:")));
    procedures()->setExpanded(true);
    ASSERT_TRUE(QDir(server).removeRecursively());

    window.DoCommand(Command::RefreshTree);
    const qsizetype afterRefresh = messages();
    openProcedure(QStringLiteral("AddOrder"));
    EXPECT_GT(messages(), 0) << "a refresh or an opening tells that the server went";
    EXPECT_GE(messages(), afterRefresh);
    expectStillAnswers();
}

TEST_F(FailureRoadTest, AReadOnlyWorkingFileRefusesTheSaveAndKeepsTheText) {
    frmEditObjectText* form = openProcedure(QStringLiteral("GetCustomerOrders"));
    ASSERT_NE(form, nullptr);
    key(form, Qt::Key_O);
    const auto object = form->CurrentObject()->Versioned();
    ASSERT_TRUE(object->IsCheckedOutByMe());
    form->txtSQL()->ctrlHWnd()->setCursorPosition(1, 0);
    QTest::keyClicks(form->txtSQL()->ctrlHWnd(), QStringLiteral("-- kept"));
    ASSERT_TRUE(form->txtSQL()->IsModified());
    SetReadOnlyFile(object->FileName(), true);

    const qsizetype before = messages();
    window.DoCommand(Command::SaveText);
    EXPECT_GT(messages(), before) << "the save tells that the file could not be written";
    EXPECT_TRUE(form->txtSQL()->IsModified());
    EXPECT_TRUE(form->txtSQL()->Text().contains(QLatin1String("-- kept")));
    expectStillAnswers();
    EXPECT_TRUE(form->txtSQL()->Text().contains(QLatin1String("-- kept"))) << "a refresh keeps the edits";
}

namespace {
// The recovery files of the folder whose text holds needle.
QStringList filesHolding(const QString& folder, const QString& needle) {
    QStringList found;
    for (QDirIterator it(folder, QDir::Files); it.hasNext();) {
        const QString path = it.next();
        QFile file(path);
        if (file.open(QIODevice::ReadOnly) && QString::fromUtf8(file.readAll()).contains(needle))
            found << path;
    }
    return found;
}
} // namespace

TEST_F(FailureRoadTest, UnsavedTextIsKeptAfterAPauseAndGoesWithTheSave) {
    RecoveryFiles recovery(folder.Path(QStringLiteral("recovery")));
    InstallLastResortHandlers(recovery);
    ASSERT_EQ(InstalledRecoveryFiles(), &recovery);

    window.DoCommand(Command::NewQueryWindow);
    auto* query = qobject_cast<frmSQLQuery*>(window.ActiveForm());
    ASSERT_NE(query, nullptr);
    QTest::keyClicks(query->txtSQL()->ctrlHWnd(), QStringLiteral("SELECT 4711"));
    EXPECT_TRUE(query->TypingPause()->isActive()) << "the text is taken after a pause, not on each key";
    EXPECT_TRUE(query->TypingPause()->isSingleShot());

    query->KeepUnsavedText();
    EXPECT_EQ(recovery.SnapshotAll(), 1);
    EXPECT_EQ(filesHolding(recovery.Folder(), QStringLiteral("SELECT 4711")).size(), 1);

    prompts->QueueFile(folder.Path(QStringLiteral("query.sql")));
    window.DoCommand(Command::SaveText);
    ASSERT_FALSE(query->txtSQL()->IsModified());
    EXPECT_EQ(recovery.SnapshotAll(), 0) << "a saved text is nothing to recover";
    EXPECT_TRUE(filesHolding(recovery.Folder(), QStringLiteral("SELECT 4711")).isEmpty());

    // An object window keeps its edits the same way, and a failed save keeps them on.
    frmEditObjectText* form = openProcedure(QStringLiteral("GetCustomerOrders"));
    ASSERT_NE(form, nullptr);
    key(form, Qt::Key_O);
    QTest::keyClicks(form->txtSQL()->ctrlHWnd(), QStringLiteral("-- mine"));
    form->KeepUnsavedText();
    SetReadOnlyFile(form->CurrentObject()->Versioned()->FileName(), true);
    window.DoCommand(Command::SaveText);
    EXPECT_EQ(recovery.SnapshotAll(), 1) << "the save failed: the text is still kept";
    SetReadOnlyFile(form->CurrentObject()->Versioned()->FileName(), false);
    window.DoCommand(Command::SaveText);
    EXPECT_EQ(recovery.SnapshotAll(), 0);
}

TEST_F(FailureRoadTest, ARecoveredTextOpensAsAnUnsavedQueryWindow) {
    ASSERT_TRUE(window.OpenRecoveredText(QStringLiteral("Orders (Stored Procedure) - Edit"),
                                         QStringLiteral("SELECT 1 AS lost")));
    auto* query = qobject_cast<frmSQLQuery*>(window.ActiveForm());
    ASSERT_NE(query, nullptr);
    EXPECT_TRUE(query->Caption().contains(QLatin1String("Recovered")));
    EXPECT_TRUE(query->Caption().contains(QLatin1String("Orders")));
    EXPECT_EQ(query->txtSQL()->Text(), QStringLiteral("SELECT 1 AS lost"));
    EXPECT_TRUE(query->txtSQL()->IsModified()) << "closing it asks before the text is lost";
}

namespace {

// The demo's server served over TDS and reached through ODBC, as a real server is: the listener can
// then stop under the running program.
class StoppedServerRoadTest : public FailureRoadTest {
protected:
    void Configure() override {
        if (!OdbcConnection::InstalledDrivers().contains(QStringLiteral("FreeTDS")))
            GTEST_SKIP() << "the FreeTDS ODBC driver is not installed (scripts/setup installs it)";
        QString served = project->SQL().Server();
        ASSERT_TRUE(served.startsWith(QLatin1String("embedded:")));
        served.remove(0, int(qstrlen("embedded:")));
        listener = std::make_unique<TdsListener>(served);
        const uint16_t port = listener->Start(QStringLiteral("127.0.0.1"), 0);
        OdbcConnection::SetDriverName(QStringLiteral("FreeTDS"));
        project->SQL().CloseConnection();
        ASSERT_EQ(project->SQL().OpenConnection(QStringLiteral("127.0.0.1,%1").arg(port),
                                                QStringLiteral("Demo"), QStringLiteral("sa"),
                                                QStringLiteral("demo"), 0, true),
                  QString());
    }
    void TearDown() override {
        FailureRoadTest::TearDown();
        OdbcConnection::SetDriverName(QString());
    }

    std::unique_ptr<TdsListener> listener;
};

} // namespace

TEST_F(StoppedServerRoadTest, AServerStoppedMidSessionIsToldAndTheWindowGoesOn) {
    procedures()->setExpanded(true);
    ASSERT_GT(procedures()->childCount(), 0) << "the lists came through the listener";
    ASSERT_EQ(messages(), 0);
    listener->Stop();

    window.DoCommand(Command::RefreshTree);
    openProcedure(QStringLiteral("AddOrder"));
    ASSERT_GT(messages(), 0) << "a refresh or an opening tells that the server stopped";
    EXPECT_TRUE(prompts->Records().first().text.contains(QStringLiteral("connection to the server was lost")))
        << qPrintable(prompts->Records().first().text);
    expectStillAnswers();
}
