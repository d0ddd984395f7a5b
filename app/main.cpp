#include "compile.h"
#include "diagnostics.h"

int main(int argc, char** argv) {
    Diagnostics::setProgramName(QStringLiteral("pastrel-print"));
    compile(argc, argv);
    return 0; // whatever happened: problems are reported as a line on standard output
}
