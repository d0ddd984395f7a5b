// PrinterStatus: what an ESC/POS printer says about itself after a job, asked with DLE EOT n.
//
// Three questions (n = 1 printer, 2 offline cause, 4 roll paper sensor), each answered with one
// byte whose fixed bits tell a real answer from noise. What each bit means is the table
// kConditions; a printer that does not answer in time is not reported on.
#pragma once

#include <QStringList>

class PrinterLink;

namespace PrinterStatus {

constexpr char DLE = '\x10';      // data link escape
constexpr char EOT = '\x04';      // end of transmission: DLE EOT n asks for status n
constexpr char kPrinter = 1;      // n = 1: printer status
constexpr char kOfflineCause = 2; // n = 2: why the printer is offline
constexpr char kPaperSensor = 4;  // n = 4: roll paper sensor
// Every answer has bits 1 and 4 set and bits 0 and 7 clear.
constexpr unsigned char kAnswerMask = 0x93;
constexpr unsigned char kAnswerFixed = 0x12;
constexpr int kAnswerWaitMs = 500; // per question; a printer that keeps silent is not reported

struct Condition {
    char query;         // n of DLE EOT n
    unsigned char bits; // set in the answer when the condition holds
    const char* text;   // what the till's log says
};

inline constexpr Condition kConditions[] = {
    {kPrinter, 0x08, "offline"},
    {kOfflineCause, 0x04, "cover open"},
    {kPaperSensor, 0x60, "paper out"},
    {kPaperSensor, 0x0c, "paper near end"},
};

// Asks the printer on link each question once and returns the conditions that hold, in the
// order of kConditions; empty when all is well or the printer did not answer.
QStringList problems(PrinterLink& link, int waitMs = kAnswerWaitMs);

} // namespace PrinterStatus
