// The fiscal-printer hooks (Part 2.7's printAbstractOrderFiscal and our printFullOrderFiscal,
// docs/documents.md): the company back-end ignores them, so a recording back-end shows what a
// fiscal back-end would receive.
#include "companyprinterdriver.h"
#include "documentreader.h"
#include "testsupport.h"

#include <QStringList>

namespace {

using testsupport::TempHome;

class RecordingDriver : public CompanyPrinterDriver {
public:
    using CompanyPrinterDriver::CompanyPrinterDriver;
    void printRowFiscal(const QString& first, const QString& second, const QString& third,
                        const QString& fourth) override {
        rows << QStringList{first, second, third, fourth}.join(QLatin1Char('|'));
    }
    void printRowFiscal(const QString& name, const Attributes& attributes) override {
        QStringList texts{name};
        for (const auto& attribute : attributes)
            texts << attribute.name().toString() + QLatin1Char('=') + attribute.value().toString();
        rows << QStringLiteral("element:") + texts.join(QLatin1Char('|'));
    }
    QStringList rows;
};

QStringList fiscalRows(const QByteArray& xml) {
    TempHome home;
    qputenv("HOME", home.path().toLocal8Bit());
    const QString input = home.file(QStringLiteral("in.xml"));
    EXPECT_TRUE(testsupport::writeFile(input, xml));
    ::testing::internal::CaptureStdout(); // the missing-configuration message
    RecordingDriver driver(home.file(QStringLiteral("out.prn")), false);
    DocumentReader(driver).parse(input);
    ::testing::internal::GetCapturedStdout();
    return driver.rows;
}

// Part 2.7: one row per sale kind with the fixed quantity "1"; the total element passed on;
// no printSections, so section elements reach no hook and print nothing either.
TEST(Part27, AbstractFiscalHandsRowsAndTotalToHooks) {
    const QStringList rows = fiscalRows(
        "<doc><method name=\"printAbstractOrderFiscal\"/><receipt serialnumber=\"9\"/>"
        "<receipe_type department=\"2\" number=\"5\" name=\"Bevande\" price=\"17.00\"/>"
        "<receipe_type name=\"Cucina\"/><total price=\"17.00\" cash=\"20.00\"/><totals/></doc>");
    EXPECT_EQ(rows, (QStringList{QStringLiteral("2|1|Bevande|17.00"), QStringLiteral("|1|Cucina|"),
                                 QStringLiteral("element:total|price=17.00|cash=20.00")}));
}

// docs/documents.md, printFullOrderFiscal: dishes and variants with their own counts, the
// variant's description with the sign of Part 2.6, and the total element.
TEST(FullOrderFiscal, HandsDishesVariantsAndTotalToHooks) {
    const QStringList rows = fiscalRows(
        "<doc><method name=\"printFullOrderFiscal\"/>"
        "<receipe department=\"1\" number=\"2\" name=\"Pizza margherita\" price=\"7.00\"/>"
        "<variant department=\"1\" number=\"1\" quantity=\"1\" name=\"bufala\" price=\"1.50\"/>"
        "<otherreceipe department=\"2\" number=\"2\" name=\"Birra media\" price=\"5.00\"/>"
        "<total price=\"24.50\"/></doc>");
    EXPECT_EQ(rows, (QStringList{QStringLiteral("1|2|Pizza margherita|7.00"),
                                 QStringLiteral("1|1|+ bufala|1.50"),
                                 QStringLiteral("2|2|Birra media|5.00"),
                                 QStringLiteral("element:total|price=24.50")}));
}

} // namespace
