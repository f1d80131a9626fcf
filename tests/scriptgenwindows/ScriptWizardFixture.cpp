#include "ScriptWizardFixture.h"

#include "ScriptSteps.h"
#include "VSSBulkReader.h"

#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>

void ScriptWizardTest::SetUp() {
    ASSERT_TRUE(project = OpenDemoProject(folder, database));
    dispatch = std::make_unique<CoreDispatch>(database);
    openWizard();
}

void ScriptWizardTest::TearDown() {
    form.reset();
    dispatch.reset();
    VSSBulkReader::Release();
}

void ScriptWizardTest::openWizard() {
    form.reset();
    form = std::make_unique<frmScriptCreator>();
    form->setModal(false);
    form->Begin(database, objects());
    form->show();
}

void ScriptWizardTest::chooseMode(int mode) {
    form->optType[mode - 1]->setChecked(true);
    next();
}

void ScriptWizardTest::next() {
    QTest::mouseClick(form->cmdNext, Qt::LeftButton);
}

void ScriptWizardTest::back() {
    QTest::mouseClick(form->cmdBack, Qt::LeftButton);
}

void ScriptWizardTest::whileRunning(std::function<void()> act) {
    auto look = std::make_shared<std::function<void(int)>>();
    *look = [this, act = std::move(act), look](int triesLeft) {
        QTimer::singleShot(0, form.get(), [this, act, look, triesLeft] {
            if (form->Steps().Current() >= 1 || triesLeft == 0) {
                act();
                *look = nullptr;
            } else {
                (*look)(triesLeft - 1);
            }
        });
    };
    (*look)(100);
}

QString ScriptWizardTest::scriptPath(const QString& fileName) const {
    return folder.Path(fileName);
}

QString ScriptWizardTest::finish(const QString& fileName) {
    form->txtFileLocation->setText(scriptPath(fileName));
    QTest::mouseClick(form->cmdFinished, Qt::LeftButton);
    QFile file(scriptPath(fileName));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll());
}

QStringList ScriptWizardTest::sectionsOf(const QString& script) {
    static const QRegularExpression start(QStringLiteral(R"(\r\n \*\*\* Start: (.*?) *\*\*\*\r\n)"));
    QStringList titles;
    for (auto it = start.globalMatch(script); it.hasNext();)
        titles << it.next().captured(1);
    return titles;
}

QStringList ScriptWizardTest::objectsIn(const QString& script, const QString& section) {
    const qsizetype from = script.indexOf(QStringLiteral(" *** Start: ") + section);
    const qsizetype to = script.indexOf(QStringLiteral(" *** End: ") + section);
    if (from < 0 || to < from)
        return {};
    // The object's name behind the statement's keywords, with or without brackets and owner.
    static const QRegularExpression statement(
        QStringLiteral(R"(\b(?:CREATE|ALTER|DROP)\s+(?:PROCEDURE|FUNCTION|VIEW|TRIGGER)\s+)") +
            QStringLiteral(R"((?:\[?(\w+)\]?\.)?\[?(\w+)\]?)"),
        QRegularExpression::CaseInsensitiveOption);
    QStringList names;
    for (auto it = statement.globalMatch(script.mid(from, to - from)); it.hasNext();) {
        const auto match = it.next();
        const QString owner = match.captured(1).isEmpty() ? QStringLiteral("dbo") : match.captured(1);
        names << owner + QLatin1Char('.') + match.captured(2);
    }
    return names;
}
