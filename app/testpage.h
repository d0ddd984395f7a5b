// printTestPage(): `pastrel-config test-page [--drawer] OUTPUT`, the page an installer prints
// before the first customer arrives, to see that the till's configuration and its printer agree.
//
// The page goes through the same delivery as a document of pastrel-print (spool/outputjob.h): a
// plain file is written, a network printer ("socket://HOST[:PORT]") or a device node under /dev
// gets it through the spool, where it waits if the printer cannot take it. It is laid out by the
// back-end pastrel.printer.model chooses (driver/printerbackends.h), with the printer profile of
// the configuration, and shows, within the printer's width:
//   a bold centred title; the model, the columns and the code page the back-end uses;
//   a ruler exactly as wide as the configured columns ("----+----1----+----2..."): a printer
//   with fewer columns wraps it, one with more leaves room after it;
//   every accented letter of Italian, lower and upper case, and the euro sign;
//   a line of bold text and a line of tall text;
//   then the cut, and only with --drawer the cash drawer's pulse, as a document with
//   openCashDrawer = "true" sends it.
// The page's texts are not translated: the installer compares them with this description.
//
// A printer whose back-end sends its documents itself instead of writing bytes for the job (a
// fiscal printer) gets no test page: its own tools and `pastrel-config check` serve it.
//
// Status: 0 when the page was written or delivered; 1 when the output could not be opened or
// written, the page waits in the spool, or the printer gets no test page; 2 for a network output
// without the printer's address ("socket://"), which a page, having no printers element, cannot
// fill in (the reason on standard error).
#pragma once

#include <QString>

int printTestPage(const QString& output, bool drawer);
