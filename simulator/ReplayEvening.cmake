# Records the built-in evening with HBBTV_TRACE and replays it: no divergence. Then replays a copy
# whose tune answer was edited (the host's result 101 becomes 5): exactly that divergence, with
# both sides and the sequence number, and exit status 1.
string(REPLACE "|" ";" EMULATOR "${EMULATOR}") # empty on a native build
file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}")
set(ENV{HBBTV_TRACE} "${WORK}/evening.jsonl")
execute_process(COMMAND ${EMULATOR} "${SIMULATOR}" RESULT_VARIABLE played OUTPUT_QUIET)
unset(ENV{HBBTV_TRACE})
if(NOT played EQUAL 0)
  message(FATAL_ERROR "recording the evening failed: ${played}")
endif()

execute_process(COMMAND ${EMULATOR} "${SIMULATOR}" --replay "${WORK}/evening.jsonl" RESULT_VARIABLE replayed
                OUTPUT_VARIABLE output)
string(REGEX MATCHALL "\\[replay\\][^\n]*" lines "${output}")
string(REPLACE ";" "\n" lines "${lines}")
message("${lines}")
if(NOT replayed EQUAL 0 OR NOT output MATCHES "0 not replayable, 0 divergences")
  message(FATAL_ERROR "the evening does not replay cleanly: ${replayed}")
endif()

file(STRINGS "${WORK}/evening.jsonl" recorded)
set(edited "")
set(tuneSeq "")
foreach(line IN LISTS recorded)
  if(line MATCHES "\"kind\":\"answer\",\"name\":\"TunerCommand_TuneTo\"")
    string(REPLACE "\"int1\":101" "\"int1\":5" line "${line}")
  endif()
  if(line MATCHES "\"kind\":\"reply\",\"name\":\"tune\".*\"seq\":([0-9]+)")
    set(tuneSeq "${CMAKE_MATCH_1}")
  endif()
  string(APPEND edited "${line}\n")
endforeach()
file(WRITE "${WORK}/edited.jsonl" "${edited}")
execute_process(COMMAND ${EMULATOR} "${SIMULATOR}" --replay "${WORK}/edited.jsonl" RESULT_VARIABLE replayed
                OUTPUT_VARIABLE output)
message("${output}")
if(NOT replayed EQUAL 1)
  message(FATAL_ERROR "an edited answer must end the replay with status 1, not ${replayed}")
endif()
set(expected "DIVERGENCE reply tune #1 \\(recorded seq ${tuneSeq}, replayed seq [0-9]+\\)\n"
             "  recorded: {\"kind\":\"reply\",\"name\":\"tune\",\"result\":101}\n"
             "  replayed: {\"kind\":\"reply\",\"name\":\"tune\",\"result\":5}\n")
string(CONCAT expected ${expected})
if(NOT output MATCHES "${expected}" OR NOT output MATCHES ", 1 divergence;")
  message(FATAL_ERROR "the edited answer's divergence is not reported as expected")
endif()
