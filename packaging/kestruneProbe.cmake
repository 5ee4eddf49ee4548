# kestrune_add_probe_test(NAME name [TROUBLE trouble] [REPORT path] [LAUNCHER word...] COMMAND word...)
#
# Adds a test that runs a host under the probe: it passes when the host ends with status 0 and the probe has found nothing.
# The command loads what KESTRUNE_PROBE_LIBRARY names in the module's place. TROUBLE asks for trouble on cue. REPORT names
# the report, without the endings .tap and .xml; otherwise it is that of the test, in the build folder. LAUNCHER stands before
# all of it, where the host needs a machine of its own; the report is then read in there.
function(kestrune_add_probe_test)
  cmake_parse_arguments(PARSE_ARGV 0 test "" "NAME;TROUBLE;REPORT" "COMMAND;LAUNCHER")
  if(NOT test_NAME OR NOT test_COMMAND OR test_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "kestrune_add_probe_test takes NAME, COMMAND, TROUBLE, REPORT and LAUNCHER")
  endif()
  if(NOT test_REPORT)
    set(test_REPORT "${CMAKE_CURRENT_BINARY_DIR}/${test_NAME}")
  endif()
  add_test(NAME "${test_NAME}" COMMAND ${test_LAUNCHER} "${CMAKE_COMMAND}" "-DREPORT=${test_REPORT}"
    "-DTROUBLE=${test_TROUBLE}" -P "${KESTRUNE_PROBE_RUNNER}" -- ${test_COMMAND})
endfunction()
