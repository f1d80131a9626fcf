// libFuzzer entry for the scanner: any bytes, read as UTF-8, through every service. Built only with
// clang (see CMakeLists.txt); run as `tarmo_modparser_fuzz -max_total_time=60`.
#include "modParser.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const modParser::SQLKeywords keywords = {{"create", "proc"}, {"alter", "procedure"}};
    int end = 1;
    for (const modParser::SQLToken& t : modParser::TokenizeSQL(text, true)) {
        if (t.Start < end || text.mid(t.Start - 1, t.Length) != t.Text)
            __builtin_trap();
        end = t.Start + t.Length;
    }
    modParser::SplitSQLBatches(text);
    QString old;
    const QString name = modParser::FindNameAfterKeywords(keywords, text);
    const QString replaced = modParser::ReplaceNameAfterKeywords(keywords, text, QStringLiteral("[n]"), old);
    if (!name.isEmpty() && (replaced.isEmpty() || !old.startsWith(name)))
        __builtin_trap();
    modParser::ReplaceFirstWord(text, QStringLiteral("create"), QStringLiteral("ALTER"));
    modParser::SQLTextsEqual(text, replaced, true, true);
    return 0;
}
