// TRY...CATCH and the statements that raise errors on purpose (THROW, RAISERROR), and WAITFOR.
#include "SessionState.h"
#include "SqlFunctions.h"

#include <QDeadlineTimer>
#include <QRegularExpression>
#include <QThread>
#include <QTime>
#include <climits>

namespace {

// Errors of name resolution in the scope of the TRY block itself end the batch past the CATCH
// block; raised in a procedure the TRY block calls, they are caught.
bool IsResolutionError(long number) {
    return number == 207 || number == 208 || number == 209 || number == 4104;
}

// A message is at most this long, so no width or precision need be more.
constexpr int kMaxMessage = 2047;

// How long a WAITFOR waits between two looks at the cancel flag.
constexpr int kWaitSliceMs = 20;

// "hh:mm[:ss[.mmm]]" as milliseconds, or -1.
qint64 ParseWaitTime(const QString& text) {
    const QString t = text.trimmed();
    for (const char* format : {"H:m:s.z", "H:m:s", "H:m"}) {
        const QTime time = QTime::fromString(t, QLatin1String(format));
        if (time.isValid())
            return time.msecsSinceStartOfDay();
    }
    return -1;
}

// One conversion of a RAISERROR message: %[flags][width][.precision][h|l]type.
struct Conversion {
    QString flags;
    int width = -1;
    int precision = -1;
    QChar type;
};

QString Pad(QString body, const Conversion& c, bool numeric) {
    if (c.width < 0 || body.size() >= c.width)
        return body;
    const qsizetype fill = c.width - body.size();
    if (c.flags.contains(u'-'))
        return body + QString(fill, u' ');
    if (numeric && c.flags.contains(u'0') && c.precision < 0) {
        // Zeros go between the sign and the digits.
        const bool sign = !body.isEmpty() && (body[0] == u'-' || body[0] == u'+' || body[0] == u' ');
        return sign ? body.left(1) + QString(fill, u'0') + body.mid(1) : QString(fill, u'0') + body;
    }
    return QString(fill, u' ') + body;
}

QString FormatOne(const Conversion& c, const QVariant& a) {
    if (!a.isValid() || a.isNull())
        return Pad(QStringLiteral("(null)"), c, false);
    const char16_t type = c.type.toLower().unicode();
    if (type == u's') {
        QString text = a.toString();
        if (c.precision >= 0)
            text.truncate(c.precision);
        return Pad(text, c, false);
    }
    if (type == u'c')
        return Pad(a.toString().left(1), c, false);
    const qlonglong value = a.toLongLong();
    QString digits;
    if (type == u'd' || type == u'i') {
        digits = QString::number(value < 0 ? 0 - qulonglong(value) : qulonglong(value));
    } else {
        // Unsigned forms see the 32-bit pattern of a negative int.
        const qulonglong u =
            value < 0 && value >= INT_MIN ? qulonglong(quint32(qint32(value))) : qulonglong(value);
        digits = QString::number(u, type == u'x' ? 16 : type == u'o' ? 8 : 10);
        if (c.type == u'X')
            digits = digits.toUpper();
    }
    if (c.precision >= 0 && digits.size() < c.precision)
        digits = QString(c.precision - digits.size(), u'0') + digits;
    if (c.flags.contains(u'#') && value != 0) {
        if (type == u'x')
            digits = (c.type == u'X' ? QStringLiteral("0X") : QStringLiteral("0x")) + digits;
        else if (type == u'o')
            digits = u'0' + digits;
    }
    QString sign;
    if ((type == u'd' || type == u'i') && value < 0)
        sign = QStringLiteral("-");
    else if ((type == u'd' || type == u'i') && c.flags.contains(u'+'))
        sign = QStringLiteral("+");
    else if ((type == u'd' || type == u'i') && c.flags.contains(u' '))
        sign = QStringLiteral(" ");
    return Pad(sign + digits, c, true);
}

} // namespace

