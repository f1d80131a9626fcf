#include "ScriptWriter.h"

#include "GeneralHelpers.h"
#include "ScriptCreator.h"
#include "ScriptDependencyOrder.h"
#include "ScriptMessages.h"
#include "ScriptSteps.h"
#include "ScriptTexts.h"
#include "TARMOError.h"
#include "TARMOObjectVSS.h"
#include "TARMOPermissions.h"

namespace {

const QString crLf = QStringLiteral("\r\n");
const QString starLine = QStringLiteral("/****************************************************************");
const QString closingLine =
    QStringLiteral(" ****************************************************************/");

// What a section writes of each of its objects.
enum class SectionText { Drop, Create, Alter, Permissions };

struct Section {
    QString Key;
    QString StepText;
    QString Title;
    SectionText Text;
    // The action of the entries that go in; nothing: every entry.
    std::optional<ScriptAction> Action;
};

bool isCompleteOrCustom(ScriptMode mode) {
    return mode == ScriptMode::All || mode == ScriptMode::Custom;
}

bool isTimeFrameOrCompare(ScriptMode mode) {
    return mode == ScriptMode::TimeFrame || mode == ScriptMode::Compare;
}

QList<Section> sectionsOf(const ScriptCreator& creator) {
    QList<Section> sections;
    if (isCompleteOrCustom(creator.Mode()) && creator.DropObjects())
        sections.append({QStringLiteral("PREDROP"), QStringLiteral("Create script to drop objects"),
                         QStringLiteral("Drop all objects if they exist"), SectionText::Drop, std::nullopt});
    sections.append({QStringLiteral("ADD"), QStringLiteral("Create Script to Create Objects"),
                     QStringLiteral("Create objects"), SectionText::Create, ScriptAction::Create});
    if (isTimeFrameOrCompare(creator.Mode())) {
        sections.append({QStringLiteral("UPDATE"), QStringLiteral("Create script to alter Objects"),
                         QStringLiteral("Update objects"), SectionText::Alter, ScriptAction::Alter});
        sections.append({QStringLiteral("DROP"), QStringLiteral("Create script to drop Objects"),
                         QStringLiteral("Drop objects"), SectionText::Drop, ScriptAction::Drop});
    }
    if (creator.CreatePermission())
        sections.append({QStringLiteral("PERMISSIONS"),
                         QStringLiteral("Create script to mirror object permissions"),
                         QStringLiteral("Set Permissions for Added objects"), SectionText::Permissions,
                         ScriptAction::Create});
    return sections;
}

QString padded(const QString& title, qsizetype width) {
    return title.size() >= width ? title : title + QString(width - title.size(), QLatin1Char(' '));
}

} // namespace

ScriptWriter::ScriptWriter(ScriptCreator& creator, ScriptSteps& steps)
    : mCreator(creator)
    , mSteps(steps) {}

void ScriptWriter::AddWriteSteps() {
    for (const Section& section : sectionsOf(mCreator))
        mSteps.AddStep(section.Key, section.StepText);
    mSteps.AddStep(QStringLiteral("SAVE"), QStringLiteral("Save script to script file"));
}

QString ScriptWriter::Banner(const QDateTime& created) {
    const QString blank = QStringLiteral(" ***                                                          ***");
    const QStringList lines = {
        starLine,
        blank,
        QStringLiteral(" ***       The Script file was created using                  ***"),
        QStringLiteral(" ***               TARMO v2.0 professional                    ***"),
        blank,
        QStringLiteral(" ***       Date Created:  ") +
            created.toString(QStringLiteral("dd.MM.yyyy HH:mm:ss")) + QStringLiteral("                 ***"),
        blank,
        closingLine,
    };
    // Two empty lines stand between the banner and the first section.
    return lines.join(crLf) + crLf + crLf + crLf;
}

QString ScriptWriter::ScriptSection(const QString& sectionText, const QString& title) {
    if (sectionText.isEmpty())
        return QString();
    return starLine + crLf + QStringLiteral(" *** Start: ") + padded(title, 49) + QStringLiteral(" ***") +
           crLf + closingLine + crLf + QStringLiteral("GO") + crLf + crLf + sectionText + starLine + crLf +
           QStringLiteral(" *** End: ") + padded(title, 51) + QStringLiteral(" ***") + crLf + closingLine +
           crLf + crLf + QStringLiteral("GO") + crLf + crLf;
}

std::optional<QString> ScriptWriter::BuildScript(const QDateTime& created) {
    ScriptTexts texts(mCreator.ObjectsToScript());
    QString body;
    for (const Section& section : sectionsOf(mCreator)) {
        mSteps.NextStep();
        QList<const ScriptCreatorObject*> entries;
        for (const ScriptCreatorObject& entry : mCreator.ObjectsToScript())
            if (!section.Action || entry.Action() == *section.Action)
                entries.append(&entry);
        mSteps.SetStepRange(static_cast<long>(entries.size()));
        QStringList objectTexts;
        long done = 0;
        for (const ScriptCreatorObject* entry : entries) {
            const std::shared_ptr<TARMOObjectVSS>& object = entry->ScriptObject();
            switch (section.Text) {
            case SectionText::Drop:
                objectTexts << object->DropScript();
                break;
            case SectionText::Create:
                objectTexts << texts.Text(*entry);
                break;
            case SectionText::Alter:
                objectTexts << texts.AlterText(*entry);
                break;
            case SectionText::Permissions:
                objectTexts << object->GetPermissions(false).CreateScript(object->Name(), object->Owner());
                break;
            }
            mSteps.ShowStepProgress(++done);
            if (mSteps.CancelRequested())
                return std::nullopt;
        }
        if (section.Text == SectionText::Create && mCreator.DependencyOrder())
            objectTexts = inDependencyOrder(entries, objectTexts);
        // An object's text goes as the store holds it, line ends included: the object that the script
        // creates must compare equal to the store's text afterwards.
        QString sectionText;
        for (const QString& text : objectTexts) {
            // A permission script that grants nothing leaves no batch behind.
            if (section.Text == SectionText::Permissions && text.isEmpty())
                continue;
            sectionText += text + crLf + QStringLiteral("GO") + crLf + crLf;
        }
        body += ScriptSection(sectionText, section.Title);
    }
    return Banner(created) + body;
}

QStringList ScriptWriter::inDependencyOrder(const QList<const ScriptCreatorObject*>& entries,
                                            const QStringList& texts) {
    QList<ScriptDependencyNode> nodes;
    nodes.reserve(entries.size());
    for (qsizetype i = 0; i < entries.size(); ++i)
        nodes.append({entries[i]->ScriptObject()->Owner(), entries[i]->ScriptObject()->Name(), texts[i]});
    QStringList ordered;
    ordered.reserve(texts.size());
    for (const qsizetype at : ScriptDependencyOrder(nodes))
        ordered << texts[at];
    return ordered;
}

bool ScriptWriter::WriteScript() {
    mSteps.Clear();
    AddWriteSteps();
    const std::optional<QString> script = BuildScript(QDateTime::currentDateTime());
    if (!script)
        return false;
    mSteps.NextStep();
    mSteps.SetStepRange(1);
    try {
        WriteTextFile(mCreator.FileName(), *script);
    } catch (const TARMOError& error) {
        mSteps.SetCurrentStatus(QStringLiteral("Failed"), ScriptSteps::Failed);
        ScriptMessages::ScriptNotWritten(mCreator.FileName(), error.Description());
        return false;
    }
    mSteps.ShowStepProgress(1);
    mSteps.NextStep();
    mBytesWritten = script->toUtf8().size();
    return true;
}
