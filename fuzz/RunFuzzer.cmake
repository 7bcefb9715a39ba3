# Runs one fuzz target for a fixed number of inputs, from a fixed seed, on a copy of its seed corpus.
# -DFUZZER=<program> -DRUNS=<count> -DSEEDS=<folder> -DWORK=<folder to use>
# -DDICTIONARY=<file that need not be there: pieces of which inputs are made>
# -DPLAIN=<whether inputs are chosen without counting how rare what they reach is>

file(GLOB seeds "${SEEDS}/*")
if(NOT seeds)
    message(FATAL_ERROR "No seeds in ${SEEDS}")
endif()
# What is kept of what was learnt stays small: scripts/fuzz sees to that.
set(kept 0)
foreach(seed IN LISTS seeds)
    file(SIZE "${seed}" bytes)
    math(EXPR kept "${kept} + ${bytes}")
endforeach()
if(kept GREATER 204800)
    message(FATAL_ERROR "${kept} bytes in ${SEEDS}; at most 204800 are kept")
endif()
set(options "")
if(EXISTS "${DICTIONARY}")
    set(options "-dict=${DICTIONARY}")
endif()
if(PLAIN)
    list(APPEND options -entropic=0)
endif()
# What an earlier run has left behind stays.
file(REMOVE_RECURSE "${WORK}/corpus")
file(MAKE_DIRECTORY "${WORK}/corpus")
file(COPY ${seeds} DESTINATION "${WORK}/corpus")

# A single input may take seconds at most, and no allocation more than 256 MiB. What fails is left behind in the working
# folder.
execute_process(
    COMMAND "${FUZZER}" -runs=${RUNS} -seed=1 -timeout=10 -malloc_limit_mb=256 -verbosity=0 -print_funcs=0 ${options} "-artifact_prefix=${WORK}/" "${WORK}/corpus"
    RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "The fuzz target failed (${result}); the input that did it is in ${WORK}")
endif()
