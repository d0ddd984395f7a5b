#include "printerstatus.h"

#include "printerlink.h"

#include <map>

namespace PrinterStatus {

QStringList problems(PrinterLink& link, int waitMs) {
    std::map<char, int> answers; // n -> answer byte
    QStringList found;
    for (const Condition& condition : kConditions) {
        auto answer = answers.find(condition.query);
        if (answer == answers.end()) {
            const char query[] = {DLE, EOT, condition.query};
            const int byte = link.ask(QByteArray(query, sizeof query), waitMs);
            if (byte < 0 || (byte & kAnswerMask) != kAnswerFixed)
                return found; // silent or not a status answer: ask no further
            answer = answers.emplace(condition.query, byte).first;
        }
        if ((answer->second & condition.bits) != 0)
            found << QLatin1String(condition.text);
    }
    return found;
}

} // namespace PrinterStatus
