// RtStandIn: a fiscal printer (RT) on 127.0.0.1 for the tests, speaking the Epson-compatible or
// the Custom-compatible XML dialect over HTTP. It keeps a fiscal memory (the last document's
// number and amount, the Z counter), enforces the sequence a real RT enforces (the receipt
// begins before its sales, no sale after the payments, payments that cover the total, a known
// reparto) and can, on demand, answer "paper end", refuse a reparto, drop the connection after
// reading a request (having issued the receipt or not), or answer late. Each connection is
// served on its own thread, as an RT answers a status query while it prints.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

#include <atomic>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

class RtStandIn {
public:
    enum class Dialect { Epson, Custom };
    enum class Fault {
        None,
        PaperEnd,      // refuses the next document: paper end
        DropIssued,    // reads the next document, issues it, closes without an answer
        DropNotIssued, // reads the next document, closes without issuing or answering
        AnswerLate,    // issues the next document and answers after lateMs
    };

    struct Issued {
        int number = 0;
        int z = 0;
        qint64 total = 0;     // cents: the sales as the RT adds them up
        QStringList sales;    // "department|quantity|description|unitPrice" as received
        QStringList payments; // "paymentType|amount" as received
    };

    explicit RtStandIn(Dialect dialect);
    ~RtStandIn();

    QString url() const; // http://127.0.0.1:PORT
    quint16 port() const { return m_port; }

    // The fault of the next document; a drop also leaves the next silentQueries status queries
    // without an answer (an RT that went away with the receipt).
    void setFault(Fault fault, int lateMs = 0, int silentQueries = 0);
    void refuseDepartment(int department);
    void requireLogin(const QByteArray& user, const QByteArray& password);
    // Answers in chunks (Transfer-Encoding: chunked), as some RTs' web servers do.
    void setChunkedAnswers(bool chunked) { m_chunked = chunked; }

    // The documents received, every request body in order (status queries included).
    QVector<QByteArray> requests() const;
    // The requests other than status queries.
    QVector<QByteArray> documents() const;
    QVector<Issued> receipts() const;
    QStringList nonFiscalLines() const; // "font|data"
    int zNumber() const;

private:
    struct Reply {
        bool answer = true;
        int httpStatus = 200;
        bool success = true;
        QString code;
        QVector<QPair<QString, QString>> info;
    };
    void acceptLoop();
    void serve(int client);
    Reply handle(const QByteArray& path, const QByteArray& authorization, const QByteArray& body,
                 int* lateMs);
    Reply fiscalReceipt(const QVector<QPair<QString, QVector<QPair<QString, QString>>>>& commands);
    Reply lastDocumentInfo(Reply reply) const;
    QByteArray render(const Reply& reply) const;
    QString amountText(qint64 cents) const;
    bool parseAmount(const QString& text, qint64* cents) const;

    Dialect m_dialect;
    int m_listener = -1;
    int m_stop[2] = {-1, -1};
    quint16 m_port = 0;
    std::thread m_acceptor;
    std::vector<std::thread> m_workers;
    mutable std::mutex m_mutex;
    // The fiscal memory and the faults, under m_mutex.
    int m_z = 1;
    int m_lastNumber = 0;
    qint64 m_lastAmount = 0;
    QVector<Issued> m_receipts;
    QStringList m_nonFiscal;
    QVector<QByteArray> m_requests;
    QVector<bool> m_isStatus;
    Fault m_fault = Fault::None;
    int m_lateMs = 0;
    int m_silentAfterDrop = 0;
    int m_silentQueries = 0;
    std::set<int> m_refusedDepartments;
    QByteArray m_authorization;
    std::atomic<bool> m_chunked{false};
};
