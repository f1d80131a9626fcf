#include "GuiHelpers.h"

#include "UserPrompts.h"

#include <QDesktopServices>
#include <QEvent>
#include <QLineEdit>
#include <QTimer>
#include <QUrl>

void SelectAllText(QLineEdit* textBox) {
    if (textBox)
        textBox->selectAll();
}

namespace {
class SelectAllFilter : public QObject {
public:
    using QObject::QObject;
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::FocusIn)
            if (auto* box = qobject_cast<QLineEdit*>(watched))
                // After the click that gave the focus has placed the caret.
                QTimer::singleShot(0, box, [box] { SelectAllText(box); });
        return false;
    }
};
} // namespace

void SelectAllTextOnFocus(QWidget* window) {
    auto* filter = new SelectAllFilter(window);
    for (auto* box : window->findChildren<QLineEdit*>())
        box->installEventFilter(filter);
}

void OpenURL(QWidget*, const QString& url) {
    if (!QDesktopServices::openUrl(QUrl(url)))
        MsgBox(QStringLiteral("Could not find associated Browser"), Prompt::Buttons::OK,
               Prompt::Icon::Exclamation, QStringLiteral("Browser Not Found"));
}
