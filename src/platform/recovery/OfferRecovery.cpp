#include "OfferRecovery.h"

#include "ErrorReport.h"
#include "UserPrompts.h"

namespace {

const QString title = QStringLiteral("TARMO");
constexpr int listedAtMost = 10;

QString describe(const RecoveredText& entry) {
    QString line = QStringLiteral("    ") + entry.title;
    if (!entry.origin.isEmpty() && entry.origin != entry.title)
        line += QStringLiteral(" (%1)").arg(entry.origin);
    if (entry.time.isValid())
        line +=
            QStringLiteral(", %1").arg(entry.time.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm")));
    return line;
}

QString question(const QList<RecoveredText>& pending) {
    const qsizetype count = pending.size();
    QStringList lines;
    lines << (count == 1
                  ? QStringLiteral("TARMO closed unexpectedly. 1 unsaved text was kept.")
                  : QStringLiteral("TARMO closed unexpectedly. %1 unsaved texts were kept.").arg(count))
          << QString();
    for (qsizetype i = 0; i < qMin<qsizetype>(count, listedAtMost); ++i)
        lines << describe(pending[i]);
    if (count > listedAtMost)
        lines << QStringLiteral("    and %1 more").arg(count - listedAtMost);
    lines << QString() << (count == 1 ? QStringLiteral("Open it now?") : QStringLiteral("Open them now?"));
    return lines.join(QLatin1Char('\n'));
}

} // namespace

int OfferRecovery(RecoveryFiles& files, const std::function<void(const RecoveredText&)>& open) {
    const QList<RecoveredText> pending = files.Pending();
    if (pending.isEmpty())
        return 0;
    const Prompt::Answer answer =
        MsgBox(question(pending), Prompt::Buttons::YesNoCancel, Prompt::Icon::Question, title);
    if (answer == Prompt::Answer::Yes) {
        int opened = 0;
        for (const RecoveredText& entry : pending)
            if (Guarded([&] { open(entry); })) {
                files.Discard(entry);
                ++opened;
            }
        return opened;
    }
    if (answer == Prompt::Answer::No &&
        MsgBox(QStringLiteral("Discard the unsaved texts for good? They cannot be recovered afterwards."),
               Prompt::Buttons::YesNo, Prompt::Icon::Exclamation, title) == Prompt::Answer::Yes)
        for (const RecoveredText& entry : pending)
            files.Discard(entry);
    return 0;
}
