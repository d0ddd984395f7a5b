// TestDriver: the company back-end (Part 3.1) with setters for the column widths of Part 2.3,
// so a test can lay out rows without a configuration file. It writes to the path it is given;
// read the file back after destroying the driver (the destructor closes the output).
#pragma once

#include "companyprinterdriver.h"

#include <QStringList>

class TestDriver : public CompanyPrinterDriver {
public:
    using CompanyPrinterDriver::CompanyPrinterDriver;

    // W, Wq, Wp and Wt of Part 2.3, as loadValues would leave them.
    void setWidths(int paper, int quantity, int price, int total) {
        m_paperWidth = paper;
        m_quantityFieldWidth = quantity;
        m_priceFieldWidth = price;
        m_totalPriceFieldWidth = total;
    }

    // Part 2.4: the credit flag and the credit kept for the document operations.
    void setPrintCredit(bool on) { m_printCredit = on; }
    const QString& credit() const { return m_credit; }

    // Part 2.5: the four printer texts, and how often initPrinter() was called.
    QStringList printerTexts() const {
        return {m_printerName, m_printerCharSize, m_printerIpAddress, m_printerPort};
    }
    void initPrinter() override { ++initPrinterCalls; }
    int initPrinterCalls = 0;
};
