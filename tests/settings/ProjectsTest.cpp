#include "KeyStore.h"
#include "TARMODatabase.h"
#include "TARMOError.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "TestSupport.h"

#include <QLockFile>
#include <QProcess>
#include <QSet>

#include <gtest/gtest.h>

namespace {

class ProjectsTest : public ::testing::Test {
protected:
    std::shared_ptr<TARMOProject> save(const QString& name) {
        auto project = std::make_shared<TARMOProject>();
        project->SetName(name);
        project->SQL().SetServer(QStringLiteral("server-") + name);
        db.SaveProject(*project);
        return project;
    }
    QStringList namesInOrder() {
        QStringList names;
        for (long n = 1; n <= db.GetRegistryProjectCount(); ++n) {
            auto p = db.FindProjectByID(n);
            names << (p ? p->Name() : QStringLiteral("<gap>"));
        }
        return names;
    }
    QString stored(long number, const QString& value) {
        return db.SettingsRegistry().GetValue(Registry::HKEY_CURRENT_USER,
                                              TARMODatabase::SettingsKey + QStringLiteral("\\%1").arg(number),
                                              value);
    }

    TempFolder dir;
    TARMODatabase db{std::make_shared<KeyStore>(dir.Path(QStringLiteral("registry.json")))};
};

} // namespace

TEST_F(ProjectsTest, NumbersRunFromOneWithoutAGap) {
    EXPECT_EQ(db.GetRegistryProjectCount(), 0);
    EXPECT_EQ(save(QStringLiteral("A"))->Sequence(), 1);
    save(QStringLiteral("B"));
    save(QStringLiteral("C"));
    auto d = save(QStringLiteral("D"));
    EXPECT_EQ(d->Sequence(), 4);

    db.RemoveProject(*db.FindProjectByID(2));
    EXPECT_EQ(namesInOrder(), (QStringList{QStringLiteral("A"), QStringLiteral("C"), QStringLiteral("D")}));
    EXPECT_FALSE(db.SettingsRegistry().KeyExists(Registry::HKEY_CURRENT_USER,
                                                 TARMODatabase::SettingsKey + QStringLiteral("\\4")));
    EXPECT_EQ(stored(2, QStringLiteral("LastServer")), QStringLiteral("server-C"))
        << "the whole record moves";

    db.RemoveProject(*db.FindProjectByID(3));
    EXPECT_EQ(namesInOrder(), (QStringList{QStringLiteral("A"), QStringLiteral("C")}));
}

TEST_F(ProjectsTest, OpeningMovesAProjectToTheTop) {
    for (const char* name : {"P1", "P2", "P3", "P4"})
        save(QString::fromLatin1(name));
    auto held = db.FindProjectByID(3);
    db.MoveProjectToTop(3);
    EXPECT_EQ(namesInOrder(), (QStringList{QStringLiteral("P3"), QStringLiteral("P1"), QStringLiteral("P2"),
                                           QStringLiteral("P4")}));
    EXPECT_EQ(held->Sequence(), 3) << "the caller's object keeps its number";
    db.MoveProjectToTop(1);
    EXPECT_EQ(namesInOrder().first(), QStringLiteral("P3"));

    for (const char* name : {"P5", "P6"})
        save(QString::fromLatin1(name));
    EXPECT_EQ(db.GetMostRecentProject(), (QStringList{QString(), QStringLiteral("P3"), QStringLiteral("P1"),
                                                      QStringLiteral("P2"), QStringLiteral("P4")}));
}

TEST_F(ProjectsTest, PasswordsAreReadOnlyWhenTheirFlagSaysSo) {
    auto p = std::make_shared<TARMOProject>();
    p->SetName(QStringLiteral("Sales"));
    p->SQL().SetUseWinNTAuth(true);
    p->SQL().SetUserName(QStringLiteral("ignored"));
    p->SQL().SetPassword(QStringLiteral("sqlpw"));
    p->VSS().SetPassword(QStringLiteral("vsspw"));
    p->VSS().SetStorePassword(true);
    p->VSS().SetProject(QStringLiteral("$\\Sales\\Orders\\"));
    db.SaveProject(*p);

    EXPECT_EQ(stored(1, QStringLiteral("LastUserName")), QStringLiteral("(Windows authentication)"));
    EXPECT_EQ(stored(1, QStringLiteral("Password")), QStringLiteral("sqlpw")) << "written whatever the flag";
    auto loaded = db.FindProjectByID(1);
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded->SQL().Password(), QString()) << "SavePassword 0 gives an empty password";
    EXPECT_EQ(loaded->VSS().Password(), QStringLiteral("vsspw"));
    EXPECT_EQ(loaded->VSS().Project(), QStringLiteral("$\\Sales\\Orders\\"));
    EXPECT_TRUE(loaded->SQL().UseWinNTAuth());
    db.SaveProject(*loaded);
    EXPECT_EQ(stored(1, QStringLiteral("Password")), QString()) << "the next save overwrites the stored text";
}

