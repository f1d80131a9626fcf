#include "ScriptFixture.h"

#include "ScriptedPrompts.h"
#include "TARMOObjectVSS.h"

#include <QFile>

namespace {

const QString kOrders = QStringLiteral("CREATE VIEW dbo.z_orders AS SELECT 1 AS n");
const QString kSummary = QStringLiteral("CREATE VIEW dbo.a_summary AS SELECT n FROM z_orders");
const QString kList = QStringLiteral("CREATE PROCEDURE dbo.p_list AS\r\nSELECT * FROM dbo.a_summary\r\n");

QByteArray fixture(const QString& name) {
    QFile file(QStringLiteral(SCRIPT_FIXTURES "/") + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(name);
    return file.readAll();
}

// The positions of the lines that start with `prefix`, in the order of the text.
QStringList linesStarting(const QString& text, const QString& prefix) {
    QStringList found;
    for (const QString& line : text.split(QStringLiteral("\r\n")))
        if (line.startsWith(prefix))
            found << line;
    return found;
}

} // namespace

// A small project in which the list's order (procedures before views, views by name) puts every
// object before what it uses: the file written by hand from the format's rules has the drops in the
// list's order and the creates in the order that lets each one run.
class ScriptFileTest : public ScriptTest {
protected:
    void SetUp() override {
        ScriptTest::SetUp();
        InBoth(QStringLiteral("z_orders"), kOrders, QStringLiteral(".vw"), kOrders);
        InBoth(QStringLiteral("a_summary"), kSummary, QStringLiteral(".vw"), kSummary);
        InBoth(QStringLiteral("p_list"), kList, QStringLiteral(".sp"), kList);
        creator.SetOptionSelected(static_cast<long>(ScriptMode::All));
        ASSERT_EQ(builder->BuildAllList(), ScriptBuildOutcome::Found);
    }

