// LogFile: reads back a log file of Part 5.1 and checks it whole.
//
// Every line stamp "[MM-dd-yyyy hh:mm:ss:zzz] " must be a valid local date and time between the
// moment the LogFile was made and the moment of the check (with a tolerance), and the stamps
// must not go backwards; each valid stamp is then replaced by "[TS] " so that the rest of the
// file can be compared byte for byte with an expected text. A malformed stamp is left in place
// and so makes the comparison fail.
#pragma once

#include <QDateTime>
#include <QString>

#include <gtest/gtest.h>

namespace testsupport {

class LogFile {
public:
    explicit LogFile(const QString& path);

    QString path() const { return m_path; }
    // The file's bytes as they are.
    QByteArray bytes() const;
    // The file with valid stamps masked; problems with stamps are appended to *problems.
    QString masked(QString* problems) const;
    // The masked file equals expected and every stamp is right.
    ::testing::AssertionResult equals(const QString& expected) const;

    // Stamps may go backwards: after an OVERWRITE (Part 5.1) newer lines stand before the
    // older tail they did not cover.
    void allowStampsOutOfOrder() { m_inOrder = false; }

    // Tolerance, in milliseconds, on each side of the window the stamps must fall in.
    static constexpr qint64 kToleranceMs = 2000;

private:
    QString m_path;
    QDateTime m_since;     // local time when the LogFile was made
    bool m_inOrder = true; // stamps must not go backwards
};

// The masked form of one stamped line: "[TS] " + level text + ": " + message + "\n".
QString stamped(const QString& level, const QString& message);

} // namespace testsupport

#define EXPECT_LOG(logFile, expected) EXPECT_TRUE((logFile).equals(expected))