TEST_F(ProjectsTest, DefaultProjectAndNames) {
    save(QStringLiteral("One"));
    save(QStringLiteral("Two"));
    save(QStringLiteral("Three"));
    EXPECT_EQ(db.GetDefaultProject(), nullptr);
    db.SettingsRegistry().WriteValue(Registry::HKEY_CURRENT_USER, TARMODatabase::SettingsKey,
                                     QStringLiteral("ProjectToOpen"), QStringLiteral("3"));
    EXPECT_FALSE(db.OpenMostRecent());
    auto def = db.GetDefaultProject();
    ASSERT_TRUE(def);
    EXPECT_EQ(def->Name(), QStringLiteral("Three"));
    EXPECT_TRUE(def->Default());
    db.SettingsRegistry().WriteValue(Registry::HKEY_CURRENT_USER, TARMODatabase::SettingsKey,
                                     QStringLiteral("ProjectToOpen"), QStringLiteral("9"));
    EXPECT_EQ(db.GetDefaultProject(), nullptr);

    EXPECT_TRUE(db.ProjectNameExists(QStringLiteral("ONE"), QStringLiteral("One")))
        << "the project itself is found";
    EXPECT_FALSE(db.ProjectNameExists(QStringLiteral("One"), QStringLiteral("One")));
    EXPECT_FALSE(db.ProjectNameExists(QStringLiteral("Four"), QString()));

    // A blank name doesn't count for the numbering.
    db.SettingsRegistry().WriteValue(Registry::HKEY_CURRENT_USER,
                                     TARMODatabase::SettingsKey + QStringLiteral("\\7"),
                                     QStringLiteral("PrjName"), QStringLiteral("  "));
    EXPECT_EQ(db.GetRegistryProjectCount(), 3);
}

TEST_F(ProjectsTest, RenamingInTheListKeepsThePlace) {
    TARMOProjects list;
    list.Add(QStringLiteral("a"));
    list.Add(QStringLiteral("b"));
    list.Add(QStringLiteral("c"));
    list.ChangeProjectName(QStringLiteral("a"), QStringLiteral("first"));
    list.ChangeProjectName(QStringLiteral("B"), QStringLiteral("middle"));
    EXPECT_EQ(list.Item(1)->Name(), QStringLiteral("first"));
    EXPECT_EQ(list.Item(2)->Name(), QStringLiteral("middle"));
    EXPECT_EQ(list.Item(QStringLiteral("MIDDLE"))->Name(), QStringLiteral("middle"));
    EXPECT_EQ(list.Item(3)->Name(), QStringLiteral("c"));
    TARMOProjects single;
    single.Add(QStringLiteral("x"));
    single.ChangeProjectName(QStringLiteral("x"), QStringLiteral("y"));
    EXPECT_EQ(single.Item(1)->Name(), QStringLiteral("y"));
}

namespace {
class RecordingMainWindow : public MainWindowContract {
public:
    QStringList calls;
    bool loading = false;
    bool Loading() const override { return loading; }
    void SetLoading(bool value) override {
        loading = value;
        calls << QStringLiteral("Loading=%1").arg(value);
    }
    void Init(TARMODatabase&) override { calls << QStringLiteral("Init"); }
    void SetCaption(const QString& caption) override { calls << caption; }
    void InitDBT(long width) override { calls << QStringLiteral("InitDBT %1").arg(width); }
    void SetGeometry(long h, long w, WindowState state) override {
        calls << QStringLiteral("%1x%2 %3").arg(h).arg(w).arg(static_cast<long>(state));
    }
    void SetDatabaseTreeVisible(bool v) override { calls << QStringLiteral("Tree=%1").arg(v); }
    void SetExtraPanelVisible(bool v) override { calls << QStringLiteral("Extra=%1").arg(v); }
    void ShowWindow() override { calls << QStringLiteral("Show"); }
    void HideWindow() override { calls << QStringLiteral("Hide"); }
    void CheckProjectSyncInfo() override { calls << QStringLiteral("Sync"); }
};
} // namespace

