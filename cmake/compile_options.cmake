# What every target of the project is compiled with. Results are bit-exact on every machine: no contraction of
# floating point, and SSE2 arithmetic where the default would be the x87 unit.
add_library(velmont_compile_options INTERFACE)
target_compile_options(velmont_compile_options INTERFACE -Wall -Wextra -ffp-contract=off)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "i[3-6]86")
    target_compile_options(velmont_compile_options INTERFACE -msse2 -mfpmath=sse)
endif()
if(VELMONT_WERROR)
    target_compile_options(velmont_compile_options INTERFACE -Werror)
endif()
if(VELMONT_FUZZ)
    target_compile_options(velmont_compile_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(VELMONT_SANITIZE)
    # Instrumented kernels take the optimiser a long time; little of it is enough here. In such code g++ takes members
    # that are set for uninitialised ones.
    target_compile_options(velmont_compile_options INTERFACE
        -fsanitize=${VELMONT_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all -O1 -g1
        -Wno-maybe-uninitialized)
    target_link_options(velmont_compile_options INTERFACE -fsanitize=${VELMONT_SANITIZE})
    # What takes longer to compile than to run has options of its own, from a variable of its folder: the tests and the
    # command line.
    define_property(TARGET PROPERTY VELMONT_SANITIZED INITIALIZE_FROM_VARIABLE COMPILING_VELMONT_SANITIZED)
    target_compile_options(velmont_compile_options INTERFACE $<TARGET_PROPERTY:VELMONT_SANITIZED>)
endif()
