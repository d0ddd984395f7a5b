// The libFuzzer entry point every target of fuzz/ defines. The same source is linked either with
// libFuzzer (make fuzz, clang) or with replay_main.cpp, which feeds it saved inputs so every seed
// and every former crash also runs as an ordinary test in make test (fmt's pattern).
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
