# Runs one fuzz target for a fixed number of inputs, from a fixed seed, on a copy of its seed corpus.
# -DFUZZER=<program> -DRUNS=<count> -DSEEDS=<folder> -DWORK=<folder to use>
# -DDICTIONARY=<file that need not be there: pieces of which inputs are made>

file(GLOB seeds "${SEEDS}/*")
if(NOT seeds)
    message(FATAL_ERROR "No seeds in ${SEEDS}")
endif()
set(dictionary "")
if(EXISTS "${DICTIONARY}")
    set(dictionary "-dict=${DICTIONARY}")
endif()
file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}/corpus")
file(COPY ${seeds} DESTINATION "${WORK}/corpus")

# A single input may take seconds at most: a hang is a failure. What fails is left behind in the working folder.
execute_process(
    COMMAND "${FUZZER}" -runs=${RUNS} -seed=1 -timeout=10 -verbosity=0 ${dictionary} "-artifact_prefix=${WORK}/" "${WORK}/corpus"
    RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "The fuzz target failed (${result}); the input that did it is in ${WORK}")
endif()
