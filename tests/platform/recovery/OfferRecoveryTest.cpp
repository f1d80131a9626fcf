#include "OfferRecovery.h"
#include "ScriptedPrompts.h"
#include "TARMOError.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

// A run that kept its texts and ended without closing its windows.
void leaveTexts(const QString& folder, const QStringList& titles) {
    RecoveryFiles run(folder);
    for (const QString& title : titles)
        run.Register(title, title, QStringLiteral("srv.db"),
                     [title] { return QStringLiteral("-- ") + title; });
    run.SnapshotAll();
}

QStringList titlesOf(const QList<RecoveredText>& entries) {
    QStringList titles;
    for (const RecoveredText& entry : entries)
        titles << entry.title;
    titles.sort();
    return titles;
}

} // namespace

TEST(OfferRecovery, YesOpensEachTextAndKeepsOnlyWhatFailedToOpen) {
    TempFolder dir;
    const QString folder = dir.Path(QStringLiteral("Recovery"));
    ScriptedPromptsScope prompts;
    RecoveryFiles files(folder);
    EXPECT_EQ(OfferRecovery(files, [](const RecoveredText&) { FAIL() << "nothing to open"; }), 0);
    EXPECT_TRUE(prompts->Records().isEmpty()) << "a clean start asks nothing";

    leaveTexts(folder, {QStringLiteral("Query1"), QStringLiteral("Query2"), QStringLiteral("dbo.Broken")});
    prompts->QueueAnswer(Prompt::Answer::Yes);
    QStringList opened;
    const int count = OfferRecovery(files, [&](const RecoveredText& entry) {
        if (entry.title == QStringLiteral("dbo.Broken"))
            throw TARMOError(91, QStringLiteral("frmSQLQuery"),
                             QStringLiteral("The window could not be opened"));
        EXPECT_EQ(entry.text, QStringLiteral("-- ") + entry.title);
        opened << entry.title;
    });
    EXPECT_EQ(count, 2);
    opened.sort();
    EXPECT_EQ(opened, (QStringList{QStringLiteral("Query1"), QStringLiteral("Query2")}));

    ASSERT_EQ(prompts->Records().size(), 2);
    const auto& question = prompts->Records()[0];
    EXPECT_TRUE(
        question.text.startsWith(QStringLiteral("TARMO closed unexpectedly. 3 unsaved texts were kept.")))
        << question.text.toStdString();
    EXPECT_TRUE(question.text.endsWith(QStringLiteral("Open them now?")));
    EXPECT_TRUE(question.text.contains(QStringLiteral("Query2 (srv.db)")));
    EXPECT_EQ(question.buttons, Prompt::Buttons::YesNoCancel);
    EXPECT_EQ(prompts->Records()[1].title, QStringLiteral("frmSQLQuery")) << "the failure is shown";
    EXPECT_EQ(titlesOf(files.Pending()), QStringList{QStringLiteral("dbo.Broken")})
        << "a text that did not open is not lost";
}

TEST(OfferRecovery, NoDiscardsOnlyAfterASecondYesAndCancelKeepsEverything) {
    TempFolder dir;
    const QString folder = dir.Path(QStringLiteral("Recovery"));
    ScriptedPromptsScope prompts;
    RecoveryFiles files(folder);
    leaveTexts(folder, {QStringLiteral("Query1")});
    int opened = 0;
    const auto open = [&](const RecoveredText&) { ++opened; };

    prompts->QueueAnswer(Prompt::Answer::Cancel);
    OfferRecovery(files, open);
    EXPECT_EQ(files.Pending().size(), 1);
    EXPECT_TRUE(prompts->Records()[0].text.contains(QStringLiteral("1 unsaved text was kept.")));

    prompts->QueueAnswer(Prompt::Answer::No);
    prompts->QueueAnswer(Prompt::Answer::No);
    OfferRecovery(files, open);
    EXPECT_EQ(files.Pending().size(), 1) << "a second thought keeps the text";

    prompts->QueueAnswer(Prompt::Answer::No);
    prompts->QueueAnswer(Prompt::Answer::Yes);
    OfferRecovery(files, open);
    EXPECT_TRUE(files.Pending().isEmpty());
    EXPECT_EQ(opened, 0);
    EXPECT_EQ(prompts->Records().size(), 5);
    EXPECT_EQ(prompts->Unanswered(), 0);
}