TEST_F(ProjectsTest, OpeningBringsUpTheMainWindowInOrder) {
    save(QStringLiteral("A"));
    auto b = save(QStringLiteral("B"));
    RecordingMainWindow window;
    int made = 0;
    db.SetMainWindowFactory([&] {
        ++made;
        return &window;
    });
    db.SetExtraPanelVisible(false);
    EXPECT_TRUE(db.OpenProject(b));
    EXPECT_EQ(window.calls,
              (QStringList{QStringLiteral("Loading=1"), QStringLiteral("Init"), QStringLiteral("B - TARMO"),
                           QStringLiteral("InitDBT 3072"), QStringLiteral("9216x12288 0"),
                           QStringLiteral("Tree=1"), QStringLiteral("Extra=0"), QStringLiteral("Loading=0"),
                           QStringLiteral("Show"), QStringLiteral("Sync")}));
    EXPECT_EQ(db.Project(), b);
    EXPECT_EQ(namesInOrder(), (QStringList{QStringLiteral("B"), QStringLiteral("A")}));

    window.calls.clear();
    db.OpenProject(db.FindProjectByID(2));
    EXPECT_EQ(made, 1) << "the main window is made once";
    EXPECT_EQ(window.calls.mid(0, 2), (QStringList{QStringLiteral("Loading=1"), QStringLiteral("Hide")}));
    EXPECT_EQ(namesInOrder(), (QStringList{QStringLiteral("A"), QStringLiteral("B")}));
}

// Two running copies save records at once: every record either reported saved is there, under a
// number of its own, with all of its values (not some of them, not another record's).
TEST_F(ProjectsTest, TwoCopiesSavingAtOnceLoseNothing) {
    constexpr int each = 50;
    QProcess first, second;
    const QString path = dir.Path(QStringLiteral("registry.json"));
    first.start(QStringLiteral(PROJECT_WRITER), {path, QStringLiteral("A"), QString::number(each)});
    second.start(QStringLiteral(PROJECT_WRITER), {path, QStringLiteral("B"), QString::number(each)});
    for (QProcess* p : {&first, &second}) {
        ASSERT_TRUE(p->waitForFinished(120000));
        EXPECT_EQ(p->exitCode(), 0) << p->readAllStandardError().constData();
    }
    EXPECT_EQ(db.GetRegistryProjectCount(), 2 * each);
    QSet<QString> names;
    for (long n = 1; n <= 2 * each; ++n) {
        const auto p = db.FindProjectByID(n);
        ASSERT_TRUE(p) << "gap at " << n;
        const QString name = p->Name();
        names.insert(name);
        const bool even = name.mid(1).toInt() % 2 == 0;
        EXPECT_EQ(p->SQL().Server(), name + QStringLiteral("-server"));
        EXPECT_EQ(p->SQL().Database(), name + QStringLiteral("-db"));
        EXPECT_EQ(p->SQL().UseWinNTAuth(), even);
        if (!even) {
            EXPECT_EQ(p->SQL().UserName(), name + QStringLiteral("-user"));
        }
        EXPECT_EQ(p->SQL().Password(), name + QStringLiteral("-pw"));
        EXPECT_EQ(p->VSS().IniFile(), name + QStringLiteral(".ini"));
        EXPECT_EQ(p->VSS().UserName(), name + QStringLiteral("-vssuser"));
        EXPECT_EQ(p->VSS().Password(), name + QStringLiteral("-vsspw"));
        EXPECT_EQ(p->VSS().Project(), QStringLiteral("$/") + name);
        EXPECT_EQ(p->VSS().GeneralWorkingFolder(), QStringLiteral("/work/") + name + QLatin1Char('/'));
    }
    EXPECT_EQ(names.size(), 2 * each);
}

// While another copy holds the lock and doesn't go on, changes of records fail with an error that
// names the lock file, and change nothing.
TEST_F(ProjectsTest, ALockThatIsNeverGivenUpIsAnErrorNotALoss) {
    save(QStringLiteral("A"));
    save(QStringLiteral("B"));
    db.SettingsRegistry().Store()->SetLockTimeout(50);
    QLockFile held(dir.Path(QStringLiteral("registry.json.lock")));
    ASSERT_TRUE(held.tryLock(0));

    TARMOProject c;
    c.SetName(QStringLiteral("C"));
    try {
        db.SaveProject(c);
        ADD_FAILURE() << "the save must fail";
    } catch (const TARMOError& e) {
        EXPECT_TRUE(e.Description().contains(QStringLiteral("registry.json.lock")))
            << qPrintable(e.Description());
    }
    EXPECT_EQ(c.Sequence(), -1) << "no number was given";
    EXPECT_THROW(db.RemoveProject(*db.FindProjectByID(1)), TARMOError);
    EXPECT_THROW(db.MoveProjectToTop(2), TARMOError);
    EXPECT_EQ(namesInOrder(), (QStringList{QStringLiteral("A"), QStringLiteral("B")}));

    held.unlock();
    db.SaveProject(c);
    db.MoveProjectToTop(3);
    EXPECT_EQ(namesInOrder(), (QStringList{QStringLiteral("C"), QStringLiteral("A"), QStringLiteral("B")}));
}
