<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<!-- Italian labels of pastrel-print: every label the renderer prints through the translator,
     context QObject (the program's tr() is QCoreApplication::translate("QObject", ...)).
     Edit by hand, not with lupdate on this file (lupdate would file the labels under the class
     name, where the program never looks); tests/test_translations.cpp lists what is missing.
     Rules the test checks: every message finished, the source's leading and trailing blanks
     kept, and each translation within the cells its place allows (widths of the sample
     configuration examples/home, W = 40). Built by lrelease into <build>/translations/. -->
<TS version="2.1" language="it_IT" sourcelanguage="en">
<context>
    <name>QObject</name>
    <!-- Document heads. Label lines are " label value": no width limit but the
         paper's; "Serial Number: " carries its own trailing blank. -->
    <message>
        <source>Serial Number: </source>
        <translation>Scontrino n. </translation>
    </message>
    <message>
        <source>Invoice Number:</source>
        <translation>Fattura n.</translation>
    </message>
    <message>
        <source>Delivery Number:</source>
        <translation>DDT n.</translation>
    </message>
    <message>
        <source>CUSTOMER</source>
        <translation>CLIENTE</translation>
    </message>
    <message>
        <source>Telephone:</source>
        <translation>Telefono:</translation>
    </message>
    <message>
        <source>License Number:</source>
        <translation>N. licenza:</translation>
    </message>
    <message>
        <source>Fiscal Code:</source>
        <translation>Codice fiscale:</translation>
    </message>
    <message>
        <source>Date:</source>
        <translation>Data:</translation>
    </message>
    <message>
        <source>Time:</source>
        <translation>Ora:</translation>
    </message>
    <message>
        <source>Table:</source>
        <translation>Tavolo:</translation>
    </message>
    <message>
        <source>Waiter:</source>
        <translation>Cameriere:</translation>
    </message>
    <message>
        <source>Note:</source>
        <translation>Nota:</translation>
    </message>
    <message>
        <source>Credit:</source>
        <translation>Credito:</translation>
    </message>
    <!-- Order documents: column headings (quantity within 3 cells, price
         within 8, amount within 9) and the "qdpt" total rows (description column, 19 cells). -->
    <message>
        <source>Num</source>
        <translation>Qtà</translation>
    </message>
    <message>
        <source>Description</source>
        <translation>Descrizione</translation>
    </message>
    <message>
        <source>Price</source>
        <translation>Prezzo</translation>
    </message>
    <message>
        <source>Amount</source>
        <translation>Importo</translation>
    </message>
    <message>
        <source>TOTAL</source>
        <translation>TOTALE</translation>
    </message>
    <message>
        <source>Taxable</source>
        <translation>Imponibile</translation>
    </message>
    <message>
        <source>TaxRate</source>
        <translation>Aliquota</translation>
    </message>
    <message>
        <source>Tax</source>
        <translation>IVA</translation>
    </message>
    <!-- The same words as the untranslated label of the abstract-order receipt, so both receipts
         read alike; four leading blanks and one trailing blank belong to the label. -->
    <message>
        <source>    Amount not paid: </source>
        <translation>    Corrispettivo non pagato: </translation>
    </message>
    <!-- Summary report: titles centred on 40 cells, dotted labels within
         W - 15 = 25, tax-rate heading within 6, 10, 10, 10, cancelled table within 10, 11, 10. -->
    <message>
        <source>SUMMARIES</source>
        <translation>RIEPILOGHI</translation>
    </message>
    <message>
        <source>BeginDate: </source>
        <translation>Data inizio: </translation>
    </message>
    <message>
        <source>EndDate: </source>
        <translation>Data fine: </translation>
    </message>
    <message>
        <source>PREFISCAL SUMMARY</source>
        <translation>RIEPILOGO PRECONTI</translation>
    </message>
    <message>
        <source>RECEIPTS SUMMARY</source>
        <translation>RIEPILOGO SCONTRINI</translation>
    </message>
    <message>
        <source>INVOICES SUMMARY</source>
        <translation>RIEPILOGO FATTURE</translation>
    </message>
    <message>
        <source>CANCELLED DOC SUMMARY</source>
        <translation>RIEPILOGO DOC. ANNULLATI</translation>
    </message>
    <message>
        <source>Number</source>
        <translation>Numero</translation>
    </message>
    <message>
        <source>Serials</source>
        <translation>Numerazione</translation>
    </message>
    <message>
        <source>Amount not paid: </source>
        <translation>Corrispettivo non pagato: </translation>
    </message>
    <message>
        <source>Cash: </source>
        <translation>Contanti: </translation>
    </message>
    <message>
        <source>Credit Card: </source>
        <translation>Carta di credito: </translation>
    </message>
    <message>
        <source>Bancomat: </source>
        <translation>Bancomat: </translation>
    </message>
    <message>
        <source>Other: </source>
        <translation>Altro: </translation>
    </message>
    <message>
        <source>TAXRATE</source>
        <translation>ALIQ.</translation>
    </message>
    <message>
        <source>TAXABLE</source>
        <translation>IMPONIBILE</translation>
    </message>
    <message>
        <source>TAX</source>
        <translation>IVA</translation>
    </message>
    <message>
        <source>AMOUNT</source>
        <translation>IMPORTO</translation>
    </message>
    <message>
        <source>SERIAL</source>
        <translation>NUMERO</translation>
    </message>
    <!-- Statement of account, heading ("Description" and "Amount" above serve it too). -->
    <message>
        <source>Date</source>
        <translation>Data</translation>
    </message>
    <!-- The sheet-copy box of the copies: caption and text. -->
    <message>
        <source>PaperWindow</source>
        <translation>Cambio foglio</translation>
    </message>
    <message>
        <source>Insert a new sheet</source>
        <translation>Inserire un nuovo foglio</translation>
    </message>
    <!-- Statement of account, movement codes: the statement's "type" values are source texts of this
         context. These are the codes of examples/documents/statement-of-account.xml; a shop
         adds its own here (docs/documents.md, "Translations and movement codes"). The kind
         column is W - 15 - priceFieldWidth - 3 cells (13 in the sample configuration). -->
    <message>
        <source>SALE</source>
        <translation>Vendita</translation>
    </message>
    <message>
        <source>PAYMENT</source>
        <translation>Pagamento</translation>
    </message>
</context>
</TS>
