#include "HelpIntegration.h"

#include "GeneralHelpers.h"
#include "HelpTopicTable.h"
#include "HelpWindow.h"
#include "UserPrompts.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QKeyEvent>
#include <QSaveFile>
#include <QWidget>

std::unique_ptr<HelpIntegration> gHelp;

namespace {

const QString kDocumentationName = QStringLiteral("TarmoHelp.qch");
const QString kCollectionName = QStringLiteral("TarmoHelp.qhc");

// The copy is written in one piece, so that a second running copy of the program never opens half a
// collection.
bool copyInOnePiece(const QString& from, const QString& to) {
    QFile source(from);
    if (!source.open(QIODevice::ReadOnly))
        return false;
    QSaveFile target(to);
    if (!target.open(QIODevice::WriteOnly))
        return false;
    target.write(source.readAll());
    return target.commit();
}

// Watches the key presses that reach the window, including those its controls pass up.
class HelpKeyFilter : public QObject {
public:
    HelpKeyFilter(QWidget* window, std::function<long()> topic)
        : QObject(window)
        , mWindow(window)
        , mTopic(std::move(topic)) {}

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() != QEvent::KeyPress)
            return false;
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() != Qt::Key_F1 || key->modifiers().testFlag(Qt::ShiftModifier) || key->isAutoRepeat())
            return false;
        if (gHelp)
            gHelp->ShowHelp(mWindow, mTopic());
        return true;
    }

private:
    QWidget* mWindow;
    std::function<long()> mTopic;
};

} // namespace

HelpIntegration::HelpIntegration(QString helpFolder)
    : mHelpFolder(helpFolder.isEmpty() ? QCoreApplication::applicationDirPath() + QStringLiteral("/help")
                                       : std::move(helpFolder)) {}

HelpIntegration::~HelpIntegration() {
    delete mWindow.data();
}

QString HelpIntegration::Topic(long lngContextID) {
    if (lngContextID < 1 || lngContextID > static_cast<long>(kHelpTopicTable.size()))
        return QString();
    return QString::fromLatin1(kHelpTopicTable[static_cast<std::size_t>(lngContextID - 1)]);
}

QString HelpIntegration::DocumentationFile() const {
    return mHelpFolder + QLatin1Char('/') + kDocumentationName;
}

QString HelpIntegration::CollectionFile() const {
    return mHelpFolder + QLatin1Char('/') + kCollectionName;
}

HelpWindow* HelpIntegration::Window() const {
    return mWindow.data();
}

bool HelpIntegration::HelpFilesPresent() const {
    return FileExists(DocumentationFile()) && FileExists(CollectionFile());
}

QString HelpIntegration::UserCollection() const {
    const QString folder = ApplicationFolder() + QStringLiteral("/help");
    QString copy = folder + QLatin1Char('/') + kCollectionName;
    const QFileInfo shipped(CollectionFile());
    const QFileInfo existing(copy);
    if (existing.exists() && existing.lastModified() >= shipped.lastModified())
        return copy;
    QDir().mkpath(folder);
    return copyInOnePiece(shipped.absoluteFilePath(), copy) ? copy : QString();
}

void HelpIntegration::ShowHelp(QWidget* window, long lngContextID) {
    const QString topic = Topic(lngContextID);
    if (!HelpFilesPresent()) {
        MsgBox(QStringLiteral("The help file is could not be found!"), Prompt::Buttons::OK,
               Prompt::Icon::Exclamation, QStringLiteral("No help available!"));
        return;
    }
    if (!mWindow) {
        const QString collection = UserCollection();
        if (collection.isEmpty()) {
            MsgBox(QStringLiteral("The help could not be opened: the folder ") + ApplicationFolder() +
                       QStringLiteral("/help can't be written."),
                   Prompt::Buttons::OK, Prompt::Icon::Exclamation, QStringLiteral("No help available!"));
            return;
        }
        mWindow = new HelpWindow(collection, QFileInfo(DocumentationFile()).absoluteFilePath());
    }
    mWindow->ShowTopic(topic, window);
}

std::function<void(QWidget*, long)> HelpHook() {
    return [](QWidget* window, long topic) {
        if (gHelp)
            gHelp->ShowHelp(window, topic);
    };
}

void InstallHelpKey(QWidget* window, std::function<long()> topic) {
    window->installEventFilter(new HelpKeyFilter(window, std::move(topic)));
}

void InstallHelpKey(QWidget* window, long topic) {
    InstallHelpKey(window, [topic] { return topic; });
}
