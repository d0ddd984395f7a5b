# One place that sets warnings and sanitizers for every target of the project
# (spdlog's pattern): call pastrel_target(<target>) after add_library/add_executable.
option(PASTREL_WERROR "Treat warnings as errors" OFF)
option(PASTREL_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(PASTREL_FUZZ "Build fuzz/ with libFuzzer (clang); instruments every target for coverage" OFF)

function(pastrel_target target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
    if(PASTREL_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(PASTREL_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=address,undefined
                                                 -fno-sanitize-recover=all -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=address,undefined)
    endif()
    if(PASTREL_FUZZ)
        target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
endfunction()
