# What every target of this project is compiled with: the language, the warnings and the sanitizers.

set(qlx_compile_options "")
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    list(APPEND qlx_compile_options -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
    # g++ 12 warns of std::string's own operator+ when it is inlined (fixed in g++ 13).
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        list(APPEND qlx_compile_options -Wno-restrict)
    endif()
    if(QLX_WARNINGS_AS_ERRORS)
        list(APPEND qlx_compile_options -Werror)
    endif()
endif()
if(QLX_SANITIZERS)
    list(APPEND qlx_compile_options -fsanitize=${QLX_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
endif()
set(qlx_coverage_options "")
# What counts lines by itself (scripts/coverage) is not counted twice: modules would miss the engine's symbols.
if(QLX_BUILD_FUZZERS AND NOT CMAKE_CXX_FLAGS MATCHES "-fcoverage-mapping")
    # Coverage instrumentation only: the fuzz targets add the engine with its main function.
    set(qlx_coverage_options -fsanitize=fuzzer-no-link)
endif()

# qlx_configure_target(<target> [NO_COVERAGE]): C++20 without extensions, the project's warnings, the chosen sanitizers,
# and what the fuzzing engine follows. All of it is private: a project that embeds the library keeps its own flags.
function(qlx_configure_target target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "NO_COVERAGE" "" "")
    if(NOT arg_NO_COVERAGE)
        target_compile_options(${target} PRIVATE ${qlx_coverage_options})
    endif()
    target_compile_features(${target} PRIVATE cxx_std_20)
    set_target_properties(${target} PROPERTIES CXX_STANDARD_REQUIRED ON CXX_EXTENSIONS OFF)
    target_compile_options(${target} PRIVATE ${qlx_compile_options})
    if(QLX_SANITIZERS)
        target_link_options(${target} PRIVATE -fsanitize=${QLX_SANITIZERS})
    endif()
endfunction()
