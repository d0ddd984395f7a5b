#include "documenttypes.h"

const DocumentTypes::Type* DocumentTypes::find(const QString& name) {
    const QString lower = name.toLower();
    for (const Type& type : kTypes) {
        if (lower == QLatin1String(type.name))
            return &type;
    }
    return nullptr;
}

QString DocumentTypes::prefix(const Type& type) {
    return QLatin1String("pastrel.") + QLatin1String(type.group) + QLatin1Char('.');
}
