# Records the simulator's built-in evening with HBBTV_TRACE, then summarises it and writes its
# timeline and trace-event file with hbbtv-trace; fails unless the summary lists the evening's
# commands and crossings.
string(REPLACE "|" ";" EMULATOR "${EMULATOR}") # empty on a native build
file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}")
set(ENV{HBBTV_TRACE} "${WORK}/evening.jsonl")
execute_process(COMMAND ${EMULATOR} "${SIMULATOR}" RESULT_VARIABLE played OUTPUT_QUIET)
if(NOT played EQUAL 0)
  message(FATAL_ERROR "the simulator failed: ${played}")
endif()
unset(ENV{HBBTV_TRACE})
execute_process(COMMAND ${EMULATOR} "${TOOL}" --html "${WORK}/evening.html" --perfetto "${WORK}/evening.json"
                        "${WORK}/evening.jsonl"
                RESULT_VARIABLE summarised OUTPUT_VARIABLE summary)
message("${summary}")
if(NOT summarised EQUAL 0)
  message(FATAL_ERROR "hbbtv-trace failed: ${summarised}")
endif()
foreach(expected "TunerCommand_TuneTo +1 " "DSMCC_DVBURL_GetFile +1 " "key +sendKeyEvent +4" "binder +died +1"
                 "host +keyClick +2" "request +tune +1")
  if(NOT summary MATCHES "${expected}")
    message(FATAL_ERROR "the summary lacks /${expected}/")
  endif()
endforeach()
file(READ "${WORK}/evening.html" page)
if(NOT page MATCHES "data-rendered" OR page MATCHES "<script src=" OR page MATCHES "https?://[a-z]+[^\"]*\\.js")
  message(FATAL_ERROR "the page is not a self-contained timeline")
endif()
