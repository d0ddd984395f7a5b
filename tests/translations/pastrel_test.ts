<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<!-- Test catalogue for the golden documents: a few report labels and one movement
     code in Italian, context QObject. Labels left out here are printed as they
     stand, which the golden cases also show. Built by lrelease into
     <build>/tests/translations/ as pastrel_test.qm, pastrel_it_IT.qm and pastrel_de.qm. -->
<TS version="2.1" language="it_IT">
<context>
    <name>QObject</name>
    <message>
        <source>SUMMARIES</source>
        <translation>RIEPILOGHI</translation>
    </message>
    <message>
        <source>BeginDate: </source>
        <translation>Dal: </translation>
    </message>
    <message>
        <source>EndDate: </source>
        <translation>Al: </translation>
    </message>
    <message>
        <source>RECEIPTS SUMMARY</source>
        <translation>RIEPILOGO SCONTRINI</translation>
    </message>
    <message>
        <source>Number</source>
        <translation>Numero</translation>
    </message>
    <message>
        <source>TOTAL</source>
        <translation>TOTALE</translation>
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
        <source>TAXRATE</source>
        <translation>ALIQ.</translation>
    </message>
    <message>
        <source>TAXABLE</source>
        <translation>IMPONIBILE</translation>
    </message>
    <message>
        <source>TAX</source>
        <translation>IMPOSTA</translation>
    </message>
    <message>
        <source>AMOUNT</source>
        <translation>IMPORTO</translation>
    </message>
    <message>
        <source>CANCELLED DOC SUMMARY</source>
        <translation>DOCUMENTI ANNULLATI</translation>
    </message>
    <message>
        <source>SERIAL</source>
        <translation>NUMERO</translation>
    </message>
    <message>
        <source>Date</source>
        <translation>Data</translation>
    </message>
    <message>
        <source>Description</source>
        <translation>Descrizione</translation>
    </message>
    <message>
        <source>Amount</source>
        <translation>Importo</translation>
    </message>
    <message>
        <source>PAY</source>
        <translation>Pagamento</translation>
    </message>
    <!-- The key a type "BUONO€" becomes after the 8-bit conversion. -->
    <message>
        <source>BUONO?</source>
        <translation>Buono pasto</translation>
    </message>
</context>
</TS>