QString SessionState::FormatMessage(const QString& format, const SqlStatement& s) {
    int argIndex = 3;
    return SqlFunctions::FormatMessageText(format, [&]() {
        return argIndex < s.execArgs.size() ? Evaluate(*s.execArgs[argIndex++].value) : QVariant();
    });
}

QString SqlFunctions::FormatMessageText(const QString& format, const std::function<QVariant()>& next) {
    QString out;
    const qsizetype n = format.size();
    for (qsizetype i = 0; i < n; ++i) {
        if (format[i] != u'%' || i + 1 >= n) {
            out += format[i];
            continue;
        }
        if (format[i + 1] == u'%') {
            out += u'%';
            ++i;
            continue;
        }
        Conversion c;
        qsizetype k = i + 1;
        while (k < n && QStringLiteral("-+ 0#").contains(format[k]))
            c.flags += format[k++];
        if (k < n && format[k] == u'*') {
            c.width = next().toInt();
            if (c.width < 0) {
                c.flags += u'-';
                c.width = c.width == INT_MIN ? kMaxMessage : -c.width;
            }
            ++k;
        } else {
            while (k < n && format[k].isDigit())
                c.width = qMin(qMax(c.width, 0) * 10 + format[k++].digitValue(), kMaxMessage);
        }
        c.width = qMin(c.width, kMaxMessage);
        if (k < n && format[k] == u'.') {
            ++k;
            c.precision = 0;
            if (k < n && format[k] == u'*') {
                c.precision = qBound(-1, next().toInt(), kMaxMessage);
                ++k;
            } else {
                while (k < n && format[k].isDigit())
                    c.precision = qMin(c.precision * 10 + format[k++].digitValue(), kMaxMessage);
            }
        }
        if (k + 2 < n && format.mid(k, 3) == QLatin1String("I64"))
            k += 3;
        else if (k < n && (format[k] == u'h' || format[k] == u'l'))
            ++k;
        if (k >= n || !QStringLiteral("sSdiuxXoc").contains(format[k])) {
            // Not a conversion: the text stays as written.
            out += format.mid(i, k - i);
            i = k - 1;
            continue;
        }
        c.type = format[k];
        out += FormatOne(c, next());
        i = k;
    }
    return out;
}

void SessionState::RaiseError(const ServerError& raised, int line) {
    ServerError e = raised;
    static const QRegularExpression tableVariable(QStringLiteral("^Invalid object name '#(@[^']*)'\\.$"));
    if (const auto m = tableVariable.match(WrittenName(e.text, false)); e.number == 208 && m.hasMatch()) {
        e.number = 1087;
        e.severity = 15;
        e.state = 2;
        e.text = QStringLiteral("Must declare the table variable \"%1\".").arg(m.captured(1));
    }
    const bool catchable = InTry() && e.severity >= 11 && e.severity <= 19 && e.number != 50001 &&
                           !(IsResolutionError(e.number) && mTryFrames.last() == mFrames.size());
    if (catchable) {
        if (mXactAbort && mTranCount > 0)
            mDoomed = true;
        CaughtError c;
        c.number = e.number;
        c.severity = e.severity;
        c.state = e.state;
        c.line = e.line > 0 ? e.line : line;
        c.text = WrittenName(e.text);
        if (!mFrames.isEmpty())
            c.procedure = Top().procedure;
        throw ErrorCaught{c};
    }
    Emit(e, line);
    if (mXactAbort && mTranCount > 0 && e.severity >= 11) {
        RollbackAll();
        throw BatchAborted{};
    }
    if (e.abortsBatch || e.severity >= 20)
        throw BatchAborted{};
}

void SessionState::EmitCaught(const CaughtError& c) {
    SqlMessage m;
    m.number = c.number;
    m.severity = c.severity;
    m.state = c.state;
    m.line = c.line;
    m.text = c.text;
    m.procedure = c.procedure;
    mLastError = c.number;
    Put(SqlResult::Msg(m));
}

