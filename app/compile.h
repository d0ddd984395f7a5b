// compile(): the command-line driver of Part 1.1. main() calls it and returns 0.
#pragma once

void compile(int argc, char** argv);
