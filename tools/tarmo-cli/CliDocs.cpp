// The document generator from the command line: the documents of a project without windows, and the
// modules kept in the project's document settings.
#include "CliCommands.h"

#include "CliArgs.h"
#include "DocGenProject.h"
#include "DocGenRun.h"
#include "TARMODatabase.h"
#include "TARMOProjects.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>

#include <algorithm>

bool CliCommands::knownProject() {
    if (mProjectName.isEmpty()) {
        usageError(QStringLiteral("this command needs --project NAME"));
        return false;
    }
    if (!TARMODatabase().FindAllProjects()->Contains(mProjectName)) {
        mErr << "tarmo-cli: no project named '" << mProjectName << "'" << Qt::endl;
        return false;
    }
    return true;
}

int CliCommands::docs(QStringList args) {
    const bool all = takeFlag(args, QStringLiteral("--all"));
    QString moduleName, format, out, templateName;
    if (!takeOption(args, QStringLiteral("--module"), moduleName) ||
        !takeOption(args, QStringLiteral("--format"), format) ||
        !takeOption(args, QStringLiteral("--out"), out) ||
        !takeOption(args, QStringLiteral("--template"), templateName))
        return usageError(QStringLiteral("docs: an option needs a value"));
    if (!args.isEmpty())
        return usageError(QStringLiteral("docs: unexpected argument '") + args.first() + QLatin1Char('\''));
    if (all == !moduleName.isEmpty())
        return usageError(QStringLiteral("docs: give either --all or --module NAME"));
    format = format.toLower();
    if (format != QLatin1String("html") && format != QLatin1String("word"))
        return usageError(QStringLiteral("docs: --format takes html or word"));
    if (out.isEmpty())
        return usageError(QStringLiteral("docs: --out FILE is missing"));
    if (!templateName.isEmpty() && !QFileInfo::exists(templateName)) {
        mErr << "tarmo-cli: The Word Template file specified does not exist!" << Qt::endl;
        return 1;
    }
    if (!openProject())
        return 1;

    // The display options are those the start dialog left in the project's settings; the command
    // line chooses only what and where, and changes nothing in the settings.
    DocGenProject project;
    project.LoadDocumentSettings(DocGenProject::SettingsFileName(mProjectName));
    project.DocumentType = format == QLatin1String("word") ? DocGenTypes::Word : DocGenTypes::Html;
    project.GenerateName = QFileInfo(out).absoluteFilePath();
    if (!templateName.isEmpty())
        project.TemplateName = QFileInfo(templateName).absoluteFilePath();
    else if (!QFileInfo::exists(project.TemplateName))
        project.TemplateName.clear();
    DocGenModule* module = nullptr;
    if (!all) {
        module = project.Modules().Find(moduleName);
        if (!module) {
            mErr << "tarmo-cli: no module named '" << moduleName << "'" << Qt::endl;
            return 1;
        }
        project.OptionSelected = DocGenProject::OptionModule;
        const QStringList missing = module->MissingFiles();
        for (const QString& file : missing)
            mErr << "warning: " << file << " does not exist (counted as empty)" << Qt::endl;
    }

    DocGenRun run(*mObjects, project, module);
    const DocGenRun::Outcome outcome = run.Run();
    if (outcome != DocGenRun::Outcome::Generated) {
        DocGenRun::ReportOutcome(outcome, run.ErrorDescription());
        return 1;
    }
    mOut << project.GenerateName << Qt::endl;
    if (module)
        mOut << module->Files().Count() << " files, " << run.ReferenceCount() << " references" << Qt::endl;
    return 0;
}

int CliCommands::modules(QStringList args) {
    if (!args.isEmpty())
        return usageError(QStringLiteral("modules: unexpected argument '") + args.first() +
                          QLatin1Char('\''));
    if (!knownProject())
        return 1;
    DocGenProject project;
    if (!project.LoadDocumentSettings(DocGenProject::SettingsFileName(mProjectName)))
        return 1;
    for (const auto& module : project.Modules())
        mOut << module->Name << '\t' << module->Files().Count() << " files\t" << module->Path << Qt::endl;
    mOut << project.Modules().Count() << " modules" << Qt::endl;
    return 0;
}

int CliCommands::moduleCommand(QStringList args) {
    if (args.size() < 2)
        return usageError(QStringLiteral("module: add NAME --path DIR [--files PATTERN] or remove NAME"));
    const QString action = args.takeFirst();
    const QString name = args.takeFirst().trimmed();
    QString path, pattern;
    if (!takeOption(args, QStringLiteral("--path"), path) ||
        !takeOption(args, QStringLiteral("--files"), pattern))
        return usageError(QStringLiteral("module: an option needs a value"));
    if (!args.isEmpty())
        return usageError(QStringLiteral("module: unexpected argument '") + args.first() + QLatin1Char('\''));
    if (action != QLatin1String("add") && action != QLatin1String("remove"))
        return usageError(QStringLiteral("module: add or remove, not '") + action + QLatin1Char('\''));
    if (name.isEmpty())
        return usageError(QStringLiteral("Module Name is missing!"));
    if (!knownProject())
        return 1;

    const QString settings = DocGenProject::SettingsFileName(mProjectName);
    DocGenProject project;
    // A damaged file is not overwritten from here: the window may still be able to save over it.
    if (!project.LoadDocumentSettings(settings))
        return 1;
    DocGenModules& modules = project.Modules();

    if (action == QLatin1String("remove")) {
        const DocGenModule* module = modules.Find(name);
        if (!module) {
            mErr << "tarmo-cli: no module named '" << name << "'" << Qt::endl;
            return 1;
        }
        modules.Remove(int(module->Index));
        project.SaveDocumentSettings(settings);
        mOut << "removed " << name << Qt::endl;
        return 0;
    }

    if (path.isEmpty())
        return usageError(QStringLiteral("Primary module path is missing!"));
    if (!QFileInfo(path).isDir()) {
        mErr << "tarmo-cli: The specified Primary module path does not exist!" << Qt::endl;
        return 1;
    }
    if (modules.Find(name)) {
        mErr << "tarmo-cli: a module named '" << name << "' exists already" << Qt::endl;
        return 1;
    }
    const QString folder = QDir(path).absolutePath();
    QStringList files;
    QDirIterator it(folder, pattern.isEmpty() ? QStringList() : QStringList{pattern}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        files.append(it.next());
    std::sort(files.begin(), files.end());
    if (files.isEmpty()) {
        mErr << "tarmo-cli: At least one File must be specified!" << Qt::endl;
        return 1;
    }
    DocGenModule& module = modules.Add();
    module.Name = name;
    module.Path = folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');
    for (const QString& file : files)
        module.Files().Add(file);
    project.SaveDocumentSettings(settings);
    mOut << "added " << name << " with " << files.size() << " files" << Qt::endl;
    return 0;
}
