# The trace-event file of a small hand-made trace: two browser requests at once, each waiting for a
# command (one completed, one timed out), so that the slices, the threads they overflow to, the
# flows from request to reply and the text written plainly are exact. Its last line holds texts
# where numbers belong: it pairs with nothing and is shown as it is.
string(REPLACE "|" ";" EMULATOR "${EMULATOR}")
execute_process(COMMAND ${EMULATOR} "${TOOL}" --perfetto "${WORK}.json" "${DATA}" RESULT_VARIABLE status
                OUTPUT_VARIABLE summary ERROR_VARIABLE errors)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "hbbtv-trace failed: ${status}\n${summary}${errors}")
endif()
execute_process(COMMAND ${EMULATOR} "${CHECKER}" "${WORK}.json" RESULT_VARIABLE status OUTPUT_VARIABLE checked
                ERROR_VARIABLE problems)
message("${checked}${problems}")
if(NOT status EQUAL 0 OR NOT checked MATCHES "2 flows, 1 from the browser through the library and the host back")
  message(FATAL_ERROR "the file breaks the format or lacks the round trip")
endif()
file(READ "${WORK}.json" events)
# One event a line, keys in the order written.
foreach(expected
    "{\"ph\":\"M\",\"name\":\"thread_name\",\"pid\":2,\"tid\":201,\"args\":{\"name\":\"library 2\"}}"
    "{\"ph\":\"M\",\"name\":\"thread_name\",\"pid\":3,\"tid\":301,\"args\":{\"name\":\"browser 2\"}}"
    "{\"ph\":\"X\",\"name\":\"request tune\",\"cat\":\"request\",\"ts\":0,\"dur\":0,\"pid\":3,\"tid\":3,\"args\":{\"ccid\":\"a\\?b\",\"idType\":12,\"seq\":1,\"th\":10},\"bind_id\":1,\"flow_out\":true}"
    "{\"ph\":\"X\",\"name\":\"TunerCommand_TuneTo\",\"cat\":\"command\",\"ts\":200,\"dur\":250,\"pid\":2,\"tid\":2,[^\n]*\"ticket\":7,\"us\":250,\"valid\":true}},\"bind_id\":1,\"flow_in\":true,\"flow_out\":true}"
    "{\"ph\":\"X\",\"name\":\"TunerCommand_TuneTo completed\",\"cat\":\"completion\",\"ts\":450,\"dur\":0,\"pid\":1,\"tid\":1,[^\n]*\"bind_id\":1,\"flow_in\":true,\"flow_out\":true}"
    "{\"ph\":\"X\",\"name\":\"reply tune\",\"cat\":\"reply\",\"ts\":600,\"dur\":0,\"pid\":3,\"tid\":3,\"args\":{\"result\":101,\"seq\":8,\"th\":10},\"bind_id\":1,\"flow_in\":true}"
    "{\"ph\":\"X\",\"name\":\"getProgrammes\",\"cat\":\"request\",\"ts\":100,\"dur\":1020300,\"pid\":3,\"tid\":301,"
    "{\"ph\":\"X\",\"name\":\"ProgrammeCommand_GetProgrammeInfo \\(timed out\\)\",\"cat\":\"command,timed out\",\"ts\":300,\"dur\":1020000,\"pid\":2,\"tid\":201,[^\n]*\"time-out\":{\"command\":400,\"seq\":9,[^\n]*\"bind_id\":2,\"flow_in\":true,\"flow_out\":true}"
    "{\"ph\":\"X\",\"name\":\"reply getProgrammes\",\"cat\":\"reply\",\"ts\":1020400,\"dur\":0,\"pid\":3,\"tid\":301,[^\n]*\"bind_id\":2,\"flow_in\":true}"
    "{\"ph\":\"i\",\"s\":\"t\",\"name\":\"host notifyHbbtvServiceRequestFinished\",\"cat\":\"host\",\"ts\":400,\"pid\":1,\"tid\":1,\"args\":{\"seq\":5,\"th\":5,\"ticket\":7}}"
    "{\"ph\":\"i\",\"s\":\"t\",\"name\":\"completed command -1\",\"cat\":\"completed\",\"ts\":1020500,\"pid\":1,")
  if(NOT events MATCHES "\n${expected}")
    message(FATAL_ERROR "the file lacks /${expected}/")
  endif()
endforeach()
