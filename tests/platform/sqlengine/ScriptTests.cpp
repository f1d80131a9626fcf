#include "ScriptRunner.h"

#include <QDir>
#include <gtest/gtest.h>

namespace {

std::vector<std::string> ScriptNames() {
    std::vector<std::string> names;
    for (const QString& f : QDir(QStringLiteral(TARMO_SQL_SCRIPTS))
                                .entryList({QStringLiteral("*.test")}, QDir::Files, QDir::Name))
        names.push_back(f.toStdString());
    return names;
}

class SqlScript : public ::testing::TestWithParam<std::string> {};

TEST_P(SqlScript, AnswersAsTheServerWould) {
    const QString path = QDir(QStringLiteral(TARMO_SQL_SCRIPTS)).filePath(QString::fromStdString(GetParam()));
    const QStringList failures = RunSqlScript(path);
    for (const QString& f : failures)
        ADD_FAILURE() << f.toStdString();
}

INSTANTIATE_TEST_SUITE_P(Scripts, SqlScript, ::testing::ValuesIn(ScriptNames()),
                         [](const ::testing::TestParamInfo<std::string>& param) {
                             std::string n = param.param.substr(0, param.param.find('.'));
                             for (char& c : n)
                                 if (!isalnum(static_cast<unsigned char>(c)))
                                     c = '_';
                             return n;
                         });

TEST(SqlScriptRunner, NoScriptsMissing) {
    EXPECT_GE(ScriptNames().size(), 5u);
}

} // namespace
