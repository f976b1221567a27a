# The unit tests: each file tests the source of its name in the folder of its name.
# What needs the daemon's fixed paths or ports (the *_world_test.cpp and the table of
# messages) is a program of its own, which runs in a private world only.
find_package(GTest REQUIRED)
include(GoogleTest)

# The tests' own code is not optimised: it is compiled far longer than it runs.
add_library(ruvo_test_options INTERFACE)
target_compile_options(ruvo_test_options INTERFACE -O0)

add_library(ruvo_test_support STATIC
  support/files.cpp
  support/loopback.cpp
  support/packet_pair.cpp
  support/refused_calls.cpp
  support/status_service.cpp
  support/text.cpp
  support/world.cpp)
target_link_libraries(ruvo_test_support PUBLIC ruvo_core ruvo_test_options GTest::gtest)

add_executable(ruvo_unit_tests
  core/build_info_test.cpp
  core/client_mode_test.cpp
  core/command_line_test.cpp
  core/exception_text_test.cpp
  core/file_test.cpp
  core/line_reader_test.cpp
  core/local_time_test.cpp
  core/log_test.cpp
  core/number_text_test.cpp
  core/process_setup_test.cpp
  core/published_test.cpp
  core/text_cut_test.cpp
  core/unique_fd_test.cpp
  events/build_event_list_test.cpp
  events/event_list_text_test.cpp
  events/expand_data_test.cpp
  events/expanded_copy_test.cpp
  events/find_event_test.cpp
  events/hex_to_bytes_test.cpp
  events/place_record_test.cpp
  events/status_reply_test.cpp
  events/unescape_data_test.cpp
  execution/choose_sender_test.cpp
  execution/decide_test.cpp
  execution/departures_test.cpp
  execution/due_times_test.cpp
  execution/event_log_test.cpp
  execution/event_queue_test.cpp
  execution/outgoing_test.cpp
  execution/sender_slots_test.cpp
  execution/sender_thread_test.cpp
  execution/server_context_test.cpp
  execution/stamp_record_test.cpp
  net/command_request_test.cpp
  net/command_text_test.cpp
  net/connections_test.cpp
  net/finish_reply_test.cpp
  net/ipv4_address_test.cpp
  net/sender_bodies_test.cpp
  net/socket_timeouts_test.cpp
  net/tcpclient_test.cpp
  net/udpclient_test.cpp
  platform/shell_test.cpp
  platform/user_config_test.cpp
  settings/enable_switch_test.cpp
  settings/mirrors_test.cpp
  settings/settings_file_test.cpp
  settings/settings_text_test.cpp
  settings/split_key_test.cpp)
if(RUVO_PLATFORM_LIBRARY STREQUAL "none")
  target_sources(ruvo_unit_tests PRIVATE platform/token_text_none_test.cpp)
else()
  # The program's own operations win over those of whatever library it links.
  target_sources(ruvo_unit_tests PRIVATE
    platform/token_text_test.cpp
    support/stand_in_library.cpp)
endif()
target_link_libraries(ruvo_unit_tests PRIVATE ruvo_test_support GTest::gtest_main)
# Most of the time of a test's compilation goes into this header.
target_precompile_headers(ruvo_unit_tests PRIVATE <gtest/gtest.h>)
gtest_discover_tests(ruvo_unit_tests
  TEST_PREFIX unit.
  DISCOVERY_MODE PRE_TEST
  PROPERTIES TIMEOUT 120)

add_executable(ruvo_world_tests
  support/world_main.cpp
  core/client_mode_world_test.cpp
  core/daemon_context_world_test.cpp
  core/log_world_test.cpp
  core/messages_test.cpp
  core/network_info_world_test.cpp
  core/start_up_world_test.cpp
  events/build_event_data_world_test.cpp
  events/event_list_world_test.cpp
  events/status_variables_world_test.cpp
  execution/event_log_world_test.cpp
  execution/event_queue_world_test.cpp
  execution/executor_world_test.cpp
  net/command_handling_world_test.cpp
  net/command_server_world_test.cpp
  net/sender_bodies_world_test.cpp
  net/tcpclient_world_test.cpp
  settings/enable_switch_world_test.cpp
  settings/load_settings_world_test.cpp
  settings/mirrors_world_test.cpp
  settings/settings_file_world_test.cpp)
if(RUVO_PLATFORM_LIBRARY STREQUAL "simulated")
  target_sources(ruvo_world_tests PRIVATE platform/user_config_world_test.cpp)
endif()
target_link_libraries(ruvo_world_tests PRIVATE ruvo_test_support)
target_precompile_headers(ruvo_world_tests REUSE_FROM ruvo_unit_tests)
function(ruvo_world_test name filter)
  add_test(NAME world.${name}
    COMMAND ruvo-world --keep "${CMAKE_SOURCE_DIR}" --keep "${CMAKE_BINARY_DIR}" --
      $<TARGET_FILE:ruvo_world_tests> --gtest_filter=${filter})
  set_tests_properties(world.${name} PROPERTIES TIMEOUT 600)
endfunction()
ruvo_world_test(unit -RepeatedMessages*)
# Writes 80,000 messages, one like the other.
ruvo_world_test(counts RepeatedMessages*)
set_tests_properties(world.counts PROPERTIES LABELS long)

if(TARGET ruvo_ctl)
  add_executable(ruvo_ctl_tests
    ruvoctl/nearest_word_test.cpp
    ruvoctl/printable_test.cpp
    ruvoctl/settings_source_test.cpp)
  include(ruvoctl/check.cmake)
  include(ruvoctl/plan.cmake)
  include(ruvoctl/codec.cmake)
  target_link_libraries(ruvo_ctl_tests PRIVATE ruvo_ctl ruvo_test_options GTest::gtest GTest::gtest_main)
  target_precompile_headers(ruvo_ctl_tests REUSE_FROM ruvo_unit_tests)
  gtest_discover_tests(ruvo_ctl_tests
    TEST_PREFIX unit.
    DISCOVERY_MODE PRE_TEST
    PROPERTIES TIMEOUT 120)
endif()
