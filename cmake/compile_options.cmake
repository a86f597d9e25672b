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
    # In the tests' own code a bad pointer shows without a check at each use, which would take a third of the build.
    define_property(TARGET PROPERTY VELMONT_IS_TEST INITIALIZE_FROM_VARIABLE COMPILING_VELMONT_IS_TEST)
    target_compile_options(velmont_compile_options INTERFACE
        $<$<BOOL:$<TARGET_PROPERTY:VELMONT_IS_TEST>>:-fno-sanitize=null,alignment,vptr,object-size,pointer-overflow>)
endif()
