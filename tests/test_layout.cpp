// The layout on its own, in memory: no home folder, no configuration file, no output file.
// descriptionRow, one row per case: it alone covers fills and widths in modes no golden document
// uses. Written by hand from the widths: description D = paper - quantity - price - total - 3.
#include "companyprinterdriver.h"
#include "documentreader.h"
#include "samplereceipt.h"
#include "testsupport.h"

#include <QBuffer>
#include <QHash>

#include <cstdlib>
#include <tuple>

namespace {

// Document settings from a table instead of a configuration file.
PrinterDriver::SettingLookup settings(const QHash<QString, QString>& values) {
    return [values](const QString& key) { return values.value(key); };
}

class WidthDriver : public CompanyPrinterDriver {
public:
    WidthDriver(QIODevice* device, int paper, int quantity, int price, int total)
        : CompanyPrinterDriver(device, PrinterProfile(), settings({})) {
        std::tie(m_paperWidth, m_quantityFieldWidth, m_priceFieldWidth, m_totalPriceFieldWidth) =
            std::tie(paper, quantity, price, total);
    }
};

struct Row {
    int paper, quantity, price, total;
    const char *first, *second, *third, *fourth;
    char fill;
    const char* mode;
    const char* expected;
};

// clang-format off
const Row kRows[] = {
    {40, 3, 8, 9, "2", "Spaghetti alla carbonara", "7.50", "15.00", '.', "qxdpt", "  2 x Spaghetti alla ca....7.50    15.00"},
    {40, 3, 8, 9, "12", "Vino", "4.00", "48.00", '*', "qxdpt", " 12 x Vino*****************4.00    48.00"},
    {40, 3, 8, 9, "Qty", "Description", "Price", "Total", ' ', "qdpt", "Qty Description           Price    Total"},
    {40, 3, 8, 9, "1", "Pizza margherita XL", "8.00", "8.00", '.', "qdpt", "  1 Pizza margherita XL....8.00     8.00"},
    {40, 3, 8, 9, "1", "Pizza margherita XXL", "8.00", "8.00", '.', "qdpt", "  1 Pizza margherita XX....8.00     8.00"},
    {40, 3, 8, 9, "1", "", "3.00", "3.00", '.', "qdpt", "  1 .......................3.00     3.00"},
    {40, 3, 8, 9, "1000", "Acqua", "7.50", "7500.00", '.', "qxdpt", "1000 x Acqua................7.50  7500.00"},
    {23, 3, 8, 9, "2", "Acqua", "7.50", "15.00", '.', "qxdpt", "  2 x ....7.50    15.00"},
    {20, 3, 8, 9, "2", "Spaghetti alla carbonara", "7.50", "15.00", '.', "qxdpt", "  2 x Spaghetti alla carbonara....7.50    15.00"},
    {4, 3, 0, 0, "2", "Acqua", "", "", '.', "qd", "  2 Acqua"},
    {40, 3, 8, 9, "2", "Acqua", "7.50", "15.00", '.', "qxdtDoubleLine", "2 x 7.50\nAcqua..............................15.00"},
    {40, 3, 8, 9, "", "Spaghetti alla carbonara con guanciale", "", "15.00", '.', "qxdtDoubleLine", " x \nSpaghetti alla carbonara con gu....15.00"},
    {40, 0, 0, 0, "2", "Acqua", "7.50", "15.00", '.', "qxdpt", "2 x Acqua................................7.5015.00"},
    {40, 3, 8, 9, "2", "Acqua", "", "", '.', "qxd", "  2 x Acqua............................."},
    {40, 3, 8, 9, "12", "Spaghetti alla carbonara con guanciale", "", "", '.', "qd", " 12 Spaghetti alla carbonara con guanc"},
    {40, 3, 8, 9, "01/02/2024", "Cash", "12.50", "ignored", '.', "date-amount-type", "01/02/2024     Cash.............12.50"},
    {40, 3, 8, 9, "2024-02-01 12:30", "Cash", "12.50", "", ' ', "date-amount-type", "2024-02-01 12:30Cash             12.50"},
    {40, 3, 8, 9, "2", "Acqua", "7.50", "15.00", '.', "QXDPT", nullptr}, // unknown: null
};
// clang-format on

TEST(DescriptionRow, LaysOutEveryModeFromTheWidths) {
    ::unsetenv("HOME");
    for (const Row& r : kRows) {
        WidthDriver driver(nullptr, r.paper, r.quantity, r.price, r.total);
        const QString row = driver.descriptionRow(
            QString::fromUtf8(r.first), QString::fromUtf8(r.second), QString::fromUtf8(r.third),
            QString::fromUtf8(r.fourth), QLatin1Char(r.fill), QString::fromUtf8(r.mode));
        EXPECT_EQ(row, r.expected ? QString::fromUtf8(r.expected) : QString())
            << r.mode << " " << r.second;
        EXPECT_EQ(row.isNull(), r.expected == nullptr) << r.mode;
    }
}

// A whole document rendered into a buffer: the settings come from the table given, the bytes go
// to the device given, and the document's printer address comes back.
TEST(Layout, RendersADocumentIntoABufferWithoutAHome) {
    ::unsetenv("HOME");
    QBuffer input;
    input.setData("<doc><printers ipaddress=\"10.0.0.9\" port=\"9101\"/>"
                  "<method name=\"printFullOrderReceipt\"/><receipt serialnumber=\"7\"/></doc>");
    input.open(QIODevice::ReadOnly);
    QBuffer output;
    output.open(QIODevice::WriteOnly);
    {
        CompanyPrinterDriver driver(&output, PrinterProfile(),
                                    settings({{"pastrel.receiptdoc.paperWidth", "20"},
                                              {"pastrel.receiptdoc.openCashDrawer", "true"}}));
        DocumentReader(driver).parse(input, "in.xml");
        EXPECT_TRUE(driver.flush());
        EXPECT_EQ(driver.printerAddress().ipAddress, "10.0.0.9");
        EXPECT_EQ(driver.printerAddress().port, "9101");
    }
    EXPECT_BYTES(" Serial Number: 7\n" + QByteArray(20, '=') + "\n" + testsupport::kEnd +
                     testsupport::kDrawer,
                 output.data());
}

} // namespace
