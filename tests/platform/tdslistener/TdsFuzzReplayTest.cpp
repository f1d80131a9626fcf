#include "TdsFuzzCheck.h"
#include "TestSupport.h"

#include <QDirIterator>
#include <QFile>

#include <gtest/gtest.h>

// What the fuzzer starts from and what it once tripped on: each still gets a well-formed answer.
TEST(TdsFuzz, RecordedInputsGetWellFormedReplies) {
    TempFolder temp;
    const QString server = temp.Path(QStringLiteral("srv"));
    CreateFuzzServer(server);
    int inputs = 0;
    for (const char* folder : {"/seeds", "/regressions"}) {
        QDirIterator it(QStringLiteral(TARMO_TDS_FUZZ_INPUTS) + QLatin1String(folder), QDir::Files);
        while (it.hasNext()) {
            const QString path = it.next();
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
            EXPECT_EQ(CheckClientBytes(server, file.readAll()).toStdString(), "") << path.toStdString();
            ++inputs;
        }
    }
    EXPECT_GE(inputs, 5);
}
