#include "logger.h"

#include "paconfiguration.h"
#include "syncsingleton.h"

#include <QDateTime>
#include <QFile>
#include <QTextStream>

#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

Logger::Logger(const QString& /*name*/) {
    PAConfiguration* configuration = SyncSingleton<PAConfiguration>::instance();
    setLevel(configuration->getStrValue(QStringLiteral("pastrel.logger.level")));
    // Empty values get no default, so with both missing the path is "/".
    m_fileName = configuration->getStrValue(QStringLiteral("pastrel.logger.basedir")) +
                 QLatin1Char('/') +
                 configuration->getStrValue(QStringLiteral("pastrel.logger.filename"));
    m_file = new QFile(m_fileName);
    setType(configuration->getStrValue(QStringLiteral("pastrel.logger.type")));
    m_stream = new QTextStream(m_file);
    write(DEBUG, QStringLiteral("Start Logger"));
}

Logger::~Logger() {
    m_file->close();
    delete m_stream;
    delete m_file;
}

void Logger::setLevel(const QString& level) {
    const QString text = level.toUpper();
    if (text == QLatin1String("DEBUG"))
        m_level = DEBUG;
    else if (text == QLatin1String("INFO"))
        m_level = INFO;
    else if (text == QLatin1String("WARNING"))
        m_level = WARNING;
    else if (text == QLatin1String("ERROR"))
        m_level = ERROR;
    else if (text == QLatin1String("FATAL"))
        m_level = FATAL;
    else
        m_level = DEBUG; // any other text, the empty text included
}

void Logger::setType(const QString& type) {
    // The system calls this once, from the constructor. A later call reopens the
    // file in the new mode rather than failing on an already open file.
    if (m_file->isOpen())
        m_file->close();
    const QString text = type.toUpper();
    bool opened = false;
    if (text == QLatin1String("APPEND")) {
        opened = m_file->open(QIODevice::Append); // creates the file if missing
    } else if (text == QLatin1String("OVERWRITE")) {
        // "OVERWRITE": write-only from the start WITHOUT truncation, so the tail of a longer old
        // log stays, as the suite's logs have always been written. Qt 6's WriteOnly truncates,
        // hence the POSIX open; the QFile takes over the descriptor and closes it.
        const int fd = ::open(QFile::encodeName(m_fileName).constData(), O_WRONLY | O_CREAT, 0666);
        if (fd >= 0) {
            opened = m_file->open(fd, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle);
            if (!opened)
                ::close(fd);
        }
    } else {
        return; // unknown type, the empty text included: unopened and silent
    }
    if (!opened) {
        const QByteArray message =
            "Error in the method Logger::setType(" + type.toLocal8Bit() + ")\n";
        std::fwrite(message.constData(), 1, static_cast<size_t>(message.size()), stdout);
        std::fflush(stdout);
    }
}

void Logger::write(Logger::Level level, const QString& message) {
    if (level < m_level)
        return;
    // An unopened file loses the line without notice (a QTextStream on a closed file
    // would print a Qt warning on every line).
    if (m_stream == nullptr || !m_file->isOpen())
        return;
    QString text;
    switch (level) {
    case DEBUG:
        text = QStringLiteral("DEBUG");
        break;
    case INFO:
        text = QStringLiteral("INFO");
        break;
    case WARNING:
        text = QStringLiteral("WARNING");
        break;
    case ERROR:
        text = QStringLiteral("ERROR");
        break;
    case FATAL:
        text = QStringLiteral("FATAL");
        break;
    }
    *m_stream << '['
              << QDateTime::currentDateTime().toString(QStringLiteral("MM-dd-yyyy hh:mm:ss:zzz"))
              << "] " << text << ": " << message << '\n';
    m_stream->flush();
}

void Logger::fatal(const QString& msg) {
    write(FATAL, msg);
}

void Logger::error(const QString& msg) {
    write(ERROR, msg);
}

void Logger::warning(const QString& msg) {
    write(WARNING, msg);
}

void Logger::info(const QString& msg) {
    write(INFO, msg);
}

void Logger::debug(const QString& msg) {
    write(DEBUG, msg);
}
