#include "printerbackends.h"

#include "companyprinterdriver.h"
#include "diagnostics.h"
#include "escposprinterdriver.h"
#include "rtprinterdriver.h"
#include "testpagelayout.h"

#include <QStringList>

namespace {

template <class Driver>
std::unique_ptr<PrinterDriver> make(QIODevice* device, const PrinterProfile& profile) {
    return std::make_unique<Driver>(device, profile);
}

// The first row is the printer of a till whose configuration names none.
const PrinterBackend kBackends[] = {
    {"company", &make<CompanyPrinterDriver>, nullptr, false,
     &TestPageLayout::print<CompanyPrinterDriver>},
    {"escpos", &make<EscPosPrinterDriver>, nullptr, true,
     &TestPageLayout::print<EscPosPrinterDriver>},
    // Fiscal printers (RT) over HTTP: they deliver the document themselves, never through the
    // spool (a fiscal receipt issued later would be a false document).
    {"rt-epson", &make<RtPrinterDriver>, &RtPrinterDriver::deliverJob, false, nullptr},
    {"rt-custom", &make<RtPrinterDriver>, &RtPrinterDriver::deliverJob, false, nullptr},
};

} // namespace

const PrinterBackend* PrinterBackends::find(const QString& model) {
    for (const PrinterBackend& backend : kBackends) {
        if (model == QLatin1String(backend.model))
            return &backend;
    }
    return nullptr;
}

const PrinterBackend& PrinterBackends::choose(const PrinterProfile& profile) {
    if (profile.model.isEmpty())
        return kBackends[0];
    if (const PrinterBackend* backend = find(profile.model))
        return *backend;
    Diagnostics::warn(unknownModel(profile.model));
    return kBackends[0];
}

QString PrinterBackends::unknownModel(const QString& model) {
    return QStringLiteral("unknown %1 \"%2\" (%3); printing for the company printer")
        .arg(PrinterProfile::key(PrinterProfile::Model), model, names());
}

QString PrinterBackends::names() {
    QStringList names;
    for (const PrinterBackend& backend : kBackends)
        names << QLatin1String(backend.model);
    return Diagnostics::oneOf(names);
}