    QString build() {
        ScriptWriter writer(creator, steps);
        steps.Clear();
        writer.AddWriteSteps();
        const std::optional<QString> script =
            writer.BuildScript(QDateTime(QDate(2026, 11, 24), QTime(9, 5, 7)));
        EXPECT_TRUE(script.has_value());
        return script.value_or(QString());
    }
};

TEST_F(ScriptFileTest, CompleteScriptWithDropsIsTheHandWrittenFile) {
    creator.SetDropObjects(true);
    EXPECT_EQ(build().toUtf8(), fixture(QStringLiteral("all-with-drops.sql")));

    // Written whole to the file, CR LF throughout, nothing but the text.
    const QByteArray written = WriteScript();
    EXPECT_EQ(written.count("\n"), written.count("\r\n"));
    EXPECT_EQ(written.size(), fixture(QStringLiteral("all-with-drops.sql")).size());
    EXPECT_EQ(prompts->Messages(), QStringList());
}

TEST_F(ScriptFileTest, WithoutDependencyOrderTheCreatesKeepTheListsOrder) {
    creator.SetDependencyOrder(false);
    const QString script = build();
    EXPECT_EQ(linesStarting(script, QStringLiteral("CREATE")),
              QStringList({QStringLiteral("CREATE PROCEDURE dbo.p_list AS"), kSummary, kOrders}));
    // Without drops asked for, the file starts with the creates.
    EXPECT_FALSE(script.contains(QStringLiteral("Drop all objects")));
    EXPECT_EQ(linesStarting(script, QStringLiteral(" *** Start:")).size(), 1);
}

TEST_F(ScriptFileTest, SectionsFollowTheActionsOfTheEntries) {
    Exec(QStringLiteral("CREATE ROLE Clerks"));
    Exec(QStringLiteral("GRANT EXECUTE ON dbo.p_list TO Clerks"));
    creator.SetOptionSelected(static_cast<long>(ScriptMode::Compare));
    creator.SetCreatePermission(true);
    ScriptCreatorObjects& entries = creator.ObjectsToScript();
    // The list of a compare: the procedure altered, one view dropped, one created.
    entries.Item(1).SetAction(ScriptAction::Alter);
    entries.Item(2).SetAction(ScriptAction::Drop);
    entries.Item(3).SetAction(ScriptAction::None);
    QString script = build();
    EXPECT_EQ(linesStarting(script, QStringLiteral(" *** Start:")),
              QStringList({QStringLiteral(" *** Start: Update objects") + QString(35, QLatin1Char(' ')) +
                               QStringLiteral(" ***"),
                           QStringLiteral(" *** Start: Drop objects") + QString(37, QLatin1Char(' ')) +
                               QStringLiteral(" ***")}));
    EXPECT_TRUE(script.contains(QStringLiteral("ALTER PROCEDURE dbo.p_list AS")));
    EXPECT_TRUE(script.contains(QStringLiteral(" DROP VIEW [dbo].[a_summary]")));
    EXPECT_FALSE(script.contains(QStringLiteral("z_orders")));

    // Permissions are mirrored for created objects only, each object a batch of its own.
    entries.Item(1).SetAction(ScriptAction::Create);
    entries.Item(3).SetAction(ScriptAction::Create);
    script = build();
    const qsizetype start = script.indexOf(QStringLiteral("Start: Set Permissions for Added objects"));
    ASSERT_GT(start, 0);
    const QString permissions = script.mid(start);
    EXPECT_TRUE(permissions.contains(QStringLiteral("GRANT EXECUTE ON [dbo].[p_list] TO [Clerks]")));
    EXPECT_TRUE(permissions.contains(QStringLiteral("[dbo].[z_orders]")));
    EXPECT_FALSE(permissions.contains(QStringLiteral("a_summary")));
    EXPECT_EQ(permissions.count(QStringLiteral("\r\nGO\r\n")), 4) << qPrintable(permissions);
}

TEST_F(ScriptFileTest, AlterTextLeavesAHeaderCommentAlone) {
    const QString text =
        QStringLiteral("/* CREATE notes: keep */\r\nCREATE PROCEDURE dbo.p_note AS SELECT 1");
    AddFile(InServer(QStringLiteral("p_note"), text) + QStringLiteral(".sp"), text);
    creator.SetOptionSelected(static_cast<long>(ScriptMode::TimeFrame));
    ASSERT_EQ(builder->BuildAllList(), ScriptBuildOutcome::Found);
    for (ScriptCreatorObject& entry : creator.ObjectsToScript())
        entry.SetAction(entry.ScriptObject()->Name() == QLatin1String("p_note") ? ScriptAction::Alter
                                                                                : ScriptAction::None);
    EXPECT_TRUE(build().contains(
        QStringLiteral("/* CREATE notes: keep */\r\nALTER PROCEDURE dbo.p_note AS SELECT 1\r\nGO\r\n")));
}

TEST(ScriptSectionTest, TitlesArePaddedToTheBlockWidth) {
    const QStringList lines =
        ScriptWriter::ScriptSection(QStringLiteral("x\r\n"), QString(30, QLatin1Char('t')))
            .split(QStringLiteral("\r\n"));
    EXPECT_EQ(lines[1], QStringLiteral(" *** Start: ") + QString(30, QLatin1Char('t')) +
                            QString(19, QLatin1Char(' ')) + QStringLiteral(" ***"));
    EXPECT_EQ(lines[7], QStringLiteral(" *** End: ") + QString(30, QLatin1Char('t')) +
                            QString(21, QLatin1Char(' ')) + QStringLiteral(" ***"));
    const QString longTitle(60, QLatin1Char('t'));
    EXPECT_TRUE(ScriptWriter::ScriptSection(QStringLiteral("x"), longTitle)
                    .contains(QStringLiteral(" *** Start: ") + longTitle + QStringLiteral(" ***")));
    EXPECT_EQ(ScriptWriter::ScriptSection(QString(), QStringLiteral("Create objects")), QString());
    // The day comes first and the clock runs to 24 hours whatever the locale.
    EXPECT_TRUE(ScriptWriter::Banner(QDateTime(QDate(2026, 2, 3), QTime(17, 4, 5)))
                    .contains(QStringLiteral("Date Created:  03.02.2026 17:04:05")));
}
