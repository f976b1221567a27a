# What stands beside the executable: its manual pages and its completions.
find_program(RUVO_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH REQUIRED)

foreach(subject IN ITEMS pages completions)
  add_test(NAME ruvoctl.${subject}
    COMMAND "${RUVO_PYTHON}" -B -m pytest -q -p no:cacheprovider
      "${CMAKE_CURRENT_LIST_DIR}/test_${subject}.py"
    WORKING_DIRECTORY "${CMAKE_CURRENT_LIST_DIR}")
  set_tests_properties(ruvoctl.${subject} PROPERTIES
    TIMEOUT 600
    ENVIRONMENT "RUVO_CTL=$<TARGET_FILE:ruvoctl>;RUVO_SOURCE_DIR=${CMAKE_SOURCE_DIR}")
endforeach()
# Most of its time goes into starting shells.
set_property(TEST ruvoctl.completions PROPERTY LABELS long)