QVariant SessionState::ErrorFunction(const QString& name) const {
    if (mCaught.isEmpty())
        return {};
    const CaughtError& c = mCaught.last();
    if (name == QLatin1String("ERROR_NUMBER"))
        return qlonglong(c.number);
    if (name == QLatin1String("ERROR_MESSAGE"))
        return c.text;
    if (name == QLatin1String("ERROR_SEVERITY"))
        return c.severity;
    if (name == QLatin1String("ERROR_STATE"))
        return c.state;
    if (name == QLatin1String("ERROR_LINE"))
        return c.line;
    if (name == QLatin1String("ERROR_PROCEDURE"))
        return c.procedure.isEmpty() ? QVariant() : QVariant(c.procedure);
    return {};
}

SessionState::Flow SessionState::RunTryCatch(const SqlStatement& s) {
    const int nesting = mNesting;
    const int moduleDepth = mModuleDepth;
    mTryFrames.append(int(mFrames.size()));
    CaughtError caught;
    try {
        const Flow f = Run(s.body);
        mTryFrames.removeLast();
        return f;
    } catch (const ErrorCaught& e) {
        // The procedures between here and the error have given back their frames on the way.
        caught = e.error;
    } catch (...) {
        mTryFrames.removeLast();
        throw;
    }
    mTryFrames.removeLast();
    mNesting = nesting;
    mModuleDepth = moduleDepth;
    mCaught.append(caught);
    mLastError = caught.number;
    struct Leave {
        QList<CaughtError>& caught;
        ~Leave() { caught.removeLast(); }
    } leave{mCaught};
    return Run(s.elseBody);
}

void SessionState::RunThrow(const SqlStatement& s) {
    CaughtError c;
    if (s.execArgs.isEmpty()) {
        if (mCaught.isEmpty())
            throw ServerError::Make(
                10704, 15,
                QStringLiteral("To rethrow an error, a THROW statement must be used inside a "
                               "CATCH block."),
                true);
        c = mCaught.last();
    } else {
        const QVariant number = Evaluate(*s.execArgs[0].value);
        const QVariant text = Evaluate(*s.execArgs[1].value);
        const QVariant state = Evaluate(*s.execArgs[2].value);
        if (number.isNull() || text.isNull() || state.isNull())
            throw ServerError::Make(
                35100, 16,
                QStringLiteral(
                    "Error number %1 in the THROW statement is outside the valid range. Specify an "
                    "error number in the valid range of 50000 to 2147483647.")
                    .arg(number.isNull() ? QStringLiteral("NULL") : number.toString()));
        c.number = long(number.toLongLong());
        if (number.toLongLong() < 50000 || number.toLongLong() > 2147483647LL)
            throw ServerError::Make(
                35100, 16,
                QStringLiteral(
                    "Error number %1 in the THROW statement is outside the valid range. Specify an "
                    "error number in the valid range of 50000 to 2147483647.")
                    .arg(number.toLongLong()));
        if (state.toLongLong() < 0 || state.toLongLong() > 255)
            throw ServerError::Make(
                35101, 16,
                QStringLiteral(
                    "The state %1 in the THROW statement is outside the valid range. Specify a state "
                    "in the valid range of 0 to 255.")
                    .arg(state.toLongLong()));
        c.severity = 16;
        c.state = state.toInt();
        c.text = text.toString();
        c.line = s.line;
        if (!mFrames.isEmpty())
            c.procedure = Top().procedure;
    }
    if (InTry()) {
        if (mXactAbort && mTranCount > 0)
            mDoomed = true;
        throw ErrorCaught{c};
    }
    EmitCaught(c);
    if (mXactAbort && mTranCount > 0)
        RollbackAll();
    throw BatchAborted{};
}

