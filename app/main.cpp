#include "compile.h"

int main(int argc, char** argv) {
    compile(argc, argv);
    return 0; // whatever happened (Part 1.1)
}
