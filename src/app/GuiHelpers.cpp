#include "GuiHelpers.h"

#include "UserPrompts.h"

#include <QDesktopServices>
#include <QLineEdit>
#include <QUrl>

void SelectAllText(QLineEdit* textBox) {
    if (textBox)
        textBox->selectAll();
}

void OpenURL(QWidget*, const QString& url) {
    if (!QDesktopServices::openUrl(QUrl(url)))
        MsgBox(QStringLiteral("Could not find associated Browser"), Prompt::Buttons::OK,
               Prompt::Icon::Exclamation, QStringLiteral("Browser Not Found"));
}