void SessionState::RunRaiserror(const SqlStatement& s) {
    const QVariant message = Evaluate(*s.execArgs[0].value);
    const int givenSeverity = Evaluate(*s.execArgs[1].value).toInt();
    const int severity = qBound(0, givenSeverity, 25);
    int state = Evaluate(*s.execArgs[2].value).toInt();
    if (state < 0)
        state = 1;
    state = qMin(state, 255);
    const bool withLog = s.optionNames.contains(QStringLiteral("LOG"));
    const bool setError = s.optionNames.contains(QStringLiteral("SETERROR"));
    if (s.execArgs.size() > 23)
        throw ServerError::Make(
            2748, 16, QStringLiteral("Cannot specify more than 20 arguments to the RAISERROR statement."),
            true);
    if (severity > 18 && (!withLog || !login.sysadmin))
        throw ServerError::Make(
            2754, 16,
            QStringLiteral("Error severity levels greater than 18 can only be specified by "
                           "members of the sysadmin role, using the WITH LOG option."));
    CaughtError c;
    c.severity = severity;
    c.state = state;
    c.line = s.line;
    if (!mFrames.isEmpty())
        c.procedure = Top().procedure;
    const bool numbered = message.typeId() == QMetaType::LongLong || message.typeId() == QMetaType::Int;
    if (numbered) {
        const qlonglong number = message.toLongLong();
        if (number < 13000 || number == 50000 || number > 2147483647LL)
            throw ServerError::Make(
                2732, 16,
                QStringLiteral("Error number %1 is invalid. The number must be from 13000 "
                               "through 2147483647 and it cannot be 50000.")
                    .arg(number));
        int storedSeverity = 0;
        QString stored;
        if (StoredMessage(number, storedSeverity, stored)) {
            // A negative severity asks for the one the message was added with.
            c.number = int(number);
            c.severity = givenSeverity < 0 ? storedSeverity : severity;
            c.text = FormatMessage(stored, s);
            if (c.text.size() > kMaxMessage)
                c.text = c.text.left(kMaxMessage - 3) + QStringLiteral("...");
        } else {
            c.number = 18054;
            c.severity = 16;
            c.state = 1;
            c.text = QStringLiteral(
                         "Error %1, severity %2, state %3 was raised, but no message with that error number "
                         "was found in sys.messages. If error is larger than 50000, make sure the "
                         "user-defined message is added using sp_addmessage.")
                         .arg(number)
                         .arg(severity)
                         .arg(state);
        }
    } else {
        c.number = 50000;
        c.text = FormatMessage(message.toString(), s);
        if (c.text.size() > kMaxMessage)
            c.text = c.text.left(kMaxMessage - 3) + QStringLiteral("...");
    }
    if (c.severity <= 10) {
        // Information: never caught, and @@ERROR stays 0 unless asked.
        SqlMessage m;
        m.number = c.number == 50000 ? 0 : c.number;
        m.severity = c.severity;
        m.state = c.state;
        m.line = c.line;
        m.text = c.text;
        m.procedure = c.procedure;
        Put(SqlResult::Msg(m));
        mLastError = setError ? c.number : 0;
        return;
    }
    if (InTry() && c.severity <= 19)
        throw ErrorCaught{c};
    EmitCaught(c);
    if (c.severity >= 19)
        throw BatchAborted{};
}

void SessionState::RunWaitFor(const SqlStatement& s) {
    const QVariant value = Evaluate(*s.condition);
    const qint64 at = value.isNull() ? -1 : ParseWaitTime(value.toString());
    if (at < 0)
        throw ServerError::Make(148, 15,
                                QStringLiteral("Incorrect time syntax in time string '%1' used with WAITFOR.")
                                    .arg(value.toString()));
    qint64 wait = at;
    if (s.optionValue == QLatin1String("TIME")) {
        const qint64 now = QTime::currentTime().msecsSinceStartOfDay();
        wait = at >= now ? at - now : at + 24LL * 3600 * 1000 - now;
    }
    const QDeadlineTimer deadline(wait);
    while (!deadline.hasExpired()) {
        if (Cancelled())
            throw BatchAborted{};
        QThread::msleep(static_cast<unsigned long>(qMin<qint64>(deadline.remainingTime(), kWaitSliceMs)));
    }
}
