include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-fcf-protection ONUQOS_HAS_CF_PROTECTION)

# What turns overruns and overwritten addresses into a prompt end of the process, in optimised builds.
add_library(onuqos_hardening INTERFACE)
if(CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo")
    target_compile_options(onuqos_hardening INTERFACE
        -fstack-protector-strong $<$<BOOL:${ONUQOS_HAS_CF_PROTECTION}>:-fcf-protection>)
    target_compile_definitions(onuqos_hardening INTERFACE _FORTIFY_SOURCE=2)
    target_link_options(onuqos_hardening INTERFACE -Wl,-z,relro -Wl,-z,now)
endif()

# Warnings and instrumentation that every target of the project is built with.
add_library(onuqos_build_flags INTERFACE)
target_link_libraries(onuqos_build_flags INTERFACE onuqos_hardening)
target_compile_options(onuqos_build_flags INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Werror)
target_link_options(onuqos_build_flags INTERFACE -Wl,--as-needed)
# Line tables serve backtraces and debuggers' stepping; full debug information would take a third of the build.
target_compile_options(onuqos_build_flags INTERFACE $<$<NOT:$<CONFIG:Debug>>:-g1>)
# Boost 1.74 includes a few of its own deprecated headers and says so.
target_compile_definitions(onuqos_build_flags INTERFACE BOOST_ALLOW_DEPRECATED_HEADERS)
# Unique symbols would keep a module in the process for ever once it is loaded; singletons do not need them.
target_compile_options(onuqos_build_flags INTERFACE $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-gnu-unique>)

# A peer can send any number where the wire has an enumeration, and the RPC library calls XDR routines through one
# pointer type; neither is an error, so the checks that take them for one stay off. The check of an object's type wants
# the module's type information in the host, which is not linked to it.
set(ONUQOS_NO_SANITIZE -fno-sanitize=enum,vptr $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-fno-sanitize=function>)
if(ONUQOS_SANITIZE)
    set(CMAKE_C_FLAGS_DEBUG "-O1 -g1")
    set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g1")
    target_compile_options(onuqos_build_flags INTERFACE
        -fsanitize=${ONUQOS_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all ${ONUQOS_NO_SANITIZE}
        $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)  # instrumented code makes GCC see what is not there
    target_link_options(onuqos_build_flags INTERFACE -fsanitize=${ONUQOS_SANITIZE})
endif()
if(ONUQOS_FUZZ)
    # The engine learns from what is instrumented; only the fuzzers are linked with it.
    target_compile_options(onuqos_build_flags INTERFACE
        -O2 -fsanitize=fuzzer-no-link -fsanitize-coverage-ignorelist=${CMAKE_SOURCE_DIR}/fuzz/notCounted.txt)
    target_link_options(onuqos_build_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(ONUQOS_COVERAGE)
    target_compile_options(onuqos_build_flags INTERFACE --coverage)
    target_link_options(onuqos_build_flags INTERFACE --coverage)
endif()
