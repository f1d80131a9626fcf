#include "ScriptFixture.h"

#include "ScriptedPrompts.h"
#include "TARMOObjectVSS.h"
#include "modParser.h"

#include <QFile>

namespace {

QString proc(const QString& name, const QString& body) {
    return QStringLiteral("CREATE PROCEDURE dbo.") + name + QStringLiteral(" AS ") + body;
}

QStringList sorted(QStringList list) {
    list.sort();
    return list;
}

} // namespace

// A time line in March: the frame runs from the 5th to the 20th.
class TimeFrameTest : public ScriptTest {
protected:
    // An object on the server and in the store whose first version is dated `born`; the ids of the
    // store files are kept by name.
    void Born(const QString& name, int day) {
        const QString item = InBoth(name, proc(name, QStringLiteral("SELECT 1")), QStringLiteral(".sp"),
                                    proc(name, QStringLiteral("SELECT 1"))) +
                             QStringLiteral(".sp");
        items[name] = item;
        DateVersion(item, 1, Day(day));
    }
    void Changed(const QString& name, int version, int day) {
        ASSERT_TRUE(vss.ChangeItemContent(items[name], proc(name, QStringLiteral("SELECT %1").arg(version))));
        DateVersion(items[name], version, Day(day));
    }
    void Deleted(const QString& name, int version, int day) {
        Exec(QStringLiteral("DROP PROCEDURE dbo.") + name);
        ASSERT_TRUE(vss.RemoveItem(items[name]));
        DateVersion(items[name], version, Day(day));
    }

    ScriptTimeFrame frame{Day(5), Day(20), false};
    QHash<QString, QString> items;
};

// Each object's fate in the frame: changed twice (its latest version inside), born, changed and
// then deleted after it, deleted inside, born and gone inside, and untouched.
TEST_F(TimeFrameTest, EachObjectAtItsLatestVersionInsideTheFrame) {
    Born(QStringLiteral("p_old"), 1);
    Changed(QStringLiteral("p_old"), 2, 10);
    Changed(QStringLiteral("p_old"), 3, 12);
    Changed(QStringLiteral("p_old"), 4, 25);
    Born(QStringLiteral("p_born"), 8);
    Born(QStringLiteral("p_later"), 1);
    Changed(QStringLiteral("p_later"), 2, 10);
    Deleted(QStringLiteral("p_later"), 3, 25);
    Born(QStringLiteral("p_gone"), 1);
    Deleted(QStringLiteral("p_gone"), 2, 15);
    Born(QStringLiteral("p_flash"), 6);
    Deleted(QStringLiteral("p_flash"), 2, 9);
    Born(QStringLiteral("p_quiet"), 1);

    creator.SetOptionSelected(static_cast<long>(ScriptMode::TimeFrame));
    ASSERT_EQ(builder->BuildTimeFrameList(frame), ScriptBuildOutcome::Found);
    EXPECT_EQ(sorted(Entries()), QStringList({"1:dbo.p_born@1", "2:dbo.p_later@2", "2:dbo.p_old@3",
                                              "3:dbo.p_gone@2", "4:dbo.p_flash@2"}));
    EXPECT_EQ(steps.Rows().last().Key, QStringLiteral("END"));
    EXPECT_EQ(steps.Rows().last().Status, QStringLiteral("Completed"));

    const QString script = QString::fromUtf8(WriteScript());
    EXPECT_TRUE(script.contains(QStringLiteral("CREATE PROCEDURE dbo.p_born AS SELECT 1\r\nGO")));
    // The version inside the frame, not the newest one, and a deleted object's text from its history.
    EXPECT_TRUE(script.contains(QStringLiteral("ALTER PROCEDURE dbo.p_old AS SELECT 3\r\nGO")));
    EXPECT_TRUE(script.contains(QStringLiteral("ALTER PROCEDURE dbo.p_later AS SELECT 2\r\nGO")));
    EXPECT_TRUE(script.contains(QStringLiteral("DROP PROCEDURE [dbo].[p_gone]")));
    EXPECT_FALSE(script.contains(QStringLiteral("p_flash")));
    EXPECT_FALSE(script.contains(QStringLiteral("p_quiet")));
    EXPECT_EQ(prompts->Messages(), QStringList());
    // The writing steps of a time frame script, each done.
    QStringList keys;
    for (const ScriptStep& step : steps.Rows()) {
        keys << step.Key;
        EXPECT_EQ(step.Status, QStringLiteral("Completed")) << qPrintable(step.Text);
    }
    EXPECT_EQ(keys, QStringList({"ADD", "UPDATE", "DROP", "SAVE"}));
    EXPECT_EQ(steps.Rows().first().Text, QStringLiteral("Step 1 - Create Script to Create Objects"));
}

