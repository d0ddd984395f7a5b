// The only writer to the standard streams in the libraries: every other file reports through it.
#include "diagnostics.h"

#include <QCoreApplication>

#include <iostream>

namespace {
QString& storedProgramName() {
    static QString name;
    return name;
}
} // namespace

void Diagnostics::setProgramName(const QString& name) {
    storedProgramName() = name;
}

QString Diagnostics::programName() {
    if (!storedProgramName().isEmpty())
        return storedProgramName();
    const QString application = QCoreApplication::applicationName();
    return application.isEmpty() ? QStringLiteral("pastrel") : application;
}

void Diagnostics::warn(const QByteArray& text) {
    // Flushed at once, like the suite's lines on standard output, so that the two streams of a
    // run read in the order things happened.
    const QByteArray line = programName().toLocal8Bit() + ": " + text;
    std::cerr.write(line.constData(), line.size());
    std::cerr << std::endl;
}

void Diagnostics::warn(const QString& text) {
    warn(text.toLocal8Bit());
}

void Diagnostics::warn(const char* text) {
    warn(QByteArray(text));
}

QString Diagnostics::oneOf(QStringList values) {
    if (values.isEmpty())
        return QString();
    const QString last = values.takeLast();
    return values.isEmpty() ? last
                            : values.join(QLatin1String(", ")) + QLatin1String(" or ") + last;
}

QByteArray SuiteLines::usage(const QByteArray& program) {
    return "Usage: " + program + " input_file output_file";
}

QByteArray SuiteLines::fileNotFound(const QByteArray& path) {
    return "Error in the method FileReader::open( " + path + " ): File Not Found";
}

void SuiteLines::say(const QByteArray& line) {
    std::cout.write(line.constData(), line.size());
    std::cout << std::endl;
}

void SuiteLines::write(const QByteArray& bytes) {
    std::cout.write(bytes.constData(), bytes.size());
}

void SuiteLines::flush() {
    std::cout.flush();
}
