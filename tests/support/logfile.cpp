#include "logfile.h"

#include "testsupport.h"

#include <QRegularExpression>

namespace testsupport {

LogFile::LogFile(const QString& path) : m_path(path), m_since(QDateTime::currentDateTime()) {}

QByteArray LogFile::bytes() const {
    return readFile(m_path);
}

QString LogFile::masked(QString* problems) const {
    const QDateTime until = QDateTime::currentDateTime();
    const QString text = QString::fromUtf8(bytes());
    static const QRegularExpression stamp(
        QStringLiteral("^\\[(\\d{2})-(\\d{2})-(\\d{4}) (\\d{2}):(\\d{2}):(\\d{2}):(\\d{3})\\] "),
        QRegularExpression::MultilineOption);
    QString out;
    qsizetype copied = 0;
    QDateTime previous;
    auto it = stamp.globalMatch(text);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        const QDate date(match.captured(3).toInt(), match.captured(1).toInt(),
                         match.captured(2).toInt());
        const QTime time(match.captured(4).toInt(), match.captured(5).toInt(),
                         match.captured(6).toInt(), match.captured(7).toInt());
        const QDateTime when(date, time); // local time, as the logger writes it
        out += text.mid(copied, match.capturedStart() - copied);
        copied = match.capturedEnd();
        if (!when.isValid()) {
            *problems += QStringLiteral("invalid stamp ") + match.captured(0) + QLatin1Char('\n');
            out += match.captured(0);
            continue;
        }
        if (when < m_since.addMSecs(-kToleranceMs) || when > until.addMSecs(kToleranceMs)) {
            *problems += QStringLiteral("stamp ") + match.captured(0) +
                         QStringLiteral("outside the clock window ") +
                         m_since.toString(Qt::ISODateWithMs) + QStringLiteral(" .. ") +
                         until.toString(Qt::ISODateWithMs) + QLatin1Char('\n');
        }
        if (m_inOrder && previous.isValid() && when < previous)
            *problems +=
                QStringLiteral("stamp goes backwards: ") + match.captured(0) + QLatin1Char('\n');
        previous = when;
        out += QStringLiteral("[TS] ");
    }
    out += text.mid(copied);
    return out;
}

::testing::AssertionResult LogFile::equals(const QString& expected) const {
    QString problems;
    const QString actual = masked(&problems);
    const ::testing::AssertionResult same = bytesEqual(expected.toUtf8(), actual.toUtf8());
    if (same && problems.isEmpty())
        return ::testing::AssertionSuccess();
    ::testing::AssertionResult failure = ::testing::AssertionFailure();
    failure << "log " << m_path.toStdString() << "\n";
    if (!problems.isEmpty())
        failure << problems.toStdString();
    if (!same)
        failure << same.message();
    return failure;
}

QString stamped(const QString& level, const QString& message) {
    return QStringLiteral("[TS] ") + level + QStringLiteral(": ") + message + QLatin1Char('\n');
}

} // namespace testsupport
