// Diagnostics: the one way the suite's programs speak to the person at the till.
//
// Two channels. Standard error carries the lines for integrators, each prefixed with the name of
// the program that writes it ("pastrel-print: ..."); each program's main() names itself once with
// setProgramName. Standard output carries only the suite's own lines, which the suite's other
// programs compare against word for word: they are all listed here (SuiteLines), written by one
// function, and never reworded.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace Diagnostics {

// Called by each program's main() before anything is reported.
void setProgramName(const QString& name);
// The name set by main(); the application's name, or "pastrel", until one is set.
QString programName();
// One line on standard error: "<program>: <text>". The bytes form keeps a path's own bytes (a
// file name that is not UTF-8) as they are.
void warn(const QString& text);
void warn(const QByteArray& text);
void warn(const char* text);
// The values a setting accepts as a line names them: "a, b or c" ("a" alone for one).
QString oneOf(QStringList values);

} // namespace Diagnostics

namespace SuiteLines {

// The output could not be opened, or a printer could not take the job. The wording, wrong class
// and operation names included, is the one the suite's programs look for.
inline constexpr const char* kUnableToOpenFile =
    "PrintManager::printAbstractOrder(...): Unable To Open File";
// A method element names no known layout.
inline constexpr const char* kFileFormatNotSupported = "File Format Not Supported";
// An unknown document type; followed by the type, lower-cased (two blanks kept as they are).
inline constexpr const char* kDocumentPathError = "Error into PrinterDriver::documentPath:  ";
// HLibrary::copyNumber of an unknown type; followed by the type (one blank kept).
inline constexpr const char* kCopyNumberError = "Error into HLibrary::copyNumber::documentPath: ";

// "Usage: <program> input_file output_file".
QByteArray usage(const QByteArray& program);
// "Error in the method FileReader::open( <path> ): File Not Found".
QByteArray fileNotFound(const QByteArray& path);

// Writes one of the lines above, and an end of line, to standard output at once.
void say(const QByteArray& line);
// Writes bytes to standard output as they are (the configuration tree's export), no end of line.
void write(const QByteArray& bytes);
void flush();

} // namespace SuiteLines
