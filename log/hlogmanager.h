// HLogManager: the process-wide registry of loggers by name, reached through
// SyncSingleton<HLogManager>::instance(). Used from one thread; it locks nothing.
#pragma once

#include "logger.h"

#include <QList>
#include <QMap>
#include <QString>

class HLogManager {
public:
    HLogManager() = default;
    ~HLogManager();
    HLogManager(const HLogManager&) = delete;
    HLogManager& operator=(const HLogManager&) = delete;

    // Registers a new Logger(argument) under name; the empty name means "default".
    void set(const QString& argument, const QString& name);

    // The empty name reads the entry "default", creating it with null if missing; any other
    // name reads its logger or null, creating nothing. Callers test for null.
    Logger* getLog(const QString& name);

    // The registry as it is (names in order, null entries included), for inspection.
    QMap<QString, Logger*> loggers() const { return m_loggers; }

private:
    QMap<QString, Logger*> m_loggers; // owned, ordered by name
    // A logger replaced by set() is not deleted and stays alive (whoever took its
    // pointer, e.g. DatabaseManager, keeps writing to it). It is parked here, unreachable
    // through getLog, and freed only with the registry at exit, so nothing leaks.
    QList<Logger*> m_replaced;
};
