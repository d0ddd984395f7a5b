// Logger: time-stamped, levelled lines to the log file the configuration names.
//
// Place, threshold and open mode come from pastrel.logger.basedir, .filename, .level and .type
// in pastrel.conf. Every line is "[MM-dd-yyyy hh:mm:ss:zzz] LEVEL: message", local time, flushed
// at once. Not thread-safe: one thread uses a logger.
#pragma once

#include <QString>

class QFile;
class QTextStream;

class Logger {
public:
    // Fixed underlying type: write() accepts any int value (a value outside 0..4 has no text).
    enum Level : int { DEBUG = 0, INFO = 1, WARNING = 2, ERROR = 3, FATAL = 4 };

    // The name is accepted and not used: the suite never reads it back.
    explicit Logger(const QString& name);
    ~Logger();
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    void setLevel(const QString& level);
    void setType(const QString& type);
    void write(Logger::Level level, const QString& message);

    void fatal(const QString& msg);
    void error(const QString& msg);
    void warning(const QString& msg);
    void info(const QString& msg);
    void debug(const QString& msg);

private:
    QFile* m_file = nullptr;         // owned
    QTextStream* m_stream = nullptr; // owned, on m_file
    Logger::Level m_level = DEBUG;   // lines below it are dropped
    QString m_fileName;              // full path of the log file
};