// An object that came and went inside the frame is all there was: nothing to script, and the user
// is told. With "today" the frame ends now, whatever Until holds.
TEST_F(TimeFrameTest, NothingLeftToScriptAndTheFrameEndingToday) {
    Born(QStringLiteral("p_flash"), 6);
    Deleted(QStringLiteral("p_flash"), 2, 9);
    EXPECT_EQ(builder->BuildTimeFrameList(frame), ScriptBuildOutcome::NoObjects);
    EXPECT_EQ(prompts->Messages(),
              QStringList({"No objects to be scripted were found for the specified time frame!"}));
    EXPECT_EQ(steps.Rows()[steps.Current()].Status, QStringLiteral("No Objects Found!"));

    Born(QStringLiteral("p_recent"), 29);
    const ScriptTimeFrame today{Day(5), Day(6), true};
    ASSERT_EQ(builder->BuildTimeFrameList(today), ScriptBuildOutcome::Found);
    // The object that came and went stays on the list, doing nothing.
    EXPECT_EQ(sorted(Entries()), QStringList({"1:dbo.p_recent@1", "4:dbo.p_flash@2"}));
}

TEST_F(TimeFrameTest, PageChecksInTheirOrder) {
    const QDateTime none;
    EXPECT_EQ(ScriptBuilder::CheckTimeFrame(none, none, false, Day(30)), ScriptField::From);
    EXPECT_EQ(ScriptBuilder::CheckTimeFrame(Day(5), none, false, Day(30)), ScriptField::Until);
    EXPECT_EQ(ScriptBuilder::CheckTimeFrame(Day(5), Day(5, 11), false, Day(30)), ScriptField::Until);
    EXPECT_EQ(ScriptBuilder::CheckTimeFrame(Day(5), Day(5), false, Day(30)), ScriptField::None);
    EXPECT_EQ(ScriptBuilder::CheckTimeFrame(Day(31), none, true, Day(30)), ScriptField::From);
    EXPECT_EQ(ScriptBuilder::CheckTimeFrame(Day(29), none, true, Day(30)), ScriptField::None);
    EXPECT_EQ(prompts->Messages(),
              QStringList({"No From date specified!", "No Until date specified!",
                           "Until date must be after From date!", "From date must be in the past!"}));
}

// A second database on the same server, apart from the project in every way a compare knows.
class CompareTest : public ScriptTest {
protected:
    void SetUp() override {
        ScriptTest::SetUp();
        const QString same = proc(QStringLiteral("p_same"), QStringLiteral("SELECT 1"));
        InBoth(QStringLiteral("p_same"), same, QStringLiteral(".sp"), same);
        InBoth(QStringLiteral("p_diff"), proc(QStringLiteral("p_diff"), QStringLiteral("SELECT 1")),
               QStringLiteral(".sp"), proc(QStringLiteral("p_diff"), QStringLiteral("SELECT 2")));
        InBoth(QStringLiteral("p_new"), proc(QStringLiteral("p_new"), QStringLiteral("SELECT 1")),
               QStringLiteral(".sp"), proc(QStringLiteral("p_new"), QStringLiteral("SELECT 1")));
        const QString spaced = proc(QStringLiteral("p_spaced"), QStringLiteral("SELECT 1"));
        InBoth(QStringLiteral("p_spaced"), spaced, QStringLiteral(".sp"), spaced);
        Exec(QStringLiteral("CREATE DATABASE Other"));
        other.OpenConnection(sql.Server(), QStringLiteral("Other"), QStringLiteral("sa"),
                             QStringLiteral("sa-pw"), 0, true);
        // The letter case of a name makes no other object (but another text); white space at the ends
        // is no difference.
        other.ExecuteSQL(QStringLiteral("CREATE PROCEDURE DBO.P_SAME AS SELECT 1"));
        other.ExecuteSQL(QStringLiteral("\r\n  ") + spaced + QStringLiteral("  \r\n"));
        other.ExecuteSQL(proc(QStringLiteral("p_diff"), QStringLiteral("SELECT 1")));
        other.ExecuteSQL(proc(QStringLiteral("p_extra"), QStringLiteral("SELECT 9")));
        other.ExecuteSQL(QStringLiteral("CREATE VIEW dbo.v_extra AS SELECT 1 AS n"));
    }

