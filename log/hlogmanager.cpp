#include "hlogmanager.h"

namespace {
// The empty name means this entry.
QString defaultName() {
    return QStringLiteral("default");
}
} // namespace

HLogManager::~HLogManager() {
    for (Logger* logger : std::as_const(m_loggers))
        delete logger; // null entries (from getLog("")) are a no-op
    qDeleteAll(m_replaced);
}

void HLogManager::set(const QString& argument, const QString& name) {
    const QString key = name.isEmpty() ? defaultName() : name;
    Logger* created = new Logger(argument);
    Logger* earlier = m_loggers.value(key, nullptr);
    if (earlier != nullptr)
        m_replaced.append(earlier);
    m_loggers.insert(key, created);
}

Logger* HLogManager::getLog(const QString& name) {
    if (name.isEmpty()) {
        auto entry = m_loggers.find(defaultName());
        if (entry == m_loggers.end())
            entry = m_loggers.insert(defaultName(), nullptr);
        return entry.value();
    }
    return m_loggers.value(name, nullptr);
}
