#pragma once

#include <QString>
#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <ostream>
#include <sys/types.h>

class ScriptedPrompts;

// A temporary folder that lives as long as the object; Path("x") gives a path inside it.
class TempFolder {
public:
    TempFolder();
    QString Path(const QString& relative = {}) const;

private:
    QTemporaryDir mDir;
};

// Installs a fresh ScriptedPrompts for the lifetime of the object and restores the previous
// implementation afterwards.
class ScriptedPromptsScope {
public:
    ScriptedPromptsScope();
    ~ScriptedPromptsScope();
    ScriptedPrompts& operator*() { return *mPrompts; }
    ScriptedPrompts* operator->() { return mPrompts; }

private:
    ScriptedPrompts* mPrompts;
};

// Points XDG_CONFIG_HOME and XDG_DATA_HOME at fresh empty folders for the lifetime of the object,
// so that settings and per-user files of one test never reach another.
class IsolatedUserFolders {
public:
    IsolatedUserFolders();
    ~IsolatedUserFolders();
    QString ConfigHome() const { return mRoot.Path(QStringLiteral("config")); }
    QString DataHome() const { return mRoot.Path(QStringLiteral("data")); }

private:
    TempFolder mRoot;
    QByteArray mOldConfig, mOldData;
};

// With TARMO_SCREENSHOTS set to a folder, window tests leave a picture of what the user sees.
template <typename Window> void Screenshot(Window* window, const QString& name) {
    const QString folder = qEnvironmentVariable("TARMO_SCREENSHOTS");
    if (!folder.isEmpty())
        window->grab().save(folder + QLatin1Char('/') + name + QStringLiteral(".png"));
}

// Readable failure output: texts as text, not as bytes.
// The number and text of the TARMOError a step throws; zero and empty when it throws none.
struct CaughtError {
    long number = 0;
    QString text;
};
CaughtError ErrorOf(const std::function<void()>& step);

// The permission bits of a file or folder (st_mode & 07777); a missing path fails the test.
unsigned FileModeOf(const QString& path);

// The umask of the test for as long as the object lives.
class ScopedUmask {
public:
    explicit ScopedUmask(mode_t mask);
    ~ScopedUmask();
    ScopedUmask(const ScopedUmask&) = delete;
    ScopedUmask& operator=(const ScopedUmask&) = delete;

private:
    mode_t mOld;
};

inline void PrintTo(const QString& text, std::ostream* os) {
    *os << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QStringList& list, std::ostream* os) {
    *os << '{';
    for (qsizetype i = 0; i < list.size(); ++i) {
        if (i)
            *os << ", ";
        PrintTo(list[i], os);
    }
    *os << '}';
}
