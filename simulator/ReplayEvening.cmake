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

# The channel list, the schedule, SI descriptors and components come back from the recorded host
# data: a channel or a programme renamed there, a descriptor's byte or a component's language
# altered, is a divergence in what the browser was given. Host data recorded only in part is not
# given back, and what became of it is then not compared.
set(renamed "")
set(partial "")
set(listSeq "")
set(scheduleSeq "")
set(descriptorsSeq "")
set(componentsSeq "")
foreach(line IN LISTS recorded)
  set(partialLine "${line}")
  if(line MATCHES "\"kind\":\"hostdata\"")
    string(REPLACE "\"name\":\"ZDF\"" "\"name\":\"ZDF HD\"" line "${line}")
    string(REPLACE "\"text1\":\"Tatort\"" "\"text1\":\"Polizeiruf\"" line "${line}")
    string(REPLACE "\"d0\":\"550444455509\"" "\"d0\":\"55044445550c\"" line "${line}") # rated 15, not 12
    string(REPLACE "\"language\":\"eng\"" "\"language\":\"fra\"" line "${line}")
    string(REGEX REPLACE "\"count\":([0-9]+)" "\"count\":1\\1" partialLine "${partialLine}")
  endif()
  # As recorded from a lineup and a schedule longer than the part the trace carries.
  if(line MATCHES "\"kind\":\"reply\",\"name\":\"getChannelList\".*\"seq\":([0-9]+)")
    set(listSeq "${CMAKE_MATCH_1}")
    string(REGEX REPLACE "\"channels\":([0-9]+),\"hostCount\":([0-9]+)" "\"channels\":1\\1,\"hostCount\":1\\2"
           partialLine "${partialLine}")
  endif()
  if(line MATCHES "\"kind\":\"reply\",\"name\":\"getSIDescriptors\".*\"seq\":([0-9]+)")
    set(descriptorsSeq "${CMAKE_MATCH_1}")
  endif()
  if(line MATCHES "\"kind\":\"reply\",\"name\":\"getAVComponents\".*\"seq\":([0-9]+)")
    set(componentsSeq "${CMAKE_MATCH_1}")
  endif()
  if(line MATCHES "\"kind\":\"reply\",\"name\":\"getAllProgrammesForChannel\".*\"seq\":([0-9]+)")
    set(scheduleSeq "${CMAKE_MATCH_1}")
    string(REGEX REPLACE "\"programmes\":([0-9]+)" "\"programmes\":1\\1" partialLine "${partialLine}")
  endif()
  string(APPEND renamed "${line}\n")
  string(APPEND partial "${partialLine}\n")
endforeach()
file(WRITE "${WORK}/renamed.jsonl" "${renamed}")
file(WRITE "${WORK}/partial.jsonl" "${partial}")
execute_process(COMMAND ${EMULATOR} "${SIMULATOR}" --replay "${WORK}/renamed.jsonl" RESULT_VARIABLE replayed
                OUTPUT_VARIABLE output)
message("${output}")
if(NOT replayed EQUAL 1 OR listSeq STREQUAL ""
   OR NOT output MATCHES "DIVERGENCE reply getChannelList #1 \\(recorded seq ${listSeq}, replayed seq [0-9]+\\)"
   OR NOT output MATCHES "replayed: [^\n]*\"ccid\":\"[^\"]*:ZDF HD\",[^\n]*\"name\":\"ZDF HD\""
   OR NOT output MATCHES "DIVERGENCE reply getAllProgrammesForChannel #1 \\(recorded seq ${scheduleSeq}, replayed seq [0-9]+\\)"
   OR NOT output MATCHES "replayed: [^\n]*\"name\":\"Polizeiruf\""
   OR descriptorsSeq STREQUAL "" OR componentsSeq STREQUAL ""
   OR NOT output MATCHES "DIVERGENCE reply getSIDescriptors #1 \\(recorded seq ${descriptorsSeq}, replayed seq [0-9]+\\)\n  recorded: [^\n]*\"d0\":\"550444455509\"[^\n]*\n  replayed: [^\n]*\"d0\":\"55044445550c\""
   OR NOT output MATCHES "DIVERGENCE reply getAVComponents #1 \\(recorded seq ${componentsSeq}, replayed seq [0-9]+\\)"
   OR NOT output MATCHES "replayed: [^\n]*\"language\":\"fra\",\"tag\":4"
   OR NOT output MATCHES ", 4 divergences;")
  message(FATAL_ERROR "altered host data (a channel, a programme, a descriptor, a component) is not reported as expected")
endif()
execute_process(COMMAND ${EMULATOR} "${SIMULATOR}" --replay "${WORK}/partial.jsonl" RESULT_VARIABLE replayed
                OUTPUT_VARIABLE output)
if(NOT replayed EQUAL 0 OR NOT output MATCHES "0 not replayable, 0 divergences")
  message(FATAL_ERROR "host data recorded in part must not make divergences: ${replayed}\n${output}")
endif()
