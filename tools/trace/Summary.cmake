# The summary of a small hand-made trace: exact counts, answer times (nearest rank) and time-outs,
# a line that is not JSON skipped with a message, the drop count, and a page whose data cannot
# close its script element early.
string(REPLACE "|" ";" EMULATOR "${EMULATOR}")
execute_process(COMMAND ${EMULATOR} "${TOOL}" --html "${WORK}.html" "${DATA}" RESULT_VARIABLE status
                OUTPUT_VARIABLE summary ERROR_VARIABLE errors)
message("${summary}${errors}")
if(NOT status EQUAL 0)
  message(FATAL_ERROR "hbbtv-trace failed: ${status}")
endif()
foreach(expected
    "13 trace lines over 1.133 s, 7 lines dropped while recording"
    "TunerCommand_TuneTo +4 +2.000 +100.000 +0\n"
    "DVBMediaPlayer_OpenVideo +1 +- +- +1\n"
    "key +sendKeyEvent +1\n"
    "event +streamEvent +1\n")
  if(NOT summary MATCHES "${expected}")
    message(FATAL_ERROR "the summary lacks /${expected}/")
  endif()
endforeach()
if(NOT errors MATCHES "answers.jsonl:6 is not a trace line; skipped")
  message(FATAL_ERROR "the line that is not JSON is not reported")
endif()
file(READ "${WORK}.html" page)
if(page MATCHES "q</script>")
  message(FATAL_ERROR "the trace's text closes the page's script element")
endif()

# The same trace twice, as a file appended to by two runs of the middleware: the last recording.
execute_process(COMMAND ${EMULATOR} "${TOOL}" "${DATA}" "${DATA}" RESULT_VARIABLE status
                OUTPUT_VARIABLE twice ERROR_VARIABLE errors)
if(NOT status EQUAL 0 OR NOT errors MATCHES "2 recordings \\(numbers start again\\); the last one is shown"
   OR NOT twice MATCHES "13 trace lines over 1.133 s" OR NOT twice MATCHES "TunerCommand_TuneTo +4 +2.000 +100.000 +0\n")
  message(FATAL_ERROR "two recordings in one file are not told apart:\n${twice}${errors}")
endif()