    ScriptField check(const QString& password = QStringLiteral("sa-pw")) {
        return builder->CheckOtherDatabase(sql.Server(), QStringLiteral("sa"), password, false,
                                           QStringLiteral("Other"));
    }

    TARMOSQL other;
};

// The compare lists what the other database lacks, holds otherwise and holds beyond the project;
// the script of it makes the other database the project's, so a second compare finds nothing.
TEST_F(CompareTest, TheScriptBringsTheOtherDatabaseToTheProjectsState) {
    creator.SetOptionSelected(static_cast<long>(ScriptMode::Compare));
    ASSERT_EQ(check(), ScriptField::None);
    ASSERT_EQ(builder->BuildCompareList(), ScriptBuildOutcome::Found);
    EXPECT_EQ(Entries(),
              QStringList({"2:dbo.p_diff", "1:dbo.p_new", "2:dbo.p_same", "3:dbo.p_extra", "3:dbo.v_extra"}));
    EXPECT_FALSE(creator.SQLConnection().ConnectionOpen());
    QStringList rows;
    for (const ScriptStep& step : steps.Rows())
        rows << step.Key + QLatin1Char('|') + step.Text + QLatin1Char('|') + step.Status;
    EXPECT_EQ(rows.first(),
              QStringLiteral("GETOBJECTS_StoredProcedures|Step 1 - Find all Stored Procedures|Completed"));
    EXPECT_TRUE(
        rows.contains(QStringLiteral("CONNECT|Step 5 - Open a Connection to specified Database|Completed")))
        << qPrintable(rows.join(QLatin1Char('\n')));
    EXPECT_TRUE(rows.contains(QStringLiteral("GETOBJECTS_OTHER_Views|Step 8 - Find all Views|Completed")));
    EXPECT_EQ(rows.last(), QStringLiteral("END|Step 11 - Close Connection to specified database|Completed"));

    const QString script = QString::fromUtf8(WriteScript());
    for (const QString& batch : modParser::SplitSQLBatches(script))
        if (!batch.trimmed().isEmpty())
            other.ExecuteSQL(batch);

    prompts->Clear();
    EXPECT_EQ(builder->BuildCompareList(), ScriptBuildOutcome::NoObjects);
    EXPECT_EQ(
        prompts->Messages(),
        QStringList({"No objects to be scripted were found for the specified database! The current project "
                     "and the specified database are identical."}));
}

TEST_F(CompareTest, TheOtherDatabasesPageIsChecked) {
    EXPECT_EQ(
        builder->CheckOtherDatabase(QString(), QStringLiteral("sa"), {}, false, QStringLiteral("Other")),
        ScriptField::Server);
    EXPECT_EQ(builder->CheckOtherDatabase(sql.Server(), QString(), {}, false, QStringLiteral("Other")),
              ScriptField::UserName);
    EXPECT_EQ(builder->CheckOtherDatabase(sql.Server(), QStringLiteral("sa"), {}, false, QString()),
              ScriptField::Database);
    EXPECT_EQ(check(QStringLiteral("wrong")), ScriptField::Database);
    const QStringList messages = prompts->Messages();
    ASSERT_EQ(messages.size(), 4);
    EXPECT_EQ(messages.mid(0, 3),
              QStringList({"Server is Missing!", "Username is Missing!", "Database is Missing!"}));
    EXPECT_TRUE(messages[3].startsWith(
        QStringLiteral("Could not connect to specified database! The error was: \r\n")));
}

// The custom list offers what the project's server holds; the checked rows, in their order, are
// created. Cancelling stops a run between two steps.
TEST_F(CompareTest, CustomListAndCancel) {
    QList<ScriptCustomRow> rows;
    ASSERT_EQ(builder->BuildCustomCandidates(rows, true), ScriptBuildOutcome::Found);
    QStringList texts;
    for (const ScriptCustomRow& row : rows)
        texts << row.Text + QLatin1Char('|') + row.TypeName;
    EXPECT_EQ(texts, QStringList({"dbo.p_diff|Stored Procedure", "dbo.p_new|Stored Procedure",
                                  "dbo.p_same|Stored Procedure", "dbo.p_spaced|Stored Procedure"}));
    builder->BuildCustomSelection({rows[2], rows[0]});
    EXPECT_EQ(Entries(), QStringList({"1:dbo.p_same", "1:dbo.p_diff"}));

    steps.ProgressChanged = [this](long, long, const QString&) { steps.RequestCancel(); };
    EXPECT_EQ(builder->BuildAllList(), ScriptBuildOutcome::Cancelled);
    EXPECT_EQ(creator.ObjectsToScript().Count(), 0);
}
