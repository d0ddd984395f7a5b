// CompanyPrinterDriver: the printer back-end for the company's 40-column receipt printer: text
// and its control bytes. Turns the renderer's requests into text and control bytes on the base's
// output stream.
#pragma once

#include "printerdriver.h"

class CompanyPrinterDriver : public PrinterDriver {
public:
    CompanyPrinterDriver(const QString& path, bool append);
    CompanyPrinterDriver(const QByteArray& nativePath, bool append);
    CompanyPrinterDriver(QIODevice* device, const PrinterProfile& profile,
                         SettingLookup settings = SettingLookup());
    ~CompanyPrinterDriver() override;

    unsigned int getPaperWidth() override;
    void reset() override;
    void setBold() override;
    void setCharSize() override;
    void setCharSize(int size) override;
    void setCenterJustify() override;
    void fullCut() override;
    void generatePulse() override;
    void startSection() override;
    void endSection() override;
    void print(unsigned int indent, const QString& text) override;
    void println(unsigned int indent, const QString& text) override;
    void println(const QString& text) override;
    void printRowFiscal(const QString& first, const QString& second, const QString& third,
                        const QString& fourth) override;
    using PrinterDriver::printRowFiscal;
    void printLogo() override;

    virtual void openCashDrawer();

private:
    QString m_companyText; // room for the company's own text; no operation reads it yet
};
