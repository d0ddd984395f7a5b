// compile(): the whole of "pastrel-print input_file output_file". main() calls it and returns 0
// whatever happened: the suite starts the program per document and never reads its status.
#pragma once

void compile(int argc, char** argv);
