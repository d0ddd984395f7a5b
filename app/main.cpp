#include "compile.h"

int main(int argc, char** argv) {
    compile(argc, argv);
    return 0; // whatever happened: problems are reported as a line on standard output
}
