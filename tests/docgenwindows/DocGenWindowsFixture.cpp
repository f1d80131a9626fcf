#include "DocGenWindowsFixture.h"

#include "TARMOError.h"
#include "VSSBulkReader.h"
#include "ZipArchive.h"

#include <QDir>
#include <QFile>

void DocGenWindowsTest::SetUp() {
    ASSERT_TRUE(project = OpenDemoProject(folder, database));
    dispatch = std::make_unique<CoreDispatch>(database);
    QDir().mkpath(shop(QStringLiteral("lib")));
    WriteText(shop(QStringLiteral("orders.php")),
              QStringLiteral("<?php\n"
                             "// an order goes in through the procedure\n"
                             "$db->exec(\"exec dbo.AddOrder 1, 10\");\n"
                             "$rows = $db->query('select * from [dbo].[CustomerSummary]');\n"));
    WriteText(shop(QStringLiteral("lib/customers.inc")),
              QStringLiteral("call GetCustomerOrders;\n"
                             "-- and once more: exec GetCustomerOrders\n"));
    WriteText(shop(QStringLiteral("readme.txt")), QStringLiteral("Nothing of the database here.\n"));
}

void DocGenWindowsTest::TearDown() {
    dispatch.reset();
    VSSBulkReader::Release();
}

QString DocGenWindowsTest::projectName() const {
    return project->Name();
}

void DocGenWindowsTest::saveSettings(const QStringList& moreFiles,
                                     const std::function<void(DocGenProject&)>& adjust) {
    DocGenProject settings;
    DocGenModule& module = settings.Modules().Add();
    module.Name = QStringLiteral("Web Shop");
    module.Project = QStringLiteral("Shop <2>");
    module.Description = QStringLiteral("Orders and customers");
    module.Path = QDir(shop()).absolutePath() + QLatin1Char('/');
    for (const QString& file :
         QStringList{shop(QStringLiteral("orders.php")), shop(QStringLiteral("lib/customers.inc"))} +
             moreFiles)
        module.Files().Add(file);
    if (adjust)
        adjust(settings);
    settings.SaveDocumentSettings(DocGenProject::SettingsFileName(projectName()));
}

DocGenProject DocGenWindowsTest::storedSettings() const {
    DocGenProject settings;
    settings.LoadDocumentSettings(DocGenProject::SettingsFileName(projectName()));
    return settings;
}

QStringList DocGenWindowsTest::boxes() const {
    QStringList list;
    for (const auto& record : const_cast<ScriptedPromptsScope&>(prompts)->Records())
        if (record.kind == ScriptedPrompts::Kind::Message)
            list << record.title + QStringLiteral(": ") + record.text;
    return list;
}

QString ReadText(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll());
}

QString DocxBody(const QString& path) {
    try {
        for (const auto& [name, data] : word::ReadZip(path))
            if (name == QStringLiteral("word/document.xml"))
                return QString::fromUtf8(data);
    } catch (const TARMOError&) {
    }
    return {};
}

void WriteText(const QString& path, const QString& text) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)) << qPrintable(path);
    file.write(text.toUtf8());
}

DarkPalette::DarkPalette(QWidget* window)
    : mWindow(window)
    , mSaved(window->palette()) {
    QPalette dark;
    dark.setColor(QPalette::Window, QColor(45, 45, 48));
    dark.setColor(QPalette::WindowText, QColor(230, 230, 230));
    dark.setColor(QPalette::Base, QColor(30, 30, 32));
    dark.setColor(QPalette::AlternateBase, QColor(40, 40, 44));
    dark.setColor(QPalette::Text, QColor(230, 230, 230));
    dark.setColor(QPalette::Button, QColor(55, 55, 60));
    dark.setColor(QPalette::ButtonText, QColor(230, 230, 230));
    dark.setColor(QPalette::Highlight, QColor(60, 110, 200));
    dark.setColor(QPalette::HighlightedText, QColor(255, 255, 255));
    dark.setColor(QPalette::PlaceholderText, QColor(150, 150, 150));
    for (const auto role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::PlaceholderText})
        dark.setColor(QPalette::Disabled, role, QColor(120, 120, 120));
    window->setPalette(dark);
}
