#include "TestSupport.h"

#include "ScriptedPrompts.h"
#include "TARMOError.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>
#include <sys/stat.h>

TempFolder::TempFolder() {
    EXPECT_TRUE(mDir.isValid());
}

QString TempFolder::Path(const QString& relative) const {
    return relative.isEmpty() ? mDir.path() : mDir.filePath(relative);
}

ScriptedPromptsScope::ScriptedPromptsScope() {
    auto scripted = std::make_unique<ScriptedPrompts>();
    mPrompts = scripted.get();
    installPrompts(std::move(scripted));
}

ScriptedPromptsScope::~ScriptedPromptsScope() {
    installPrompts(nullptr);
}

IsolatedUserFolders::IsolatedUserFolders()
    : mOldConfig(qgetenv("XDG_CONFIG_HOME"))
    , mOldData(qgetenv("XDG_DATA_HOME")) {
    QDir().mkpath(ConfigHome());
    QDir().mkpath(DataHome());
    qputenv("XDG_CONFIG_HOME", ConfigHome().toLocal8Bit());
    qputenv("XDG_DATA_HOME", DataHome().toLocal8Bit());
}

IsolatedUserFolders::~IsolatedUserFolders() {
    qputenv("XDG_CONFIG_HOME", mOldConfig);
    qputenv("XDG_DATA_HOME", mOldData);
}

unsigned FileModeOf(const QString& path) {
    struct stat st {};
    EXPECT_EQ(stat(QFile::encodeName(path).constData(), &st), 0) << path.toStdString();
    return st.st_mode & 07777;
}

ScopedUmask::ScopedUmask(mode_t mask)
    : mOld(umask(mask)) {}

ScopedUmask::~ScopedUmask() {
    umask(mOld);
}

CaughtError ErrorOf(const std::function<void()>& step) {
    try {
        step();
    } catch (const TARMOError& e) {
        return {e.Number(), e.Description()};
    }
    return {};
}
