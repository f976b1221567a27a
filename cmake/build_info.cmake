# Writes the build's own facts (variant tag, date, time) into a generated source.
# Included by the project it defines the target `ruvo_build_info`; run as a
# script (cmake -P) it writes the file, and only when its text changes.
#
# The moment is SOURCE_DATE_EPOCH when that is set, else the time of the last
# commit, in UTC, so equal sources give equal bytes. A tree without either (an
# unpacked archive) takes the time of its change log.

if(NOT CMAKE_SCRIPT_MODE_FILE)
  set(RUVO_BUILD_INFO_SOURCE "${CMAKE_BINARY_DIR}/generated/build_info.cpp")
  add_custom_target(ruvo_build_info_text
    COMMAND "${CMAKE_COMMAND}"
      "-DRUVO_SOURCE_DIR=${CMAKE_SOURCE_DIR}"
      "-DRUVO_OUTPUT=${RUVO_BUILD_INFO_SOURCE}"
      "-DRUVO_BUILD_VARIANT=${RUVO_BUILD_VARIANT}"
      -P "${CMAKE_CURRENT_LIST_FILE}"
    BYPRODUCTS "${RUVO_BUILD_INFO_SOURCE}"
    VERBATIM)
  return()
endif()

if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  set(commit_time "")
  # An unpacked archive may lie inside another repository, whose time says nothing.
  if(EXISTS "${RUVO_SOURCE_DIR}/.git")
    execute_process(
      COMMAND git -c "safe.directory=*" -C "${RUVO_SOURCE_DIR}" log -1 --format=%ct
      OUTPUT_VARIABLE commit_time OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  endif()
  if( commit_time MATCHES "^[0-9]+$")
    set(ENV{SOURCE_DATE_EPOCH} "${commit_time}")
  else()
    file(TIMESTAMP "${RUVO_SOURCE_DIR}/CHANGELOG.md" change_log_time "%s" UTC)
    set(ENV{SOURCE_DATE_EPOCH} "${change_log_time}")
  endif()
endif()

string(TIMESTAMP build_date "%b %d %Y" UTC)
# A day of one digit is padded with a blank, as __DATE__ does it.
string(REGEX REPLACE "^(...) 0" "\\1  " build_date "${build_date}")
string(TIMESTAMP build_time "%H:%M:%S" UTC)

set(text "#include \"core/build_info.h\"

namespace ruvo {

const char* const kBuildVariant = \"${RUVO_BUILD_VARIANT}\";
const char* const kBuildDate = \"${build_date}\";
const char* const kBuildTime = \"${build_time}\";

}  // namespace ruvo
")
set(previous "")
if(EXISTS "${RUVO_OUTPUT}")
  file(READ "${RUVO_OUTPUT}" previous)
endif()
if(NOT previous STREQUAL text)
  file(WRITE "${RUVO_OUTPUT}" "${text}")
endif()
