# `ruvoctl check` as a program.
find_program(RUVO_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH REQUIRED)

add_test(NAME ruvoctl.check
  COMMAND "${RUVO_PYTHON}" -B -m pytest -q -p no:cacheprovider
    "${CMAKE_CURRENT_LIST_DIR}/test_check.py"
  WORKING_DIRECTORY "${CMAKE_CURRENT_LIST_DIR}")
set_tests_properties(ruvoctl.check PROPERTIES
  TIMEOUT 300
  ENVIRONMENT "RUVO_CTL=$<TARGET_FILE:ruvoctl>")
