# hbbtv-host-check --junit, read back with libxml2's parser (xmllint): the faulty host that never
# answers fails exactly one test case, current-channel's "never", with the finding as its message;
# the simulated television fails none.
string(REPLACE "|" ";" EMULATOR "${EMULATOR}")

function(check_host report expected_status)
  execute_process(COMMAND ${EMULATOR} "${CHECKER}" ${ARGN} --junit "${report}" RESULT_VARIABLE status
                  OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL expected_status)
    message(FATAL_ERROR "hbbtv-host-check ${ARGN} ended with ${status}, not ${expected_status}:\n${output}")
  endif()
endfunction()

# The value of an XPath expression over the report (an empty string where it selects nothing).
function(xpath report expression result)
  execute_process(COMMAND "${XMLLINT}" --xpath "${expression}" "${report}" RESULT_VARIABLE status
                  OUTPUT_VARIABLE value ERROR_VARIABLE errors OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT status EQUAL 0 AND NOT errors MATCHES "XPath set is empty")
    message(FATAL_ERROR "xmllint cannot read ${report}: ${errors}")
  endif()
  set(${result} "${value}" PARENT_SCOPE)
endfunction()

function(expect report expression expected)
  xpath("${report}" "${expression}" value)
  if(NOT value STREQUAL expected)
    message(FATAL_ERROR "${expression} is \"${value}\", not \"${expected}\"")
  endif()
endfunction()

set(never "${WORK}-never.xml")
check_host("${never}" 1 --host "${FAULTY}" --host-arg never --only current-channel --budget-ms 500
           --callback-limit-ms 200)
expect("${never}" "string(/testsuites/@failures)" "1")
expect("${never}" "count(//failure)" "1")
expect("${never}" "string(//testcase[failure]/@classname)" "hbbtv-host-check.current-channel")
expect("${never}" "string(//testcase[failure]/@name)" "never")
expect("${never}" "string(//failure/@type)" "never")
expect("${never}" "string(//failure/@message)"
       "TunerCommand_GetCurrentChannelInfo (ticket 1): no completion within the budget of 500 ms in timeoutMs: report every request finished once, also when there is nothing to answer (valid 0)")
# Every request rule and slow-callback for the operation, after-deinit for the teardown.
expect("${never}" "string(/testsuites/testsuite[@name='current-channel']/@tests)" "13")
expect("${never}" "string(/testsuites/testsuite[@name='teardown']/testcase/@name)" "after-deinit")
expect("${never}" "string(/testsuites/@tests)" "14")

set(passing "${WORK}-simulated.xml")
check_host("${passing}" 0 --host "${SIMULATED}" --budget-ms 3000 --callback-limit-ms 200)
expect("${passing}" "string(/testsuites/@failures)" "0")
expect("${passing}" "count(//failure)" "0")
xpath("${passing}" "count(//testsuite)" suites)
xpath("${passing}" "count(//testcase)" cases)
xpath("${passing}" "string(/testsuites/@tests)" tests)
if(suites LESS 18 OR NOT cases STREQUAL tests)
  message(FATAL_ERROR "${suites} test suites, ${cases} test cases against tests=\"${tests}\"")
endif()
