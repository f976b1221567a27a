# One interface library carries every flag that our own targets share.
add_library(ruvo_options INTERFACE)
target_include_directories(ruvo_options INTERFACE "${CMAKE_SOURCE_DIR}")
target_link_libraries(ruvo_options INTERFACE Threads::Threads)
target_compile_options(ruvo_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
  # No folder of the build machine ends up in a binary: the same sources give
  # the same bytes wherever they are built. The last fitting line counts.
  "-ffile-prefix-map=${CMAKE_SOURCE_DIR}=."
  "-ffile-prefix-map=${CMAKE_BINARY_DIR}=build")
# Files beyond 2 GiB and times beyond 2038 where a long has 32 bits.
target_compile_definitions(ruvo_options INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)

# Some 32-bit processors have their 64-bit atomics in a library of the compiler's.
include(CheckCXXSourceCompiles)
check_cxx_source_compiles("
  #include <atomic>
  #include <cstdint>
  std::atomic<std::int64_t> number;
  int main() { return static_cast<int>(number.fetch_add(1)); }"
  RUVO_ATOMICS_NEED_NO_LIBRARY)
if(NOT RUVO_ATOMICS_NEED_NO_LIBRARY)
  target_link_libraries(ruvo_options INTERFACE atomic)
endif()

# Functions and data that nobody uses do not end up in a program.
target_compile_options(ruvo_options INTERFACE
  $<$<CONFIG:Release>:-ffunction-sections> $<$<CONFIG:Release>:-fdata-sections>)
target_link_options(ruvo_options INTERFACE $<$<CONFIG:Release>:-Wl,--gc-sections>)

if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(ruvo_options INTERFACE -Wthread-safety)
endif()

if(RUVO_SANITIZE)
  target_compile_options(ruvo_options INTERFACE
    "-fsanitize=${RUVO_SANITIZE}" -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  target_link_options(ruvo_options INTERFACE "-fsanitize=${RUVO_SANITIZE}")
  # A test's preloaded library stands in front of a run-time library only, not of what is
  # linked into the program. The fuzzers need it there, and preload nothing.
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang" AND NOT RUVO_SANITIZE MATCHES "fuzzer")
    execute_process(COMMAND "${CMAKE_CXX_COMPILER}" -print-runtime-dir
      OUTPUT_VARIABLE runtime_folder OUTPUT_STRIP_TRAILING_WHITESPACE)
    target_link_options(ruvo_options INTERFACE -shared-libasan "-Wl,-rpath,${runtime_folder}")
  endif()
endif()

if(RUVO_COVERAGE)
  # Threads count lines at the same time.
  target_compile_options(ruvo_options INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(ruvo_options INTERFACE --coverage)
endif()
